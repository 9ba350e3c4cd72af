#!/usr/bin/env python3
"""Checks what neither compiler nor formatter checks in the sources.

usage: check_sources.py DIRECTORY

Prints a line for each fault and exits with 1 when there is one:
  - an include that climbs out of its folder ("../") or that names no folder
  - a .cpp with a header of its own name beside it that does not include that header first
  - an include guard that is not KESTROVE_<FOLDER>_<FILE>_H, or #pragma once
  - "using namespace"
  - a class named NameC outside platform/ and runtime/, where it is CName
  - an if, else, for, while or do without braces
  - a source of more than 400 lines, 600 in tests/; of a header, comments do not count
  - a C++ function of more than 40 lines, 80 in tests/, where it may be a table
  - a pause in tests/ that does not say, on its line, what it stands for
  - a top folder without a README.md
  - a file of the repository, of whatever kind, that shows where somebody has built the project
"""

import re
import subprocess
import sys
from pathlib import Path

FOLDERS = ("core", "platform", "wayline", "api", "runtime", "simulator", "tools", "testing", "pictures", "report",
           "tests", "benchmarks", "examples", "bindings")
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)
# Where people and machines keep what they build.
BUILD_PLACE = re.compile(r"(?<![\w.~$})/-])/(?:home|root|work|workspace|tmp/build[\w-]*)/\w")
# A source in the record of the interface that is not named from the project's root on.
RECORDED_PLACE = re.compile(r"path='/")
COMMENT = re.compile(r"^\s*//")
# As the formatter leaves it: the brace that opens a function or a class stands alone.
OPENING = re.compile(r"( *)\{")
PAUSE = re.compile(r"\b(?:sleep|sleep_for|sleep_until|usleep|nanosleep)\(")
EXPLAINED = re.compile(r"(?:#|//) ?\w")
# The doubles, and the names that an application may have too, are those of the runtime.
SUFFIXED = re.compile(r"^\s*(?:class|struct) (?:\[\[\w+\]\] )?(?:\w+::)*([A-Z]\w*[a-z]C)\b(?!;|::)",
                      re.MULTILINE)
SUFFIX_FOLDERS = ("platform/", "runtime/", "tests/doubles/", "tests/packaging/own_names/")
# Comments and texts, in which anything may stand.
WORDS = re.compile(r'R"(\w*)\((?:.|\n)*?\)\1"|//[^\n]*|/\*(?:.|\n)*?\*/|"(?:\\.|[^"\\\n])*"'
                   r"|'(?:\\.|[^'\\\n])'")
CONTROL = re.compile(r"(?<!#)(?<!# )\b(?:(?:if(?: constexpr)?|for|while) *(\()|else\b|do\b)")
LONGEST_SOURCE = 400
LONGEST_TEST = 600
LONGEST_FUNCTION = 40
LONGEST_TABLE = 80


def include_faults(name, text, root):
    faults = []
    for quote, target in INCLUDE.findall(text):
        if "../" in target:
            faults.append(f"{name}: include climbs out of its folder: {target}")
        elif quote == '"' and "/" not in target:
            faults.append(f"{name}: include does not start at the root: {target}")
    if name.suffix == ".cpp" and (root / name).with_suffix(".h").exists():
        own = name.with_suffix(".h").as_posix()
        first = INCLUDE.search(text)
        if first is None or first.group(2) != own:
            faults.append(f"{name}: does not include {own} first")
    return faults


def guard_faults(name, text):
    if "#pragma once" in text:
        return [f"{name}: #pragma once in place of an include guard"]
    guard = "KESTROVE_" + re.sub(r"[/.]", "_", name.as_posix()).upper()
    if not re.search(rf"^#ifndef {guard}\n#define {guard}\n", text, re.MULTILINE):
        return [f"{name}: the include guard is not {guard}"]
    return []


def function_faults(name, lines):
    longest = LONGEST_TABLE if name.parts[0] == "tests" else LONGEST_FUNCTION
    faults = []
    for start, line in enumerate(lines):
        opening = OPENING.fullmatch(line)
        if not opening:
            continue
        closing = opening.group(1) + "}"
        end = next((i for i in range(start, len(lines)) if lines[i].startswith(closing)), start)
        # A class ends with a semicolon.
        if lines[end] == closing and end - start - 1 > longest:
            faults.append(f"{name}:{start}: a function of {end - start - 1} lines")
    return faults


