#!/bin/sh
# Builds a program against the installed library with pkg-config alone, and runs it.
#
# usage: build_with_pkg_config.sh PKG-CONFIG COMPILER LIBRARY-DIRECTORY SOURCE PROGRAM
set -eu
pkg_config=$1 compiler=$2 libraries=$3 source=$4 program=$5

export PKG_CONFIG_PATH="$libraries/pkgconfig"
# shellcheck disable=SC2046 # the flags are words
"$compiler" -std=c++17 $("$pkg_config" --cflags kestrove-navigation) "$source" -o "$program" \
    $("$pkg_config" --libs kestrove-navigation)
LD_LIBRARY_PATH="$libraries" exec "$program"
