"""What navctl says of a setting is so: it asks what the service holds, gives reasons, and names who
listens in the service's place."""

import os
import re
import shlex
import shutil
import socket
import ssl
import subprocess
import tempfile
import threading
import unittest
from pathlib import Path

import msgpack

from navctl_program import (DEADLINE_SECONDS, LINE_NORTH, Listener, Running,
                            Simulator, answer, navctl, program, scripted, value, wait_for)

ROOT = Path(__file__).resolve().parents[2]
SAME_POINTS = "0 5 5 0 5 5 0"
NOTHING_CONFIRMS = "nothing confirms that the service took it\n"

# A setting that the simulator refuses, what it holds, and words of its reason.
REFUSED = (
    (["set-wayline", SAME_POINTS], None, "points A and B are 0 m apart"),
    (["set-wayline", "2 0 0 0 0 1 0 0 2 0"], None, "lie on one line"),
    (["set-nudge", "5000"], 0.0, "5000"),
    (["set-field-offset", "-1001"], 0.0, "-1001"),
    (["set-implement-offset", "1e9"], 0.0, "1e"),
    (["set-implement-width", "-5"], 3.0, "-5"),
    (["set-velocity-set-point", "-100"], 2.0, "-100"),
    (["set-look-ahead-time", "0.1"], 1.6, "0.1"),
    (["set-low-speed-engage-timeout", "-1"], 2.0, "-1"),
    (["set-curve-filter-size", "2000"], 11, "2000"), (["set-look-ahead-time", "3.5e38"], 1.6, "3.5e+38"),
    (["set-tuning-limits", "overshoot", "3", "2", "1"],
     {"lowest": 0.2, "start": 1.0, "highest": 3.0}, "3"),
    (["set-tuning-limits", "overshoot", "-1", "1", "2"],
     {"lowest": 0.2, "start": 1.0, "highest": 3.0}, "-1"),
)

# A tuning value that is brought to its limit, and the limit.
LIMITED = (
    (["set-overshoot", "9"], 3.0), (["set-sensitivity", "0"], 0.2),
    (["set-aggressiveness", "-4"], 0.2), (["set-speed-adjust", "3.5"], 3.0),
    (["set-tuning-parameter", "overshoot", "0.1"], 0.2),
    (["set-tuning-parameter", "3", "7", "--persist"], 3.0),
)


def documented_rows():
    """The document's table: the command, what confirms it, what is compared."""
    text = (ROOT / "docs/navctl-operations.md").read_text(encoding="utf-8")
    return {row[0]: row[1:] for row in
            re.findall(r"^\| `([a-z-]+)` \| (.*?) \| (.*?) ?\|$", text, re.MULTILINE)}


