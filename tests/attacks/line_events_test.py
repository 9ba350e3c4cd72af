"""Viewers of the live page while a long curve is crossed at ten times real time: each pass goes over the
wire once, and then its number. What the service calculates for them stands in benchmarks/viewer_cost.py."""

import contextlib
import json
import math
import threading
import time
import unittest

from attack import IS_SANITIZED, AttackTest, HonestClient, attackers
from navigation_service import wait_for
from page_test import HOST, STREAM, PageUnderAttack, posted, read_all, visit

SECONDS = 12.0
BYTES_A_SECOND = 30000.0
POINTS = 1500
LEAST_PIECES = 4  # of some 25 kB each
LEAST_PASSES = 20  # of those crossed; an event of the line comes five times a second, on a machine that is late


def posted_curve():
    """The bytes of a request to have a curve across the way of the machine, which drives north."""
    numbers = " ".join(f"{step - POINTS / 2.0:.6f} "
                       f"{200.0 + 8.0 * math.sin(step / 25.0) + 4.0 * math.sin(step / 7.0):.6f} 0.000000"
                       for step in range(POINTS))
    body = json.dumps({"text": f"4 {POINTS} {numbers}"})
    return (f"POST /wayline HTTP/1.1\r\n{HOST}Content-Type: application/json\r\n"
            f"Content-Length: {len(body)}\r\n\r\n{body}").encode()


def shift_again_and_again():
    """Nudges the line ten times a second, to the one side and to the other."""
    for turn in range(1 << 30):
        with contextlib.suppress(OSError), visit() as link:
            link.sendall(posted("Nudge", 1, turn % 2, 0.25))
            read_all(link)
        time.sleep(0.1)  # the attack's pace


def change_settings_again_and_again():
    """Changes ten times a second what viewers are sent: settings in numbers of 17 digits, the shift and
    the width of the passes; and begins and ends navigation."""
    for turn in range(1 << 30):
        third = 1.0 / (3 + turn % 7)
        commands = [posted("SetTuningLimits", number, third / 3, 2.0 + third, 3.0 + third) for number in range(4)]
        commands += [posted("set_lookahead_time", 1.0 + third, 0), posted("SetVelocitySetPoint", 4.0 + third / 9),
                     posted("SetImplementWidth", 1, 3.0 + third / 99), posted("SetFieldOffset", 1, third),
                     posted("Nudge", 1, turn % 2, third), posted("StopNavigation", 1),
                     posted("StartNavigation", 1, 1)]
        for command in commands:
            with contextlib.suppress(OSError), visit() as link:
                link.sendall(command)
                read_all(link)
        time.sleep(0.05)  # the attack's pace


def is_done(request):
    """Whether a request to the page is answered with 1."""
    with visit() as link:
        link.sendall(request)
        return b'"result":1' in read_all(link)


class Viewer:
    """Reads the page's events until the end of the block."""

    def __init__(self):
        self.text = b""
        self.seconds = 0.0
        self._link = visit()
        self._link.settimeout(None)
        self._start = time.monotonic()
        self._link.sendall(STREAM)
        self._thread = threading.Thread(target=self._read)
        self._thread.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        with contextlib.suppress(OSError):
            self._link.shutdown(2)
        self._thread.join()
        self._link.close()
        self.seconds = time.monotonic() - self._start

    def lines(self):
        """The line events that have come."""
        return [json.loads(event.split(b"data: ")[1]) for event in self.text.split(b"\n\n")[:-1]
                if b"event: line\n" in event]

    def _read(self):
        while piece := self._link.recv(1 << 16):
            self.text += piece


@unittest.skipIf(IS_SANITIZED, "takes a program that keeps up with ten times real time")
class LineEvents(AttackTest):
    def watch(self, *attacks, speed=4):
        """What viewers are sent while a curve is crossed: one from the start and one that comes later.

        Neither is sent more than it may be."""
        with PageUnderAttack("--speed-factor", "10", speed=speed) as simulator:
            with HonestClient() as honest, attackers(*attacks), Viewer() as first:
                wait_for(lambda: is_done(posted_curve()), "the curve")  # what ends navigation drops it
                wait_for(lambda: is_done(posted("StartNavigation", 1, 1)), "navigation")
                time.sleep(SECONDS / 2)  # what is measured is a rate
                with Viewer() as later:
                    time.sleep(SECONDS)  # likewise
            for viewer in (first, later):
                self.assertLess(len(viewer.text), BYTES_A_SECOND * viewer.seconds)
            self.assert_untroubled(honest.report)
            self.assert_ends_in_time(simulator)
        return first, later

    def assert_sent_once(self, viewer):
        """No points of a pass, or of the line, have come twice in a picture; passes that are known
        are named by their number."""
        pieces, named = [], 0
        for event in viewer.lines():
            if event.get("line"):
                pieces.append((event["picture"], "line"))
            followed = [event["followed"]] if event["followed"] else []
            for one in followed + event["passes"]:
                if "points" in one:
                    pieces.append((event["picture"], one["pass"]))
                else:
                    self.assertIn((event["picture"], one["pass"]), pieces, "a number of nothing known")
                    named += 1
        self.assertEqual(len(set(pieces)), len(pieces))
        self.assertGreater(len(pieces), LEAST_PIECES)
        self.assertGreater(named, 0)

    def test_have_the_points_of_a_pass_once(self):
        # At four metres a second most passes are left behind before their points have come.
        for viewer in self.watch(speed=2):
            self.assertGreater(len({event["pass"] for event in viewer.lines()}), LEAST_PASSES)
            self.assert_sent_once(viewer)

    def test_are_few_where_the_line_is_shifted_again_and_again(self):
        for viewer in self.watch(shift_again_and_again):
            self.assertGreater(len({event["picture"] for event in viewer.lines()}), 10)

    def test_are_few_where_all_settings_change_again_and_again(self):
        for viewer in self.watch(change_settings_again_and_again):
            self.assertGreater(viewer.text.count(b"event: settings\n"), 10)
            self.assertGreater(len(viewer.lines()), 5)


if __name__ == "__main__":
    unittest.main()
