"""docs/getting-started.md, done as it says: its program is built against an installation, and drives."""

import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(PROJECT / "tests" / "end_to_end"))
from navigation_service import DEADLINE_SECONDS, Simulator  # pylint: disable=wrong-import-position


def guide():
    """The text of the guide."""
    return (PROJECT / "docs" / "getting-started.md").read_text(encoding="utf-8")


def block(language):
    """Its one block of a language."""
    blocks = re.findall(rf"^```{language}\n(.*?)^```$", guide(), re.MULTILINE | re.DOTALL)
    assert len(blocks) == 1, f"{len(blocks)} blocks of {language}"
    return blocks[0]


def commands():
    """Those of step 4: configure, build, drive."""
    step = guide().split("\n## 4.")[1].split("\n## ")[0]
    found = [line.split("  #")[0].strip() for line in re.findall(r"^    (\S.*)$", step, re.MULTILINE)]
    assert len(found) == 3, found
    return found


def without_figures(text):
    return re.sub(r"-?\d[\d.e+-]*", "N", text)


class GettingStarted(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        directory = tempfile.TemporaryDirectory()
        cls.addClassCleanup(directory.cleanup)
        home, source = Path(directory.name), Path(directory.name, "first_drive")
        source.mkdir()
        (source / "main.cpp").write_text(block("cpp"), encoding="utf-8")
        (source / "CMakeLists.txt").write_text(block("cmake"), encoding="utf-8")
        cmake = Path(os.environ["CMAKE"])
        environment = {**os.environ, "HOME": home, "CXX": os.environ["COMPILER"],
                       "PATH": f"{cmake.parent}:{os.environ['PATH']}"}
        configure, build, drive = commands()
        (home / "kestrove").symlink_to(os.environ["PREFIX"])
        for command in (configure, build):
            result = subprocess.run(["sh", "-c", command], cwd=source, env=environment, text=True,
                                    stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
            if result.returncode != 0:
                raise AssertionError(f"{command}:\n{result.stdout}")
        cls.program = source / drive

    def drive(self):
        return subprocess.run([self.program], capture_output=True, text=True,
                              timeout=DEADLINE_SECONDS, check=False)

    def test_drives_and_writes_what_the_guide_shows(self):
        with Simulator("--speed", "2") as simulator:
            result = self.drive()
            self.assertEqual((0, ""), (result.returncode, result.stderr))
            self.assertEqual(without_figures(block("text")), without_figures(result.stdout))
            self.assertIn(without_figures(simulator.announcement), without_figures(guide()))

    def test_tells_that_there_is_no_service(self):
        result = self.drive()
        self.assertEqual(1, result.returncode)
        self.assertIn("no service: ", result.stderr)

    def test_tells_that_the_machine_stands_still(self):
        with Simulator() as simulator:
            self.assertEqual("not engaged \n", self.drive().stderr)
            simulator.end()
            self.assertNotEqual("", simulator.errors())


if __name__ == "__main__":
    unittest.main()