class Confirmed(unittest.TestCase):
    def assert_streams(self, arguments, code, output, errors):
        """Exit code and both streams; `errors` is a pattern."""
        result = navctl(*arguments)
        self.assertEqual((code, output), (result.returncode, result.stdout), result.stderr)
        self.assertRegex(result.stderr, errors)

    def test_a_setting_that_is_not_held_is_a_refusal_with_its_reason(self):
        with Simulator("--speed=2"):
            for arguments, held, words in REFUSED:
                with self.subTest(arguments):
                    self.assert_streams(
                        arguments, 1, "",
                        rf"^navctl: the service refused {arguments[0]}: .*{re.escape(words)}.*\n$")
                    code, reply = answer(*arguments)
                    self.assertEqual((1, "refused"), (code, reply["outcome"]))
                    self.assertIn(words, reply["reason"])
                    self.assertEqual(held, reply["held"])
                    self.assertIn("; it holds ", reply["reason"])

    def test_a_tuning_value_at_its_limit_is_done_and_says_which_value_holds(self):
        with Simulator():
            for arguments, limit in LIMITED:
                with self.subTest(arguments):
                    result = navctl(*arguments)
                    self.assertEqual(0, result.returncode, result.stderr)
                    self.assertRegex(result.stdout, rf"^done, brought to the limit: {limit:g} holds "
                                                    r"\(lowest \S+, start \S+, highest \S+\)\n$")
                    _, reply = answer(*arguments)
                    self.assertEqual(("done", limit, True),
                                     (reply["outcome"], reply["held"], reply["limited"]))

    def test_a_chain_of_commands_stops_at_a_line_that_is_refused(self):
        chain = "{0} set-wayline {1} && {0} start-navigation on && {0} engage-steering"
        with Simulator("--speed=2"):
            for line in (LINE_NORTH, "0 0 5 0 0 50 0"):
                self.assertEqual(0, navctl("set-wayline", line).returncode)
                shell = chain.format(shlex.quote(program()), shlex.quote(SAME_POINTS))
                result = subprocess.run(["sh", "-c", shell], capture_output=True, text=True,
                                        check=False, timeout=60)
                self.assertEqual((1, ""), (result.returncode, result.stdout))
                self.assertIn("it holds A-B line, 2 points", result.stderr)
                self.assertFalse(value("is-navigation-activated"))
                self.assertFalse(value("is-steering-engaged"))
            shell = chain.format(shlex.quote(program()), shlex.quote(LINE_NORTH))
            result = subprocess.run(["sh", "-c", shell], capture_output=True, text=True,
                                    check=False, timeout=60)
            self.assertEqual((0, "done\ndone\ndone\n", ""),
                             (result.returncode, result.stdout, result.stderr))

    def test_the_operation_alone_asks_nothing_afterwards(self):
        heard = set()
        with scripted({"set_wayline": 0, "IsNavigationActivated": 0}, heard=heard):
            self.assert_streams(["set-wayline", SAME_POINTS, "--no-check"], 0,
                                "answered; " + NOTHING_CONFIRMS, "^$")
            self.assert_streams(["set-nudge", "5000", "--no-check"], 0, "sent; " + NOTHING_CONFIRMS,
                                "^$")
            self.assertEqual((0, {"operation": "set-nudge", "outcome": "sent"}),
                             answer("set-nudge", "5000", "--no-check"))
        self.assertEqual({"set_wayline", "set_nudge", "IsNavigationActivated"}, heard)

    def test_where_there_is_no_getter_nothing_confirms_it(self):
        with Simulator():
            for arguments in (["set-wayline-origin", "51", "7", "500"], ["reset-integral"],
                              ["set-splines-use-implement-offset", "on"],
                              ["set-position-data", "51", "7", "0"]):
                with self.subTest(arguments):
                    self.assert_streams(arguments, 0, "sent; " + NOTHING_CONFIRMS, "^$")
                    self.assertEqual((0, {"operation": arguments[0], "outcome": "sent"}),
                                     answer(*arguments))

    def test_where_there_is_no_getter_a_refusal_is_seen_all_the_same(self):
        splines = "a spline that is followed with its shift is too sharp"
        for arguments, words in ((["set-wayline-origin", "91", "11", "500"], "latitude"),
                                 (["set-position-data", "91", "11", "500"], "latitude"),
                                 (["set-position-data", "51", "7", "0", "--position-valid", "off"],
                                  "the position is marked as not valid"),
                                 (["set-splines-use-implement-offset", "on"], splines),
                                 (["reset-integral"], "the controller is off")):
            wire = {"set-splines-use-implement-offset": "SetSplinesUseImplementOffset",
                    "reset-integral": "reset_integral"}.get(arguments[0])
            # What the simulator has no reason to refuse, another service may.
            service = scripted({"IsNavigationActivated": 0, "why_refused": words}) if wire \
                else Simulator()
            with self.subTest(arguments), service:
                self.assert_streams(arguments, 1, "",
                                    f"^navctl: the service refused {arguments[0]}: .*{words}.*\n$")
                code, reply = answer(*arguments)
                self.assertEqual((1, "refused"), (code, reply["outcome"]))
                self.assertIn(words, reply["reason"])

    def test_a_refusal_from_before_does_not_count_against_what_is_taken(self):
        with Simulator():
            for bad, good in ((["set-wayline-origin", "91", "11", "500"],
                               ["set-wayline-origin", "51", "11", "500"]),
                              (["set-position-data", "91", "11", "500"],
                               ["set-position-data", "51", "11", "500"])):
                self.assertEqual(1, navctl(*bad).returncode)
                self.assert_streams(good, 0, "sent; " + NOTHING_CONFIRMS, "^$")

    def test_a_service_that_gives_no_reasons_confirms_nothing(self):
        for replies in ({}, {"why_refused": None}, {"why_refused": ""}, {"why_refused": 1},
                        {"why_refused": ["no"]}):
            with self.subTest(replies), scripted({"IsNavigationActivated": 0, **replies}):
                self.assert_streams(["set-wayline-origin", "91", "11", "500"], 0,
                                    "sent; " + NOTHING_CONFIRMS,
                                    "^navctl: warning: the latitude 91 is outside its range, -90 to 90 "
                                    "degrees\n$")

    def test_a_nudge_without_a_line_says_which_one_is_held_for_the_next(self):
        with Simulator():
            self.assert_streams(["nudge", "on", "0.1"], 0, "done: x 0 m, y 0 m, z 0 m; the nudge of "
                                                          "0.1 m is held for the next line\n", "^$")
            code, reply = answer("nudge", "on", "0.1")
            self.assertEqual((0, [0, 0, 0], 0.2), (code, reply["value"], reply["held"]))
            self.assert_streams(["nudge", "off", "0"], 0, "done: x 0 m, y 0 m, z 0 m\n", "^$")
            navctl("set-wayline", LINE_NORTH)
            self.assert_streams(["nudge", "on", "0.1"], 0, "done: x 0.1 m, y 0 m, z 0 m\n", "^$")
            self.assertEqual(0.2, answer("nudge", "on", "0.1")[1]["held"])
        with scripted({"Nudge": [1, 0.0, 0.0, 0.0]}):
            self.assert_streams(["nudge", "on", "0.1"], 0, "done: x 0 m, y 0 m, z 0 m\n", "^$")

    def test_limits_that_move_the_value_say_so(self):
        with Simulator():
            self.assertEqual(0, navctl("set-sensitivity", "0.2").returncode)
            self.assert_streams(["set-tuning-limits", "sensitivity", "0.5", "1", "2"], 0,
                                "done; the limits moved the value from 0.2 to 0.5\n", "^$")
            code, reply = answer("set-tuning-limits", "sensitivity", "0.1", "0.3", "0.4")
            self.assertEqual((0, "done", {"from": 0.5, "to": 0.4}),
                             (code, reply["outcome"], reply["moved"]))
            self.assert_streams(["set-tuning-limits", "sensitivity", "0.1", "1", "2"], 0, "done\n",
                                "^$")
            self.assertNotIn("moved", answer("set-tuning-limits", "sensitivity", "0", "1", "2")[1])
        with scripted({"GetTuningLimits": [0.5, 1.0, 2.0]}):
            self.assert_streams(["set-tuning-limits", "sensitivity", "0.5", "1", "2"], 0, "done\n",
                                "^$")

    def test_the_document_has_every_setting_and_what_confirms_it(self):
        _, listed = answer("operations")
        commands = {entry["command"] for entry in listed}
        rows = documented_rows()
        settings = {name for name in commands if name.startswith(("set-", "reset-"))}
        self.assertEqual(settings - {"set-waypoint"}, rows.keys() & commands)
        for name in settings - {"set-waypoint"}:
            with self.subTest(name):
                page = " ".join(navctl(name, "--help").stdout.split())
                getter = re.search(r"`(get-[a-z-]+)`", rows[name][0])
                if getter:
                    self.assertIn(f"Asks with {getter.group(1)} what the service holds", page)
                    self.assertIn("--no-check", page)
                else:
                    self.assertNotIn("--no-check", page)
                # Whatever has a getter of its name is confirmed by it.
                namesake = name.replace("set-", "get-", 1)
                self.assertTrue(namesake not in commands or (getter and getter.group(1) == namesake))

    def test_another_value_than_the_one_set_is_no_success_whatever_the_service_says(self):
        for arguments, replies, held in (
            (["set-nudge", "0.5"], {"get_nudge": 0.25}, "0.25 m"),
            (["set-nudge", "0.5"], {"get_nudge": float("nan")}, "nan m"),
            (["set-implement-width", "6"], {"SetImplementWidth": 1, "GetImplementWidth": 3}, "3.0 m"),
            (["set-reverse-engage-enabled", "on"], {"get_reverse_engage_enabled": 0}, "false"),
            (["set-overshoot", "9"], {"get_tuning_parameter": 2.5,
                                      "GetTuningLimits": [0.0, 1.0, 3.0]}, "2.5"),
            (["set-overshoot", "1"], {"get_tuning_parameter": 3.0,
                                      "GetTuningLimits": [0.0, 1.0, 3.0]}, "3"),
            (["set-wayline", LINE_NORTH], {"set_wayline": 1, "get_wayline": None}, "no complete wayline"),
            (["set-wayline", LINE_NORTH],
             {"set_wayline": 1, "get_wayline": [0, 0.0, 0.0, 0.0, 0.0, 100.0000001, 0.0]}, "A-B line"),
        ):
            with self.subTest(arguments), scripted(replies):
                result = navctl(*arguments)
                self.assertEqual((1, ""), (result.returncode, result.stdout))
                self.assertIn("it holds " + held.replace(".0 m", " m"), result.stderr)

    def test_single_precision_is_the_same_number(self):
        held = msgpack.unpackb(msgpack.packb(0.1, use_single_float=True))
        for arguments, replies in (
            (["set-nudge", "0.1"], {"get_nudge": held}),
            (["set-overshoot", "0.1"], {"get_tuning_parameter": held}),
            (["set-velocity-set-point", "0.1"], {"GetVelocitySetPoint": [0.1]}),
            (["set-curve-filter-size", "7"], {"GetCurveFilterSize": 7}),
        ):
            with self.subTest(arguments), scripted(replies):
                self.assert_streams(arguments, 0, "done\n", "^$")

    def test_a_getter_that_fails_fails_the_setting(self):
        with scripted({"IsNavigationActivated": 0}):
            self.assert_streams(["set-nudge", "0.1"], 1, "", "refuses get-nudge-scalar .no operation get_nudge")
        with scripted({"get_nudge": None, "SetImplementWidth": 1, "GetImplementWidth": None}):
            self.assert_streams(["set-nudge", "0.1"], 5, "", "answered without a value")
            self.assert_streams(["set-implement-width", "3"], 5, "", "answered without a value")
        with scripted({"get_nudge": "0.1"}):
            self.assert_streams(["set-nudge", "0.1"], 5, "", "get_nudge is of another form")


