"""Settings that are kept over a restart, whatever ends the program."""

import json
import os
import random
import signal
import tempfile
import unittest

from navigation_service import Client, Simulator, wait_for


class Persistence(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.path = os.path.join(directory.name, "state.json")

    def test_gives_kept_settings_back_after_a_restart(self):
        with Simulator("--state", self.path) as simulator, Client() as client:
            client.notify("set_lookahead_time", 2.5, 1)
            client.notify("set_reverse_engage_allowed", 1, 1)
            client.notify("set_tuning_parameter", 2, 0.75, 1)
            client.notify("SetTuningLimits", 0, 0.1, 1.0, 10.0)
            client.notify("set_tuning_parameter", 0, 8.0, 1)
            client.notify("set_low_speed_engage_timeout", 7.5, 0)
            client.request("IsSteeringEngaged")
            simulator.end()
        with open(self.path, encoding="utf-8") as file:
            self.assertIs(True, json.load(file)["settings"]["reverse_engage_allowed"])
        with Simulator("--state", self.path), Client() as client:
            self.assertEqual(8.0, client.request("get_tuning_parameter", 0))
            self.assertEqual([0.1, 1.0, 10.0], client.request("GetTuningLimits", 0))
            self.assertEqual(2.5, client.request("get_lookahead_time", 1))
            self.assertEqual(1, client.request("get_reverse_engage_allowed", 1))
            self.assertEqual(0.75, client.request("get_tuning_parameter", 2))
            self.assertNotEqual(7.5, client.request("get_low_speed_engage_timeout", 1))

    def test_makes_no_file_before_something_is_to_be_kept(self):
        with Simulator("--state", self.path) as simulator, Client() as client:
            client.notify("set_lookahead_time", 2.5, 0)
            client.request("IsSteeringEngaged")
            simulator.end()
        self.assertFalse(os.path.exists(self.path))

    def kept(self, name):
        """A value in the state file; None while there is no file or no such value."""
        try:
            with open(self.path, encoding="utf-8") as file:
                return json.load(file)["settings"].get(name)
        except FileNotFoundError:
            return None

    def test_always_finds_a_whole_file_after_being_killed(self):
        pause = random.Random(1)
        last_on_disk = None
        for run in range(25):
            with Simulator("--state", self.path) as simulator, Client() as client:
                if last_on_disk is not None:
                    self.assertGreaterEqual(
                        client.request("get_low_speed_engage_timeout", 1), last_on_disk)
                first = run * 100
                for step in range(pause.randint(1, 99)):
                    client.notify("set_low_speed_engage_timeout", float(first + step), 1)
                    if step % 10 == 0:
                        client.request("IsSteeringEngaged")
                if run % 5 == 0:
                    # Nothing more has to come for the last one to get there.
                    wait_for(lambda: self.kept("low_speed_engage_timeout") == first + step,
                             "the last value on the disk")
                    last_on_disk = float(first + step)
                # The last writes are under way now, but for every fifth time.
                simulator.end(signal.SIGKILL)
            kept = self.kept("low_speed_engage_timeout")
            if last_on_disk is not None:
                self.assertGreaterEqual(kept, last_on_disk)


if __name__ == "__main__":
    unittest.main()
