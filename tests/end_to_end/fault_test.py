"""Clients that do what they must not: the offender is dropped and logged, the others are served,
and the program never spins."""

import os
import resource
import socket
import struct
import unittest

import msgpack

from navigation_service import PORT, Client, Service, Simulator, program

GARBAGE = (
    b"GET / HTTP/1.1\r\nHost: localhost\r\n\r\n",
    b"\xc1",
    b"\x07",
    msgpack.packb({"method": "EngageSteering"}),
    msgpack.packb([3, 1, "EngageSteering", [1]]),
    msgpack.packb([1, 1, None, 7]),
    msgpack.packb([0, "one", "EngageSteering", [1]]),
    msgpack.packb([2, "reset_integral", [msgpack.ExtType(5, b"x")]]),
    msgpack.packb([2, "reset_integral", []])[:-1] + 65 * b"\x91",
    b"\x93\x02\xa1x\xdd\xff\xff\xff\xff",
)


def raw_client():
    """A connection that does as it likes."""
    return socket.create_connection(("127.0.0.1", PORT), timeout=20)


def reset(client):
    """Ends a connection with a reset, as a process does that is killed with bytes unread."""
    client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    client.close()


def processor_seconds(simulator):
    """The processor time that a running simulator has used."""
    with open(f"/proc/{simulator.process.pid}/stat", encoding="ascii") as file:
        fields = file.read().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


class Faults(unittest.TestCase):
    def assert_idle(self, simulator, client):
        """Watches the program for a second: ten positions, at ten a second."""
        client.notify("subscribe", "cb_relative_position")
        client.event("cb_relative_position")
        before = processor_seconds(simulator)
        for _ in range(10):
            client.event("cb_relative_position")
        self.assertLess(processor_seconds(simulator) - before, 0.3)

    def test_drops_and_logs_a_client_that_sends_garbage(self):
        with Simulator() as simulator, Client() as good:
            for garbage in GARBAGE:
                with self.subTest(garbage[:20]), raw_client() as bad:
                    bad.sendall(garbage)
                    self.assertEqual(b"", bad.recv(4096))
                    self.assertEqual(0, good.request("IsSteeringEngaged"))
            self.assert_idle(simulator, good)
            simulator.end()
            lines = simulator.errors().splitlines()
        self.assertEqual(len(GARBAGE), len(lines), lines)
        for line in lines:
            self.assertRegex(line, r"client \d+ is dropped: no message: ")

    def test_goes_on_when_clients_vanish_before_their_reply(self):
        with Simulator() as simulator, Client() as good:
            for _ in range(100):
                gone = raw_client()
                gone.sendall(b"".join(msgpack.packb([0, number, "GetImplementWidth", [1]])
                                      for number in range(100)))
                reset(gone)
            self.assertEqual(0, good.request("IsSteeringEngaged"))
            self.assert_idle(simulator, good)
            self.assertEqual(0, simulator.end())
            self.assertEqual("", simulator.errors())

    def test_serves_the_others_while_half_messages_wait(self):
        request = msgpack.packb([0, 7, "IsSteeringEngaged", []])
        with Simulator() as simulator, Client() as good:
            halves = [raw_client() for _ in range(100)]
            for index, half in enumerate(halves):
                half.sendall(request[:1 + index % (len(request) - 1)])
            self.assertEqual(0, good.request("IsSteeringEngaged"))
            self.assert_idle(simulator, good)
            for index, half in enumerate(halves[:50]):
                half.sendall(request[1 + index % (len(request) - 1):])
                self.assertEqual([1, 7, None, 0], msgpack.unpackb(half.recv(4096)))
            for half in halves:
                reset(half)
            self.assertEqual(0, good.request("IsSteeringEngaged"))

    def test_serves_the_others_while_a_client_takes_no_replies(self):
        with Simulator() as simulator, Client() as good, raw_client() as deaf:
            deaf.settimeout(120)
            with self.assertRaises(OSError):
                while True:
                    deaf.sendall(10000 * msgpack.packb([0, 1, "wrong", []]))
                    self.assertEqual(0, good.request("IsSteeringEngaged"))
            self.assert_idle(simulator, good)
            simulator.end()
            self.assertRegex(simulator.errors(), r"client \d+ is dropped: too much is waiting")

    def test_serves_a_thousand_clients_at_once(self):
        soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
        resource.setrlimit(resource.RLIMIT_NOFILE, (min(hard, 4096), hard))
        self.addCleanup(resource.setrlimit, resource.RLIMIT_NOFILE, (soft, hard))
        with Simulator() as simulator:
            clients = [Client() for _ in range(1000)]
            for client in clients:
                client.send(msgpack.packb([0, 1, "GetImplementWidth", [1]]))
            for client in clients:
                self.assertEqual([1, 1, None, 3.0], client.receive())
            self.assert_idle(simulator, clients[0])
            for client in clients:
                client.socket.close()
            with Client() as late:
                self.assertEqual(0, late.request("IsSteeringEngaged"))
            self.assertEqual(0, simulator.end())

    def test_makes_room_when_no_descriptor_is_left(self):
        with Service("prlimit", "--nofile=64", program()) as simulator, Client() as first:
            self.assertEqual(0, first.request("IsSteeringEngaged"))
            clients = [raw_client() for _ in range(100)]
            with Client() as late:
                self.assertEqual(0, late.request("IsSteeringEngaged"))
                self.assert_idle(simulator, first)
            for client in clients:
                client.close()
            self.assertEqual(0, first.request("IsSteeringEngaged"))
            simulator.end()
            lines = simulator.errors().splitlines()
        self.assertTrue(lines)
        for line in lines:
            self.assertRegex(line, "is dropped: there are too many connections|left out")


if __name__ == "__main__":
    unittest.main()
