"""What the tests of navctl share: the program as a process, and services that misbehave. The
simulator and a client of its own come from tests/end_to_end/navigation_service.py."""

import json
import os
import signal
import socket
import subprocess
import tempfile
import threading

import msgpack

from navctl_files import on_terminal
from navigation_service import DEADLINE_SECONDS, PORT, Client, Simulator, wait_for

LINE_NORTH = "0 0 0 0 0 100 0"


def program():
    """The navctl program under test."""
    return os.environ["NAVCTL"]


def navctl(*arguments, environment=None, text=True, stdin=subprocess.DEVNULL):
    """Runs the program to its end."""
    return subprocess.run([program(), *arguments], capture_output=True, text=text, stdin=stdin,
                          timeout=3 * DEADLINE_SECONDS, check=False,
                          env={**os.environ, **(environment or {})})


def answer(*arguments):
    """Runs the program with --json and gives its exit code and its one JSON value."""
    result = navctl("--json", *arguments)
    lines = result.stdout.splitlines()
    assert len(lines) == 1, (arguments, result.stdout, result.stderr)
    return result.returncode, json.loads(lines[0])


def value(*arguments):
    """The value that an operation gives."""
    code, reply = answer(*arguments)
    assert code == 0, (arguments, reply)
    return reply["value"]


class Running:
    """A navctl that runs until it is ended; its lines are read as they come."""

    def __init__(self, *arguments, environment=None):
        # Into a file: nobody reads it while the program runs, and it must not fill up.
        self.errors_file = tempfile.TemporaryFile(mode="w+")
        self.process = subprocess.Popen([program(), *arguments], stdout=subprocess.PIPE,
                                        stderr=self.errors_file, text=True,
                                        env={**os.environ, **(environment or {})})
        self.guard = threading.Timer(3 * DEADLINE_SECONDS, self.process.kill)
        self.guard.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.end(signal.SIGKILL)
        self.guard.cancel()
        self.process.stdout.close()
        self.errors_file.close()

    def line(self):
        """The next line; empty at the end."""
        return self.process.stdout.readline()

    def line_with(self, part):
        """The next line that has a part."""
        while True:
            line = self.line()
            assert line, f"ended before a line with {part}: {self.errors()}"
            if part in line:
                return line

    def errors(self):
        """What it has written to standard error so far."""
        # Where the program writes next must not move with what is read here.
        return os.pread(self.errors_file.fileno(), 1 << 20, 0).decode()

    def end(self, number=signal.SIGTERM):
        """Sends a signal, waits for the end, and gives the exit code."""
        self.process.send_signal(number)
        return self.process.wait(DEADLINE_SECONDS)


class Listener:
    """Something else on the service's port. `serve` gets each connection in turn, on a thread."""

    def __init__(self, serve=None):
        self.serve = serve
        self.socket = socket.socket()
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.socket.bind(("127.0.0.1", PORT))
        self.socket.listen()
        self.connections = []
        self.thread = threading.Thread(target=self.accept, daemon=True)

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, *_):
        self.socket.shutdown(socket.SHUT_RDWR)
        self.thread.join(DEADLINE_SECONDS)
        self.socket.close()
        for connection in self.connections:
            connection.close()

    def accept(self):
        while True:
            try:
                connection, _ = self.socket.accept()
            except OSError:
                return
            self.connections.append(connection)
            if self.serve is not None:
                try:
                    self.serve(connection)
                except OSError:
                    pass


def silent():
    """Takes connections and says nothing."""
    return Listener()


def web_server():
    """Answers everything as a web server would."""
    return Listener(lambda connection: (connection.recv(4096), connection.sendall(
        b"HTTP/1.1 400 Bad Request\r\n\r\n"), connection.shutdown(socket.SHUT_RDWR)))


SILENCE = object()  # in place of a reply


def scripted(replies, events=None, heard=None):
    """A navigation service that answers requests from a table of names, others with an error. From
    the subscription on, it sends an event 20 times a second; `events` gives for each name the
    payload by its number, from 0. The names of what comes are added to `heard`."""
    def serve(connection):
        unpacker, sent = msgpack.Unpacker(), {}
        connection.settimeout(0.05)
        while True:
            try:
                data = connection.recv(65536)
                if not data:
                    return
                unpacker.feed(data)
            except TimeoutError:
                pass
            for message in unpacker:
                if not isinstance(message, list):
                    return  # the words of another protocol
                if heard is not None:
                    heard.add(message[-2])
                if message[0] == 0 and replies.get(message[2]) is not SILENCE:
                    connection.sendall(msgpack.packb(reply_to(message, replies)))
                elif message[1] == "subscribe" and message[2][0] in (events or {}):
                    sent[message[2][0]] = 0
            for name in sent:
                connection.sendall(msgpack.packb([2, name, events[name](sent[name])]))
                sent[name] += 1
    return Listener(serve)


def reply_to(request, replies):
    _, number, name, _ = request
    if name not in replies:
        return [1, number, f"no operation {name}", None]
    return [1, number, None, replies[name]]


__all__ = ["DEADLINE_SECONDS", "LINE_NORTH", "PORT", "SILENCE", "Client", "Listener", "Running",
           "Simulator", "answer", "navctl", "on_terminal", "program", "scripted", "silent", "value",
           "wait_for", "web_server"]
