"""The snippets of the README run."""

import contextlib
import importlib.util
import io
import re
import unittest
from pathlib import Path

from navigation_service import Simulator

README = Path(__file__).resolve().parents[1] / "README.md"
DRIVING = README.parents[2] / "docs" / "driving-in-python.md"


def programs_of(document):
    """The blocks of Python."""
    return re.findall(r"^```python\n(.*?)^```$", document.read_text(encoding="utf-8"),
                      re.MULTILINE | re.DOTALL)


class Readme(unittest.TestCase):
    def test_of_driving_in_python_shows_programs_that_run(self):
        blocks = programs_of(DRIVING)
        self.assertEqual(3, len(blocks))
        for block in blocks:
            if "tune(" in block and not importlib.util.find_spec("scipy"):
                continue
            with self.subTest(block), contextlib.redirect_stdout(io.StringIO()) as printed:
                exec(compile(block, str(DRIVING), "exec"), {})  # pylint: disable=exec-used
                self.assertNotEqual("", printed.getvalue())

    def test_shows_programs_that_run(self):
        blocks = programs_of(README)
        self.assertGreaterEqual(len(blocks), 6)
        for block in blocks:
            # A block that brings its own service needs no other.
            brings_its_own = re.search("(Scripted|Driving)Service", block)
            service = contextlib.nullcontext() if brings_its_own else \
                Simulator("--speed", "2", "--speed-factor", "10")
            with self.subTest(block), service:
                exec(compile(block, str(README), "exec"), {})  # pylint: disable=exec-used


if __name__ == "__main__":
    unittest.main()
