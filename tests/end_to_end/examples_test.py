"""The examples as users run them: each does what its first lines say."""

import math
import os
import socket
import subprocess
import tempfile
import unittest

import msgpack

from navigation_service import DEADLINE_SECONDS, LINE_NORTH, PORT, Client, Simulator, wait_for


def example(name):
    return os.path.join(os.environ["EXAMPLES"], name)


def run(name, *arguments, **options):
    """Runs an example to its end."""
    return subprocess.run([example(name), *arguments], capture_output=True, text=True,
                          timeout=DEADLINE_SECONDS, check=False, **options)


def sentence(text):
    """An NMEA sentence with its checksum."""
    checksum = 0
    for byte in text.encode():
        checksum ^= byte
    return f"${text}*{checksum:02X}\r\n"


class Engage(unittest.TestCase):
    def test_engages_on_the_simulated_machine(self):
        with Simulator("--speed", "2"):
            result = run("engage")
        self.assertEqual((0, ""), (result.returncode, result.stderr))
        self.assertIn("engage steering: done (1)", result.stdout)
        self.assertIn("steering is engaged", result.stdout)


class WatchEvents(unittest.TestCase):
    def setUp(self):
        self.program = subprocess.Popen([example("watch_events")], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True)
        self.addCleanup(self._end)

    def _end(self):
        self.program.kill()
        self.program.wait()
        self.program.stdin.close()
        self.program.stdout.close()

    def command(self, text):
        self.program.stdin.write(text)
        self.program.stdin.flush()

    def line(self, start):
        """The next line that starts so."""
        for line in self.program.stdout:
            if line.startswith(start):
                return line.rstrip()
        raise AssertionError(f"it ended before it wrote {start!r}")

    def test_shows_events_obeys_commands_and_ends(self):
        with Simulator("--speed", "2"), Client() as other:
            self.assertEqual("implement 3 m", self.line("implement"))
            other.request("SetImplementWidth", 1, 6.0)
            self.assertEqual("implement 6 m", self.line("implement"))
            other.request("set_wayline", *LINE_NORTH)
            other.request("StartNavigation", 1, 1)
            self.assertEqual("steering possible, navigation active", self.line("steering possible"))
            self.assertRegex(self.line("pass"), r"^pass 0, -?[\d.e-]+ cm$")
            self.command("e")
            self.assertEqual("engage: 1", self.line("engage"))
            self.assertEqual("steering engaged, navigation active", self.line("steering engaged"))
            self.command("d")
            self.assertEqual("disengage: 1", self.line("disengage"))
            self.command("q")
            self.assertEqual(0, self.program.wait(DEADLINE_SECONDS))

    def test_finds_the_service_again_after_a_restart(self):
        for width in (4.0, 5.0):
            with Simulator(), Client() as other:
                other.request("SetImplementWidth", 1, width)
                self.assertEqual(f"implement {width:g} m", self.line(f"implement {width:g}"))

    def test_ends_with_its_input(self):
        self.program.stdin.close()
        self.assertEqual(0, self.program.wait(DEADLINE_SECONDS))


class FeedNmea(unittest.TestCase):
    EAST_OF_GREENWICH = (
        sentence("GPRMC,101530.00,A,5130.000,N,00000.000,E,3.8877,090.0,211126,,,A")
        + sentence("GPGST,101530.00,0.02,,,,0.010,0.012,0.025")
        + sentence("GPGGA,101530.00,5130.000,N,00000.060,E,4,14,0.7,45.0,M,46.0,M,,"))

    def test_moves_the_machine_to_where_the_receiver_is(self):
        with Simulator(), Client() as client:
            client.notify("set_wayline_origin", 51.5, 0.0, 91.0)
            client.notify("subscribe", "cb_relative_position")
            client.request("IsSteeringEngaged")
            result = run("feed_nmea", input=self.EAST_OF_GREENWICH)
            self.assertEqual("1 samples sent, 0 without a service, 0 lines passed over\n",
                             result.stdout)
            x, y, heading = wait_for(lambda: self._position_east(client), "the fed position")
            # 0.001 degrees of longitude at 51.5 degrees of latitude.
            self.assertAlmostEqual(69.4, x, delta=0.3)
            self.assertAlmostEqual(0.0, y, delta=0.3)
            self.assertAlmostEqual(math.pi / 2, heading, delta=0.01)

    @staticmethod
    def _position_east(client):
        position = client.event("cb_relative_position")
        return position if position[0] > 10.0 else None

    def test_sends_what_the_service_is_to_read(self):
        with ScriptedListener() as listener:
            result = run("feed_nmea", input=sentence("GNHDT,123.5,T") + self.EAST_OF_GREENWICH)
            self.assertEqual(0, result.returncode)
            name, (record,) = listener.notification()
        self.assertEqual("SetPositionData", name)
        values = {int(tag): float(value)
                  for tag, value in (pair.split("=") for pair in record.split(";"))}
        for tag, value in ((1, 51.5), (2, 0.001), (3, 91.0), (4, math.pi / 2), (5, 2.0),
                           (8, math.radians(123.5)), (12, 0.012), (13, 0.010), (14, 0.025),
                           (15, 1), (16, 4), (17, 14), (18, 1), (19, 0), (20, 0),
                           (21, 1795256130.0)):
            with self.subTest(tag):
                self.assertAlmostEqual(value, values[tag], delta=1e-4)

    def test_passes_over_what_is_no_sentence(self):
        with Simulator():
            result = run("feed_nmea", input="\r\n$GPGGA,1*00\r\n$*00\r\nnoise\r\n$GPGGA*\r\n")
        self.assertEqual("0 samples sent, 0 without a service, 5 lines passed over\n",
                         result.stdout)

    def test_tells_that_there_is_no_service(self):
        result = run("feed_nmea", input=self.EAST_OF_GREENWICH)
        self.assertEqual(1, result.returncode)
        self.assertIn("1 without a service", result.stdout)


