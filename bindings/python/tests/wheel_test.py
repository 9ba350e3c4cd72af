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
# Of every Python here: the one that runs this, those that are called by their version, and those that
# the tester names. The wheel is for 3.9 and later.
PYTHONS = sorted({os.path.realpath(path) for path in [
    sys.executable, *filter(None, map(shutil.which, (f"python3.{minor}" for minor in range(9, 20)))),
    *filter(None, os.environ.get("KESTROVE_PYTHONS", "").split(":"))]})
# The newest Python that each pybind11 is made for, by its minor number.
MADE_FOR = {(2, 9): 10, (2, 10): 11, (2, 11): 12, (2, 12): 12, (2, 13): 13, (3, 0): 14}


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


def is_newer_than_pybind11(python):
    """Whether a Python is later than those that the system's pybind11 is made for."""
    header = Path("/usr/include/pybind11/detail/common.h").read_text(encoding="utf-8")
    version = tuple(int(re.search(rf"define PYBIND11_VERSION_{part} (\d+)", header).group(1))
                    for part in ("MAJOR", "MINOR"))
    minor = int(run(python, "-c", "import sys; print(sys.version_info[1])").stdout)
    return version in MADE_FOR and minor > MADE_FOR[version]


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
                target = os.path.join(self.folder, f"{len(os.listdir(self.folder))}")
                built = self.pip(python, "install", "--target", target, str(ROOT))
                ended = run(python, "-B", "-c", PROGRAM, target, PYTHONPATH=target)
                plugin = "kestrove_navigation.pytest_plugin"
                if is_newer_than_pybind11(python) and (built.returncode or ended.returncode):
                    self.skipTest(f"the system's pybind11 is not made for {python}")
                self.assertEqual(0, built.returncode, built.stdout)
                self.assertEqual(f"{version} {version} {plugin} {plugin}\n", ended.stdout)
                self.assert_shows_what_python_calls_alone(target)
                tried += 1
        if not tried:
            self.skipTest("no pip; scripts/setup test installs python3-pip")

    def assert_shows_what_python_calls_alone(self, target):
        modules = glob.glob(os.path.join(target, "kestrove_navigation", "_*.so"))
        self.assertEqual(3, len(modules))
        for module in modules:
            shown = run("nm", "--dynamic", "--defined-only", "--format=posix", module).stdout
            self.assertRegex(shown, r"\APyInit_\w+ T \w+ ?\w*\n\Z")

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
                              "testing.py", "simulation.py", "_cases.py", "_sweep.py", "_tune.py",
                              "_navigation.pyi", "_simulation.pyi", "_testing.pyi"}, names)

    @unittest.skipUnless(has(sys.executable, "pip"), "no pip; scripts/setup test installs python3-pip")
    def test_is_refused_by_name_of_what_is_missing(self):
        ended = self.pip(sys.executable, "install", "--target", self.folder, str(ROOT),
                         PATH=os.path.dirname(sys.executable) + "/none")
        self.assertNotEqual(0, ended.returncode)
        self.assertIn("cmake is missing", ended.stdout)


if __name__ == "__main__":
    unittest.main()
