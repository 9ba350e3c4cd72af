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
from types import SimpleNamespace
from unittest import mock

PROJECT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(PROJECT / "scripts"))
from test_steps import (  # pylint: disable=wrong-import-position
    Run, Step, end, full_steps, has_networks, in_lanes, short_steps)


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
        skipped = "printf '\\t 7 - Page.drive (Skipped)\\n\\t81 - Python.typing (Skipped)\\n'"
        code, text = self.run_steps(step("first", f"echo '{closing}'; {skipped}; echo more"),
                                    step("second", ":"))
        self.assertEqual(0, code, text)
        self.assertRegex(text, r"(?m)^first +\d+  passed$")
        self.assertRegex(text, r"(?m)^second +\d+  passed$")
        self.assertIn(f"\nfirst: {closing}\nfirst: 2 skipped: Page.drive, Python.typing\n", text)
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

    def test_repeat_at_the_end_what_tests_say_of_their_failures(self):
        script = ("printf 'a.cpp:7: Failure\\nExpected: 1\\nFAIL: test_b\\n'; seq 100; false")
        _, text = self.run_steps(step("first", script), step("second", ":"))
        summary = text[text.index("\nstep "):]
        self.assertIn("first: a.cpp:7: Failure\nfirst: Expected: 1\nfirst: FAIL: test_b\nfirst: 1\n",
                      summary)
        self.assertNotIn("first: 99\n", summary)

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
        root = step("root", "echo 'skipped: no debootstrap'; exit 77")
        root.may_skip = True
        code, text = self.run_steps(root)
        self.assertEqual(0, code)
        self.assertRegex(text, r"(?m)^root +\d+  SKIPPED$")
        self.assertIn("\nroot: skipped: no debootstrap\n", text)

    def test_that_may_not_be_skipped_have_failed_with_any_other_code_than_0(self):
        code, text = self.run_steps(step("fuzz targets", "exit 77"))  # libFuzzer's of a finding
        self.assertEqual(1, code)
        self.assertRegex(text, r"(?m)^fuzz targets +\d+  FAILED with 77$")

    def test_of_which_one_ends_as_it_is_interrupted_are_no_fault(self):
        with subprocess.Popen(["true"], start_new_session=True) as process:
            process.wait()
        end(SimpleNamespace(pid=process.pid, poll=lambda: None))

    def test_that_share_the_network_of_the_machine_are_in_one_lane(self):
        for networks, lanes in ((False, {"run"}), (True, {"build", "run", "beside"})):
            with mock.patch("test_steps.has_networks", return_value=networks):
                steps = in_lanes(short_steps(True) + full_steps())
                self.assertEqual(lanes, {each.lane for each in steps})
                for each in steps:
                    if "ctest" in each.command:
                        at_a_time = each.command[each.command.index("--parallel") + 1]
                        self.assertEqual(networks, at_a_time != "1")

    def test_have_networks_only_where_each_test_gets_one(self):
        isolated = PROJECT / "scripts/isolated"
        self.assertEqual(subprocess.call([isolated, "--is-possible"]) == 0, has_networks())
        for program in ("unshare", "ip"):
            refusing = self.directory / program
            refusing.write_text("#!/bin/sh\nexit 1\n", encoding="ascii")
            refusing.chmod(0o755)
            path = f"{self.directory}:{os.environ['PATH']}"
            with mock.patch.dict(os.environ, {"PATH": path}):
                self.assertFalse(has_networks(), program)
            refusing.unlink()

    def test_show_the_notes_of_their_tests(self):
        notes = self.directory / "notes"
        script = f"mkdir {notes}; echo one after another >{notes}/no-namespaces"
        code, text = self.run_steps(step("tests", script, notes=notes))
        self.assertEqual(0, code)
        self.assertIn("\ntests: one after another\n", text)

    def test_end_with_their_children_when_interrupted(self):
        self.check_interruption(lambda run: run.send_signal(signal.SIGTERM))

    def test_end_when_another_thread_than_the_main_one_gets_the_signal(self):
        self.check_interruption(lambda run: run.stdin.write("interrupt\n") and run.stdin.flush())

    def check_interruption(self, interrupt):
        program = ("import signal, sys, threading; from test_steps import Run, Step\n"
                   "def take_signal():\n"
                   "    if sys.stdin.readline():\n"
                   "        signal.pthread_kill(threading.get_ident(), signal.SIGTERM)\n"
                   "threading.Thread(target=take_signal).start()\n"
                   "script = 'exec 3>$0; echo started >&3; sleep 600; :'\n"
                   "steps = [Step(name, 'run', ['sh', '-c', script, name])"
                   "         for name in sys.argv[1:]]\n"
                   "sys.exit(Run(steps, 'logs').run())")
        os.mkfifo(self.directory / "first")
        with subprocess.Popen([sys.executable, "-B", "-c", program, "first", "second"],
                              cwd=self.directory, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                              text=True,
                              env={**os.environ, "PYTHONPATH": str(PROJECT / "scripts")}) as run:
            with open(self.directory / "first", encoding="ascii") as held_by_all:
                self.assertEqual("started\n", held_by_all.readline())
                interrupt(run)
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


if __name__ == "__main__":
    unittest.main()
