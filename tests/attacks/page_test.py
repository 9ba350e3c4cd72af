"""Browsers and what passes for them, at the live page's server: a command gets through within a second,
the service's own clients notice nothing, and the program ends when it is told to."""

import contextlib
import json
import socket
import struct
import time
import unittest

from navigation_service import DEADLINE_SECONDS

from attack import AttackTest, HonestClient, SimulatorUnderAttack, attackers

PAGE_PORT = 8010
ATTACK_SECONDS = 2.0
COMMAND_SECONDS = 1.0

HOST = f"Host: localhost:{PAGE_PORT}\r\n"
GET = f"GET / HTTP/1.1\r\n{HOST}\r\n".encode()
STREAM = f"GET /events HTTP/1.1\r\n{HOST}\r\n".encode()
TRAIL = f"GET /trail HTTP/1.1\r\n{HOST}\r\n".encode()


def visit():
    """A connection to the page's server."""
    return socket.create_connection(("127.0.0.1", PAGE_PORT), timeout=10.0)


def posted(operation, *arguments, length=None):
    """The bytes of a command."""
    body = json.dumps({"operation": operation, "arguments": arguments})
    return (f"POST /command HTTP/1.1\r\n{HOST}Content-Type: application/json\r\n"
            f"Content-Length: {len(body) if length is None else length}\r\n\r\n{body}").encode()


def read_all(link):
    """What comes until the other end closes."""
    read = b""
    while piece := link.recv(65536):
        read += piece
    return read


def hold(count, *texts):
    """Opens many connections, sends each a text, reads nothing, and opens anew what is closed."""
    links = []
    while True:
        with contextlib.suppress(OSError):
            links.append(visit())
            links[-1].sendall(texts[len(links) % len(texts)])
        if len(links) > count:
            links.pop(0).close()
        if len(links) == count:
            time.sleep(0.01)  # the attack's pace


def silent_70():
    hold(70, b"GET / HTTP/1.1\r\n")


def silent_1000():
    hold(900, b"GET / HTTP/1.1\r\n", b"", b"POST /command HTTP/1.1\r\n")


def stuck_viewers():
    hold(24, STREAM)


def unread_answers():
    hold(200, TRAIL, GET)


def byte_at_a_time():
    """A hundred requests at once of which a byte comes at a time, of the head and of the body."""
    request = posted("IsSteeringEngaged", length=4000)
    links = {}
    while True:
        while len(links) < 100:
            with contextlib.suppress(OSError):
                links[visit()] = 0
        for link, sent in list(links.items()):
            try:
                link.sendall(request[sent:sent + 1] or b" ")
                links[link] = sent + 1
            except OSError:
                link.close()
                del links[link]


def long_heads():
    while True:
        with contextlib.suppress(OSError), visit() as link:
            link.sendall(b"GET / HTTP/1.1\r\nX: " + b"x" * 300000)


def long_bodies():
    """Bodies as long as may be, whole and not, with as many values as may be and more."""
    while True:
        for body in (b"[" * 100000, b'{"operation":"Nudge","arguments":[' + b"0," * 900000 + b"0]}",
                     b'{"operation":"Nudge","arguments":[' + b"[]," * 1300000 + b"0]}"):
            with contextlib.suppress(OSError), visit() as link:
                link.sendall(f"POST /command HTTP/1.1\r\n{HOST}Content-Type: application/json\r\n"
                             f"Content-Length: {len(body)}\r\n\r\n".encode() + body)
                read_all(link)


def pipelines():
    while True:
        with contextlib.suppress(OSError), visit() as link:
            link.sendall(posted("IsSteeringEngaged") * 2000)
            link.sendall(GET * 2000)


def half_closed_and_reset():
    while True:
        with contextlib.suppress(OSError), visit() as link:
            link.sendall(STREAM)
            link.shutdown(socket.SHUT_WR)
        with contextlib.suppress(OSError), visit() as link:
            link.sendall(posted("IsSteeringEngaged"))
            link.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))


def flood():
    while True:
        with contextlib.suppress(OSError):
            visit().close()


class PageUnderAttack(SimulatorUnderAttack):
    """A simulator with its page, at a speed; both listen once the constructor returns."""

    def __init__(self, *arguments, speed=2):
        super().__init__("--http", str(PAGE_PORT), "--speed", str(speed), *arguments)
        deadline = time.monotonic() + DEADLINE_SECONDS
        while True:
            with contextlib.suppress(OSError), visit():
                return
            if time.monotonic() > deadline:
                raise AssertionError("the page is not served")
            time.sleep(0.01)  # the service's port is listened on before


class Page(AttackTest):
    def disengages(self, simulator, deadline):
        """How long commands take until the deadline, each on a connection of its own, and not counting
        the time for which the simulator waited for other programs."""
        waits = []
        while time.monotonic() < deadline:
            start, before = time.monotonic(), simulator.held_up_seconds()
            with visit() as link:
                link.sendall(posted("DisengageSteering", 1))
                answer = read_all(link)
            waits.append(time.monotonic() - start - (simulator.held_up_seconds() - before))
            self.assertIn(b'{"reasons":[],"result":1}', answer)
            time.sleep(0.05)  # as a hand that presses the button
        return sorted(waits)

    def hold_out(self, *attacks):
        """What must hold under the attacks."""
        with PageUnderAttack() as simulator:
            threads = simulator.threads()
            with HonestClient(simulator) as honest, attackers(*attacks):
                time.sleep(0.5)  # until the attack is on
                waits = self.disengages(simulator, time.monotonic() + ATTACK_SECONDS)
                # One for what is large to destroy begins when it is first needed.
                self.assertLessEqual(simulator.threads(), threads + 1, "whoever comes")
            self.assertLess(waits[-1], COMMAND_SECONDS + honest.report.echo_waits[-1],
                            f"of {len(waits)} commands")
            self.assert_untroubled(honest.report)
            with attackers(*attacks):
                time.sleep(0.3)  # until it is on again
                self.assert_ends_in_time(simulator)

    def test_serves_beside_70_silent_connections(self):
        self.hold_out(silent_70)

    def test_serves_beside_900_silent_connections(self):
        self.hold_out(silent_1000)

    def test_serves_beside_requests_of_a_byte_at_a_time(self):
        self.hold_out(byte_at_a_time)

    def test_serves_beside_viewers_that_read_nothing(self):
        self.hold_out(stuck_viewers)

    def test_serves_beside_answers_that_nobody_reads(self):
        self.hold_out(unread_answers)

    def test_serves_beside_long_heads_and_bodies(self):
        self.hold_out(long_heads, long_bodies)

    def test_serves_beside_pipelines(self):
        self.hold_out(pipelines)

    def test_serves_beside_connections_half_closed_and_reset(self):
        self.hold_out(half_closed_and_reset)

    def test_serves_beside_a_flood_of_connections(self):
        self.hold_out(flood)


if __name__ == "__main__":
    unittest.main()
