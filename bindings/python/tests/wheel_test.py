"""The wheel, as pip builds and installs it without a network."""

import glob
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import zipfile
from pathlib import Path

ROOT = Path(__file__).resolve().parents[3]
PROGRAM = """
import asyncio, importlib.metadata, sys
import kestrove_navigation
from kestrove_navigation import NavigationClient, aio
from kestrove_navigation.testing import ScriptedService

assert kestrove_navigation.__file__.startswith(sys.argv[1]), kestrove_navigation.__file__
with ScriptedService() as service, NavigationClient(raises=True) as client:
    service.answer("GetImplementWidth", 0.1)
    assert client.get_implement_width() == 0.1
    async def width():
        async with aio.NavigationClient(raises=True) as client:
            return await client.get_implement_width()
    assert asyncio.run(width()) == 0.1
(entry,) = [entry for entry in importlib.metadata.distribution("kestrove-navigation").entry_points
            if entry.group == "pytest11"]
print(kestrove_navigation.__version__, importlib.metadata.version("kestrove-navigation"),
      entry.name, entry.value)
"""
# Of every Python here: the one that runs this, and those that are called by their version.
PYTHONS = sorted({os.path.realpath(path) for path in [
    sys.executable, *filter(None, map(shutil.which, (f"python3.{minor}" for minor in range(9, 20)))),
    *filter(None, os.environ.get("KESTROVE_PYTHONS", "").split(":"))]})


def run(*command, **variables):
    """Runs a command, with a quick compilation, and without the package of this build."""
    environment = {**os.environ, "CMAKE_BUILD_TYPE": "Debug", "PIP_DISABLE_PIP_VERSION_CHECK": "1",
                   "PIP_ROOT_USER_ACTION": "ignore", **variables}
    if "PYTHONPATH" not in variables:
        environment.pop("PYTHONPATH", None)
    return subprocess.run(command, env=environment, cwd="/", text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, check=False)


def has(python, module):
    """Whether a Python has a module."""
    return run(python, "-c", f"import {module}").returncode == 0


class Wheel(unittest.TestCase):
    def setUp(self):
        self.folder = self.enterContext(tempfile.TemporaryDirectory())
        self.build = os.environ.get("WHEEL_BUILD", os.path.join(self.folder, "build"))

    def pip(self, python, *arguments, **variables):
        """Runs pip, which has no network here."""
        return run(python, "-m", "pip", *arguments, f"--config-settings=build-dir={self.build}",
                   **variables)

    def test_is_installed_by_pip_alone_for_every_python(self):
        tried = 0
        version = re.search(r"^project\(\w+ VERSION (\S+)",
                            (ROOT / "CMakeLists.txt").read_text(encoding="utf-8"), re.M).group(1)
        for python in PYTHONS:
            if not has(python, "pip"):
                continue
            with self.subTest(python):
                target = os.path.join(self.folder, os.path.basename(python))
                ended = self.pip(python, "install", "--target", target, str(ROOT))
                self.assertEqual(0, ended.returncode, ended.stdout)
                ended = run(python, "-B", "-c", PROGRAM, target, PYTHONPATH=target)
                plugin = "kestrove_navigation.pytest_plugin"
                self.assertEqual(f"{version} {version} {plugin} {plugin}\n", ended.stdout)
                tried += 1
        if not tried:
            self.skipTest("no pip; scripts/setup test installs python3-pip")

    @unittest.skipUnless(has(sys.executable, "pip"), "no pip; scripts/setup test installs python3-pip")
    def test_is_the_same_bytes_every_time_and_says_what_it_holds(self):
        wheels = []
        for name in ("one", "other"):
            folder = os.path.join(self.folder, name)
            ended = self.pip(sys.executable, "wheel", "--no-deps", "-w", folder, str(ROOT))
            self.assertEqual(0, ended.returncode, ended.stdout)
            (wheel,) = glob.glob(os.path.join(folder, "*.whl"))
            wheels.append(wheel)
        self.assertEqual(*(Path(wheel).read_bytes() for wheel in wheels))
        tag = "cp{0}{1}-cp{0}{1}".format(*sys.version_info)
        self.assertRegex(os.path.basename(wheels[0]),
                         rf"^kestrove_navigation-[\d.]+-{tag}-linux_\w+\.whl$")
        with zipfile.ZipFile(wheels[0]) as wheel:
            names = {Path(name).name for name in wheel.namelist()}
        self.assertLessEqual({"METADATA", "RECORD", "WHEEL", "LICENSE", "NOTICES", "py.typed", "aio.py",
                              "testing.py", "_navigation.pyi", "_testing.pyi"}, names)

    @unittest.skipUnless(has(sys.executable, "pip"), "no pip; scripts/setup test installs python3-pip")
    def test_is_refused_by_name_of_what_is_missing(self):
        ended = self.pip(sys.executable, "install", "--target", self.folder, str(ROOT),
                         PATH=os.path.dirname(sys.executable) + "/none")
        self.assertNotEqual(0, ended.returncode)
        self.assertIn("cmake is missing", ended.stdout)


if __name__ == "__main__":
    unittest.main()
