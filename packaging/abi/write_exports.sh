#!/bin/sh
# Writes the version script for the names read from standard input.
set -eu
major=$(sed -n 's/^project(.* VERSION \([0-9]*\)\..*/\1/p' "$(dirname "$0")/../../CMakeLists.txt")
cat <<HEAD
# What libkestrove-navigation.so exports: exactly these names. One leaves only with a new major
# version. scripts/update-abi writes this file.
KESTROVE_NAVIGATION_$major {
  global:
    extern "C++" {
HEAD
sed 's/.*/      "&";/'
cat <<'TAIL'
    };
  local:
    *;
};
TAIL
