#!/usr/bin/env bash
# Tries what scripts/package.sh made in bare systems: the packages from the first installation to the
# last file removed, with programs of other people's that use them, and the tarball where nothing else
# is installed. Needs root, and the network for Debian's own packages. Changes nothing outside of
# build/bare, which keeps the bare system for the next time.
set -euo pipefail
cd "$(dirname "$0")/.."

usage="usage: scripts/try_packages.sh [DIR]
Tries the packages and the tarball in DIR, or build/packages."
case "${1:-}" in
  -h | --help)
    echo "$usage"
    exit 0 ;;
  -*)
    echo "try_packages.sh: unknown argument '$1' (see --help)" >&2
    exit 2 ;;
esac
[ "$(id -u)" -eq 0 ] || { echo "try_packages.sh: this needs root, for systems of its own" >&2; exit 2; }
packages=$(cd "${1:-build/packages}" && pwd)
bare=$PWD/build/bare
consumers=$PWD/tests/packages
mkdir -p "$bare"

step() { echo "== $*"; }
fail() {
  echo "try_packages.sh: $*" >&2
  exit 1
}
debs=("$packages"/velmora_*.deb "$packages"/libvelmora*_*.deb "$packages"/python3-velmora_*.deb)
tarballs=("$packages"/velmora-*-linux-*.tar.gz)
[ ${#debs[@]} -eq 4 ] && [ -e "${debs[0]}" ] && [ ${#tarballs[@]} -eq 1 ] && [ -e "${tarballs[0]}" ] ||
  fail "$packages holds not just one version: four packages and a tarball. Run scripts/package.sh"
version=$(dpkg-deb --field "${debs[0]}" Version)
scripts/install.sh package

step "lintian"
lintian --fail-on error --allow-root "${debs[@]}"

if [ ! -e "$bare/base.done" ]; then
  step "a bare Debian 12"
  rm -rf "$bare/base"
  debootstrap --variant=minbase bookworm "$bare/base" >"$bare/debootstrap.log" 2>&1 ||
    fail "debootstrap failed; $bare/debootstrap.log tells why"
  touch "$bare/base.done"
fi

# fresh: a system that nothing was done to, in the folder `root`.
root=$bare/root
fresh() {
  rm -rf --one-file-system "$root"
  cp -a "$bare/base" "$root"
  cp /etc/resolv.conf "$root/etc/resolv.conf"
  mkdir -p "$root/try/repository" "$root/try/home"
  cat >"$root/try/repository/retry.py" <<'END'
def wait_before_next_attempt(attempts):
    """Waits longer after each failed attempt: größer, ἕως."""
    return 2 ** attempts


def unrelated(text):
    return text.upper()
END
  chown -R 1000:1000 "$root/try"
}
# within [--user] CMD...: in that system, by root or by a user; its mounts end with the command.
within() {
  local user=()
  [ "$1" = --user ] && { user=(--userspec=1000:1000); shift; }
  unshare --mount --pid --fork --kill-child --mount-proc="$root/proc" chroot "${user[@]}" "$root" \
    env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/try/home LANG=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"
}
# quietly CMD...: shows what CMD prints if it fails.
quietly() {
  "$@" >"$bare/output" 2>&1 || { cat "$bare/output" >&2; fail "this failed: $*"; }
}
# answers VELMORA: asks the program, as a user.
answers() {
  local answer
  within --user "$1" --version | grep -qx "velmora $version" || fail "$1 is not of version $version"
  answer=$(within --user "$1" explore --repo /try/repository -n 1 "how long is WAITED between attempts? ΓΡΌΣΣΕΡ")
  grep -q '^retry.py:1 .*wait_before_next_attempt' <<<"$answer" || fail "$1 answers: $answer"
  within --user "${1%velmora}velmora-train" --help >/dev/null
}

step "install the packages as an older version"
fresh
mkdir -p "$root/try/old" "$root/try/new"
for deb in "${debs[@]}"; do
  rm -rf "$bare/old"
  dpkg-deb --raw-extract "$deb" "$bare/old"
  sed -i "s/^Version: .*/Version: 0.9.0/; s/= $version)/= 0.9.0)/g" "$bare/old/DEBIAN/control"
  dpkg-deb -Znone --root-owner-group --build "$bare/old" "$root/try/old/${deb##*/}" >/dev/null
done
cp "${debs[@]}" "$root/try/new"
find "$root" -xdev ! -path "$root/try/*" | sort >"$bare/before"
quietly within apt-get update
names=()
for deb in "${debs[@]}"; do names+=("$(dpkg-deb --field "$deb" Package)"); done
install() { quietly within apt-get install -y --no-install-recommends "$@"; }
install "${debs[@]/#"$packages"//try/old}"

step "upgrade"
install "${debs[@]/#"$packages"//try/new}"
for name in "${names[@]}"; do
  [ "$(within dpkg-query -W -f '${Version} ${Status}' "$name")" = "$version install ok installed" ] ||
    fail "$name was not upgraded"
done

step "ask"
answers /usr/bin/velmora
for page in man1/velmora.1 man1/velmora-explore.1; do
  [ -e "$root/usr/share/man/$page.gz" ] || fail "there is no $page.gz"
done

for consumer in "$consumers"/*/; do
  name=$(basename "$consumer")
  step "the $name consumer"
  # shellcheck disable=SC2046  # the names are words
  install $(cat "$consumer/needs")
  cp -r "$consumer" "$root/try/$name"
  chown -R 1000:1000 "$root/try/$name"
  within --user "/try/$name/run.sh" || fail "the $name consumer failed"
done

step "remove"
within dpkg-query -L "${names[@]}" | sort -u >"$bare/files"
quietly within apt-get purge -y "${names[@]}"
left=$(cd "$root" && while read -r file; do
  # Folders that were there before stay.
  if [ -e ".$file" ] && ! grep -qxF "$root$file" "$bare/before" && ! within dpkg-query -S "$file" >/dev/null 2>&1; then
    echo "$file"
  fi
done <"$bare/files")
left+=$(find "$root" -xdev -iname '*velmora*' ! -path "$root/try/*")
[ -z "$left" ] || fail "these files are left: $left"

step "the tarball in a system with nothing else"
fresh
tar --extract --file "${tarballs[0]}" --directory "$root/try" --no-same-owner
folder=/try/$(basename "${tarballs[0]}" .tar.gz)
[ -s "$root$folder/README.md" ] || fail "the tarball has no README.md"
answers "$folder/bin/velmora"
within --user mv "$folder" /try/elsewhere
answers /try/elsewhere/bin/velmora
missing=$(within --user /try/elsewhere/bin/velmora embed /try/repository \
  --embeddings-url http://127.0.0.1:9/v1 --embeddings-model any 2>&1 || true)
grep -q 'libcurl' <<<"$missing" || fail "without libcurl a server is asked like this: $missing"

rm -rf --one-file-system "$root" "$bare/old"
step "all is well"
