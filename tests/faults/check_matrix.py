#!/usr/bin/env python3
"""Checks that docs/reliability.md names every test of the faults, and none that does not exist.

usage: check_matrix.py DOCUMENT END_TO_END_FOLDER FAULT_TEST FOLDER=TEST_PROGRAM...

A name in the document is a row ("Table/Row"), a test ("Suite.Test"), all tests of a suite
("Suite.*"), or, behind one of these, a further row or test of the same table or suite. Behind
"runtime:" or "integration:" it is a test of that folder's program, behind "end_to_end:" a file.
"""

import os
import re
import subprocess
import sys

FAULTS = "faults"


def tests_of(program):
    """The names of the program's tests as the document writes them."""
    listing = subprocess.run([program, "--gtest_list_tests"], capture_output=True, text=True,
                             check=True).stdout
    names, suite = set(), ""
    for line in listing.splitlines():
        text = line.split("#")[0].strip()
        if not line.startswith(" "):
            suite = text
        elif "/" in text:
            names.add(f"{suite.split('/')[0]}/{text.split('/')[1]}")
        else:
            names.add(suite + text)
    return names


def names_in(document):
    """The names of tests in the tables and in the lines between them, with their folders."""
    names = set()
    for line in document.splitlines():
        here, prefix = FAULTS, ""
        for folder, name in re.findall(r"(runtime|integration|end_to_end):|`([^`]+)`", line):
            if folder:
                here, prefix = folder, ""
            elif here == "end_to_end" and re.fullmatch(r"\w+_test", name):
                names.add((here, name))
            elif re.fullmatch(r"[A-Z]\w+[/.]([A-Z]\w+|\*)", name):
                prefix = re.match(r"\w+[/.]", name)[0]
                names.add((here, name))
            elif prefix and re.fullmatch(r"[A-Z]\w+", name):
                names.add((here, prefix + name))
    return names


def exists(name, tests):
    """Whether there is such a test, or, for all tests of a suite, any."""
    if name.endswith("*"):
        return any(test.startswith(name[:-1]) for test in tests)
    return name in tests


def main():
    document, end_to_end, fault_test, *others = sys.argv[1:]
    tests = {FAULTS: tests_of(fault_test)}
    tests["end_to_end"] = {file[:-len(".py")] for file in os.listdir(end_to_end)
                           if file.endswith("_test.py")}
    for folder, program in (other.split("=", 1) for other in others):
        tests[folder] = tests_of(program)
    with open(document, encoding="utf-8") as file:
        named = names_in(file.read())
    own = {name for folder, name in named if folder == FAULTS}
    faults = [f"not in the document: {name}" for name in sorted(tests[FAULTS] - own)]
    faults += [f"no such test: {folder}: {name}" for folder, name in sorted(named)
               if not exists(name, tests.get(folder, set()))]
    print("\n".join(faults + [f"{len(named)} names, {len(faults)} faults"]))
    return 1 if faults or not tests[FAULTS] else 0


if __name__ == "__main__":
    sys.exit(main())
