"""Drives in the test's own process: what they are like, what comes of them, what is refused."""

import csv
import dataclasses
import math
import os
import pickle
import signal
import subprocess
import sys
import tempfile
import textwrap
import threading
import time
import unittest
from pathlib import Path
from unittest import mock

from kestrove_navigation import (AbCurveWayline, AbWayline, CircleWayline, EmptyWayline, PathWayline,
                                 SplineWayline)

try:
    import numpy
    from kestrove_navigation import simulation
    from kestrove_navigation.simulation import Case, Ground, Machine, Receiver, Tuning, drive
except ImportError:
    numpy = None
try:
    import msgpack  # pylint: disable=unused-import
    from navigation_service import Client, Simulator, run_to_end
except ImportError:
    Client = None
try:
    import matplotlib
except ImportError:
    matplotlib = None

NORTH = AbWayline((0, 0, 0), (0, 100, 0))
DEGREE = math.pi / 180.0
# What the simulator's track file has of a row, and how it writes that.
TRACK = {"time_s": ("time", ".2f"), "true_x_m": ("true_x", ".4f"), "true_y_m": ("true_y", ".4f"),
         "true_heading_rad": ("true_heading", ".6f"), "measured_x_m": ("measured_x", ".4f"),
         "measured_y_m": ("measured_y", ".4f"), "speed_mps": ("speed", ".4f"),
         "steering_angle_rad": ("steering_angle", ".6f"),
         "cross_track_error_m": ("cross_track_error", ".5f"),
         "implement_cross_track_error_m": ("implement_cross_track_error", ".5f"),
         "pass": ("pass_number", "d"), "engaged": ("engaged", "d"),
         "receiver_drift_error_m": ("receiver_drift_error", ".5f")}


def waves(kind):
    """A line with bends."""
    return kind([(8.0 * math.sin(north / 25.0), float(north), 0.0) for north in range(0, 150, 2)])


def same(one, other):
    """Whether two results are the same, bit for bit."""
    return (one.figures == other.figures and one.drop_reason == other.drop_reason and
            all(column.tobytes() == other.columns()[name].tobytes()
                for name, column in one.columns().items()))


