#!/bin/bash
# Packs the packages of debugging information once more: CPack lists their checksums by the place of
# the build, and leaves out whose changelog and terms of use hold for them.
#
# usage: mend_debug_packages.sh PACKAGE-DIRECTORY
set -euo pipefail
cd "$1"
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT

for package in *-dbgsym_*.ddeb; do
    rm -rf "${root:?}/package"
    dpkg-deb --raw-extract "$package" "$root/package"
    name=$(dpkg-deb --field "$package" Package)
    install -d "$root/package/usr/share/doc"
    ln -s "${name%-dbgsym}" "$root/package/usr/share/doc/$name"
    (
        cd "$root/package"
        find usr -type f -print0 | sort -z | xargs -0 md5sum >DEBIAN/md5sums
        find usr -type d -exec chmod 755 {} +
        find usr -type f -exec chmod 644 {} +
    )
    dpkg-deb --root-owner-group --build "$root/package" "$package" >/dev/null
done
