#!/usr/bin/env bash
# Makes pages of the public headers with Doxygen, in build/docs/html. Fails when a public declaration
# has no comment, or one that cannot be read, and when a page of ours links what is not there.
set -euo pipefail
cd "$(dirname "$0")/.."
case "${1:-}" in
  -h | --help)
    echo "usage: scripts/docs.sh"
    exit 0 ;;
esac
for page in *.md docs/*.md; do
  { grep -oE '\]\([^)# ]+' "$page" | cut -c3- | grep -v '^https:' || true; } | while read -r link; do
    [ -e "$(dirname "$page")/$link" ] || {
      echo "docs.sh: $page links $link, which is not there" >&2
      exit 1
    }
  done
done
scripts/install.sh docs
rm -rf build/docs
mkdir -p build/docs
doxygen docs/Doxyfile
echo "build/docs/html/index.html"
