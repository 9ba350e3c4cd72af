"""Events, as calls and as an iteration."""

import contextlib
import ctypes
import logging
import os
import signal
import sys
import threading
import time
import unittest

import kestrove_navigation as navigation
from kestrove_navigation import NavigationClient, Vector2, WaylineType
from scripted_peer import ScriptedPeer

# operation, event on the link, payload, what the callable is called with, the event's class
ROWS = [
    ("on_engage_status", "cb_engage_status", [1, 0, 1, 0, 1], (True, False, True, False, True),
     "EngageStatus"),
    ("on_guidance_status", "cb_guidance_status", [-2, 0.5, 0.25, 0.125], (-2, 0.5, 0.25, 0.125),
     "GuidanceStatus"),
    ("on_offset", "cb_offsets", [0.5], (0.5,), "Offset"),
    ("on_wayline_status", "cb_wayline_status", [1, 0, 1, 4, 12.5],
     (True, False, True, WaylineType.AB_CURVE, 12.5), "WaylineStatus"),
    ("on_wayline_status", "cb_wayline_status", [1, 0, 1, 99, 12.5], (True, False, True, 99, 12.5),
     "WaylineStatus"),
    ("on_implement_width", "cb_implement_width_changed", [6.0], (6.0,), "ImplementWidth"),
    ("on_tuning_parameter_changed", "cb_tuning_parameter_changed", [2, 0.5],
     (navigation.TuningParameter.OVERSHOOT, 0.5), "TuningParameterChange"),
    ("on_relative_position", "cb_relative_position", [1.0, 2.0, 0.5], (Vector2(1.0, 2.0), 0.5),
     "RelativePosition"),
]


class Callables(unittest.TestCase):
    def test_are_called_with_the_values_of_their_event(self):
        for operation, event, payload, values, _ in ROWS:
            calls = []
            with self.subTest(operation), ScriptedPeer() as peer, NavigationClient() as client:
                getattr(client, operation)(lambda *told, calls=calls: calls.append(told))
                peer.push(event, *payload)
                self.assertTrue(client.process_messages(wait=True))
                self.assertEqual([values], calls)

    def test_get_the_points_to_draw(self):
        drawn = []
        with ScriptedPeer() as peer, NavigationClient() as client:
            client.on_draw_points(drawn.append)
            peer.push("cb_draw_points", 2, 1.0, 2.0, 3.0, 4.0)
            client.process_messages(wait=True)
        self.assertEqual([[1.0, 2.0], [3.0, 4.0]], [list(point) for point in drawn[0]])

    def test_can_be_set_by_a_decorator(self):
        shifts = []
        with ScriptedPeer() as peer, NavigationClient() as client:
            @client.on_offset
            def shifted(shift):
                shifts.append(shift)
            self.assertTrue(callable(shifted))
            peer.push("cb_offsets", 0.5)
            client.process_messages(wait=True)
        self.assertEqual([0.5], shifts)

    def test_are_called_no_more_when_taken_out(self):
        shifts = []
        with ScriptedPeer() as peer, NavigationClient() as client:
            client.on_offset(shifts.append)
            peer.push("cb_offsets", 0.5)
            client.process_messages(wait=True)
            client.on_offset(None)
            peer.push_again("cb_offsets", 1.5)
            client.process_messages(wait=True)
            client.on_offset(shifts.append)
            peer.push_again("cb_offsets", 2.5)
            client.process_messages(wait=True)
        self.assertEqual([0.5, 2.5], shifts)

    def test_raise_through_the_delivery_and_leave_what_follows(self):
        shifts = []

        def fail_once(shift):
            shifts.append(shift)
            if len(shifts) == 1:
                raise LookupError("no display")
        with ScriptedPeer() as peer, NavigationClient() as client:
            client.on_offset(fail_once)
            peer.push("cb_offsets", 0.5)
            peer.push_again("cb_offsets", 1.5)
            with self.assertRaisesRegex(LookupError, "no display"):
                client.process_messages(wait=True)
            while len(shifts) < 2:
                client.process_messages(wait=True)
        self.assertEqual([0.5, 1.5], shifts)

    def test_may_call_operations(self):
        widths = []
        with ScriptedPeer() as peer, NavigationClient() as client:
            client.on_offset(lambda _: widths.append(client.get_implement_width()))
            peer.replies.put(6.0)
            peer.push("cb_offsets", 0.5)
            client.process_messages(wait=True)
        self.assertEqual([6.0], widths)

    def test_may_end_the_connection(self):
        with ScriptedPeer() as peer, NavigationClient() as client:
            client.on_offset(lambda _: client.disconnect())
            peer.push("cb_offsets", 0.5)
            client.process_messages(wait=True)
            self.assertEqual(-1, client.fileno())

    def test_must_be_callable(self):
        with self.assertRaises(TypeError):
            NavigationClient().on_offset(1)


