"""Recordings as others make them: in portions, in forms of their own, hostile, damaged; and those
of a simulator whose clock is stepped."""

import json
import os
import resource
import struct
import subprocess
import tempfile
import unittest

import msgpack

from navctl_program import Client, Running, Simulator, answer, navctl, wait_for
import recording_test
from recording_test import items, spoken

MAGIC = b"\x89MCAP0\r\n"
TO_SERVICE, TO_APPLICATION = 1, 2


def record(kind, content):
    return struct.pack("<BQ", kind, len(content)) + content


def text(value):
    return struct.pack("<I", len(value)) + value


def message(channel, data, time):
    return record(5, struct.pack("<HIQQ", channel, 0, time, time) + data)


def has_read_all():
    """Whether nothing waits to be read by whoever listens on the service's port."""
    with open("/proc/net/tcp", encoding="ascii") as table:
        fields = [line.split() for line in table.readlines()[1:]]
    return all(row[4].endswith(":00000000") for row in fields if row[1].endswith(":1392"))


def write_links(path, pieces, links=1, start=10**18):
    """Writes a recording of pieces: (channel, bytes) or (channel, bytes, seconds since the start),
    or bytes that stand in the file as they are."""
    with open(path, "wb") as file:
        file.write(MAGIC + record(1, text(b"") + text(b"")))
        for channel in range(1, 2 * links + 1):
            file.write(record(4, struct.pack("<HH", channel, 0) + text(b"/link/%d" % channel)
                              + text(b"kestrove.stream") + text(b"")))
        for number, piece in enumerate(pieces):
            if isinstance(piece, bytes):
                file.write(piece)
            else:
                seconds = piece[2] if len(piece) > 2 else number * 0.001
                file.write(message(piece[0], piece[1], start + int(seconds * 1e9)))


