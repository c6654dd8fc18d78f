#!/bin/sh
# Puts the test and the clients that it asks through into FOLDER; when nothing changed since, the
# clients stay. The first time needs the network.
set -eu
folder=${1:?usage: setup.sh FOLDER}
sources=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$folder"
cd "$folder"
state=$(cat "$sources/package.json" "$sources/package-lock.json" | cksum)
if [ "$(cat state 2>/dev/null)" != "$state" ]; then
  rm -f state
  cp "$sources/package.json" "$sources/package-lock.json" "$sources/.npmrc" .
  npm ci
  printf '%s\n' "$state" >state
fi
cp "$sources"/*.mjs .
