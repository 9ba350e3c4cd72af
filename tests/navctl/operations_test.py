"""Every operation as a command, against the simulator."""

import math
import re
import sys
import unittest
from pathlib import Path

from navctl_files import CountingService
from navctl_program import (LINE_NORTH, Client, Simulator, answer, navctl, scripted, value,
                            wait_for)

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "operations"))
import make  # pylint: disable=wrong-import-position
LINE_EAST = "0 0 0 0 100 0 0"
KEPT_LINE = "0 0.000000 0.000000 0.000000 0.000000 100.000000 0.000000"

# Of each operation, arguments that the simulator takes, and the outcome with a wayline set and
# navigation active on a machine that drives along it.
CALLS = {
    "is-steering-engaged": ([], "value"),
    "engage-steering": ([], "done"),
    "disengage-steering": ([], "done"),
    "start-navigation": (["on"], "done"),
    "stop-navigation": ([], "done"),
    "clear-navigation": ([], "done"),
    "reinitialise-navigation": ([], "done"),
    "is-navigation-activated": ([], "value"),
    "set-reverse-engage-enabled": (["on", "--persist"], "done"),
    "get-reverse-engage-enabled": ([], "value"),
    "set-allow-reverse-engage": (["on"], "done"),
    "get-allow-reverse-engage": ([], "value"),
    "set-low-speed-engage-enabled": (["on"], "done"),
    "get-low-speed-engage-enabled": ([], "value"),
    "set-low-speed-engage-timeout": (["2.5"], "done"),
    "get-low-speed-engage-timeout": ([], "value"),
    "set-look-ahead-time": (["1.8"], "done"),
    "get-look-ahead-time": ([], "value"),
    "set-wayline-origin": (["51.5", "-0.25", "80"], "sent"),
    "calculate-headings": ([LINE_NORTH, LINE_EAST], "value"),
    "get-wayline": ([], "value"),
    "set-wayline": ([LINE_NORTH], "done"),
    "clear-wayline": ([], "done"),
    "start-wayline": (["ab"], "done"),
    "set-waypoint": (["0", "1.5", "-2.5", "0", "0"], "done"),
    "is-waypoint-set": (["0"], "value"),
    "restore-waypoints": ([], "value"),
    "nudge": (["on", "-0.25"], "done"),
    "auto-set-nudge": ([], "done"),
    "get-nudge-vector": ([], "value"),
    "get-nudge-scalar": ([], "value"),
    "set-nudge": (["-0.5"], "done"),
    "auto-set-field-offset": ([], "done"),
    "set-field-offset": (["0.1"], "done"),
    "get-field-offset": ([], "value"),
    "set-implement-offset": (["-0.1"], "done"),
    "get-implement-offset": ([], "value"),
    "set-splines-use-implement-offset": (["on"], "sent"),
    "set-implement-width": (["6.0"], "done"),
    "get-implement-width": ([], "value"),
    "set-position-data": (["51.5", "-0.25", "80", "--speed", "2", "--yaw=-0.1"], "sent"),
    "get-tuning-limits": (["overshoot"], "value"),
    "set-tuning-limits": (["speed-adjust", "0", "1", "2"], "done"),
    "get-tuning-parameter": (["3"], "value"),
    "set-tuning-parameter": (["overshoot", "1.5", "--persist"], "done"),
    "get-sensitivity": ([], "value"),
    "get-aggressiveness": ([], "value"),
    "get-overshoot": ([], "value"),
    "get-speed-adjust": ([], "value"),
    "set-sensitivity": (["1.1"], "done"),
    "set-aggressiveness": (["1.1"], "done"),
    "set-overshoot": (["1.1"], "done"),
    "set-speed-adjust": (["1.1"], "done"),
    "reset-integral": ([], "sent"),
    "get-velocity-set-point": ([], "value"),
    "set-velocity-set-point": (["2"], "done"),
    "get-curve-filter-size": ([], "value"),
    "set-curve-filter-size": (["21"], "done"),
}


