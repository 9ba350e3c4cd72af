#!/usr/bin/python3
"""Holds the layout of classes against an expected one, as the compiler lays them out.

usage: class_layout.py [--compiler g++] [--members clang++] [--include-root DIR]
                       [--print CLASS...] HEADER EXPECTED

HEADER is compiled alone. EXPECTED lists the classes to compare, in this form:

    class Kestrove::CABWayline
      size 64
      base 0 Kestrove::CWayline
      slot 0 Kestrove::CABWayline::~CABWayline
      slot 1 Kestrove::CABWayline::~CABWayline
      slot 2 Kestrove::CABWayline::ToBList
      member 16 double pointAX

A base stands with its offset. Slots count from the first virtual operation, the destructor filling
two; "pure" stands for an operation that the class leaves open, and both slots of the destructor of
such a class read "none". Every slot and base must be listed, and of a class with a member listed
every data member that is its own, with its offset. GCC lists no members; they are asked of the
compiler that --members names. Where that is not there, everything else is compared, and the exit
status is 77 ("skipped") when it agrees. A name with template arguments is instantiated. Lines that
start with # and blank lines are ignored. With --print the layout of the named classes is written in
this form instead, and nothing is compared.
"""

import argparse
import difflib
import os
import re
import shutil
import subprocess
import sys
import tempfile


SKIPPED = 77


def compiler_dump(compiler, include_root, header, names):
    """What the compiler (GCC) reports of every class that HEADER brings in."""
    with tempfile.TemporaryDirectory() as folder:
        source = os.path.join(folder, "layout.cpp")
        dump = os.path.join(folder, "layout.class")
        with open(source, "w", encoding="utf-8") as file:
            file.write(f'#include "{header}"\n')
            file.writelines(f"template class {name};\n" for name in names if "<" in name)
        command = [compiler, "-std=c++17", f"-I{include_root}", f"-fdump-lang-class={dump}",
                   "-c", source, "-o", os.path.join(folder, "layout.o")]
        subprocess.run(command, check=True)
        with open(dump, encoding="utf-8") as file:
            return file.read()


def members(compiler, include_root, header, names):
    """The data members of the named classes, as Clang lays them out: lines under each name."""
    source = f'#include "{header}"\n'
    source += "".join(f"static_assert(sizeof({name}) > 0);\n" for name in names)
    command = [compiler, "-std=c++17", f"-I{include_root}", "-Xclang", "-fdump-record-layouts",
               "-fsyntax-only", "-x", "c++", "-"]
    dump = subprocess.run(command, input=source, check=True, capture_output=True, text=True).stdout
    found = {}
    for block in dump.split("*** Dumping AST Record Layout\n"):
        lines = [plain_type(line) for line in block.splitlines()]
        name = re.match(r" *0 \| (.*)", lines[0]) if lines else None
        if name and name[1] in names:
            # The class's own members stand one level below it; what they consist of, deeper.
            own = (re.match(r" *(\d+) \|   ([^ (].*)$", line) for line in lines[1:])
            found[name[1]] = [f"  member {m[1]} {m[2]}" for m in own
                              if m and not m[2].endswith("base)")]
    return found


def plain_type(line):
    """A line of Clang's with types written as in the sources."""
    line = re.sub(r"\b(class|struct|enum) ", "", line.replace("_Bool", "bool"))
    return line.replace("std::basic_string<char>", "std::string").replace("> >", ">>")


def parse_slots(block):
    """The functions of a vtable's slots, in order."""
    slots = []
    for line in block.splitlines()[1:]:
        entry = re.match(r"\d+\s+(?:\(int \(\*\)\(\.\.\.\)\))?(.*)$", line)
        if entry and "_ZTI" not in entry[1]:
            slots.append({"0": "none", "__cxa_pure_virtual": "pure"}.get(entry[1], entry[1]))
    return slots[1:]  # the first entry is the offset to the top of the object


def parse_class(block):
    """Size and bases: a list of lines in the form of the expected file."""
    name = block.splitlines()[0][len("Class "):]
    lines = ["  size " + re.search(r"size=(\d+)", block)[1]]
    for base, offset in re.findall(r"^ *(\S.*) \(0x\w+\) (\d+)(?: empty| nearly-empty)?$", block, re.MULTILINE):
        if base != name:
            lines.append(f"  base {offset} {base}")
    return name, lines


def layouts(dump):
    """Every class of a dump under its name."""
    slots = {}
    classes = {}
    for block in re.split(r"\n\n+", dump):
        if block.startswith("Vtable for "):
            slots[block.splitlines()[0][len("Vtable for "):]] = parse_slots(block)
        elif block.startswith("Class "):
            name, lines = parse_class(block)
            classes[name] = lines
    for name, functions in slots.items():
        classes.get(name, []).extend(f"  slot {i} {f}" for i, f in enumerate(functions))
    return classes


def describe(classes, names):
    """The lines of the named classes."""
    lines = []
    for name in names:
        lines.append(f"class {name}")
        lines.extend(classes.get(name, ["  is not there"]))
    return lines


def names_with_members(expected):
    """The classes of which the expected lines list a member."""
    names = []
    for line in expected:
        if line.startswith("class "):
            name = line[len("class "):]
        elif line.startswith("  member ") and name not in names:
            names.append(name)
    return names


def main():
    parser = argparse.ArgumentParser(description="Holds class layouts against expected ones.")
    parser.add_argument("--compiler", default="g++")
    parser.add_argument("--members", default="clang++", metavar="COMPILER")
    parser.add_argument("--include-root", default=".")
    parser.add_argument("--print", nargs="+", metavar="CLASS", dest="names")
    parser.add_argument("header")
    parser.add_argument("expected", nargs="?")
    arguments = parser.parse_args()

    expected = []
    names = arguments.names
    if not names:
        with open(arguments.expected, encoding="utf-8") as file:
            expected = [line.rstrip() for line in file if line.strip() and not line.startswith("#")]
        names = [line[len("class "):] for line in expected if line.startswith("class ")]
    if not names:
        print(f"{arguments.expected} names no class")
        return 1

    skipped = not shutil.which(arguments.members)
    classes = layouts(compiler_dump(arguments.compiler, arguments.include_root, arguments.header,
                                    names))
    with_members = names if arguments.names else names_with_members(expected)
    if skipped:
        expected = [line for line in expected if not line.startswith("  member ")]
    elif with_members:
        found = members(arguments.members, arguments.include_root, arguments.header, with_members)
        for name in with_members:
            classes.get(name, []).extend(found.get(name, ["  members are not told"]))
    if arguments.names:
        print("\n".join(describe(classes, names)))
        return 0
    difference = list(difflib.unified_diff(expected, describe(classes, names), "expected", "actual",
                                           lineterm="", n=100))
    print("\n".join(difference) if difference else f"{len(names)} classes as expected")
    if skipped and with_members and not difference:
        print(f"{arguments.members} is not there: members were not compared")
        return SKIPPED
    return 1 if difference else 0


if __name__ == "__main__":
    sys.exit(main())
