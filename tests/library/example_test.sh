#!/usr/bin/env bash
# Runs the example PROGRAM and compares what it prints with the text block of docs/hosts.md.
set -euo pipefail
page=$(cd "$(dirname "$0")/../.." && pwd)/docs/hosts.md
shown=$(awk '/^```text$/ {inside = 1; next} /^```$/ {inside = 0} inside' "$page")
diff <(echo "$shown") <("$1")
