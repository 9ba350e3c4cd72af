"""Threads of Python beside a call that waits."""

import contextlib
import threading
import time
import unittest

from kestrove_navigation import NavigationClient, Offset
from scripted_peer import DEADLINE_SECONDS, ScriptedPeer


MANY = 10
PATIENCE_SECONDS = DEADLINE_SECONDS / 3


@contextlib.contextmanager
def running(work):
    """Runs the work on a thread of its own."""
    thread = threading.Thread(target=work)
    thread.start()
    yield
    thread.join()


class Counting:
    """A thread that counts as long as it is let."""

    def __init__(self):
        self.count = 0
        self._stop = threading.Event()
        self._thread = threading.Thread(target=self._run)

    def _run(self):
        while not self._stop.wait(0.001):
            self.count += 1

    def counts_on(self):
        """Waits until it has counted some more; true when it has."""
        wanted, deadline = self.count + MANY, time.monotonic() + DEADLINE_SECONDS
        while self.count < wanted and time.monotonic() < deadline:
            time.sleep(0.001)
        return self.count >= wanted

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._stop.set()
        self._thread.join()


class Threads(unittest.TestCase):
    def test_run_while_a_call_waits_for_its_reply(self):
        counted = []
        with ScriptedPeer() as peer, NavigationClient() as client, Counting() as other:
            client.timeout = PATIENCE_SECONDS

            def reply():
                peer.message()  # the call waits from now on
                counted.append(other.counts_on())
                peer.replies.put(7)
            with running(reply):
                self.assertEqual(7, client.engage_steering())
        self.assertEqual([True], counted)

    def test_run_while_events_are_waited_for(self):
        counted = []
        with ScriptedPeer() as peer, NavigationClient() as client, Counting() as other:
            client.timeout = PATIENCE_SECONDS
            events = client.events(Offset, timeout=PATIENCE_SECONDS)
            peer.push("cb_offsets", 0.0)
            next(events)

            def push():
                counted.append(other.counts_on())
                peer.push_again("cb_offsets", 1.0)
            with running(push):
                self.assertTrue(client.process_messages(wait=True))
            with running(push):
                next(events)  # has come
                next(events)
        self.assertEqual([True, True], counted)

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
