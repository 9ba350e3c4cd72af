"""How failures are told apart."""

import unittest

from kestrove_navigation import ErrorCode, NavigationClient, NavigationError
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


class Client(unittest.TestCase):
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
