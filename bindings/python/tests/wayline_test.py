"""Waylines: their kinds, forms and points."""

import copy
import pickle
import subprocess
import sys
import unittest

import numpy
from kestrove_navigation import (AbCurveWayline, AbWayline, AHeadingWayline, CircleWayline,
                                 EmptyWayline, PathWayline, ReplayWayline, SplineWayline, Vector3,
                                 Wayline, WaylineType)

A, B, C = (1.0, 2.0, 3.0), (4.0, 5.0, 6.0), (7.0, 8.0, 9.0)

# wayline, its kind, its list form
KINDS = [
    (EmptyWayline(), WaylineType.EMPTY, []),
    (AbWayline(A, B), WaylineType.AB, [0, *A, *B]),
    (AHeadingWayline(A, 0.5), WaylineType.A_HEADING, [1, *A, 0.5]),
    (CircleWayline(A, B, C), WaylineType.CIRCLE, [2, *A, *B, *C]),
    (SplineWayline([A, B]), WaylineType.SPLINE, [3, 2, *A, *B]),
    (SplineWayline(), WaylineType.SPLINE, [3, 0]),
    (AbCurveWayline([A, B, C]), WaylineType.AB_CURVE, [4, 3, *A, *B, *C]),
    (PathWayline(), WaylineType.PATH, [5]),
    (ReplayWayline(), WaylineType.REPLAY, [6]),
]


class Kinds(unittest.TestCase):
    def test_write_their_forms(self):
        for wayline, kind, form in KINDS:
            with self.subTest(wayline):
                self.assertIs(kind, wayline.type)
                self.assertEqual(form, wayline.to_list())
                text = [str(value) if isinstance(value, int) else f"{value:f}" for value in form]
                self.assertEqual(" ".join(text), wayline.to_string())

    def test_come_back_from_their_forms(self):
        for wayline, _, form in KINDS:
            comes_back = len(form) > 2 or form in ([5], [6])
            with self.subTest(wayline):
                self.assertEqual(wayline if comes_back else None, Wayline.from_list(form))
                loaded = type(wayline)()
                self.assertEqual(comes_back, loaded.load_list(form))
                if len(form) > 2:
                    self.assertEqual(wayline, loaded)
                    self.assertEqual(wayline, Wayline.from_string(wayline.to_string()))
                    self.assertTrue(loaded.load_string(wayline.to_string()))

    def test_can_be_copied_and_pickled(self):
        for wayline, _, _ in KINDS:
            with self.subTest(wayline):
                for copied in (copy.copy(wayline), copy.deepcopy(wayline),
                               pickle.loads(pickle.dumps(wayline))):
                    self.assertIs(type(wayline), type(copied))
                    self.assertEqual(wayline, copied)
                    self.assertIsNot(wayline, copied)

    def test_differ_by_kind_and_values(self):
        for place, (wayline, _, _) in enumerate(KINDS):
            for other_place, (other, _, _) in enumerate(KINDS):
                self.assertEqual(place == other_place, wayline == other)
        self.assertNotEqual(AbWayline(A, B), AbWayline(A, C))
        self.assertNotEqual(AbWayline(), None)
        self.assertRaises(TypeError, Wayline)

    def test_have_attributes_to_read_and_set(self):
        line = AHeadingWayline()
        line.point_a = [1, 2.5, numpy.float32(3)]
        line.heading = 0.5
        self.assertEqual(Vector3(1.0, 2.5, 3.0), line.point_a)
        self.assertEqual(2.5, line.point_a.y)
        self.assertEqual("<AHeadingWayline [1, 1.0, 2.5, 3.0, 0.5]>", repr(line))
        for wrong in ((1, 2), "123", None, (1, 2, "x")):
            with self.subTest(wrong), self.assertRaises(TypeError):
                line.point_a = wrong


class Points(unittest.TestCase):
    def test_are_an_array(self):
        curve = AbCurveWayline([A, B])
        self.assertIsInstance(curve.points, numpy.ndarray)
        self.assertEqual((2, 3), curve.points.shape)
        self.assertEqual((0, 3), AbCurveWayline().points.shape)
        curve.points[0, 0] = 99  # of a copy
        self.assertEqual([list(A), list(B)], curve.points.tolist())

    def test_are_taken_from_whatever_has_three_numbers_a_row(self):
        rows = numpy.arange(12.0).reshape(4, 3)
        expected = rows.tolist()
        wide = numpy.zeros((4, 6))
        wide[:, ::2] = rows
        read_only = rows.copy()
        read_only.flags.writeable = False
        for points in (rows, read_only, rows.astype("float32"), rows.astype(int), wide[:, ::2],
                       numpy.asfortranarray(rows), rows[::-1][::-1], expected,
                       [tuple(row) for row in expected], (row for row in rows),
                       [Vector3(*row) for row in expected], memoryview(rows)):
            with self.subTest(points):
                self.assertEqual(expected, SplineWayline(points).points.tolist())

    def test_are_left_alone_by_what_is_none(self):
        curve = AbCurveWayline([A, B])
        for wrong, error in (([A, (1, 2)], ValueError), ([1, 2, 3], ValueError), (1, TypeError),
                             (numpy.zeros((2, 2)), ValueError), (numpy.zeros(3), ValueError),
                             ([A, "abc"], ValueError), (None, TypeError)):
            with self.subTest(wrong):
                with self.assertRaises(error):
                    curve.points = wrong
                self.assertEqual([list(A), list(B)], curve.points.tolist())

    def test_are_a_list_without_numpy(self):
        program = ("import sys; sys.modules['numpy'] = None\n"
                   "from kestrove_navigation import SplineWayline\n"
                   "print(SplineWayline([(1, 2, 3)]).points, SplineWayline().points)")
        result = subprocess.run([sys.executable, "-B", "-c", program], capture_output=True,
                                text=True, timeout=20, check=False)
        self.assertEqual("[Vector3(x=1.0, y=2.0, z=3.0)] []\n", result.stdout, result.stderr)


class Forms(unittest.TestCase):
    def test_that_no_kind_accepts_give_none(self):
        for text in ("", "x", "7 1", "0 1 2", "-1"):
            with self.subTest(text):
                self.assertIsNone(Wayline.from_string(text))
        for form in ([], [7], [-1], [0, 1.0], [3, 0]):
            with self.subTest(form):
                self.assertIsNone(Wayline.from_list(form))

    def test_of_lists_hold_what_the_link_carries(self):
        self.assertEqual(ReplayWayline(), Wayline.from_list([numpy.int64(6), None, "x", [1.5]]))
        self.assertEqual(AbWayline(A, B), Wayline.from_list(numpy.array([0, *A, *B])))
        self.assertRaises(ValueError, Wayline.from_list, [3, -1, 0.0])
        self.assertRaises(TypeError, Wayline.from_list, [{}])
        self.assertRaises(OverflowError, Wayline.from_list, [2**70])


if __name__ == "__main__":
    unittest.main()
