#!/usr/bin/env python3
"""Measures the longest piece of work of the simulator's loop: the processor time that it takes between
two looks at its connections.

usage: loop_pieces.py [--results FILE] [--quick] METER SIMULATOR

METER is the module loop_meter, which is loaded into the simulator. Sets, follows, moves, reads, replaces
and clears lines of up to 200 000 scattered points, with the machine 300 m aside; has 1000 clients
subscribe to every event while values change; has 1000 clients ask 63 times each at the same moment; sends
whole messages of millions of small values, also behind long work, and texts of 32 MiB; reads no replies of
megabytes; and leaves 1000 messages unfinished until their time is over.
Prints the longest piece of each. Exits with 1 when one is longer than 5 ms; with --results, writes rows of
the table of scripts/benchmark instead. --quick shows that it works. Needs port 5010 and python3-msgpack.
"""

import argparse
import contextlib
import json
import os
import resource
import signal
import struct
import sys
import tempfile
import time
from pathlib import Path

import msgpack

TESTS = Path(__file__).resolve().parent.parent / "tests"
sys.path += [str(TESTS / "attacks"), str(TESTS / "end_to_end")]

import long_work_test as long_work  # noqa: E402  after the path to it
import memory_test as memory  # noqa: E402
from attack import MEBIBYTE, SimulatorUnderAttack, attackers, connect  # noqa: E402
from offender_latency import row, subscribe_to_all  # noqa: E402

LIMIT_MILLISECONDS = 5.0
REQUESTS = 63
REQUEST = msgpack.packb([0, 1, "IsSteeringEngaged", []])
REPLY_BYTES = len(msgpack.packb([1, 1, None, 0]))
ROUNDS = 5


def change_lines(count):
    """Does with lines of COUNT scattered points whatever can be done with them."""
    def act(_simulator):
        caller = long_work.Caller()
        for call in (("set_wayline", *long_work.scattered(count)), ("StartNavigation", 1, 1),
                     ("EngageSteering", 1), ("Nudge", 1, 1, 0.01), ("get_wayline",),
                     ("SetImplementWidth", 1, 7.0), ("ReinitialiseNavigation", 1),
                     ("set_wayline", *long_work.scattered(count, 2)), ("StartNavigation", 1, 1),
                     ("StopNavigation", 1), ("clear_wayline",)):
            caller.call(*call)
            time.sleep(0.2)  # in which guidance runs, with the line as it is now
    return act


def change_values(count, seconds):
    """Has COUNT subscribers hear of a line that is shifted and of a width that changes."""
    def act(_simulator):
        caller = long_work.Caller()
        caller.call("set_wayline", *long_work.field(1500))
        caller.call("StartNavigation", 1, 1)
        shift = long_work.repeat(("Nudge", 1, 1, 0.01), ("SetImplementWidth", 1, 5.0),
                                 ("SetImplementWidth", 1, 6.0))
        with attackers(subscribe_to_all(count), shift):
            time.sleep(seconds)
    return act


def ask_at_once(count):
    """Has COUNT clients ask while the simulator is stopped, so that all have when it goes on."""
    def act(simulator):
        links = [connect() for _ in range(count)]
        for _ in range(ROUNDS):
            simulator.process.send_signal(signal.SIGSTOP)
            for link in links:
                link.sendall(REQUESTS * REQUEST)
            simulator.process.send_signal(signal.SIGCONT)
            for link in links:
                left = REQUESTS * REPLY_BYTES
                while left > 0:
                    left -= len(link.recv(left))
        for link in links:
            link.close()
    return act


def send_long_texts(seconds):
    """Has clients send texts that are too long, as long as may be, and as many as become too long."""
    begin = memory.HEAD + memory.LIST
    texts = (begin + b"\xdb\xff\xff\xff\xff" + 33 * MEBIBYTE * b"x",
             begin + b"\xdb" + memory.LARGEST + 33 * MEBIBYTE * b"x",
             begin + (b"\xdb" + struct.pack(">I", 8 * MEBIBYTE) + 8 * MEBIBYTE * b"x") * 4)

    def act(_simulator):
        with attackers(*map(memory.ask, texts)):
            time.sleep(seconds)
    return act


