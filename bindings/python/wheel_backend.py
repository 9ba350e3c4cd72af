"""Builds the wheel of the package kestrove_navigation, for pip.

CMake compiles the client library into the package, for the Python that runs this: a wheel needs no
other package of ours. Takes the standard library alone, so that pip has nothing to fetch.

Settings of pip (--config-settings): build-dir=FOLDER, where CMake builds, default build/wheel. CMake's
own environment variables count, such as CMAKE_BUILD_TYPE (Release unless set) and CXX.
"""

import base64
import hashlib
import os
import re
import shutil
import subprocess
import sys
import sysconfig
import tempfile
import zipfile
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
DEFAULTS = {"CMAKE_BUILD_TYPE": "Release", "CMAKE_BUILD_PARALLEL_LEVEL": str(os.cpu_count() or 1)}
METADATA = """\
Metadata-Version: 2.1
Name: kestrove-navigation
Version: {version}
Summary: {summary}
License: Apache-2.0
Classifier: License :: OSI Approved :: Apache Software License
Classifier: Operating System :: POSIX :: Linux
Classifier: Programming Language :: C++
Classifier: Programming Language :: Python :: 3
Classifier: Framework :: AsyncIO
Classifier: Framework :: Pytest
Classifier: Typing :: Typed
Requires-Python: >=3.9
Provides-Extra: numpy
Requires-Dist: numpy; extra == "numpy"
Provides-Extra: simulation
Requires-Dist: numpy >= 1.22; extra == "simulation"
Requires-Dist: scipy >= 1.7; extra == "simulation"
Requires-Dist: matplotlib >= 3.5; extra == "simulation"
Provides-Extra: cluster
Requires-Dist: numpy >= 1.22; extra == "cluster"
Requires-Dist: scipy >= 1.7; extra == "cluster"
Requires-Dist: distributed; extra == "cluster"
Description-Content-Type: text/markdown

{description}"""
ENTRY_POINTS = """\
[pytest11]
kestrove_navigation.pytest_plugin = kestrove_navigation.pytest_plugin
"""


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    """Builds the wheel and gives its file name: what pip calls."""
    # pylint: disable=unused-argument
    project = re.search(r'^project\(\w+ VERSION (\S+).*?DESCRIPTION "(.*?)"',
                        (ROOT / "CMakeLists.txt").read_text(encoding="utf-8"), re.M | re.S)
    version, summary = project.groups()
    build = Path((config_settings or {}).get("build-dir") or ROOT / "build" / "wheel").resolve()
    with tempfile.TemporaryDirectory() as folder:
        staged = Path(folder)
        compile_package(build / interpreter_tag(), staged)
        information = staged / f"kestrove_navigation-{version}.dist-info"
        write_information(information, version, summary)
        name = f"kestrove_navigation-{version}-{wheel_tag()}.whl"
        write_archive(Path(wheel_directory) / name, staged, information)
    return name


def interpreter_tag():
    """The Python that runs this, as wheels call it: "cp311"."""
    if sys.implementation.name != "cpython" or sys.version_info < (3, 9):
        raise SystemExit("kestrove_navigation is for CPython 3.9 and later, not "
                         f"{sys.implementation.name} {sys.version.split()[0]}")
    return "cp{}{}".format(*sys.version_info)


def wheel_tag():
    """What the wheel is for: interpreter, its binary interface, machine."""
    platform = re.sub(r"[-.]", "_", sysconfig.get_platform())
    return f"{interpreter_tag()}-{interpreter_tag()}{getattr(sys, 'abiflags', '')}-{platform}"


def compile_package(build, staged):
    """Has CMake lay the package down in a folder."""
    cmake = shutil.which("cmake")
    if cmake is None:
        raise SystemExit("cmake is missing. Install what the package is built with: "
                         "scripts/setup package")
    environment = {**DEFAULTS, **os.environ}
    if shutil.which("ninja"):
        environment.setdefault("CMAKE_GENERATOR", "Ninja")
    left_out = ("PROGRAMS", "EXAMPLES", "TESTS", "BENCHMARKS")
    for command in (
            [cmake, "-S", ROOT, "-B", build, f"-DKESTROVE_SYSTEM_PYTHON={sys.executable}",
             "-DKESTROVE_BUILD_PYTHON=REQUIRED", "-DKESTROVE_PYTHON_DIRECTORY=.",
             "-DBUILD_SHARED_LIBS=OFF", *(f"-DKESTROVE_BUILD_{part}=OFF" for part in left_out)],
            [cmake, "--build", build, "--target", "kestrove_python"],
            [cmake, "--install", build / "bindings/python", "--prefix", staged, "--component", "python", "--strip"]):
        if subprocess.run(command, env=environment, check=False).returncode != 0:
            raise SystemExit(f"failed: {' '.join(map(str, command))}")


def write_information(information, version, summary):
    """Writes what the wheel says of itself."""
    description = (ROOT / "bindings/python/README.md").read_text(encoding="utf-8")
    texts = {
        "METADATA": METADATA.format(version=version, summary=summary, description=description),
        "WHEEL": "Wheel-Version: 1.0\nGenerator: wheel_backend\nRoot-Is-Purelib: false\n"
                 f"Tag: {wheel_tag()}\n",
        "entry_points.txt": ENTRY_POINTS,
    }
    information.mkdir()
    for name, text in texts.items():
        (information / name).write_text(text, encoding="utf-8")
    shutil.copy(ROOT / "LICENSE", information / "LICENSE")
    shutil.copy(ROOT / "packaging/debian/copyright", information / "NOTICES")


def write_archive(archive, staged, information):
    """Writes the wheel, the same bytes for the same files, with the record of them."""
    files = sorted(path for path in staged.rglob("*") if path.is_file())
    record = ""
    with zipfile.ZipFile(archive, "w", zipfile.ZIP_DEFLATED) as wheel:
        def add(name, data, mode):
            entry = zipfile.ZipInfo(name)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = mode << 16
            wheel.writestr(entry, data)
        for path in files:
            name, data = path.relative_to(staged).as_posix(), path.read_bytes()
            add(name, data, 0o100755 if path.suffix == ".so" else 0o100644)
            digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
            record += f"{name},sha256={digest},{len(data)}\n"
        name = f"{information.name}/RECORD"
        add(name, record + f"{name},,\n", 0o100644)
