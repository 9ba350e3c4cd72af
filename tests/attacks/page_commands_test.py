"""Commands of the live page that take long, in numbers: a command that ends steering gets through beside
them, and so do the service's own clients, and the page has no more connections for them than it says."""

import math
import resource
import select
import time
import unittest

from attack import AttackTest, HonestClient, HonestEcho, attackers, lasting
from long_work_test import Caller, field
from navigation_service import Client
from page_test import COMMAND_SECONDS, PageUnderAttack, hold, posted, read_all, visit

ATTACK_SECONDS = lasting(3.0)
POINTS = 60000
CONNECTIONS = 256
DESCRIPTORS = 1024  # as most systems give a process
DISENGAGED = b'{"reasons":[],"result":1}'
MOST_TIMES_ALONE = 12  # the client's own work, one of the page, and other work of the machine


def ask_for_the_line():
    hold(900, posted("get_wayline"))


def ask_for_the_line_and_more():
    hold(700, posted("get_wayline"), posted("IsSteeringEngaged"), b"GET / HTTP/1.1\r\n")


def curve():
    """The arguments that make a long curve the service's."""
    numbers = []
    for step in range(POINTS):
        numbers += [30.0 * math.sin(step / 200.0), 0.5 * step, 0.0]
    return [4, POINTS, *numbers]


class PageCommands(AttackTest):
    def disengage(self, simulator, most_descriptors):
        """Ends steering again and again, each time over a connection of its own.

        Gives the longest wait."""
        longest = 0.0
        end = time.monotonic() + ATTACK_SECONDS
        while time.monotonic() < end:
            start = time.monotonic()
            with visit() as link:
                link.sendall(posted("DisengageSteering", 1))
                self.assertIn(DISENGAGED, read_all(link))
            longest = max(longest, time.monotonic() - start)
            self.assertLessEqual(simulator.descriptors(), most_descriptors)
            time.sleep(0.05)  # as a hand that presses the button
        return longest

    def hold_out(self, attack):
        """Ending steering gets through, and the honest client notices nothing."""
        with PageUnderAttack() as simulator:
            resource.prlimit(simulator.process.pid, resource.RLIMIT_NOFILE,
                             (DESCRIPTORS, DESCRIPTORS))
            with Client() as client:
                self.assertEqual(1, client.request("set_wayline", *curve()))
            # The honest client's, one that is looked for, and what the threads have for a moment.
            most = simulator.descriptors() + CONNECTIONS + 8
            with HonestClient() as honest, HonestEcho() as echo, attackers(attack):
                time.sleep(0.5)  # until the attack is on
                longest = self.disengage(simulator, most)
                echo.seconds()
            self.assert_within(longest, COMMAND_SECONDS + echo.late)
            self.assert_untroubled(honest.report)
            with attackers(attack):
                time.sleep(0.3)  # until it is on again
                self.assert_ends_in_time(simulator)

    def test_that_take_long_hold_up_no_disengaging(self):
        self.hold_out(ask_for_the_line)

    def test_of_all_kinds_hold_up_no_disengaging(self):
        self.hold_out(ask_for_the_line_and_more)

    def test_that_take_long_let_the_clients_have_their_turns(self):
        with PageUnderAttack() as simulator, Client() as client:
            self.assertEqual(1, client.request("set_wayline", *curve()))
            alone = max(self.nudging(client) for _ in range(3))
            with attackers(ask_for_the_line):
                time.sleep(0.5)  # until the attack is on
                beside = sorted(self.nudging(client) for _ in range(5))
            self.assert_within(beside[2], MOST_TIMES_ALONE * alone)
            self.assert_ends_in_time(simulator)

    def test_that_end_steering_leave_nothing_to_engage_that_waits_on_the_link(self):
        with PageUnderAttack():
            worker, operator, other = Caller(), Caller(), Caller()
            operator.call("set_wayline", 0, 0.0, 0.0, 0.0, 0.0, 100.0, 0.0)
            operator.call("StartNavigation", 1, 0)
            worker.send("calculate_headings", *[field(50000, x=3.0 * x) for x in range(20)])
            while self.is_done_at_once(operator, other):  # until it waits for the worker's
                operator.reply(operator.last)
            headings = operator.last
            engaging = operator.send("EngageSteering", 1)
            for _ in range(20):
                other.call("IsSteeringEngaged")  # what has been sent before is read meanwhile
            with visit() as link:
                link.sendall(posted("DisengageSteering", 1))
                self.assertIn(DISENGAGED, read_all(link))
            self.assertFalse(select.select([operator.link], [], [], 0.0)[0], "was done too soon")
            operator.reply(headings)
            self.assertEqual(0, operator.reply(engaging))
            self.assertEqual(1, operator.call("EngageSteering", 1))

    @staticmethod
    def is_done_at_once(caller, other):
        """Whether work aside is answered within many calls of another client."""
        caller.last = caller.send("calculate_headings", field(2000))
        for _ in range(200):
            other.call("IsSteeringEngaged")
        return bool(select.select([caller.link], [], [], 0.0)[0])

    def nudging(self, client):
        """How long a shift of the line takes."""
        start = time.monotonic()
        self.assertEqual(1, client.request("Nudge", 1, 1, 0.1)[0])
        return time.monotonic() - start


if __name__ == "__main__":
    unittest.main()