@unittest.skipUnless(numpy, "no NumPy; scripts/setup test installs python3-numpy")
class Drives(unittest.TestCase):
    def test_are_the_same_each_time_by_their_seed(self):
        def driven(seed):
            return drive(waves(AbCurveWayline), speed=3.0, seconds=15, seed=seed, ground="field",
                         machine=Machine(backlash=0.01), receiver=Receiver("sbas", rate=5))
        first = driven(7)
        self.assertTrue(same(first, driven(7)))
        self.assertFalse(same(first, driven(8)))
        self.assertEqual(150, len(first.time))

    def test_are_steered_to_the_line(self):
        result = drive(NORTH, speed=2.5, seconds=20, start=(1.0, 0.0, 0.0))
        self.assertTrue(result.engaged_to_the_end and result.engaged.all())
        self.assertAlmostEqual(1.0, result.cross_track_error[0], places=2)
        self.assertLess(abs(result.cross_track_error[-1]), 0.05)
        self.assertAlmostEqual(50.0, result.true_y[-1], delta=0.5)
        self.assertAlmostEqual(result.true_x[-1], result.estimated_x[-1], delta=0.05)
        self.assertTrue(8.0 <= result.figures.way_to_line <= 20.0)

    def test_are_led_by_hand_first(self):
        result = drive(NORTH, seconds=5, lead=2.0, start=(0.5, 0.0, 0.0))
        self.assertEqual(70, len(result.time))
        by_hand = result.time < 2.0
        self.assertFalse(result.engaged[by_hand].any())
        self.assertTrue(result.engaged[result.time > 2.0].all())
        self.assertEqual({0.0}, set(result.way[by_hand]))
        self.assertEqual({0.0}, set(result.cross_track_error[by_hand]))  # there is no line yet

    def test_have_the_figures_that_numpy_calculates(self):
        for options in ({"start": (-1.0, 0.0, 0.0)}, {"start": (0.5, 0.0, 0.2), "lead": 1.0},
                        {"tuning": Tuning(sensitivity=3.0, overshoot=0.2), "start": (1.2, 0, 0)}):
            with self.subTest(options):
                result = drive(NORTH, seconds=20, ground="field", **options)
                engaged, figures = result.engaged, result.figures
                errors, ways = result.cross_track_error[engaged], result.way[engaged]
                implement = numpy.abs(result.implement_cross_track_error[engaged])
                self.assertEqual(numpy.percentile(numpy.abs(errors), 95, method="lower"),
                                 figures.error_95)
                self.assertAlmostEqual(numpy.abs(errors).mean(), figures.mean_error, places=12)
                self.assertEqual(numpy.percentile(implement, 95, method="lower"),
                                 figures.implement_error_95)
                self.assertAlmostEqual(implement.mean(), figures.implement_mean_error, places=12)
                self.assertEqual(max(0.0, (-numpy.sign(errors[0]) * errors).max()), figures.overshoot)
                outside = numpy.flatnonzero(numpy.abs(errors) > 0.05)
                settled = abs(errors[-1]) <= 0.05
                self.assertEqual(ways[outside[-1]] if settled else math.inf, figures.way_to_line)

    def test_never_come_to_the_line_where_they_end_beside_it(self):
        self.assertEqual(math.inf, drive(NORTH, seconds=1, start=(1.0, 0.0, 0.0)).figures.way_to_line)

    def test_go_on_without_steering_once_that_is_dropped(self):
        result = drive(SplineWayline([(0, 0, 0), (0, 10, 0), (0, 20, 0)]), seconds=15)
        self.assertFalse(result.engaged_to_the_end)
        self.assertNotEqual("", result.drop_reason)
        self.assertIn(result.drop_reason, repr(result))
        self.assertEqual(150, len(result.time))
        last = numpy.flatnonzero(result.engaged)[-1]
        self.assertLess(result.true_y[last], 25.0)
        self.assertGreater(result.true_y[-1], 35.0)
        errors = numpy.abs(result.cross_track_error[:last + 1])
        self.assertAlmostEqual(errors.mean(), result.figures.mean_error, places=12)

    def test_go_on_at_once_in_threads(self):
        cases = [Case(NORTH, seconds=20, seed=seed, ground="field") for seed in range(3)]
        results = {}
        threads = [threading.Thread(target=lambda case=case: results.update({case.seed: case.drive()}))
                   for case in cases]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        for case in cases:
            self.assertTrue(same(results[case.seed], case.drive()))

    def test_leave_the_interpreter_to_others(self):
        case = Case(NORTH, seconds=200)
        for _ in range(20):  # as often as a busy machine does not let this thread run meanwhile
            taken, seen = [], []

            def work(taken=taken):
                taken.append(time.monotonic())
                case.drive()
                taken.append(time.monotonic())
            thread = threading.Thread(target=work)
            thread.start()
            while len(taken) < 2:
                seen.append(time.monotonic())
            thread.join()
            begin, end = taken
            third = (end - begin) / 3.0
            if any(begin + third < moment < end - third for moment in seen):
                return
        self.fail("nothing else ran in the middle of any drive")

    def test_are_ended_by_ctrl_c(self):
        program = textwrap.dedent("""
            from kestrove_navigation import AbWayline
            from kestrove_navigation.simulation import drive
            print("begun", flush=True)
            for _ in range(1000):
                drive(AbWayline((0, 0, 0), (0, 100, 0)), seconds=86400)
            """)
        with subprocess.Popen([sys.executable, "-B", "-c", program], stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, text=True) as process:
            self.assertEqual("begun\n", process.stdout.readline())
            process.send_signal(signal.SIGINT)
            _, errors = process.communicate(timeout=60)
        self.assertIn("KeyboardInterrupt", errors)

    def test_and_their_cases_can_be_pickled(self):
        case = Case(waves(SplineWayline), seconds=2, ground=Ground("field", tree_line=3.0),
                    receiver=Receiver(antenna=(1.0, 0.0, 2.0)), name="a")
        again = pickle.loads(pickle.dumps(case))
        self.assertEqual(repr(case), repr(again))
        result = case.drive()
        self.assertTrue(same(result, pickle.loads(pickle.dumps(result))))
        self.assertTrue(same(result, again.drive()))

    def test_keep_a_line_of_their_own(self):
        line = AbWayline((0, 0, 0), (0, 100, 0))
        case = Case(line, seconds=2)
        before = case.drive()
        line.point_b = (100, 0, 0)
        self.assertTrue(same(before, case.drive()))

    def test_need_numpy_and_say_so(self):
        program = "import sys; sys.modules['numpy'] = None; import kestrove_navigation.simulation"
        ended = subprocess.run([sys.executable, "-B", "-c", program], capture_output=True, text=True,
                               check=False)
        self.assertEqual(1, ended.returncode)
        self.assertIn("apt-get install python3-numpy", ended.stderr)

    def test_name_matplotlib_where_it_is_missing(self):
        result = drive(NORTH, seconds=1)
        with mock.patch.dict(sys.modules, {"matplotlib": None, "matplotlib.figure": None}):
            with self.assertRaisesRegex(ImportError, "apt-get install python3-matplotlib"):
                result.plot()
            with self.assertRaisesRegex(ImportError, "apt-get install python3-matplotlib"):
                simulation.plot_sweep([result])

    def test_are_drawn(self):
        if not matplotlib:
            self.skipTest("no matplotlib; scripts/setup test installs python3-matplotlib")
        result = drive(NORTH, seconds=2)
        above, errors = result.plot().axes
        drawn = {line.get_label(): line for line in above.lines}
        self.assertEqual({"measured", "machine", "implement"}, set(drawn))
        numpy.testing.assert_array_equal(result.true_y, drawn["machine"].get_ydata())
        numpy.testing.assert_array_equal(100.0 * result.cross_track_error, errors.lines[0].get_ydata())
        figure = simulation.plot_sweep([result, drive(NORTH, seconds=2, speed=4.0)])
        numpy.testing.assert_array_equal([2.5, 4.0], figure.axes[0].lines[0].get_xdata())
        with self.assertRaisesRegex(ValueError, "'ground' is not a number of a Case"):
            simulation.plot_sweep([result], x="ground")
        with tempfile.TemporaryDirectory() as folder:
            result.plot().savefig(os.path.join(folder, "drive.png"))
            self.assertEqual(b"\x89PNG", Path(folder, "drive.png").read_bytes()[:4])


