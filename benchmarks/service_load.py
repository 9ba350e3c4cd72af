#!/usr/bin/env python3
"""Measures what the simulator costs while many clients are subscribed to everything.

usage: service_load.py [--results FILE] [--seconds SECONDS] SIMULATOR CLIENTS...

For each number of clients, which is two at least: starts the simulator, engages it on a line,
subscribes every client to all eight events, changes settings ten times a second, reads what arrives,
and prints the processor time that the simulator took a second, and the events a second and client.
Five kinds of event come ten times a second; the states of engagement, line and tuning stand still. One
of the clients never reads. With --results, measures once a second and writes the figures as rows of the
table of scripts/benchmark. Needs port 5010 and python3-msgpack.
"""

import argparse
import json
import selectors
import socket
import subprocess
import sys
import time
from pathlib import Path

import msgpack

PORT = 5010
LIMIT_PERCENT = 10.0
LIMITED_CLIENTS = 64
CHANGE_SECONDS = 0.1
EVENTS = ("cb_engage_status", "cb_guidance_status", "cb_offsets", "cb_wayline_status",
          "cb_implement_width_changed", "cb_tuning_parameter_changed", "cb_relative_position",
          "cb_draw_points")


def connect():
    return socket.create_connection(("127.0.0.1", PORT))


def request(link, name, *arguments):
    link.sendall(msgpack.packb([0, 1, name, list(arguments)]))
    return msgpack.unpackb(link.recv(65536))[3]


def engage(link):
    request(link, "set_wayline", 0, 0.0, 0.0, 0.0, 0.0, 100.0, 0.0)
    request(link, "StartNavigation", 1, 1)
    return request(link, "EngageSteering", 1)


def subscribe(link):
    link.sendall(b"".join(msgpack.packb([2, "subscribe", [event]]) for event in EVENTS))


def change_settings(link, step):
    """Changes what events report, so that they are sent at the pace of the guidance."""
    request(link, "SetImplementWidth", 1, 3.0 + 0.01 * (step % 2))
    request(link, "SetFieldOffset", 1, 0.05 * (step % 2))


def processor_seconds(process):
    """What all threads of a process have taken, in nanosecond steps."""
    total = 0
    for schedule in Path(f"/proc/{process}/task").glob("*/schedstat"):
        total += int(schedule.read_text(encoding="ascii").split()[0])
    return 1e-9 * total


def read_for(seconds, links, operator):
    """Reads and drops what arrives while settings change, and gives what the first link received."""
    first = bytearray()
    with selectors.DefaultSelector() as selector:
        for link in links:
            selector.register(link, selectors.EVENT_READ)
        start = change = time.monotonic()
        while time.monotonic() < start + seconds:
            if time.monotonic() >= change:
                change_settings(operator, round((change - start) / CHANGE_SECONDS))
                change += CHANGE_SECONDS
            for key, _ in selector.select(max(0.0, change - time.monotonic())):
                data = key.fileobj.recv(65536)
                if key.fileobj is links[0]:
                    first += data
    return bytes(first)


def count_messages(data):
    unpacker = msgpack.Unpacker()
    unpacker.feed(data)
    return sum(1 for _ in unpacker)


def measure(simulator, clients, seconds):
    """The share of a core, second by second, and how many events a client got a second."""
    operator = connect()
    engaged = engage(operator)
    links = [connect() for _ in range(clients)]
    for link in links:
        subscribe(link)
    readers = links[:-1]
    read_for(1.0, readers, operator)
    shares, received = [], 0
    for _ in range(max(1, round(seconds))):
        before, started = processor_seconds(simulator.pid), time.monotonic()
        received += count_messages(read_for(1.0, readers, operator))
        shares.append((processor_seconds(simulator.pid) - before) / (time.monotonic() - started))
    return engaged, shares, received / len(shares)


def row_of(clients, shares, rate):
    percent = sorted(100.0 * share for share in shares)
    median = percent[len(percent) // 2]
    row = {"what": f"simulator, {clients} clients with all events ({rate:.0f} events a second each)",
           "unit": "% of a core", "rounds": len(percent),
           "figure": {"median": median, "lowest": percent[0], "highest": percent[-1]}}
    if clients == LIMITED_CLIENTS:
        row.update({"target": {"at most": LIMIT_PERCENT}, "reached": median <= LIMIT_PERCENT})
    return row


def run(simulator_path, clients, seconds):
    with subprocess.Popen([simulator_path, "--speed", "2"], stdout=subprocess.PIPE) as simulator:
        try:
            simulator.stdout.readline()
            engaged, shares, rate = measure(simulator, clients, seconds)
        finally:
            simulator.terminate()
    print(f"{clients} clients, engaged {engaged}: {100.0 * sum(shares) / len(shares):.1f} % of one "
          f"core, {rate:.1f} events a second and client", flush=True)
    return row_of(clients, shares, rate)


def main():
    arguments = argparse.ArgumentParser()
    arguments.add_argument("--results")
    arguments.add_argument("--seconds", type=float, default=10.0)
    arguments.add_argument("simulator")
    arguments.add_argument("clients", type=int, nargs="+")
    given = arguments.parse_args()
    rows = [run(given.simulator, max(2, clients), given.seconds) for clients in given.clients]
    if given.results:
        with open(given.results, "w", encoding="utf-8") as file:
            file.writelines(json.dumps(row) + "\n" for row in rows)


if __name__ == "__main__":
    main()
