#!/bin/sh
# Prints the names that objects show to those who link them, sorted, a name a line, without what the
# standard library's templates leave there.
#
# usage: exported_names.sh COMPILER OBJECT...   or: exported_names.sh --of LIBRARY
set -eu
names_of() {
    nm --dynamic --defined-only --demangle --without-symbol-versions --format=posix "$1" |
        sed -E 's/ [A-Za-z] [0-9a-f]+ *[0-9a-f]*$//' | LC_ALL=C sort -u
}

if [ "$1" = --of ]; then
    names_of "$2" | grep -v '^KESTROVE_NAVIGATION_[0-9]*$'
    exit
fi

compiler=$1
shift
unfiltered=$(mktemp)
trap 'rm -f "$unfiltered"' EXIT
"$compiler" -shared "$@" -o "$unfiltered"
names_of "$unfiltered" |
    grep -vE '^((vtable|typeinfo|typeinfo name|VTT) for )?(std|__gnu_cxx)::|^[a-z][a-z_ ]* (std|__gnu_cxx)::'
