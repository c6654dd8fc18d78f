#!/usr/bin/env bash
# Installs what is missing, builds, and compares the index of each tree with what other readers find
# in it. Without a tree it fetches those of docs/languages.md and writes their tables there.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

usage="usage: scripts/recall.sh [--program PROGRAM] [TREE...]"
program=
trees=()
while [ $# -gt 0 ]; do
  case "$1" in
    --program)
      program=$(realpath "${2:?$usage}")
      shift ;;
    -h | --help)
      echo "$usage"
      echo "For each language of each TREE that universal-ctags knows too: how many functions, methods"
      echo "and types both it and the index have, what one alone has and why, twenty drawn examples of"
      echo "each. Python is compared with its own parser as well. Nothing is written into a TREE."
      echo "Without one, about 300 MB of Debian's sources are fetched into build/recall, and"
      echo "docs/languages.md is written: five minutes."
      exit 0 ;;
    -*)
      echo "recall.sh: unknown option '$1' (see --help)" >&2
      exit 2 ;;
    *) trees+=("$(realpath "$1")") ;;
  esac
  shift
done

# Language, Debian's source package, and the folder in it.
packages=(
  bash:git c:redis cpp:rocksdb csharp:keepass2 elixir:elixir-lang go:etcd haskell:haskell-aeson
  java:guava-libraries javascript:nodejs:lib julia:gmsh kotlin:kotlinx-coroutines lua:luarocks
  objc:gnustep-base ocaml:ocaml-dune php:composer python:python3.11:Lib r:r-cran-dplyr ruby:rails
  rust:cargo typescript:node-typescript:src)

# The upstream source of a package, unpacked; prints its folder.
fetch() {
  local package=$1 file
  if ! compgen -G "$package"_'*.orig.tar.*' >/dev/null; then
    echo "Fetching the source of $package" >&2
    apt-get "${apt[@]}" source --download-only --tar-only "$package" >apt.log 2>&1 || {
      tail -n 5 apt.log >&2
      echo "recall.sh: apt-get could not fetch the source of $package" >&2
      exit 1
    }
  fi
  file=$(compgen -G "$package"_'*.orig.tar.*' | grep -v '\.asc$')
  if [ ! -d "${file%.orig.tar.*}" ]; then
    mkdir new
    tar -xf "$file" -C new --strip-components=1
    mv new "${file%.orig.tar.*}"
  fi
  echo "${file%.orig.tar.*}"
}

cd "$root"
scripts/install.sh recall
if [ -z "$program" ]; then
  scripts/grammars.sh
  echo "Building" >&2
  log=build/recall.log
  (cmake --preset release && cmake --build build/release --target velmora) >"$log" 2>&1 || {
    tail -n 40 "$log" >&2
    echo "recall.sh: the build failed; the whole of it is in $log" >&2
    exit 1
  }
  program=$PWD/build/release/velmora
fi

page=()
if [ ${#trees[@]} -eq 0 ]; then
  page=(--page "$root/docs/languages.md")
  mkdir -p build/recall/lists/partial build/recall/parts
  cd build/recall
  rm -rf new
  # The machine's own sources of packages, asked for their sources.
  for list in /etc/apt/sources.list.d/debian.sources /etc/apt/sources.list; do
    [ -e "$list" ] || continue
    sed -e 's/^Types:.*/Types: deb-src/' -e 's/^deb /deb-src /' "$list" >"parts/${list##*/}"
  done
  [ ! -e parts/sources.list ] || mv parts/sources.list parts/machine.list
  apt=(-o Dir::Etc::sourcelist=/dev/null -o "Dir::Etc::sourceparts=$PWD/parts"
    -o "Dir::State::lists=$PWD/lists" -o APT::Sandbox::User=)
  compgen -G 'lists/*Sources*' >/dev/null || apt-get "${apt[@]}" update >apt.log 2>&1 || {
    tail -n 5 apt.log >&2
    echo "recall.sh: apt-get could not read the list of Debian's sources" >&2
    exit 1
  }
  for entry in "${packages[@]}"; do
    IFS=: read -r language package folder <<<"$entry"
    tree=$(fetch "$package")
    trees+=("$language:${tree/_/ }${folder:+, $folder}:$PWD/$tree/$folder")
  done
fi
exec python3 "$root/scripts/recall.py" --program "$program" "${page[@]}" "${trees[@]}"
