#!/usr/bin/env bash
# Installs what is missing, then builds and runs all tests: with GCC under the address and undefined
# sanitizers, once more with Clang, and what is concurrent under the thread sanitizer. The comments of
# the public headers are read before.
set -euo pipefail
cd "$(dirname "$0")/.."
case "${1:-}" in
  "") ;;
  -h | --help)
    echo "usage: scripts/test.sh"
    exit 0 ;;
  *)
    echo "test.sh: unknown argument '$1' (see --help)" >&2
    exit 2 ;;
esac
scripts/install.sh test
scripts/grammars.sh
echo "== docs"
scripts/docs.sh

launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
for preset in asan asan-clang tsan; do
  echo "== build $preset"
  cmake --preset "$preset" "${launcher[@]}" >/dev/null
  targets=(all)
  [ "$preset" = tsan ] && targets=(velmora_concurrency_tests)
  cmake --build "build/$preset" --target "${targets[@]}"
done
echo "== test tsan"
build/tsan/tests/velmora_concurrency_tests --gtest_brief=1
for preset in asan-clang asan; do
  echo "== test $preset"
  ctest --test-dir "build/$preset" --output-on-failure -j "$(nproc)"
done
