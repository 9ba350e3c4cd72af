#!/bin/sh
# Reads off a built program or shared library what protects it: position independence, relocations
# that cannot be written to, no executable stack, checked library calls, stack protector,
# control-flow protection, stack clash protection and the standard library's assertions.
#
# A module makes no library call whose room the compiler knows, so that none of its calls is checked.
#
# usage: check_hardening.sh READELF program|library|module FILE
set -eu
readelf=$1 kind=$2 file=$3

fail() {
    echo "$file: $1" >&2
    exit 1
}
has() { # TEXT PATTERN WHAT
    printf '%s\n' "$1" | grep -qE "$2" || fail "no $3"
}

header=$("$readelf" --file-header "$file")
segments=$("$readelf" --program-headers --wide "$file")
dynamic=$("$readelf" --dynamic --wide "$file")
symbols=$("$readelf" --dyn-syms --wide "$file")

has "$header" 'Type: +DYN' 'position-independent code'
if [ "$kind" = program ]; then
    has "$dynamic" 'FLAGS_1.* PIE' 'position-independent executable'
fi
has "$segments" 'GNU_RELRO' 'read-only relocations'
has "$dynamic" 'FLAGS_1.* NOW' 'immediate binding, so relocations stay writable'
has "$segments" 'GNU_STACK .* RW ' 'non-executable stack'
printf '%s\n' "$dynamic" | grep -qE 'TEXTREL' && fail 'relocations in its code'

has "$symbols" '__stack_chk_fail' 'stack protector'
[ "$kind" = module ] || has "$symbols" '[a-z]_chk(@|$)' 'checked library call (_FORTIFY_SOURCE)'
has "$symbols" '__glibcxx_assert_fail' 'assertion of the standard library'

# What leaves no mark of its own is read off the compiler's note of its options, in a section of its
# own or in the debugging information. (The mark of control-flow protection needs a C library that was
# built with it, too.)
units=$("$readelf" --string-dump=.GCC.command.line --debug-dump=info --wide "$file" 2>/dev/null |
    grep 'GNU C++' | sort -u)
has "$units" '.' 'note of the options of g++ (-frecord-gcc-switches, or -g)'
options='-fstack-clash-protection'
if printf '%s\n' "$header" | grep -q 'X86-64'; then
    options="$options -fcf-protection"
fi
for option in $options; do
    if unprotected=$(printf '%s\n' "$units" | grep -v -e "$option"); then
        fail "code without $option: $unprotected"
    fi
done
