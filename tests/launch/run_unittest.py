#!/usr/bin/env python3
"""Runs Python unit tests so that those which were skipped are seen.

usage: run_unittest.py [--name NAME] [--notes FOLDER] MODULE [ARGUMENT...]
  MODULE      of the working directory; its main program is not run
  ARGUMENT... names of tests in it, such as Class.test_name; default: all

Exits with 0 when every test passed or was skipped, with 77 when all were skipped, and with 1
otherwise: also when there is no test. With --notes, the skipped tests are listed with their reasons
in FOLDER/skipped-NAME, which is removed when there is none.
"""

import argparse
import os
import sys
import unittest

from run_gtest import note_skipped


def tests_of(module, names):
    """The tests of a module of the working directory; what cannot be loaded fails as a test."""
    sys.path.insert(0, os.getcwd())
    loader = unittest.defaultTestLoader
    try:
        return loader.loadTestsFromNames([f"{module}.{name}" for name in names] or [module])
    except SystemExit as ending:
        raise RuntimeError(f"{module} ends the program instead of having tests") from ending


class Result(unittest.TextTestResult):
    """Counts what passed, a part of a test included."""

    passed = 0

    def addSuccess(self, test):
        super().addSuccess(test)
        self.passed += 1

    def addExpectedFailure(self, test, err):
        super().addExpectedFailure(test, err)
        self.passed += 1

    def addSubTest(self, test, subtest, err):
        super().addSubTest(test, subtest, err)
        self.passed += err is None

    def notes(self):
        """What was skipped, with the reasons."""
        return [f"{test.id() if hasattr(test, 'id') else test}: {' '.join(reason.split())}"
                for test, reason in self.skipped]

    def exit_code(self):
        """What it means to CTest."""
        if not self.wasSuccessful() or not (self.passed or self.skipped):
            return 1
        return 0 if self.passed else 77


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--name", default="tests")
    parser.add_argument("--notes")
    parser.add_argument("module")
    parser.add_argument("tests", nargs="*")
    options = parser.parse_args()
    suite = tests_of(options.module, options.tests)
    result = unittest.TextTestRunner(verbosity=2, stream=sys.stdout, resultclass=Result,
                                     warnings="default").run(suite)
    if options.notes:
        note_skipped(options, result.notes())
    return result.exit_code()


if __name__ == "__main__":
    sys.exit(main())
