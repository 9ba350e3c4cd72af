"""The extension modules in a process that has the library's names from somebody else: linked with the
shared library, as the project builds them, and with the archive, as the wheel has them."""

import glob
import os
import subprocess
import sys
import tempfile
import textwrap
import unittest

PACKAGES = [os.environ["PYTHONPATH"].split(":")[0], os.environ["ARCHIVE_PACKAGE"]]
PROGRAM = """
import ctypes, sys
if len(sys.argv) > 1:
    ctypes.CDLL(sys.argv[1], mode=ctypes.RTLD_GLOBAL)
from kestrove_navigation import AbWayline, NavigationClient, Offset, Wayline
from kestrove_navigation.testing import ScriptedService
with ScriptedService() as service, NavigationClient(raises=True) as client:
    service.answer("GetImplementWidth", 0.1)
    assert client.get_implement_width() == 0.1
    events = client.events(Offset, timeout=60)
    service.wait_for_subscriptions("cb_offsets")
    service.push("cb_offsets", 0.2)
    assert next(events).shift == 0.2
    line = AbWayline((0, 0, 0), (0, 1, 0))
    assert Wayline.from_string(line.to_string()) == line
try:
    import numpy
except ImportError:
    pass
else:
    from kestrove_navigation.simulation import drive
    assert drive(line, seconds=1).engaged_to_the_end
print("all is well")
"""
SOCKET = """
struct Socket { Socket(); int fd = -1; };
Socket::Socket() { __builtin_trap(); }
"""


def names(file, *options):
    """Names that the linker sees of a module, or of a library of either kind."""
    which = "--extern-only" if file.endswith(".a") else "--dynamic"
    lines = subprocess.run(["nm", which, "--without-symbol-versions", "--format=posix", *options, file],
                           check=True, capture_output=True, text=True).stdout.splitlines()
    return {line.split()[0] for line in lines if len(line.split()) > 1}


class Modules(unittest.TestCase):
    def setUp(self):
        self.folder = self.enterContext(tempfile.TemporaryDirectory())

    def packages(self):
        """Each package, with its modules."""
        found = [(package, glob.glob(os.path.join(package, "kestrove_navigation", "_*.so")))
                 for package in PACKAGES]
        self.assertEqual([3, 3], [len(modules) for _, modules in found])
        return found

    def test_show_what_python_calls_alone(self):
        for _, modules in self.packages():
            for module in modules:
                name = os.path.basename(module).split(".")[0]
                self.assertEqual({"PyInit_" + name}, names(module, "--defined-only"))

    def test_use_their_own_where_others_have_the_same_names(self):
        library = names(os.environ["NAVIGATION_LIBRARY"], "--defined-only")
        self.assertIn("_ZN6SocketC2Ev", library)
        for package, modules in self.packages():
            # What is taken from the shared library is looked up in all of the process.
            taken = set().union(*(names(module, "--undefined-only") for module in modules))
            source = SOCKET + "".join(
                f'extern "C" void f{count}() __asm__("{name}"); void f{count}() {{ __builtin_trap(); }}\n'
                for count, name in enumerate(sorted(library - taken))
                if name.startswith("_Z") and not name.startswith("_ZN6SocketC"))
            self.assertGreater(source.count("extern"), 100)
            others = self.compiled(source)
            self.assert_runs(package, LD_PRELOAD=others)
            self.assert_runs(package, others)

    def compiled(self, source):
        """A library of this source."""
        path = os.path.join(self.folder, "libothers.so")
        subprocess.run([os.environ.get("CXX_COMPILER", "c++"), "-shared", "-fPIC", "-x", "c++", "-",
                        "-o", path], input=textwrap.dedent(source), text=True, check=True)
        return path

    def assert_runs(self, package, *arguments, **variables):
        ended = subprocess.run([sys.executable, "-B", "-c", PROGRAM, *arguments],
                               env={**os.environ, "PYTHONPATH": package, **variables}, text=True,
                               stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        self.assertEqual((0, "all is well\n"), (ended.returncode, ended.stdout))


if __name__ == "__main__":
    unittest.main()
