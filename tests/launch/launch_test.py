#!/usr/bin/env python3
"""Tests of launch, and that no test of a build is started without it.

usage: launch_test.py CTEST BUILD-DIRECTORY
"""

import json
import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

LAUNCHER = Path(__file__).with_name("launch")
DEADLINE_SECONDS = 100

# Serves the service's port until the other does, too: it cannot in the same network.
SERVE = """
import pathlib, socket, sys, time
mine, other = sys.argv[1:]
server = socket.create_server(("127.0.0.1", 5010))
socket.create_connection(("127.0.0.1", 5010)).close()
pathlib.Path(mine).touch()
while not pathlib.Path(other).exists():
    time.sleep(0.01)  # between two looks
"""
# Fails when another is at work at the same time.
WORK_ALONE = """
import os, sys, time
for _ in range(10):
    os.mkdir(sys.argv[1])
    time.sleep(0.01)  # long enough to be met by another
    os.rmdir(sys.argv[1])
"""


class Launch(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.notes = self.folder / "notes"
        self.note = self.notes / "no-namespaces"

    def start(self, code, *arguments, path=""):
        return subprocess.Popen(
            [LAUNCHER, self.notes, sys.executable, "-B", "-c", code, *arguments],
            env={**os.environ, "PATH": path + os.environ["PATH"]})

    def ended(self, *processes):
        return [process.wait(DEADLINE_SECONDS) for process in processes]

    def without_namespaces(self):
        """A PATH on which unshare is refused."""
        refusing = self.folder / "unshare"
        refusing.write_text("#!/bin/sh\nexit 1\n")
        refusing.chmod(0o755)
        return f"{self.folder}:"

    def has_namespaces(self):
        self.start("pass").wait(DEADLINE_SECONDS)
        return not self.note.exists()

    def test_gives_each_a_network_of_its_own_with_loopback(self):
        if not self.has_namespaces():
            self.skipTest("the system allows no network namespaces")
        one, two = self.folder / "one", self.folder / "two"
        self.assertEqual([0, 0], self.ended(self.start(SERVE, one, two),
                                            self.start(SERVE, two, one)))

    def test_passes_the_exit_code_on(self):
        for path in ("", self.without_namespaces()):
            self.assertEqual([7], self.ended(self.start("raise SystemExit(7)", path=path)))

    def test_runs_one_after_another_where_there_are_no_namespaces(self):
        path = self.without_namespaces()
        work = self.folder / "work"
        self.assertEqual([0] * 4, self.ended(*(self.start(WORK_ALONE, work, path=path)
                                               for _ in range(4))))
        self.assertIn("one after another", self.note.read_text())

    def test_takes_the_note_back_where_there_are(self):
        if not self.has_namespaces():
            self.skipTest("the system allows no network namespaces")
        self.start("pass", path=self.without_namespaces()).wait(DEADLINE_SECONDS)
        self.assertTrue(self.note.exists())
        self.start("pass").wait(DEADLINE_SECONDS)
        self.assertFalse(self.note.exists())


class Build(unittest.TestCase):
    def test_starts_every_test_by_the_launcher(self):
        shown = subprocess.run([CTEST, "--test-dir", BUILD, "--show-only=json-v1"], check=True,
                               stdout=subprocess.PIPE, timeout=DEADLINE_SECONDS)
        tests = json.loads(shown.stdout)["tests"]
        self.assertLess(0, len(tests))
        self.assertEqual([], [test["name"] for test in tests
                              if test.get("command", [""])[0] != str(LAUNCHER)])


if __name__ == "__main__":
    CTEST, BUILD = sys.argv[1:]
    del sys.argv[1:]
    unittest.main()
