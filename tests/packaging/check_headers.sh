#!/bin/sh
# Checks that every installed header compiles alone, twice in one file, without warnings, and brings
# in nothing but the standard library and its own kind.
#
# usage: check_headers.sh COMPILER STANDARD INCLUDE-DIRECTORY
#   STANDARD  17 or 20
set -eu
compiler=$1 standard=c++$2 include=$3

cd "$include"
count=0
for header in $(find . -name '*.h' | sed 's|^\./||' | sort); do
    count=$((count + 1))
    printf '#include <%s>\n#include <%s>\n' "$header" "$header" |
        "$compiler" "-std=$standard" -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror \
            -fsyntax-only -I "$include" -x c++ - || {
        echo "$header does not compile alone" >&2
        exit 1
    }
    foreign=$(printf '#include <%s>\n' "$header" |
        "$compiler" "-std=$standard" -M -I "$include" -x c++ - |
        grep -E '/(msgpack|asio|nlohmann|CLI|gtest|gmock)[./]' || true)
    if [ -n "$foreign" ]; then
        printf '%s brings in a third-party header:\n%s\n' "$header" "$foreign" >&2
        exit 1
    fi
done
[ "$count" -gt 0 ] || {
    echo "no headers below $include" >&2
    exit 1
}
echo "$count headers"
