#!/usr/bin/env python3
"""Checks that docs/reliability.md names every test of the faults, and no other.

usage: check_matrix.py FAULT_TEST DOCUMENT

A name in the document is a row ("Table/Row"), a test ("Suite.Test"), or, behind one of these, a
further row or test of the same table or suite.
"""

import re
import subprocess
import sys


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
    """The names of such tests in the tables, and in the lines between them."""
    names = set()
    for line in document.splitlines():
        here, prefix = True, ""
        for folder, name in re.findall(r"(runtime:|integration:|end_to_end:)|`([^`]+)`", line):
            if folder:
                here = False  # what follows lies in another folder of tests
            elif re.fullmatch(r"[A-Z]\w+[/.][A-Z]\w+", name):
                prefix = re.match(r"\w+[/.]", name)[0]
                if here:
                    names.add(name)
            elif here and prefix and re.fullmatch(r"[A-Z]\w+", name):
                names.add(prefix + name)
    return names


def main():
    tests = tests_of(sys.argv[1])
    with open(sys.argv[2], encoding="utf-8") as file:
        named = names_in(file.read())
    faults = [f"not in the document: {name}" for name in sorted(tests - named)]
    faults += [f"no such test: {name}" for name in sorted(named - tests)]
    print("\n".join(faults + [f"{len(tests)} tests, {len(faults)} faults"]))
    return 1 if faults or not tests else 0


if __name__ == "__main__":
    sys.exit(main())
