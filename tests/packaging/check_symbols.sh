#!/bin/sh
# Checks what the built shared library shows to those who link it: the public names and what the
# standard library makes of them alone, nothing of the libraries that it is made with.
#
# usage: check_symbols.sh NM LIBRARY
set -eu
nm=$1 library=$2

fail() {
    printf '%s shows %s:\n%s\n' "$library" "$1" "$2" >&2
    exit 1
}

names=$("$nm" --dynamic --defined-only --demangle --format=posix --without-symbol-versions \
    "$library" | grep -v '^KESTROVE_NAVIGATION_[0-9]* A ')
case $names in *CNavigationAPI::EngageSteering*) ;; *) fail "no CNavigationAPI" "$names" ;; esac

foreign=$(printf '%s\n' "$names" | grep -iE 'msgpack|asio' || true)
[ -z "$foreign" ] || fail "third-party names" "$foreign"

classes='CNavigationAPI|Kestrove::|Core::|Socket::|Socket |MPI[A-Za-z]*|B(Element|Atom|List|Dictionary|Encoder)C'
private=$(printf '%s\n' "$names" |
    grep -vE "^((vtable|typeinfo|typeinfo name|VTT) for )?($classes)" |
    grep -vE '^([a-z][a-z_ ]* )?(std|__gnu_cxx)::' || true)
[ -z "$private" ] || fail "names that are not public" "$private"