class OfStrangers(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.path = os.path.join(self.folder, "made.mcap")

    def serving(self, *options):
        service = Running("--json", "recording", "serve", self.path, "--once", *options)
        self.addCleanup(service.__exit__)
        wait_for(recording_test.Serves.can_connect, "the service of the recording")
        return service

    def test_messages_are_found_in_whatever_portions_they_came(self):
        asked = msgpack.packb([0, 1, "SetImplementWidth", [1, 4.5]])
        replied = msgpack.packb([1, 1, None, "a text at the end"])
        event = msgpack.packb([2, "cb_offsets", [0.25]])
        for place in range(1, 9):
            write_links(self.path, [(1, asked[:-place]), (1, asked[-place:]),
                                    (2, replied[:-place]), (2, replied[-place:] + event[:-place]),
                                    (2, event[-place:])])
            self.assertEqual([("request", "SetImplementWidth", [1, 4.5]),
                              ("reply", "SetImplementWidth", "a text at the end"),
                              ("event", "cb_offsets", [0.25])], spoken(self.path), place)

    def test_a_request_in_two_portions_is_answered(self):
        write_links(self.path, [(1, msgpack.packb([0, 1, "SetImplementWidth", [1, 4.5]])),
                                (2, msgpack.packb([1, 1, None, 1]))])
        self.serving()
        with Client() as client:
            asked = msgpack.packb([0, 7, "SetImplementWidth", [1, 4.5]])
            client.send(asked[:-3])
            wait_for(has_read_all, "the service to read the first portion")
            client.send(asked[-3:])
            self.assertEqual([1, 7, None, 1], client.receive())

    def test_a_reply_goes_out_in_the_form_in_which_it_was_recorded(self):
        asked = msgpack.packb([0, 1, "GetImplementWidth", [1]])
        rest = b"\xc0\xcb" + struct.pack(">d", 2.5)
        for form in (b"\x94\x01\x01", b"\xdc\x00\x04\x01\x01", b"\xdd\x00\x00\x00\x04\x01\x01",
                     b"\x94\xd0\x01\x01", b"\x94\xcc\x01\x01", b"\x94\xd3" + bytes(7) + b"\x01\x01",
                     b"\xdc\x00\x04\xcd\x00\x01\xd2\x00\x00\x00\x01"):
            write_links(self.path, [(1, asked), (2, form + rest)])
            self.assertEqual(("reply", "GetImplementWidth", 2.5), spoken(self.path)[1])
            for options in ((), ("--stepped",)):
                with Running("--json", "recording", "serve", self.path, "--once", *options):
                    wait_for(recording_test.Serves.can_connect, "the service of the recording")
                    with Client() as client:
                        client.number = 70_000
                        self.assertEqual(2.5, client.request("GetImplementWidth", 1), form)

    def test_seconds_count_from_the_same_start_for_every_command(self):
        event = msgpack.packb([2, "cb_speed", [1.0]])
        beside = record(4, struct.pack("<HH", 0x8000, 0) + text(b"/machine") + text(b"json")
                        + text(b""))
        # Four seconds in which nobody is connected.
        write_links(self.path, [beside, message(0x8000, b"{}", 10**18)]
                    + [(2, event, 4 + number / 10) for number in range(20)])
        listed = spoken(self.path, "--from", "4.45", "--to", "5.05")
        self.assertEqual(6, len(listed))
        part = os.path.join(self.folder, "part.mcap")
        self.assertEqual(0, navctl("recording", "cut", self.path, part, "--from", "4.45", "--to",
                                   "5.05").returncode)
        self.assertEqual(listed, spoken(part))
        rows = navctl("recording", "to-csv", self.path, "--from", "4.45", "--to", "5.05").stdout
        self.assertEqual(7, len(rows.splitlines()))
        self.assertEqual(2, navctl("recording", "cut", self.path, part + "2", "--from", "5", "--to",
                                   "2").returncode)

    def test_json_stays_one_value_where_a_file_is_damaged(self):
        event = msgpack.packb([2, "cb_speed", [1.0]])
        for count in (1, 5000):
            write_links(self.path, [(2, event)] * count + [bytes(50)])
            for command, key in (("list", "items"), ("to-csv", "content")):
                result = navctl("--json", "recording", command, self.path)
                self.assertEqual(2, result.returncode)
                value = json.loads(result.stdout)
                self.assertEqual(("failed", 2), (value["outcome"], value["exit_code"]))
                self.assertIn("a record of kind 0", value["reason"])
                found = value[key] if key == "items" else value[key].splitlines()[1:]
                self.assertEqual(count, len(found))

    def test_a_text_is_found_wherever_it_stands(self):
        write_links(self.path, [(1, msgpack.packb([0, 1, "SetZone", ["jazz \"hot\"", 1.5]])),
                                (2, msgpack.packb([1, 1, None, None])),
                                (2, msgpack.packb([2, "cb_zone", ["pizza", True]]))])
        for words, count in (("zz", 2), ("Zone", 2), ("zone", 1), ("true", 1), ("1.5", 1),
                             ("null", 1), ("\\\"hot", 1), ("SetZone null", 1), ("zebra", 0)):
            self.assertEqual(count, len(spoken(self.path, "--text", words)), words)

    def test_names_cannot_forge_lines_or_reach_the_terminal(self):
        write_links(self.path, [(2, msgpack.packb([2, "\x1b[31mred\n2  forged", []]))])
        for command in ("list", "to-csv"):
            shown = navctl("recording", command, self.path).stdout
            self.assertNotIn("\x1b", shown)
            self.assertIn("\\x0a2  forged", shown)

    def test_numbers_that_nothing_has_are_refused(self):
        write_links(self.path, [(2, msgpack.packb([2, "cb_speed", [1.0]]))])
        for words in (("show", self.path, "0"), ("list", self.path, "--client=-1"),
                      ("list", self.path, "--client", "x"), ("play", self.path, "--client", "0")):
            result = navctl("recording", *words)
            self.assertEqual(2, result.returncode, words)
            self.assertIn("whole number from 1", result.stderr)

    def most_kilobytes(self, *words):
        with subprocess.Popen([os.environ["NAVCTL"], "recording", *words],
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as process:
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
        return usage.ru_maxrss

    def test_values_that_take_more_than_their_bytes_are_not_kept(self):
        asked = msgpack.packb([0, 1, "SetNothing"])[:-11].replace(b"\x93", b"\x94")
        nested = asked + b"\xaaSetNothing" + b"\xdd" + struct.pack(">I", 500_000) + b"\x90" * 500_000
        write_links(self.path, [(1, nested)] * 8)
        once = self.most_kilobytes("list", self.path)
        self.assertLess(self.most_kilobytes("play", self.path), once + 60_000)

    def test_a_copy_for_which_there_is_no_memory_leaves_nothing(self):
        write_links(self.path, [(2, msgpack.packb([2, "cb_speed", [bytes(31 << 20)]]))] * 2)
        target = os.path.join(self.folder, "target.mcap")
        most = 90_000_000
        result = subprocess.run([os.environ["NAVCTL"], "recording", "cut", self.path, target],
                                capture_output=True, text=True, check=False, preexec_fn=lambda:
                                resource.setrlimit(resource.RLIMIT_AS, (most, most)))
        self.assertNotEqual(0, result.returncode)
        self.assertRegex(result.stderr, "bad_alloc|Sanitizer")
        self.assertFalse(os.path.exists(target))


class OfASteppedSimulator(unittest.TestCase):
    """A recording of a service whose time goes on when a client says so."""

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.path = os.path.join(cls.folder.name, "stepped.mcap")
        with Simulator("--clock=stepped", "--seed=7", f"--record={cls.path}") as service:
            with Client() as client:
                for event in ("cb_relative_position", "cb_engage_status", "cb_offsets"):
                    client.notify("subscribe", event)
                client.request("simulator_describe")
                client.request("SetImplementWidth", 1, 4.5)
                for number in range(10):
                    client.notify("subscribe", "cb_guidance_status")
                    packed = [msgpack.packb([0, 1000 + 3 * number + place, name, arguments])
                              for place, (name, arguments) in enumerate(
                                  (("simulator_advance", [0.5]), ("GetImplementWidth", [1]),
                                   ("GetVelocitySetPoint", [])))]
                    client.send(b"".join(packed))
                    replies = 0
                    while replies < 3:
                        replies += 1 if client.receive()[0] == 1 else 0
                client.number = 5000
                client.request("simulator_time")
            assert service.end() == 0

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def test_it_plays_back_identical_every_time(self):
        for _ in range(int(os.environ.get("KESTROVE_PLAYS", "10"))):
            with Simulator("--clock=stepped", "--seed=7"):
                code, told = answer("recording", "play", self.path, "--stepped")
            self.assertEqual((0, 0, 0, 0), (code, told["different"], told["missing"],
                                            told["additional"]), told)
            self.assertGreater(told["identical"], 80)

    def test_another_start_does_not_play_back_identical(self):
        with Simulator("--clock=stepped", "--seed=7", "--speed=4"):
            code, told = answer("recording", "play", self.path, "--stepped")
        self.assertEqual(1, code)
        self.assertGreater(told["different"], 0)

    def test_a_client_for_whom_another_advanced_the_clock_is_not_played(self):
        path = os.path.join(self.folder.name, "two.mcap")
        with Simulator("--clock=stepped", f"--record={path}") as service:
            with Client() as client:
                client.notify("subscribe", "cb_relative_position")
                client.request("GetImplementWidth", 1)
                self.assertEqual(0, navctl("simulator", "advance", "1").returncode)
            self.assertEqual(0, service.end())
        asked = {item["name"]: item["client"] for item in items(path) if item["kind"] == "request"}
        result = navctl("recording", "play", path, "--stepped", "--client",
                        str(asked["GetImplementWidth"]))
        self.assertEqual(2, result.returncode)
        self.assertIn(f"client {asked['simulator_advance']} advanced the service's clock",
                      result.stderr)


if __name__ == "__main__":
    unittest.main()
