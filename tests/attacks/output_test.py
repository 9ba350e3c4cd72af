"""Output that nobody reads, or that cannot be written: pipes, terminals, disks, the track file."""

import contextlib
import fcntl
import itertools
import os
import pty
import re
import resource
import signal
import subprocess
import tempfile
import termios
import time
import unittest

import msgpack

from attack import AttackTest, HonestClient, SimulatorUnderAttack, attackers, connect
from navigation_service import DEADLINE_SECONDS, Client, program, wait_for

ATTACK_SECONDS = 1.5
BAD = msgpack.packb([2, "set_lookahead_time", [-1.0, 1]])
REFUSED = b"set_lookahead_time refused"


def send_refused():
    """Sends a thousand notifications a second that leave a warning each: this is about who reads
    the warnings, not about how many messages are served."""
    with connect() as link:
        while True:
            link.sendall(10 * BAD)
            time.sleep(0.01)  # the attack's pace


def flood_with_refused():
    """Sends them as fast as they are taken."""
    with connect() as link:
        while True:
            link.sendall(5000 * BAD)


def send_refused_anew():
    """Sends some over a connection of its own each time, and what is not a message after them."""
    while True:
        with connect() as link, contextlib.suppress(OSError):
            link.sendall(11 * BAD + b"\xc1")
            link.recv(4096)


def send_refused_of_all_kinds():
    """Sends, over several connections, what leaves a warning of each of several kinds."""
    kinds = b"".join(msgpack.packb([2, name, arguments]) for name, arguments in (
        ("set_lookahead_time", [-1.0, 1]), ("set_low_speed_engage_timeout", [-1.0, 1]),
        ("set_tuning_parameter", [9, 1.0, 1]), ("SetTuningLimits", [9, 1.0, 1.0, 1.0]),
        ("SetImplementWidth", [1, -1.0]), ("SetFieldOffset", [1, float("nan")]),
        ("set_nudge", [float("nan")]), ("SetVelocitySetPoint", [float("nan")]),
        ("EngageSteering", [1]), ("StartNavigation", [1, 1]), ("no_such", [])))
    links = [connect() for _ in range(10)]
    while True:
        for link in links:
            link.sendall(kinds)
        time.sleep(0.02)  # faster than the log's limits all the same


def come_and_go():
    """Connects and leaves, without end."""
    while True:
        with connect():
            pass


class Pipe:
    """A pipe of the smallest size, full from the start where it is to be."""

    def __init__(self, full=False):
        self.reading, self.writing = os.pipe()
        fcntl.fcntl(self.writing, fcntl.F_SETPIPE_SZ, 4096)
        if full:
            os.write(self.writing, 4096 * b".")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for end in (self.reading, self.writing):
            with contextlib.suppress(OSError):
                os.close(end)

    def flags(self):
        """The flags of the writing end, which the process that inherits it shares."""
        return fcntl.fcntl(self.writing, fcntl.F_GETFL)

    def read_until(self, wanted):
        """Reads until a text has come."""
        text = b""
        deadline = time.monotonic() + DEADLINE_SECONDS
        os.set_blocking(self.reading, False)
        while wanted not in text:
            if time.monotonic() > deadline:
                raise AssertionError(f"{wanted} did not come: {text[-500:]}")
            try:
                text += os.read(self.reading, 65536)
            except BlockingIOError:
                time.sleep(0.01)  # between two looks
        return text


def catches(process, number):
    """Whether a process has a handler for a signal."""
    with open(f"/proc/{process.pid}/status", encoding="ascii") as file:
        caught = next(line for line in file if line.startswith("SigCgt:"))
    return bool(int(caught.split()[1], 16) >> number - 1 & 1)


