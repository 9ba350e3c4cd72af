#!/bin/bash
# Checks the simulator's unit as systemd reads it: no complaint, and little left that the service
# could reach beside what it needs. Skipped (77) where there is no systemd-analyze.
#
# usage: check_unit.sh UNIT PROGRAM
set -euo pipefail
unit=$1 program=$2
# systemd's own figure, times ten: 0 for nothing within reach, 100 for everything.
readonly highest_exposure=10

command -v systemd-analyze >/dev/null || {
    echo "skipped: no systemd-analyze"
    exit 77
}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
installed="ExecStart=/usr/bin/${program##*/} "
grep -q "^$installed" "$unit" || {
    echo "$unit does not start ${program##*/}" >&2
    exit 1
}
sed "s|^$installed|ExecStart=$program |" "$unit" >"$work/${unit##*/}"

complaints=$(systemd-analyze --man=no verify "$work/${unit##*/}" 2>&1) || true
[ -z "$complaints" ] || {
    printf '%s\n' "$complaints" >&2
    exit 1
}
systemd-analyze security --offline=true --no-pager --threshold=$highest_exposure \
    "$work/${unit##*/}" >"$work/exposure" || {
    cat "$work/exposure" >&2
    exit 1
}
tail -1 "$work/exposure"
