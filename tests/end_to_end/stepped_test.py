"""The program with a clock that clients move on."""

import os
import shlex
import tempfile
import unittest

import msgpack

from navigation_service import LINE_NORTH, Client, ServiceError, Simulator, run_to_end


class ASteppedClock(unittest.TestCase):
    def test_stands_until_it_is_advanced(self):
        with Simulator("--clock", "stepped", "--speed", "2") as _, Client() as client:
            for _ in range(100):
                self.assertEqual(0.0, client.request("simulator_time"))
            self.assertEqual(5.0, client.request("simulator_advance", 5))
            self.assertEqual(5.0, client.request("simulator_time"))

    def test_drives_a_field_in_a_moment(self):
        with Simulator("--clock", "stepped", "--speed", "2") as _, Client() as client:
            client.request("set_wayline", *LINE_NORTH)
            client.request("StartNavigation", 1, 1)
            self.assertEqual(1, client.request("EngageSteering", 1))
            client.notify("subscribe", "cb_guidance_status")
            for _ in range(10):
                client.request("simulator_advance", 60.0)
            errors = [payload[1] for name, payload in client.events if name == "cb_guidance_status"]
            self.assertEqual(6001, len(errors))
            self.assertLess(max(abs(error) for error in errors), 0.05)

    def test_ends_in_the_middle_of_an_advance_when_the_program_is_to_end(self):
        with Simulator("--clock", "stepped") as simulator, Client() as client:
            packet = b"".join(msgpack.packb([0, number, "simulator_advance", [60.0]])
                              for number in range(1, 1001))
            client.send(packet)
            client.receive()
            self.assertEqual(0, simulator.end())

    def test_is_described_by_a_line_that_repeats_the_run(self):
        with Simulator("--clock", "stepped", "--speed", "1.5", "--ground", "field") as _, \
                Client() as client:
            client.request("simulator_advance", 12.34)
            described = client.request("simulator_describe")
            where = client.request("calculate_headings", LINE_NORTH)
        self.assertRegex(described, r"^version \S+: navigation-simulator --clock stepped --speed 1.5 "
                                    r"--ground field --seed 1; time 12.34 s$")
        command = described.split(": ", 1)[1].rsplit(";", 1)[0]
        with Simulator(*shlex.split(command)[1:]) as _, Client() as client:
            client.request("simulator_advance", 12.34)
            self.assertEqual(described, client.request("simulator_describe"))
            self.assertEqual(where, client.request("calculate_headings", LINE_NORTH))

    def test_is_described_in_words_that_a_shell_takes(self):
        with tempfile.TemporaryDirectory(prefix="it's ") as folder:
            track = os.path.join(folder, "a drive.csv")
            with Simulator("--track", track, "--seed", "7") as _, Client() as client:
                described = client.request("simulator_describe")
        command = described.split(": ", 1)[1].rsplit(";", 1)[0]
        self.assertEqual(["navigation-simulator", "--track", track, "--seed", "7"],
                         shlex.split(command))


class ARealClock(unittest.TestCase):
    def test_is_not_advanced(self):
        with Simulator() as _, Client() as client:
            with self.assertRaisesRegex(ServiceError, "--clock stepped"):
                client.request("simulator_advance", 1.0)
            self.assertGreaterEqual(client.request("simulator_time"), 0.0)


class TheOption(unittest.TestCase):
    def test_takes_two_words(self):
        done = run_to_end("--clock", "slow")
        self.assertEqual(2, done.returncode)
        self.assertIn("real, stepped", done.stderr)

    def test_goes_with_no_speed_factor(self):
        done = run_to_end("--clock", "stepped", "--speed-factor", "2")
        self.assertEqual(2, done.returncode)
        self.assertIn("--speed-factor", done.stderr)


if __name__ == "__main__":
    unittest.main()
