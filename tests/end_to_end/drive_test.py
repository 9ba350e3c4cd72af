"""Whole drives over the link: what an application does with the service from start to end."""

import csv
import os
import tempfile
import unittest

from navigation_service import LINE_NORTH, Client, Simulator, wait_for


class Drive(unittest.TestCase):
    def test_steers_the_machine_onto_a_line_and_moves_with_a_nudge(self):
        with Simulator("--start", "1,0,0", "--speed", "2.5", "--speed-factor", "20"), \
                Client() as client:
            self.assertEqual(1, client.request("set_wayline", *LINE_NORTH))
            self.assertEqual(1, client.request("StartNavigation", 1, 0))
            self.assertEqual(1, client.request("EngageSteering", 1))
            client.notify("subscribe", "cb_guidance_status")
            wait_for(lambda: abs(client.event("cb_guidance_status")[1]) < 0.05, "on the line")

            self.assertEqual([1, 0.5, 0.0, 0.0], client.request("Nudge", 1, 1, 0.5))
            wait_for(lambda: client.event("cb_guidance_status")[1] < -0.4, "the line moved")
            wait_for(lambda: abs(client.event("cb_guidance_status")[1]) < 0.05,
                     "on the nudged line")
            self.assertEqual(1, client.request("IsSteeringEngaged"))

    def test_records_a_curve_and_drives_along_it(self):
        with Simulator("--speed", "2", "--speed-factor", "50"), Client() as client:
            self.assertEqual(1, client.request("start_wayline", 4))
            self.assertEqual(1, client.request("set_waypoint", 0, 0.0, 0.0, 0.0, 0.0))
            client.notify("subscribe", "cb_wayline_status")
            wait_for(lambda: client.event("cb_wayline_status")[4] > 30.0, "30 m recorded")
            self.assertEqual(1, client.request("set_waypoint", 1, 0.0, 30.0, 0.0, 0.0))
            self.assertEqual(4, client.request("get_wayline")[0])
            self.assertEqual(1, client.request("StartNavigation", 1, 1))
            wait_for(lambda: client.request("EngageSteering", 1) == 1, "engaged")

    def test_tells_why_steering_cannot_be_engaged(self):
        with Simulator() as simulator, Client() as client:
            self.assertEqual(0, client.request("EngageSteering", 1))
            reasons = client.request("why_not_engaged")
            self.assertEqual(1, len(reasons))
            simulator.end()
            self.assertIn("EngageSteering refused: " + reasons[0], simulator.errors())

    def test_writes_the_track(self):
        with tempfile.TemporaryDirectory() as directory:
            path = os.path.join(directory, "track.csv")
            with Simulator("--speed", "2", "--speed-factor", "20", "--track", path) as simulator, \
                    Client() as client:
                client.notify("subscribe", "cb_relative_position")
                wait_for(lambda: client.event("cb_relative_position")[1] > 20.0, "20 m driven")
                simulator.end()
            with open(path, newline="", encoding="utf-8") as file:
                rows = list(csv.DictReader(file))
        self.assertGreater(len(rows), 90)
        self.assertAlmostEqual(0.1, float(rows[1]["time_s"]) - float(rows[0]["time_s"]))
        self.assertGreater(float(rows[-1]["true_y_m"]), 19.0)
        self.assertEqual({"0"}, {row["engaged"] for row in rows})


if __name__ == "__main__":
    unittest.main()
