"""A drive in stepped time is the same each time, over the link too; scripts/repeat-drives does it a
thousand times under load."""

import unittest

import repeated_drive

RUNS = 4


class ADriveInSteppedTime(unittest.TestCase):
    def test_is_the_same_each_time(self):
        expected = repeated_drive.drive()
        first, second, track = expected
        self.assertGreater(len(first), 500)
        self.assertGreater(len(second), 500)
        self.assertGreater(len(track), 500)
        for run in range(1, RUNS):
            with self.subTest(run=run):
                self.assertEqual("", repeated_drive.difference(expected, repeated_drive.drive()))

    def test_is_told_apart_from_another(self):
        one = [[b"a", b"b"], [b"c"], [b"d"]]
        self.assertEqual("", repeated_drive.difference(one, [[b"a", b"b"], [b"c"], [b"d"]]))
        for other in ([[b"a", b"x"], [b"c"], [b"d"]], [[b"a"], [b"c"], [b"d"]],
                      [[b"a", b"b"], [b"c", b"c"], [b"d"]], [[b"a", b"b"], [b"c"], [b"e"]]):
            self.assertNotEqual("", repeated_drive.difference(one, other))


if __name__ == "__main__":
    unittest.main()
