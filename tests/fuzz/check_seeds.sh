#!/bin/sh
# Checks that the seeds in the tree are those that write_fuzz_seeds makes, and that they are at least
# 200 different ones.
#
# usage: check_seeds.sh WRITE_FUZZ_SEEDS SEEDS
set -eu
written=$(mktemp -d)
trap 'rm -rf "$written"' EXIT
"$1" "$written"
diff -r "$written" "$2"
count=$(find "$2" -type f -exec cksum {} + | awk '{ print $1, $2 }' | sort -u | wc -l)
echo "$count different seeds"
[ "$count" -ge 200 ]
