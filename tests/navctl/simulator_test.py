"""navctl's commands for what only the simulator does."""

import unittest

from navctl_program import answer, navctl
from navigation_service import Client, Simulator


class TheSimulatorsTime(unittest.TestCase):
    def test_is_moved_on_and_told(self):
        with Simulator("--clock", "stepped", "--speed", "2"):
            self.assertEqual("0\n", navctl("simulator", "time").stdout)
            self.assertEqual("60\n", navctl("simulator", "advance", "60").stdout)
            self.assertEqual("60.02\n", navctl("simulator", "advance", "0.02").stdout)
            self.assertEqual((0, {"value": 60.02, "unit": "s"}), answer("simulator", "time"))

    def test_is_moved_on_by_whole_steps_of_a_minute_at_most(self):
        with Simulator("--clock", "stepped"):
            for seconds, reason in (("0.03", "not a whole number of steps of 0.02 s"),
                                    ("60.02", "at most 60 s"), ("-1", "not a time"),
                                    ("nan", "not a time")):
                with self.subTest(seconds):
                    result = navctl("simulator", "advance", seconds)
                    self.assertEqual((1, ""), (result.returncode, result.stdout))
                    self.assertIn(reason, result.stderr)
            self.assertEqual("0\n", navctl("simulator", "time").stdout)

    def test_passes_by_itself_unless_it_is_stepped(self):
        with Simulator():
            code, reply = answer("simulator", "advance", "1")
            self.assertEqual(1, code)
            self.assertIn("--clock stepped", reply["reason"])

    def test_wants_a_number(self):
        for words in (["advance"], ["advance", "soon"], ["advance", "1", "2"], []):
            with self.subTest(words):
                self.assertEqual(2, navctl("simulator", *words).returncode)

    def test_is_asked_for_where_there_is_a_service(self):
        for words in (["advance", "1"], ["time"], ["describe"]):
            self.assertEqual(3, navctl("simulator", *words).returncode)


class TheSimulatorsRun(unittest.TestCase):
    def test_is_described_in_a_line(self):
        with Simulator("--clock", "stepped", "--seed", "7", "--ground", "field"), \
                Client() as client:
            client.request("simulator_advance", 1.5)
            self.assertRegex(navctl("simulator", "describe").stdout,
                             r"^version \S+: navigation-simulator --clock stepped --seed 7 "
                             r"--ground field; time 1.50 s\n$")
            code, reply = answer("simulator", "describe")
            self.assertEqual(0, code)
            self.assertIn("--seed 7", reply["value"])


if __name__ == "__main__":
    unittest.main()
