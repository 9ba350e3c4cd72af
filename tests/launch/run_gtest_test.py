#!/usr/bin/env python3
"""Tests of run_gtest.py, on the tests in Sample.cpp, whose program SAMPLE names."""

import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

RUNNER = Path(__file__).with_name("run_gtest.py")
SAMPLE = os.environ["SAMPLE"]
DEADLINE_SECONDS = 100


def run(tests, *options, **environment):
    """Exit code and output of the runner over the sample's tests that the patterns name."""
    done = subprocess.run(
        [sys.executable, "-B", RUNNER, *options, SAMPLE], text=True, timeout=DEADLINE_SECONDS,
        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False,
        env={**os.environ, "GTEST_FILTER": tests, **environment})
    return done.returncode, done.stdout


class Runner(unittest.TestCase):
    def ran(self, code, summary, tests, *options, **environment):
        """Runs the tests, checks exit code and last line, and returns the output."""
        status, output = run(tests, *options, **environment)
        self.assertEqual((code, summary), (status, output.splitlines()[-1]), output)
        return output

    def test_passes_when_all_tests_do(self):
        output = self.ran(0, "4 passed, 0 failed, 1 skipped of 5 tests", "Quiet.*")
        self.assertIn("for want of something", output)
        self.assertNotIn("DISABLED", output)

    def test_names_a_failed_test_and_shows_its_output_alone(self):
        output = self.ran(1, "3 passed, 1 failed, 0 skipped of 4 tests",
                          "Quiet.Passes*:Faulty.Fails")
        self.assertIn("failed: Faulty.Fails\n", output)
        self.assertIn("said before the fault", output)
        self.assertIn("the fault itself", output)
        self.assertNotIn("Quiet", output)

    def test_names_a_failed_row(self):
        output = self.ran(1, "2 passed, 1 failed, 0 skipped of 3 tests", "Numbers/*")
        self.assertIn("failed: Numbers/Rows.AreNotTwo/two\n", output)

    def test_names_a_crash_and_lets_the_rest_run(self):
        for seed in range(1, 4):
            with self.subTest(seed):
                output = self.ran(1, "3 passed, 1 failed, 0 skipped of 4 tests",
                                  "Quiet.Passes*:Faulty.Crashes",
                                  GTEST_SHUFFLE="1", GTEST_RANDOM_SEED=str(seed))
                self.assertIn("-- Faulty.Crashes was ended by SIGSEGV\n", output)
                self.assertIn("said before the crash", output)
                self.assertIn("failed: Faulty.Crashes\n", output)

    def test_takes_an_exit_in_a_test_for_a_failure(self):
        output = self.ran(1, "3 passed, 1 failed, 0 skipped of 4 tests",
                          "Faulty.Exits:Quiet.Passes*")
        self.assertIn("-- Faulty.Exits ended with exit code 0\n", output)

    def test_ends_a_test_that_hangs_and_lets_the_rest_run(self):
        output = self.ran(1, "3 passed, 1 failed, 0 skipped of 4 tests",
                          "Faulty.Hangs:Quiet.Passes*", "--timeout", "5")
        self.assertIn("-- Faulty.Hangs was ended after 5 s", output)

    def test_counts_the_time_out_for_each_test_by_itself(self):
        # Each takes a second; all of them take more than the time-out.
        self.ran(0, "8 passed, 0 failed, 0 skipped of 8 tests", "Seconds/*", "--timeout", "6")

    def test_ends_with_its_limit_and_names_what_was_not_run(self):
        output = self.ran(1, "0 passed, 2 failed, 0 skipped of 2 tests",
                          "Faulty.Hangs:Faulty.LeavesAProcessAndHangs", "--limit", "2",
                          SAMPLE_SLEEPS="0")
        self.assertIn("was not run", output)
        self.assertIn("failed: Faulty.Hangs\n", output)

    def test_leaves_no_process_behind(self):
        sleeps = f"{10000 + os.getpid() / 1e7:f}"  # a time that no other process sleeps
        for test in ("Faulty.LeavesAProcessAndHangs", "Faulty.LeavesAProcessAndCrashes"):
            with self.subTest(test):
                self.ran(1, "0 passed, 1 failed, 0 skipped of 1 tests", test, "--timeout", "1",
                         SAMPLE_SLEEPS=sleeps)
                left = [path for path in Path("/proc").glob("[0-9]*/cmdline")
                        if sleeps.encode() in content_of(path)]
                self.assertEqual([], left)

    def test_takes_a_fault_behind_the_tests_for_a_failure(self):
        output = self.ran(1, "4 passed, 0 failed, 0 skipped of 4 tests",
                          "Quiet.Passes*:Spoiling.*")
        self.assertIn("failed: the process ended with exit code 23 outside a test\n", output)
        self.assertIn("said at the end", output)

    def test_takes_tests_that_were_not_reached_for_failed(self):
        output = self.ran(1, "3 passed, 1 failed, 0 skipped of 4 tests",
                          "Quiet.Passes*:SuiteThatExits.*")
        self.assertIn("-- SuiteThatExits.IsNotReached was not run", output)

    def test_takes_an_empty_list_for_a_failure(self):
        self.ran(1, "0 passed, 0 failed, 0 skipped of 0 tests", "NoSuch.*")

    def test_reports_when_all_were_skipped(self):
        self.ran(77, "0 passed, 0 failed, 1 skipped of 1 tests", "Quiet.IsSkipped")

    def test_gives_a_process_each_where_that_is_wanted(self):
        self.ran(1, "1 passed, 1 failed, 0 skipped of 2 tests", "Lonely.*")
        self.ran(0, "2 passed, 0 failed, 0 skipped of 2 tests", "Lonely.*", "--alone=No.*:Lonely.*")

    def test_spreads_the_tests_over_shards(self):
        for shard, count in ((1, 2), (2, 1)):
            self.ran(0, f"{count} passed, 0 failed, 0 skipped of {count} tests",
                     "Quiet.Passes*", "--shard", f"{shard}/2")

    def test_keeps_a_note_of_the_skipped(self):
        with tempfile.TemporaryDirectory() as folder:
            note = Path(folder, "notes", "skipped-sample")
            options = ("--name", "sample", "--notes", note.parent)
            run("Quiet.*", *options)
            self.assertEqual("skipped: Quiet.IsSkipped\n", note.read_text())
            run("Quiet.Passes", *options)
            self.assertFalse(note.exists())


def content_of(path):
    try:
        return path.read_bytes()
    except OSError:
        return b""  # has ended meanwhile


if __name__ == "__main__":
    unittest.main()
