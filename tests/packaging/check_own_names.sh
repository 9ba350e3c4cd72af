#!/bin/sh
# Checks that an application may define what the library exports: every name, function or object,
# that it does not use itself. The library calls its own. With a static library, whose names are the
# application's, the linker refuses and names the class.
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
    "$compiler" "$@" -L"$libraries" -Wl,-rpath,"$libraries" -lkestrove-navigation -o "$program"
}

if [ "$kind" = static ]; then
    compile -O0 "$here/application.cpp" application.o
    compile -O0 "$here/socket.cpp" socket.o
    if link both application.o socket.o 2>errors; then
        echo "the linker took two classes of one name" >&2
        exit 1
    fi
    grep -q 'Socket::' errors || { cat errors >&2; exit 1; }
    exit 0
fi

# Defines the names on standard input: functions that end the program, objects of zeros.
write_names() {
    echo '#include <stdlib.h>'
    count=0
    while read -r name type _; do
        count=$((count + 1))
        case $type in
            T | W | i) printf 'void f%s(void) __asm__("%s");\nvoid f%s(void) { abort(); }\n' \
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
    "$nm" --dynamic --defined-only --without-symbol-versions --format=posix \
        "$libraries/libkestrove-navigation.so" | grep -v '^KESTROVE_NAVIGATION_' |
        grep -vwFf used | write_names >names.c
    grep -q '_ZN6SocketC[12]Ev' names.c # a name that the application does not use
    grep -q '_ZTV6Socket' names.c
    "$compiler" -x c -c names.c -o names.o -fno-builtin
    link with_every_name application.o names.o
    link with_a_socket application.o socket.o
    ./with_every_name || { echo "$compiler $level: every name: exit code $?" >&2; exit 1; }
    ./with_a_socket || { echo "$compiler $level: a class Socket: exit code $?" >&2; exit 1; }
done
