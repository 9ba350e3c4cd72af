#!/bin/sh
# Checks that the include root of a folder shows what the folder may include, and hides the rest.
#
# usage: check_layers.sh COMPILER INCLUDE-ROOTS TARGET ALLOWED-HEADER FORBIDDEN-HEADER
set -eu
compiler=$1 root=$2/$3 allowed=$4 forbidden=$5

includes() {
    printf '#include "%s"\n' "$1" |
        "$compiler" -std=c++17 -fsyntax-only -I "$root" -x c++ - 2>&1
}

includes "$allowed" || {
    echo "$3 cannot include $allowed" >&2
    exit 1
}
if problem=$(includes "$forbidden"); then
    echo "$3 can include $forbidden" >&2
    exit 1
fi
case $problem in
    *"$forbidden: No such file"* | *"'$forbidden' file not found"*) ;;
    *)
        echo "$3 does not refuse $forbidden for want of the file: $problem" >&2
        exit 1
        ;;
esac
