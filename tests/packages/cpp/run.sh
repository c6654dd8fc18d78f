#!/bin/sh
# Builds and runs C++ programs with nothing but what libvelmora-dev installed: one that embeds the
# index, found by CMake, and the example that keeps an index of its own, found by pkg-config.
set -eu
cd "$(dirname "$0")"
cmake -S . -B build >/dev/null
cmake --build build
mkdir -p source
cat >source/retry.py <<'END'
def wait_before_next_attempt(attempts):
    """Waits longer after each failed attempt."""
    return 2 ** attempts


def unrelated(text):
    return text.upper()
END
build/host source "how long is waited between attempts" | tee answer
grep -qx '1 files, 2 symbols' answer
grep -qx "retry.py:1 .*wait_before_next_attempt" answer

examples=/usr/share/doc/libvelmora-dev/examples
for how in "" --static; do
  # shellcheck disable=SC2046  # the flags are words
  g++ -std=c++20 "$examples/memory_host.cpp" -o memory_host $(pkg-config --cflags --libs $how velmora-retrieval)
  ./memory_host >printed
  test -s printed
done
