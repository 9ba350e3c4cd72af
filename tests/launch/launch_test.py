#!/usr/bin/env python3
"""Tests of launch and of scripts/isolated, and that no test of a build is started without them: of
the build that BUILD names, as the program shows it that CTEST names."""

import json
import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

LAUNCHER = Path(__file__).with_name("launch")
PROJECT = Path(__file__).resolve().parents[2]
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
        # A project of its own, whose commands take their turns among themselves.
        self.launcher = self.folder / "project/tests/launch/launch"
        self.isolated = self.folder / "project/scripts/isolated"
        for copy in (self.launcher, self.isolated):
            copy.parent.mkdir(parents=True)
            shutil.copy(PROJECT / copy.relative_to(self.folder / "project"), copy)
        self.notes = self.folder / "notes"
        self.note = self.notes / "no-namespaces"

    def start(self, code, *arguments, path="", by=None):
        return subprocess.Popen(
            [*(by or (self.launcher, self.notes)), sys.executable, "-B", "-c", code, *arguments],
            env={**os.environ, "PATH": path + os.environ["PATH"]})

    def ended(self, *processes):
        return [process.wait(DEADLINE_SECONDS) for process in processes]

    def without_namespaces(self, program="unshare"):
        """A PATH on which a program is refused."""
        folder = self.folder / f"without-{program}"
        folder.mkdir(exist_ok=True)
        refusing = folder / program
        refusing.write_text("#!/bin/sh\nexit 1\n")
        refusing.chmod(0o755)
        return f"{folder}:"

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

    def test_takes_its_turn_with_other_commands_of_the_project(self):
        path, work = self.without_namespaces(), self.folder / "work"
        ways = [(self.isolated,), (self.launcher, self.notes), (self.launcher, self.folder / "more")]
        self.assertEqual([0] * 6, self.ended(*(self.start(WORK_ALONE, work, path=path, by=way)
                                               for way in 2 * ways)))

    def test_has_the_commands_of_a_command_take_turns_within_its_turn(self):
        start_four = ("import subprocess, sys\n"
                      "started = [subprocess.Popen(sys.argv[1:]) for _ in range(4)]\n"
                      "sys.exit(max(process.wait() for process in started))")
        self.assertEqual([0], self.ended(self.start(
            start_four, self.isolated, sys.executable, "-B", "-c", WORK_ALONE, self.folder / "work",
            path=self.without_namespaces())))

    def test_asks_for_all_that_a_network_needs(self):
        def is_possible(path):
            return subprocess.call([self.isolated, "--is-possible"],
                                   env={**os.environ, "PATH": path + os.environ["PATH"]})
        self.assertEqual(0 if self.has_namespaces() else 1, is_possible(""))
        for program in ("unshare", "ip"):
            path = self.without_namespaces(program)
            self.assertEqual(1, is_possible(path), program)
            self.assertEqual([7], self.ended(self.start("raise SystemExit(7)", path=path)))
            self.assertTrue(self.note.exists(), program)

    def test_takes_the_note_back_where_there_are(self):
        if not self.has_namespaces():
            self.skipTest("the system allows no network namespaces")
        self.start("pass", path=self.without_namespaces()).wait(DEADLINE_SECONDS)
        self.assertTrue(self.note.exists())
        self.start("pass").wait(DEADLINE_SECONDS)
        self.assertFalse(self.note.exists())


class Build(unittest.TestCase):
    def test_starts_every_test_by_the_launcher(self):
        shown = subprocess.run([os.environ["CTEST"], "--test-dir", os.environ["BUILD"], "--show-only=json-v1"], check=True,
                               stdout=subprocess.PIPE, timeout=DEADLINE_SECONDS)
        tests = json.loads(shown.stdout)["tests"]
        self.assertLess(0, len(tests))
        self.assertEqual([], [test["name"] for test in tests
                              if test.get("command", [""])[0] != str(LAUNCHER)])


if __name__ == "__main__":
    unittest.main()
