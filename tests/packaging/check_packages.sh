#!/bin/bash
# Checks what the Debian packages hold: nothing that tells where they were built, no debugging
# information, and what an application's developer looks for.
#
# usage: check_packages.sh PACKAGE-DIRECTORY
set -euo pipefail
packages=$(realpath "$1")
project=$(realpath "$(dirname "$0")/../..")
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT

fail() {
    echo "$packages: $1" >&2
    exit 1
}

for package in "$packages"/*.deb; do
    dpkg-deb --extract "$package" "$root"
done
if told=$(grep -rlF "$project/" "$root"); then
    fail "the place of the build is told in ${told//"$root"/}"
fi
archives=$(find "$root" -name '*.a')
[ -n "$archives" ] || fail "no static library"
for archive in $archives; do
    sections=$(readelf --sections --wide "$archive")
    [[ $sections == *.text* ]] || fail "no code in ${archive##*/}"
    [[ $sections != *.debug_* ]] || fail "debugging information in ${archive##*/}"
done
for name in kestrove-navigation.pc kestrove-navigation-testing.pc KestroveNavigationConfig.cmake \
    navctl navigation-simulator navigation-simulator.service navctl.1.gz navigation-simulator.1.gz; do
    [ -n "$(find "$root" -name "$name")" ] || fail "no $name"
done