# What is allowed of each number: where it stands, its limits, and the option of the simulator with the
# unit that it has there.
RANGES = [
    (Case, "speed", -5.0, 15.0, "--speed", 1.0), (Case, "seed", 0, 10 ** 15, "--seed", 1),
    (Case, "seconds", 0.02, 86400.0, None, 1.0), (Case, "lead", 0.0, 86400.0, None, 1.0),
    (Machine, "centre_bias", -5 * DEGREE, 5 * DEGREE, "--centre-bias", DEGREE),
    (Machine, "backlash", 0.0, 5 * DEGREE, "--backlash", DEGREE),
    (Machine, "steering_deadband", 0.0, 5 * DEGREE, "--steering-deadband", DEGREE),
    (Machine, "steering_rate_left", DEGREE, 60 * DEGREE, "--steering-rate-left", DEGREE),
    (Machine, "steering_rate_right", DEGREE, 60 * DEGREE, "--steering-rate-right", DEGREE),
    (Machine, "implement_behind", 0.0, 10.0, "--implement=carried:{}", 1.0),
    (Machine, "implement_width", 0.1, 100.0, None, 1.0),
    (Machine, "drawbar", 0.0, 12.0, None, 1.0),
    (Ground, "tree_line", -1e6, 1e6, "--tree-line", 1.0),
    (Receiver, "latency", 0.0, 1.0, "--receiver-latency", 1.0),
    (Tuning, "sensitivity", 0.2, 3.0, None, 1.0), (Tuning, "aggressiveness", 0.2, 3.0, None, 1.0),
    (Tuning, "overshoot", 0.2, 3.0, None, 1.0), (Tuning, "speed_adjust", 0.0, 3.0, None, 1.0),
    (Tuning, "look_ahead_time", 0.2, 10.0, None, 1.0),
]


def made(kind, **values):
    """A value of a class with others as they start."""
    return kind(NORTH, **values) if kind is Case else kind(**values)


