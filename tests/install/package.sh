#!/usr/bin/env bash
# Installs the Debian packages that `./build.sh package` made into a new root with nothing but the essential packages of
# this machine's release, runs zbvolume there, builds and runs a program against libzblib-dev, and removes them again.
# Needs root, mmdebstrap and this machine's package sources. Usage: tests/install/package.sh [FOLDER OF PACKAGES]
set -euo pipefail
source_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
packages=${1:-$source_dir/build/package/packages}
# shellcheck source=/dev/null
release=$(. /etc/os-release && echo "$VERSION_CODENAME")

work=$(mktemp -d)
root=$work/root
cleanup() {
    ! mountpoint -q "$root/proc" || umount "$root/proc"
    rm -rf --one-file-system "$work"
}
trap cleanup EXIT
fail() { printf 'FAILED: %s\n' "$*" >&2; exit 1; }
say() { printf '== %s\n' "$*"; }
# The environment of the caller stays outside.
inside() {
    chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 HOME=/root \
        DEBIAN_FRONTEND=noninteractive "$@"
}
# Words are split and patterns expanded inside.
install_inside() {
    inside sh -c "apt-get install -y -qq --no-install-recommends $*" >"$work/log" 2>&1 || fail "$(cat "$work/log")"
}

say "a root of $release with the essential packages and apt"
sources=()
for file in /etc/apt/sources.list.d/debian.sources /etc/apt/sources.list.d/ubuntu.sources /etc/apt/sources.list; do
    [ ! -s "$file" ] || { sources=("$file"); break; }
done
mmdebstrap --quiet --mode=root --skip=cleanup/apt/lists --variant=apt "$release" "$root" "${sources[@]}"
mount -t proc proc "$root/proc"  # gdb looks there
mkdir "$root/packages"
cp "$packages"/*.deb "$root/packages"
[ "$(ls "$root/packages" | wc -l)" -eq 3 ] || fail "expected three packages in $packages"

say "zbvolume"
install_inside "/packages/libzblib1_*.deb /packages/zbvolume_*.deb"
inside zbvolume demo /tmp/demo >"$work/demo" || fail "zbvolume demo: $(cat "$work/demo")"
grep -q '^objects: 40$' "$work/demo" || fail "zbvolume demo found other objects: $(cat "$work/demo")"
[ -s "$root/usr/share/man/man1/zbvolume.1" ] || fail "there is no manual page"
[ ! -e "$root/usr/include/zblib" ] || fail "headers came with the tool"
inside dpkg --verify libzblib1 zbvolume
library=$(readlink -f "$root"/usr/lib/*/libzblib.so.1)
grep -aqF "|size|$(stat -c %s "$library")|" "$library" || fail "the build record tells another size of the library"

say "libzblib-dev, with g++, pkg-config and gdb"
install_inside "/packages/libzblib-dev_*.deb g++ pkg-config gdb"
cp "$source_dir/examples/CountObjects.cpp" "$root/tmp"
inside sh -c 'cd /tmp && g++ -std=c++20 CountObjects.cpp -o CountObjects $(pkg-config --cflags --libs zblib) && ./CountObjects' \
    >"$work/count" || fail "the program of the README: $(cat "$work/count")"
grep -qx 'objects: 2' "$work/count" || fail "the program of the README printed: $(cat "$work/count")"
inside sh -c 'cd /tmp && g++ -g -std=c++20 CountObjects.cpp -o Debugged $(pkg-config --cflags --libs zblib) &&
    gdb --nx --batch -iex "set disable-randomization off" -ex "break printf" -ex run -ex up \
        -ex "print regions" Debugged' >"$work/gdb" 2>&1 || true
grep -q 'ZbDArray<ZbConnectedComponents::Region> of ' "$work/gdb" || fail "gdb shows no arrays: $(cat "$work/gdb")"

say "removed again"
inside apt-get purge -y -qq zbvolume libzblib-dev libzblib1 >"$work/log" 2>&1 || fail "$(cat "$work/log")"
left=$(find "$root/usr" "$root/etc" "$root/var/lib/dpkg/info" -iname '*zblib*' -o -iname '*zbvolume*')
[ -z "$left" ] || fail "files stay behind: $left"
say "passed"
