#!/bin/sh
# Asks with the example in Python and nothing but what the packages installed.
set -eu
cd "$(dirname "$0")"
mkdir -p source
printf 'int wait_before_next_attempt(int attempts) { return 1 << attempts; }\n' >source/retry.c
python3 /usr/share/doc/libvelmora-dev/examples/ask.py source "how long is waited between attempts" | tee answer
grep -qx 'retry.c:1 function wait_before_next_attempt' answer
