"""Exit codes, what goes to which output, and the documents that navctl writes of itself."""

import json
import os
import re
import shlex
import shutil
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

from navctl_program import (LINE_NORTH, Listener, Simulator, answer, navctl, program, scripted,
                            silent, value, web_server)

ROOT = Path(__file__).resolve().parents[2]
# Of either kind of guard, a request and a notification.
SOME_OPERATIONS = (["engage-steering"], ["get-look-ahead-time"], ["set-nudge", "1"],
                   ["set-velocity-set-point", "1"])


def said(command):
    """Exit code and both streams."""
    result = navctl(*command)
    return result.returncode, result.stdout, result.stderr


class ExitCodes(unittest.TestCase):
    def assert_failure(self, code, arguments, words):
        with self.subTest(arguments):
            result = navctl(*arguments)
            self.assertEqual((code, ""), (result.returncode, result.stdout), result.stderr)
            self.assertRegex(result.stderr, f"(?m)^navctl: .*{words}")
            in_json, reply = answer(*arguments)
            self.assertEqual((code, "failed", code),
                             (in_json, reply["outcome"], reply["exit_code"]))
            self.assertRegex(reply["reason"], words)

    def test_0_when_it_is_done(self):
        with Simulator():
            self.assertEqual(0, navctl("set-implement-width", "4").returncode)
            self.assertEqual(0, navctl("is-steering-engaged").returncode)  # false is an answer

    def test_1_when_the_service_refuses(self):
        with Simulator():
            for arguments in (["engage-steering"], ["start-navigation", "on"], ["clear-wayline"],
                              ["set-implement-width", "0"], ["auto-set-nudge"],
                              ["start-wayline", "12"]):
                with self.subTest(arguments):
                    result = navctl(*arguments)
                    self.assertEqual((1, ""), (result.returncode, result.stdout))
                    self.assertIn(f"refused {arguments[0]}: ", result.stderr)
                    code, reply = answer(*arguments)
                    self.assertEqual((1, arguments[0], "refused"),
                                     (code, reply["operation"], reply["outcome"]))
                    self.assertIn(reply["reason"], result.stderr)

    def test_a_refusal_to_engage_points_to_the_doctor(self):
        with Simulator():
            self.assertIn('; "navctl doctor" tells what is missing',
                          navctl("engage-steering").stderr)

    def test_1_when_the_service_answers_with_an_error(self):
        with scripted({"IsNavigationActivated": 1}):
            self.assert_failure(1, ["engage-steering"], "refused: no operation EngageSteering")
            self.assert_failure(1, ["get-wayline"], "refused: no operation get_wayline")

    def test_5_when_every_answer_is_an_error(self):
        with scripted({}):
            self.assert_failure(5, ["engage-steering"], "no navigation service: no operation Is")
            self.assert_failure(5, ["get-wayline"], "no navigation service: no operation Is")

    def test_2_for_wrong_arguments(self):
        for arguments in ([], ["fly"], ["set-nudge"], ["set-nudge", "1", "2"], ["--wings"],
                          ["set-nudge", "1", "--wings"], ["--timeout", "0", "set-nudge", "1"],
                          ["watch", "weather"], ["watch", "--count", "0"],
                          ["watch", "--lightbar", "--count", "3"]):
            self.assert_failure(2, arguments, ".")

    def test_2_for_a_command_that_there_is_not(self):
        for arguments, words in (
            (["fly"], 'there is no command "fly"'),
            (["set-nudg", "1"], 'no command "set-nudg"; did you mean "set-nudge"\\?'),
            (["--timeout", "1", "docter"], 'no command "docter"; did you mean "doctor"\\?'),
            (["wayline", "shwo"], 'no command "shwo" of wayline; did you mean "show"\\?'),
            (["completion", "bsh"], 'no command "bsh" of completion; did you mean "bash" or "zsh"\\?'),
            (["get-nudge"], 'did you mean "get-nudge-(vector|scalar)" or "get-nudge-(vector|scalar)"'),
            (["feed", "x", "--format", "nmeaa"],
             '--format: "nmeaa" is none of csv, nmea; did you mean "nmea"\\?$'),
            (["feed", "x", "--burst-begins-with", "PASHRR"], '"PASHRR" is none of GGA, .*PASHR, '),
            (["feed", "x", "--burst-begins-with", "hdt"], '"hdt" is none .*; did you mean "HDT"\\?$'),
            (["feed", "x", "--burst-begins-with", "HTD"], '"HTD" is none .*; did you mean "HDT"\\?$'),
            (["feed", "x", "--burst-begins-with", "GSA"],
             "--burst-begins-with: GSA does not tell where a burst begins"),
            (["help", "watch", "feed"], 'help takes one command; there is "feed" behind "watch"$'),
            (["feed", "x", "--rate", "maxx"], 'did you mean "max"\\?$'),
            (["wayline", "show", "x", "--from", "texxt"], 'did you mean "text"\\?$'),
            (["wayline", "convert", "x", "y", "--to", "geojsn"], 'did you mean "geojson"\\?$'),
            (["wayline", "show", "x", "--kind", "splin"], 'did you mean "spline"\\?$'),
            (["get-implement-widht"], 'did you mean "get-implement-width"\\?$'),
            (["gte-implement-width"], 'did you mean "get-implement-width"\\?$'),
            (["is-engaged"], 'did you mean "is-steering-engaged"\\?$'),
            (["est-nudge", "1"], 'did you mean "set-nudge"\\?$'),
            (["get-velocity"], 'did you mean "get-velocity-set-point"\\?$'),
            (["get-nuge"], 'did you mean "get-nudge-(vector|scalar)" or "get-nudge-(vector|scalar)"\\?$'),
            (["gett-nudge"], 'did you mean "get-nudge-(vector|scalar)" or "get-nudge-(vector|scalar)"\\?$'),
            (["getnudge"], 'did you mean "get-nudge-(vector|scalar)" or "get-nudge-(vector|scalar)"\\?$'),
            (["set-tunning-paramter", "0", "1"], 'did you mean "set-tuning-parameter"\\?$'),
            (["GET-NUDGE-SCALAR"], 'did you mean "get-nudge-scalar"\\?$'),
            (["overshoot"], 'did you mean "get-overshoot" or "set-overshoot"\\?$'),
            (["wayline-get"], 'did you mean "get-wayline"\\?$'),
            (["is-navigation-active"], 'did you mean "is-navigation-activated"\\?$'),
            (["start-nav"], 'did you mean "start-navigation"\\?$'),
            (["tunning"], 'did you mean "get-tuning-limits" or "set-tuning-limits" or '),
            (["help", "docter"], 'no command "docter"; did you mean "doctor"\\?'),
            (["help", "wayline", "convret"], 'no command "convret" of wayline; did you mean "convert"'),
            (["fly", "--help"], 'there is no command "fly"$'),
            (["unset-wayline"], 'did you mean "clear-wayline"\\?$'),
            (["delete-wayline"], 'did you mean "clear-wayline"\\?$'),
        ):
            self.assert_failure(2, arguments, words)
            self.assertIn("navctl: navctl --help", navctl(*arguments).stderr)

    def test_2_for_an_option_that_there_is_not(self):
        for arguments, words in (
            (["--jsno", "doctor"], 'no option "--jsno"; did you mean "--json"\\?'),
            (["get-wayline", "--jsno"], 'no option "--jsno" of get-wayline; did you mean "--json"'),
            (["set-overshoot", "1", "--persit"], '"--persit" of set-overshoot; .* "--persist"\\?'),
            (["set-nudge", "1", "--nocheck"], 'did you mean "--no-check"\\?'),
            (["watch", "--light-bar"], 'did you mean "--lightbar"\\?'),
            (["wayline", "convert", "x", "--form=csv"], '"--form" of convert; .* "--from"'),
            (["set-position-data", "1", "2", "3", "--headng", "1"], 'did you mean "--heading-valid"\\?$'),
            (["set-nudge", "1", "--wings"], 'no option "--wings" of set-nudge$'),
        ):
            self.assert_failure(2, arguments, words)

    def test_2_with_the_word_that_may_have_been_meant(self):
        for arguments, words in (
            (["watch", "guidance-statu"], 'did you mean "guidance-status"\\?'),
            (["watch", "guidance"], 'did you mean "guidance-status"\\?'),
            (["get-tuning-limits", "overshot"], 'did you mean "overshoot"\\?'),
            (["start-wayline", "circel"], 'did you mean "circle"\\?'),
        ):
            self.assert_failure(2, arguments, words)

    def test_2_in_words_of_its_own(self):
        for arguments, words in (
            ([], "navctl: a command is missing, such as doctor; navctl --help lists all\n"),
            (["--json"], "a command is missing"),
            (["wayline"], "navctl: wayline wants one of its commands: show, "),
            (["--timeout", "1", "--timeout", "2", "doctor"],
             "navctl: --timeout may be given once, and is given 2 times\n"),
            (["--timeout=", "get-nudge-scalar"], "navctl: --timeout wants a value, SECONDS: "),
            (["watch", "--for="], "navctl: --for wants a value, SECONDS: "),
            (["doctor", "--timeout"],
             "navctl: --timeout wants a value, SECONDS: Longest wait for a reply, seconds, 0.001 to 3600\n"),
            (["watch", "--count"], "navctl: --count wants a value, "),
            (["set-nudge", "1", "2", "-3"], 'navctl: set-nudge takes no more than nudge; too much is "2" "-3"\n'),
            (["set-nudge", "--", "1", "-2"], 'navctl: set-nudge takes no more than nudge; too much is "-2"\n'),
            (["get-wayline", "all"], 'navctl: get-wayline takes no arguments; too much is "all"\n'),
            (["set-wayline-origin", "1", "2", "3", "4", "5"],
             'set-wayline-origin takes no more than latitude, longitude, height; too much is "4" "5"\n'),
            (["wayline", "convert", "a", "b", "--from", "xml"],
             'navctl: --from: "xml" is none of csv, geojson, text\n'),
            (["calculate-headings", "0", "1", "2"], "each text form is one word of the shell, in quotes\n"),
        ):
            with self.subTest(arguments):
                result = navctl(*arguments)
                self.assertEqual((2, result.stdout if "--json" in arguments else ""),
                                 (result.returncode, result.stdout))
                self.assertIn(words, result.stderr)

    def test_2_for_numbers_that_single_precision_cannot_hold(self):
        for arguments in (["set-overshoot", "1e39"], ["set-tuning-parameter", "overshoot", "-1e39"],
                          ["set-velocity-set-point", "4e38"],
                          ["set-tuning-limits", "overshoot", "1e39", "1e39", "1e39"],
                          ["set-tuning-limits", "overshoot", "0", "1", "1e300"]):
            with self.subTest(arguments):
                result = navctl(*arguments)
                self.assertEqual((2, ""), (result.returncode, result.stdout))
                self.assertRegex(result.stderr, '^navctl: [a-z]+: "[^"]*e[^"]*" is too large: numbers of '
                                                "single precision go up to 3.4e38 in size, wanted is a number: ")

    def test_no_getter_is_ever_corrected_to_a_setter(self):
        _, listed = answer("operations")
        getters = [entry["command"] for entry in listed if entry["command"].startswith("get-")]
        # Those that there are, and those of settings that nothing gives.
        getters += ["get" + entry["command"][3:] for entry in listed
                    if entry["command"].startswith("set-")]
        for getter in getters:
            for wrong in (getter, getter + "s", getter[:-1], getter[:-2], "g" + getter[2:], "gte" + getter[3:],
                          getter.replace("-", "", 1), "ge" + getter[3:], getter.upper(),
                          getter.replace("-", "_"), getter.replace("-", "")):
                result = navctl("help", wrong)
                if result.returncode == 2 and "did you mean" in result.stderr:
                    suggested = result.stderr.split("did you mean", 1)[1]
                    self.assertNotRegex(suggested, '"set|"reset', wrong)

    def test_2_for_values_that_are_none(self):
        for arguments, words in (
            (["set-nudge", "wide"], 'nudge: "wide" is not allowed.*-1000 to 1000'),
            (["set-nudge", "1,5"], '"1,5"'),
            (["--timeout", "abc", "get-nudge-scalar"], '--timeout: "abc" is no number from 0.001'),
            (["get-nudge-scalar", "--timeout", "0"], '--timeout: "0" is no number from 0.001'),
            (["get-nudge-scalar", "--timeout", "nan"], '--timeout: "nan" is no number from 0.001'),
            (["set-nudge", "1.5m"], '"1.5m"'),
            (["set-nudge", "nan"], '"nan"'),
            (["set-nudge", "inf"], '"inf"'),
            (["set-nudge", "+-5"], '"\\+-5"'),
            (["set-nudge", "1e999"], '"1e999"'),
            (["set-sensitivity", "1e300"], '"1e300"'),
            (["set-position-data", "51", "7", "0", "--sigma-up=-1"], '"-1".*nan where it is not'),
            (["set-position-data", "51", "7", "0", "--time", "nan"], '"nan"'),
            (["set-curve-filter-size", "+-5"], '"\\+-5"'),
            (["get-tuning-parameter", "7"], '"7".*overshoot.*0 to 3'),
            (["get-tuning-limits", "9"], '"9".*overshoot.*0 to 3'),
            (["wayline", "show", "x", "--line", "0"], '"0" is no whole number from 1'),
            (["watch", "--count", "0"], '"0" is no whole number from 1 to 1000000000'),
            (["watch", "--count", "x"], '"x" is no whole number'),
            (["watch", "--for", "0"], '"0" is no number from 0.001 to 31536000'),
            (["watch", "--for", "1e300"], '"1e300" is no number'),
            (["start-navigation", "maybe"], '"maybe".*on or off'),
            (["set-curve-filter-size", "1.5"], '"1.5".*recorded points, 1 to 1001'),
            (["set-curve-filter-size", "99999999999"], '"99999999999"'),
            (["start-wayline", "zigzag"], '"zigzag".*circle'),
            (["get-tuning-limits", "colour"], '"colour".*overshoot'),
            (["set-wayline", "0 1 2"], "7 words"),
            (["set-wayline", "3 2 1 1 1"], "2 points"),
            (["calculate-headings", "x"], "x"),
        ):
            self.assert_failure(2, arguments, words)

    def test_3_when_nobody_listens(self):
        for arguments in SOME_OPERATIONS:
            self.assert_failure(3, arguments, "cannot connect: localhost port 5010: .*refused")

    def test_4_when_no_reply_comes_in_time(self):
        with silent():
            before = time.monotonic()
            for arguments in (["engage-steering"], ["get-look-ahead-time"], ["get-wayline"]):
                self.assert_failure(4, ["--timeout", "0.2", *arguments], "no reply in time")
            self.assertLess(time.monotonic() - before, 6 * 2.0)  # the time-out was the one given

    def test_5_when_what_answers_is_no_message(self):
        with web_server():
            self.assert_failure(5, ["engage-steering"], "protocol error")

    def test_5_when_the_reply_is_none_that_the_operation_takes(self):
        with scripted({"GetTuningLimits": [1.0], "get_wayline": [99], "get_nudge_vector": 1,
                       "EngageSteering": None}):
            for arguments in (["get-tuning-limits", "0"], ["get-wayline"], ["get-nudge-vector"],
                              ["engage-steering"]):
                self.assert_failure(5, arguments, "protocol error")

    def test_5_when_the_connection_ends_without_a_reply(self):
        with Listener(lambda connection: (connection.recv(4096), connection.shutdown(2))):
            self.assert_failure(5, ["engage-steering"], "closed")

    def test_6_when_the_output_cannot_be_written(self):
        with open("/dev/full", "w", encoding="ascii") as full:
            result = subprocess.run([program(), "operations"], stdout=full, check=False,
                                    stderr=subprocess.PIPE, text=True)
        self.assertEqual(6, result.returncode)
        self.assertIn("No space left", result.stderr)


