"""What the tests of navctl's work with files share: running it, files of samples, and a service that
only counts."""

import fcntl
import functools
import json
import os
import pty
import socket
import struct
import subprocess
import tempfile
import termios
import threading
import time
import unittest

import msgpack

from navigation_service import DEADLINE_SECONDS, PORT


def navctl(*arguments, text=None, deadline=DEADLINE_SECONDS):
    """Runs navctl to its end."""
    return subprocess.run([os.environ["NAVCTL"], *arguments], input=text, capture_output=True,
                          encoding="utf-8", errors="replace", timeout=deadline, check=False)


def navctl_json(*arguments, text=None, deadline=DEADLINE_SECONDS):
    """Runs navctl --json; gives the exit code and the one value that it wrote."""
    result = navctl("--json", *arguments, text=text, deadline=deadline)
    return result.returncode, json.loads(result.stdout)


def sentence(body):
    """An NMEA sentence with its checksum."""
    checksum = functools.reduce(lambda sum_, character: sum_ ^ ord(character), body, 0)
    return f"${body}*{checksum:02X}\r\n"


def coordinate(degrees, width):
    """Degrees as NMEA has them: degrees and minutes."""
    whole = int(degrees)
    return f"{whole:0{width}d}{(degrees - whole) * 60:011.8f}"


def moment(number, latitude=48.0, longitude=11.0):
    """GGA and RMC of one moment, ten of them a second, northwards at 2 m/s."""
    tenths = number % 864000
    clock = f"{tenths // 36000:02d}{tenths // 600 % 60:02d}{tenths // 10 % 60:02d}.{tenths % 10}0"
    place = (f"{coordinate(latitude + number * 0.2 / 111200.0, 2)},N,"
             f"{coordinate(longitude, 3)},E")
    return (sentence(f"GNGGA,{clock},{place},4,12,0.7,480.0,M,47.0,M,1.0,0000")
            + sentence(f"GNRMC,{clock},A,{place},3.888,0.0,0{1 + number // 864000}0524,,,R"))


def field_data():
    """The folder of real field files; None where the environment names none."""
    return os.environ.get("FIELD_DATA_DIR") or None


def on_terminal(arguments, environment=None, columns=80, answer=None):
    """Runs navctl on a terminal of its own; gives the exit code and all that it wrote there.

    `answer` is called with the process and what has come so far, each time that something comes."""
    controller, terminal = pty.openpty()
    fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
    written = b""
    with subprocess.Popen([os.environ["NAVCTL"], *arguments], stdin=subprocess.DEVNULL,
                          stdout=terminal, stderr=terminal,
                          env={**os.environ, "TERM": "xterm", "LC_ALL": "C.UTF-8",
                               "NO_COLOR": "", **(environment or {})}) as process:
        os.close(terminal)
        guard = threading.Timer(3 * DEADLINE_SECONDS, process.kill)
        guard.start()
        try:
            while data := os.read(controller, 65536):
                written += data
                if answer is not None:
                    answer(process, written.decode(errors="replace"))
        except OSError:
            pass  # Linux says so when the last end of a terminal is closed.
        process.wait()
        guard.cancel()
    os.close(controller)
    return process.returncode, written.decode()


class Pace:
    """Keeps a pace beside what is tested, as far as the machine lets it."""

    def __init__(self, step_seconds):
        self.step = step_seconds
        self.times = []
        self.is_over = threading.Event()
        self.thread = threading.Thread(target=self.keep, daemon=True)

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, *_):
        self.is_over.set()
        self.thread.join(DEADLINE_SECONDS)

    def keep(self):
        while not self.is_over.wait(self.step):
            self.times.append(time.monotonic())

    def lasted(self, steps):
        """What the slowest of so many steps in turn has taken; 0 when there were fewer."""
        return max((later - earlier for earlier, later in zip(self.times, self.times[steps:])),
                   default=0.0)


class CountingService:
    """A service that reads everything, keeps the numbers of the samples, and answers 1.

    With `most`, it reads so many samples and then dies; with `silent_from`, it answers nothing more
    from so many on; to requests named `silent_to` it never answers."""

    def __init__(self, most=None, silent_from=None, silent_to=None):
        self.silent_to = silent_to
        self.most = most
        self.silent_from = silent_from
        self.listener = socket.socket()
        self.listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.listener.bind(("127.0.0.1", PORT))
        self.listener.listen()
        self.samples = []
        self.times = []  # when they came
        self.thread = threading.Thread(target=self.serve, daemon=True)

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, *_):
        # Ends the wait for a client when there was none; one that has come is served first.
        if self.most is None:
            socket.create_connection(("127.0.0.1", PORT)).close()
        self.thread.join(DEADLINE_SECONDS)
        assert not self.thread.is_alive(), "the service still serves a client"
        self.listener.close()

    def serve(self):
        """Serves one client until it leaves."""
        client, _ = self.listener.accept()
        with client:
            unpacker = msgpack.Unpacker()
            while data := client.recv(1 << 20):
                unpacker.feed(data)
                for message in unpacker:
                    if message[0] == 0:
                        if self.silent_from is not None and len(self.samples) >= self.silent_from:
                            continue
                        if message[2] == self.silent_to:
                            continue
                        client.sendall(msgpack.packb([1, message[1], None, 1]))
                    elif message[1] == "SetPositionData":
                        if len(self.samples) == self.most:
                            self.listener.close()
                            return
                        self.samples.append(record(message[2][0]))
                        self.times.append(time.monotonic())


def record(text):
    """The values of a position record by their tags."""
    return {int(tag): float(value)
            for tag, value in (pair.split("=") for pair in text.split(";"))}


class Files(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = directory.name

    def write(self, name, parts):
        path = os.path.join(self.directory, name)
        with open(path, "wb") as file:
            file.writelines(part if isinstance(part, bytes) else part.encode() for part in parts)
        return path

    def feed(self, name, parts, *options):
        """Feeds a file to a service that counts; gives exit code, report and samples."""
        path = self.write(name, parts)
        with CountingService() as service:
            code, report = navctl_json("feed", path, "--rate", "max", *options)
        return code, report, service.samples

    def assert_adds_up(self, report, lines=None):
        """Every line is in the counts once."""
        counts = dict(report["lines"])
        read = counts.pop("read")
        further = counts.pop("further_on_a_line")
        self.assertEqual(read, sum(counts.values()) - further, report)
        self.assertTrue(lines is None or lines == read, report)


def gga(number):
    """A position of a second of the day."""
    return sentence(f"GPGGA,{number // 3600:02d}{number // 60 % 60:02d}{number % 60:02d}.00,"
                    f"{coordinate(48.0, 2)},N,{coordinate(11.0, 3)},E,4,12,0.7,480.0,M,47.0,M,,")


def reasons(report):
    """How often something was skipped for which reason."""
    return {entry["reason"]: entry["count"] for entry in report["skipped_reasons"]}
