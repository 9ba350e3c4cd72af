"""Clients that have the service hold as much as they can: unfinished messages of every kind, replies and
events that nobody reads, connections that only come, commands of the live page. It holds a bounded amount, serves the others
meanwhile, and has given the memory back ten seconds later."""

import contextlib
import itertools
import select
import struct
import threading
import time
import unittest

import msgpack

from attack import MEBIBYTE, AttackTest, HonestClient, SimulatorUnderAttack, attackers, connect, lasting
from navigation_service import DEADLINE_SECONDS
from page_test import HOST, PAGE_PORT, read_all, visit

ATTACK_SECONDS = lasting(3.0)
BACK_SECONDS = 10.0
# What all connections together may hold, up to a quarter of it that the allocator adds by rounding
# blocks up, and what has just been freed.
MOST_HELD = 320 * MEBIBYTE + 64 * MEBIBYTE
MOST_KEPT = 32 * MEBIBYTE
MOST_ELEMENTS = 4_194_304

HEAD = b"\x93" + msgpack.packb(2) + msgpack.packb("n")
LIST = b"\xdd" + struct.pack(">I", MOST_ELEMENTS)
LARGEST = struct.pack(">I", 32 * MEBIBYTE - 64)  # that a text may announce
DICTIONARY = b"\x91\xdf" + struct.pack(">I", MOST_ELEMENTS - 1)

# How a message goes on without end, after a head.
ENDLESS = {
    "empty lists": (LIST, b"\x90"),
    "empty dictionaries": (LIST, b"\x80"),
    "empty texts": (LIST, b"\xa0"),
    "empty bytes": (LIST, b"\xc4\x00"),
    "nothing": (LIST, b"\xc0"),
    "small numbers": (LIST, b"\x07"),
    "doubles": (LIST, msgpack.packb(0.5)),
    "lists in lists": (LIST, b"\x91\x91\x91\x90"),
    "lists in the depth": (b"\x91" * 60 + LIST[:1] + struct.pack(">I", MOST_ELEMENTS - 100), b"\x90"),
    "empty keys": (DICTIONARY, b"\xa0\xc0"),
    "empty keys and lists": (DICTIONARY, b"\xa0\x90"),
    "dictionaries of an empty key": (LIST, b"\x81\xa0\xc0"),
    "texts of 16 bytes": (LIST, msgpack.packb("x" * 16)),
    "the largest text": (b"\x91\xdb" + LARGEST, b"x"),
    "the largest key": (b"\x91\x81\xdb" + LARGEST, b"x"),
    # The largest blocks of the allocator's, of what such texts count.
    "texts of 4097 bytes": (LIST, msgpack.packb("x" * 4097)),
    "big and small": (LIST, msgpack.packb("x" * 3000) + b"\x90" * 1000),
}


# Whole messages of small values, each of which is served, refused and freed.
WHOLE = [msgpack.packb([0, 1, "x", arguments]) for arguments in (
    [{"": 0}] * 600_000, [[0]] * 1_000_000, [[[[0]]]] * 400_000, ["abcdefghijklmnopqrst"] * 700_000)]

# Commands of the live page, and what is not one, of the most values of each kind.
COMMAND = b'{"operation":"Nudge","arguments":'
BODIES = {
    "lists in lists": COMMAND + b"[" * 2_000_000,
    "texts": COMMAND + b"[" + b'"x",' * 990_000 + b'"x"]}',
    "texts that are no command": b"[" + b'"x",' * 990_000 + b'"x"]',
    "empty lists": b'{"operation":"calculate_headings","arguments":[' + b"[]," * 90_000 + b"[6]]}",
    "lines": (b'{"operation":"calculate_headings","arguments":[' + b"[0,0,0,0,0,1,0]," * 60_000 + b"[6]]}"),
    "members": b"{" + b",".join(b'"%d":0' % number for number in range(300_000)) + b"}",
    "members in members": b'{"a":' * 400_000,
    "numbers": b'{"operation":"set_wayline","arguments":[' + b"1e5," * 900_000 + b"1]}",
    "an escaped text": b'"' + b"\\u0041" * 650_000 + b'"',
}


def pour(link, data):
    """Sends as much as the service takes."""
    with contextlib.suppress(OSError):
        link.sendall(data)


