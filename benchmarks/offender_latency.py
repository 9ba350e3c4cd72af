#!/usr/bin/env python3
"""Measures how long the simulator's other clients wait while somebody does what they must not.

usage: offender_latency.py [--results FILE] SIMULATOR [SECONDS]

For each offence, among them the attacks of tests/attacks/, runs a simulator that keeps its settings,
serves its page and writes into a pipe that nobody reads, the offenders in processes of their own, and
beside them the honest client of tests/attacks/attack.py with its echo server, for the given time.
Prints the 99.9th percentile and the longest of the waits for both, and how often events came. Exits
with 1 when a percentile is more than 20 ms above that of the echoes or events came less than 9.9 times
a second; with --results, writes rows of the table of scripts/benchmark instead. Needs ports 5010 and
8010 and python3-msgpack.
"""

import argparse
import json
import os
import resource
import select
import socket
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
import output_test as output  # noqa: E402
import page_test as page  # noqa: E402
import settings_test as settings  # noqa: E402
from attack import (HonestClient, Report, SimulatorUnderAttack, attackers,  # noqa: E402
                    connect)

LIMIT_MILLISECONDS = 20.0
EVENTS_A_SECOND = 9.9
SHARE = 0.999
EVENTS = ("cb_engage_status", "cb_guidance_status", "cb_offsets", "cb_wayline_status",
          "cb_implement_width_changed", "cb_tuning_parameter_changed", "cb_relative_position",
          "cb_draw_points")
REQUEST = msgpack.packb([0, 1, "GetImplementWidth", [1]])


def do_nothing():
    time.sleep(3600)


def stall():
    """Asks for much and takes none of it."""
    while True:
        link = connect()
        link.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
        try:
            while True:
                link.sendall(100 * REQUEST)
        except OSError:
            link.close()


def vanish():
    """Goes, with a reset, before its reply."""
    while True:
        link = connect()
        link.sendall(100 * REQUEST)
        link.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        link.close()


def flood():
    """Asks as fast as it is answered, megabytes at a time."""
    with connect() as link:
        link.setblocking(False)
        left = packet = 40000 * REQUEST
        while True:
            try:
                left = left[link.send(left):] or packet
            except BlockingIOError:
                pass
            try:
                link.recv(1 << 20)
            except BlockingIOError:
                time.sleep(0.001)  # no answer, no room: not this process is to be measured


def send_garbage():
    while True:
        link = connect()
        try:
            link.sendall(b"GET / HTTP/1.1\r\n\r\n")
            link.recv(4096)
        except OSError:
            pass
        link.close()


def send_halves():
    """Sends the largest message but for its end, over and over."""
    most = 512  # portions of 65536 bytes
    while True:
        link = connect()
        try:
            link.sendall(b"\x93\x02\xa1x\x91\xdb" + struct.pack(">I", most * 65536 - 64))
            for _ in range(most - 1):
                link.sendall(65536 * b"x")
        except OSError:
            pass  # closed by the simulator
        link.close()


def subscribe_to_all(count):
    """An offence of COUNT connections that are subscribed to every event and read them."""
    wishes = b"".join(msgpack.packb([2, "subscribe", [event]]) for event in EVENTS)

    def subscribe():
        waiting = select.epoll()
        links = {}
        for _ in range(count):
            link = connect()
            link.setblocking(False)
            link.sendall(wishes)
            links[link.fileno()] = link
            waiting.register(link, select.EPOLLIN)
        while True:
            for descriptor, _ in waiting.poll():
                if not os.read(descriptor, 65536):
                    raise AssertionError("a subscriber was dropped")
    return subscribe


def send_numbers():
    """The begin of a list that announces as many small numbers as a message may hold, over and over:
    as many as let the list move to its last room."""
    while True:
        link = connect()
        try:
            link.sendall(b"\x94\x00\x01\xa1x\xdd\x00\x40\x00\x00" + 133_000 * b"\x01")
            time.sleep(0.05)
        except OSError:
            pass
        link.close()


def connect_often():
    """A thousand connections at once, over and over."""
    while True:
        links = [connect() for _ in range(1000)]
        for link in links:
            link.sendall(REQUEST)
        for link in links:
            link.close()


