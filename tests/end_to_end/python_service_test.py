"""The small service in Python, answering the C++ example that engages."""

import os
import signal
import subprocess
import sys
import unittest

import msgpack

from navigation_service import DEADLINE_SECONDS, Client, Service, ServiceError


class PythonService(Service):
    """The service as a process."""

    def __init__(self):
        super().__init__(sys.executable, "-B", os.environ["PYTHON_SERVICE"])


def engage():
    return subprocess.run([os.environ["ENGAGE"]], capture_output=True, text=True,
                          timeout=DEADLINE_SECONDS, check=False)


class AnswersTheExample(unittest.TestCase):
    def test_lets_it_change_the_settings_and_engage(self):
        with PythonService():
            result = engage()
        self.assertEqual((0, ""), (result.returncode, result.stderr))
        self.assertEqual(
            ["look-ahead time 1.6 s, engaging in reverse not allowed, at low speed not allowed for "
             "2 s",
             "look-ahead time 1.8 s, engaging in reverse allowed, at low speed allowed for 4 s",
             "start navigation: done (1) ", "engage steering: done (1) ", "steering is engaged",
             "disengage steering: done (1) ", "stop navigation: done (1) "],
            result.stdout.splitlines())

    def test_tells_another_client_what_the_example_does(self):
        with PythonService(), Client() as watcher:
            watcher.notify("subscribe", "cb_engage_status")
            self.assertEqual([0, 0, 0, 0, 0], watcher.event("cb_engage_status"))
            engage()
            told = [watcher.event("cb_engage_status") for _ in range(4)]
        self.assertEqual([[0, 1, 1, 0, 0], [1, 1, 1, 0, 0], [0, 1, 1, 0, 0], [0, 0, 0, 0, 0]], told)


class KeepsToTheProtocol(unittest.TestCase):
    def test_answers_a_call_that_it_does_not_know_with_an_error(self):
        with PythonService(), Client() as client:
            for name, arguments, error in (("Fly", (1,), "there is no operation Fly"),
                                           ("_change", (), "there is no operation _change"),
                                           ("EngageSteering", (), r"EngageSteering .* \[\]")):
                with self.subTest(name), self.assertRaisesRegex(ServiceError, error):
                    client.request(name, *arguments)
            self.assertEqual(0, client.request("IsSteeringEngaged"))

    def test_answers_nothing_for_no_wayline(self):
        with PythonService(), Client() as client:
            self.assertIsNone(client.request("get_wayline"))
            self.assertEqual(0, client.request("StartNavigation", 1, 1))
            client.request("set_wayline", 5)
            self.assertEqual([5], client.request("get_wayline"))

    def test_closes_the_connection_that_sent_no_message_and_serves_the_others(self):
        for data in (b"GET / HTTP/1.1\r\n\r\n", b"\xc1", msgpack.packb([7, "x", []]),
                     msgpack.packb([0, 1, 2, 3]), msgpack.packb([0, "x", []]),
                     msgpack.packb([2, "subscribe", []]), msgpack.packb({"a": 1})):
            with self.subTest(data), PythonService(), Client() as good, Client() as bad:
                bad.send(data)
                with self.assertRaises(ConnectionError):
                    bad.receive()
                self.assertEqual(0, good.request("IsSteeringEngaged"))

    def test_ends_cleanly_on_a_signal_with_clients_there(self):
        with PythonService() as service, Client() as client:
            client.request("IsSteeringEngaged")
            self.assertEqual(0, service.end(signal.SIGTERM))
            self.assertEqual("", service.errors())


if __name__ == "__main__":
    unittest.main()
