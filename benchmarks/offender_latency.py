#!/usr/bin/env python3
"""Measures how long the simulator's other clients wait while one of them does what it must not.

usage: offender_latency.py [--results FILE] SIMULATOR [SECONDS]

For each offence, runs offenders in a process of their own and sends requests beside them, 500 a
second, for the given time. Prints the median, the 99th percentile and the longest wait. Exits with 1
when a 99th percentile is 50 ms or more; with --results, writes the 99th percentiles as rows of the table
of scripts/benchmark instead. Needs port 5010 and python3-msgpack.
"""

import argparse
import json
import math
import multiprocessing
import socket
import struct
import subprocess
import sys
import time

import msgpack

PORT = 5010
PACE_SECONDS = 0.002
LIMIT_MILLISECONDS = 50.0
REQUEST = msgpack.packb([0, 1, "GetImplementWidth", [1]])


def connect():
    return socket.create_connection(("127.0.0.1", PORT))


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
    """Sends ever more of a large message that never ends."""
    while True:
        link = connect()
        try:
            link.sendall(b"\x93\x02\xa1x\x91\xdb\xff\xff\xff\xff")
            while True:
                link.sendall(65536 * b"x")
        except OSError:
            link.close()


def ask_for_long_work():
    """Sets a line of the most points and moves it, over and over."""
    numbers = []
    for place in range(200000):
        numbers += [30.0 * math.sin(place / 200.0), 0.5 * place, 0.0]
    packet = b"".join(msgpack.packb([0, 1, name, arguments]) for name, arguments in (
        ("set_wayline", [4, 200000, *numbers]), ("StartNavigation", [1, 1]),
        ("Nudge", [1, 1, 0.01]), ("SetCurveFilterSize", [1, 31]), ("clear_wayline", [])))
    with connect() as link:
        while True:
            link.sendall(packet)
            link.recv(4096)


def connect_often():
    """A thousand connections at once, over and over."""
    while True:
        links = [connect() for _ in range(1000)]
        for link in links:
            link.sendall(REQUEST)
        for link in links:
            link.close()


def waits(seconds):
    """How long each of the requests of a well-behaved client took, in milliseconds, sorted."""
    times = []
    with connect() as link:
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            start = time.monotonic()
            link.sendall(REQUEST)
            link.recv(4096)
            times.append(1000.0 * (time.monotonic() - start))
            time.sleep(PACE_SECONDS)
    return sorted(times)


def measure(offence, seconds):
    offender = multiprocessing.Process(target=offence, daemon=True)
    offender.start()
    try:
        times = waits(seconds)
    finally:
        offender.terminate()
        offender.join()
    percentile = times[len(times) * 99 // 100]
    print(f"{offence.__name__:14} {len(times):6} requests: median {times[len(times) // 2]:6.2f} ms,"
          f" 99th percentile {percentile:6.2f} ms, longest {times[-1]:6.2f} ms", flush=True)
    return percentile


def row_of(offence, percentile):
    name = offence.__name__.replace("_", " ")
    return {"what": f"simulator, 99th percentile of a request beside clients that {name}", "unit": "ms",
            "rounds": 1, "figure": {"median": percentile, "lowest": percentile, "highest": percentile},
            "target": {"at most": LIMIT_MILLISECONDS}, "reached": percentile < LIMIT_MILLISECONDS}


def main():
    arguments = argparse.ArgumentParser()
    arguments.add_argument("--results")
    arguments.add_argument("simulator")
    arguments.add_argument("seconds", type=float, nargs="?", default=5.0)
    given = arguments.parse_args()
    with subprocess.Popen(["prlimit", "--nofile=4096", given.simulator, "--log-level", "error"],
                          stdout=subprocess.PIPE) as simulator:
        try:
            simulator.stdout.readline()
            percentiles = {offence: measure(offence, given.seconds) for offence in (
                do_nothing, stall, vanish, send_garbage, send_halves, ask_for_long_work,
                connect_often)}
        finally:
            simulator.terminate()
    if given.results:
        with open(given.results, "w", encoding="utf-8") as file:
            file.writelines(json.dumps(row_of(*item)) + "\n" for item in percentiles.items())
        return 0
    return 0 if max(percentiles.values()) < LIMIT_MILLISECONDS else 1


if __name__ == "__main__":
    sys.exit(main())