class Persisting(unittest.TestCase):
    WARNING = "navctl: warning: the service keeps nothing over a restart"

    def test_a_service_that_keeps_nothing_is_warned_of(self):
        with Simulator():
            for arguments in (["set-overshoot", "1.2"], ["set-look-ahead-time", "1.8"],
                              ["set-allow-reverse-engage", "on"]):
                with self.subTest(arguments):
                    self.assertEqual("", navctl(*arguments).stderr)
                    result = navctl(*arguments, "--persist")
                    self.assertEqual((0, "done\n"), (result.returncode, result.stdout))
                    self.assertIn(self.WARNING, result.stderr)
                    self.assertIs(False, answer(*arguments, "--persist")[1]["kept"])

    def test_a_service_that_keeps_or_does_not_tell_is_not(self):
        with tempfile.TemporaryDirectory() as directory, \
                Simulator("--state", f"{directory}/settings.json"):
            result = navctl("set-overshoot", "1.2", "--persist")
            self.assertEqual((0, "done\n", ""), (result.returncode, result.stdout, result.stderr))
        with scripted({"get_lookahead_time": 1.8}):
            result = navctl("set-look-ahead-time", "1.8", "--persist")
            self.assertEqual((0, "done\n", ""), (result.returncode, result.stdout, result.stderr))

    def test_a_service_that_cannot_save_is_warned_of(self):
        with tempfile.TemporaryDirectory() as directory:
            folder = os.path.join(directory, "settings")
            os.mkdir(folder)
            with Simulator("--state", os.path.join(folder, "settings.json")):
                shutil.rmtree(folder)
                for _ in range(2):
                    result = navctl("set-overshoot", "1.2", "--persist")
                    self.assertEqual((0, "done\n"), (result.returncode, result.stdout))
                    self.assertIn("warning: the service could not save the value", result.stderr)
                self.assertIs(False, answer("set-overshoot", "1.3", "--persist")[1]["kept"])
        with scripted({"get_lookahead_time": 1.8, "simulator_keeps": 2}):
            result = navctl("set-look-ahead-time", "1.8", "--persist")
            self.assertEqual((0, "done\n"), (result.returncode, result.stdout))
            self.assertIn("warning: the service has not saved the value yet", result.stderr)


