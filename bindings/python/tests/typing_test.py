"""The package and the programs of its README as a type checker sees them."""

import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

import kestrove_navigation

BINDINGS = Path(__file__).resolve().parents[1]
# Where it is built: some of its sources are.
PACKAGE = Path(kestrove_navigation.__file__).parent
# The system's own, like the interpreter that runs this.
MYPY = shutil.which("mypy", path="/usr/bin")


def complaints(*files):
    """What mypy --strict says of files that import the package."""
    result = subprocess.run(
        [MYPY, "--strict", "--no-error-summary", "--cache-dir", Types.cache, *files],
        cwd=Types.cache, env={"MYPYPATH": str(PACKAGE.parent), "PATH": "/usr/bin:/bin"}, text=True,
        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    return result.stdout


@unittest.skipUnless(MYPY, "no mypy; scripts/setup full installs it")
class Types(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        directory = tempfile.TemporaryDirectory()
        cls.addClassCleanup(directory.cleanup)
        cls.cache = directory.name

    def test_of_the_package_are_complete(self):
        self.assertEqual("", complaints(*PACKAGE.glob("*.py"), *PACKAGE.glob("*.pyi")))

    def test_are_what_applications_get(self):
        self.assertEqual("", complaints(BINDINGS / "tests" / "typing_cases.py"))

    def test_let_the_programs_of_the_readme_pass(self):
        blocks = re.findall(r"^```python\n(.*?)^```$",
                            (BINDINGS / "README.md").read_text(encoding="utf-8"),
                            re.MULTILINE | re.DOTALL)
        self.assertGreaterEqual(len(blocks), 6)
        programs = []
        for number, block in enumerate(blocks):
            programs.append(Path(Types.cache) / f"program_{number}.py")
            # The callables of the README have no types of their own.
            programs[-1].write_text(re.sub(
                r"^(def (?!.*->).*)$", r"\1  # type: ignore[no-untyped-def]", block,
                flags=re.MULTILINE), encoding="utf-8")
        self.assertEqual("", complaints(*programs))

    def test_are_not_what_a_wrong_program_passes_with(self):
        with tempfile.TemporaryDirectory() as directory:
            program = Path(directory) / "program.py"
            program.write_text("from kestrove_navigation import NavigationClient\n"
                               "width: str = NavigationClient().get_implement_width()\n")
            self.assertIn("[assignment]", complaints(program))


if __name__ == "__main__":
    unittest.main()
