#!/usr/bin/env bash
# Installs BUILD into a folder of its own and builds programs against what is there alone, with the
# compiler CXX (and its SANITIZERS): the first example of docs/hosts.md, and one that embeds the index;
# by CMake and by pkg-config; with the static libraries, and with the shared ones where BUILD has them.
# Each answers a question, and the example's repository passes the contract tests. Every header compiles
# by itself. Then the library is a part of another project.
set -euo pipefail
build=$1 cxx=$2 sanitizers=$3
tests=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$tests/../.." && pwd)
work=$build/consumer
source=$work/source
prefix=$work/prefix
rm -rf "$work"
mkdir -p "$source" "$work/repository"
cmake --install "$build" --prefix "$prefix" >/dev/null
libraries=$(dirname "$(find "$prefix" -name libvelmora_retrieval.a)")
export LD_LIBRARY_PATH=$libraries PKG_CONFIG_PATH=$libraries/pkgconfig
cp "$tests"/consumer/* "$root/examples/my_repository.h" "$root/tests/packages/cpp/host.cpp" "$source"
awk '/^```cpp$/ {inside = !seen++; next} /^```$/ {inside = 0} inside' "$root/docs/hosts.md" \
  >"$source/retrieval.cpp"
printf 'def wait_before_retry(attempts):\n    """Waits longer after each attempt."""\n' \
  >"$work/repository/retry.py"

programs=(retrieval)
[ -e "$libraries/libvelmora.a" ] && programs+=(host)
flags=(${sanitizers:+"-fsanitize=$sanitizers"})

# check HOW PROGRAM FILE: runs it where installed programs are, and compares its answer.
check() {
  local answer line
  mkdir -p "$prefix/bin"
  cp "$3" "$prefix/bin/consumer"
  case $2 in
    retrieval)
      line='src/config.py:10 app.config.parse_config'
      answer=$("$prefix/bin/consumer") ;;
    host)
      line='retry.py:1 retry.wait_before_retry'
      rm -rf "$work/repository/.velmora"
      answer=$("$prefix/bin/consumer" "$work/repository" "how long is waited between attempts") ;;
  esac
  echo "$1, $2: $answer"
  grep -qx "$line" <<<"$answer"
}

cmake -G Ninja -S "$source" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_CXX_FLAGS="${flags[*]}" >/dev/null
cmake --build "$work/cmake"
for program in "${programs[@]}"; do
  for file in "$work/cmake/$program" "$work/cmake/${program}_static"; do
    [ ! -e "$file" ] || check "CMake, ${file##*/}" "$program" "$file"
  done
done
[ ! -e "$work/cmake/my_repository_test" ] || "$work/cmake/my_repository_test" --gtest_brief=1

for kind in shared static; do
  how=()
  if [ $kind = static ]; then
    how=(--static)
    rm -f "$libraries"/*.so*  # a linker would take those
  elif [ ! -e "$libraries/libvelmora_retrieval.so" ]; then
    continue
  fi
  for program in "${programs[@]}"; do
    page=velmora
    [ "$program" = host ] || page=velmora-retrieval
    # shellcheck disable=SC2046  # the flags are words
    "$cxx" -std=c++20 "${flags[@]}" "$source/$program.cpp" -o "$work/$program-$kind" \
      $(pkg-config --cflags --libs "${how[@]}" $page)
    check "pkg-config, $kind" "$program" "$work/$program-$kind"
  done
done

(cd "$prefix/include" && find velmora -type f) | xargs -P "$(nproc)" -I {} "$cxx" -std=c++20 \
  -fsyntax-only -Wall -Wextra -Wpedantic -Wconversion -Werror -I "$prefix/include" -include {} -x c++ /dev/null

# As a part of another project it is not installed, and builds the library alone.
cmake -G Ninja -S "$tests/subproject" -B "$work/subproject" -DVELMORA_SOURCE="$root" \
  -DSOURCES="$source" -DCMAKE_CXX_COMPILER="$cxx" >/dev/null
cmake --build "$work/subproject" --target part
cmake --install "$work/subproject" --prefix "$work/nothing" >/dev/null
[ ! -e "$work/nothing" ] || { echo "a subproject installs $(ls -R "$work/nothing")"; exit 1; }
