"""The driving service for applications' tests."""

import subprocess
import sys
import tempfile
import textwrap
import unittest
from pathlib import Path

from kestrove_navigation import AbWayline, NavigationClient
from kestrove_navigation.testing import DrivingService

try:
    import pytest
except ImportError:
    pytest = None


def engaged(client):
    """Sets a line to the north and engages."""
    client.set_wayline(AbWayline((0, 0, 0), (0, 100, 0)))
    client.start_navigation(True)
    return client.engage_steering()


class Driving(unittest.TestCase):
    def test_stands_until_it_is_advanced(self):
        with DrivingService(speed=2.0, x=1.5, y=-3.0, heading=0.25) as service:
            state = service.state()
            self.assertEqual((0.0, 1.5, -3.0, 0.25), state[:4])
            self.assertEqual(0.5, service.advance(0.5))
            self.assertEqual(0.5, service.time())

    def test_steers_the_machine_to_the_line(self):
        with DrivingService(speed=2.5, x=1.0) as service, NavigationClient() as client:
            self.assertEqual(1, engaged(client))
            service.advance(30)
            state = service.state()
            self.assertTrue(state.is_engaged)
            self.assertLess(abs(state.cross_track_error), 0.05)
            client.set_velocity_set_point(0.0)
            self.assertTrue(service.advance_until(lambda: not service.state().is_engaged, 30))
            self.assertNotEqual("", service.state().drop_reason)
            self.assertTrue(any("steering dropped" in line for line in service.log()))
            self.assertFalse(service.advance_until(lambda: service.state().is_engaged, 1))

    def test_is_the_same_each_time(self):
        def drive():
            with DrivingService(speed=2.5, x=1.0, ground="field", seed=7, receiver="sbas",
                                backlash=0.01, centre_bias=0.01) as service, \
                    NavigationClient() as client:
                engaged(client)
                service.advance(60)
                return service.state()
        self.assertEqual(drive(), drive())

    def test_refuses_what_it_cannot_do(self):
        for options in ({"ground": "ice"}, {"receiver": "none"}):
            with self.assertRaises(ValueError):
                DrivingService(**options)
        with DrivingService() as service:
            for seconds in (0.03, -1, 60.02, float("nan")):
                with self.assertRaises(ValueError):
                    service.advance(seconds)
            with self.assertRaises(RuntimeError):
                DrivingService()
        with self.assertRaisesRegex(ValueError, "closed"):
            service.time()


@unittest.skipUnless(pytest, "no pytest; scripts/setup test installs python3-pytest")
class Fixture(unittest.TestCase):
    def test_has_the_options_of_the_mark(self):
        with tempfile.TemporaryDirectory() as folder:
            Path(folder, "conftest.py").write_text(
                'pytest_plugins = ["kestrove_navigation.pytest_plugin"]\n', encoding="utf-8")
            Path(folder, "drive_test.py").write_text(textwrap.dedent("""
                import pytest

                @pytest.mark.driving(speed=2.5, y=7.0)
                def test_marked(driving_service):
                    assert driving_service.state().y == 7.0
                    driving_service.advance(2)
                    assert driving_service.state().y > 11.0

                def test_unmarked(driving_service):
                    assert driving_service.state().speed == 0.0
                """), encoding="utf-8")
            ended = subprocess.run(
                [sys.executable, "-B", "-m", "pytest", "-q", "--strict-markers", "-p",
                 "no:cacheprovider", folder],
                capture_output=True, text=True, timeout=120, check=False)
        self.assertEqual(0, ended.returncode, ended.stdout + ended.stderr)
        self.assertIn("2 passed", ended.stdout)


if __name__ == "__main__":
    unittest.main()
