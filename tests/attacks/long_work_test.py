"""Clients whose lines take long to calculate: many points, far aside, over and over."""

import math
import random
import select
import socket
import time
import unittest
import weakref

import msgpack

from attack import (AttackTest, BOUND_SECONDS, MEBIBYTE, HonestClient, HonestEcho, SimulatorUnderAttack,
                    attackers, connect, lasting)
from navigation_service import DEADLINE_SECONDS

ATTACK_SECONDS = lasting(3.0)
SPLINE, CURVE = 3, 4


def wait_for(condition):
    """Waits until something that nothing announces is so."""
    deadline = time.monotonic() + DEADLINE_SECONDS
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError("waited in vain")
        time.sleep(0.01)  # between two looks


def scattered(count, seed=1):
    """A spline of points that lie anywhere in a square kilometre."""
    source = random.Random(seed)
    numbers = []
    for _ in range(count):
        numbers += [source.uniform(0.0, 1000.0), source.uniform(0.0, 1000.0), 0.0]
    return [SPLINE, count, *numbers]


def field(count, kind=CURVE, x=0.0):
    """A line of points every half metre, in gentle bends."""
    numbers = []
    for place in range(count):
        numbers += [x + 30.0 * math.sin(place / 200.0), 0.5 * place, 0.0]
    return [kind, count, *numbers]


class Caller:
    """A client that sends when it likes and reads replies by their numbers."""

    def __init__(self):
        self.link = connect()
        weakref.finalize(self, self.link.close)
        self._unpacker = msgpack.Unpacker(max_buffer_size=1 << 26)
        self._replies = {}
        self._order = []
        self._number = 0

    def send(self, operation, *arguments):
        """Sends a request; returns its number."""
        return self.send_packed(operation, msgpack.packb(list(arguments)))

    def send_packed(self, operation, arguments):
        """Sends a request whose list of arguments is packed already; returns its number."""
        self._number += 1
        head = msgpack.packb([0, self._number, operation])
        self.link.sendall(b"\x94" + head[1:] + arguments)
        return self._number

    def reply(self, number):
        """Waits for the reply to a request."""
        while number not in self._replies:
            data = self.link.recv(1 << 20)
            if not data:
                raise AssertionError("the service closed the link")
            self._unpacker.feed(data)
            for _, answered, error, result in self._unpacker:
                self._replies[answered] = error if error is not None else result
                self._order.append(answered)
        return self._replies[number]

    def call(self, operation, *arguments):
        """Makes a request and waits for its reply."""
        return self.reply(self.send(operation, *arguments))

    def order(self):
        """The numbers of the replies in the order in which they came."""
        return self._order


def repeat(*calls):
    """An attacker that makes the calls over and over, each time waiting for all replies."""
    packets = [(operation, list(arguments)) for operation, *arguments in calls]

    def attack():
        caller = Caller()
        while True:
            for number in [caller.send(name, *arguments) for name, arguments in packets]:
                caller.reply(number)

    return attack


def start_beside(count):
    """Sets scattered points and starts navigation along the nearest pass."""
    return repeat(("set_wayline", *scattered(count)), ("StartNavigation", 1, 1),
                  ("Nudge", 1, 1, 0.01))


def change_all(count):
    """Moves, smoothes and reads a line of many points."""
    line = field(count)
    return repeat(("set_wayline", *line), ("StartNavigation", 1, 1), ("Nudge", 1, 1, 0.01),
                  ("SetCurveFilterSize", 1, 31), ("SetImplementWidth", 1, 5.0),
                  ("SetCurveFilterSize", 1, 11), ("get_wayline",), ("ReinitialiseNavigation", 1),
                  ("StopNavigation", 1), ("clear_wayline",))


def vanish():
    """Asks for long work and goes, without end. No flood of bytes, which is another attack."""
    packet = msgpack.packb([0, 1, "set_wayline", field(20000)])
    while True:
        with connect() as link:
            link.sendall(packet)
            time.sleep(0.05)  # the attack's pace; by then the work is under way or waits


def stop_sending():
    """Asks for long work and much to read, shuts the sending side and reads nothing: fifty at a time."""
    packet = b"".join(msgpack.packb([0, 1, *call]) for call in (
        ["set_wayline", field(20000)], ["get_wayline", []], ["get_wayline", []]))
    links = []
    while True:
        links.append(connect())
        links[-1].sendall(packet)
        links[-1].shutdown(socket.SHUT_WR)
        if len(links) > 50:
            links.pop(0).close()
        time.sleep(0.02)  # the attack's pace: the work is under way or waits


