"""How failures are distinguished."""

import unittest

from kestrove_navigation import AbWayline, ErrorCode, NavigationClient, NavigationError
from scripted_peer import DEADLINE_SECONDS, SILENCE, ScriptedPeer, ServiceError

# what the peer does, and what the client then says
FAILURES = [
    ("silence", SILENCE, ErrorCode.TIMED_OUT),
    ("an error", ServiceError("no GNSS"), ErrorCode.SERVICE_ERROR),
    ("nothing", None, ErrorCode.NO_VALUE),
    ("garbage", b"\xc1\xc1\xc1\xc1", ErrorCode.BAD_MESSAGE),
]


class LastError(unittest.TestCase):
    def test_tells_the_reason_of_a_failure(self):
        for name, reply, code in FAILURES:
            with self.subTest(name), ScriptedPeer() as peer, NavigationClient() as client:
                client.timeout = 0.05 if reply is SILENCE else DEADLINE_SECONDS
                peer.replies.put(reply)
                self.assertEqual(-1.0, client.get_implement_width())
                self.assertIs(code, client.last_error.code)
                self.assertNotEqual("", client.last_error.text)

    def test_is_none_for_a_reply_that_equals_the_failure_value(self):
        with ScriptedPeer() as peer, NavigationClient() as client:
            peer.replies.put(-1.0)
            self.assertEqual(-1.0, client.get_implement_width())
            self.assertIsNone(client.last_error)
            client.raise_for_error()

    def test_keeps_the_text_of_the_service_in_any_encoding(self):
        with ScriptedPeer() as peer, NavigationClient() as client:
            peer.replies.put(ServiceError(b"caf\xe9"))
            self.assertEqual(-1, client.engage_steering())
            self.assertIn("caf\ufffd", client.last_error.text)

    def test_can_be_raised(self):
        client = NavigationClient()
        self.assertEqual(-1, client.engage_steering())
        with self.assertRaises(NavigationError) as raised:
            client.raise_for_error()
        self.assertIs(ErrorCode.REFUSED, raised.exception.code)
        self.assertEqual(client.last_error.text, str(raised.exception))


# how each operation that gives a value of its own shape is called
SHAPES = [
    lambda client: client.get_implement_width(),
    lambda client: client.set_splines_use_implement_offset(True),
    lambda client: client.nudge(True, 0.5),
    lambda client: client.auto_set_nudge(),
    lambda client: client.get_nudge_vector(),
    lambda client: client.get_tuning_limits(2),
    lambda client: client.get_wayline(),
    lambda client: client.set_wayline(AbWayline()),
    lambda client: client.calculate_headings([AbWayline()]),
]


class Raising(unittest.TestCase):
    def test_tells_the_reason_of_a_failure(self):
        for name, reply, code in FAILURES:
            with self.subTest(name), ScriptedPeer() as peer, NavigationClient(raises=True) as client:
                client.timeout = 0.05 if reply is SILENCE else DEADLINE_SECONDS
                peer.replies.put(reply)
                with self.assertRaises(NavigationError) as raised:
                    client.get_implement_width()
                self.assertIs(code, raised.exception.code)
                self.assertEqual((code, raised.exception.text), client.last_error)

    def test_is_done_by_operations_of_every_shape(self):
        for number, operation in enumerate(SHAPES):
            with self.subTest(number), self.assertRaises(NavigationError) as raised:
                operation(NavigationClient(raises=True))
            self.assertIs(ErrorCode.REFUSED, raised.exception.code)

    def test_is_not_done_for_a_refusal_or_for_no_wayline(self):
        with ScriptedPeer() as peer, NavigationClient(raises=True) as client:
            peer.replies.put(0)
            self.assertEqual(0, client.engage_steering())
            peer.replies.put(None)
            self.assertIsNone(client.get_wayline())
            peer.replies.put(ServiceError("no GNSS"))
            self.assertRaises(NavigationError, client.get_wayline)

    def test_can_be_turned_on_and_off(self):
        client = NavigationClient()
        self.assertFalse(client.raises)
        self.assertEqual(-1, client.engage_steering())
        client.raises = True
        self.assertRaises(NavigationError, client.engage_steering)
        client.raises = False
        self.assertEqual(-1, client.engage_steering())

    def test_passes_through_a_delivery(self):
        with ScriptedPeer() as peer, NavigationClient(raises=True) as client:
            client.on_offset(lambda _: client.engage_steering())
            peer.replies.put(ServiceError("no GNSS"))
            peer.push("cb_offsets", 0.5)
            with self.assertRaisesRegex(NavigationError, "no GNSS"):
                client.process_messages(wait=True)


class Client(unittest.TestCase):
    def test_leaves_the_attempt_to_connect_to_the_first_call_when_told_so(self):
        with ScriptedPeer() as peer:
            client = NavigationClient(connect=False)
            client.timeout = 7.0
            self.assertIsNone(peer.connection)
            peer.replies.put(6.0)
            self.assertEqual(6.0, client.get_implement_width())
            self.assertEqual(7.0, client.timeout)
            client.disconnect()

    def test_finds_a_service_that_starts_later(self):
        client = NavigationClient()
        self.assertFalse(client.is_link_up())
        with ScriptedPeer() as peer:
            peer.replies.put(1)
            self.assertEqual(1, client.engage_steering())
            self.assertTrue(client.is_link_up())
            self.assertTrue(client.verify_connection())
            self.assertGreater(client.fileno(), 2)
            client.disconnect()
            self.assertEqual(-1, client.fileno())

    def test_raises_a_value_error_for_a_wayline_with_a_negative_number_of_points(self):
        with ScriptedPeer() as peer, NavigationClient() as client:
            peer.replies.put([3, -1, 0.0])
            with self.assertRaises(ValueError):
                client.get_wayline()
            peer.replies.put([3, 0, 0.0])
            self.assertEqual([3, 0], client.get_wayline().to_list())

    def test_has_a_time_out_in_seconds(self):
        client = NavigationClient()
        self.assertEqual(2.0, client.timeout)
        for seconds in (0.25, 0.0, None):
            client.timeout = seconds
            self.assertEqual(seconds, client.timeout)
        for wrong in (-1, float("nan"), 1e9):
            with self.subTest(wrong), self.assertRaises(ValueError):
                client.timeout = wrong


if __name__ == "__main__":
    unittest.main()