def leave_unfinished(count):
    """Has COUNT clients with subscriptions begin a message, and waits until the simulator has ended all."""
    wishes = b"".join(msgpack.packb([2, "subscribe", [f"{number:0250}"]]) for number in range(300))

    def act(_simulator):
        links = [connect() for _ in range(count)]
        for link in links:
            link.sendall(wishes + memory.HEAD)
        for link in links:
            link.settimeout(60)  # half a minute until they end, and a machine at work
            with contextlib.suppress(ConnectionResetError):
                link.recv(1)
            link.close()
    return act


def send_small_values(seconds):
    """Has clients send whole messages of small values, each of which is freed when it has been refused."""
    def act(_simulator):
        with attackers(*map(memory.ask, memory.WHOLE)):
            time.sleep(seconds)
    return act


def send_behind_long_work(seconds):
    """Has clients send such messages while their first request takes long."""
    long = msgpack.packb([0, 1, "calculate_headings",
                          [long_work.field(20000, x=3.0 * line) for line in range(10)]])
    small = msgpack.packb([2, "x", [{"": 0}] * 50000])

    def send():
        while True:
            with connect() as link:
                memory.pour(link, long + 100 * small)

    def act(_simulator):
        with attackers(*[send] * 6):
            time.sleep(seconds)
    return act


def read_no_lines(count, seconds):
    """Has 60 clients ask for a line of COUNT points and read nothing."""
    def ask():
        links = [connect() for _ in range(60)]
        request = msgpack.packb([0, 1, "get_wayline", []])
        while True:
            for link in links:
                memory.pour(link, request)
            time.sleep(0.02)  # the attack's pace

    def act(_simulator):
        long_work.Caller().call("set_wayline", *long_work.field(count))
        with attackers(ask):
            time.sleep(seconds)
    return act


def longest_piece(meter, act):
    """The longest piece while ACT is under way, in milliseconds; 0 where none is worth a line."""
    with tempfile.TemporaryDirectory() as folder:
        pieces = Path(folder, "pieces")
        environment = dict(os.environ, LD_PRELOAD=meter, LOOP_PIECES=str(pieces))
        with SimulatorUnderAttack("--start", "-300,500,0", "--speed", "5",
                                  env=environment) as simulator:
            # What the start takes is nobody's wait.
            begin = pieces.stat().st_size if pieces.exists() else 0
            act(simulator)
            simulator.process.send_signal(signal.SIGSTOP)
            text = pieces.read_text(encoding="ascii")[begin:] if pieces.exists() else ""
            simulator.process.send_signal(signal.SIGCONT)
        return max(map(float, text.split()), default=0.0)


def main():
    arguments = argparse.ArgumentParser()
    arguments.add_argument("--results")
    arguments.add_argument("--quick", action="store_true")
    arguments.add_argument("meter")
    arguments.add_argument("simulator")
    given = arguments.parse_args()
    os.environ["NAVIGATION_SIMULATOR"] = given.simulator
    resource.setrlimit(resource.RLIMIT_NOFILE, (4096, resource.getrlimit(resource.RLIMIT_NOFILE)[1]))
    many, seconds = (50, 0.5) if given.quick else (1000, 5.0)
    acts = {f"lines of {count} scattered points": change_lines(count)
            for count in ((2000,) if given.quick else (2000, 20000, 100000, 200000))}
    acts[f"{many} subscribers to every event"] = change_values(many, seconds)
    acts[f"{many} clients that ask at once"] = ask_at_once(many)
    acts["texts of 32 MiB"] = send_long_texts(seconds)
    acts["messages of a million small values"] = send_small_values(seconds)
    acts["small values behind long work"] = send_behind_long_work(seconds)
    acts["lines that nobody reads"] = read_no_lines(2000 if given.quick else 199000, seconds)
    if not given.quick:  # takes half a minute, however few they are
        acts[f"{many} unfinished messages that end"] = leave_unfinished(many)
    rows = []
    for what, act in acts.items():
        figure = longest_piece(given.meter, act)
        print(f"{what:45} longest piece {figure:5.2f} ms", flush=True)
        rows.append(row(f"simulator, longest piece of its loop, {what}", "ms", figure, "at most",
                        LIMIT_MILLISECONDS))
    if given.results:
        with open(given.results, "w", encoding="utf-8") as file:
            file.writelines(json.dumps(row) + "\n" for row in rows)
        return 0
    return 0 if all(row["reached"] for row in rows) else 1


if __name__ == "__main__":
    sys.exit(main())
