#!/usr/bin/python3
"""Runs the fault tests with every client recording its link: each ends as it does without, and each
recording is one, with every record complete but for the last of a process that was ended.

usage: check_recorded.py FAULT_TEST NAVCTL
"""

import json
import os
import subprocess
import sys
import tempfile

# Recording has system calls of its own.
FILTER = "--gtest_filter=-SystemCallCount.*"
LEAST_FILES = 100


def info(navctl, path):
    """What navctl says of a recording, and what it has said beside that."""
    result = subprocess.run([navctl, "--json", "recording", "info", path], capture_output=True,
                            text=True, check=False)
    if result.returncode != 0:
        sys.exit(f"{path} is no recording: {result.stderr}")
    return json.loads(result.stdout), result.stderr


def main():
    fault_test, navctl = sys.argv[1:]
    with tempfile.TemporaryDirectory() as folder:
        result = subprocess.run([fault_test, FILTER], check=False,
                                env={**os.environ, "KESTROVE_RECORD": folder})
        if result.returncode != 0:
            sys.exit("a test fails when the link is recorded")
        names = os.listdir(folder)
        messages = cut = 0
        for name in names:
            path = os.path.join(folder, name)
            found, said = info(navctl, path)
            messages += found["messages"]
            cut += 0 if found["whole"] else 1
            if not found["whole"] and "before its end" not in said:
                sys.exit(f"{path}: {said}")
        print(f"{len(names)} recordings with {messages} messages, {cut} of them cut")
        if len(names) < LEAST_FILES or messages == 0:
            sys.exit("too few recordings: nothing has been shown")


if __name__ == "__main__":
    main()
