#!/usr/bin/env bash
# Asks with the example PROGRAM about a folder with one function.
set -euo pipefail
mkdir "$TMPDIR/project"
printf 'def delay_retry(attempt):\n    """Waits before another attempt."""\n' >"$TMPDIR/project/retry.py"
answer=$("$1" "$TMPDIR/project" "where are retries delayed" 2>/dev/null)
echo "$answer"
[ "$answer" = "retry.py:1 function retry.delay_retry" ]
! "$1" "$TMPDIR/none" "anything" 2>"$TMPDIR/error"
grep -q "$TMPDIR/none does not exist" "$TMPDIR/error"
