#!/usr/bin/env python3
"""Tests of run_unittest.py, on modules of a few tests each."""

import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

RUNNER = Path(__file__).with_name("run_unittest.py")
DEADLINE_SECONDS = 100
MODULE = "import unittest\nclass T(unittest.TestCase):\n"
PASSES = "    def test_passes(self): pass\n"
SKIPPED = "    def test_is_skipped(self): self.skipTest('for want of\\n something')\n"
FAILS = "    def test_fails(self): self.fail('the fault itself')\n"
IN_PART = ("    def test_is_skipped_in_part(self):\n"
           "        for part in range(3):\n"
           "            with self.subTest(part):\n"
           "                if part: self.skipTest('no such part')\n")
WHOLE_CLASS = "import unittest\n@unittest.skip('no class')\nclass T(unittest.TestCase):\n" + PASSES
IN_SET_UP = (MODULE + PASSES + "    @classmethod\n"
             "    def setUpClass(cls): raise unittest.SkipTest('no class')\n")


class Runner(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = Path(directory.name)
        self.note = self.directory / "notes" / "skipped-sample"

    def run_module(self, text, *tests):
        """Exit code, output and note."""
        (self.directory / "sample_test.py").write_text(text, encoding="utf-8")
        done = subprocess.run(
            [sys.executable, "-B", RUNNER, "--name", "sample", "--notes", self.note.parent,
             "sample_test", *tests], cwd=self.directory, stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT, text=True, timeout=DEADLINE_SECONDS, check=False)
        note = self.note.read_text(encoding="utf-8") if self.note.exists() else ""
        return done.returncode, done.stdout, note

    def test_passes_when_all_tests_do_and_leaves_no_note(self):
        self.note.parent.mkdir()
        self.note.write_text("of an earlier run", encoding="utf-8")
        code, output, note = self.run_module(MODULE + PASSES)
        self.assertEqual((0, ""), (code, note), output)

    def test_shows_a_failure(self):
        for others in ("", PASSES, SKIPPED):
            code, output, _ = self.run_module(MODULE + FAILS + others)
            self.assertEqual(1, code)
            self.assertIn("the fault itself", output)

    def test_notes_what_was_skipped_with_its_reason(self):
        code, output, note = self.run_module(MODULE + PASSES + SKIPPED)
        self.assertEqual(0, code, output)
        self.assertEqual("skipped: sample_test.T.test_is_skipped: for want of something\n", note)

    def test_reports_when_all_were_skipped(self):
        for text in (MODULE + SKIPPED, WHOLE_CLASS, IN_SET_UP):
            with self.subTest(text):
                code, output, note = self.run_module(text)
                self.assertEqual(77, code, output)
                self.assertRegex(note, r"\Askipped: .*(no class|for want of something)\n\Z")

    def test_does_not_take_a_test_that_is_skipped_in_part_for_skipped(self):
        code, output, note = self.run_module(MODULE + IN_PART)
        self.assertEqual(0, code, output)
        self.assertEqual(2, note.count("no such part"))

    def test_takes_no_tests_and_what_cannot_be_read_for_failures(self):
        for text in ("", "import unittest\n", "import no_such_module\n", "raise SystemExit(0)\n",
                     "raise SystemExit(77)\n"):
            with self.subTest(text):
                self.assertEqual(1, self.run_module(text)[0])

    def test_runs_those_that_are_named(self):
        code, output, _ = self.run_module(MODULE + PASSES + FAILS, "T.test_passes")
        self.assertEqual(0, code, output)
        self.assertEqual(1, self.run_module(MODULE + PASSES, "T.test_no_such")[0])


if __name__ == "__main__":
    unittest.main()
