#!/usr/bin/env python3
"""Measures what a viewer of the simulator's page costs where lines change most.

usage: viewer_cost.py [--results FILE] [--seconds SECONDS] SIMULATOR

The machine crosses the passes of a curve of 1500 points at ten times real time, and a viewer reads the
page's events. Prints the bytes a second that it is sent and the share of a core that it costs: what the
simulator takes with it, less what it takes without. With --results, writes both as rows of the table of
scripts/benchmark. Needs port 5010.
"""

import argparse
import json
import math
import re
import socket
import subprocess
import sys
import threading
import time

POINTS = 1500
LIMIT_BYTES = 30000.0
LIMIT_PERCENT = 3.0


def ask(port, text):
    """Sends a request to the page; a connection carries one."""
    link = socket.create_connection(("127.0.0.1", port))
    method, _, body = text.partition("\n")
    link.sendall((f"{method} HTTP/1.1\r\nHost: localhost:{port}\r\nContent-Type: application/json\r\n"
                  f"Content-Length: {len(body)}\r\n\r\n{body}").encode())
    return link


def post(port, path, value):
    with ask(port, f"POST {path}\n{json.dumps(value)}") as link:
        answer = b""
        while piece := link.recv(65536):
            answer += piece
    if b'"result":1' not in answer:
        raise RuntimeError(f"{path}: {answer.decode()}")


def cross_a_curve(port):
    """Across the way of the machine, which drives north."""
    points = [(step - POINTS / 2.0, 200.0 + 8.0 * math.sin(step / 25.0) + 4.0 * math.sin(step / 7.0))
              for step in range(POINTS)]
    numbers = " ".join(f"{x:.6f} {y:.6f} 0.000000" for x, y in points)
    post(port, "/wayline", {"text": f"4 {POINTS} {numbers}"})
    post(port, "/command", {"operation": "StartNavigation", "arguments": [1, 1]})


class Viewer:
    """Reads the events of the page and counts their bytes."""

    def __init__(self, port):
        self.bytes = 0
        self._link = ask(port, "GET /events")
        self._thread = threading.Thread(target=self._read)
        self._thread.start()

    def _read(self):
        while piece := self._link.recv(1 << 16):
            self.bytes += len(piece)

    def close(self):
        self._link.shutdown(socket.SHUT_RDWR)
        self._thread.join()
        self._link.close()


def processor_seconds(process):
    """What all threads of a process have taken, in nanosecond steps."""
    return time.clock_gettime((~process.pid << 3) | 2)


def share_of_a_core(process, seconds):
    start, before = time.monotonic(), processor_seconds(process)
    time.sleep(seconds)
    return 100.0 * (processor_seconds(process) - before) / (time.monotonic() - start)


def measure(process, port, seconds):
    """Bytes a second, and percents of a core, of one viewer."""
    cross_a_curve(port)
    without = share_of_a_core(process, seconds)
    viewer = Viewer(port)
    try:
        start = time.monotonic()
        beside = share_of_a_core(process, seconds)
        sent = viewer.bytes / (time.monotonic() - start)
    finally:
        viewer.close()
    print(f"{sent / 1000.0:.1f} kB/s a viewer, {beside:.1f} % of a core, {without:.1f} % without it",
          flush=True)
    return sent, max(0.0, beside - without)


def row_of(what, unit, figure, limit):
    return {"what": f"live page, {what} of a viewer while a curve of {POINTS} points is crossed",
            "unit": unit, "rounds": 1,
            "figure": {"median": figure, "lowest": figure, "highest": figure},
            "target": {"at most": limit}, "reached": figure <= limit}


def main():
    arguments = argparse.ArgumentParser()
    arguments.add_argument("--results")
    arguments.add_argument("--seconds", type=float, default=20.0)
    arguments.add_argument("simulator")
    given = arguments.parse_args()
    command = [given.simulator, "--http", "0", "--speed", "4", "--speed-factor", "10"]
    with subprocess.Popen(command, stdout=subprocess.PIPE, text=True) as simulator:
        try:
            port = int(re.search(r"localhost:(\d+)/", simulator.stdout.readline()).group(1))
            sent, share = measure(simulator, port, given.seconds)
        finally:
            simulator.terminate()
    rows = [row_of("bytes a second", "bytes", sent, LIMIT_BYTES),
            row_of("share of a core", "%", share, LIMIT_PERCENT)]
    if given.results:
        with open(given.results, "w", encoding="utf-8") as file:
            file.writelines(json.dumps(row) + "\n" for row in rows)
        return 0
    return 0 if all(row["reached"] for row in rows) else 1


if __name__ == "__main__":
    sys.exit(main())
