"""What navctl prints on a narrow terminal, and what it makes of bytes that are not text."""

import contextlib
import os
import re
import subprocess
import tempfile
import unittest
from collections import Counter
from pathlib import Path

from navctl_files import moment
from navctl_program import LINE_NORTH, Simulator, answer, navctl, on_terminal, program, scripted
from operations_test import CALLS

COLUMNS = 36
LONG_LINE = "3 9 " + " ".join(f"{east} {east * east}.125 0" for east in range(9))

# What ends each time alike, and has words for people on either stream, with a simulator that stands.
WITH_SIMULATOR = (
    ["doctor"], ["get-wayline"], ["wayline", "get"], ["get-tuning-limits", "overshoot"],
    ["set-overshoot", "9"], ["set-overshoot", "1", "--persist"],
    ["set-wayline-origin", "51", "7", "0"], ["reset-integral"], ["set-nudge", "1", "--no-check"],
    ["set-nudge", "5000"], ["set-wayline", "0 5 5 0 5 5 0"], ["set-implement-width", "-5"],
    ["set-wayline", LONG_LINE, "--no-check"], ["engage-steering"], ["start-wayline", "circle"],
    ["calculate-headings", LINE_NORTH, LONG_LINE],
)
ALONE = (
    [], ["--help"], ["set-position-data", "--help"], ["watch", "--help"], ["help", "feed"], ["fly"],
    ["operations"], ["version"], ["doctor"], ["set-nudge", "1"], ["set-nudge", "wide"],
    ["get-tuning-limits", "colour"], ["watch", "weather"], ["wayline", "show", "nowhere"],
    ["feed", "nowhere"], ["--timeout", "abc", "doctor"],
)


class Narrow(unittest.TestCase):
    """A terminal of 36 columns."""

    def words_of(self, arguments):
        """The words on the terminal; each of its lines has room there."""
        _, text = on_terminal(arguments, {"NO_COLOR": "1"}, columns=COLUMNS)
        text = re.sub(r"\r[^\n]*\x1b\[K", "", text)  # a bar that is drawn, and wiped out
        for line in text.splitlines():
            self.assertLessEqual(len(line), COLUMNS, text)
        return text.split()

    def go_to(self, directory):
        """Works in a directory until the test ends."""
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(directory)

    def assert_wraps(self, arguments, service=contextlib.nullcontext):
        """SERVICE runs anew for either look at what the command prints."""
        with self.subTest(arguments):
            with service():
                piped = navctl(*arguments)
            everything = piped.stdout + piped.stderr
            self.assertNotEqual("", everything)
            with service():
                words = self.words_of(arguments)
            # Either stream may come first on the terminal.
            self.assertEqual(Counter(everything.split()), Counter(words))

    def test_without_a_service_every_text_wraps_at_words(self):
        for arguments in ALONE:
            self.assert_wraps(arguments)

    def test_with_a_service_every_text_wraps_at_words(self):
        with Simulator():
            answer("set-wayline", LONG_LINE)
            for arguments in WITH_SIMULATOR:
                self.assert_wraps(arguments)

    def test_every_operation_has_room(self):
        with Simulator("--speed=2"):
            answer("set-wayline", LONG_LINE)
            answer("start-navigation", "on")
            for command, (arguments, _) in CALLS.items():
                with self.subTest(command):
                    self.assertTrue(self.words_of([command, *arguments]))

    def test_odd_answers_of_a_service_wrap_at_words(self):
        replies = {"EngageSteering": 7, "start_wayline": None, "set_waypoint": "no",
                   "get_wayline": None, "get_nudge_scalar": "text", "GetTuningLimits": [1.0]}
        with scripted(replies):
            for arguments in (["engage-steering"], ["start-wayline", "ab"], ["get-wayline"],
                              ["set-waypoint", "0", "1", "2", "3", "0"], ["get-nudge-scalar"],
                              ["get-tuning-limits", "0"], ["disengage-steering"]):
                self.assert_wraps(arguments)

    def test_the_commands_of_waylines_wrap_at_words(self):
        with tempfile.TemporaryDirectory() as directory, Simulator():
            lines = Path(directory, "lines.txt")
            lines.write_text(f"{LINE_NORTH}\n{LONG_LINE}\n", encoding="utf-8")
            for arguments in (["show", str(lines)], ["set", str(lines), "--line", "2"],
                              ["start", "circle"], ["get"]):
                self.assert_wraps(["wayline", *arguments])
            # The name of the file is one word, and may be longer than the terminal is wide.
            self.go_to(directory)
            self.assert_wraps(["wayline", "convert", "lines.txt", "--to", "geojson", "-o",
                               "lines.geojson", "--origin", "51,7,0"])

    def test_the_summary_of_a_feed_wraps_at_words(self):
        with tempfile.TemporaryDirectory() as directory:
            log = Path(directory, "log.nmea")
            log.write_text("".join(moment(number) for number in range(20)), encoding="ascii")
            self.go_to(directory)
            self.assert_wraps(["feed", "log.nmea", "--rate", "max"], Simulator)

    def test_json_and_pipes_stay_in_one_piece(self):
        with Simulator():
            answer("set-wayline", LONG_LINE)
            for arguments in (["--json", "set-overshoot", "9"], ["--json", "get-wayline"],
                              ["--json", "operations"], ["--json", "doctor"],
                              ["--json", "wayline", "get"]):
                with self.subTest(arguments):
                    _, text = on_terminal(arguments, columns=COLUMNS)
                    self.assertEqual([navctl(*arguments).stdout.rstrip("\n")], text.splitlines())
                    self.assertGreater(len(text), 2 * COLUMNS)
            for arguments in (["set-overshoot", "9"], ["get-wayline"], ["wayline", "get"]):
                with self.subTest(arguments):
                    piped = navctl(*arguments, environment={"COLUMNS": "36"}).stdout
                    self.assertEqual(1, piped.count("\n"))
                    self.assertGreater(len(piped), COLUMNS)


class Bytes(unittest.TestCase):
    def errors_of(self, *arguments):
        """What comes on the standard error, in bytes."""
        return subprocess.run([program(), *arguments], capture_output=True, check=False,
                              timeout=60).stderr

    def test_that_are_not_utf8_are_escaped_on_the_standard_error(self):
        for word, shown in ((b"fl\xff", rb"fl\xff"), (b"\xc3", rb"\xc3"), (b"\xe2\x82x", rb"\xe2\x82x"),
                            (b"\x9b31m", rb"\x9b31m"), (b"\xed\xa0\x80", rb"\xed\xa0\x80"),
                            (b"\xc2\x9b", rb"\u009b"), (b"\x1b[31m", rb"\x1b[31m")):
            with self.subTest(word):
                errors = self.errors_of(word)
                self.assertIn(b'no command "' + shown + b'"', errors)
                errors.decode()

    def test_letters_stay(self):
        for word in ("größe", "€", "🚜", "\u00a0x"):
            self.assertIn(f'no command "{word}"'.encode(), self.errors_of(word))

    def test_of_a_service_are_escaped_too(self):
        with scripted({"why_refused": b"\xff\x9b31m", "EngageSteering": 0}):
            errors = self.errors_of("engage-steering")
        self.assertIn(rb"refused engage-steering: \xff\x9b31m", errors)
        errors.decode()


if __name__ == "__main__":
    unittest.main()
