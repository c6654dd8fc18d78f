#!/usr/bin/env bash
# Installs what is missing, builds the program, indexes DIR and answers QUESTION about it.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
case "${1:-}" in
  -h | --help)
    echo "usage: scripts/quickstart.sh [DIR] [QUESTION]"
    echo "Without arguments: a question about this repository."
    exit 0 ;;
esac
dir=${1:-$root}
question=${2:-how are the rankings of the channels merged}
[ -d "$dir" ] || {
  echo "quickstart.sh: there is no folder '$dir'" >&2
  exit 2
}

"$root/scripts/install.sh" build
"$root/scripts/grammars.sh"
log=$root/build/quickstart.log
echo "Building, which takes minutes the first time; how far it is: $log" >&2
(cd "$root" && cmake --preset release && cmake --build build/release) >"$log" 2>&1 || {
  tail -n 40 "$log" >&2
  echo "quickstart.sh: the build failed; the whole of it is in $log" >&2
  exit 1
}
velmora=$root/build/release/velmora
"$velmora" index "$dir"
exec "$velmora" explore --repo "$dir" "$question"
