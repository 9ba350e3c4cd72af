#!/bin/sh
# Runs a program that is to need no file of the library.
#
# usage: run_without_library.sh READELF PROGRAM
set -eu
readelf=$1 program=$2
if needed=$("$readelf" --dynamic --wide "$program" | grep 'NEEDED.*kestrove'); then
    echo "$program needs the library: $needed" >&2
    exit 1
fi
exec "$program"
