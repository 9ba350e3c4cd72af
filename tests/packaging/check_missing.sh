#!/bin/sh
# Checks that a build without Asio or msgpack ends while it is configured, names the package, and
# goes on once it is there. A header that does not compile stands for one that is not there.
#
# usage: check_missing.sh CMAKE COMPILER SOURCE WORK-DIRECTORY
set -eu
# Which header is found first changes here from one build to the next, which ccache does not look for.
export CCACHE_DISABLE=1
cmake=$1 compiler=$2 source=$3 work=$4

rm -rf "$work"
for case in asio/version.hpp:libasio-dev msgpack/version.hpp:libmsgpack-cxx-dev; do
    header=${case%:*} package=${case#*:}
    mkdir -p "$work/$package/include/${header%/*}"
    echo '#error "not there"' >"$work/$package/include/$header"
    configure() {
        "$cmake" -S "$source" -B "$work/$package/build" -DCMAKE_CXX_COMPILER="$compiler" \
            -DCMAKE_CXX_FLAGS="-I$work/$package/include" -DKESTROVE_BUILD_PROGRAMS=OFF \
            -DKESTROVE_BUILD_TESTS=OFF -DKESTROVE_BUILD_EXAMPLES=OFF -DKESTROVE_BUILD_PYTHON=OFF 2>&1
    }
    if said=$(configure); then
        echo "$package is not missed" >&2
        exit 1
    fi
    case $said in
        *"apt-get install $package"*) ;;
        *)
            echo "the message does not name $package: $said" >&2
            exit 1
            ;;
    esac
    rm "$work/$package/include/$header"
    said=$(configure) || {
        echo "$package is missed though it is there: $said" >&2
        exit 1
    }
done
