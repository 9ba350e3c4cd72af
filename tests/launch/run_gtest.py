#!/usr/bin/env python3
"""Runs the tests of a GoogleTest program in one process, as far as they let it.

usage: run_gtest.py [--name NAME] [--notes FOLDER] [--shard I/N] [--timeout SECONDS]
                    [--limit SECONDS] [--alone PATTERNS] PROGRAM

A test that ends the process (a crash, an exit), or that takes longer than the time-out and is
ended, has failed; those after it run in a new process. Tests that PATTERNS names, in the form of
--gtest_filter, get a process each. Every failed test is named and shown with its output.

Exits with 0 when every test passed or was skipped, with 77 when all were skipped, and with 1
otherwise: also when there is no test, when a process ends with a fault after its tests (a leak), and
when tests are left over after LIMIT. GTEST_SHUFFLE and GTEST_RANDOM_SEED are GoogleTest's own.
With --notes, the skipped tests are listed in FOLDER/skipped-NAME, which is removed when there is none.
"""

import argparse
import collections
import fnmatch
import os
import re
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

MARK = re.compile(rb"\[( RUN      |       OK |  FAILED  |  SKIPPED )\] ([\w/]+\.[\w/]+)(?=[ ,\n])")
OUTCOMES = {b"       OK ": "passed", b"  FAILED  ": "failed", b"  SKIPPED ": "skipped"}
SUMMARY = re.compile(rb"^\[={10}\] \d+ tests? from", re.MULTILINE)
MOST_OUTPUT_BYTES = 64 * 1024
LISTING_SECONDS = 60
START_SECONDS = 60  # for the first test to begin on a busy machine
LOOK_SECONDS = 1  # how often the output is looked at

Test = collections.namedtuple("Test", "name outcome output")


def tests_of(program):
    """The names of the program's tests that are not disabled, in its order."""
    listing = subprocess.run([program, "--gtest_list_tests"], stdout=subprocess.PIPE, text=True,
                             stdin=subprocess.DEVNULL, check=True, timeout=LISTING_SECONDS).stdout
    names, suite = [], ""
    for line in listing.splitlines():
        text = line.split("#")[0].strip()
        if line.startswith("  "):
            names.append(suite + text)
        elif text.endswith("."):
            suite = text
    return [name for name in names if not re.search(r"(^|[./])DISABLED_", name)]


def matches(name, patterns):
    return any(fnmatch.fnmatchcase(name, pattern) for pattern in patterns.split(":") if pattern)


def read_from(path, place):
    with open(path, "rb") as file:
        file.seek(place)
        return file.read()


class Process:
    """One process that runs some of the tests, its output in a file."""

    def __init__(self, program, names, timeout, limit):
        self.ending = ""
        with tempfile.TemporaryDirectory(prefix="gtest-") as folder:
            flags, output = Path(folder, "flags"), Path(folder, "output")
            flags.write_text("--gtest_filter=" + ":".join(names) + "\n", encoding="utf-8")
            with open(output, "ab") as sink:
                process = subprocess.Popen(
                    [program, f"--gtest_flagfile={flags}", "--gtest_color=no",
                     "--gtest_print_time=1", "--gtest_brief=0"],
                    stdin=subprocess.DEVNULL, stdout=sink, stderr=subprocess.STDOUT,
                    start_new_session=True)
            try:
                self.status = self._wait(process, output, timeout, limit)
            finally:
                self._end(process)  # what it has started as well, in the session of its own
            self.text = output.read_bytes()

    def _wait(self, process, output, timeout, limit):
        """Waits as long as each test stays within the time-out, and ends the process after that."""
        read, until = 0, time.monotonic() + max(timeout, START_SECONDS)
        while True:
            patience = min(until, limit) - time.monotonic()
            try:
                status = process.wait(min(max(patience, 0), LOOK_SECONDS))
                break
            except subprocess.TimeoutExpired:
                text = read_from(output, read)
                marks = list(MARK.finditer(text))
                if marks:
                    read += marks[-1].end()
                    until = time.monotonic() + timeout
                if min(until, limit) <= time.monotonic():
                    self.ending = f"was ended after {timeout:.0f} s without an end of its own"
                    if until > limit:
                        self.ending = "was ended at the limit of all tests"
                    self._end(process)
                    status = process.wait()
                    break
        if not self.ending:
            self.ending = how_it_ended(status)
        return status

    @staticmethod
    def _end(process):
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass

    def results(self):
        """The tests that ran, and the one that was running at the end, None where none was."""
        tests, name, start = [], None, 0
        for mark in MARK.finditer(self.text):
            kind, found = mark.group(1), mark.group(2).decode()
            if kind == b" RUN      ":
                name, start = found, mark.start()
            elif found == name:
                tests.append(Test(name, OUTCOMES[kind], self.text[start:mark.end()]))
                name = None
        rest = Test(name, "failed", self.text[start:]) if name else None
        return tests, rest

    def after_the_tests(self):
        """What the process wrote behind its last test."""
        found = list(SUMMARY.finditer(self.text))
        return self.text[found[-1].start():] if found else self.text[-MOST_OUTPUT_BYTES:]