class Outputs(unittest.TestCase):
    def test_trace_lines_never_reach_the_standard_output(self):
        trace = "CNavigationAPI::"
        with Simulator():
            for mode in ([], ["--json"]):
                with self.subTest(mode):
                    result = navctl(*mode, "--trace", "watch", "implement-width-changed",
                                    "tuning-parameter-changed", "--count", "5")
                    self.assertEqual(5, len(result.stdout.splitlines()))
                    self.assertNotIn(trace, result.stdout)
                    self.assertIn(trace, result.stderr)  # so there were some to keep away
            quiet = navctl("watch", "implement-width-changed", "--count", "1")
            self.assertNotIn(trace, quiet.stdout + quiet.stderr)
            result = navctl("--trace", "set-wayline", "3 2 0 0 0 1 10 0")
            self.assertEqual("done\n", result.stdout)

    def test_the_common_options_stand_before_or_after_the_command(self):
        with Simulator():
            for arguments in (["--json", "get-implement-width"], ["get-implement-width", "--json"]):
                self.assertEqual(3.0, json.loads(navctl(*arguments).stdout)["value"])

    def test_help_and_version_are_data(self):
        for arguments in (["--help"], ["--version"], ["watch", "--help"]):
            result = navctl(*arguments)
            self.assertEqual((0, ""), (result.returncode, result.stderr))
            self.assertIn("navctl", result.stdout.lower() + result.stderr)
        self.assertEqual(navctl("--version").stdout, "navctl " + navctl("version").stdout)

    def test_help_of_a_command_is_that_of_its_option(self):
        for command in ([], ["watch"], ["set-nudge"], ["wayline"], ["wayline", "convert"]):
            with self.subTest(command):
                wanted = navctl(*command, "--help").stdout
                self.assertEqual((0, wanted, ""), said(["help", *command]))
                self.assertEqual((0, {"text": wanted}), answer("help", *command))

    def test_help_of_help_names_the_command_that_it_takes(self):
        self.assertRegex(navctl("help", "help").stdout, r"Usage: navctl help .*\[?command")

    def test_help_may_stand_behind_options(self):
        wanted = navctl("doctor", "--help").stdout
        for options in (["--timeout", "3"], ["--timeout=3"], ["--trace"],
                        ["--trace", "--timeout", "3"]):
            with self.subTest(options):
                self.assertEqual((0, wanted, ""), said([*options, "help", "doctor"]))
        self.assertEqual((0, {"text": wanted}), answer("--timeout", "3", "help", "doctor"))

    def test_help_of_feed_names_every_sentence_that_is_read(self):
        page = navctl("help", "feed").stdout
        for name in ("GGA", "GNS", "RMC", "GLL", "GBS", "GST", "ZDA", "VTG", "HDT", "THS", "HDG", "ROT",
                     "PASHR", "GSA"):
            self.assertIn(name, page)

    def test_help_of_more_than_a_command_is_refused(self):
        for words in (["doctor", "extra"], ["set-nudge", "extra"], ["wayline", "show", "extra"],
                      ["watch", "extra"]):
            with self.subTest(words):
                code, output, errors = said(["help", *words])
                self.assertEqual((2, ""), (code, output))
                self.assertIn('"extra"', errors)

    def test_help_version_and_documents_are_one_json_value_with_json(self):
        for arguments, key in ((["--help"], "text"), (["watch", "--help"], "text"),
                               (["--version"], "text"), (["manual"], "page"),
                               (["completion", "bash"], "script")):
            with self.subTest(arguments):
                self.assertEqual((0, {key: navctl(*arguments).stdout}), answer(*arguments))
        version = navctl("version").stdout.strip()
        self.assertRegex(version, r"^\d+\.\d+\.\d+$")
        self.assertEqual((0, {"version": version}), answer("version"))

    def test_there_are_colours_on_a_terminal_unless_they_are_not_wanted(self):
        for environment, wanted in ({"TERM": "xterm", "NO_COLOR": ""}, True), \
                                   ({"TERM": "xterm", "NO_COLOR": "1"}, False), \
                                   ({"TERM": "dumb", "NO_COLOR": ""}, False):
            with self.subTest(environment):
                command = shlex.join([program(), "doctor"])
                result = subprocess.run(["script", "-qec", command, "/dev/null"], check=False,
                                        capture_output=True, text=True, stdin=subprocess.DEVNULL,
                                        env={**os.environ, **environment})
                self.assertIn("[no]", result.stdout)
                self.assertEqual(wanted, "\033[31m" in result.stdout)
        self.assertNotIn("\033", navctl("doctor").stdout)


