"""The program: how it starts, what ends it, and what it answers to wrong options."""

import os
import signal
import socket
import tempfile
import unittest

import msgpack

from navigation_service import PORT, Client, ServiceError, Simulator, run_to_end


class Program(unittest.TestCase):
    def test_listens_on_both_loopback_addresses(self):
        with Simulator() as simulator:
            self.assertRegex(simulator.announcement, r"listens on localhost, port 5010\n$")
            for host in ("127.0.0.1", "::1"):
                with self.subTest(host), Client(host) as client:
                    self.assertEqual(0, client.request("IsSteeringEngaged"))

    def test_ends_cleanly_on_a_signal(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            with self.subTest(number), Simulator() as simulator, Client() as client:
                client.notify("subscribe", "cb_guidance_status")
                client.event("cb_guidance_status")
                self.assertEqual(0, simulator.end(number))
                self.assertEqual("", simulator.errors())

    def test_can_listen_again_at_once(self):
        for _ in range(3):
            with Simulator() as simulator, Client() as client:
                client.request("IsSteeringEngaged")
                self.assertEqual(0, simulator.end())

    def test_exits_with_3_when_the_port_is_taken(self):
        with socket.socket() as other:
            other.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
            other.bind(("127.0.0.1", PORT))
            other.listen()
            result = run_to_end()
        self.assertEqual(3, result.returncode)
        self.assertIn("5010", result.stderr)
        self.assertEqual("", result.stdout)

    def test_exits_with_1_when_the_system_gives_no_descriptors(self):
        result = run_to_end(wrapper=("prlimit", "--nofile=4"))
        self.assertEqual(1, result.returncode)
        self.assertIn("too few file descriptors", result.stderr)
        self.assertEqual("", result.stdout)

    def test_a_second_simulator_leaves_the_first_alone(self):
        with Simulator(), Client() as client:
            self.assertEqual(3, run_to_end().returncode)
            self.assertEqual(0, client.request("IsSteeringEngaged"))

    def test_a_second_simulator_leaves_the_track_of_the_first_alone(self):
        with tempfile.TemporaryDirectory() as directory:
            path = os.path.join(directory, "track.csv")
            with Simulator("--track", path), Client() as client:
                client.notify("subscribe", "cb_relative_position")
                for _ in range(6):
                    client.event("cb_relative_position")
                self.assertEqual(3, run_to_end("--track", path).returncode)
                with open(path, encoding="utf-8") as file:
                    lines = file.read().splitlines()
                self.assertGreater(len(lines), 3)
                self.assertTrue(lines[1].startswith("0.10,"), lines[1])

    def test_exits_with_2_for_a_pipe_without_waiting_for_its_other_end(self):
        for option in ("--state", "--track"):
            with self.subTest(option), tempfile.TemporaryDirectory() as directory:
                path = os.path.join(directory, "pipe")
                os.mkfifo(path)
                result = run_to_end(option, path)
                self.assertEqual(2, result.returncode)
                self.assertIn(path, result.stderr)

    def test_exits_with_2_for_wrong_options(self):
        for arguments, named in (
            (("--port", "70000"), "70000"),
            (("--log-level", "loud"), "loud"),
            (("--receiver", "gps"), '"gps" is not allowed, allowed is ideal, rtk, sbas'),
            (("--state", "/"), "it is a directory"),
            (("--state", "/no/such/state.json"), "files cannot be made in /no/such"),
            (("--state", ""), "--state"),
            (("--track", ""), "--track"),
            (("--track", "/no/such/track.csv"), "/no/such/track.csv"),
            (("--unknown",), "--unknown"),
        ):
            with self.subTest(arguments):
                result = run_to_end(*arguments)
                self.assertEqual(2, result.returncode)
                self.assertIn(named, result.stderr)
                self.assertEqual("", result.stdout)

    def test_exits_with_2_for_a_state_file_that_it_cannot_use(self):
        for content, named in (
            ("\n", "no JSON object"),
            ('{"settings": {"lookahead_time": "long"}}', "long"),
            ('{"settings": {"lookahead_time": -1}}', "-1"),
            ('{"settings": {"colour": 1}}', "colour"),
            ('{"settings": {"sensitivity": 50}}', "50 is not within its limits 0.2 and 3"),
            ('{"settings": {"sensitivity": 1e308}}', "1e+308"),
            ('{"settings": {"lookahead_time": true}}', "true is no number"),
            ('{"settings": {"reverse_engage_allowed": 1}}', "allowed is true or false"),
        ):
            with self.subTest(content), tempfile.TemporaryDirectory() as directory:
                path = os.path.join(directory, "state.json")
                with open(path, "w", encoding="utf-8") as file:
                    file.write(content)
                result = run_to_end("--state", path)
                self.assertEqual(2, result.returncode)
                self.assertIn(path, result.stderr)
                self.assertIn(named, result.stderr)

    def test_tells_help_and_version(self):
        for option, named in (("--help", "--port"), ("--version", "navigation-simulator ")):
            with self.subTest(option):
                result = run_to_end(option)
                self.assertEqual(0, result.returncode)
                self.assertIn(named, result.stdout)


class BadInput(unittest.TestCase):
    def test_closes_the_connection_that_sent_no_message_and_serves_the_others(self):
        for data in (b"GET / HTTP/1.1\r\n\r\n", b"\xc1", b"\x00", msgpack.packb([7, 1]),
                     msgpack.packb([0, 1, "x"]), msgpack.packb({"a": 1})):
            with self.subTest(data), Simulator(), Client() as good, Client() as bad:
                bad.send(data)
                with self.assertRaises(ConnectionError):
                    bad.receive()
                self.assertEqual(0, good.request("IsSteeringEngaged"))

    def test_answers_wrong_arguments_with_an_error(self):
        with Simulator(), Client() as client:
            with self.assertRaisesRegex(ServiceError, r"^EngageSteering wants \[int\], not \[\]$"):
                client.request("EngageSteering")
            with self.assertRaisesRegex(ServiceError, "no operation \"no_such\""):
                client.request("no_such", 1)
            self.assertEqual(0, client.request("IsSteeringEngaged"))

    def test_logs_wrong_arguments_of_a_notification(self):
        with Simulator() as simulator, Client() as client:
            client.notify("set_lookahead_time", "long")
            client.notify("set_lookahead_time", float("nan"), 1)
            client.request("IsSteeringEngaged")
            simulator.end()
            errors = simulator.errors()
        self.assertIn("set_lookahead_time wants [double, int], not [text]", errors)
        self.assertIn("set_lookahead_time refused: ", errors)
        self.assertIn("nan", errors)

    def test_outlives_a_client_that_goes_away_in_the_middle(self):
        with Simulator(), Client() as good:
            for _ in range(20):
                with Client() as client:
                    client.notify("subscribe", "cb_draw_points")
                    client.send(b"\x94\x00\x01")
            self.assertEqual(0, good.request("IsSteeringEngaged"))


if __name__ == "__main__":
    unittest.main()