def endless(name, size):
    """The first SIZE bytes of a message without end."""
    head, unit = ENDLESS[name]
    return HEAD + head + unit * (size // len(unit))


def unfinished(*names, size=4_100_000, connections=4):
    """An attack: CONNECTIONS that each send SIZE bytes of an unfinished message, and then are silent."""
    def attack():
        links = [connect() for _ in range(connections)]
        senders = [threading.Thread(target=pour, args=(link, endless(name, size)))
                   for link, name in zip(links, itertools.cycle(names))]
        for sender in senders:
            sender.start()
        for sender in senders:
            sender.join()
        threading.Event().wait()
    return attack


def over_and_over(name, size):
    """An attack: a connection that leaves in the middle of its message, and the next, without end."""
    def attack():
        data = endless(name, size)
        while True:
            with contextlib.suppress(OSError), connect() as link:
                pour(link, data)
    return attack


def ask(message):
    """An attack: a connection that sends a whole message and waits for the answer, and the next."""
    def attack():
        while True:
            with contextlib.suppress(OSError), connect() as link:
                pour(link, message)
                link.recv(1)
    return attack


def command(*bodies):
    """An attack: commands of the live page, one after the other, without end."""
    def attack():
        for body in itertools.cycle(bodies):
            head = (f"POST /command HTTP/1.1\r\n{HOST}Content-Type: application/json\r\n"
                    f"Content-Length: {len(body)}\r\n\r\n")
            with contextlib.suppress(OSError), visit() as link:
                link.sendall(head.encode() + body)
                read_all(link)
    return attack


def trickle():
    """An attack: many connections whose messages grow by little at a time."""
    links = [connect() for _ in range(200)]
    for link in links:
        pour(link, HEAD + LIST)
    while True:
        for link in links:
            pour(link, b"\x90" * 4096)


def come_only():
    """An attack: connections that send nothing."""
    links = []
    while True:
        try:
            links.append(connect())
        except OSError:
            threading.Event().wait(0.1)


def read_no_replies():
    """An attack: requests whose replies nobody reads."""
    requests = msgpack.packb([0, 1, "GetCurrentPosition", []]) * 2000
    links = [connect() for _ in range(20)]
    for link in links:
        link.setblocking(False)
    while links:
        _, writable, _ = select.select([], links, [])
        for link in writable:
            try:
                link.send(requests)
            except OSError:
                links.remove(link)
    threading.Event().wait()


def subscribe_without_end():
    """An attack: connections that subscribe to as much as they may, by the longest names."""
    links = [connect() for _ in range(100)]
    for link in links:
        for number in range(1000):
            pour(link, msgpack.packb([2, "subscribe", [f"{number:0256}"]]))
    threading.Event().wait()


class Memory(AttackTest):
    """Each attack on a simulator of its own."""

    def check(self, *attacks, arguments=()):
        with SimulatorUnderAttack(*arguments) as simulator:
            with HonestClient():
                time.sleep(0.5)  # warm: what every client costs once does not count
            before = simulator.resident_bytes()
            most = before
            with HonestClient() as honest:
                with attackers(*attacks):
                    end = time.monotonic() + ATTACK_SECONDS
                    while time.monotonic() < end:
                        most = max(most, simulator.resident_bytes())
                        time.sleep(0.02)  # between two looks
                # The freeing is part of the attack.
                end = time.monotonic() + BACK_SECONDS
                while time.monotonic() < end and (
                        simulator.resident_bytes() > before + MOST_KEPT):
                    time.sleep(0.05)  # between two looks
            kept = simulator.resident_bytes()
            print(f"held {(most - before) / MEBIBYTE:.0f} MiB, kept {(kept - before) / MEBIBYTE:.1f}; "
                  f"{len(honest.report.service_waits)} waits, "
                  f"99.9 %: {honest.report.percentile(honest.report.service_waits, 0.999) * 1e3:.1f} ms, "
                  f"echo {honest.report.percentile(honest.report.echo_waits, 0.999) * 1e3:.1f} ms")
            self.assert_within(most, before + MOST_HELD)
            self.assert_within(kept, before + MOST_KEPT)
            self.assert_untroubled(honest.report)
            self.assert_ends_in_time(simulator)

    def test_of_four_unfinished_lists_of_empty_lists(self):
        self.check(unfinished("empty lists"))

    def test_of_unfinished_messages_of_every_kind(self):
        self.check(unfinished(*ENDLESS, connections=2 * len(ENDLESS)))

    def test_of_unfinished_messages_as_large_as_may_be(self):
        self.check(unfinished("the largest text", "doubles", "texts of 16 bytes",
                              size=31 * MEBIBYTE, connections=9))

    def test_of_texts_whose_blocks_are_a_quarter_larger(self):
        with SimulatorUnderAttack() as simulator:
            most = before = simulator.resident_bytes()
            with attackers(unfinished("texts of 4097 bytes", size=31 * MEBIBYTE, connections=12)):
                deadline = time.monotonic() + DEADLINE_SECONDS
                while "holds the most" not in simulator.errors():
                    most = max(most, simulator.resident_bytes())
                    self.assertLess(time.monotonic(), deadline)
                    time.sleep(0.02)  # between two looks
                most = max(most, simulator.resident_bytes())
            print(f"held {(most - before) / MEBIBYTE:.0f} MiB")
            self.assert_within(most, before + MOST_HELD)

    def test_of_clients_that_leave_in_the_middle(self):
        self.check(over_and_over("empty lists", 1_000_000),
                   over_and_over("the largest text", 20 * MEBIBYTE),
                   over_and_over("empty keys and lists", 300_000))

    def test_of_whole_messages_of_small_values(self):
        self.check(*map(ask, WHOLE))

    def test_of_commands_of_the_page(self):
        for name, body in BODIES.items():
            with self.subTest(name):
                self.check(*[command(body)] * 3, arguments=("--http", str(PAGE_PORT)))

    def test_of_commands_of_the_page_of_every_kind(self):
        self.check(*[command(*BODIES.values())] * 3, arguments=("--http", str(PAGE_PORT)))

    def test_of_many_connections_that_trickle(self):
        self.check(trickle)

    def test_of_connections_that_send_nothing(self):
        self.check(come_only)

    def test_of_replies_that_nobody_reads(self):
        self.check(read_no_replies)

    def test_of_subscriptions_without_end(self):
        self.check(subscribe_without_end)

    def test_ends_in_time_with_much_to_destroy(self):
        with SimulatorUnderAttack() as simulator:
            before = simulator.resident_bytes()
            with attackers(unfinished("doubles", size=31 * MEBIBYTE, connections=3)):
                deadline = time.monotonic() + DEADLINE_SECONDS
                while simulator.resident_bytes() < before + 120 * MEBIBYTE:
                    self.assertLess(time.monotonic(), deadline)
                    time.sleep(0.02)  # between two looks
                self.assert_ends_in_time(simulator)


if __name__ == "__main__":
    unittest.main()
