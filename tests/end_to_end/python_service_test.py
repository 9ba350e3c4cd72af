"""The small service in Python, answering the C++ example that engages."""

import ast
import os
import re
import signal
import subprocess
import sys
import textwrap
import unittest
from pathlib import Path

import msgpack

from navigation_service import DEADLINE_SECONDS, Client, Service, ServiceError


class PythonService(Service):
    """The service as a process."""

    def __init__(self):
        super().__init__(sys.executable, "-B", os.environ["PYTHON_SERVICE"])


def engage():
    return subprocess.run([os.environ["ENGAGE"]], capture_output=True, text=True,
                          timeout=DEADLINE_SECONDS, check=False)


def guide():
    """The text of the guide."""
    path = Path(__file__).resolve().parents[2] / "docs" / "service-guide.md"
    return path.read_text(encoding="utf-8")


def guide_blocks():
    """Its Python blocks."""
    return re.findall(r"^```python\n(.*?)^```$", guide(), re.MULTILINE | re.DOTALL)


class Guide(unittest.TestCase):
    def test_shows_the_code_of_the_service(self):
        code = textwrap.indent(guide_blocks()[0], "    ")
        service = Path(os.environ["PYTHON_SERVICE"]).read_text(encoding="utf-8")
        self.assertIn(code, service)

    def test_shows_the_bytes_of_an_exchange(self):
        rows = re.findall(r"^\| .* to .* \| `(.*)` \| `([0-9a-f ]+)` \|$", guide(), re.MULTILINE)
        self.assertEqual(2, len(rows))
        for value, data in rows:
            message = ast.literal_eval(value.replace("nil", "None"))
            self.assertEqual(bytes.fromhex(data), msgpack.packb(message))

    def test_reads_a_position_record(self):
        names = {}
        exec(guide_blocks()[1], names)  # pylint: disable=exec-used
        self.assertEqual({1: 51.5, 15: 1.0, 21: -0.25}, names["position"]("1=51.5;15=1;21=-0.25"))


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

    def test_takes_messages_however_the_bytes_come(self):
        request = msgpack.packb([0, 1, "IsSteeringEngaged", []])
        with PythonService(), Client() as client:
            client.send(request[:5])
            with Client() as other:  # is served meanwhile
                self.assertEqual(0, other.request("IsSteeringEngaged"))
            client.send(request[5:] + msgpack.packb([0, 2, "EngageSteering", [1]]))
            self.assertEqual([[1, 1, None, 0], [1, 2, None, 0]],
                             [client.receive(), client.receive()])

    def test_sends_an_event_once_to_who_subscribed_twice(self):
        with PythonService(), Client() as client:
            for _ in range(2):
                client.notify("subscribe", "cb_engage_status")
                client.event("cb_engage_status")
            client.request("set_wayline", 5)
            client.request("StartNavigation", 1, 0)
            client.request("IsSteeringEngaged")
            self.assertEqual([("cb_engage_status", [0, 1, 1, 0, 0])], client.events)

    def test_outlives_a_client_that_goes_away_in_the_middle(self):
        with PythonService() as service, Client() as good:
            for _ in range(20):
                with Client() as client:
                    client.notify("subscribe", "cb_engage_status")
                    client.send(b"\x94\x00\x01")
            good.request("set_wayline", 5)
            self.assertEqual(1, good.request("StartNavigation", 1, 0))
            service.end()
            self.assertEqual("", service.errors())

    def test_ends_cleanly_on_a_signal_with_clients_there(self):
        with PythonService() as service, Client() as client:
            client.request("IsSteeringEngaged")
            self.assertEqual(0, service.end(signal.SIGTERM))
            self.assertEqual("", service.errors())


if __name__ == "__main__":
    unittest.main()
