"""What the attack tests share: a simulator under attack, and an honest client beside it.

The honest client and the attackers are processes of their own, so that neither waits for the other's
interpreter. The honest client talks to a bare echo server at the same pace as to the simulator: both
suffer the same machine, so what the simulator's replies take longer than the echoes is the simulator's."""

import contextlib
import multiprocessing
import os
import select
import signal
import socket
import subprocess
import tempfile
import time
import unittest

import msgpack

from navigation_service import DEADLINE_SECONDS, PORT, program

PACE_SECONDS = 0.01
EVENT = "cb_relative_position"  # 10 times a second
EVENT_PERIOD_SECONDS = 0.1
BOUND_SECONDS = 0.25  # what a loaded machine keeps; the tight figures are the benchmark's
END_SECONDS = 2.0
# How much of its length an attack lasts that tells it with lasting(): not all, where that is only for
# the tests that take long.
ATTACK_SHARE = float(os.environ.get("ATTACK_SHARE", "1"))
MEBIBYTE = 1 << 20
# A sanitizer takes several times the memory and the time, and looks for faults of other kinds.
IS_SANITIZED = "IS_SANITIZED" in os.environ

_processes = multiprocessing.get_context("fork")


class SimulatorUnderAttack:
    """A running simulator whose output is read by nobody unless a test does.

    `stdout` and `stderr` are as for subprocess.Popen; without them both go to files of their own,
    which `output()` and `errors()` read at any time. It listens once the constructor returns."""

    def __init__(self, *arguments, stdout=None, stderr=None, **options):
        self._files = [tempfile.TemporaryFile(), tempfile.TemporaryFile()]
        self.process = subprocess.Popen(
            [program(), *arguments], stdin=subprocess.DEVNULL,
            stdout=self._files[0] if stdout is None else stdout,
            stderr=self._files[1] if stderr is None else stderr, **options)
        try:
            self._wait_until_it_listens()
        except BaseException:
            self._kill()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._kill()

    def output(self):
        """What has been written to the standard output."""
        return self._read(self._files[0])

    def errors(self):
        """What has been written to standard error."""
        return self._read(self._files[1])

    def resident_bytes(self):
        """The memory that the process has in use."""
        with open(f"/proc/{self.process.pid}/statm", encoding="ascii") as file:
            return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")

    def processor_seconds(self):
        """The processor time that the process has used."""
        with open(f"/proc/{self.process.pid}/stat", encoding="ascii") as file:
            fields = file.read().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def descriptors(self):
        """How many descriptors the process has open."""
        return len(os.listdir(f"/proc/{self.process.pid}/fd"))

    def threads(self):
        """How many threads the process has."""
        return len(os.listdir(f"/proc/{self.process.pid}/task"))

    def _wait_until_it_listens(self):
        deadline = time.monotonic() + DEADLINE_SECONDS
        while True:
            if self.process.poll() is not None:
                raise AssertionError(f"ended with {self.process.returncode}: {self.errors()}")
            with contextlib.suppress(OSError), connect():
                return
            if time.monotonic() > deadline:
                raise AssertionError("the simulator does not listen")
            time.sleep(0.01)  # nothing announces it where nobody reads the output

    def _kill(self):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        for file in self._files:
            file.close()

    @staticmethod
    def _read(file):
        position = file.seek(0, os.SEEK_CUR)
        file.seek(0)
        text = file.read().decode(errors="replace")
        file.seek(position)
        return text


def lasting(seconds):
    """How long an attack lasts that lasts so long in full; a second at least."""
    return max(1.0, seconds * ATTACK_SHARE)


def connect(port=PORT):
    """A bare connection to the service."""
    return socket.create_connection(("127.0.0.1", port), timeout=DEADLINE_SECONDS)


def _serves():
    """Whether the service is there and answers."""
    try:
        with connect() as link:
            link.sendall(msgpack.packb([0, 1, "IsSteeringEngaged", []]))
            return bool(link.recv(1))
    except OSError:
        return False


def _attack(attack):
    """An attack may be thrown out, but only with the service itself is it over."""
    try:
        attack()
    except OSError:
        if _serves():
            raise


@contextlib.contextmanager
def attackers(*attacks):
    """Runs each function of ATTACKS in a process of its own until the end of the block. One that has
    failed before is an error: nothing was shown."""
    running = [_processes.Process(target=_attack, args=(attack,), daemon=True) for attack in attacks]
    for process in running:
        process.start()
    try:
        yield running
        failed = [attack.__name__ for attack, process in zip(attacks, running) if process.exitcode]
        if failed:
            raise AssertionError(f"ended before the test: {', '.join(failed)}")
    finally:
        for process in running:
            process.kill()
            process.join()


class Report:
    """What the honest client saw: lists of seconds."""

    def __init__(self, service_waits, echo_waits, event_gaps, failure):
        self.service_waits = sorted(service_waits)
        self.echo_waits = sorted(echo_waits)
        self.event_gaps = sorted(event_gaps)
        self.failure = failure

    @staticmethod
    def percentile(values, share):
        """The value below which SHARE of the sorted VALUES lie."""
        return values[min(len(values) - 1, int(len(values) * share))]


