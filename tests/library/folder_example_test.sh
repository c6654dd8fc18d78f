#!/usr/bin/env bash
# Holds docs/hosts.md against examples/folder_host.cpp, and has that PROGRAM index a folder twice and
# answer.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
diff "$root/examples/folder_host.cpp" \
  <(awk '/^```cpp$/ {inside = ++seen == 2; next} /^```$/ {inside = 0} inside' "$root/docs/hosts.md")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cat >"$work/net.py" <<'SOURCE'
def connect(host):
    """Opens a connection."""

def delay(attempt):
    """How long to wait before the next attempt."""
SOURCE
for _ in first second; do
  answer=$("$1" "$work" "how long is the wait for another attempt")
  diff - <(head -n 2 <<<"$answer") <<'ANSWER'
1 files, 2 symbols
net.py:4 net.delay
ANSWER
done
