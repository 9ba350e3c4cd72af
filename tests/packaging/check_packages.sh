#!/bin/bash
# Checks what the Debian packages hold: nothing that shows where they were built, no debugging
# information but in packages of its own, and what an application's developer looks for: documents
# that name nothing that is not there, and examples that compile.
#
# usage: check_packages.sh PACKAGE-DIRECTORY
set -euo pipefail
packages=$(realpath "$1")
project=$(realpath "$(dirname "$0")/../..")
root=$(mktemp -d)
trap 'rm -rf "$root" "$root.debug"' EXIT

fail() {
    echo "$packages: $1" >&2
    exit 1
}

for package in "$packages"/*.deb; do
    dpkg-deb --extract "$package" "$root"
    name=$(dpkg-deb --field "$package" Package)
    multi_arch=$(dpkg-deb --field "$package" Multi-Arch)
    maintainer=$(dpkg-deb --field "$package" Maintainer)
    [ -z "${DEBEMAIL-}" ] || [ "$maintainer" = "$DEBFULLNAME <$DEBEMAIL>" ] ||
        fail "the maintainer of $name is $maintainer"
    zcat "$root/usr/share/doc/$name/changelog.Debian.gz" | grep -qF -- " -- $maintainer  " ||
        fail "the changelog of $name is not signed by $maintainer"
    case $name in
        lib*) [ "$multi_arch" = same ] ;;
        python3-*) [ "$multi_arch" = no ] ;; # its files lie at the same place for every architecture
        *) [ "$multi_arch" = foreign ] ;;
    esac || fail "$name is Multi-Arch: $multi_arch"
done
mkdir "$root.debug"
for package in "$packages"/*.ddeb; do
    dpkg-deb --raw-extract "$package" "$root.debug/${package##*/}"
    (cd "$root.debug/${package##*/}" && md5sum --quiet --check DEBIAN/md5sums) || fail "$package: checksums"
done
if told=$(grep -rlF "$project/" "$root" "$root.debug"); then
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

find "$root" \( -name '*.so*' -o -path '*/bin/*' \) -type f >"$root/binaries"
[ "$(wc -l <"$root/binaries")" -ge 4 ] || fail "no library, program or module"
while read -r file; do
    build_id=$(readelf --notes "$file" | sed -n 's/.*Build ID: //p')
    debug=$(echo "$root.debug"/*/usr/lib/debug/.build-id/"${build_id:0:2}/${build_id:2}.debug")
    [[ $(readelf --sections --wide "$debug" 2>/dev/null) == *.debug_info* ]] ||
        fail "no package has what a debugger needs of ${file##*/}"
done <"$root/binaries"

documents=$root/usr/share/doc/kestrove-navigation-doc
for name in README.md changelog.gz docs/getting-started.md html/index.html \
    html/classCNavigationAPI.html examples/engage.cpp; do
    [ -s "$documents/$name" ] || fail "no $name among the documents"
done
while IFS=: read -r document target; do
    [ -e "${document%/*}/$target" ] || fail "${document#"$documents"/} names $target, which is not there"
done < <(grep -oHE '\]\([A-Za-z0-9_./-]+[)#]' "$documents"/*.md "$documents"/docs/*.md |
    sed 's/](//; s/.$//')
for example in "$documents"/examples/*.cpp; do
    case $example in */test_my_application.cpp) continue ;; esac # wants GoogleTest
    g++ -std=c++17 -fsyntax-only -I "$root/usr/include/kestrove" -I "$documents" "$example" ||
        fail "${example##*/} does not compile"
done
