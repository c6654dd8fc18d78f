#!/usr/bin/env bash
# Builds the Debian packages in build/package, the tarball that runs anywhere in build/portable, and
# prints what came of it. Two runs over the same commit give the same bytes.
set -euo pipefail
cd "$(dirname "$0")/.."

usage="usage: scripts/package.sh [deb|tarball|all] [--into DIR]
Writes the Debian packages, the tarball or both (the default) into DIR, or build/packages."
what=all
into=build/packages
while [ $# -gt 0 ]; do
  case "$1" in
    deb | tarball | all) what=$1 ;;
    --into)
      [ $# -ge 2 ] || { echo "package.sh: --into needs a folder" >&2; exit 2; }
      into=$2
      shift ;;
    -h | --help)
      echo "$usage"
      exit 0 ;;
    *)
      echo "package.sh: unknown argument '$1' (see --help)" >&2
      exit 2 ;;
  esac
  shift
done
mkdir -p "$into" build
into=$(cd "$into" && pwd)

scripts/install.sh package
scripts/grammars.sh
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)}
export SOURCE_DATE_EPOCH

launcher=()
if command -v ccache >/dev/null; then
  launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
  export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
fi
# build PRESET
build() {
  local log=build/$1.log
  echo "Building build/$1, which takes minutes the first time; how far it is: $log" >&2
  { cmake --preset "$1" "${launcher[@]}" && cmake --build "build/$1"; } >"$log" 2>&1 || {
    tail -n 40 "$log" >&2
    echo "package.sh: the build failed; the whole of it is in $log" >&2
    exit 1
  }
}

made=()
if [ "$what" != tarball ]; then
  build package
  rm -rf build/package/_CPack_Packages build/package/*.deb
  (cd build/package && cpack >cpack.log 2>&1) || {
    cat build/package/cpack.log >&2
    exit 1
  }
  for package in build/package/*.deb; do
    mv "$package" "$into"
    made+=("$into/${package##*/}")
  done
fi
if [ "$what" != deb ]; then
  build portable
  version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' build/portable/CMakeCache.txt)
  name=velmora-$version-linux-$(uname -m)
  stage=build/portable/stage
  rm -rf "$stage"
  cmake --install build/portable --component program --strip --prefix "$stage/$name" >/dev/null
  sed "s/@VERSION@/$version/" packaging/README.portable.md >"$stage/$name/README.md"
  tar --directory "$stage" --create --sort=name --mtime="@$SOURCE_DATE_EPOCH" --format=gnu \
    --owner=root:0 --group=root:0 --mode=u=rwX,go=rX "$name" | gzip --best --no-name >"$into/$name.tar.gz"
  made+=("$into/$name.tar.gz")
fi
for file in "${made[@]}"; do
  printf '%9d bytes  %s\n' "$(stat -c %s "$file")" "$file"
done
