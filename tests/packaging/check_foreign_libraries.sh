#!/bin/sh
# Checks that an application may have its own Asio and msgpack, configured as it likes, beside the
# library and the scripted service, which are made with them too: builds such applications, and runs
# them.
#
# usage: check_foreign_libraries.sh COMPILER PREFIX LIBRARY-DIRECTORY WORK-DIRECTORY
set -eu
compiler=$1 prefix=$2 libraries=$3 work=$4
here=$(cd "$(dirname "$0")" && pwd)/foreign_libraries
rm -rf "$work"
mkdir -p "$work"
cd "$work"

run() { # SOURCE OPTION...
    source=$1
    shift
    "$compiler" -std=c++17 "$@" "$here/$source" -I"$prefix/include/kestrove" -L"$libraries" \
        -Wl,-rpath,"$libraries" -lkestrove-navigation-testing -lkestrove-navigation -pthread \
        -o application
    ./application >output 2>&1 || {
        echo "$compiler $*: $source: exit code $?" >&2
        tail -5 output >&2
        exit 1
    }
}

run asio_application.cpp -O2 -DASIO_STANDALONE -DASIO_ENABLE_HANDLER_TRACKING
run asio_application.cpp -O0 -DASIO_STANDALONE -DASIO_DISABLE_EPOLL
for version in 1 2; do # the library has 3
    run msgpack_application.cpp -O0 -DMSGPACK_NO_BOOST -DMSGPACK_DEFAULT_API_VERSION="$version"
done
