"""The snippets of the README run."""

import contextlib
import re
import unittest
from pathlib import Path

from navigation_service import Simulator

README = Path(__file__).resolve().parents[1] / "README.md"


class Readme(unittest.TestCase):
    def test_shows_programs_that_run(self):
        blocks = re.findall(r"^```python\n(.*?)^```$", README.read_text(encoding="utf-8"),
                            re.MULTILINE | re.DOTALL)
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
