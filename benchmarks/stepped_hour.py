#!/usr/bin/env python3
"""Measures an hour of guidance in stepped time, over the link, in sixty advances.

usage: stepped_hour.py [--results FILE] [--rounds N] SIMULATOR

The machine of the default world follows a straight line. Prints, for no event subscribed and for every
one, the seconds until the client has the last reply and all events, and the processor time that the
simulator took: without events that is the hour in process and sixty requests. With --results, writes the
rows of the table of scripts/benchmark.
"""

import argparse
import json
import re
import socket
import statistics
import subprocess
import sys
import time

import msgpack

EVENTS = ("cb_engage_status", "cb_guidance_status", "cb_offsets", "cb_wayline_status",
          "cb_implement_width_changed", "cb_tuning_parameter_changed", "cb_relative_position",
          "cb_draw_points")
MOST_IN_PROCESS = 0.15
MOST_OVER_THE_LINK = 3.0


class Client:
    """Asks one request after the other and counts the events."""

    def __init__(self, port):
        self.link = socket.create_connection(("127.0.0.1", port))
        self.unpacker = msgpack.Unpacker()
        self.events = 0

    def ask(self, name, *arguments):
        """The reply to a request."""
        self.link.sendall(msgpack.packb([0, 1, name, arguments]))
        while True:
            for message in self.unpacker:
                if message[0] == 1:
                    if message[2] is not None:
                        raise RuntimeError(message[2])
                    return message[3]
                self.events += 1
            self.unpacker.feed(self.link.recv(1 << 16))


def processor_seconds(process):
    """What all threads of a process have taken."""
    return time.clock_gettime((~process.pid << 3) | 2)


def hour(program, events):
    """Seconds, processor seconds and events of an hour."""
    command = [program, "--clock", "stepped", "--port", "0", "--speed", "2.5"]
    with subprocess.Popen(command, stdout=subprocess.PIPE, text=True) as simulator:
        try:
            client = Client(int(re.search(r"port (\d+)", simulator.stdout.readline()).group(1)))
            client.ask("set_wayline", 0, 0.0, 0.0, 0.0, 0.0, 100.0, 0.0)
            client.ask("StartNavigation", 1, 1)
            if client.ask("EngageSteering", 1) != 1:
                raise RuntimeError("steering is not engaged")
            for event in events:
                client.link.sendall(msgpack.packb([2, "subscribe", [event]]))
            start, before = time.monotonic(), processor_seconds(simulator)
            for _ in range(60):
                reached = client.ask("simulator_advance", 60.0)
            seconds = time.monotonic() - start
            used = processor_seconds(simulator) - before
            if reached != 3600.0 or client.ask("IsSteeringEngaged") != 1:
                raise RuntimeError(f"the hour ended at {reached} s")
            client.link.close()
        finally:
            simulator.terminate()
    return seconds, used, client.events


def row_of(what, figures, most):
    figure = {"median": statistics.median(figures), "lowest": min(figures), "highest": max(figures)}
    return {"what": f"an hour of guidance, {what}", "unit": "s", "rounds": len(figures),
            "figure": figure, "target": {"at most": most}, "reached": figure["median"] <= most}


def main():
    arguments = argparse.ArgumentParser()
    arguments.add_argument("--results")
    arguments.add_argument("--rounds", type=int, default=5)
    arguments.add_argument("simulator")
    given = arguments.parse_args()
    silent, told = [], []
    for _ in range(given.rounds):
        silent.append(hour(given.simulator, ()))
        told.append(hour(given.simulator, EVENTS))
        print(f"no events: {silent[-1][0]:.2f} s, {silent[-1][1]:.2f} s of the simulator's processor; "
              f"{told[-1][2]} events: {told[-1][0]:.2f} s, {told[-1][1]:.2f} s", flush=True)
    if given.results:
        rows = [row_of("processor time of the simulator, no event subscribed",
                       [used for _, used, _ in silent], MOST_IN_PROCESS),
                row_of("over the link in sixty advances, every event subscribed",
                       [seconds for seconds, _, _ in told], MOST_OVER_THE_LINK)]
        with open(given.results, "w", encoding="utf-8") as file:
            file.writelines(json.dumps(row) + "\n" for row in rows)
    return 0


if __name__ == "__main__":
    sys.exit(main())