OFFENCES = {
    "do nothing": (do_nothing,),
    "stall": (stall,),
    "vanish": (vanish,),
    "flood with requests": (flood,),
    "send garbage": (send_garbage,),
    "send half messages": (send_halves,),
    "begin lists of numbers": (send_numbers,),
    "subscribe 900 times to every event": (subscribe_to_all(900),),
    "connect often": (connect_often,),
    "cause warnings that nobody reads": (output.send_refused, output.send_refused_anew),
    "keep the same setting": (settings.keep_the_same,),
    "keep other settings": (settings.keep_others,),
    "follow 2 000 scattered points": (long_work.start_beside(2000),),
    "follow 100 000 scattered points": (long_work.start_beside(100000),),
    "change a line of 200 000 points": (long_work.change_all(200000),),
    "change lines of 10 000 points, eight at once":
        tuple(long_work.change_all(10000) for _ in range(8)),
    "leave lists of empty lists unfinished": (memory.unfinished("empty lists"),),
    "leave them in the middle": (memory.over_and_over("empty lists", 4_100_000),),
    "fall silent at the page": (page.silent_1000,),
    "view and read nothing": (page.stuck_viewers,),
    "ask for the history over and over": 3 * (page.history_of_many(300),),
    "come and go at the page": (page.flood,),
}


def measure(what, offenders, seconds):
    """The percentile of the waits above that of the echoes, in milliseconds, and events a second."""
    with tempfile.TemporaryDirectory() as folder, output.Pipe() as pipe, SimulatorUnderAttack(
            "--log-level", "debug", "--http", str(page.PAGE_PORT), "--start", "-300,500,0",
            "--state", f"{folder}/state.json", stdout=pipe.writing, stderr=pipe.writing):
        with HonestClient() as honest, attackers(*offenders):
            time.sleep(seconds)
    report = honest.report
    if report.failure:
        raise AssertionError(f"{what}: {report.failure}")
    wait, echo = (1000.0 * Report.percentile(waits, SHARE)
                  for waits in (report.service_waits, report.echo_waits))
    rate = len(report.event_gaps) / sum(report.event_gaps)
    print(f"{what:45} {len(report.service_waits):5} requests: 99.9th percentile {wait:6.2f} ms"
          f" (echo {echo:6.2f}), longest {1000.0 * report.service_waits[-1]:6.2f} ms"
          f" (echo {1000.0 * report.echo_waits[-1]:6.2f}); {rate:5.2f} events a second, longest gap"
          f" {1000.0 * report.event_gaps[-1]:4.0f} ms", flush=True)
    return wait - echo, rate


def row(what, unit, figure, sense, limit):
    reached = figure <= limit if sense == "at most" else figure >= limit
    return {"what": what, "unit": unit, "rounds": 1,
            "figure": {"median": figure, "lowest": figure, "highest": figure},
            "target": {sense: limit}, "reached": reached}


def rows_of(what, longer, rate):
    return [row(f"simulator, 99.9th percentile of a request beside clients that {what}",
                "ms more than an echo", longer, "at most", LIMIT_MILLISECONDS),
            row(f"simulator, events beside clients that {what}", "a second", rate, "at least",
                EVENTS_A_SECOND)]


def main():
    arguments = argparse.ArgumentParser()
    arguments.add_argument("--results")
    arguments.add_argument("simulator")
    arguments.add_argument("seconds", type=float, nargs="?", default=5.0)
    given = arguments.parse_args()
    os.environ["NAVIGATION_SIMULATOR"] = given.simulator
    resource.setrlimit(resource.RLIMIT_NOFILE, (4096, resource.getrlimit(resource.RLIMIT_NOFILE)[1]))
    rows = [row for what, offenders in OFFENCES.items()
            for row in rows_of(what, *measure(what, offenders, given.seconds))]
    if given.results:
        with open(given.results, "w", encoding="utf-8") as file:
            file.writelines(json.dumps(row) + "\n" for row in rows)
        return 0
    return 0 if all(row["reached"] for row in rows) else 1


if __name__ == "__main__":
    sys.exit(main())
