"""The CMake blocks of README and guides, as a project beside an installation: they find the library
and link the programs that stand beside them, which then run."""

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

PRELUDE = "cmake_minimum_required(VERSION 3.16)\nproject(Documented CXX)\nenable_testing()\n"


def blocks(document, language):
    text = (PROJECT / document).read_text(encoding="utf-8")
    return re.findall(rf"^```{language}\n(.*?)^```$", text, re.MULTILINE | re.DOTALL)


def run(*command):
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                            timeout=DEADLINE_SECONDS * 10, check=False)
    if result.returncode != 0:
        raise AssertionError(result.stdout)
    return result.stdout


class CMakeBlocks(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        directory = tempfile.TemporaryDirectory()
        cls.addClassCleanup(directory.cleanup)
        cls.directory = Path(directory.name)

    def configure(self, name, lists, source_name, source):
        """Configures a project of one source; gives its build directory."""
        project = self.directory / name
        project.mkdir()
        (project / "CMakeLists.txt").write_text(PRELUDE + lists, encoding="utf-8")
        (project / source_name).write_text(source, encoding="utf-8")
        run(os.environ["CMAKE"], "-G", "Ninja", "-S", project, "-B", project / "build",
            f"-DCMAKE_PREFIX_PATH={os.environ['PREFIX']}",
            f"-DCMAKE_CXX_COMPILER={os.environ['COMPILER']}")
        return project / "build"

    def test_of_the_readme_links_its_program_which_engages(self):
        (program,), (block,) = blocks("README.md", "cpp"), blocks("README.md", "cmake")
        build = self.configure("readme", "add_executable(application application.cpp)\n" + block,
                               "application.cpp", program)
        run(os.environ["CMAKE"], "--build", build)
        with Simulator("--speed", "2"):
            told = run(build / "application")
        self.assertEqual("look-ahead time 1.8 s\nengaged: 1\n", told)

    def test_of_the_application_guide_builds_its_test_which_passes(self):
        guide = "docs/application-guide.md"
        (block,) = blocks(guide, "cmake")
        (test,) = [source for source in blocks(guide, "cpp") if "\nTEST(" in source]
        build = self.configure("guide", block, "my_test.cpp", test)
        run(os.environ["CMAKE"], "--build", build)
        run(Path(os.environ["CMAKE"]).with_name("ctest"), "--test-dir", build, "--no-tests=error",
            "--output-on-failure")

    def test_of_the_testing_library_finds_what_it_names(self):
        (block,) = blocks("testing/README.md", "cmake")
        self.configure("testing", "add_executable(my_test my_test.cpp)\n" + block, "my_test.cpp",
                       "")


if __name__ == "__main__":
    unittest.main()
