#!/bin/bash
# Installs the packages in a new Debian root with nothing but a compiler, builds programs there as an
# application's developer would, with pkg-config and with CMake, and runs them, and a Python program,
# against the installed simulator and the installed scripted service. Then it removes the packages
# and looks for what they leave behind. Exits with 77, and a message, where there is no root, no
# debootstrap or no package archive.
#
# usage: install_in_clean_root.sh PACKAGE-DIRECTORY EXAMPLE
set -euo pipefail
packages=$(realpath "$1") example=$(realpath "$2")
cd "$(dirname "$0")/../.."
readonly archive=http://deb.debian.org/debian

skip() {
    echo "skipped: $1"
    exit 77
}
fail() {
    echo "install_in_clean_root: $1" >&2
    exit 1
}
[ "$(id -u)" -eq 0 ] || skip "a clean root needs the rights of root"
command -v debootstrap >/dev/null || skip "no debootstrap"
# As debootstrap fetches, so that what fails behind this is a failure.
wget --quiet --timeout=20 --tries=2 --output-document=/dev/null \
    "$archive/dists/bookworm/InRelease" || skip "the package archive $archive cannot be reached"

root=$(mktemp -d)
chmod 755 "$root"
trap 'rm -rf --one-file-system "$root" "$root.log"' EXIT
{ mknod "$root/null" c 1 3 && : >"$root/null"; } 2>/dev/null ||
    skip "this system allows no devices in $(dirname "$root"), which debootstrap makes"
rm "$root/null"
debootstrap --variant=minbase --include=g++,pkgconf,ca-certificates bookworm "$root" "$archive" \
    >"$root.log" 2>&1 || {
    tail -20 "$root.log" >&2
    fail "no clean root could be made"
}

mkdir "$root/packages" "$root/application"
cp "$packages"/*.deb "$root/packages"
cp "$example" "$root/application/application.cpp"
cp -r tests/packaging/find_package "$root/application/find_package"

cat >"$root/application/install" <<'INSTALL'
set -eu
export DEBIAN_FRONTEND=noninteractive
apt-get -qq update
apt-get -qq install --yes --no-install-recommends /packages/*.deb >/dev/null
cd /application
g++ -std=c++17 application.cpp -o application $(pkg-config --cflags --libs kestrove-navigation)
test ! -e /etc/systemd/system/multi-user.target.wants/navigation-simulator.service
apt-get -qq install --yes --no-install-recommends cmake make >/dev/null
cmake -S find_package -B build -DEXAMPLE=/application/application.cpp >/dev/null
cmake --build build >/dev/null
INSTALL
cat >"$root/application/application.py" <<'PYTHON'
from kestrove_navigation import AbWayline, NavigationClient, Vector3

with NavigationClient() as client:
    assert client.set_implement_width(7.5) == 1, client.last_error
    assert client.get_implement_width() == 7.5
    assert client.set_wayline(AbWayline((0, 0, 0), (0, 100, 0)))
    line = client.get_wayline()
    assert isinstance(line, AbWayline) and line.point_b == Vector3(0, 100, 0), line
PYTHON
cat >"$root/application/drive" <<'DRIVE'
set -eu
cd /application
build/application_test
navigation-simulator --speed 2 &
simulator=$!
trap 'kill $simulator' EXIT
for _ in $(seq 100); do
    navctl is-navigation-activated >/dev/null 2>&1 && break
    sleep 0.1
done
./application
navctl disengage-steering
build/engage
python3 -B application.py
DRIVE
# Where systemd runs, the service is stopped before its program goes: here that is written down.
cat >"$root/application/remove" <<'REMOVE'
set -eu
mkdir -p /run/systemd/system
printf '#!/bin/sh\necho "$@" >>/application/systemd\n' >/usr/bin/systemctl
chmod +x /usr/bin/systemctl
mkdir -p /var/lib/private/navigation-simulator
dpkg -L "$@" | sort -u >/application/installed
export DEBIAN_FRONTEND=noninteractive
apt-get -qq purge --yes "$@" >/dev/null
grep -q 'stop navigation-simulator\.service' /application/systemd
REMOVE

names=()
for package in "$packages"/*.deb; do
    names+=("$(dpkg-deb --field "$package" Package)")
done
cp /etc/resolv.conf "$root/etc/resolv.conf"
enter_root=(unshare --mount --pid --fork --kill-child chroot "$root"
    env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C)
"${enter_root[@]}" sh /application/install
scripts/isolated "${enter_root[@]}" sh /application/drive
"${enter_root[@]}" sh /application/remove "${names[@]}"

left=$(while read -r file; do
    if [ ! -d "$root$file" ] && [ -e "$root$file" ]; then echo "$file"; fi
done <"$root/application/installed"
find "$root/usr" "$root/etc" "$root/var/lib" \
    \( -iname '*kestrove*' -o -iname '*navctl*' -o -iname '*navigation-simulator*' \) \
    -not -path '*/apt/*')
[ -z "$left" ] || fail "files are left behind by the packages: $left"
[ -s "$root/application/installed" ] || fail "the packages have installed nothing"
echo "installed, built, driven and removed: ${names[*]}"
