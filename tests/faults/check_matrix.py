#!/usr/bin/env python3
"""Checks that docs/reliability.md names every test of the faults, and none that does not exist.

usage: check_matrix.py DOCUMENT TESTS_FOLDER FAULT_TEST FOLDER=TEST_PROGRAM...

A name in the document is a row ("Table/Row"), a test ("Suite.Test"), all tests of a suite or with
that beginning ("Suite.*", "Suite.Begin*"), or, behind one of these, a further row or test of the
same table or suite. Behind the name of a FOLDER and a colon, such as "runtime:", it is a test of
that folder's program. Names such as "page_test" are files of tests/attacks, or behind "end_to_end:"
of that folder; behind a file stand parts of the names of its tests or classes, or nothing for all.
"""

import re
import subprocess
import sys
from pathlib import Path

FAULTS = "faults"
ATTACKS = "attacks"
FILE_FOLDERS = (ATTACKS, "end_to_end")
COMPLETE_FOLDERS = (FAULTS, ATTACKS)  # of which the document names every test


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


def tests_in_files(folder):
    """The tests of the Python files in a folder: "file: Class.test"."""
    names = set()
    for path in Path(folder).glob("*_test.py"):
        suite = ""
        for kind, name in re.findall(r"^ *(class|def) (\w+)", path.read_text(encoding="utf-8"), re.M):
            if kind == "class":
                suite = name
            elif name.startswith("test_"):
                names.add(f"{path.stem}: {suite}.{name}")
    return names


def names_in(document, folders):
    """The names of tests in the tables and in the lines between them, with their folders."""
    names = set()
    pattern = re.compile(rf"\b({'|'.join(folders)}):|`([^`]+)`")
    for line in document.splitlines():
        here, prefix, found = FAULTS, "", set()
        for folder, name in pattern.findall(line):
            if folder:
                here, prefix = folder, ""
            elif re.fullmatch(r"[a-z_]+_test", name):
                here = here if here in FILE_FOLDERS else ATTACKS
                prefix = name + ": "
                found.add((here, name))
            elif here in FILE_FOLDERS and prefix and re.fullmatch(r"\w+", name):
                found.discard((here, prefix[:-2]))
                found.add((here, prefix + name))
            elif re.fullmatch(r"[A-Z]\w+[/.]([A-Z]\w+\*?|\*)", name):
                prefix = re.match(r"\w+[/.]", name)[0]
                found.add((here, name))
            elif prefix and re.fullmatch(r"[A-Z]\w+", name):
                found.add((here, prefix + name))
        names |= found
    return names


def stands_for(folder, name, test):
    """Whether that name in the document stands for that test, or that one among others."""
    if folder in FILE_FOLDERS:
        (file, _, part), (test_file, _, test_name) = name.partition(": "), test.partition(": ")
        return file == test_file and part in test_name
    return test.startswith(name[:-1]) if name.endswith("*") else test == name


def main():
    document, tests_folder, fault_test, *others = sys.argv[1:]
    tests = {FAULTS: tests_of(fault_test)}
    tests.update({folder: tests_in_files(Path(tests_folder, folder)) for folder in FILE_FOLDERS})
    for folder, program in (other.split("=", 1) for other in others):
        tests[folder] = tests_of(program)
    with open(document, encoding="utf-8") as file:
        named = names_in(file.read(), tests)
    faults = [f"not in the document: {folder}: {test}"
              for folder in COMPLETE_FOLDERS for test in sorted(tests[folder])
              if not any(here == folder and stands_for(here, name, test) for here, name in named)]
    faults += [f"no such test: {folder}: {name}" for folder, name in sorted(named)
               if not any(stands_for(folder, name, test) for test in tests[folder])]
    print("\n".join(faults + [f"{len(named)} names, {len(faults)} faults"]))
    return 1 if faults or not all(tests.values()) else 0


if __name__ == "__main__":
    sys.exit(main())