class Reasons(unittest.TestCase):
    def test_every_refusal_has_its_reason(self):
        with Simulator():
            for arguments, words in (
                (["set-waypoint", "7", "0", "0", "0", "0"], "7"),
                (["set-implement-width", "-5"], "-5"),
                (["start-navigation", "on"], "no complete line.*navctl doctor"),
                (["engage-steering"], "navigation is not active.*navctl doctor"),
                (["start-wayline", "12"], "12"), (["clear-wayline"], "there is no wayline"),
                (["auto-set-nudge"], "there is no wayline"),
                (["auto-set-field-offset"], "there is no wayline"), (["nudge", "off", "5000"], "5000"),
                (["start-wayline", "replay"], "recorded drive"),
            ):
                with self.subTest(arguments):
                    result = navctl(*arguments)
                    self.assertEqual((1, ""), (result.returncode, result.stdout))
                    self.assertRegex(result.stderr, rf"^navctl: the service refused {arguments[0]}: "
                                                    rf".*{words}")
                    self.assertRegex(answer(*arguments)[1]["reason"], words)

    def test_a_refused_nudge_comes_with_the_nudge_that_is_held(self):
        with Simulator():
            self.assertEqual(0, navctl("set-nudge", "0.2").returncode)
            for arguments in (["nudge", "off", "1e9"], ["auto-set-nudge"]):
                with self.subTest(arguments):
                    self.assertTrue(navctl(*arguments).stderr.endswith("; it holds 0.2 m\n"))
                    code, reply = answer(*arguments)
                    self.assertEqual((1, "refused", 0.2, "m"),
                                     (code, reply["outcome"], reply["held"], reply["unit"]))

    def test_one_point_that_is_held_is_not_points(self):
        with Simulator():
            for size, words in (("1", "1 point"), ("21", "21 points")):
                self.assertEqual(0, navctl("set-curve-filter-size", size).returncode)
                self.assertTrue(navctl("set-curve-filter-size", "0").stderr.endswith(
                    f"; it holds {words}\n"))

    def test_a_waypoint_that_belongs_to_no_wayline_is_warned_of(self):
        def warning(number):
            result = navctl("set-waypoint", str(number), str(number), "0", "0", "0")
            self.assertEqual((0, "done\n"), (result.returncode, result.stdout), result.stderr)
            return result.stderr

        with Simulator():
            self.assertRegex(warning(0), "^navctl: warning: the waypoint 0 is part of no wayline, since "
                                         "none was begun: navctl start-wayline KIND")
            for kind, count, words in (("a-heading", 1, "the waypoint 0 alone"),
                                       ("ab", 2, "A-B line, which has the waypoints 0 and 1")):
                navctl("start-wayline", kind)
                for number in range(3):
                    with self.subTest((kind, number)):
                        self.assertRegex(warning(number), "^$" if number < count else words)
            navctl("set-wayline", LINE_NORTH)
            self.assertRegex(warning(2), "warning: the waypoint 2 is part of no wayline: that of the "
                                         "service is of the kind A-B line")
        # Another service need not know what it holds.
        with scripted({"set_waypoint": 1}):
            self.assertEqual("", warning(2))

    def test_a_waypoint_that_makes_no_line_is_told_why(self):
        with Simulator():
            navctl("start-wayline", "ab")
            navctl("set-waypoint", "0", "5", "5", "0", "0")
            result = navctl("set-waypoint", "1", "5", "5", "0", "0")
            self.assertEqual(1, result.returncode)
            self.assertIn("points A and B are 0 m apart", result.stderr)

    def test_a_service_that_gives_no_reason_is_judged_by_the_ranges(self):
        with scripted({"set_waypoint": 0, "SetImplementWidth": 0, "StartNavigation": 0}):
            for arguments, words in (
                (["set-waypoint", "7", "0", "0", "0", "0"], "waypoint 7 .* 0 to 2"),
                (["set-waypoint", "1", "0", "0", "0", "0"], '"navctl doctor" tells what is missing'),
                (["set-implement-width", "-5"], "width -5 .* 0.1 to 100 m"),
                (["start-navigation", "on"], '"navctl doctor" tells what is missing'),
            ):
                with self.subTest(arguments):
                    self.assertRegex(navctl(*arguments).stderr, words)