def how_it_ended(status):
    if status < 0:
        return f"was ended by {signal.Signals(-status).name}"
    return f"ended with exit code {status}"


def show(text):
    sys.stdout.flush()
    if len(text) > MOST_OUTPUT_BYTES:
        half = MOST_OUTPUT_BYTES // 2
        text = text[:half] + b"\n[... cut ...]\n" + text[-half:]
    sys.stdout.buffer.write(text + (b"" if text.endswith(b"\n") else b"\n"))
    sys.stdout.flush()


class Runner:
    """Runs the tests in as few processes as they allow, and keeps what became of each."""

    def __init__(self, options):
        self.program = options.program
        self.timeout = options.timeout
        self.limit = time.monotonic() + options.limit
        self.outcomes = {}
        self.faults = []

    def run(self, names):
        """Runs these tests, in new processes until each has had its turn."""
        left = list(names)
        while left and time.monotonic() < self.limit:
            process = Process(self.program, left, self.timeout, self.limit)
            done, running = process.results()
            for test in done:
                self._take(test, "")
            if running:
                self._take(running, process.ending)
            before = len(left)
            left = [name for name in left if name not in self.outcomes]
            self._judge_end(process, done, running, left)
            if len(left) == before:
                # It ends before the first of them, in what a suite does beforehand, say: that keeps
                # those alone from running which have it in front of them.
                half = len(left) // 2
                if half > 0:
                    self.run(left[:half])
                    self.run(left[half:])
                break
        for name in left:
            if name in self.outcomes:
                continue
            self._take(Test(name, "failed", b""), "was not run")

    def _take(self, test, ending):
        self.outcomes[test.name] = test.outcome
        if test.outcome == "failed":
            print(f"-- {test.name} {ending or 'failed'}")
            show(test.output)
        elif test.outcome == "skipped":
            show(test.output)

    def _judge_end(self, process, done, running, left):
        """A process that has run all its tests ends with 0, or with 1 when one has failed."""
        expected = int(any(test.outcome == "failed" for test in done))
        if running or (process.status == expected and not left):
            return
        fault = f"the process {process.ending} outside a test"
        if not process.ending.startswith("was") and process.status == expected:
            fault = "the process ended before all its tests had run"
        self.faults.append(fault)
        print(f"-- {fault}")
        show(process.after_the_tests())


def note_skipped(options, skipped):
    note = Path(options.notes, f"skipped-{options.name}")
    if skipped:
        note.parent.mkdir(parents=True, exist_ok=True)
        note.write_text("".join(f"skipped: {name}\n" for name in skipped), encoding="utf-8")
    else:
        note.unlink(missing_ok=True)


def options_of(arguments):
    parser = argparse.ArgumentParser()
    parser.add_argument("--name", default="tests")
    parser.add_argument("--notes")
    parser.add_argument("--shard", default="1/1")
    parser.add_argument("--timeout", type=float, default=120)
    parser.add_argument("--limit", type=float, default=1740)
    parser.add_argument("--alone", default="")
    parser.add_argument("program")
    return parser.parse_args(arguments)


def main():
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # ends what was started, too
    options = options_of(sys.argv[1:])
    runner = Runner(options)
    shard, shards = (int(number) for number in options.shard.split("/"))
    names = tests_of(options.program)[shard - 1::shards]
    alone = [name for name in names if matches(name, options.alone)]
    runner.run([name for name in names if name not in alone])
    for name in alone:
        runner.run([name])

    of = {outcome: [name for name in names if runner.outcomes[name] == outcome]
          for outcome in ("passed", "failed", "skipped")}
    if options.notes:
        note_skipped(options, of["skipped"])
    for name in of["failed"]:
        print(f"failed: {name}")
    for fault in runner.faults:
        print(f"failed: {fault}")
    print(f"{len(of['passed'])} passed, {len(of['failed'])} failed, {len(of['skipped'])} skipped"
          f" of {len(names)} tests")
    if not names or of["failed"] or runner.faults:
        return 1
    return 77 if not of["passed"] else 0


if __name__ == "__main__":
    sys.exit(main())
