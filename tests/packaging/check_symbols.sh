#!/bin/sh
# Checks what the built library shows to those who link it: of the libraries that it is made with,
# nothing; of a shared library, the public names and what the standard library makes of them alone.
#
# usage: check_symbols.sh shared|static NM READELF LIBRARY
set -eu
kind=$1 nm=$2 readelf=$3 library=$4

fail() {
    printf '%s shows %s:\n%s\n' "$library" "$1" "$2" >&2
    exit 1
}

if [ "$kind" = shared ]; then
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
else
    symbols=$("$readelf" --symbols --wide "$library")
    case $symbols in *CNavigationAPI14EngageSteering*) ;; *) fail "no CNavigationAPI" "" ;; esac

    foreign=$(printf '%s\n' "$symbols" | grep ' DEFAULT ' | grep -vE ' (UND|LOCAL) ' |
        grep -E '7msgpack|4asio' || true)
    [ -z "$foreign" ] || fail "third-party names" "$foreign"
fi
