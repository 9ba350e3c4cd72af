#!/bin/bash
# Checks that the packages' copyright file names every library whose headers go into what a build
# makes, and no other. The system's own headers and those of the interpreter are not part of it.
#
# usage: check_notices.sh BUILD-DIRECTORY COPYRIGHT-FILE
set -euo pipefail
build=$1 copyright=$2

# Of /usr/include: folders, and headers without one that C++ alone has.
used=$(ninja -C "$build" -t deps | sed -n 's|^ */usr/include/||p' | sort -u |
    sed -nE -e 's|/.*|/*|p' -e 's|^([^/]*\.hpp)$|\1|p' | sort -u |
    grep -vE '^(asm|asm-generic|arpa|bits|c\+\+|gnu|linux|net|netinet|python3\.[0-9]+|rpc|sys|[^/]*-linux-gnu[^/]*)/')
[ -n "$used" ] || {
    echo "$build: no library's headers are used" >&2
    exit 1
}
named=$(sed -n 's/^Files: //p' "$copyright" | tr ' ' '\n' | grep -vx '\*' | sort -u)
difference=$(diff <(echo "$used") <(echo "$named")) || {
    printf '%s (>) is not what is compiled in (<):\n%s\n' "$copyright" "$difference" >&2
    exit 1
}
echo "notices of $(echo "$named" | wc -l) libraries' headers"