@unittest.skipUnless(numpy, "no NumPy; scripts/setup test installs python3-numpy")
class Options(unittest.TestCase):
    def test_take_numbers_within_their_limits(self):
        for kind, name, lowest, highest, *_ in RANGES:
            for limit in (lowest, highest):
                with self.subTest(f"{kind.__name__}.{name}", limit=limit):
                    self.assertEqual(limit, getattr(made(kind, **{name: limit}), name))

    def test_refuse_other_numbers_and_say_what_is_allowed(self):
        for kind, name, lowest, highest, *_ in RANGES:
            for value in (lowest - 0.1 * max(abs(lowest), 1), highest * 1.01 + 1, math.nan, math.inf,
                          "1", None, True, [1.0]):
                if name == "tree_line" and value is None:
                    continue
                with self.subTest(f"{kind.__name__}.{name}", value=value):
                    with self.assertRaisesRegex(ValueError, rf"\b{name} is .*, allowed is "):
                        made(kind, **{name: value})

    def test_refuse_other_words_and_shapes(self):
        for kind, values, allowed in [
                (Case, {"ground": "ice"}, "firm, field"), (Case, {"ground": 1}, "a Ground"),
                (Case, {"receiver": "none"}, "ideal, rtk, sbas"), (Case, {"machine": "rtk"}, "a Machine"),
                (Case, {"tuning": 1.0}, "a Tuning"), (Case, {"guide": "plough"}, "machine, implement"),
                (Case, {"start": (0, 0)}, "3 numbers"), (Case, {"start": (0, 2e6, 0)}, "-1e\\+06 to 1e\\+06 m"),
                (Case, {"follow_nearest_pass": 1}, "True, False"),
                (Case, {"seconds": 0.03}, "whole number of steps"), (Case, {"seed": 1.0}, "without a fraction"),
                (Machine, {"tyres": "soft"}, "rigid, dynamic"), (Machine, {"drawbar": 0.3}, "0, or 0.5 to 12 m"),
                (Machine, {"drawbar": 2.0, "implement_behind": 6.0}, "0 to 5 m"),
                (Ground, {"terrain": "moon"}, "flat, slope, rolling"),
                (Ground, {"terrain": "slope", "slope": 0.6}, "-0.52.* to 0.52.* radians"),
                (Ground, {"slope": 0.1}, "0 unless the terrain is"),
                (Receiver, {"rate": 3}, "1, 2, 5, 10"), (Receiver, {"latency": 0.25}, "in tenths"),
                (Receiver, {"antenna": (0, 0)}, "3 numbers"), (Receiver, {"antenna": (0, 0, 11)}, "-10 to 10 m")]:
            with self.subTest(values), self.assertRaisesRegex(ValueError, f"allowed is .*{allowed}"):
                made(kind, **values)

    def test_cannot_be_changed_unseen(self):
        with self.assertRaises(dataclasses.FrozenInstanceError):
            Case(NORTH).speed = 100.0

    def test_refuse_what_is_no_line(self):
        for line in (None, [0, 0.0, 0.0, 0.0, 0.0, 100.0, 0.0], EmptyWayline(), PathWayline()):
            with self.subTest(line), self.assertRaisesRegex(ValueError, "line is "):
                drive(line)
        for line in (AbWayline((0, 0, 0), (0, 0, 0)), CircleWayline((0, 0, 0), (0, 1, 0), (0, 2, 0)),
                     AbWayline((0, 0, 0), (0, math.nan, 0)), SplineWayline([(0, 0, 0)])):
            with self.subTest(line), self.assertRaisesRegex(ValueError, "the line cannot be driven: "):
                drive(line, seconds=1)

    def test_that_do_not_let_steering_be_engaged_are_reported(self):
        with self.assertRaisesRegex(RuntimeError, "cannot be engaged: .*from the line"):
            drive(NORTH, start=(20.0, 0.0, 0.0))
        with self.assertRaisesRegex(RuntimeError, "cannot be engaged: "):
            drive(NORTH, speed=0.0)

    @unittest.skipUnless(Client and numpy, "no msgpack; scripts/setup test installs python3-msgpack")
    def test_have_the_limits_of_the_simulator(self):
        # Which looks at --least-fix last.
        compared = 0
        for _, name, lowest, highest, option, unit in RANGES:
            lowest, highest = (round(limit / unit, 6) for limit in (lowest, highest))
            for value in (lowest - 1, lowest, highest, highest + 1) if option else ():
                given = f"{value:.0f}" if name == "seed" else f"{value:.15g}"
                words = option.format(given) if "{}" in option else f"{option}={given}"
                ended = run_to_end(words, "--least-fix", "none")
                wrong = "--least-fix" if lowest <= value <= highest else option.partition("=")[0]
                with self.subTest(words):
                    self.assertEqual(2, ended.returncode)
                    self.assertIn(f"{wrong}: ", ended.stderr, name)
                    compared += 1
        self.assertEqual(40, compared)


