"""A simulator whose state file is attacked while it keeps settings: its clients notice nothing of that, and
in the end the file holds what was asked to be kept."""

import contextlib
import json
import os
import subprocess
import tempfile
import time
import unittest

from attack import AttackTest, HonestClient, SimulatorUnderAttack, attackers
from navigation_service import DEADLINE_SECONDS, Client, program, wait_for

ATTACK_SECONDS = 2.0
NAMES = ("state.json", *(prefix + "state.json" + ending for prefix in ("", ".")
                         for ending in (".new", ".tmp", "~")))


def remove(path):
    """Removes what is there, whatever it is."""
    with contextlib.suppress(FileNotFoundError):
        if os.path.isdir(path) and not os.path.islink(path):
            os.rmdir(path)
        else:
            os.unlink(path)


class StateFileLoop(AttackTest):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.folder = directory.name
        self.path = os.path.join(self.folder, "state.json")

    def plant(self):
        """Puts links, pipes, folders and long files in the place of the state file and of what may be
        beside it, without end."""
        victim = os.path.join(self.folder, "victim")
        with open(victim, "w", encoding="utf-8") as file:
            file.write("precious")

        def long(place):
            with open(place, "wb") as file:
                file.truncate(1 << 40)

        plants = (lambda place: os.symlink(victim, place), lambda place: os.link(victim, place),
                  lambda place: os.symlink("missing", place), os.mkfifo, os.mkdir, long,
                  lambda place: os.symlink(place, place), lambda place: os.symlink("/dev/tty", place))
        while True:
            for put in plants:
                for name in NAMES:
                    with contextlib.suppress(OSError):  # the simulator is about its files as well
                        remove(os.path.join(self.folder, name))
                        put(os.path.join(self.folder, name))
                time.sleep(0.02)  # so that each is there when settings are saved

    def keep_settings(self):
        """Keeps ever other values, without end."""
        with Client() as client:
            for number in range(1 << 30):
                client.notify("set_low_speed_engage_timeout", (number % 5000) / 100, 1)
                client.request("IsSteeringEngaged")

    def settings(self):
        """What the state file holds; nothing where it is not a state file's."""
        with open(self.path, encoding="utf-8") as file:
            return json.load(file)["settings"]

    def test_holds_up_nobody_whatever_is_put_in_its_place(self):
        with SimulatorUnderAttack("--state", self.path) as simulator:
            with HonestClient() as honest:
                with attackers(self.plant, self.keep_settings):
                    time.sleep(ATTACK_SECONDS)  # the attack's length
                for name in NAMES:
                    remove(os.path.join(self.folder, name))
            self.assert_untroubled(honest.report)
            with Client() as client:
                client.notify("set_lookahead_time", 2.5, 1)
                client.request("IsSteeringEngaged")
            self.assert_ends_in_time(simulator)
            self.assertEqual(2.5, self.settings()["lookahead_time"])
        with open(os.path.join(self.folder, "victim"), encoding="utf-8") as file:
            self.assertEqual("precious", file.read())
        self.assertFalse(os.path.lexists(os.path.join(self.folder, "missing")))

    def test_holds_up_nobody_while_others_want_it(self):
        with SimulatorUnderAttack("--state", self.path) as simulator:
            with HonestClient() as honest, attackers(self.keep_settings):
                wait_for(lambda: os.path.exists(self.path), "the first save")
                end = time.monotonic() + ATTACK_SECONDS
                while time.monotonic() < end:
                    other = subprocess.run([program(), "--port", "0", "--state", self.path],
                                           check=False, capture_output=True,
                                           timeout=DEADLINE_SECONDS)
                    self.assertEqual((2, b""), (other.returncode, other.stdout))
                    self.assertIn(b"another simulator uses it", other.stderr)
            self.assert_untroubled(honest.report)
            self.assert_ends_in_time(simulator)
            self.assertIn("low_speed_engage_timeout", self.settings())


if __name__ == "__main__":
    unittest.main()
