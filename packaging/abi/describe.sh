#!/bin/sh
# Prints the binary interface of a library that was built with debugging information. Sources are
# named from the project's root on, so that the record is the same wherever it was built.
#
# usage: describe.sh LIBRARY
set -eu
library=$(realpath "$1")
cd "$(dirname "$0")"
project=$(cd ../.. && pwd -P)
description=$(abidw --exported-interfaces-only --suppressions ignored-types.ini \
    --no-show-locs --no-comp-dir-path --no-corpus-path --no-elf-needed --no-parameter-names "$library")
printf '%s\n' "$description" | sed "s|path='$project/|path='|"
