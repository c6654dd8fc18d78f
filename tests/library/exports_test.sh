#!/usr/bin/env bash
# Holds the C functions that the HEADER declares, and, where it was built, those that the shared
# library HOST exports, against c_functions.txt. Who removes one breaks programs: SOVERSION grows.
# HOST and the other LIBRARIES export nothing but these and what is in the namespace velmora.
set -euo pipefail
export LC_ALL=C
header=$1
shift
listed=$(dirname "$0")/c_functions.txt

diff "$listed" <(tr '\n' ' ' <"$header" | grep -oE 'VELMORA_API [^;(]*' | grep -oE 'velmora_\w+$' | sort)

exported() { nm -D --defined-only "$1" | awk '$2 != "A" {sub(/@.*/, "", $3); print $3}' | sort -u; }
[ $# -eq 0 ] || diff "$listed" <(exported "$1" | grep -v '^_Z')
for library; do
  names=$(exported "$library" | grep '^_Z' | c++filt)
  [ -n "$names" ] || { echo "nm lists nothing for $library"; exit 1; }
  strangers=$(grep -vE '^(typeinfo (name )?for |vtable for |VTT for |guard variable for |(non-)?virtual thunk to )?velmora::' <<<"$names" || true)
  [ -z "$strangers" ] || { echo "$library exports:"; echo "$strangers"; exit 1; }
done