# The end of a line, and what a shell offers there.
COMPLETIONS = (
    ("navctl set-impl", {"set-implement-width", "set-implement-offset"}),
    ("navctl get-tuning-limits o", {"overshoot"}),
    ("navctl --json start-wayline c", {"circle"}),
    ("navctl --json eng", {"engage-steering"}),
    ("navctl get-nudge-scalar --trace --js", {"--json"}),
    ("navctl start-navigation ", {"on", "off"}),
    ("navctl watch cb", set()),
    ("navctl watch guidance-status eng", {"engage-status"}),
    ("navctl watch --li", {"--lightbar"}),
    ("navctl watch --count ", set()),
    ("navctl wayline start a", {"ab", "a-heading", "ab-curve"}),
    ("navctl wayline convert x --to ", {"text", "geojson", "csv", "isoxml", "isoxml3", "kml", "kmz",
                                        "shapefile", "geopackage"}),
    ("navctl boundary convert x --to ", {"geojson", "isoxml", "isoxml3", "kml", "kmz", "shapefile",
                                         "geopackage"}),
    ("navctl recording cut x y --to ", set()),
    ("navctl recording cut x y --from ", set()),
    ("navctl wayline show x --from g", {"geojson"}),
    ("navctl wayline show x --kind ", {"ab", "circle", "spline", "ab-curve"}),
    ("navctl feed x --format ", {"nmea", "csv"}),
    ("navctl feed x --rate ", {"max"}),
    ("navctl set-position-data 1 2 3 --heading-valid ", {"on", "off"}),
    ("navctl completion ", {"bash", "fish", "zsh"}),
    ("navctl help eng", {"engage-steering"}),
    ("navctl set-nudge 1 --no", {"--no-check"}),
    ("navctl wayline con", {"convert"}),
    ("navctl set-position-data --time", {"--time", "--timeout"}),
)


