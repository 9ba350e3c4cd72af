"""The search for a better tuning."""

import concurrent.futures
import contextlib
import dataclasses
import io
import os
import subprocess
import sys
import unittest
from unittest import mock

from kestrove_navigation import AbWayline, NavigationClient, TuningParameter

try:
    from kestrove_navigation.simulation import Case, Tuning, error_95, sweep, tune
except ImportError:
    tune = None
try:
    import scipy
except ImportError:
    scipy = None
try:
    from navigation_service import Simulator
except ImportError:
    Simulator = None

NORTH = AbWayline((0, 0, 0), (0, 100, 0))
# Far from well tuned, so that little searching finds better.
BAD = Tuning(sensitivity=0.2, look_ahead_time=4.0)


def mean_error(result):
    """A cost to which the whole of a short drive counts."""
    return result.figures.mean_error


def always_one(_):
    """A cost that no tuning changes."""
    return 1.0


def quiet(case, **options):
    """A short search that prints nothing."""
    return tune(case, **{"seeds": (1, 2), "generations": 1, "population": 3, "progress": False,
                         "report": False, "cost": mean_error, "bounds": {"sensitivity": (0.2, 3.0),
                                                     "look_ahead_time": (0.5, 5.0)}, **options})


@unittest.skipUnless(tune and scipy, "no NumPy or SciPy; scripts/setup test installs python3-scipy")
class Tune(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.case = Case(NORTH, seconds=8, start=(0.6, 0.0, 0.0), tuning=BAD)
        with concurrent.futures.ThreadPoolExecutor(2) as executor:
            cls.found = quiet(cls.case, executor=executor)

    def test_gains_on_seeds_that_it_has_not_seen(self):
        found = self.found
        self.assertEqual(BAD, found.start)
        self.assertLess(found.seen[1], found.seen[0])
        self.assertGreater(found.gain, 0.1)
        unseen = [dataclasses.replace(self.case, seed=seed) for seed in (3, 4)]
        costs = [[mean_error(dataclasses.replace(case, tuning=tuning).drive()) for case in unseen]
                 for tuning in (BAD, found.tuning)]
        self.assertEqual(tuple(sum(each) / 2 for each in costs), found.unseen)
        self.assertEqual((sum(new < old for old, new in zip(*costs)), 2), (found.better, found.drives))
        self.assertEqual(1.0 - found.unseen[1] / found.unseen[0], found.gain)

    def test_searches_what_it_is_given_alone(self):
        searched = {"sensitivity": self.found.tuning.sensitivity,
                    "look_ahead_time": self.found.tuning.look_ahead_time}
        self.assertEqual(dataclasses.replace(BAD, **searched), self.found.tuning)

    def test_finds_the_same_with_processes(self):
        self.assertEqual(self.found, quiet(self.case))

    def test_searches_over_seeds_speeds_and_grounds(self):
        with mock.patch("kestrove_navigation._tune.sweep", wraps=sweep) as watched:
            with concurrent.futures.ThreadPoolExecutor(1) as executor:
                quiet(self.case, seeds=(5,), speeds=(1.0, 2.0), grounds=("firm", "field"),
                      unseen_seeds=(8,), executor=executor, bounds={"sensitivity": (0.2, 3.0)},
                      population=1)
        driven = [{(case.seed, case.speed, case.ground.kind) for case in call.args[0]}
                  for call in watched.call_args_list]
        seen, unseen = ({(seed, speed, ground) for speed in (1.0, 2.0) for ground in ("firm", "field")}
                        for seed in (5, 8))
        self.assertEqual([seen, unseen, unseen], driven)

    def test_prints_the_gain_and_the_commands(self):
        with contextlib.redirect_stdout(io.StringIO()) as printed:
            with concurrent.futures.ThreadPoolExecutor(2) as executor:
                quiet(self.case, executor=executor, report=True)
        self.assertEqual(f"{self.found}\n", printed.getvalue())
        self.assertIn(f"{100 * self.found.gain:+.1f} % gain, better in ", printed.getvalue())
        self.assertTrue(printed.getvalue().endswith("\n".join(self.found.commands) + "\n"))

    def test_says_so_when_nothing_is_gained(self):
        with concurrent.futures.ThreadPoolExecutor(2) as executor:
            found = quiet(self.case, cost=always_one, executor=executor, population=2)
        self.assertEqual((0.0, ()), (found.gain, found.commands))
        self.assertIn("Nothing gained", str(found))

    def test_judges_what_is_guided_and_a_dropped_drive_worst(self):
        result = self.case.drive()
        self.assertEqual(result.figures.error_95, error_95(result))
        guided = dataclasses.replace(result, case=dataclasses.replace(self.case, guide="implement"))
        self.assertEqual(result.figures.implement_error_95, error_95(guided))
        self.assertEqual(10.0, error_95(dataclasses.replace(result, engaged_to_the_end=False)))

    def test_names_the_case_that_cannot_be_driven(self):
        with self.assertWarns(RuntimeWarning), \
                self.assertRaisesRegex(RuntimeError, r"case 0 \(AbWayline, .*cannot be engaged"):
            quiet(Case(NORTH, start=(50.0, 0.0, 0.0)))

    def test_refuses_what_is_not_allowed(self):
        for options, problem in [
                ({"seeds": ()}, "seeds is empty"), ({"seeds": (1.5,)}, "without a fraction"),
                ({"unseen_seeds": (4, 2)}, "unseen_seeds has 2"), ({"speeds": ()}, "speeds is empty"),
                ({"speeds": (99.0,)}, "speed is 99.0, allowed is -5 to 15 m/s"),
                ({"grounds": ("ice",)}, "firm, field"), ({"bounds": {}}, "bounds is empty"),
                ({"bounds": {"gain": (0, 1)}}, "bounds has 'gain', allowed is sensitivity"),
                ({"bounds": {"sensitivity": (0.1, 1.0)}}, "Tuning.sensitivity is 0.1, allowed is 0.2 to 3"),
                ({"bounds": {"overshoot": (2.0, 3.0)}}, "the start value 1.0 within"),
                ({"bounds": {"overshoot": (1.0, 1.0)}}, "rising order"),
                ({"generations": 0}, "generations is 0, allowed is 1 to 10000"),
                ({"population": 0}, "population is 0"), ({"search_seed": -1}, "search_seed is -1")]:
            with self.subTest(options), self.assertRaisesRegex(ValueError, problem):
                quiet(self.case, **options)
        with self.assertRaisesRegex(ValueError, "case is 7, allowed is a Case"):
            tune(7)

    def test_names_scipy_where_it_is_missing(self):
        with mock.patch.dict(sys.modules, {"scipy": None, "scipy.optimize": None}), \
                concurrent.futures.ThreadPoolExecutor(1) as executor, \
                self.assertRaisesRegex(ImportError, "apt-get install python3-scipy"):
            quiet(self.case, executor=executor)

    @unittest.skipUnless(Simulator and "NAVCTL" in os.environ, "no msgpack, or navctl is not built")
    def test_gives_commands_that_set_a_service(self):
        tuning = Tuning(1.234, 0.987, 2.5, 0.75, 2.125)
        with Simulator(), NavigationClient() as client:
            for command in tuning.commands():
                words = command.split()
                self.assertEqual("navctl", words[0])
                subprocess.run([os.environ["NAVCTL"], *words[1:]], check=True, capture_output=True)
            found = [client.get_tuning_parameter(parameter) for parameter in (
                TuningParameter.SENSITIVITY, TuningParameter.AGGRESSIVENESS, TuningParameter.OVERSHOOT,
                TuningParameter.SPEED_ADJUST)]
            self.assertEqual(2.125, client.get_look_ahead_time())
        for given, value in zip(dataclasses.astuple(tuning), found):
            self.assertAlmostEqual(given, value, places=6)


if __name__ == "__main__":
    unittest.main()
