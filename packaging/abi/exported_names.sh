#!/bin/sh
# Prints the names that objects show to those who link them, sorted, a name a line, without what the
# standard library's templates leave there.
#
# usage: exported_names.sh COMPILER OBJECT...   or: exported_names.sh --of LIBRARY
set -eu
mangled_names_of() {
    nm --dynamic --defined-only --without-symbol-versions --format=posix "$1" | cut -d ' ' -f 1
}
demangled() {
    c++filt | LC_ALL=C sort -u
}

if [ "$1" = --of ]; then
    mangled_names_of "$2" | grep -v '^KESTROVE_NAVIGATION_[0-9]*$' | demangled
    exit
fi

compiler=$1
shift
unfiltered=$(mktemp)
trap 'rm -f "$unfiltered"' EXIT
"$compiler" -shared "$@" -o "$unfiltered"
# Mangled, because a demangled template begins with what it returns.
standard='^_Z(T[VIST]|GV|Z)*(N[rVKRO]*)?(S[tabsiod]|9__gnu_cxx)'
mangled_names_of "$unfiltered" | grep -vE "$standard" | demangled
