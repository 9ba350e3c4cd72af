"""What the end-to-end tests share: the simulator as a process, and a client written with a
MessagePack library that is not under test."""

import os
import signal
import socket
import subprocess
import time

import msgpack

PORT = 5010
DEADLINE_SECONDS = 60.0
LINE_NORTH = [0, 0.0, 0.0, 0.0, 0.0, 100.0, 0.0]


def program():
    """The navigation-simulator program under test."""
    return os.environ["NAVIGATION_SIMULATOR"]


def run_to_end(*arguments, wrapper=()):
    """Runs the program with arguments that end it at once, by the command WRAPPER if given."""
    return subprocess.run([*wrapper, program(), *arguments], capture_output=True, text=True,
                          timeout=DEADLINE_SECONDS, check=False)


class Service:
    """A running service, which announces that it listens; ends with the test that made it."""

    def __init__(self, *command):
        self.process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                        text=True)
        self.announcement = self.process.stdout.readline()
        if not self.announcement:
            _, errors = self.process.communicate(timeout=DEADLINE_SECONDS)
            raise AssertionError(f"{command} did not start: {errors}")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.end(signal.SIGKILL)
        self.process.stdout.close()
        self.process.stderr.close()

    def end(self, number=signal.SIGTERM):
        """Sends a signal, waits for the end, and gives the exit code."""
        self.process.send_signal(number)
        return self.process.wait(DEADLINE_SECONDS)

    def errors(self):
        """What an ended service has written to standard error."""
        return self.process.stderr.read()


class Simulator(Service):
    """A running simulator."""

    def __init__(self, *arguments):
        super().__init__(program(), *arguments)


class Client:
    """A client that speaks MessagePack-RPC over a socket of its own."""

    def __init__(self, host="127.0.0.1", port=PORT):
        self.socket = socket.create_connection((host, port), timeout=DEADLINE_SECONDS)
        self.unpacker = msgpack.Unpacker()
        self.number = 0
        self.events = []

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()

    def send(self, data):
        """Sends bytes as they are."""
        self.socket.sendall(data)

    def notify(self, name, *arguments):
        """Sends a notification."""
        self.send(msgpack.packb([2, name, list(arguments)]))

    def request(self, name, *arguments):
        """Makes a request and gives the reply; an error reply is raised."""
        self.number += 1
        self.send(msgpack.packb([0, self.number, name, list(arguments)]))
        while True:
            message = self.receive()
            if message[0] == 1:
                assert message[1] == self.number, message
                if message[2] is not None:
                    raise ServiceError(message[2])
                return message[3]
            self.events.append((message[1], message[2]))

    def event(self, name):
        """The next payload of an event; others are kept."""
        while True:
            for index, (kept, payload) in enumerate(self.events):
                if kept == name:
                    del self.events[index]
                    return payload
            message = self.receive()
            self.events.append((message[1], message[2]))

    def receive(self):
        """The next message."""
        while True:
            for message in self.unpacker:
                return message
            data = self.socket.recv(65536)
            if not data:
                raise ConnectionError("closed by the service")
            self.unpacker.feed(data)


class ServiceError(Exception):
    """The error text of a reply."""


def wait_for(condition, what):
    """Waits until a condition holds; each look at it asks the service anew."""
    deadline = time.monotonic() + DEADLINE_SECONDS
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise AssertionError(f"waited {DEADLINE_SECONDS} s in vain for: {what}")