class Iteration(unittest.TestCase):
    def test_gives_events_and_ends_when_none_comes(self):
        for operation, event, payload, values, kind in ROWS:
            with self.subTest(operation), ScriptedPeer() as peer, NavigationClient() as client:
                events = client.events(getattr(navigation, kind), timeout=0.05)
                peer.push(event, *payload)
                told = list(events)
                self.assertEqual([values], told)
                self.assertIs(getattr(navigation, kind), type(told[0]))
                self.assertRaises(StopIteration, next, events)

    def test_gives_all_kinds_without_a_choice(self):
        with ScriptedPeer() as peer, NavigationClient() as client:
            events = client.events(timeout=10)
            subscribed = {peer.message()[2][0] for _ in range(8)}
            self.assertEqual(8, len(subscribed))
            peer.push_again("cb_offsets", 0.5)
            peer.push_again("cb_guidance_status", 1, 0.5, 0.25, 0.125)
            self.assertEqual(navigation.Offset(0.5), next(events))
            self.assertEqual(1, next(events).pass_number)

    def test_goes_on_beside_callables_and_other_iterations(self):
        shifts = []
        with ScriptedPeer() as peer, NavigationClient() as client:
            client.on_offset(shifts.append)
            iterations = [client.events(navigation.Offset, timeout=10) for _ in range(2)]
            client.events(navigation.Offset)  # dropped at once
            peer.push("cb_offsets", 0.5)
            self.assertEqual([(0.5,), (0.5,)], [next(events) for events in iterations])
        self.assertEqual([0.5], shifts)

    def test_takes_in_what_another_thread_lets_arrive(self):
        with ScriptedPeer() as peer, NavigationClient() as client:
            events = client.events(navigation.Offset)
            pusher = threading.Thread(target=peer.push, args=("cb_offsets", 0.5))
            pusher.start()
            self.assertEqual((0.5,), next(events))
            pusher.join()

    def test_ends_at_once_without_time(self):
        self.assertEqual([], list(NavigationClient().events(timeout=0)))

    def test_is_interrupted_by_a_signal_handler_that_raises(self):
        client = NavigationClient()
        timer = threading.Timer(0.1, os.kill, (os.getpid(), signal.SIGINT))
        timer.start()
        with self.assertRaises(KeyboardInterrupt):
            next(client.events())
        timer.join()

    def test_keeps_no_more_than_the_newest_events(self):
        with ScriptedPeer() as peer, NavigationClient() as client:
            events = client.events(navigation.Offset, timeout=10)
            for number in range(5000):
                (peer.push_again if number else peer.push)("cb_offsets", float(number))
                if number % 1000 == 999:
                    delivered = 0
                    while delivered < 1000:
                        delivered += client.check_callbacks()
            self.assertEqual((904.0,), next(events))
            self.assertEqual(0, client.dropped_events)

    def test_ends_when_it_is_closed(self):
        with ScriptedPeer() as peer, NavigationClient() as client:
            with client.events(navigation.Offset, timeout=10) as events:
                kept = client.events(navigation.Offset, timeout=10)
                peer.push("cb_offsets", 0.5)
                self.assertEqual((0.5,), next(events))
            self.assertRaises(StopIteration, next, events)
            peer.push_again("cb_offsets", 1.5)
            self.assertEqual([(0.5,), (1.5,)], [next(kept), next(kept)])
            self.assertRaises(StopIteration, next, events)

    def test_can_be_named_in_annotations(self):
        annotation = navigation.EventIterator[navigation.Offset]
        self.assertIs(navigation.EventIterator, annotation.__origin__)

    def test_refuses_what_is_no_kind_or_no_time(self):
        client = NavigationClient()
        self.assertRaises(TypeError, client.events, int)
        self.assertRaises(ValueError, client.events, timeout=-1)


