"""Settings that are kept, kept by a client without end, on disks that are slow or full."""

import json
import os
import signal
import tempfile
import time
import unittest

import msgpack

from attack import (AttackTest, BOUND_SECONDS, HonestClient, HonestEcho, SimulatorUnderAttack,
                    attackers, connect)
from navigation_service import Client, wait_for

ATTACK_SECONDS = 2.0
KEPT_SECONDS = 1.0  # within which a setting is on the disk


def keep_the_same():
    """Keeps one value, without end."""
    same = 5000 * msgpack.packb([2, "set_lookahead_time", [1.5, 1]])
    with connect() as link:
        while True:
            link.sendall(same)


def keep_others():
    """Keeps ever other values, without end."""
    others = b"".join(msgpack.packb([2, "set_low_speed_engage_timeout", [number / 100, 1]])
                      for number in range(5000))
    with connect() as link:
        while True:
            link.sendall(others)


class Settings(AttackTest):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.folder = directory.name
        self.path = os.path.join(self.folder, "state.json")

    def kept(self):
        """What the state file holds; nothing while there is none."""
        try:
            with open(self.path, encoding="utf-8") as file:
                return json.load(file)["settings"]
        except FileNotFoundError:
            return {}

    def saves(self, seconds):
        """How often the file is replaced in a time, and for how long it was looked at."""
        count, last = 0, None
        start = time.monotonic()
        while time.monotonic() < start + seconds:
            now = os.stat(self.path).st_ino
            count += now != last
            last = now
            time.sleep(0.002)  # between two looks
        return count - 1, time.monotonic() - start

    def test_that_do_not_change_are_saved_once(self):
        with SimulatorUnderAttack("--state", self.path) as simulator:
            with Client() as client:
                client.notify("set_lookahead_time", 1.5, 1)
            wait_for(lambda: self.kept() == {"lookahead_time": 1.5}, "the first save")
            with HonestClient() as honest, attackers(keep_the_same, keep_the_same):
                self.assertEqual(0, self.saves(ATTACK_SECONDS)[0])
            self.assert_untroubled(honest.report)
            self.assert_ends_in_time(simulator)

    def test_that_change_without_end_are_saved_ten_times_a_second(self):
        with SimulatorUnderAttack("--state", self.path) as simulator:
            with Client() as client:
                client.notify("set_low_speed_engage_timeout", 7.5, 1)
            wait_for(self.kept, "the first save")
            with HonestClient() as honest, attackers(keep_others, keep_the_same):
                saves, seconds = self.saves(ATTACK_SECONDS)
                self.assertLessEqual(saves, 10 * seconds + 2)
                self.assertGreaterEqual(saves, 1)
            self.assert_untroubled(honest.report)
            wait_for(lambda: self.saves(0.5)[0] == 0, "the end of what was under way")
            with Client() as client:
                client.notify("set_low_speed_engage_timeout", 7.25, 1)
                client.request("IsSteeringEngaged")
                self.assert_ends_in_time(simulator)
            self.assertEqual(7.25, self.kept()["low_speed_engage_timeout"])
            self.assertEqual(["state.json"], os.listdir(self.folder))

    def test_are_on_the_disk_at_a_clean_end_however_soon(self):
        for run in range(10):
            with SimulatorUnderAttack("--state", self.path) as simulator:
                with Client() as client:
                    for step in range(100):
                        client.notify("set_low_speed_engage_timeout", run + step / 128, 1)
                    client.request("IsSteeringEngaged")
                self.assert_ends_in_time(simulator, (signal.SIGTERM, signal.SIGINT)[run % 2])
            self.assertEqual(run + 99 / 128, self.kept()["low_speed_engage_timeout"])

    def test_are_on_the_disk_within_a_second_while_others_change(self):
        with SimulatorUnderAttack("--state", self.path) as simulator, attackers(keep_others):
            with Client() as client:
                for step in range(5):
                    value = 1.0 + step / 8
                    with HonestEcho() as echo:
                        client.notify("set_lookahead_time", value, 1)
                        wait_for(lambda: self.kept().get("lookahead_time") == value, "the save")
                        took = echo.seconds()
                    self.assert_within(took, KEPT_SECONDS + BOUND_SECONDS + echo.late +
                                       2 * self.own_save_seconds())
            self.assert_ends_in_time(simulator)

    def own_save_seconds(self):
        """How long this machine takes now to bring a file and its place to the disk."""
        start = time.monotonic()
        place = os.open(self.folder, os.O_RDONLY | os.O_DIRECTORY)
        try:
            with open(os.path.join(self.folder, "own"), "w", encoding="utf-8") as file:
                file.write("{}")
                file.flush()
                os.fsync(file.fileno())
            os.unlink(os.path.join(self.folder, "own"))
            os.fsync(place)
        finally:
            os.close(place)
        return time.monotonic() - start

    def test_on_a_disk_that_does_not_answer_hold_up_nothing(self):
        with Disk() as disk, disk.simulator("--state", self.path) as simulator:
            disk.stalls()
            with HonestClient() as honest, attackers(keep_others):
                time.sleep(ATTACK_SECONDS)  # in which the disk does not answer
            self.assert_untroubled(honest.report)
            self.assert_ends_in_time(simulator)
            self.assertIn("may lack the last settings", simulator.errors())
            self.assertEqual({}, self.kept())
        with SimulatorUnderAttack("--state", self.path) as simulator:
            self.assert_ends_in_time(simulator)
        # What it had begun, and its lock, the next one has removed.
        self.assertEqual([], os.listdir(self.folder))

    def test_that_do_not_fit_on_the_disk_are_saved_when_they_do(self):
        with Disk() as disk, disk.simulator("--state", self.path) as simulator:
            disk.is_full()
            with Client() as client:
                client.notify("set_low_speed_engage_timeout", 7.5, 1)
                with HonestClient() as honest:
                    wait_for(lambda: "No space left" in simulator.errors(), "the failure")
                    time.sleep(ATTACK_SECONDS)  # in which the disk is full
                self.assert_untroubled(honest.report)
                self.assertEqual({}, self.kept())
            disk.works()
            wait_for(lambda: "is written again" in simulator.errors(), "the line")
            self.assertEqual({"low_speed_engage_timeout": 7.5}, self.kept())
            self.assertEqual(2, len(simulator.errors().splitlines()), simulator.errors())
            self.assert_ends_in_time(simulator)

    def test_that_did_not_fit_on_the_disk_are_saved_at_the_end(self):
        with Disk() as disk, disk.simulator("--state", self.path) as simulator:
            disk.is_full()
            with Client() as client:
                client.notify("set_low_speed_engage_timeout", 7.5, 1)
                wait_for(lambda: "No space left" in simulator.errors(), "the failure")
            disk.works()
            self.assert_ends_in_time(simulator)
            self.assertEqual({"low_speed_engage_timeout": 7.5}, self.kept())

    def test_that_never_fit_on_the_disk_keep_nothing_from_ending(self):
        with Disk() as disk, disk.simulator("--state", self.path) as simulator:
            disk.is_full()
            with attackers(keep_others):
                time.sleep(ATTACK_SECONDS)  # in which the disk is full
            self.assert_ends_in_time(simulator)
            self.assertIn("No space left", simulator.errors())
            self.assertLess(len(simulator.errors().splitlines()), 3)
            self.assertEqual([], os.listdir(self.folder))


class Disk:
    """What a simulator takes for its disk: see SlowDisk.cpp."""

    def __enter__(self):
        self._folder = tempfile.TemporaryDirectory()
        return self

    def __exit__(self, *_):
        self._folder.cleanup()

    def simulator(self, *arguments):
        """Starts a simulator with this disk."""
        environment = dict(os.environ, LD_PRELOAD=os.environ["SLOW_DISK"],
                           DISK_STALLS=self._path("stalls"), DISK_FULL=self._path("full"))
        environment["ASAN_OPTIONS"] = environment.get("ASAN_OPTIONS", "") + ":verify_asan_link_order=0"
        return SimulatorUnderAttack(*arguments, env=environment)

    def stalls(self):
        """From now on it does not answer."""
        os.mknod(self._path("stalls"))

    def is_full(self):
        """From now on nothing fits on it."""
        os.mknod(self._path("full"))

    def works(self):
        """From now on it does what it should."""
        for name in os.listdir(self._folder.name):
            os.unlink(self._path(name))

    def _path(self, name):
        return os.path.join(self._folder.name, name)


if __name__ == "__main__":
    unittest.main()