class Documents(unittest.TestCase):
    def setUp(self):
        _, self.operations = answer("operations")

    def rendered(self, page):
        """A manual page as a reader sees it; a warning of the formatter fails the test."""
        with tempfile.NamedTemporaryFile("w", suffix=".1") as file:
            file.write(page)
            file.flush()
            result = subprocess.run(["man", "--warnings", "-l", file.name], check=False,
                                    capture_output=True, text=True,
                                    env={**os.environ, "MANWIDTH": "100", "LC_ALL": "C.UTF-8",
                                         "MANROFFOPT": "-ww", "MAN_KEEP_FORMATTING": ""})
        self.assertEqual((0, ""), (result.returncode, result.stderr))
        return result.stdout

    def test_the_manual_names_every_command_and_option(self):
        page = " ".join(self.rendered(navctl("manual").stdout).split())
        for entry in self.operations:
            self.assertIn(entry["command"], page)
            self.assertIn(entry["summary"], page.replace("‐ ", ""))
            for argument in entry["arguments"]:
                self.assertIn(argument["name"], page)
        for command in ("watch", "doctor", "wayline convert", "feed", "operations", "manual",
                        "completion bash", "--lightbar", "--timeout", "--json", "NO_COLOR"):
            self.assertIn(command, page)
        for code, words in enumerate(("Done.", "The service refused", "Wrong arguments",
                                      "Cannot connect", "No reply in time",
                                      "What answers does not keep the protocol",
                                      "The output cannot be written")):
            self.assertRegex(page, f"{code} {words}")
        self.assertIn("A reply of another type than the operation's is a protocol error", page)
        self.assertIn("set-wayline '0 0 0 0 0 100 0' && navctl start-navigation on && navctl", page)
        sections = re.findall(r"^([A-Z][A-Z ]+)$", self.rendered(navctl("manual").stdout), re.MULTILINE)
        self.assertEqual(["NAME", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "COMMANDS", "OPERATIONS",
                          "JSON", "EXIT STATUS", "ENVIRONMENT", "EXAMPLES", "SEE ALSO"], sections)

    def test_the_options_of_every_command_are_in_the_manual_and_in_its_help(self):
        page = self.rendered(navctl("manual").stdout)
        for command in (["feed"], ["watch"], ["wayline", "show"], ["wayline", "convert"],
                        ["wayline", "plot"], ["wayline", "set"], ["boundary", "convert"]):
            options = re.findall(r"--[a-z-]+", navctl(*command, "--help").stdout)
            self.assertGreater(len(options), 1)
            for option in options:
                self.assertIn(option, page)

    def test_the_manual_of_the_simulator_has_all_its_options(self):
        source = (ROOT / "docs/man/navigation-simulator.1").read_text(encoding="utf-8")
        page = self.rendered(source)
        help_text = subprocess.run([os.environ["NAVIGATION_SIMULATOR"], "--help"], check=True,
                                   capture_output=True, text=True).stdout
        options = re.findall(r"--[a-z-]+", help_text)
        self.assertGreater(len(options), 10)
        for option in options:
            self.assertIn(option, page)

    def complete(self, line, shell="bash"):
        """What a shell offers for the end of a line."""
        words = line.split(" ")
        quoted = " ".join(shlex.quote(word) for word in words)
        script = navctl("completion", shell).stdout
        script = {
            "bash": f"{script}\nCOMP_WORDS=({quoted})\nCOMP_CWORD={len(words) - 1}\n_navctl\n"
                    "printf '%s\\n' \"${COMPREPLY[@]}\"\n",
            # Outside of the line editor, with what it would call.
            "zsh": "compdef() {}\n_files() {}\n"
                   "compadd() { print -l -- ${(M)@[2,-1]:#${words[CURRENT]}*} }\n"
                   f"{script}\nwords=({quoted})\nCURRENT={len(words)}\n_navctl\n",
            "fish": f"{script}\ncomplete -C {shlex.quote(line)}\n",
        }[shell]
        options = {"bash": ["--norc", "-u"], "zsh": ["-f", "-u"], "fish": ["--no-config"]}[shell]
        with tempfile.TemporaryDirectory() as empty, tempfile.NamedTemporaryFile("w") as file:
            file.write(script)
            file.flush()
            # Where there is no file to complete.
            result = subprocess.run([shell, *options, file.name], check=True, cwd=empty,
                                    capture_output=True, text=True)
        self.assertEqual("", result.stderr)
        return result.stdout.split()

    def test_bash_completes_commands_and_their_words(self):
        offered = self.complete("navctl ")
        for entry in self.operations:
            self.assertIn(entry["command"], offered)
            for argument in entry["arguments"]:
                if argument["option"]:
                    self.assertIn("--" + argument["name"],
                                  self.complete(f"navctl {entry['command']} --"))
        for line, wanted in COMPLETIONS:
            with self.subTest(line):
                self.assertEqual(wanted, set(self.complete(line)))

    def test_zsh_and_fish_complete_the_same(self):
        for shell in ("zsh", "fish"):
            if shutil.which(shell) is None:
                self.skipTest(f"no {shell}; scripts/setup test installs it")
            for line, wanted in COMPLETIONS:
                with self.subTest(shell=shell, line=line):
                    self.assertEqual(wanted, set(self.complete(line, shell)))


