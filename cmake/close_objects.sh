#!/bin/sh
# Links the objects of a static library into one, which calls its own functions whatever a program
# defines under the same names. The names that programs may use stay visible, as weak ones; all others
# are gone.
#
# A program that has a class of the same name as one of ours thus uses its own, and the library uses ours,
# as with the shared library. Were they not weak, the linker would refuse a class whose functions stand in
# a source, and give one whose functions stand in a header ours in place of its own, without a word.
#
# usage: close_objects.sh LD OBJCOPY OBJDUMP PATTERN OUTPUT OBJECT...
#   PATTERN  what else is for programs, beside what the objects show, as a regular expression
set -eu
ld=$1 objcopy=$2 objdump=$3 pattern=$4 output=$5
shift 5

# Without groups: the linker would take the program's functions for those of the same group.
"$ld" -r --force-group-allocation -o "$output.open" "$@"

# Another library's objects may have names that all libraries of a process share; gold alone makes
# ordinary ones of them.
if "$objdump" --syms "$output.open" | grep -q "^[0-9a-f]* u"; then
    ld.gold -r --no-gnu-unique -o "$output.shared" "$output.open"
    mv "$output.shared" "$output.open"
fi

# Every visible name that is not the standard library's: where it stands, and how it is to be shown.
"$objdump" --syms --wide "$output.open" | awk -v pattern="$pattern" '
    # VALUE FLAGS SECTION<tab>SIZE [.hidden] NAME; the flags are seven characters, first the binding.
    /^[0-9a-f]+ [gu ]/ {
        value = index($0, " ") - 1
        flags = substr($0, value + 2, 7)
        split(substr($0, value + 10), part, "\t")
        count = split(part[2], field, " ")
        name = field[count]
        is_ours = name ~ /^_Z/ && name !~ /^_Z[A-Z]*N?[rVK]*(S[tabsiod]|9__gnu_cxx)|^_Z(n[wa]|d[la])/
        # A library that is linked in is not for programs.
        is_ours = is_ours && name !~ /13GeographicLib/
        is_shown = field[2] != ".hidden" || name ~ pattern
        if (part[1] !~ /^\*/ && is_ours && is_shown) {
            printf "--add-symbol=%s=%s:0x%s,%s,weak\n", name, part[1], substr($0, 1, value),
                flags ~ /F$/ ? "function" : "object"
        }
    }' >"$output.names"
[ -s "$output.names" ]

# The names as they are become the object'"'"'s own, and then stand there a second time.
"$objcopy" --keep-global-symbol=none --remove-section=.llvm_addrsig "$output.open" "$output.closed"
"$objcopy" "@$output.names" "$output.closed" "$output"
rm "$output.open" "$output.closed" "$output.names"
