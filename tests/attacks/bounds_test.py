"""Clients that ask for what takes long or is sent to everybody: samples of megabytes, lines that are
equally far away everywhere, values that change without end."""

import math
import time
import unittest

import msgpack

from attack import MEBIBYTE, AttackTest, HonestClient, SimulatorUnderAttack, attackers, connect

ATTACK_SECONDS = 3.0
MOST_GROWTH_MEBIBYTES = 100  # three texts of 29 MB on their way, and nothing made of them
EVENTS = ("cb_engage_status", "cb_offsets", "cb_wayline_status", "cb_implement_width_changed",
          "cb_draw_points")


def notification(name, *arguments):
    return msgpack.packb([2, name, list(arguments)])


def call(link, name, *arguments):
    """Makes a request and returns its reply; nothing else is under way."""
    unpacker = msgpack.Unpacker()
    link.sendall(msgpack.packb([0, 1, name, list(arguments)]))
    while True:
        unpacker.feed(link.recv(65536))
        for message in unpacker:
            return message[3]


class Samples(AttackTest):
    def attack(self, text):
        def send():
            with connect() as link:
                while True:
                    link.sendall(notification("SetPositionData", text))

        with SimulatorUnderAttack() as simulator:
            before = simulator.resident_bytes()
            most = before
            with HonestClient() as honest, attackers(send):
                end = time.monotonic() + ATTACK_SECONDS
                while time.monotonic() < end:
                    most = max(most, simulator.resident_bytes())
                    time.sleep(0.01)  # between two looks
            self.assert_untroubled(honest.report)
            self.assertIn("bytes is too long, allowed is 4096", simulator.errors())
            self.assertLess(len(simulator.errors()), 20000)
            self.assert_within((most - before) / MEBIBYTE, MOST_GROWTH_MEBIBYTES)
            self.assert_ends_in_time(simulator)

    def test_of_millions_of_pairs_leave_an_honest_client_untroubled(self):
        self.attack(";".join(f"{tag}=1" for tag in range(1, 2_800_000)))

    def test_of_millions_of_digits_leave_an_honest_client_untroubled(self):
        self.attack("1=" + "9" * 29_000_000)


class Line(AttackTest):
    def test_that_is_equally_far_away_leaves_an_honest_client_untroubled(self):
        count, radius = 199_000, 8000.0
        numbers = []
        for i in range(count):
            bearing = 2.0 * math.pi * 0.999 * i / count
            numbers += [radius * math.sin(bearing), radius * math.cos(bearing), 0.0]

        def ask():
            links = [connect() for _ in range(100)]
            while True:
                for link in links:
                    link.sendall(msgpack.packb([0, 1, "StopNavigation", [1]]))
                for link in links:
                    link.recv(4096)

        with SimulatorUnderAttack("--start", "0,0,0") as simulator:
            with connect() as link:
                self.assertEqual(1, call(link, "set_wayline", 3, count, *numbers))
                self.assertEqual(1, call(link, "StartNavigation", 1, 0))
            with HonestClient() as honest, attackers(ask):
                time.sleep(ATTACK_SECONDS)  # the attack's length
            self.assert_untroubled(honest.report)
            self.assert_ends_in_time(simulator)


class Changes(AttackTest):
    def test_without_end_reach_a_subscriber_ten_times_a_second(self):
        def change():
            with connect() as link:
                data = (notification("set_nudge", 1, 0.1) + notification("set_nudge", 1, 0.2)) * 500
                while True:
                    link.sendall(data)

        with SimulatorUnderAttack() as simulator:
            with connect() as link, HonestClient() as honest:
                self.assertEqual(1, call(link, "set_wayline", 0, 0.0, 0.0, 0.0, 0.0, 100.0, 0.0))
                self.assertEqual(1, call(link, "StartNavigation", 1, 0))
                for event in EVENTS:
                    link.sendall(notification("subscribe", event))
                # The time is that of the simulated world: its events of the position count it.
                link.sendall(notification("subscribe", "cb_relative_position"))
                counts = dict.fromkeys((*EVENTS, "cb_relative_position"), 0)
                unpacker = msgpack.Unpacker()
                with attackers(change):
                    while counts["cb_relative_position"] < 10 * ATTACK_SECONDS:
                        data = link.recv(65536)
                        self.assertTrue(data, "the subscriber has been dropped")
                        unpacker.feed(data)
                        for message in unpacker:
                            counts[message[1]] += 1
            # One more than the periods there were, and one for subscribing.
            for event in EVENTS:
                self.assertLessEqual(counts[event], counts["cb_relative_position"] + 2, event)
            self.assertGreater(counts["cb_offsets"], 1)
            self.assertGreater(counts["cb_draw_points"], 1)
            self.assert_untroubled(honest.report)
            self.assert_ends_in_time(simulator)


if __name__ == "__main__":
    unittest.main()
