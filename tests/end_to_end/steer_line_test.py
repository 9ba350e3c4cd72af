"""The example that steers onto a line, nudges it and drives a curve, as the demo runs it."""

import os
import pty
import re
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree

from navigation_service import Simulator

LONGEST_SECONDS = 120.0
BESIDE_THE_LINE = ("--speed-factor", "10", "--start", "1.2,0,0", "--speed", "2.5")
ROW = re.compile(r"^  (\S.*?) +([\d.]+) m +([\d.]+) m +([\d.]+) cm +([\d.]+) cm$", re.MULTILINE)
SVG = "{http://www.w3.org/2000/svg}"


def steer_line(picture, **options):
    """Runs the example to its end."""
    options = {"stdout": subprocess.PIPE, **options}
    return subprocess.run([os.environ["STEER_LINE"], picture], stderr=subprocess.PIPE, text=True,
                          timeout=LONGEST_SECONDS, check=False, **options)


def terminal_output(picture, **variables):
    """What a terminal is sent while the example runs to its end."""
    own, others = pty.openpty()
    process = subprocess.Popen([os.environ["STEER_LINE"], picture], stdout=others,
                               env={**os.environ, "TERM": "xterm", **variables})
    os.close(others)
    output = b""
    try:
        while data := os.read(own, 65536):
            output += data
    except OSError:
        pass  # the other end was closed
    finally:
        os.close(own)
        process.wait(LONGEST_SECONDS)
    return output.decode()


class SteerLine(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.picture = os.path.join(directory.name, "demo.svg")

    def test_keeps_to_its_lines_and_draws_the_drive(self):
        with Simulator(*BESIDE_THE_LINE):
            result = steer_line(self.picture)
        self.assertEqual((0, ""), (result.returncode, result.stderr))
        self.assertNotIn("\033", result.stdout)
        self.assertNotIn("\r", result.stdout)
        rows = ROW.findall(result.stdout)
        self.assertEqual(["onto the A-B line", "nudged by 0.5 m", "along an A-B curve"],
                         [row[0] for row in rows])
        for name, driven, settled, overshoot, error in rows:
            with self.subTest(name):
                self.assertGreater(float(driven), 39.0)
                self.assertGreater(float(settled), 3.0)
                self.assertLess(float(settled), 25.0)
                self.assertLess(float(overshoot), 10.0)
                self.assertLess(float(error), 5.0)
        self.assert_shows_the_drive()

    def assert_shows_the_drive(self):
        root = xml.etree.ElementTree.parse(self.picture).getroot()
        self.assertEqual(SVG + "svg", root.tag)
        texts = [element.text for element in root.iter(SVG + "text")]
        for text in ("east (m)", "north (m)", "time (s)", "cross-track error (cm)",
                     "within 2.5 cm of it"):
            self.assertIn(text, texts)
        # Of each of the three legs the drive from above and its error, the latter twice.
        longest = sorted(len(line.get("points").split()) for line in root.iter(SVG + "polyline")
                         if "dasharray" not in "".join(line.keys()))
        self.assertGreaterEqual(sum(length > 100 for length in longest), 9)

    def test_shows_a_line_that_changes_on_a_terminal(self):
        for variables, coloured in (({"NO_COLOR": ""}, True), ({"NO_COLOR": "1"}, False)):
            with self.subTest(variables), Simulator(*BESIDE_THE_LINE):
                output = terminal_output(self.picture, **variables)
                self.assertRegex(output, r"\rnudged by 0.5 m +\[=+ *\]")
                self.assertIn("|######.", output)
                self.assertEqual(coloured, "\033[32m" in output)

    def test_tells_why_it_cannot_be_engaged(self):
        with Simulator("--start", "0,0,90", "--speed", "2.5"):
            result = steer_line(self.picture)
        self.assertEqual(1, result.returncode)
        self.assertIn("steering cannot be engaged: refused", result.stderr)
        self.assertFalse(os.path.exists(self.picture))

    def test_tells_that_there_is_no_service(self):
        result = steer_line(self.picture)
        self.assertEqual(1, result.returncode)
        self.assertRegex(result.stderr, "navigation cannot be started: .*5010")


if __name__ == "__main__":
    unittest.main()
