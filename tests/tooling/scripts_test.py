"""The commands of scripts/ that run tests: what they start, with which environment."""

import importlib.machinery
import importlib.util
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
DEADLINE_SECONDS = 100


class Environment(unittest.TestCase):
    def environment(self, **variables):
        """What a command gets of these variables."""
        told = subprocess.run([PROJECT / "scripts/clean-environment", "env"], text=True, check=True,
                              stdout=subprocess.PIPE, cwd=PROJECT / "tests",
                              env={"PATH": "/nowhere:/usr/bin:/bin", **variables}).stdout
        return dict(line.split("=", 1) for line in told.splitlines())

    def test_has_nothing_of_the_machine(self):
        told = self.environment(CXXFLAGS="-O9", PYTHONUNBUFFERED="1", LANG="de_DE",
                                HOME="/elsewhere", DISPLAY=":0", FIELD_DATA_DIR="")
        self.assertLessEqual(
            set(told), {"PATH", "HOME", "LANG", "GIT_CONFIG_COUNT", "GIT_CONFIG_KEY_0",
                        "GIT_CONFIG_VALUE_0", "CMAKE_CXX_COMPILER_LAUNCHER", "CCACHE_DIR",
                        "CCACHE_SLOPPINESS"})
        self.assertEqual(("C.UTF-8", f"{PROJECT}/build/home"), (told["LANG"], told["HOME"]))
        self.assertNotIn("/nowhere", told["PATH"])

    def test_passes_on_where_real_field_files_are(self):
        for given, passed in (("/some where/data", "/some where/data"),
                              ("data", f"{PROJECT}/tests/data")):
            self.assertEqual(passed, self.environment(FIELD_DATA_DIR=given)["FIELD_DATA_DIR"])

    def test_passes_on_which_pythons_the_wheel_is_tried_with(self):
        pythons = "/opt/3.9/bin/python3:/opt/3.12/bin/python3"
        self.assertEqual(pythons, self.environment(KESTROVE_PYTHONS=pythons)["KESTROVE_PYTHONS"])


def program(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text, encoding="utf-8")
    path.chmod(0o755)


class TestCommand(unittest.TestCase):
    """scripts/test, in a tree where what it starts is a stub."""

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.tree = Path(directory.name)
        scripts = self.tree / "scripts"
        scripts.mkdir()
        for name in ("test", "clean-environment"):
            shutil.copy(PROJECT / "scripts" / name, scripts / name)
        program(scripts / "setup", "#!/bin/sh\necho setup for $1\n")
        (scripts / "test_steps.py").write_text(
            "import os, sys\nprint('steps:', sys.argv[1:], sorted(os.environ), os.getcwd())\n"
            "sys.exit(5)\n", encoding="utf-8")

    def run_test(self, *arguments):
        done = subprocess.run(
            [self.tree / "scripts/test", *arguments], stdout=subprocess.PIPE, cwd="/",
            stderr=subprocess.STDOUT, text=True, timeout=DEADLINE_SECONDS, check=False,
            env={**os.environ, "CXXFLAGS": "-O9", "PYTHONUNBUFFERED": "1", "FIELD_DATA_DIR": "/data"})
        return done.returncode, done.stdout

    def test_installs_and_runs_the_steps_in_an_environment_of_its_own(self):
        for arguments, purpose in (((), "test"), (("--full",), "full")):
            code, output = self.run_test(*arguments)
            self.assertEqual(5, code, output)
            self.assertTrue(output.startswith(f"setup for {purpose}\nsteps: {list(arguments)} "), output)
            self.assertNotIn("CXXFLAGS", output)
            self.assertNotIn("PYTHONUNBUFFERED", output)
            self.assertIn("FIELD_DATA_DIR", output)
            self.assertIn(str(self.tree), output)

    def test_shows_its_use_when_it_is_not_understood(self):
        for word in ("bad", "--ful", "full"):
            code, output = self.run_test(word)
            self.assertEqual(2, code)
            self.assertRegex(output, r"\Ausage: scripts/test \[--full\]\n")
            self.assertNotIn("steps:", output)
            self.assertNotIn("setup", output)


class BareRoot(unittest.TestCase):
    """scripts/bare-root, with stubs of all that makes a root."""

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.bin = Path(directory.name)
        for name in ("debootstrap", "unshare", "wget", "git"):
            program(self.bin / name, "#!/bin/sh\nexit 0\n")
        program(self.bin / "id", "#!/bin/sh\necho 0\n")
        program(self.bin / "mknod", '#!/bin/sh\n: >"$1"\n')
        # bwrap --bind ROOT / ...: what the root has, and what is run in it.
        program(self.bin / "bwrap", '#!/bin/sh\nls "$2"; cat "$2"/*.pem; echo "runs: $*"\n')

    def run_bare_root(self, **variables):
        done = subprocess.run(
            [PROJECT / "scripts/bare-root", "true"], stdout=subprocess.PIPE, text=True,
            stderr=subprocess.STDOUT, timeout=DEADLINE_SECONDS, check=False,
            env={"PATH": f"{self.bin}:/usr/bin:/bin", **variables})
        return done.returncode, done.stdout

    def test_is_skipped_where_no_device_can_be_made(self):
        for fault in ("exit 1", 'mkdir "$1"'):  # not allowed, and not to be written to
            program(self.bin / "mknod", f"#!/bin/sh\n{fault}\n")
            code, output = self.run_bare_root()
            self.assertEqual(77, code, output)
            self.assertRegex(output, r"\Askipped: .* no devices in /var/tmp.*\n\Z")

    def test_gets_the_certificates_that_the_machine_trusts_besides(self):
        certificates = self.bin / "own.crt"
        certificates.write_text("a certificate of the machine\n", encoding="utf-8")
        code, output = self.run_bare_root(NODE_EXTRA_CA_CERTS=str(certificates))
        self.assertEqual(0, code, output)
        self.assertIn("a certificate of the machine\n", output)
        self.assertRegex(output, r"runs: .*/env -i NODE_EXTRA_CA_CERTS=/certificates.pem true\n")

    def test_has_an_empty_environment_where_there_are_none(self):
        code, output = self.run_bare_root()
        self.assertEqual(0, code, output)
        has_own = any(Path("/usr/local/share/ca-certificates").glob("*.crt"))
        self.assertEqual(has_own, "-i NODE_EXTRA_CA_CERTS" in output)
        self.assertRegex(output, r"runs: .*/env -i (\S+=\S+ )?true\n")


