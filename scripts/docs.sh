#!/usr/bin/env bash
# Makes pages of the public headers with Doxygen, in build/docs/html. Fails when a public declaration
# has no comment, or one that cannot be read.
set -euo pipefail
cd "$(dirname "$0")/.."
case "${1:-}" in
  -h | --help)
    echo "usage: scripts/docs.sh"
    exit 0 ;;
esac
scripts/install.sh docs
rm -rf build/docs
mkdir -p build/docs
doxygen docs/Doxyfile
echo "build/docs/html/index.html"