def call_of(operation):
    """The same of an operation that takes switches and numbers, from its description."""
    arguments = ["on" if each["example"] is True else str(each["example"])
                 for each in operation["options"] if not each["is_flag"] and not each["otherwise"]]
    if re.match("get-|is-", operation["command"]):
        return arguments, "value"
    is_confirmed = operation["is_request"] or "confirmed_by" in operation
    return arguments, "done" if is_confirmed else "sent"


CALLS.update({each["command"]: call_of(each) for each in make.view()["operations"]
              if each["command"] not in CALLS})

# A setter, what it is given, the getter, and what that gives then; and the text of that.
PAIRS = (
    (["set-reverse-engage-enabled", "on"], ["get-reverse-engage-enabled"], True, "true"),
    (["set-allow-reverse-engage", "yes"], ["get-allow-reverse-engage"], True, "true"),
    (["set-low-speed-engage-enabled", "1"], ["get-low-speed-engage-enabled"], True, "true"),
    (["set-low-speed-engage-timeout", "3.25"], ["get-low-speed-engage-timeout"], 3.25, "3.25"),
    (["set-look-ahead-time", "1.8"], ["get-look-ahead-time"], 1.8, "1.8"),
    (["set-nudge", "-0.5"], ["get-nudge-scalar"], -0.5, "-0.5"),
    (["set-field-offset", "0.25"], ["get-field-offset"], 0.25, "0.25"),
    (["set-implement-offset", "-1"], ["get-implement-offset"], -1.0, "-1"),
    (["set-implement-width", "6.0"], ["get-implement-width"], 6.0, "6"),
    (["set-tuning-limits", "2", "0.5", "1.25", "2"], ["get-tuning-limits", "overshoot"],
     {"lowest": 0.5, "start": 1.25, "highest": 2.0}, "lowest 0.5, start 1.25, highest 2"),
    (["set-tuning-parameter", "overshoot", "1.3"], ["get-tuning-parameter", "2"], 1.3, "1.3"),
    (["set-sensitivity", "0.7"], ["get-sensitivity"], 0.7, "0.7"),
    (["set-aggressiveness", "0.8"], ["get-tuning-parameter", "aggressiveness"], 0.8, "0.8"),
    (["set-overshoot", "9"], ["get-overshoot"], 2.0, "2"),  # clamped to the limits set above
    (["set-speed-adjust", "0.1"], ["get-speed-adjust"], 0.1, "0.1"),
    (["set-velocity-set-point", "-1.1"], ["get-velocity-set-point"], -1.1, "-1.1"),
    (["set-curve-filter-size", "21"], ["get-curve-filter-size"], 21, "21"),
    (["set-wayline", LINE_NORTH], ["get-wayline"], {"kind": "ab", "text": KEPT_LINE}, KEPT_LINE),
    (["start-wayline", "circle"], ["get-wayline"], None, "none"),
    (["set-waypoint", "1", "0", "100", "0", "0"], ["is-waypoint-set", "1"], True, "true"),
)


def documented_operations():
    """The rows of the document: operation, service name, kind."""
    text = (ROOT / "docs/operations.md").read_text(encoding="utf-8")
    return re.findall(r"^\| `[^`(]* (\w+)\([^`]*\)` \| `(\w+)` \| \w+ \| (request|notification) \|",
                      text, re.MULTILINE)


class TheList(unittest.TestCase):
    def test_is_that_of_the_document(self):
        _, listed = answer("operations")
        self.assertEqual(
            documented_operations(),
            [(entry["operation"], entry["service_name"], entry["kind"]) for entry in listed])
        self.assertGreater(len(listed), 50)

    def test_reads_as_text_too(self):
        lines = navctl("operations").stdout.splitlines()
        _, listed = answer("operations")
        self.assertEqual([[entry["command"], entry["service_name"], entry["kind"]]
                          for entry in listed], [line.split() for line in lines])

    def test_is_what_the_tests_below_call(self):
        _, listed = answer("operations")
        self.assertEqual(sorted(CALLS), sorted(entry["command"] for entry in listed))

    def test_each_has_help_with_its_arguments(self):
        _, listed = answer("operations")
        for entry in listed:
            with self.subTest(entry["command"]):
                page = " ".join(navctl(entry["command"], "--help").stdout.split())
                for argument in entry["arguments"]:
                    self.assertIn(argument["name"], page)
                    self.assertIn(argument["description"], page)