class TuneController(unittest.TestCase):
    def test_shows_and_sets_the_parameters(self):
        with Simulator(), Client() as client:
            before = run("tune_controller")
            result = run("tune_controller", "overshoot", "1.5")
            self.assertEqual((0, "overshoot 1.5\n"), (result.returncode, result.stdout))
            self.assertEqual(1.5, client.request("get_tuning_parameter", 2))
        self.assertEqual(["sensitivity 1 (from 0.2 to 3, at first 1)",
                          "aggressiveness 1 (from 0.2 to 3, at first 1)",
                          "overshoot 1 (from 0.2 to 3, at first 1)",
                          "speed-adjust 1 (from 0 to 3, at first 1)"],
                         before.stdout.splitlines())

    def test_tells_that_a_value_was_not_taken(self):
        with Simulator():
            result = run("tune_controller", "sensitivity", "100")
        self.assertEqual((1, "sensitivity 3\n"), (result.returncode, result.stdout))

    def test_refuses_wrong_arguments(self):
        for arguments in (("colour", "1"), ("overshoot",), ("overshoot", "much")):
            with self.subTest(arguments):
                self.assertEqual(2, run("tune_controller", *arguments).returncode)

    def test_tells_that_there_is_no_service(self):
        for arguments in ((), ("overshoot", "1")):
            with self.subTest(arguments):
                result = run("tune_controller", *arguments)
                self.assertEqual(1, result.returncode)
                self.assertIn("5010", result.stderr)


class ConvertWaylines(unittest.TestCase):
    WAYLINES = ["0 1.000000 2.000000 3.000000 4.000000 5.000000 6.000000",
                "2 0.000000 0.000000 0.000000 5.000000 5.000000 0.000000 10.000000 0.000000 0.000000",
                "4 2 1.500000 2.500000 0.000000 3.500000 4.500000 0.000000",
                "3 3 0.000000 0.000000 0.000000 1.000000 1.000000 0.000000 2.000000 4.000000 0.000000"]

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.waylines, self.points, self.back = (
            os.path.join(directory.name, name) for name in ("waylines", "points", "back"))

    def write(self, path, lines):
        with open(path, "w", encoding="utf-8") as file:
            file.writelines(line + "\n" for line in lines)

    def read(self, path):
        with open(path, encoding="utf-8") as file:
            return file.read().splitlines()

    def test_brings_waylines_back_from_their_points(self):
        self.write(self.waylines, self.WAYLINES)
        self.assertEqual(0, run("convert_waylines", "--to-points", self.waylines,
                                self.points).returncode)
        self.assertEqual(["2,4,1.5,2.5,0", "2,4,3.5,4.5,0"], self.read(self.points)[5:7])
        self.assertEqual(0, run("convert_waylines", "--to-waylines", self.points,
                                self.back).returncode)
        self.assertEqual(self.WAYLINES, self.read(self.back))

    def test_shows_a_heading_as_a_second_point(self):
        self.write(self.waylines, [f"1 10.0 20.0 0.0 {math.pi / 2}"])
        run("convert_waylines", "--to-points", self.waylines, self.points)
        number, kind, x, y, z = (float(word) for word in self.read(self.points)[1].split(","))
        self.assertEqual((0, 0), (number, kind))
        for expected, value in ((110.0, x), (20.0, y), (0.0, z)):
            self.assertAlmostEqual(expected, value, places=6)

    def test_names_what_it_cannot_read(self):
        for direction, line, named in (("--to-points", "9 1 2 3", "no wayline: 9 1 2 3"),
                                       ("--to-waylines", "0,0,one", "no point: 0,0,one"),
                                       ("--to-waylines", "0,2,1,2,3", "has 1 points")):
            with self.subTest(line):
                self.write(self.waylines, [line])
                result = run("convert_waylines", direction, self.waylines, self.points)
                self.assertEqual(1, result.returncode)
                self.assertIn(named, result.stderr)

    def test_refuses_wrong_arguments(self):
        self.assertEqual(2, run("convert_waylines").returncode)
        self.assertEqual(1, run("convert_waylines", "--to-points", "/no/such", "/").returncode)


class ScriptedListener:
    """Listens in place of a service and keeps what it is sent."""

    def __init__(self):
        self.socket = socket.create_server(("127.0.0.1", PORT))
        self.socket.settimeout(DEADLINE_SECONDS)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()

    def notification(self):
        """The first message of the first client, when it is a notification: name, arguments."""
        client, _ = self.socket.accept()
        with client:
            unpacker = msgpack.Unpacker()
            while data := client.recv(65536):
                unpacker.feed(data)
                for kind, name, arguments in unpacker:
                    assert kind == 2
                    return name, arguments
        raise AssertionError("nothing came")


if __name__ == "__main__":
    unittest.main()