@unittest.skipUnless(numpy and Client, "no NumPy or msgpack; scripts/setup test installs them")
class Track(unittest.TestCase):
    """A drive is that of the simulator with the same options."""

    def assert_is_that_of_the_simulator(self, case, *options):
        with tempfile.TemporaryDirectory() as folder:
            track = os.path.join(folder, "track.csv")
            with Simulator("--clock", "stepped", "--track", track, "--seed", str(case.seed),
                           "--speed", str(case.speed), *options) as service:
                with Client() as client:
                    for number, value in enumerate(dataclasses.astuple(case.tuning)[:4]):
                        client.notify("set_tuning_parameter", number, value, 0)
                    client.notify("set_lookahead_time", case.tuning.look_ahead_time, 0)
                    client.request("SetImplementWidth", 1, case.machine.implement_width)
                    client.request("simulator_advance", case.lead)
                    client.request("set_wayline", *case.line.to_list())
                    self.assertEqual(1, client.request("StartNavigation", 1, int(case.follow_nearest_pass)))
                    self.assertEqual(1, client.request("EngageSteering", 1))
                    client.request("simulator_advance", case.seconds)
                self.assertEqual(0, service.end())
            with open(track, encoding="utf-8", newline="") as file:
                rows = list(csv.DictReader(file))
        result = case.drive()
        self.assertEqual(len(rows), len(result.time))
        for index, row in enumerate(rows):
            row.pop("run")  # what it takes to repeat the drive
            self.assertEqual(row, {name: format(result.columns()[column][index], form)
                                   for name, (column, form) in TRACK.items()}, index)

    def test_of_an_easy_world(self):
        self.assert_is_that_of_the_simulator(Case(NORTH, seconds=20))

    def test_of_a_hard_world(self):
        self.assert_is_that_of_the_simulator(
            Case(waves(AbCurveWayline), speed=3.5, seconds=25.02, seed=17, start=(0.5, -2.0, 10 * DEGREE),
                 lead=0.5, follow_nearest_pass=True, guide="implement",
                 tuning=Tuning(1.3, 0.8, 1.1, 0.5, 1.25),
                 machine=Machine(centre_bias=1.5 * DEGREE, backlash=0.5 * DEGREE,
                                 steering_deadband=0.25 * DEGREE, steering_rate_left=12 * DEGREE,
                                 steering_rate_right=18 * DEGREE, tyres="dynamic",
                                 implement_behind=1.0, drawbar=3.5, implement_width=4.5),
                 ground=Ground("field", "rolling", tree_line=40.0),
                 receiver=Receiver("sbas", 5, 0.2, False, (0.5, 0.25, 2.5))),
            "--start", "0.5,-2,10", "--guide", "implement", "--centre-bias", "1.5", "--backlash", "0.5",
            "--steering-deadband", "0.25", "--steering-rate-left", "12", "--steering-rate-right", "18",
            "--tyres", "dynamic", "--implement", "trailed:1,3.5", "--ground", "field",
            "--terrain", "rolling", "--tree-line", "40", "--receiver", "sbas", "--receiver-rate", "5",
            "--receiver-latency", "0.2", "--compensation", "off", "--antenna", "0.5,0.25,2.5")

    def test_of_a_slope_and_a_spline_that_ends(self):
        self.assert_is_that_of_the_simulator(
            Case(waves(SplineWayline), speed=8.0, seconds=25, seed=3,
                 ground=Ground(terrain="slope", slope=6 * DEGREE)), "--terrain", "slope:6")


if __name__ == "__main__":
    unittest.main()
