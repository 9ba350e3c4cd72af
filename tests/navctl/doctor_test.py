"""The diagnosis, in each of the states that it distinguishes."""

import socket
import subprocess
import sys
import time
import unittest

from navctl_program import (LINE_NORTH, PORT, SILENCE, Listener, Simulator, answer, navctl,
                            scripted, silent, value, wait_for, web_server)


def listens():
    """Whether something listens on the service's port."""
    try:
        socket.create_connection(("127.0.0.1", PORT), timeout=5).close()
    except OSError:
        return False
    return True


def diagnosis(*options):
    """Exit code, and subject and next step of the first obstacle."""
    code, reply = answer(*options, "doctor")
    obstacles = [finding for finding in reply["findings"] if not finding["ok"]]
    assert reply["ready"] == (not obstacles) == (code == 0), reply
    if not obstacles:
        return code, reply["findings"][-1]["subject"], ""
    return code, obstacles[0]["subject"], obstacles[0]["next_step"]


class Doctor(unittest.TestCase):
    def assert_finds(self, code, subject, step, *options):
        found = diagnosis(*options)
        self.assertEqual((code, subject), found[:2])
        self.assertIn(step, found[2])

    def test_finds_that_nothing_listens(self):
        self.assert_finds(3, "link", "navigation-simulator")
        self.assertIn("nothing listens: localhost port 5010: ", navctl("doctor").stdout)

    def test_finds_something_that_does_not_speak_the_protocol(self):
        with web_server():
            self.assert_finds(5, "protocol", "end the other program")
        with Listener(lambda connection: connection.close()):
            self.assert_finds(5, "protocol", "end the other program")
        with scripted({}):
            self.assert_finds(5, "protocol", "end the other program")

    def test_shows_the_bytes_of_an_unknown_program_as_ascii(self):
        garbage = bytes(range(0xa0, 0xc0)) + "ß\x1b".encode() + b" end\r\n"
        with Listener(lambda connection: (connection.recv(4096), connection.sendall(garbage),
                                          connection.shutdown(socket.SHUT_RDWR))):
            for options in ([], ["--json"]):
                result = navctl(*options, "doctor", "--timeout", "1")
                self.assertEqual(5, result.returncode)
                self.assertTrue(result.stdout.isascii(), result.stdout)
                self.assertIn("xc3", result.stdout)
                self.assertIn(" end", result.stdout)

    def test_finds_a_web_server_that_waits_for_the_end_of_a_line(self):
        serve = [sys.executable, "-B", "-m", "http.server", str(PORT), "--bind", "127.0.0.1"]
        with subprocess.Popen(serve, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL) as server:
            try:
                wait_for(listens, "the web server")
                self.assert_finds(5, "protocol", "end the other program", "--timeout", "1")
                self.assertIn("it says: HTTP/1.0 200 OK",
                              navctl("doctor", "--timeout", "1").stdout)
            finally:
                server.kill()

    def test_finds_a_service_that_is_silent(self):
        with silent():
            self.assert_finds(4, "reply", "start it again", "--timeout", "0.2")

    def test_leads_from_nothing_to_an_engaged_machine(self):
        with Simulator():
            self.assert_finds(1, "wayline", "navctl wayline set FILE")
            answer("set-wayline", "0 20 0 0 20 100 0")
            self.assert_finds(1, "navigation", "navctl start-navigation on")
            answer("start-navigation", "off")
            self.assert_finds(1, "distance", "navctl start-navigation on")
            self.assert_finds(1, "distance", "navctl auto-set-nudge")
            answer("auto-set-nudge")
            self.assert_finds(1, "speed", "navctl set-low-speed-engage-enabled on")
            answer("set-low-speed-engage-enabled", "on")
            wait_for(lambda: diagnosis() == (0, "steering", ""), "nothing in the way")
            self.assertIn("ready; to engage: navctl engage-steering", navctl("doctor").stdout)
            self.assertEqual(0, navctl("engage-steering").returncode)
            self.assertIn("engaged, at low speed without limit",
                          navctl("doctor").stdout.splitlines()[-1])
            answer("set-low-speed-engage-timeout", "3600")
            answer("set-low-speed-engage-enabled", "off")
            self.assertRegex(navctl("doctor").stdout, r"\[ok\] steering +engaged\n$")

    def test_finds_a_wrong_direction_and_a_reversing_machine(self):
        with Simulator("--speed=-1"):
            answer("set-wayline", "0 0 0 0 100 0 0")
            answer("start-navigation", "off")
            _, reply = answer("doctor")
            steps = {finding["subject"]: finding.get("next_step", "")
                     for finding in reply["findings"] if not finding["ok"]}
            self.assertIn("turn the machine", steps["heading"])
            self.assertIn("navctl set-", steps["reverse"])

    def test_finds_a_feed_that_has_stopped(self):
        with Simulator():
            answer("set-wayline", LINE_NORTH)
            answer("start-navigation", "off")
            answer("set-position-data", "51", "7", "0", "--speed", "2")
            wait_for(lambda: diagnosis()[1] == "positions", "the feed to be missed")
            self.assert_finds(1, "positions", "navctl feed FILE")

    def test_finds_a_feed_whose_positions_are_refused(self):
        with Simulator():
            answer("set-wayline", LINE_NORTH)
            answer("start-navigation", "off")
            answer("set-position-data", "51", "7", "0", "--speed", "2")
            code, _ = answer("set-position-data", "51", "7", "0", "--position-valid", "off")
            self.assertEqual(1, code)
            wait_for(lambda: diagnosis()[1] == "positions", "the feed to be missed")
            self.assert_finds(1, "positions", "wait for the receiver's fix")
            self.assertIn("the service refused the last position that came: the position is marked as "
                          "not valid", navctl("doctor").stdout)

    def test_finds_the_waypoint_that_is_missing(self):
        point = ["0", "0", "0", "0"]
        with Simulator("--speed=2"):
            for kind, title, given, missing in (
                    ("ab", "A-B line", (), 0), ("ab", "A-B line", (0,), 1),
                    ("ab", "A-B line", (1,), 0), ("a-heading", "A-plus-heading line", (), 0),
                    ("circle", "circle", (0, 1), 2), ("spline", "spline", (), 0)):
                with self.subTest((kind, given)):
                    navctl("start-wayline", kind)
                    for number in given:
                        self.assertEqual(0, navctl("set-waypoint", str(number), *point).returncode)
                    self.assert_finds(1, "wayline", f"navctl set-waypoint {missing} X Y Z HEADING")
                    self.assertIn(f"one of the kind {title} was begun; its waypoint {missing} is "
                                  "missing", navctl("doctor").stdout)
            navctl("start-wayline", "ab-curve")
            navctl("set-waypoint", "0", *point)
            self.assert_finds(1, "wayline", "drive to its end, then: navctl set-waypoint 1 X Y Z HEADING")
            navctl("wayline", "clear")
            self.assert_finds(1, "wayline", "navctl wayline set FILE")

    def test_names_no_waypoint_of_a_service_that_does_not_tell(self):
        for replies, events in (({}, {}), ({"is_waypoint_set": 1}, {}),
                                ({}, {"cb_wayline_status": lambda _: [0, 0, 0, 0, 0.0]}),
                                ({"is_waypoint_set": 1},
                                 {"cb_wayline_status": lambda _: [0, 0, 0, 0, 0.0]}),
                                ({"is_waypoint_set": 0},
                                 {"cb_wayline_status": lambda _: [0, 0, 0, -1, 0.0]})):
            replies = {"IsNavigationActivated": 0, "get_wayline": None, **replies}
            with self.subTest(replies), scripted(replies, events):
                self.assert_finds(1, "wayline", "navctl wayline set FILE", "--timeout", "0.3")

    def test_changes_nothing(self):
        settings = [["get-implement-width"], ["get-wayline"], ["get-nudge-scalar"],
                    ["get-field-offset"], ["get-implement-offset"], ["is-steering-engaged"],
                    ["is-navigation-activated"], ["get-reverse-engage-enabled"],
                    ["get-allow-reverse-engage"], ["get-low-speed-engage-enabled"],
                    ["get-look-ahead-time"], ["get-overshoot"]]
        for preparation in ([["set-wayline", LINE_NORTH]],
                            [["set-wayline", LINE_NORTH], ["start-navigation", "off"]],
                            [["set-wayline", LINE_NORTH], ["start-navigation", "off"],
                             ["engage-steering"]]):
            with self.subTest(preparation), Simulator("--speed=2"):
                for command in preparation:
                    self.assertEqual(0, navctl(*command).returncode)
                before = [value(*setting) for setting in settings]
                navctl("doctor")
                self.assertEqual(before, [value(*setting) for setting in settings])

    def test_asks_and_sends_nothing_that_changes_something(self):
        asked = set()
        replies = {"IsNavigationActivated": 1, "IsSteeringEngaged": 0, "why_not_engaged": [],
                   "get_wayline": PlainService.LINE}
        with scripted(replies, heard=asked):
            self.assertEqual((0, "steering", ""), diagnosis())
        self.assertEqual(set(replies), asked)


