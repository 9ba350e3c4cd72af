#!/usr/bin/env python3
"""Holds what the leak checker finds against the argument lists that are kept on purpose.

usage: check_leaks.py PROGRAM SUPPRESSIONS

PROGRAM is LeakCheck.cpp, built with the address sanitizer. Run without suppressions it must leak just
the lists that it says it keeps, operation by operation; run with SUPPRESSIONS, nothing. The
suppressions must name those operations and nothing else.
"""

import collections
import os
import re
import subprocess
import sys

KEEPING = {"GetTuningLimits", "SetTuningLimits", "GetVelocitySetPoint", "SetVelocitySetPoint"}


def run(program, options):
    environment = dict(os.environ, LSAN_OPTIONS=options)
    return subprocess.run([program], env=environment, capture_output=True, text=True, check=False)


def leaked_lists(report):
    """Directly leaked objects by the operation that made them; None where there is none."""
    lists = collections.Counter()
    for block in report.split("\n\n"):
        leak = re.search(r"Direct leak of \d+ byte\(s\) in (\d+) object\(s\)", block)
        if leak:
            operations = set(re.findall(r"CNavigationAPI::(\w+)\(", block)) & KEEPING
            lists[operations.pop() if len(operations) == 1 else None] += int(leak[1])
            if None in lists:
                print(block)
    return dict(lists)


def suppressed(path):
    with open(path, encoding="utf-8") as file:
        lines = [line.strip() for line in file if line.strip() and not line.startswith("#")]
    return set(lines)


def main():
    program, suppressions = sys.argv[1:]
    plain = run(program, "exitcode=23")
    kept = {name: int(count) for name, count in
            (line.split() for line in plain.stdout.splitlines()) if int(count) != 0}
    leaked = leaked_lists(plain.stderr)
    print(f"kept on purpose: {kept}\nfound leaked: {leaked}")
    faults = []
    if set(kept) != KEEPING or leaked != kept or plain.returncode != 23:
        faults.append("the leaks are not just the lists that are kept\n" + plain.stderr)
    if suppressed(suppressions) != {f"leak:CNavigationAPI::{name}" for name in KEEPING}:
        faults.append(f"{suppressions} does not name just the operations that keep their lists")
    quiet = run(program, f"exitcode=23:suppressions={suppressions}")
    if quiet.returncode != 0:
        faults.append("leaks are left with the suppressions\n" + quiet.stderr)
    print("\n".join(faults) or "no other leaks")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
