#!/bin/sh
# Fetches the pinned grammar sources and builds the library of parsers in build/grammars, once: when
# nothing changed since, this does nothing.
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
sources=$root/host/grammars
build=$root/build/grammars

case "${1:-}" in
  "") ;;
  -h | --help)
    echo "usage: scripts/grammars.sh"
    echo "Fetches the grammars named in host/grammars/package.json and builds them in build/grammars."
    exit 0 ;;
  *)
    echo "grammars.sh: unknown argument '$1' (see --help)" >&2
    exit 2 ;;
esac

mkdir -p "$build"
# Two callers at once would build over each other.
if command -v flock >/dev/null; then
  exec 9>"$build/lock"
  flock 9
fi

state=$(cd "$sources" && cat package.json package-lock.json CMakeLists.txt ./*.patch | cksum)
if [ -f "$build/libvelmora_grammars.a" ] && [ "$(cat "$build/state" 2>/dev/null)" = "$state" ]; then
  exit 0
fi
rm -f "$build/state"

fail() {
  cat "$build/log" >&2
  echo "grammars.sh: $1" >&2
  exit 1
}

echo "Fetching the grammars" >&2
mkdir -p "$build/packages"
cp "$sources/package.json" "$sources/package-lock.json" "$sources/.npmrc" "$build/packages/"
(cd "$build/packages" && npm ci >"$build/log" 2>&1) ||
  fail "npm could not install the grammars; the first time needs the network."

# Each patch says what it mends. A new version of a grammar may have no need of its patch.
for patch in "$sources"/*.patch; do
  (cd "$build/packages/node_modules" && patch --strip=0 --batch --fuzz=0 <"$patch" >"$build/log" 2>&1) ||
    fail "${patch##*/} does not fit the grammar that was fetched; is it still needed?"
done

echo "Building the grammars" >&2
{
  cmake -G Ninja -S "$sources" -B "$build/cmake" -DCMAKE_BUILD_TYPE=Release \
    -DPACKAGES="$build/packages/node_modules" -DCMAKE_ARCHIVE_OUTPUT_DIRECTORY="$build/new" &&
    cmake --build "$build/cmake" --parallel
} >"$build/log" 2>&1 || fail "the grammars could not be built."
# The library appears whole or not at all.
mv "$build/new/libvelmora_grammars.a" "$build/libvelmora_grammars.a"
printf '%s\n' "$state" >"$build/state"