class Output(AttackTest):
    def assert_untroubled_by(self, simulator, *attacks):
        with HonestClient() as honest, attackers(*attacks):
            time.sleep(ATTACK_SECONDS)  # the attack's length
        self.assert_untroubled(honest.report)
        self.assert_ends_in_time(simulator)

    def test_that_nobody_reads_holds_up_nothing(self):
        with Pipe() as pipe, SimulatorUnderAttack(
                "--log-level", "debug", stdout=pipe.writing, stderr=pipe.writing) as simulator:
            self.assert_untroubled_by(simulator, send_refused, send_refused_anew, come_and_go)

    def test_that_is_full_from_the_start_holds_up_nothing(self):
        with Pipe(full=True) as output, Pipe(full=True) as errors, SimulatorUnderAttack(
                "--http", "0", stdout=output.writing, stderr=errors.writing) as simulator:
            flags = output.flags(), errors.flags()
            self.assertEqual(0, flags[0] & os.O_NONBLOCK)
            self.assert_untroubled_by(simulator, send_refused)
            self.assertEqual(flags, (output.flags(), errors.flags()))

    def test_is_made_up_for_in_one_line_when_the_reader_is_back(self):
        with Pipe() as pipe, SimulatorUnderAttack(
                "--log-level", "debug", stderr=pipe.writing) as simulator:
            with HonestClient() as honest, attackers(send_refused_of_all_kinds):
                time.sleep(2 * ATTACK_SECONDS)  # in which more comes than pipe and queue hold
            self.assert_untroubled(honest.report)
            self.assertEqual(1, pipe.read_until(b" left out that could not be written\n").count(
                b"could not be written"))
            with Client() as client:
                client.notify("set_low_speed_engage_timeout", -7.0, 0)
                client.request("IsSteeringEngaged")
            self.assertNotIn(b"could not be written",
                             pipe.read_until(b"set_low_speed_engage_timeout refused"))
            self.assert_ends_in_time(simulator)

    def test_comes_whole_and_in_order_when_it_is_read(self):
        with Pipe() as pipe, SimulatorUnderAttack(stderr=pipe.writing) as simulator:
            with Client() as client:
                for step in range(9):
                    client.notify("set_lookahead_time", -1.0 - step, 0)
                client.request("IsSteeringEngaged")
            self.assert_ends_in_time(simulator)
            lines = pipe.read_until(b"-9").splitlines()
        self.assertEqual(9, len(lines), lines)
        for step, line in enumerate(lines):
            self.assertIn(REFUSED + f": the look-ahead time -{1 + step} s".encode(), line)

    def test_is_limited_whatever_a_client_sends(self):
        with SimulatorUnderAttack() as simulator:
            with attackers(flood_with_refused, send_refused_anew):
                time.sleep(ATTACK_SECONDS)  # the attack's length
            with Client() as client:
                client.request("IsSteeringEngaged")
            self.assert_ends_in_time(simulator)
            lines = simulator.errors().splitlines()
        # A hundred lines a second of each of the two kinds, at most.
        self.assertLess(len(lines), 1500)
        for who in (r"client \d+", "all clients"):
            self.assertTrue(any(re.search(who + r": \d+ lines? left out like", line)
                                for line in lines), who)

    def test_to_a_closed_descriptor_goes_nowhere(self):
        def close_all():
            for descriptor in (0, 1, 2):
                os.close(descriptor)
        with tempfile.TemporaryDirectory() as folder, SimulatorUnderAttack(
                "--state", os.path.join(folder, "state.json"), "--track",
                os.path.join(folder, "track.csv"), preexec_fn=close_all) as simulator:
            with Client() as client:
                client.notify("set_lookahead_time", 2.5, 1)
            self.assert_untroubled_by(simulator, send_refused)
            for name in os.listdir(folder):
                with open(os.path.join(folder, name), "rb") as file:
                    self.assertNotIn(b"refused", file.read())

    def test_whose_reader_has_gone_goes_nowhere(self):
        with Pipe() as pipe, SimulatorUnderAttack(
                stdout=pipe.writing, stderr=pipe.writing) as simulator:
            os.close(pipe.reading)
            self.assert_untroubled_by(simulator, send_refused, send_refused_anew)

    def test_to_a_full_device_goes_nowhere(self):
        with open("/dev/full", "wb") as full, SimulatorUnderAttack(
                stdout=full, stderr=full) as simulator:
            self.assert_untroubled_by(simulator, send_refused, send_refused_anew)

    def test_to_a_file_at_its_limit_goes_nowhere(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (1000, 1000))
        with SimulatorUnderAttack(preexec_fn=limit) as simulator:
            self.assert_untroubled_by(simulator, send_refused, send_refused_anew)

    def test_to_a_terminal_that_is_stopped_holds_up_nothing(self):
        main, terminal = pty.openpty()
        try:
            with SimulatorUnderAttack("--log-level", "debug", stdout=terminal,
                                      stderr=terminal) as simulator:
                termios.tcflow(terminal, termios.TCOOFF)
                self.assert_untroubled_by(simulator, send_refused, come_and_go)
        finally:
            os.close(terminal)
            os.close(main)

    def test_shared_with_a_process_that_made_it_non_blocking_is_whole(self):
        with Pipe() as pipe:
            os.set_blocking(pipe.writing, False)
            with SimulatorUnderAttack("--log-level", "debug", stderr=pipe.writing) as simulator:
                self.assert_untroubled_by(simulator, send_refused, come_and_go)

    def test_of_a_refused_start_keeps_nothing_from_ending(self):
        for arguments, code in ((("--port", "x"), 2), (("--state", "/"), 2), (("--help",), 0)):
            with self.subTest(arguments), Pipe(full=True) as pipe:
                process = subprocess.Popen([program(), *arguments], stdout=pipe.writing,
                                           stderr=pipe.writing)
                self.assertEqual(code, process.wait(DEADLINE_SECONDS))

    def test_that_nobody_reads_lets_no_signal_cut_the_end_short(self):
        with tempfile.TemporaryDirectory() as folder, Pipe(full=True) as pipe, SimulatorUnderAttack(
                "--state", os.path.join(folder, "state.json"),
                stdout=pipe.writing, stderr=pipe.writing) as simulator:
            with Client() as client:
                client.notify("set_lookahead_time", 2.5, 1)
                client.request("IsSteeringEngaged")
            deadline = time.monotonic() + DEADLINE_SECONDS
            for number in itertools.cycle((signal.SIGTERM, signal.SIGTERM, signal.SIGINT)):
                if simulator.process.poll() is not None or time.monotonic() > deadline:
                    break
                simulator.process.send_signal(number)
                time.sleep(0.005)  # as somebody who is impatient
            self.assertEqual(0, simulator.process.returncode)
            self.assertEqual(["state.json"], os.listdir(folder))

    def test_of_a_start_that_a_signal_ends_early_is_no_failure(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            with self.subTest(number), Pipe(full=True) as pipe:
                process = subprocess.Popen([program(), "--help"], stdout=pipe.writing,
                                           stderr=pipe.writing)
                # It waits for the thread that writes its output, and does not serve.
                wait_for(lambda: process.poll() is not None or catches(process, number),
                         "the program to take the signal itself")
                process.send_signal(number)
                self.assertEqual(0, process.wait(DEADLINE_SECONDS))

    def test_of_names_with_control_characters_shows_them_as_text(self):
        for arguments in (("--\x1b[31m",), ("--state", "/no/such\x1b[31m/x"),
                          ("--track", "/no/such/\x07\u009b"), ("\x1b]0;title\x07",)):
            with self.subTest(arguments):
                result = subprocess.run([program(), "--port", "0", *arguments], check=False,
                                        capture_output=True, timeout=DEADLINE_SECONDS)
                self.assertEqual(2, result.returncode)
                self.assertTrue(result.stderr)
                for line in result.stderr.decode().splitlines():
                    self.assertTrue(line.isprintable(), line)


def started_with_blocked(*signals):
    """A simulator whose parent has signals blocked, as one has that waits for them itself."""
    return SimulatorUnderAttack(
        preexec_fn=lambda: signal.pthread_sigmask(signal.SIG_BLOCK, signals))


class End(AttackTest):
    def test_comes_by_signals_that_were_blocked_at_the_start(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            with self.subTest(number), started_with_blocked(signal.SIGTERM, signal.SIGINT) as simulator:
                self.assert_ends_in_time(simulator, number)

    def test_comes_by_signals_that_waited_when_the_program_began(self):
        def raise_blocked():
            signal.pthread_sigmask(signal.SIG_BLOCK, (signal.SIGTERM,))
            os.kill(os.getpid(), signal.SIGTERM)
        with Pipe(full=True) as pipe:
            process = subprocess.Popen([program()], stdout=pipe.writing, stderr=pipe.writing,
                                       preexec_fn=raise_blocked)
            try:
                self.assertEqual(0, process.wait(DEADLINE_SECONDS))
            finally:
                process.kill()
                process.wait()


class Track(AttackTest):
    def test_that_nobody_reads_holds_up_nothing(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "track")
            os.mkfifo(path)
            reader = os.open(path, os.O_RDONLY | os.O_NONBLOCK)
            try:
                with SimulatorUnderAttack("--track", path, "--speed-factor",
                                          "300") as simulator:
                    with HonestClient() as honest:
                        time.sleep(ATTACK_SECONDS)  # in which the pipe fills up
                    self.assertIsNone(honest.report.failure)
                    wait = honest.report.percentile(honest.report.service_waits, 0.999)
                    echo = honest.report.percentile(honest.report.echo_waits, 0.999)
                    self.assert_within(wait, echo + 0.25)
                    self.assert_ends_in_time(simulator)
            finally:
                os.close(reader)

    def test_on_a_full_device_ends_and_holds_up_nothing(self):
        with SimulatorUnderAttack("--track", "/dev/full") as simulator:
            wait_for(lambda: "the track file cannot be written any more" in simulator.errors(),
                     "the end of the track file")
            with HonestClient() as honest:
                time.sleep(ATTACK_SECONDS)  # the attack's length
            self.assert_untroubled(honest.report)
            self.assert_ends_in_time(simulator)


if __name__ == "__main__":
    unittest.main()
