#!/bin/sh
# Writes the version script for the names read from standard input.
set -eu
cat <<'HEAD'
# What libkestrove-navigation.so exports: exactly these names. One leaves only with a new major
# version. scripts/update-abi writes this file.
KESTROVE_NAVIGATION_1 {
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
