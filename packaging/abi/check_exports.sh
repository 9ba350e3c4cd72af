#!/bin/sh
# Checks that the library exports what the version script lists, that the list names everything that
# the objects offer, and nothing else.
#
# usage: check_exports.sh LIBRARY COMPILER OBJECT...
set -eu
library=$1 compiler=$2
shift 2
here=$(dirname "$0")
listed=$(sed -n 's/^ *"\(.*\)";$/\1/p' "$here/libkestrove-navigation.map")
offered=$("$here/exported_names.sh" "$compiler" "$@")
exported=$("$here/exported_names.sh" --of "$library")

differ() { # WHAT NAMES
    [ "$listed" = "$2" ] && return
    echo "$1 differ from packaging/abi/libkestrove-navigation.map; scripts/update-abi writes it:" >&2
    work=$(mktemp -d)
    printf '%s\n' "$listed" >"$work/listed"
    printf '%s\n' "$2" >"$work/found"
    diff "$work/listed" "$work/found" >&2 || true
    rm -r "$work"
    exit 1
}
differ "The names that the objects offer" "$offered"
differ "The names that the library exports" "$exported"
