"""The package and the simulator: a machine that is steered."""

import unittest

import kestrove_navigation as navigation
from kestrove_navigation import AbCurveWayline, AbWayline, NavigationClient
from navigation_service import Simulator


class Simulated(unittest.TestCase):
    def setUp(self):
        self.enterContext(Simulator("--speed", "2", "--speed-factor", "10"))
        self.client = self.enterContext(NavigationClient())

    def test_machine_is_engaged_and_steered_to_the_line(self):
        client = self.client
        client.set_wayline(AbWayline((0, 0, 0), (0, 100, 0)))
        self.assertEqual(1, client.start_navigation(True))
        self.assertEqual(1, client.engage_steering())
        self.assertTrue(client.is_steering_engaged())
        self.assertEqual(1, client.nudge(True, 0.25).status)
        status = client.events(navigation.GuidanceStatus, timeout=20)
        self.assertTrue(any(abs(event.cross_track_error) < 0.03 for event in status))
        self.assertEqual(1, client.disengage_steering())

    def test_settings_come_back(self):
        client = self.client
        client.set_implement_width(7.5)
        self.assertEqual(7.5, client.get_implement_width())
        client.set_tuning_parameter(navigation.TuningParameter.OVERSHOOT, 1.25)
        self.assertEqual(1.25, client.get_overshoot())
        lowest, start, highest = client.get_tuning_limits(navigation.TuningParameter.OVERSHOOT)
        self.assertLess(lowest, start)
        self.assertLess(start, highest)

    def test_waylines_come_back(self):
        curve = AbCurveWayline([(0, north, 0) for north in range(50)])
        self.assertIsNone(self.client.get_wayline())
        self.assertTrue(self.client.set_wayline(curve))
        self.assertEqual(curve, self.client.get_wayline())
        north, east = self.client.calculate_headings(
            [curve, AbWayline((0, 0, 0), (100, 0, 0))])
        self.assertAlmostEqual(0.0, north)
        self.assertAlmostEqual(1.5707963, east)

    def test_events_tell_the_present_state(self):
        widths = []
        self.client.set_implement_width(7.5)
        self.client.on_implement_width(widths.append)
        while not widths:
            self.client.process_messages(wait=True)
        self.assertEqual(7.5, widths[-1])


if __name__ == "__main__":
    unittest.main()
