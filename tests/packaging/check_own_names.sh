#!/bin/sh
# Checks that an application may define what the library has: every name, function or object, that it
# does not use itself, and classes of the same names, in a source or in a header. The library calls its
# own, and the application its own.
#
# usage: check_own_names.sh shared|static COMPILER NM PREFIX LIBRARY_DIRECTORY WORK_DIRECTORY
#   Needs a service on port 5010.
set -eu
kind=$1 compiler=$2 nm=$3 prefix=$4 libraries=$5 work=$6
here=$(cd "$(dirname "$0")" && pwd)/own_names
rm -rf "$work"
mkdir -p "$work"
cd "$work"

compile() { # LEVEL SOURCE OBJECT
    "$compiler" -std=c++17 "$1" -I"$prefix/include/kestrove" -c "$2" -o "$3"
}
link() { # PROGRAM OBJECT...
    program=$1
    shift
    if [ "$kind" = static ]; then
        "$compiler" "$@" "$libraries/libkestrove-navigation.a" -pthread -o "$program"
    else
        "$compiler" "$@" -L"$libraries" -Wl,-rpath,"$libraries" -lkestrove-navigation -o "$program"
    fi
}
# The names of the library: those that it shows, and with an archive those of its inside, too.
names() {
    if [ "$kind" = static ]; then
        "$nm" --defined-only --format=posix "$libraries/libkestrove-navigation.a" |
            grep -E '^_Z' | grep -vE '^_Z[A-Z]*N?[rVK]*(S[tabsiod]|9__gnu_cxx)|^_Z(n[wa]|d[la])' |
            LC_ALL=C sort -u -k 1,1
    else
        "$nm" --dynamic --defined-only --without-symbol-versions --format=posix \
            "$libraries/libkestrove-navigation.so" | grep -v '^KESTROVE_NAVIGATION_'
    fi
}

# Defines the names on standard input: functions that end the program, objects of zeros.
write_names() {
    echo '#include <stdlib.h>'
    count=0
    while read -r name type _; do
        count=$((count + 1))
        case $type in
            T | W | i | t) printf 'void f%s(void) __asm__("%s");\nvoid f%s(void) { abort(); }\n' \
                "$count" "$name" "$count" ;;
            *) printf 'char d%s[256] __asm__("%s") = {0};\n' "$count" "$name" ;;
        esac
    done
}

for level in -O0 -O2; do
    compile "$level" "$here/application.cpp" application.o
    compile "$level" "$here/socket.cpp" socket.o
    "$nm" --undefined-only --format=posix application.o | cut -d ' ' -f 1 | LC_ALL=C sort >used
    "$nm" --defined-only --format=posix application.o | cut -d ' ' -f 1 | LC_ALL=C sort >>used
    names | grep -vwFf used | write_names >names.c
    grep -q '_ZN6SocketC[12]Ev' names.c # a name that the application does not use
    grep -q '_ZTV6Socket' names.c
    [ "$kind" = shared ] || grep -q 'MessageC' names.c # a name of the inside
    "$compiler" -x c -c names.c -o names.o -fno-builtin
    compile "$level" "$here/inline_names.cpp" inline_names.o
    link with_every_name application.o names.o
    link with_a_socket application.o socket.o
    link with_inline_names application.o inline_names.o
    ./with_every_name || { echo "$compiler $level: every name: exit code $?" >&2; exit 1; }
    ./with_inline_names || { echo "$compiler $level: inline classes: exit code $?" >&2; exit 1; }
    ./with_a_socket || { echo "$compiler $level: a class Socket: exit code $?" >&2; exit 1; }
done
