#!/bin/sh
# Checks that an application can include api/NavigationAPI.h, and any other public header, alone and
# without warnings, with every compiler given. The chief header brings in nearly all others, so it
# alone is compiled as C++20 too. A compiler that is not there is left out; the exit status is then 77
# ("skipped") when the rest is well.
#
# usage: check_consumer.sh INCLUDE-DIRECTORY COMPILER...
set -eu
include=$1
shift

status=0
compile() { # COMPILER STANDARD HEADER
    echo "#include <$3>" | "$1" "-std=$2" -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror \
        -fsyntax-only -I . -x c++ - || {
        echo "$3 does not compile alone with $1 as $2" >&2
        status=1
    }
}

cd "$include"
# The folders may be links, which find follows only when asked to. Three headers are not public.
headers=$(find -L core platform wayline api -name '*.h' ! -name CallFrame.h ! -name NumberText.h \
    ! -name TracePrinting.h)
left_out=0
for compiler in "$@"; do
    if ! command -v "$compiler" >/dev/null; then
        echo "$compiler is not there: left out"
        left_out=1
        continue
    fi
    for header in $headers; do
        compile "$compiler" c++17 "$header"
    done
    compile "$compiler" c++20 api/NavigationAPI.h
    echo "$compiler: $(echo "$headers" | wc -l) headers"
done
[ "$status" -eq 0 ] && [ "$left_out" -eq 1 ] && exit 77
exit "$status"
