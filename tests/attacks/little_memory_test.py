"""A machine with little memory: clients that have the service hold as much as they can get none of what it
needs itself. It serves the others, and ends by a signal alone."""

import contextlib
import resource
import threading
import time
import unittest

import msgpack

from attack import (IS_SANITIZED, MEBIBYTE, AttackTest, HonestClient, SimulatorUnderAttack, attackers,
                    connect)
from long_work_test import Caller, field
from memory_test import BODIES, HOST, command, come_only, endless, over_and_over, pour
from page_test import PAGE_PORT, visit

ATTACK_SECONDS = 1.0
LINE_SECONDS = 5.0
POINTS = 190_000
UNFINISHED = ("empty lists", "doubles", "texts of 16 bytes", "empty keys", "the largest text")


def with_memory(mebibytes, *options):
    """A simulator that may have so much address space."""
    limit = mebibytes * MEBIBYTE
    return SimulatorUnderAttack(
        *options, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit)))


def unfinished_forever(name):
    """An attack: sixty connections that each hold a part of a message, and come again when they are
    thrown out."""
    def attack():
        data = endless(name, 4_100_000)

        def hold():
            while True:
                with contextlib.suppress(OSError), connect() as link:
                    pour(link, data)
                    link.recv(1)

        holders = [threading.Thread(target=hold, daemon=True) for _ in range(60)]
        for holder in holders:
            holder.start()
        holders[0].join()
    return attack


def set_long_line_again():
    """Sets a line of nearly the most points, for as long as it is refused for want of memory, or thrown out."""
    while True:
        with contextlib.suppress(OSError, AssertionError):
            caller = Caller()
            if caller.call("set_wayline", *field(POINTS)) == 1:
                return


def unread_lines():
    """An attack: a line of nearly the most points, which a hundred ask for again and again and do not read."""
    set_long_line_again()
    request = 20 * msgpack.packb([0, 1, "get_wayline", []])
    links = {}
    while True:
        for number in range(100):
            try:
                if number not in links:
                    links[number] = connect()
                    links[number].setblocking(False)
                links[number].send(request)
            except BlockingIOError:
                pass
            except OSError:
                links.pop(number, None)
        time.sleep(0.05)  # the attack's pace


def unfinished_commands():
    """An attack: connections to the page that hold nearly the whole of a long body."""
    links = []
    while True:
        with contextlib.suppress(OSError):
            links.append(visit())
            links[-1].sendall(f"POST /command HTTP/1.1\r\n{HOST}Content-Type: application/json\r\n"
                              "Content-Length: 4000000\r\n\r\n".encode() + b" " * 3_900_000)
        if len(links) > 60:
            links.pop(0).close()


# A sanitizer reserves more address space than there is.
@unittest.skipIf(IS_SANITIZED, "the limit is one of address space")
class LittleMemory(AttackTest):
    def check(self, mebibytes, attack, *options, seconds=ATTACK_SECONDS):
        with with_memory(mebibytes, *options) as simulator:
            with HonestClient() as honest, attackers(attack):
                threading.Event().wait(seconds)
            self.assertIsNone(simulator.process.poll(), simulator.errors())
            self.assert_untroubled(honest.report)
            self.assert_ends_in_time(simulator)

    def test_of_the_service_stays_with_it(self):
        for name in UNFINISHED:
            with self.subTest(name):
                self.check(160, unfinished_forever(name))

    def test_of_much_or_little_of_it_stays_with_it(self):
        for mebibytes in (96, 128, 256, 400):
            with self.subTest(mebibytes):
                self.check(mebibytes, unfinished_forever("texts of 16 bytes"))

    def test_is_not_taken_by_those_who_leave_or_only_come(self):
        for attack in (over_and_over("empty lists", 4_100_000), come_only):
            with self.subTest(attack.__qualname__):
                self.check(128, attack)

    def test_is_not_taken_by_long_lines_that_nobody_reads(self):
        for mebibytes in (96, 160, 256):
            with self.subTest(mebibytes), with_memory(mebibytes) as simulator:
                with attackers(unread_lines):
                    threading.Event().wait(LINE_SECONDS)
                self.assertIsNone(simulator.process.poll(), simulator.errors())
                with HonestClient() as honest:
                    threading.Event().wait(ATTACK_SECONDS)
                self.assert_untroubled(honest.report)
                self.assert_ends_in_time(simulator)

    def test_of_the_page_stays_with_it(self):
        # Long commands are read into many times their size, four at once.
        for mebibytes, attack in ((200, unfinished_commands), (512, command(*BODIES.values()))):
            with self.subTest(attack.__qualname__):
                self.check(mebibytes, attack, "--http", str(PAGE_PORT))


if __name__ == "__main__":
    unittest.main()