class Waiting(unittest.TestCase):
    def test_is_interrupted_by_a_signal_handler_that_raises(self):
        with ScriptedPeer(), NavigationClient() as client:
            client.timeout = None
            timer = threading.Timer(0.1, os.kill, (os.getpid(), signal.SIGINT))
            timer.start()
            with self.assertRaises(KeyboardInterrupt):
                client.process_messages(wait=True)
            timer.join()

    def test_goes_on_after_a_signal_handler_that_does_not_raise(self):
        handled = []
        kept = signal.signal(signal.SIGUSR1, lambda *_: handled.append(True))
        self.addCleanup(signal.signal, signal.SIGUSR1, kept)
        with ScriptedPeer() as peer, NavigationClient() as client:
            client.on_offset(lambda _: None)
            while peer.message() != [2, "subscribe", ["cb_offsets"]]:
                pass

            def signal_and_push():
                os.kill(os.getpid(), signal.SIGUSR1)
                peer.push_again("cb_offsets", 0.5)
            timer = threading.Timer(0.1, signal_and_push)
            timer.start()
            self.assertTrue(client.process_messages(wait=True))
            timer.join()
        self.assertEqual([True], handled)

    def test_ends_with_the_time_out(self):
        with ScriptedPeer(), NavigationClient() as client:
            client.timeout = 0.25
            start = time.monotonic()
            self.assertFalse(client.process_messages(wait=True))
            self.assertGreaterEqual(time.monotonic() - start, 0.25)

    def test_leaves_the_client_to_other_threads(self):
        with ScriptedPeer() as peer, NavigationClient() as client:
            client.timeout = None
            client.on_offset(lambda _: None)
            waiter = threading.Thread(target=client.process_messages, args=(True,))
            waiter.start()
            peer.replies.put(6.0)
            self.assertEqual(6.0, client.get_implement_width())
            self.assertTrue(waiter.is_alive())
            peer.push("cb_offsets", 0.5)
            waiter.join()


class TraceLines(unittest.TestCase):
    TRACE = "CNavigationAPI::ImplementWidthChangedCallback"
    READ = ["CPathWayline::LoadString: 5 %s", "CPathWayline::LoadString: split string length: 2"]

    def setUp(self):
        self.lines = []
        handler = logging.Handler()
        handler.emit = lambda record: self.lines.append(record.getMessage())
        self.logger = logging.getLogger("kestrove_navigation")
        self.logger.addHandler(handler)
        self.addCleanup(self.logger.removeHandler, handler)
        self.addCleanup(self.logger.setLevel, self.logger.level)
        self.logger.setLevel(logging.DEBUG)

    def test_are_logged_before_the_callable_is_called(self):
        with ScriptedPeer() as peer, NavigationClient() as client, self._captured() as output:
            client.on_implement_width(lambda width: self.lines.append(width))
            peer.push("cb_implement_width_changed", 6.0)
            client.process_messages(wait=True)
            self.assertEqual(b"", output())
        self.assertEqual([self.TRACE, 6.0], self.lines)

    def test_of_text_readers_are_logged_and_nothing_is_printed(self):
        for read in (navigation.Wayline.from_string, navigation.PathWayline().load_string):
            self.lines.clear()
            with self.subTest(read), self._captured() as output:
                read("5 %s")
                self.assertEqual(b"", output())
                self.assertEqual(self.READ, self.lines)

    def test_of_a_curve_are_six(self):
        navigation.Wayline.from_string("4 0")
        self.assertEqual(6, len(self.lines))

    def test_are_for_those_who_look_for_details(self):
        self.logger.setLevel(logging.INFO)
        navigation.Wayline.from_string("5 0")
        self.assertEqual([], self.lines)

    def test_are_no_reason_to_fail_when_they_cannot_be_logged(self):
        def refuse(record):
            raise LookupError("no disk")
        self.logger.addFilter(refuse)
        self.addCleanup(self.logger.removeFilter, refuse)
        unraisable = []
        self.addCleanup(setattr, sys, "unraisablehook", sys.unraisablehook)
        sys.unraisablehook = unraisable.append
        self.assertIsNotNone(navigation.Wayline.from_string("4 0"))
        self.assertEqual({LookupError}, {each.exc_type for each in unraisable})

    @staticmethod
    @contextlib.contextmanager
    def _captured():
        """What is written to the descriptor of standard output, by whatever language."""
        libc = ctypes.CDLL(None)
        libc.fflush(None)
        reader, writer = os.pipe()
        os.set_blocking(reader, False)
        kept = os.dup(1)
        os.dup2(writer, 1)
        os.close(writer)

        def output():
            libc.fflush(None)
            try:
                return os.read(reader, 65536)
            except BlockingIOError:
                return b""
        try:
            yield output
        finally:
            os.dup2(kept, 1)
            for descriptor in (kept, reader):
                os.close(descriptor)


if __name__ == "__main__":
    unittest.main()
