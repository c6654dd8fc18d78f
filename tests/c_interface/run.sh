#!/usr/bin/env bash
# Runs PROGRAM, with its arguments, in a folder of its own for what it writes.
set -euo pipefail
TMPDIR=$(mktemp -d)
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT
"$@"
