"""Checks what static libraries bring into an application's link: names of ours and of the C++
standard library, nothing of the libraries that they are made with, nothing that the dynamic linker
makes one of in a process, and nothing that stands in the way of the same name of the application's.

usage: check_archive_names.py NM PROJECT ARCHIVE...
"""
import pathlib
import re
import subprocess
import sys

STANDARD = {"std", "__gnu_cxx", "__cxxabiv1"}
# What stands before the name in a mangled name: vtables and the like, thunks, guards, locals.
PREFIXES = re.compile(r"_Z(?:T[VTIS]|Th?n?\d+_|Tv\d+_n?\d+_|GV|Z)*")
NESTED = re.compile(r"N[rVK]*[RO]?")
FOREIGN = re.compile(r"(?<!\d)(?:4asio|7msgpack)")
# Ours begin with a capital letter.
OWN = re.compile(r"^(?:(?:namespace|class|struct|enum class)(?: KESTROVE_EXPORT)? ([A-Z]\w*)"
                 r"|[\w:]\S*(?: \S+)* [&*]?([A-Z]\w*)\()", re.MULTILINE)
OPERATOR_NEW = re.compile(r"_Z(?:n[wa]|d[la])")


def own_names(project):
    """The outermost namespaces, classes and functions of the folders that are in the archives."""
    names = set()
    for folder in ("core", "platform", "wayline", "api", "runtime", "testing"):
        for header in (project / folder).glob("*.h"):
            for name, function in OWN.findall(header.read_text()):
                names.add(name or function)
    return names


def outermost(symbol):
    """The outermost namespace or class of a mangled name; None where there is none."""
    rest = symbol[PREFIXES.match(symbol).end():]
    rest = rest[NESTED.match(rest).end():] if rest.startswith("N") else rest
    if re.match(r"S[tabsiod]", rest):
        return "std"
    length = re.match(r"\d+", rest)
    return rest[length.end():length.end() + int(length.group())] if length else None


def defined(nm, archive):
    """Name and type of every symbol of an archive that the linker sees."""
    lines = subprocess.run([nm, "--extern-only", "--defined-only", "--format=posix", archive],
                           check=True, capture_output=True, text=True).stdout.splitlines()
    return {(line.split()[0], line.split()[1]) for line in lines if len(line.split()) > 1}


def complaints(symbols, own):
    for symbol, kind in sorted(symbols):
        if symbol.startswith("DW.ref.") or OPERATOR_NEW.match(symbol):  # the compiler's own
            continue
        if kind not in "WV":
            yield f"not weak, but {kind}: {symbol}"
        name = outermost(symbol) if symbol.startswith("_Z") else symbol
        if name is None or not (name in own or name in STANDARD or name.startswith("kestrove_")):
            yield f"of somebody else: {symbol}"
        elif FOREIGN.search(symbol):
            yield f"with a name of somebody else: {symbol}"


def main():
    nm, project, *archives = sys.argv[1:]
    own = own_names(pathlib.Path(project))
    failed = False
    for archive in archives:
        symbols = defined(nm, archive)
        if len(symbols) < 50:
            sys.exit(f"{archive}: only {len(symbols)} names")
        found = list(complaints(symbols, own))
        print(f"{archive}: {len(symbols)} names, {len(found)} complaints")
        print("\n".join(found[:20]))
        failed = failed or bool(found)
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