class Operations(unittest.TestCase):
    def test_each_does_its_work(self):
        for command, (arguments, outcome) in CALLS.items():
            with self.subTest(command), Simulator("--speed=2"):
                value("is-steering-engaged")
                answer("set-wayline", LINE_NORTH)
                answer("start-navigation", "off")
                code, reply = answer(command, *arguments)
                self.assertEqual((0, command, outcome),
                                 (code, reply["operation"], reply["outcome"]), reply)
                self.assertTrue(outcome != "value" or "value" in reply, reply)

    def test_each_says_in_a_word_what_became_of_it(self):
        with Simulator():
            for command, text in ((["set-implement-width", "4"], "done"), (["set-nudge", "1"], "done"),
                                  (["reset-integral"],
                                   "sent; nothing confirms that the service took it"),
                                  (["set-wayline", LINE_NORTH], "done"),
                                  (["set-wayline", LINE_NORTH, "--no-check"],
                                   "answered; nothing confirms that the service took it"),
                                  (["nudge", "off", "-0.5"], "done: x -0.5 m, y 0 m, z 0 m"),
                                  (["get-nudge-vector"], "x -0.5 m, y 0 m, z 0 m"),
                                  (["is-steering-engaged"], "false")):
                with self.subTest(command):
                    self.assertEqual((0, text + "\n", ""), said(command))

    def test_what_was_set_can_be_got(self):
        with Simulator():
            for setter, getter, wanted, text in PAIRS:
                with self.subTest(setter):
                    self.assertEqual(0, navctl(*setter).returncode)
                    wait_for(lambda: value(*getter) == wanted, f"{getter} to be {wanted}")
                    self.assertEqual(text + "\n", navctl(*getter).stdout)

    def test_headings_and_vectors_are_lists(self):
        with Simulator():
            headings = value("calculate-headings", LINE_NORTH, LINE_EAST)
            self.assertAlmostEqual(0.0, headings[0])
            self.assertAlmostEqual(1.5707963, headings[1], 6)
            answer("set-wayline", LINE_NORTH)
            code, reply = answer("nudge", "off", "0.5")
            self.assertEqual((0, "done", "m"), (code, reply["outcome"], reply["unit"]))
            self.assertAlmostEqual(0.5, reply["value"][0])
            self.assertAlmostEqual(0.5, value("get-nudge-vector")[0])

    def test_feeds_a_position(self):
        with Simulator(), Client() as client:
            answer("set-wayline-origin", "51", "7", "0")
            answer("set-position-data", "51", "7.001", "0", "--heading-valid", "on", "--yaw", "1.5")
            wait_for(lambda: abs(client_position(client)[0] - 70.2) < 0.1, "the fed position")
            self.assertAlmostEqual(1.5, client_position(client)[2], 3)

    def test_a_real_minus_one_is_no_failure(self):
        replies = {"GetFieldOffset": -1.0, "GetImplementWidth": -1.0, "RestoreWaypoints": -1}
        with scripted(replies):
            self.assertEqual(-1.0, value("get-field-offset"))
            self.assertEqual(-1.0, value("get-implement-width"))
            self.assertEqual(-1, value("restore-waypoints"))

    def test_an_accuracy_that_is_not_given_is_not_known(self):
        records = []
        for options in ([], ["--sigma-east", "0.02", "--sigma-up", "0"]):
            with CountingService() as service:
                self.assertEqual(0, navctl("set-position-data", "51", "7", "0", *options).returncode)
            records += service.samples
        self.assertTrue(all(math.isnan(records[0][tag]) for tag in (12, 13, 14)), records[0])
        self.assertEqual((0.02, 0.0), (records[1][12], records[1][14]))
        self.assertTrue(math.isnan(records[1][13]))

    def test_numbers_that_json_has_no_form_for_are_null(self):
        with scripted({"GetFieldOffset": float("nan")}):
            self.assertIsNone(value("get-field-offset"))
            self.assertEqual("nan\n", navctl("get-field-offset").stdout)