class HonestClient:
    """Asks the simulator for IsSteeringEngaged every 10 ms and receives its events, beside an echo
    server that is asked at the same pace, in processes of their own, until the end of the block;
    `report` holds what it saw then."""

    def __init__(self):
        self.report = None
        self._echo = _processes.Process(target=_serve_echoes, args=(echo := _listen(),), daemon=True)
        self._end, child_end = _processes.Pipe()
        self._client = _processes.Process(
            target=_ask, daemon=True,
            args=(child_end, echo.getsockname()[1]))
        self._echo.start()
        self._client.start()
        echo.close()
        child_end.close()

    def __enter__(self):
        if self._end.recv() != "started":
            raise AssertionError("the honest client did not start")
        return self

    def __exit__(self, *_):
        try:
            self._end.send("end")
            self.report = Report(*self._end.recv())
        finally:
            for process in (self._client, self._echo):
                process.kill()
                process.join()


class AttackTest(unittest.TestCase):
    """What must hold under every attack."""

    def assert_within(self, figure, bound, message=None):
        """A bound of time or memory holds, which is one of the program as it is delivered."""
        if not IS_SANITIZED:
            self.assertLess(figure, bound, message)

    def assert_untroubled(self, report, bound=BOUND_SECONDS):
        """The honest client was served as fast as by the echo server, but for the bound."""
        self.assertIsNone(report.failure)
        self.assertTrue(report.service_waits and report.echo_waits and report.event_gaps)
        wait = Report.percentile(report.service_waits, 0.999)
        echo = Report.percentile(report.echo_waits, 0.999)
        self.assert_within(wait, echo + bound, f"of {len(report.service_waits)} requests")
        self.assert_within(report.event_gaps[-1],
                           EVENT_PERIOD_SECONDS + report.echo_waits[-1] + bound,
                           f"of {len(report.event_gaps)} gaps between events")

    def assert_ends_in_time(self, simulator, number=signal.SIGTERM):
        """A signal ends the simulator within 2 s, with exit code 0."""
        with HonestEcho() as echo:
            simulator.process.send_signal(number)
            try:
                simulator.process.wait(DEADLINE_SECONDS)
            except subprocess.TimeoutExpired:
                self.fail("does not end")
            took = echo.seconds()
        self.assertEqual(0, simulator.process.returncode)
        self.assert_within(took, END_SECONDS + echo.late)


class HonestEcho:
    """How long altogether the machine lets a process that is ready to run wait, while the block
    lasts."""

    def __init__(self):
        self.late = 0.0
        self._start = time.monotonic()
        self._end, child_end = _processes.Pipe()
        self._process = _processes.Process(target=_tick, args=(child_end,), daemon=True)
        self._process.start()
        child_end.close()

    def __enter__(self):
        self._end.recv()
        self._start = time.monotonic()
        return self

    def seconds(self):
        """The seconds since the block began; ends the measuring."""
        took = time.monotonic() - self._start
        self._end.send("end")
        self.late = self._end.recv()
        return took

    def __exit__(self, *_):
        self._process.kill()
        self._process.join()


def _tick(end):
    """Wakes up every 10 ms and reports the sum of what that came too late."""
    end.send("started")
    late = 0.0
    while True:
        before = time.monotonic()
        if end.poll(PACE_SECONDS):
            end.send(late)
            return
        late += max(0.0, time.monotonic() - before - PACE_SECONDS)


def _listen():
    listener = socket.create_server(("127.0.0.1", 0))
    return listener


def _serve_echoes(listener):
    link, _ = listener.accept()
    with listener, link:
        link.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        while data := link.recv(4096):
            link.sendall(data)


class _Asked:
    """A link on which one request at a time is under way."""

    def __init__(self, port, request):
        self.link = connect(port)
        self.link.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.request = request
        self.sent = None
        self.waits = []

    def ask(self, now):
        """Sends the request unless one is under way."""
        if self.sent is None:
            self.sent = now
            self.link.sendall(self.request)

    def answered(self):
        """Takes the time of the answer that has come."""
        self.waits.append(time.monotonic() - self.sent)
        self.sent = None


def _ask(end, echo_port):
    """The honest client's process: see HonestClient."""
    service = _Asked(PORT, msgpack.packb([0, 1, "IsSteeringEngaged", []]))
    echo = _Asked(echo_port, b"echo")
    service.link.sendall(msgpack.packb([2, "subscribe", [EVENT]]))
    unpacker = msgpack.Unpacker()
    gaps, last_event, failure = [], None, None
    end.send("started")
    next_time = time.monotonic()
    while True:
        now = time.monotonic()
        if now >= next_time:
            next_time = max(next_time + PACE_SECONDS, now)
            service.ask(now)
            echo.ask(now)
        readable, _, _ = select.select([service.link, echo.link, end], [], [],
                                       max(0.0, next_time - time.monotonic()))
        if end in readable:
            break
        if echo.link in readable:
            echo.link.recv(4096)
            echo.answered()
        if service.link in readable:
            data = service.link.recv(65536)
            if not data:
                failure = "the service closed the honest client's link"
                end.recv()
                break
            unpacker.feed(data)
            for message in unpacker:
                if message[0] == 1:
                    service.answered()
                elif message[1] == EVENT:
                    now = time.monotonic()
                    if last_event is not None:
                        gaps.append(now - last_event)
                    last_event = now
    # What is still awaited has taken this long at least.
    if service.sent is not None:
        service.answered()
    now = time.monotonic()
    gaps.append(now - (last_event if last_event is not None else now - DEADLINE_SECONDS))
    end.send((service.waits, echo.waits, gaps, failure))
