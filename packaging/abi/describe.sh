#!/bin/sh
# Prints the binary interface of a library that was built with debugging information.
#
# usage: describe.sh LIBRARY
set -eu
cd "$(dirname "$0")"
exec abidw --exported-interfaces-only --suppressions ignored-types.ini \
    --no-show-locs --no-comp-dir-path --no-corpus-path --no-elf-needed --no-parameter-names "$1"