def talker(greeting=b"", reply=b""):
    """A program of another protocol: greets, and answers every line."""
    def serve(connection):
        connection.settimeout(10)
        connection.sendall(greeting)
        data = b""
        while not data.endswith(b"\n"):
            more = connection.recv(4096)
            if not more:
                return
            data += more
        connection.sendall(reply)
        connection.shutdown(socket.SHUT_RDWR)

    def serve_aside(connection):
        threading.Thread(target=lambda: quietly(serve, connection), daemon=True).start()
    return Listener(serve_aside)


def quietly(serve, connection):
    try:
        serve(connection)
    except OSError:
        pass


def secure_server(directory):
    """A server that speaks TLS."""
    subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "1",
                    "-subj", "/CN=localhost", "-keyout", f"{directory}/key", "-out",
                    f"{directory}/certificate"], check=True, capture_output=True)
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(f"{directory}/certificate", f"{directory}/key")

    def serve(connection):
        connection.settimeout(10)
        context.wrap_socket(connection, server_side=True)
    return Listener(lambda connection: threading.Thread(
        target=lambda: quietly(serve, connection), daemon=True).start())


def always(make_reply):
    """A program that answers every request with a message made of the request."""
    def serve(connection):
        unpacker = msgpack.Unpacker()
        while data := connection.recv(65536):
            unpacker.feed(data)
            for message in unpacker:
                if isinstance(message, list) and message[0] == 0:
                    connection.sendall(msgpack.packb(make_reply(message)))
    return Listener(lambda connection: threading.Thread(
        target=lambda: quietly(serve, connection), daemon=True).start())