def client_position(client):
    client.notify("subscribe", "cb_relative_position")
    return client.event("cb_relative_position")


def said(command):
    result = navctl(*command)
    return result.returncode, result.stdout, result.stderr


class WaylineWords(unittest.TestCase):
    def test_a_text_form_may_stand_without_quotes(self):
        with Simulator():
            for words in (LINE_NORTH.split(), LINE_EAST.split(), ["0", "1", "-2", "3", "-.5", "60", "6"]):
                with self.subTest(words):
                    result = navctl("set-wayline", *words)
                    self.assertEqual((0, "done\n", ""),
                                     (result.returncode, result.stdout, result.stderr))
                    held = value("get-wayline")["text"]
                    self.assertEqual([float(word) for word in words],
                                     [float(word) for word in held.split()])
            result = navctl("set-wayline", "0", "1", "2")
            self.assertEqual((2, ""), (result.returncode, result.stdout))
            self.assertIn("7 words", result.stderr)
            self.assertEqual(2, navctl("set-wayline", "").returncode)

    def test_what_is_always_refused_is_not_offered(self):
        page = " ".join(navctl("start-wayline", "--help").stdout.split())
        self.assertIn("the kind: ab, a-heading, circle, spline, ab-curve, path, replay, or its "
                      "number, 0 to 6", page)
        _, listed = answer("operations")
        kinds = next(entry for entry in listed if entry["command"] == "start-wayline")
        self.assertNotIn("empty", kinds["arguments"][0]["words"])
        result = navctl("wayline", "start", "zigzag")
        self.assertEqual(2, result.returncode)
        self.assertNotIn("empty", result.stderr)

    def test_a_question_outside_the_range_is_warned_of(self):
        with Simulator():
            result = navctl("is-waypoint-set", "9")
            self.assertEqual((0, "false\n", "navctl: warning: the waypoint 9 is outside what the bundled "
                                             "service takes, 0 to 2\n"),
                             (result.returncode, result.stdout, result.stderr))
            self.assertEqual("", navctl("is-waypoint-set", "2").stderr)


    def test_a_sample_outside_the_ranges_is_warned_of(self):
        with Simulator():
            for option, value_, words in (
                # First, as it is measured before the others.
                ("--time", "5", "5 is outside its range, 946684800 to 4102444800 s"),
                ("--fix-quality", "9", "9 is outside its range, 0 to 8"), ("--fix-quality", "-3", "-3 is"),
                ("--satellites", "-5", "-5 is outside its range, -1 to 200"),
                ("--yaw", "400", "400 is outside its range, -6.2832 to 6.2832 rad"),
            ):
                with self.subTest((option, value_)):
                    result = navctl("set-position-data", "51", "7", "0", option, value_)
                    self.assertEqual(0, result.returncode)
                    self.assertIn(f"navctl: warning: the {option[2:]} {words}", result.stderr)
            result = navctl("set-position-data", "51", "7", "0", "--fix-quality", "8", "--satellites",
                            "-1", "--yaw", "-6.28")
            self.assertEqual((0, ""), (result.returncode, result.stderr))
            result = navctl("set-position-data", "51", "7", "0", "--course", "1e300")
            self.assertEqual((1, "navctl: the service refused set-position-data: 1e+300 is no course in "
                                 "radians\n"), (result.returncode, result.stderr))

    def test_a_number_that_cannot_be_held_is_told_from_a_word(self):
        for arguments, words in (
            (["set-field-offset", "1e400"], '"1e400" is too large, wanted is a number: .*-1000 to 1000'),
            (["set-field-offset", "-1e400"], '"-1e400" is too large'),
            (["set-field-offset", "1e-400"], "is too near to 0"),
            (["set-field-offset", "0." + "0" * 400 + "1"], "is too near to 0"),
            (["set-field-offset", "1e400x"], "is not allowed"),
            (["set-overshoot", "3.5e38"], "go up to 3.4e38 in size, wanted is a number"),
            (["set-overshoot", "1e400"], "go up to 3.4e38 in size"),
            (["set-velocity-set-point", "3.5e38"], "3.4e38 in size, wanted is .*-5 to 15"),
            (["set-curve-filter-size", "99999999999"], "32 bits, wanted is a whole number: .*1 to 1001"),
            (["set-look-ahead-time", "inf"], "is not allowed"),
        ):
            with self.subTest(arguments):
                result = navctl(*arguments)
                self.assertEqual((2, ""), (result.returncode, result.stdout))
                self.assertRegex(result.stderr, words)

    def test_a_flag_with_something_else_than_on_or_off_is_named(self):
        for arguments, words in ((["set-overshoot", "1", "--persist=maybe"],
                                  '--persist: "maybe" is not allowed'),
                                 (["--json=maybe", "operations"], '--json: "maybe" is not allowed')):
            with self.subTest(arguments):
                result = navctl(*arguments)
                self.assertEqual(2, result.returncode)
                self.assertIn("navctl: " + words, result.stderr)

    def test_the_help_says_when_the_low_speed_time_out_counts(self):
        for command, words in (("set-low-speed-engage-timeout", "where low-speed engaging is off; where "
                                                                "it is on, there is no limit"),
                               ("set-low-speed-engage-enabled", "stay engaged without limit of time")):
            self.assertIn(words, " ".join(navctl(command, "--help").stdout.split()))
            self.assertIn(words, " ".join(navctl("manual").stdout.replace("\\-", "-").split()))

    def test_a_wayline_without_a_heading_is_an_error(self):
        with Simulator():
            for waylines, number in ((["0 5 5 0 5 5 0"], 1), ([LINE_NORTH, "2 0 0 0 0 1 0 0 2 0"], 2)):
                with self.subTest(waylines):
                    result = navctl("calculate-headings", *waylines)
                    self.assertEqual((1, ""), (result.returncode, result.stdout))
                    self.assertIn(f"wayline {number} has no heading", result.stderr)
                    code, reply = answer("calculate-headings", *waylines)
                    self.assertEqual((1, "refused"), (code, reply["outcome"]))

    def test_an_empty_wayline_leads_to_the_command_that_drops_it(self):
        result = navctl("set-wayline", "-1")
        self.assertEqual((2, ""), (result.returncode, result.stdout))
        self.assertIn("navctl clear-wayline", result.stderr)


class NegativeNumbers(unittest.TestCase):
    def test_may_begin_with_their_point(self):
        with Simulator():
            for arguments in (["set-nudge", "-.5"], ["--json", "set-nudge", "-.5"],
                              ["set-nudge", "--", "-.5"]):
                with self.subTest(arguments):
                    navctl("set-nudge", "1")
                    result = navctl(*arguments)
                    self.assertEqual((0, ""), (result.returncode, result.stderr))
                    self.assertEqual(-0.5, value("get-nudge-scalar"))
            result = navctl("nudge", "on", "-.25")
            self.assertEqual((0, ""), (result.returncode, result.stderr))
            self.assertEqual(-0.75, value("get-nudge-scalar"))
            self.assertEqual(0, navctl("set-velocity-set-point", "-.5e0").returncode)
            self.assertEqual(-0.5, value("get-velocity-set-point"))
        with CountingService() as service:
            result = navctl("set-position-data", "-.5", "-.25", "-.75", "--course", "-.125")
            self.assertEqual((0, ""), (result.returncode, result.stderr))
        self.assertIn((-0.5, -0.25, -0.75), [tuple(sample[tag] for tag in sorted(sample))[:3]
                                             for sample in service.samples])


if __name__ == "__main__":
    unittest.main()
