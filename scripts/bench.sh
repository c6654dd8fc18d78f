#!/usr/bin/env bash
# Installs what is missing, builds and runs the benchmarks, and writes what they measured into
# docs/benchmarks.md and docs/benchmarks.svg.
set -euo pipefail
cd "$(dirname "$0")/.."

usage="usage: scripts/bench.sh [quick] [--against PROGRAM]"
sizes=1000,10000,100000,1000000
other=
while [ $# -gt 0 ]; do
  case "$1" in
    quick) sizes=1000,10000,100000 ;;
    --against)
      other=$(realpath "${2:?$usage}")
      shift ;;
    -h | --help)
      echo "$usage"
      echo "Takes about 25 minutes and 8 GB of memory; quick leaves out the million symbols and takes"
      echo "eight minutes. For figures to compare, leave the machine alone meanwhile. --against takes"
      echo "another build of velmora, whose time for one question is measured beside this one's."
      exit 0 ;;
    *)
      echo "bench.sh: unknown argument '$1' (see --help)" >&2
      exit 2 ;;
  esac
  shift
done

scripts/install.sh bench
scripts/grammars.sh
echo "Building" >&2
log=build/bench.log
(cmake --preset bench && cmake --build build/bench --target velmora velmora_benchmarks) \
  >"$log" 2>&1 || {
  tail -n 40 "$log" >&2
  echo "bench.sh: the build failed; the whole of it is in $log" >&2
  exit 1
}

# The real corpus: Python's standard library, without what is installed beside it, and the headers of
# C++, of ICU and of Linux, which the build needs anyway.
tree=$(mktemp -d)
trap 'rm -rf "$tree" "$tree.other" "$tree.plain"' EXIT
library=$(python3 -c 'import sysconfig; print(sysconfig.get_paths()["stdlib"])')
(cd "$library" && find . -name '*-packages' -prune -o -name '*.py' -print0 |
  tar --null -T - -cf -) | tar -xf - -C "$tree"
cp -rL /usr/include/c++ /usr/include/unicode /usr/include/linux "$tree"
compared=()
if [ -n "$other" ]; then  # each program asks an index of its own making
  cp -r "$tree" "$tree.plain"
  build/bench/velmora index "$tree.plain"
  "$other" index "$tree"
  mv "$tree/.velmora" "$tree.other"
  compared=(--other-program "$other" --other-index "$tree.other/index.db"
    --plain-index "$tree.plain/.velmora/index.db")
fi
build/bench/velmora index "$tree"

results=build/bench/benchmarks.json
build/bench/bench/velmora_benchmarks --sizes "$sizes" --index "$tree/.velmora/index.db" \
  --program build/bench/velmora --model models/builtin.model --decision models/builtin.decision \
  "${compared[@]}" --benchmark_out="$results" --benchmark_out_format=json
scripts/bench_report.py "$results" docs
