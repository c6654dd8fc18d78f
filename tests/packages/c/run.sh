#!/bin/sh
# Builds the example in C with nothing but what libvelmora-dev installed, and asks with it.
set -eu
cd "$(dirname "$0")"
# shellcheck disable=SC2046  # the flags are words
cc -std=c99 -Wall -Wextra -Wpedantic -Werror /usr/share/doc/libvelmora-dev/examples/ask.c -o ask \
  $(pkg-config --cflags --libs velmora)
mkdir -p source
printf 'int wait_before_next_attempt(int attempts) { return 1 << attempts; }\n' >source/retry.c
./ask source "how long is waited between attempts" | tee answer
grep -qx 'retry.c:1 function wait_before_next_attempt' answer