def echo():
    """A program that sends back what it gets."""
    def serve(connection):
        while data := connection.recv(65536):
            connection.sendall(data)
    return Listener(lambda connection: threading.Thread(
        target=lambda: quietly(serve, connection), daemon=True).start())


class OtherPrograms(unittest.TestCase):
    ROWS = "time,latitude,longitude\n" + "".join(f"{row},51,7\n" for row in range(200))

    @classmethod
    def setUpClass(cls):
        directory = tempfile.TemporaryDirectory()
        cls.addClassCleanup(directory.cleanup)
        cls.rows = f"{directory.name}/drive.csv"
        Path(cls.rows).write_text(cls.ROWS, encoding="ascii")
        line = f"{directory.name}/line.txt"
        Path(line).write_text(LINE_NORTH + "\n", encoding="ascii")
        cls.COMMANDS = (
            ["set-nudge", "1"], ["set-wayline-origin", "51", "7", "0"],
            ["set-nudge", "1", "--no-check"], ["set-position-data", "51", "7", "0"],
            ["reset-integral"], ["engage-steering"], ["get-nudge-scalar"], ["nudge", "on", "0.1"],
            ["set-overshoot", "1", "--persist"], ["set-wayline", LINE_NORTH],
            ["set-implement-width", "3"], ["wayline", "set", line], ["wayline", "start", "ab"],
            ["feed", cls.rows, "--rate", "max"])

    def assert_named(self, words):
        for arguments in self.COMMANDS:
            with self.subTest((words, arguments)):
                result = navctl("--timeout", "0.5", *arguments)
                self.assertEqual((5, ""), (result.returncode, result.stdout), result.stderr)
                self.assertRegex(result.stderr, words)

    def assert_named_to_watchers(self, words):
        for arguments in (["watch"], ["watch", "guidance-status", "--count", "1"],
                          ["watch", "--lightbar"]):
            with self.subTest((words, arguments)):
                result = navctl("--timeout", "0.5", *arguments, "--for", "20")
                self.assertEqual(5, result.returncode, result.stderr)
                self.assertRegex(result.stderr, words)
                self.assertNotIn("connected", result.stderr)
        code, last = answer("--timeout", "0.5", "watch", "--for", "20")
        self.assertEqual((5, "error", 5), (code, last["event"], last["exit_code"]))
        self.assertRegex(last["reason"], words)

    def test_are_named(self):
        for greeting, reply, words in (
            (b"SSH-2.0-OpenSSH_9.2\r\n", b"", "it says: SSH-2.0-OpenSSH_9.2"),
            (b"", b"HTTP/1.1 400 Bad Request\r\n\r\n", "it says: HTTP/1.1 400 Bad Request"),
            (b"", b"-ERR wrong number of arguments for 'get' command\r\n", "it says: -ERR wrong"),
            (b"220 mail ESMTP\r\n", b"500 what\r\n", "it says: 220 mail ESMTP"),
        ):
            with talker(greeting, reply):
                self.assert_named(words)
                self.assert_named_to_watchers(words)

    def test_that_speak_tls_are_named(self):
        with tempfile.TemporaryDirectory() as directory, secure_server(directory):
            self.assert_named("protocol")
            self.assertIn("TLS", navctl("--timeout", "0.5", "set-nudge", "1").stderr)
            self.assert_named_to_watchers("it speaks TLS")

    def test_a_service_of_other_operations_is_none(self):
        for form in ("no such method", 7, {"code": -32601}):
            with always(lambda request, form=form: [1, request[1], form, None]):
                self.assert_named("what listens there is no navigation service: ")
                for command in (["wayline", "get"], ["wayline", "clear"]):
                    self.assertEqual(5, navctl(*command).returncode)
                self.assert_named_to_watchers("what listens there is no navigation service")

    def test_one_that_answers_everything_alike_is_not_fed(self):
        for reply in (None, "text", [1, 2], float("nan"), {"a": 1}):
            with self.subTest(reply), always(lambda request, reply=reply: [1, request[1], None, reply]):
                result = navctl("feed", self.rows, "--rate", "max")
                self.assertEqual((5, ""), (result.returncode, result.stdout), result.stderr)
                self.assertIn("protocol error: what listens there is no navigation service: ",
                              result.stderr)
                code, report = answer("feed", self.rows, "--rate", "max")
                self.assertEqual((5, "failed", 5), (code, report["outcome"], report["exit_code"]))

    def test_one_that_sends_back_what_it_gets_is_none(self):
        with echo():
            self.assert_named("as an echo server does")

    def test_one_that_comes_in_the_place_of_a_service_is_not_fed_on(self):
        for later in ([1, 0, "no such method", None], [1, 0, None, None], [1, 0, None, "text"]):
            served = []

            def serve(connection, later=later, served=served):
                served.append(connection)
                is_service, fed = len(served) == 1, 0
                unpacker = msgpack.Unpacker()
                while data := connection.recv(65536):
                    unpacker.feed(data)
                    for message in unpacker:
                        if not isinstance(message, list):
                            return None
                        reply = [1, 0, None, 1] if is_service else list(later)
                        if message[0] == 0:
                            reply[1] = message[1]
                            connection.sendall(msgpack.packb(reply))
                        fed += message[0] == 2
                    if is_service and fed >= 60:
                        return connection.shutdown(socket.SHUT_RDWR)
                return None
            with self.subTest(later), Listener(serve):
                code, report = answer("--timeout", "0.5", "feed", self.rows, "--rate", "100")
                self.assertEqual((5, "failed"), (code, report["outcome"]))
                self.assertRegex(report["reason"], "protocol error: .*no navigation service")
                self.assertGreaterEqual(report["sent"], 50)
                self.assertLessEqual(report["sent"], 100)
                self.assertGreater(report["lost"], 0)

    def test_a_service_without_the_getter_confirms_nothing(self):
        with scripted({"IsNavigationActivated": 1, "set_wayline": 1}):
            for arguments, getter in ((["set-nudge", "1"], "get-nudge-scalar"),
                                      (["set-tuning-limits", "overshoot", "1", "2", "3"],
                                       "get-tuning-limits")):
                with self.subTest(arguments):
                    result = navctl(*arguments)
                    self.assertEqual((1, ""), (result.returncode, result.stdout))
                    self.assertIn("sent, but nothing confirms that the service took it: it refuses "
                                  + getter, result.stderr)
                    self.assertEqual(0, navctl(*arguments, "--no-check").returncode)

    def test_that_come_later_are_named_to_who_watches(self):
        with Running("--timeout", "0.5", "watch") as watch:
            wait_for(lambda: "waiting for the service" in watch.errors(), "the wait")
            with talker(b"", b"HTTP/1.1 400 Bad Request\r\n\r\n"):
                self.assertEqual(5, watch.process.wait(DEADLINE_SECONDS))
            self.assertIn("it says: HTTP/1.1 400", watch.errors())

    def test_one_that_is_silent_gives_no_reply(self):
        with Listener():
            for arguments in (["set-nudge", "1"], ["reset-integral"]):
                result = navctl("--timeout", "0.2", *arguments)
                self.assertEqual((4, ""), (result.returncode, result.stdout))
                self.assertIn("no reply in time", result.stderr)


# What a request may be answered with, by the form of its reply.


if __name__ == "__main__":
    unittest.main()
