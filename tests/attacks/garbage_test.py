"""Clients that send what is not a message, over and over, and connections that come and go."""

import time
import unittest

import msgpack

from attack import AttackTest, HonestClient, SimulatorUnderAttack, attackers, connect

ATTACK_SECONDS = 2.0


def send_garbage():
    """Connects, sends what is not a message, and is dropped, without end."""
    while True:
        with connect() as link:
            link.sendall(b"GET / HTTP/1.1\r\n\r\n")
            try:
                link.recv(4096)
            except OSError:
                pass


def come_and_go():
    """Connects and leaves with a request unanswered, without end."""
    while True:
        with connect() as link:
            link.sendall(msgpack.packb([0, 1, "GetImplementWidth", [1]]))


class Garbage(AttackTest):
    def test_leaves_an_honest_client_untroubled(self):
        with SimulatorUnderAttack() as simulator:
            with HonestClient() as honest, attackers(send_garbage, come_and_go):
                time.sleep(ATTACK_SECONDS)  # the attack's length
            self.assert_untroubled(honest.report)
            self.assert_ends_in_time(simulator)


if __name__ == "__main__":
    unittest.main()
