#!/bin/sh
# Checks that the installed headers mean the same in an application that has folders and files of the
# same names ahead in its include path, and macros as windowing systems have them.
#
# usage: check_hostile_surroundings.sh COMPILER INCLUDE-DIRECTORY WORK-DIRECTORY
set -eu
compiler=$1 include=$2 work=$3

rm -rf "$work"
mkdir -p "$work/own"
headers=$(cd "$include" && find . -name '*.h' | sed 's|^\./||' | sort)
[ -n "$headers" ] || {
    echo "no headers below $include" >&2
    exit 1
}
# An application's own file for each of ours, but for the one that it asks for.
for header in $headers; do
    mkdir -p "$work/own/${header%/*}"
    echo "#error \"took the application's own $header\"" >"$work/own/$header"
done
for header in $headers; do
    mv "$work/own/$header" "$work/aside"
    {
        for macro in None Status Bool True False Success Always Complex Above Below; do
            echo "#define $macro 0L"
        done
        echo "#include <$header>"
        echo "static_assert(None == 0L && Status == 0L);"
        [ "$header" != platform/LinkError.h ] ||
            echo "static_assert(static_cast<int>(ELinkError::NoError) == 0);"
    } | "$compiler" -std=c++17 -Wall -Wextra -Werror -fsyntax-only -I "$work/own" -I "$include" -x c++ - || {
        echo "$header does not stand its surroundings" >&2
        exit 1
    }
    mv "$work/aside" "$work/own/$header"
done
echo "$(echo "$headers" | wc -l) headers"
