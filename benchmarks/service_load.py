#!/usr/bin/env python3
"""Measures what the simulator costs while many clients are subscribed to everything.

usage: service_load.py SIMULATOR [CLIENTS] [SECONDS]

Starts the simulator, engages it on a line, subscribes every client to all eight events, reads what
arrives, and prints the processor time that the simulator took a second, and the events a second and
client. One of the clients, of which there are two at least, never reads. Needs port 5010 and
python3-msgpack.
"""

import os
import selectors
import socket
import subprocess
import sys
import time

import msgpack

PORT = 5010
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


def processor_seconds(process):
    with open(f"/proc/{process}/stat", encoding="ascii") as file:
        fields = file.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def read_for(seconds, links):
    """Reads and drops what arrives, and gives what the first link has received."""
    first = bytearray()
    with selectors.DefaultSelector() as selector:
        for link in links:
            selector.register(link, selectors.EVENT_READ)
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            for key, _ in selector.select(0.05):
                data = key.fileobj.recv(65536)
                if key.fileobj is links[0]:
                    first += data
    return bytes(first)


def count_messages(data):
    unpacker = msgpack.Unpacker()
    unpacker.feed(data)
    return sum(1 for _ in unpacker)


def main():
    clients = max(2, int(sys.argv[2])) if len(sys.argv) > 2 else 200
    seconds = float(sys.argv[3]) if len(sys.argv) > 3 else 10.0
    with subprocess.Popen([sys.argv[1], "--speed", "2"], stdout=subprocess.PIPE) as simulator:
        try:
            simulator.stdout.readline()
            operator = connect()
            engaged = engage(operator)
            links = [connect() for _ in range(clients)]
            for link in links:
                subscribe(link)
            deaf, readers = links[-1], links[:-1]
            read_for(1.0, readers)
            before = processor_seconds(simulator.pid)
            started = time.monotonic()
            received = count_messages(read_for(seconds, readers))
            passed = time.monotonic() - started
            share = (processor_seconds(simulator.pid) - before) / passed
            print(f"{clients} clients, engaged {engaged}, {passed:.1f} s: "
                  f"{100.0 * share:.1f} % of one core, "
                  f"{received / passed:.1f} events a second and client")
            deaf.close()
        finally:
            simulator.terminate()


if __name__ == "__main__":
    main()
