"""The diagnosis, in each of the states that it tells apart."""

import time
import unittest

from navctl_program import (LINE_NORTH, Listener, Simulator, answer, navctl, scripted, silent,
                            value, wait_for, web_server)


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

    def test_finds_a_service_that_is_silent(self):
        with silent():
            self.assert_finds(4, "reply", "start it again", "--timeout", "0.2")

    def test_leads_from_nothing_to_an_engaged_machine(self):
        with Simulator():
            self.assert_finds(1, "wayline", "navctl wayline set FILE")
            answer("set-wayline", "0 20 0 0 20 100 0")
            self.assert_finds(1, "navigation", "navctl start-navigation on")
            answer("start-navigation", "off")
            self.assert_finds(1, "distance", "navctl auto-set-nudge")
            answer("auto-set-nudge")
            self.assert_finds(1, "speed", "navctl set-low-speed-engage-enabled on")
            answer("set-low-speed-engage-enabled", "on")
            wait_for(lambda: diagnosis() == (0, "steering", ""), "nothing in the way")
            self.assertIn("ready; to engage: navctl engage-steering", navctl("doctor").stdout)
            self.assertEqual(0, navctl("engage-steering").returncode)
            self.assertIn("engaged", navctl("doctor").stdout.splitlines()[-1])

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

    def test_changes_nothing(self):
        with Simulator("--speed=2"):
            answer("set-wayline", LINE_NORTH)
            navctl("doctor")
            self.assertFalse(value("is-navigation-activated"))


class PlainService(unittest.TestCase):
    """A service that does not know why_not_engaged: the getters and events must do."""

    LINE = [0, 0.0, 0.0, 0.0, 0.0, 100.0, 0.0]

    def finding(self, engage=(0, 0, 1, 0, 0), guidance=(0, 0.0, 0.0, 0.0), speed=2.0, **getters):
        replies = {"IsNavigationActivated": 1, "IsSteeringEngaged": 0, "get_wayline": self.LINE,
                   "GetImplementWidth": 3.0, "get_reverse_engage_enabled": 1,
                   "get_reverse_engage_allowed": 1, "get_low_speed_engage_allowed": 0, **getters}
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
