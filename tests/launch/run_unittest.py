#!/usr/bin/env python3
"""Runs Python unit tests so that those which were skipped are seen.

usage: run_unittest.py [--name NAME] [--notes FOLDER] MODULE [ARGUMENT...]
  MODULE      of the working directory, or the path of one; its main program is not run
  ARGUMENT... names of tests in it, such as Class.test_name; default: all

Exits with 0 when every test passed or was skipped, with 77 when all were skipped, and with 1
otherwise: also when there is no test. With --notes, the skipped tests are listed with their reasons
in FOLDER/skipped-NAME, which is removed when there is none.
"""

import argparse
import importlib
import os
import sys
import unittest
from pathlib import Path

from run_gtest import note_skipped


def tests_of(module, names):
    """The tests of a module, by its name or its path."""
    path = Path(module)
    sys.path.insert(0, str(path.parent.resolve()))
    loaded = importlib.import_module(path.stem if path.suffix == ".py" else module)
    loader = unittest.defaultTestLoader
    if names:
        return loader.loadTestsFromNames(names, loaded)
    return loader.loadTestsFromModule(loaded)


def skipped_by(result):
    """What was skipped, with the reasons."""
    return [f"{test.id() if isinstance(test, unittest.TestCase) else test}: {reason}"
            for test, reason in result.skipped]


def exit_code(result):
    """What the result means to CTest."""
    if not result.wasSuccessful() or not (result.testsRun or result.skipped):
        return 1
    # A class or module that is skipped as a whole counts no test as run.
    return 77 if result.testsRun <= len(result.skipped) else 0


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--name", default="tests")
    parser.add_argument("--notes")
    parser.add_argument("module")
    parser.add_argument("tests", nargs="*")
    options = parser.parse_args()
    suite = tests_of(options.module, options.tests)
    result = unittest.TextTestRunner(verbosity=2, stream=sys.stdout).run(suite)
    if options.notes:
        note_skipped(options, skipped_by(result))
    return exit_code(result)


if __name__ == "__main__":
    sys.exit(main())
