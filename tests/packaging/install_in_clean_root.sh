#!/bin/bash
# Installs the packages in a new Debian root with nothing but a compiler, builds an example there as
# an application's developer would, and runs it against the installed simulator. Skipped, with a
# message, where there is no root or no package archive.
#
# usage: install_in_clean_root.sh PACKAGE-DIRECTORY EXAMPLE
set -euo pipefail
packages=$(realpath "$1") example=$(realpath "$2")
cd "$(dirname "$0")/../.."

skip() {
    echo "skipped: $1"
    exit 0
}
[ "$(id -u)" -eq 0 ] || skip "a clean root needs the rights of root"
command -v debootstrap >/dev/null || skip "no debootstrap"

root=$(mktemp -d)
chmod 755 "$root"
trap 'rm -rf --one-file-system "$root"' EXIT
debootstrap --variant=minbase --include=g++,pkgconf,ca-certificates bookworm "$root" \
    http://deb.debian.org/debian >"$root.log" 2>&1 || {
    tail -3 "$root.log"
    rm "$root.log"
    skip "the package archive cannot be reached"
}
rm "$root.log"
mkdir "$root/packages" "$root/application"
cp "$packages"/*.deb "$root/packages"
cp "$example" "$root/application/application.cpp"
cat >"$root/application/try" <<'TRY'
set -eu
export DEBIAN_FRONTEND=noninteractive
apt-get -qq update
apt-get -qq install --yes --no-install-recommends /packages/*.deb >/dev/null
cd /application
g++ -std=c++17 application.cpp -o application $(pkg-config --cflags --libs kestrove-navigation)
test ! -e /etc/systemd/system/multi-user.target.wants/navigation-simulator.service
TRY
cat >"$root/application/drive" <<'DRIVE'
set -eu
cd /application
navigation-simulator --speed 2 &
simulator=$!
trap 'kill $simulator' EXIT
for _ in $(seq 100); do
    navctl is-navigation-activated >/dev/null 2>&1 && break
    sleep 0.1
done
./application
DRIVE
cp /etc/resolv.conf "$root/etc/resolv.conf"
enter_root=(unshare --mount --pid --fork --kill-child chroot "$root"
    env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C)
"${enter_root[@]}" sh /application/try
scripts/isolated "${enter_root[@]}" sh /application/drive
"${enter_root[@]}" apt-get -qq purge --yes libkestrove-navigation1 >/dev/null
[ -z "$(find "$root/usr" -name '*kestrove*' -not -path '*/doc/*')" ] || {
    echo "files are left behind by the packages" >&2
    exit 1
}
