"""Clients of the service that take all the descriptors there are: its honest clients, the page and the
kept settings do not notice, and new clients are served."""

import resource
import subprocess
import tempfile
import time
import unittest

import msgpack

from navigation_service import DEADLINE_SECONDS, program

from attack import AttackTest, HonestClient, SimulatorUnderAttack, attackers, connect, lasting
from page_test import PAGE_PORT, hold, posted, read_all, visit

ATTACK_SECONDS = lasting(2.0)
SERVED_SECONDS = 2.5
MOST_DESCRIPTORS = 1024
MOST_CLIENTS = 1024
REQUEST = msgpack.packb([0, 1, "IsSteeringEngaged", []])


def hold_1300(*first):
    """An attack that holds as many connections that have sent no more than FIRST, and opens anew what
    is closed."""
    def hold():
        resource.setrlimit(resource.RLIMIT_NOFILE,
                           (4096, resource.getrlimit(resource.RLIMIT_NOFILE)[1]))
        links = []
        while True:
            try:
                links.append(connect())
                for piece in first:
                    links[-1].sendall(piece)
            except OSError:
                pass
            if len(links) > 1300:
                links.pop(0).close()
                time.sleep(0.001)  # the attack's pace
    return hold


def wait_until_full(simulator, count):
    deadline = time.monotonic() + DEADLINE_SECONDS
    while simulator.descriptors() < count:
        assert time.monotonic() < deadline, simulator.descriptors()
        time.sleep(0.01)  # between two looks


def limit_to(descriptors):
    resource.setrlimit(resource.RLIMIT_NOFILE, (descriptors, descriptors))


def allowed(descriptors, *options):
    """A simulator that may have so many."""
    return SimulatorUnderAttack(*options, preexec_fn=lambda: limit_to(descriptors))


def unfinished_requests():
    hold(100, b"GET / HTTP/1.1\r\n", b"")


class Descriptors(AttackTest):
    """A simulator that may have 1024 descriptors, of which the service's clients get some 700."""

    def attack(self, *first, descriptors=MOST_DESCRIPTORS, most=MOST_DESCRIPTORS - 256):
        with tempfile.TemporaryDirectory() as folder:
            state = f"{folder}/state.json"
            with SimulatorUnderAttack(
                    "--http", str(PAGE_PORT), "--state", state,
                    preexec_fn=lambda: resource.setrlimit(  # the lower one is raised at the start
                        resource.RLIMIT_NOFILE, (256, descriptors))) as simulator:
                with HonestClient() as honest, attackers(hold_1300(*first)):
                    wait_until_full(simulator, 600)
                    end = time.monotonic() + ATTACK_SECONDS
                    while time.monotonic() < end:
                        self.assert_page_serves()
                        self.assert_new_client_is_served()
                    self.assertLess(simulator.descriptors(), most)
                    self.keep_a_setting()
                self.assert_untroubled(honest.report)
                self.assert_ends_in_time(simulator)
                with open(state, encoding="utf-8") as file:
                    self.assertIn("2.5", file.read())

    def keep_a_setting(self):
        with connect() as link:
            link.sendall(msgpack.packb([2, "set_lookahead_time", [2.5, 1]]) + REQUEST)
            self.assertEqual([1, 1, None, 0], msgpack.unpackb(link.recv(4096)))

    def assert_page_serves(self):
        begin = time.monotonic()
        with visit() as link:
            link.sendall(posted("IsSteeringEngaged"))
            self.assertIn(b" 200 ", read_all(link).split(b"\r\n")[0])
        self.assert_within(time.monotonic() - begin, SERVED_SECONDS)

    def assert_new_client_is_served(self):
        begin = time.monotonic()
        with connect() as link:
            link.sendall(REQUEST)
            self.assertEqual([1, 1, None, 0], msgpack.unpackb(link.recv(4096)))
        self.assert_within(time.monotonic() - begin, SERVED_SECONDS)

    def test_held_by_silent_connections(self):
        self.attack()

    def test_held_by_connections_with_half_a_request(self):
        self.attack(REQUEST[:5])

    def test_held_by_connections_that_have_asked(self):
        self.attack(REQUEST)

    def test_held_by_subscribers(self):
        self.attack(msgpack.packb([2, "subscribe", ["cb_engage_status"]]))

    def test_held_where_there_are_few(self):
        for descriptors in (64, 80, 100, 200):
            for first in ((), (REQUEST[:5],)):
                with self.subTest(descriptors=descriptors, first=first):
                    self.hold_out_with(descriptors, *first)

    def hold_out_with(self, descriptors, *first):
        """Both kinds of connection, honest ones aside, hold what they can get."""
        with allowed(descriptors, "--http", str(PAGE_PORT)) as simulator:
            with HonestClient() as honest, attackers(hold_1300(*first), unfinished_requests):
                time.sleep(0.5)  # until the attack is on
                end = time.monotonic() + ATTACK_SECONDS
                while time.monotonic() < end:
                    self.assert_page_serves()
                    self.assert_new_client_is_served()
                    time.sleep(0.03)  # as people do
            self.assert_untroubled(honest.report)
            self.assertNotIn("Too many open files", simulator.errors())
            self.assert_ends_in_time(simulator)

    def test_that_are_too_few_keep_it_from_starting(self):
        for options, most in (((), 32), (("--http", str(PAGE_PORT)), 64)):
            for descriptors in (*range(4, 16), *range(16, most, 4)):
                with self.subTest(options=options, descriptors=descriptors):
                    ended = subprocess.run([program(), *options], capture_output=True, text=True,
                                           check=False, preexec_fn=lambda: limit_to(descriptors))
                    self.assertEqual(1, ended.returncode, ended.stderr)
                    self.assertRegex(
                        ended.stderr,
                        r"^navigation-simulator: there are too few file descriptors: the process "
                        rf"may have {descriptors} \(ulimit -n\), \d+ of them are free, and \d+ are "
                        r"needed[^\n]*\n$")
            with allowed(most, *options) as simulator:
                self.assert_new_client_is_served()
                self.assert_ends_in_time(simulator)

    def test_are_left_where_there_are_plenty(self):
        self.attack(msgpack.packb([2, "subscribe", ["cb_relative_position"]]),
                    descriptors=4096, most=MOST_CLIENTS + 100)


if __name__ == "__main__":
    unittest.main()
