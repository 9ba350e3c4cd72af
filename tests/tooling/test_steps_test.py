"""The runner of scripts/test: no failure passes for a success, and none keeps others back."""

import io
import os
import signal
import subprocess
import sys
import tempfile
import unittest
from contextlib import redirect_stdout
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(PROJECT / "scripts"))
from test_steps import Run, Step, full_steps, short_steps  # pylint: disable=wrong-import-position


def step(name, script, *needs, lane="run", notes=None):
    return Step(name, lane, ["sh", "-ec", script], needs, notes)


class Steps(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = Path(directory.name)

    def run_steps(self, *steps):
        """Runs them; gives the exit code and what is printed."""
        output = io.StringIO()
        with redirect_stdout(output):
            code = Run(steps, self.directory / "logs").run()
        return code, output.getvalue()

    def test_that_pass_give_0_with_their_seconds_and_closing_lines(self):
        closing = "100% tests passed, 0 tests failed out of 12"
        code, text = self.run_steps(step("first", f"echo '{closing}'; echo more"),
                                    step("second", ":"))
        self.assertEqual(0, code, text)
        self.assertRegex(text, r"(?m)^first +\d+  passed$")
        self.assertRegex(text, r"(?m)^second +\d+  passed$")
        self.assertIn(f"\nfirst: {closing}\n", text)
        self.assertRegex(text, r"\n== passed in \d+ s\n\Z")

    def test_behind_one_that_fails_are_run_and_all_failures_are_listed(self):
        code, text = self.run_steps(
            step("first", "echo the reason; false; echo not reached"), step("second", ":"),
            step("third", "kill -SEGV $$"), step("fourth", ":"))
        self.assertEqual(1, code)
        self.assertIn("\nthe reason\n", text)
        self.assertNotIn("not reached", text)
        self.assertRegex(text, r"(?m)^first +\d+  FAILED with 1$")
        self.assertRegex(text, r"(?m)^third +\d+  FAILED with -11$")
        for name in ("second", "fourth"):
            self.assertRegex(text, rf"(?m)^{name} +\d+  passed$")
        self.assertRegex(text, r"\n== FAILED in \d+ s: first, third\n\Z")

    def test_that_cannot_be_started_have_failed(self):
        code, text = self.run_steps(Step("first", "run", ["/nonexistent"]), step("second", ":"))
        self.assertEqual(1, code)
        self.assertRegex(text, r"(?m)^first +\d+  FAILED: .*nonexistent")
        self.assertRegex(text, r"(?m)^second +\d+  passed$")

    def test_that_need_a_failed_one_are_not_run_and_listed(self):
        code, text = self.run_steps(
            step("build", "false", lane="build"),
            step("tests", f"touch {self.directory}/ran", "build"), step("others", ":"))
        self.assertEqual(1, code)
        self.assertFalse((self.directory / "ran").exists())
        self.assertRegex(text, r"(?m)^tests +0  not run$")
        self.assertRegex(text, r"(?m)^others +\d+  passed$")
        self.assertRegex(text, r": build, tests\n\Z")

    def test_wait_for_those_they_need_in_another_lane(self):
        made = self.directory / "made"
        os.mkfifo(self.directory / "gate")
        code, text = self.run_steps(
            step("build", f"cat {self.directory}/gate; touch {made}", lane="build"),
            step("beside", f"echo >{self.directory}/gate"),  # ends the build beside it
            step("tests", f"test -e {made}", "build"))
        self.assertEqual(0, code, text)

    def test_that_are_skipped_say_why_and_are_no_failure(self):
        code, text = self.run_steps(step("root", "echo 'skipped: no debootstrap'; exit 77"))
        self.assertEqual(0, code)
        self.assertRegex(text, r"(?m)^root +\d+  SKIPPED$")
        self.assertIn("\nroot: skipped: no debootstrap\n", text)

    def test_show_the_notes_of_their_tests(self):
        notes = self.directory / "notes"
        script = f"mkdir {notes}; echo one after another >{notes}/no-namespaces"
        code, text = self.run_steps(step("tests", script, notes=notes))
        self.assertEqual(0, code)
        self.assertIn("\ntests: one after another\n", text)

    def test_end_with_their_children_when_interrupted(self):
        program = ("import sys; from test_steps import Run, Step\n"
                   "script = 'exec 3>$0; echo started >&3; sleep 600; :'\n"
                   "steps = [Step(name, 'run', ['sh', '-c', script, name])"
                   "         for name in sys.argv[1:]]\n"
                   "sys.exit(Run(steps, 'logs').run())")
        os.mkfifo(self.directory / "first")
        with subprocess.Popen([sys.executable, "-B", "-c", program, "first", "second"],
                              cwd=self.directory, stdout=subprocess.PIPE, text=True,
                              env={**os.environ, "PYTHONPATH": str(PROJECT / "scripts")}) as run:
            with open(self.directory / "first", encoding="ascii") as held_by_all:
                self.assertEqual("started\n", held_by_all.readline())
                run.send_signal(signal.SIGTERM)
                self.assertEqual("", held_by_all.read())  # all that could write have ended
            text, _ = run.communicate(timeout=60)
        self.assertEqual(1, run.returncode, text)
        self.assertRegex(text, r"(?m)^second +0  not run$")

    def test_of_a_full_run_have_those_of_every_run_and_commands_that_exist(self):
        steps = short_steps(True) + full_steps()
        Run(steps, self.directory)  # whatever is needed comes before
        self.assertEqual(len(steps), len({each.log_name for each in steps}))
        for each in steps:
            for word in each.command:
                if word.startswith(("scripts/", "tests/")):
                    self.assertTrue(os.access(PROJECT / word, os.X_OK), word)


class Environment(unittest.TestCase):
    def test_has_nothing_of_the_machine(self):
        told = subprocess.run(
            [PROJECT / "scripts/clean-environment", "env"], stdout=subprocess.PIPE, text=True,
            check=True, env={
                "PATH": "/nowhere:/usr/bin:/bin", "CXXFLAGS": "-O9", "PYTHONUNBUFFERED": "1",
                "LANG": "de_DE", "HOME": "/home/somebody", "DISPLAY": ":0"}).stdout
        names = {line.split("=")[0] for line in told.splitlines()}
        self.assertLessEqual(
            names, {"PATH", "HOME", "LANG", "GIT_CONFIG_COUNT", "GIT_CONFIG_KEY_0",
                    "GIT_CONFIG_VALUE_0", "CMAKE_CXX_COMPILER_LAUNCHER", "CCACHE_DIR",
                    "CCACHE_SLOPPINESS"})
        for line in ("LANG=C.UTF-8", f"HOME={PROJECT}/build/home"):
            self.assertIn(line, told.splitlines())
        self.assertNotIn("/nowhere", told)


if __name__ == "__main__":
    unittest.main()
