#!/usr/bin/env bash
# Copyright nobody. All rights reserved.
set -euo pipefail

# Where it goes.
readonly TARGET="${1:-/srv}" MODE=0644
declare -r other=1
LOCAL=1
# Who it goes to.
declare -g -rx HOSTS="a b"
typeset -ar PORTS=(80 443)
declare -x SHOWN=1
declare -rf say
readonly LOCAL
only() { inner() { :; }; }

# Says it,
# on standard error.
# shellcheck disable=SC2059
say() {
  local text=$1
  inner() { :; }
  printf "$text\n" >&2
}

function copy-all {
  cp -- "$@" "$TARGET"
}

# In a shell of its own.
function in_folder() (
  cd "$1"
  cat <<END
not_here() {
END
)

if [[ $# -gt 0 ]]; then
  log::debug() { say "$@"; } >>log
fi

unterminated() {
  echo "
