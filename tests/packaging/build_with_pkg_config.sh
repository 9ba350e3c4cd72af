#!/bin/sh
# Builds a program against an installed library with pkg-config alone, and runs it.
#
# usage: build_with_pkg_config.sh PKG-CONFIG MODULE COMPILER STANDARD LIBRARY-DIRECTORY SOURCE PROGRAM
#   STANDARD  17 or 20
set -eu
pkg_config=$1 module=$2 compiler=$3 standard=$4 libraries=$5 source=$6 program=$7

export PKG_CONFIG_PATH="$libraries/pkgconfig"
# shellcheck disable=SC2046 # the flags are words
"$compiler" "-std=c++$standard" "-DEXPECTED_STANDARD=$standard" \
    $("$pkg_config" --cflags "$module") "$source" -o "$program" $("$pkg_config" --libs "$module")
LD_LIBRARY_PATH="$libraries" exec "$program"
