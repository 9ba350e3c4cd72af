"""Threads of Python beside a call that waits."""

import threading
import time
import unittest

from kestrove_navigation import NavigationClient
from scripted_peer import DEADLINE_SECONDS, SILENCE, ScriptedPeer


class Counting:
    """A thread that counts as long as it is let."""

    def __init__(self):
        self.count = 0
        self._stop = threading.Event()
        self._thread = threading.Thread(target=self._run)

    def _run(self):
        while not self._stop.wait(0.001):
            self.count += 1

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._stop.set()
        self._thread.join()


class Threads(unittest.TestCase):
    def test_run_while_a_call_waits_for_a_silent_service(self):
        with ScriptedPeer() as peer, NavigationClient() as client, Counting() as other:
            client.timeout = 0.3
            peer.replies.put(SILENCE)
            before, start = other.count, time.monotonic()
            self.assertEqual(-1, client.engage_steering())
            self.assertGreaterEqual(time.monotonic() - start, 0.3)
            self.assertGreater(other.count - before, 10)

    def test_run_while_events_are_waited_for(self):
        with ScriptedPeer(), NavigationClient() as client, Counting() as other:
            client.timeout = 0.2
            before = other.count
            self.assertFalse(client.process_messages(wait=True))
            self.assertEqual([], list(client.events(timeout=0.1)))
            self.assertGreater(other.count - before, 10)

    def test_take_turns_at_one_client(self):
        shifts, widths = [], []
        with ScriptedPeer() as peer, NavigationClient() as client:
            client.on_offset(shifts.append)

            def ask():
                for _ in range(200):
                    widths.append(client.get_implement_width())
            for number in range(800):
                peer.replies.put(float(number))
            threads = [threading.Thread(target=ask) for _ in range(4)]
            for thread in threads:
                thread.start()
            peer.push("cb_offsets", 0.0)
            for number in range(1, 100):
                peer.push_again("cb_offsets", float(number))
            deadline = time.monotonic() + DEADLINE_SECONDS
            while len(shifts) < 100 and time.monotonic() < deadline:
                client.process_messages(wait=True)
            for thread in threads:
                thread.join(DEADLINE_SECONDS)
        self.assertEqual([float(number) for number in range(800)], sorted(widths))
        self.assertEqual([float(number) for number in range(100)], shifts)


if __name__ == "__main__":
    unittest.main()
