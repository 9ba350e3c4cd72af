"""Lines of the most points that are allowed, one after the other: what they take is given back."""

import time
import unittest

import msgpack

from attack import MEBIBYTE, AttackTest, SimulatorUnderAttack
from long_work_test import Caller, field
from memory_test import BACK_SECONDS, MOST_KEPT

MOST_POINTS = 200_000
TIMES = 50


class Lines(AttackTest):
    def test_of_the_most_points_leave_no_memory_behind(self):
        packed = msgpack.packb(field(MOST_POINTS))
        with SimulatorUnderAttack() as simulator:
            caller = Caller()
            self.assertEqual(1, caller.call("set_wayline", *field(10)))
            before = simulator.resident_bytes()
            for _ in range(TIMES):
                number = caller.send_packed("set_wayline", packed)
                self.assertEqual(1, caller.reply(number))
            most = simulator.resident_bytes()
            self.assertEqual(1, caller.call("clear_wayline"))
            end = time.monotonic() + BACK_SECONDS
            while time.monotonic() < end and simulator.resident_bytes() > before + MOST_KEPT:
                time.sleep(0.05)  # between two looks
            kept = simulator.resident_bytes()
            print(f"held {(most - before) / MEBIBYTE:.1f} MiB, kept {(kept - before) / MEBIBYTE:.1f}")
            self.assert_within(kept, before + MOST_KEPT)
            self.assert_ends_in_time(simulator)


if __name__ == "__main__":
    unittest.main()