class Tour(unittest.TestCase):
    """The README's tour, command by command."""

    def test_each_command_works(self):
        text = (ROOT / "README.md").read_text(encoding="utf-8")
        tour = re.search(r"^## Tour\n(.*?)^## ", text, re.MULTILINE | re.DOTALL).group(1)
        commands = re.findall(r"^    (navctl [^#\n]*?) *(?:#.*)?$", tour, re.MULTILINE)
        self.assertGreater(len(commands), 8)
        with tempfile.TemporaryDirectory() as directory, \
                Simulator("--speed=2", "--state", f"{directory}/settings.json"):
            for command in commands:
                with self.subTest(command):
                    words = shlex.split(command.replace("navctl", shlex.quote(program()), 1))
                    result = subprocess.run(words, cwd=directory, capture_output=True, text=True,
                                            timeout=60, check=False)
                    self.assertEqual((0, ""), (result.returncode, result.stderr), result.stdout)
                    self.assertRegex(result.stdout, self.shown(words[1:]))
            self.assertTrue(value("is-navigation-activated"))

    @staticmethod
    def shown(words):
        """What a command of the tour shows."""
        for start, pattern in (
            ("operations", r"(?m)^engage-steering +EngageSteering +request$"),
            ("set-implement-width", r"^done\n$"),
            ("get-implement-width", r'^{"operation":"get-implement-width","outcome":"value",'
                                    r'"value":6.0,"unit":"m"}\n$'),
            ("set-wayline", r"^done\n$"),
            ("start-navigation", r"^done\n$"),
            ("doctor", r"^\[ok\] link .*\n\[ok\] reply .*\n\[ok\] wayline .* ab\n\[ok\] "
                       r"navigation +active\n\[ok\] steering +ready"),
            ("engage-steering", r"^done\n$"),
            ("watch guidance-status", r"^(\S+  guidance-status +pass 0, cross-track error .*\n){5}$"),
            ("nudge", r"^done: x 0\.\d+ m, y \S+ m, z 0 m\n$"),
            ("watch --lightbar", r"ENGAGED"),
            ("set-tuning-parameter", r"^done\n$"),
            ("get-tuning-limits", r"^lowest \S+, start \S+, highest \S+\n$"),
            ("disengage-steering", r"^done\n$"),
        ):
            if " ".join(words).startswith(start):
                return pattern
        raise AssertionError(f"nothing is known of {words}")


if __name__ == "__main__":
    unittest.main()
