#!/usr/bin/env bash
# Installs the library from BUILD into a folder of its own, and builds and runs the README's example
# with the compiler CXX (and its SANITIZERS) against that package alone.
set -euo pipefail
build=$1 cxx=$2 sanitizers=$3
tests=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$tests/../.." && pwd)
work=$build/consumer
rm -rf "$work"
mkdir -p "$work/source"
for component in libraries development; do
  cmake --install "$build" --component "$component" --prefix "$work/prefix" >/dev/null
done
cp "$tests/consumer/CMakeLists.txt" "$root/examples/my_repository.h" "$work/source"
awk '/^```cpp$/ {inside = 1; next} /^```$/ {inside = 0} inside' "$root/README.md" >"$work/source/main.cpp"
cmake -G Ninja -S "$work/source" -B "$work/build" -DCMAKE_PREFIX_PATH="$work/prefix" \
  -DCMAKE_CXX_COMPILER="$cxx" ${sanitizers:+-DCMAKE_CXX_FLAGS="-fsanitize=$sanitizers"} >/dev/null
cmake --build "$work/build"
answer=$("$work/build/consumer")
echo "$answer"
grep -qx 'src/config.py:10 app.config.parse_config' <<<"$answer"