class PlainService(unittest.TestCase):
    """A service that does not know why_not_engaged: the getters and events must do."""

    LINE = [0, 0.0, 0.0, 0.0, 0.0, 100.0, 0.0]

    def found(self, replies, *options):
        """What the diagnosis of a service with these replies ends with, and its code."""
        with scripted({"IsNavigationActivated": 1, "IsSteeringEngaged": 0,
                       "get_wayline": self.LINE, **replies}):
            code, reply = answer("--timeout", "0.3", *options, "doctor")
        return code, reply["findings"][-1]["subject"], reply["findings"][-1]["text"]

    def test_reasons_that_are_no_text_are_left_out(self):
        self.assertEqual((1, "engaging", "the gate is shut"),
                         self.found({"why_not_engaged": [1, None, [2], "", "the gate is shut"]}))
        self.assertEqual((1, "engaging", "the service has reasons, but none in words"),
                         self.found({"why_not_engaged": [1, None, ""]}))

    def test_a_service_may_lack_any_of_the_getters(self):
        # Without a width there is no distance that is too far; with an answer that is not a list of
        # reasons, the getters are asked.
        for reply in ({}, {"why_not_engaged": "because"}):
            with self.subTest(reply):
                code, subject, text = self.found(reply)
                self.assertEqual((1, "engaging"), (code, subject))
                self.assertIn("does not tell whether steering could be engaged", text)
        self.assertEqual((1, "distance"), self.finding(guidance=(0, 1.6, 0.0, 0.0))[:2])
        without = self.finding(guidance=(0, 1.6, 0.0, 0.0), without=["GetImplementWidth"])
        self.assertEqual((1, "engaging"), without[:2])
        slow = self.finding(speed=0.1, without=["get_low_speed_engage_allowed"])
        self.assertEqual((1, "engaging"), slow[:2])

    def test_a_service_that_falls_silent_is_told(self):
        for request in ("IsSteeringEngaged", "why_not_engaged", "GetImplementWidth"):
            with self.subTest(request):
                code, subject, text = self.found({"GetImplementWidth": 3.0, request: SILENCE})
                self.assertEqual((4, "reply"), (code, subject))
                self.assertEqual("connected, but no answer: no reply in time", text)

    def test_control_characters_of_the_service_do_not_reach_a_terminal(self):
        with scripted({"IsNavigationActivated": 1, "IsSteeringEngaged": 0,
                       "get_wayline": self.LINE, "why_not_engaged": ["\x1b]0;title\x07 \x9b31m"]}):
            self.assertIn("\\x1b]0;title\\x07 \\u009b31m", navctl("doctor").stdout)

    def finding(self, engage=(0, 0, 1, 0, 0), guidance=(0, 0.0, 0.0, 0.0), speed=2.0, without=(),
                **getters):
        replies = {"IsNavigationActivated": 1, "IsSteeringEngaged": 0, "get_wayline": self.LINE,
                   "GetImplementWidth": 3.0, "get_reverse_engage_enabled": 1,
                   "get_reverse_engage_allowed": 1, "get_low_speed_engage_allowed": 0, **getters}
        for name in without:
            del replies[name]
        started = time.monotonic()
        with scripted(replies, {
            "cb_engage_status": lambda _: engage,
            "cb_guidance_status": lambda _: guidance,
            "cb_relative_position": lambda _: [0.0, speed * (time.monotonic() - started), 0.0],
        }):
            return diagnosis()

    def test_finds_what_the_service_does_not_tell(self):
        rows = (
            ({"speed": 0.1}, (1, "speed")),
            ({"speed": 0.1, "get_low_speed_engage_allowed": 1}, (1, "engaging")),
            ({"engage": [0, 1, 1, 0, 0]}, (0, "steering")),
            ({"guidance": [0, 1.6, 0.0, 0.0]}, (1, "distance")),
            ({"guidance": [0, 0.0, -1.2, 0.0]}, (1, "heading")),
            ({"engage": [0, 0, 1, 1, 0], "get_reverse_engage_enabled": 0}, (1, "reverse")),
            ({"engage": [0, 0, 1, 1, 0], "get_reverse_engage_allowed": 0}, (1, "reverse")),
            ({}, (1, "engaging")),
        )
        for state, wanted in rows:
            with self.subTest(state):
                self.assertEqual(wanted, self.finding(**state)[:2])


if __name__ == "__main__":
    unittest.main()