def length_faults(name, text):
    lines = text.splitlines()
    faults = function_faults(name, lines) if name.suffix in (".cpp", ".h") else []
    if name.suffix == ".h":
        lines = [line for line in lines if not COMMENT.match(line)]
    if len(lines) > (LONGEST_TEST if name.parts[0] == "tests" else LONGEST_SOURCE):
        faults.append(f"{name}: {len(lines)} lines")
    return faults


def class_faults(name, text):
    if name.as_posix().startswith(SUFFIX_FOLDERS):
        return []
    return [f"{name}: the class {found} has the suffix of platform/ and runtime/"
            for found in SUFFIXED.findall(text)]


def brace_faults(name, text):
    code = WORDS.sub(lambda words: re.sub(r"[^\n]", " ", words.group()), text)
    faults = []
    for control in CONTROL.finditer(code):
        end, depth = control.end(), 1 if control.group(1) else 0
        while depth > 0 and end < len(code):
            depth += {"(": 1, ")": -1}.get(code[end], 0)
            end += 1
        if not re.match(r"\s*(?:\{|;|if\b)", code[end:]):
            line = code.count("\n", 0, control.start()) + 1
            faults.append(f"{name}:{line}: {control.group().split()[0].rstrip('(')} without braces")
    return faults


def pause_faults(name, text):
    if name.parts[0] != "tests":
        return []
    return [f"{name}:{number}: a pause that does not say why"
            for number, line in enumerate(text.splitlines(), 1)
            if PAUSE.search(line) and not EXPLAINED.search(line)]


def file_faults(name, root):
    text = (root / name).read_text(encoding="utf-8")
    faults = include_faults(name, text, root)
    if name.suffix == ".h":
        faults += guard_faults(name, text)
    if re.search(r"^\s*using\s+namespace\b", text, re.MULTILINE):
        faults.append(f"{name}: using namespace")
    faults += class_faults(name, text) + brace_faults(name, text)
    return faults + length_faults(name, text) + pause_faults(name, text)


def tracked_files(root):
    """The files of the repository; outside one, all there are."""
    if not (root / ".git").exists():
        return [path.relative_to(root) for path in sorted(root.rglob("*")) if path.is_file()]
    listed = subprocess.run(["git", "-c", "safe.directory=*", "-C", str(root), "ls-files", "-z"],
                            stdout=subprocess.PIPE, check=True)
    return [Path(name) for name in listed.stdout.decode("utf-8").split("\0") if name]


def build_place_faults(name, root):
    if not (root / name).is_file():
        return []  # deleted, and not committed yet
    own = str(root.resolve()) + "/"
    faults = []
    text = (root / name).read_text(encoding="utf-8", errors="replace")
    for number, line in enumerate(text.splitlines(), 1):
        place = BUILD_PLACE.search(line)
        if name.suffix == ".abi":
            place = place or RECORDED_PLACE.search(line)
        if place or own in line:
            found = place.group() if place else own
            faults.append(f"{name}:{number}: tells where it was built: {found}")
    return faults


def faults_below(root):
    faults, count = [], 0
    for name in tracked_files(root):
        faults += build_place_faults(name, root)
    for folder in filter(lambda folder: (root / folder).is_dir(), FOLDERS):
        if not (root / folder / "README.md").exists():
            faults.append(f"{folder}/: no README.md")
        for path in sorted((root / folder).rglob("*")):
            name = path.relative_to(root)
            if path.suffix in (".h", ".cpp"):
                count += 1
                faults += file_faults(name, root)
            elif path.suffix == ".py":
                text = path.read_text(encoding="utf-8")
                faults += length_faults(name, text) + pause_faults(name, text)
    return faults, count


def main():
    faults, count = faults_below(Path(sys.argv[1]))
    for fault in faults:
        print(fault)
    print(f"{count} files, {len(faults)} faults")
    return 1 if faults or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
