#!/usr/bin/env bash
# Installs, with apt, what building (or testing or measuring) needs and this Debian machine lacks.
# With everything there it does nothing, and needs neither the network nor root.
set -euo pipefail

usage="usage: scripts/install.sh [build|test|bench|package|recall|docs]"
build=(ca-certificates g++ cmake ninja-build patch libsqlite3-dev libicu-dev
  libcurl4-openssl-dev libxxhash-dev nlohmann-json3-dev libcli11-dev libtomlplusplus-dev
  libeigen3-dev zlib1g-dev)
tests=(libgtest-dev clang-14 libclang-rt-14-dev git binutils gawk mandoc groff-base zsh fish
  python3 python3-pip python3-setuptools python3-wheel mypy)
benchmarks=(libbenchmark-dev libxapian-dev python3 git)
package=(git dpkg-dev file lintian debootstrap)
recall=(universal-ctags python3 bzip2 xz-utils)
docs=(doxygen)
# The grammars come with npm, which a machine may have from elsewhere than apt.
command -v npm >/dev/null || build+=(npm)

case "${1:-build}" in
  build) wanted=("${build[@]}") ;;
  test) wanted=("${build[@]}" "${tests[@]}") ;;
  bench) wanted=("${build[@]}" "${benchmarks[@]}") ;;
  package) wanted=("${build[@]}" "${package[@]}") ;;
  recall) wanted=("${build[@]}" "${recall[@]}") ;;
  docs) wanted=("${docs[@]}") ;;
  -h | --help)
    echo "$usage"
    exit 0 ;;
  *)
    echo "$usage" >&2
    exit 2 ;;
esac
command -v dpkg-query >/dev/null || {
  echo "install.sh: this needs Debian 12; elsewhere install yourself: ${wanted[*]}" >&2
  exit 1
}
missing=()
for package in "${wanted[@]}"; do
  status=$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null || true)
  [ "$status" = "install ok installed" ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || {
    echo "install.sh: as root, run: apt-get install ${missing[*]}" >&2
    exit 1
  }
  as_root=(sudo)
fi
echo "Installing ${missing[*]}" >&2
log=$(mktemp)
trap 'rm -f "$log"' EXIT
"${as_root[@]}" apt-get update >"$log" 2>&1 &&
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y --no-install-recommends "${missing[@]}" >>"$log" 2>&1 || {
  cat "$log" >&2
  echo "install.sh: apt-get could not install: ${missing[*]}" >&2
  exit 1
}