class LongWork(AttackTest):
    def _assert_untroubled_by(self, *attacks, arguments=()):
        with SimulatorUnderAttack(*arguments) as simulator:
            with HonestClient() as honest, attackers(*attacks):
                time.sleep(ATTACK_SECONDS)  # the attack's length
            self.assert_untroubled(honest.report)
            self.assert_ends_in_time(simulator)

    def test_of_scattered_points_holds_nobody_up(self):
        for count in (2000, 20000, 100000, 200000):
            with self.subTest(points=count):
                self._assert_untroubled_by(start_beside(count),
                                           arguments=("--start", "-300,500,0"))

    def test_of_headings_holds_nobody_up(self):
        self._assert_untroubled_by(
            repeat(("calculate_headings", *[field(20000, x=3.0 * x) for x in range(20)])))

    def test_of_curves_holds_nobody_up(self):
        self._assert_untroubled_by(repeat(("set_wayline", *field(20000))))

    def test_of_a_line_of_the_most_points_holds_nobody_up(self):
        self._assert_untroubled_by(change_all(200000), arguments=("--speed", "5"))

    def test_of_many_clients_holds_nobody_up(self):
        self._assert_untroubled_by(*[change_all(10000) for _ in range(8)], vanish)

    def test_of_clients_that_vanish_leaves_the_service_as_it_was(self):
        self._assert_untroubled_by(vanish, vanish)

    def test_of_clients_that_send_no_more_and_read_nothing_holds_nobody_up(self):
        self._assert_untroubled_by(stop_sending, stop_sending)


class SendingNoMore(AttackTest):
    def test_leaves_a_client_the_replies_to_what_came_whole(self):
        with SimulatorUnderAttack("--start", "-300,500,0") as simulator:
            for rest in (b"", b"\x94", msgpack.packb([0, 9, "set_wayline", field(20000)])[:-1]):
                with self.subTest(len(rest)):
                    caller = Caller()
                    numbers = [caller.send(*call) for call in (
                        ("set_wayline", *scattered(20000)), ("get_wayline",),
                        ("StartNavigation", 1, 1), ("IsSteeringEngaged",), ("clear_wayline",))]
                    caller.link.sendall(rest)
                    caller.link.shutdown(socket.SHUT_WR)
                    replies = [caller.reply(number) for number in numbers]
                    self.assertEqual([1, 1, 0, 1], replies[:1] + replies[2:])
                    self.assertEqual(60002, len(replies[1]))
                    self.assertEqual(numbers, caller.order())
                    self.assertEqual(b"", caller.link.recv(1))
            self.assert_ends_in_time(simulator)

    def test_does_not_keep_a_client_that_goes(self):
        with SimulatorUnderAttack("--start", "-300,500,0") as simulator:
            caller = Caller()
            for call in (("set_wayline", *scattered(100000)), ("set_lookahead_time", 2.75, 0),
                         ("StartNavigation", 1, 1)):
                caller.send(*call)
            caller.link.shutdown(socket.SHUT_WR)
            used = simulator.processor_seconds()
            wait_for(lambda: simulator.processor_seconds() > used + 0.1)
            caller.link.close()
            other = Caller()
            wait_for(lambda: other.call("get_wayline") is not None)
            self.assertNotEqual(2.75, other.call("get_lookahead_time", 1))
            self.assertEqual(0, other.call("IsNavigationActivated"))
            self.assert_ends_in_time(simulator)