class RepeatTests(unittest.TestCase):
    """scripts/repeat-tests, on builds of a few commands."""

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.build = Path(directory.name, "build")
        self.build.mkdir()
        self.seen = self.build / "seen"

    def repeat(self, tests, *arguments, path=""):
        """Exit code, and the lines."""
        lists = "".join(f'add_test([=[{name}]=] "sh" "-c" [=[{command}]=])\n'
                        f"set_tests_properties([=[{name}]=] PROPERTIES SKIP_RETURN_CODE 77)\n"
                        for name, command in tests.items())
        (self.build / "CTestTestfile.cmake").write_text(lists, encoding="utf-8")
        done = subprocess.run(
            [PROJECT / "scripts/repeat-tests", *arguments, "--build", self.build],
            stdout=subprocess.PIPE, text=True, timeout=DEADLINE_SECONDS, check=False,
            env={**os.environ, "PATH": path + os.environ["PATH"], "CXXFLAGS": "-O9"})
        return done.returncode, done.stdout.splitlines()

    def test_is_green_when_each_run_is(self):
        code, lines = self.repeat({"Good": "exit 0", "Left.Out": "exit 77"}, "3")
        self.assertEqual((0, 4, "3 of 3 runs were green"), (code, len(lines), lines[-1]), lines)

    def test_names_what_has_failed_and_nothing_that_was_skipped(self):
        code, lines = self.repeat({"Good": "exit 0", "Bad": "exit 1", "Left.Out": "exit 77",
                                   "Crashed": "kill -SEGV $$", "Killed": "kill -KILL $$"}, "1")
        self.assertEqual((1, "0 of 1 runs were green"), (code, lines[-1]), lines)
        self.assertRegex(lines[0], "RED")
        self.assertEqual({"Bad", "Crashed", "Killed"},
                         set(re.sub(".*out of 5 ?", "", lines[0]).split()), lines[0])

    def test_shuffles_by_the_seed_in_an_environment_of_its_own(self):
        code, lines = self.repeat({"Env": f"env >>{self.seen}"}, "2", "--seed", "41")
        self.assertEqual(0, code, lines)
        seen = self.seen.read_text(encoding="utf-8").splitlines()
        self.assertEqual(["GTEST_RANDOM_SEED=41", "GTEST_RANDOM_SEED=42"],
                         [line for line in seen if line.startswith("GTEST_RANDOM_SEED")])
        self.assertEqual(2, seen.count("GTEST_SHUFFLE=1"))
        self.assertNotIn("CXXFLAGS=-O9", seen)
        self.assertEqual(2, seen.count("LANG=C.UTF-8"))

    def test_runs_one_at_a_time_where_tests_have_no_networks_of_their_own(self):
        program(self.build / "bin" / "unshare", "#!/bin/sh\nexit 1\n")
        alone = f"mkdir {self.build}/work && sleep 0.1 && rmdir {self.build}/work"
        code, lines = self.repeat({f"Work{number}": alone for number in range(6)}, "1",
                                  path=f"{self.build}/bin:")
        self.assertEqual(0, code, lines)

    def test_has_a_load_that_weighs_as_much_as_the_tests_unless_told_otherwise(self):
        path = str(PROJECT / "scripts/repeat-tests")
        loader = importlib.machinery.SourceFileLoader("repeat_tests", path)
        module = importlib.util.module_from_spec(
            importlib.util.spec_from_loader("repeat_tests", loader))
        sys.path.insert(0, str(PROJECT / "scripts"))
        loader.exec_module(module)
        self.assertEqual(0, module.options_of([])[0].nice)
        own = os.getpriority(os.PRIO_PROCESS, 0)
        for nice in (0, 3):
            with module.Load(2, nice) as load:
                for process in load.processes:
                    self.assertTrue(eventually(lambda: ticks(process.pid) > 20))
                    self.assertEqual(min(own + nice, 19), os.getpriority(os.PRIO_PROCESS, process.pid))


def ticks(pid):
    """The processor time that a process has taken, in hundredths of a second."""
    return int(Path(f"/proc/{pid}/stat").read_text(encoding="ascii").rsplit(")", 1)[1].split()[11])


def eventually(condition):
    deadline = time.monotonic() + DEADLINE_SECONDS
    while not condition() and time.monotonic() < deadline:
        time.sleep(0.01)  # between two looks
    return condition()


if __name__ == "__main__":
    unittest.main()
