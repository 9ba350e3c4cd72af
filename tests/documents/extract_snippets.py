#!/usr/bin/env python3
"""Writes the C++ blocks of a document that are whole files into a directory, for tests to include.

usage: extract_snippets.py DOCUMENT DIRECTORY

A block is named after the class that it ends with, or after the tests that it holds:
NavigationThread.h, EngageTest.h. Blocks with neither are left out.
"""

import re
import sys
from pathlib import Path

BLOCK = re.compile(r"^```cpp\n(.*?)^```$", re.MULTILINE | re.DOTALL)
CLASS = re.compile(r"^class (\w+)", re.MULTILINE)
TEST = re.compile(r"^TEST\((\w+),", re.MULTILINE)


def main():
    document, directory = map(Path, sys.argv[1:])
    directory.mkdir(parents=True, exist_ok=True)
    for block in BLOCK.findall(document.read_text(encoding="utf-8")):
        tests, classes = TEST.findall(block), CLASS.findall(block)
        name = tests[-1] + "Test" if tests else classes[-1] if classes else None
        if name:
            (directory / f"{name}.h").write_text(block, encoding="utf-8")


if __name__ == "__main__":
    main()
