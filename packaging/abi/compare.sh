#!/bin/sh
# Compares a built library with the record, in names and in types.
#
# usage: compare.sh LIBRARY
set -eu
library=$(realpath "$1")
cd "$(dirname "$0")"
if ! differences=$(abidiff --exported-interfaces-only --suppressions ignored-types.ini \
    --suppressions private-types.ini libkestrove-navigation.abi "$library"); then
    printf '%s\n' "$differences" >&2
    echo 'The binary interface has changed. If that is meant, scripts/update-abi writes it down;' \
        'a break takes a new major version.' >&2
    exit 1
fi
