#!/usr/bin/env python3
"""Compiles the C++ blocks of the project's documents, without linking them.

usage: check_snippets.py COMPILER PROJECT [INCLUDE-DIRECTORY...]

A block that includes something is a file as it stands. Any other is the body of a function that has
a CNavigationAPI called navigation.
"""

import re
import subprocess
import sys
from pathlib import Path

BLOCK = re.compile(r"^```cpp\n(.*?)^```$", re.MULTILINE | re.DOTALL)
PROLOGUE = "#include <api/Subscription.h>\nvoid Snippet(CNavigationAPI& navigation)\n{\n"


def documents(project):
    return sorted([*project.glob("*.md"), *project.glob("*/*.md")])


def problem_with(block, compiler, includes):
    code = block if "#include" in block else PROLOGUE + block + "}\n"
    command = [compiler, "-std=c++17", "-Wall", "-Wextra", "-Werror", "-fsyntax-only", "-x", "c++",
               "-", *(f"-I{directory}" for directory in includes)]
    result = subprocess.run(command, input=code, text=True, capture_output=True, check=False)
    return result.stderr if result.returncode else ""


def main():
    compiler, project, *includes = sys.argv[1:]
    count = faults = 0
    for document in documents(Path(project)):
        for block in BLOCK.findall(document.read_text(encoding="utf-8")):
            count += 1
            problem = problem_with(block, compiler, includes)
            if problem:
                faults += 1
                print(f"{document}, block beginning {block.splitlines()[0]!r}:\n{problem}")
    print(f"{count} blocks, {faults} faults")
    return 1 if faults or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
