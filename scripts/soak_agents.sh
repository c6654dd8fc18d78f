#!/usr/bin/env bash
# Builds the program and lets two sessions of `velmora mcp` live through a working day in little.
set -euo pipefail
cd "$(dirname "$0")/.."

usage="usage: scripts/soak_agents.sh [MINUTES] [--program PROGRAM]"
minutes=20
program=
while [ $# -gt 0 ]; do
  case "$1" in
    --program)
      program=$(realpath "${2:?$usage}")
      shift ;;
    -h | --help)
      echo "$usage"
      echo "For so many minutes (20), two agent's servers on a copy of this repository answer questions"
      echo "while files change and branches are switched. A line a minute; fails when memory grows, when"
      echo "doing nothing costs processor time, or when the index is not that which a new one would be."
      exit 0 ;;
    '' | *[!0-9]*)
      echo "soak_agents.sh: unknown argument '$1' (see --help)" >&2
      exit 2 ;;
    *) minutes=$1 ;;
  esac
  shift
done

if [ -z "$program" ]; then
  scripts/install.sh bench
  scripts/grammars.sh
  echo "Building" >&2
  log=build/soak.log
  (cmake --preset release && cmake --build build/release --target velmora) >"$log" 2>&1 || {
    tail -n 40 "$log" >&2
    echo "soak_agents.sh: the build failed; the whole of it is in $log" >&2
    exit 1
  }
  program=$PWD/build/release/velmora
fi
exec python3 scripts/soak_agents.py "$program" "$minutes"