class Disengaging(AttackTest):
    def _calls(self):
        return [("set_wayline", *scattered(100000)), ("StartNavigation", 1, 1),
                ("EngageSteering", 1)]

    def test_overtakes_the_work_of_its_own_connection(self):
        with SimulatorUnderAttack("--start", "-300,500,0") as simulator:
            caller = Caller()
            numbers = [caller.send(*call) for call in self._calls()]
            with HonestEcho() as echo:
                disengaged = caller.send("DisengageSteering", 1)
                self.assertEqual(1, caller.reply(disengaged))
                took = echo.seconds()
            self.assertEqual(disengaged, caller.order()[0])
            # Half of it is the transfer and decoding of the line, which is before it on the link.
            self.assert_within(took, echo.late + 4 * BOUND_SECONDS)
            self.assertEqual([0, 0, 0], [caller.reply(number) for number in numbers])
            self.assertEqual([disengaged, *numbers], caller.order())
            self.assertIsNone(caller.call("get_wayline"))
            wait_for(lambda: "meanwhile" in simulator.errors())

    def test_is_found_behind_tens_of_megabytes_that_wait(self):
        with SimulatorUnderAttack() as simulator:
            caller = Caller()
            line = msgpack.packb(field(199000))
            self.assertGreater(4 * len(line), 20 * MEBIBYTE)
            with HonestEcho() as echo:
                numbers = [caller.send_packed("set_wayline", line) for _ in range(4)]
                numbers.append(caller.send("EngageSteering", 1))
                sent = time.monotonic()
                disengaged = caller.send("DisengageSteering", 1)
                self.assertEqual(1, caller.reply(disengaged))
                took = time.monotonic() - sent
                echo.seconds()
            # What the system has not handed over yet has to be read and decoded before it.
            self.assert_within(took, echo.late + 4 * BOUND_SECONDS)
            replies = [caller.reply(number) for number in numbers]
            self.assertEqual([0, 0, 0], replies[2:], "took effect after it")
            self.assertLess(caller.order().index(disengaged), 3, "waited for what was before it")
            self.assertEqual(numbers, [one for one in caller.order() if one != disengaged])
            self.assert_ends_in_time(simulator)

    def test_ends_changes_that_wait_behind_other_work(self):
        with SimulatorUnderAttack("--speed", "2"):
            caller = Caller()
            work = caller.send("calculate_headings", *[field(20000, x=3.0 * x) for x in range(10)])
            numbers = [caller.send(*call) for call in (
                ("set_wayline", *field(60000)), ("StartNavigation", 1, 0), ("EngageSteering", 1))]
            disengaged = caller.send("DisengageSteering", 1)
            self.assertEqual([0, 0, 0], [caller.reply(number) for number in numbers])
            self.assertEqual([disengaged, work, *numbers], caller.order())
            self.assertIsNone(caller.call("get_wayline"))
            self.assertEqual(1, caller.call("set_wayline", *field(60000)))

    def test_by_another_client_ends_the_work(self):
        with SimulatorUnderAttack("--start", "-300,500,0"):
            worker, operator = Caller(), Caller()
            numbers = [worker.send(*call) for call in self._calls()]
            while not select.select([worker.link], [], [], 0.01)[0]:
                with HonestEcho() as echo:
                    self.assertEqual(1, operator.call("DisengageSteering", 1))
                    took = echo.seconds()
                self.assert_within(took, echo.late + BOUND_SECONDS)
            self.assertEqual([0, 0, 0], [worker.reply(number) for number in numbers])

    def test_does_not_keep_a_later_request_from_engaging(self):
        with SimulatorUnderAttack("--speed", "2"):
            caller = Caller()
            line = [0, 0.0, 0.0, 0.0, 0.0, 100.0, 0.0]
            caller.call("set_wayline", *line)
            caller.call("StartNavigation", 1, 0)
            work = caller.send("calculate_headings", field(100000))
            before = caller.send("EngageSteering", 1)
            caller.reply(caller.send("DisengageSteering", 1))
            after = caller.send("EngageSteering", 1)
            caller.reply(work)
            self.assertEqual((0, 1), (caller.reply(before), caller.reply(after)))


class Ending(AttackTest):
    def test_with_work_under_way(self):
        for calls in ([("set_wayline", *scattered(100000)), ("StartNavigation", 1, 1)],
                      [("set_wayline", *field(200000)), ("Nudge", 1, 1, 0.5)],
                      [("calculate_headings", *[field(20000, x=x) for x in range(20)])]):
            with self.subTest(calls[0][0]), \
                 SimulatorUnderAttack("--start", "-300,500,0") as simulator:
                caller = Caller()
                used = simulator.processor_seconds()
                for call in calls:
                    caller.send(*call)
                wait_for(lambda: simulator.processor_seconds() > used + 0.2)
                self.assert_ends_in_time(simulator)


class Limit(AttackTest):
    def test_of_points_is_told_with_the_reason(self):
        with SimulatorUnderAttack() as simulator:
            caller = Caller()
            self.assertEqual(0, caller.call("set_wayline", *field(200001)))
            wait_for(lambda: "200001 points are too many" in simulator.errors())
            self.assertIsNone(caller.call("get_wayline"))


if __name__ == "__main__":
    unittest.main()
