"""Recordings of the link: made, looked at, copied, and played."""

import json
import os
import signal
import stat
import struct
import subprocess
import tempfile
import unittest

from navctl_program import (DEADLINE_SECONDS, Client, Running, Simulator, answer, navctl, on_terminal,
                            scripted, silent, wait_for)
from navigation_service import Service, ServiceError


def items(path, *options):
    """The messages of a recording, as list --json has them."""
    result = navctl("--json", "recording", "list", path, *options)
    assert result.returncode == 0, result.stderr
    return json.loads(result.stdout)["items"]


def spoken(path, *options):
    """Kind, name and value of the messages; what became of connections aside."""
    return [(item["kind"], item["name"], item.get("value")) for item in items(path, *options)
            if item["kind"] != "state"]


class WithRecording(unittest.TestCase):
    """Has a recording of a few settings and their events, made by navctl's own link."""

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.path = os.path.join(cls.folder.name, "drive.mcap")
        with Simulator("--seed=1"):
            code, _ = answer("--record", cls.path, "set-implement-width", "4.5")
            assert code == 0
            cls.watched = os.path.join(cls.folder.name, "watched.mcap")
            assert navctl("--record", cls.watched, "watch", "--count", "12").returncode == 0

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def target(self, name):
        path = os.path.join(self.folder.name, name)
        self.addCleanup(lambda: os.path.exists(path) and os.remove(path))
        return path


class Looks(WithRecording):
    def test_info_tells_what_is_in_it(self):
        code, found = answer("recording", "info", self.path)
        self.assertEqual(0, code)
        self.assertTrue(found["whole"])
        self.assertEqual(os.path.getsize(self.path), found["bytes"])
        self.assertEqual("1", found["origin"]["version"])
        self.assertEqual("navctl", found["origin"]["program"])
        self.assertEqual(["/link", "/link/1/to_service", "/link/1/to_application"],
                         [channel["topic"] for channel in found["channels"]])
        self.assertIn("drive.mcap: ", navctl("recording", "info", self.path).stdout)

    def test_list_has_each_request_with_its_reply(self):
        found = spoken(self.path)
        self.assertEqual(("request", "SetImplementWidth", [1, 4.5]), found[0])
        self.assertEqual(("reply", "SetImplementWidth", 1), found[1])
        self.assertEqual(("reply", "GetImplementWidth", 4.5), found[3])
        listed = items(self.path)
        self.assertEqual(list(range(1, len(listed) + 1)), [item["number"] for item in listed])
        reply = next(item for item in listed if item["kind"] == "reply")
        self.assertEqual("SetImplementWidth", listed[reply["request"] - 1]["name"])

    def test_list_gives_those_alone_that_are_wanted(self):
        self.assertEqual({"GetImplementWidth"},
                         {name for _, name, _ in spoken(self.path, "--operation", "GetImplementWidth")})
        self.assertEqual({"cb_offsets"},
                         {name for kind, name, _ in spoken(self.watched, "--event", "cb_offsets")})
        self.assertEqual([("request", "SetImplementWidth", [1, 4.5]),
                          ("reply", "GetImplementWidth", 4.5)], spoken(self.path, "--text", "4.5"))
        first = items(self.path)[0]["time"]
        self.assertEqual(items(self.path), items(self.path, "--from", first))
        self.assertEqual([], items(self.path, "--from", "3600"))
        self.assertEqual(1, len(items(self.path, "--to", "0")))
        self.assertEqual(2, navctl("recording", "list", self.path, "--from", "noon").returncode)

    def test_show_has_one_message_whole(self):
        code, found = answer("recording", "show", self.path, "2")
        self.assertEqual((0, "SetImplementWidth", [1, 4.5]), (code, found["name"], found["value"]))
        self.assertEqual(2, navctl("recording", "show", self.path, "4711").returncode)

    def test_to_csv_has_a_row_a_message(self):
        rows = navctl("recording", "to-csv", self.path).stdout.splitlines()
        self.assertEqual("number,time,client,kind,name,request,error,value", rows[0])
        self.assertEqual(len(items(self.path)), len(rows) - 1)
        self.assertEqual("\n".join(rows) + "\n",
                         answer("recording", "to-csv", self.path)[1]["content"])
        self.assertRegex(rows[2], r'^2,20\d\d-.*Z,1,request,"SetImplementWidth",0,0,"\[1,4.5\]"$')

    def test_diff_finds_the_place(self):
        code, found = answer("recording", "diff", self.path, self.path)
        self.assertEqual((0, 0, 4), (code, found["different"], found["identical"]))
        code, found = answer("recording", "diff", self.path, self.watched)
        self.assertEqual(1, code)
        self.assertGreater(found["different"], 0)

    def test_a_cut_file_gives_every_complete_message_and_says_so(self):
        with open(self.watched, "rb") as file:
            whole = file.read()
        everything = items(self.watched)
        last = 0
        for length in list(range(0, len(whole), 97)) + [len(whole) - 1]:
            path = self.target("cut.mcap")
            with open(path, "wb") as file:
                file.write(whole[:length])
            result = navctl("--json", "recording", "list", path)
            self.assertEqual(0, result.returncode, result.stderr)
            self.assertIn("before its end", result.stderr)
            found = json.loads(result.stdout)["items"]
            self.assertEqual(everything[:len(found)], found)
            self.assertGreaterEqual(len(found), last)
            last = len(found)
        self.assertEqual(len(everything), last)

    def test_what_is_no_recording_is_refused(self):
        path = self.target("none.mcap")
        with open(path, "w", encoding="utf-8") as file:
            file.write("latitude,longitude\n")
        for command in ("info", "list", "to-csv", "serve", "play"):
            for name, words in ((path, "no MCAP"), (path + "x", "No such file"),
                                (self.folder.name, "no ordinary file")):
                result = navctl("recording", command, name)
                self.assertEqual(2, result.returncode, (command, name, result.stderr))
                self.assertIn(words, result.stderr)
                self.assertNotIn("terminate", result.stderr)


def write_recording(path, messages, size):
    """Writes a recording of messages of so many bytes on a channel beside the link."""
    magic = b"\x89MCAP0\r\n"

    def record(kind, content):
        return struct.pack("<BQ", kind, len(content)) + content

    def text(value):
        return struct.pack("<I", len(value)) + value

    message = record(5, struct.pack("<HIQQ", 0x8000, 1, 1, 1) + b'"' + b"x" * (size - 2) + b'"')
    with open(path, "wb") as file:
        file.write(magic + record(1, text(b"") + text(b"")))
        file.write(record(4, struct.pack("<HH", 0x8000, 0) + text(b"/notes") + text(b"json")
                          + text(b"")))
        for _ in range(messages):
            file.write(message)
        file.write(record(15, bytes(4)) + record(2, bytes(20)) + magic)


class Long(unittest.TestCase):
    """Recordings that are longer than what people wait for without a sign, and than memory."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.small, self.large = (os.path.join(folder.name, name) for name in ("a.mcap", "b.mcap"))
        write_recording(self.small, 1, 1_000_000)
        write_recording(self.large, 51, 1_000_000)

    def test_a_bar_shows_how_far_a_command_is(self):
        for path, is_shown in ((self.small, False), (self.large, True)):
            for command in ("info", "list"):
                code, text = on_terminal(["recording", command, path])
                self.assertEqual(0, code, text)
                self.assertEqual(is_shown, " %  1 record" in text, text[:200])

    def test_memory_does_not_grow_with_the_file(self):
        for command in ("info", "list", "to-csv"):
            small, large = (self.most_kilobytes(command, path)
                            for path in (self.small, self.large))
            self.assertLess(large - small, 8_000, command)

    @staticmethod
    def most_kilobytes(command, path):
        with subprocess.Popen([os.environ["NAVCTL"], "recording", command, path],
                              stdout=subprocess.DEVNULL) as process:
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
        assert process.returncode == 0
        return usage.ru_maxrss


class Copies(WithRecording):
    def test_compress_keeps_every_message(self):
        path = self.target("small.mcap")
        code, told = answer("recording", "compress", self.watched, path)
        self.assertEqual((0, os.path.getsize(path)), (code, told["bytes"]))
        self.assertEqual(items(self.watched), items(path))
        self.assertEqual(1, answer("recording", "info", path)[1]["chunks"])

    def test_no_copy_replaces_a_file(self):
        path = self.target("there.mcap")
        with open(path, "w", encoding="utf-8") as file:
            file.write("kept")
        for command in ("compress", "decode", "cut"):
            result = navctl("recording", command, self.path, path)
            self.assertEqual(6, result.returncode, result.stderr)
            self.assertIn("File exists", result.stderr)
        self.assertEqual(4, os.path.getsize(path))
        self.assertEqual(6, navctl("recording", "cut", self.path, self.path).returncode)

    def test_cut_begins_with_the_connection_and_ends_between_messages(self):
        times = [item["time"] for item in items(self.path)]
        path = self.target("part.mcap")
        self.assertEqual(0, navctl("recording", "cut", self.path, path, "--from", times[2],
                                   "--to", times[3]).returncode)
        found = items(path)
        self.assertEqual(("state", "present"), (found[0]["kind"], found[0]["name"]))
        # The reply's request, which has its name, is not among them.
        self.assertEqual([("reply", "", 1), ("request", "GetImplementWidth", [1])], spoken(path))

    def test_decode_adds_what_viewers_draw(self):
        path = self.target("decoded.mcap")
        self.assertEqual(0, navctl("recording", "decode", self.watched, path).returncode)
        self.assertEqual(items(self.watched), items(path))
        topics = {channel["topic"]: channel["messages"]
                  for channel in answer("recording", "info", path)[1]["channels"]}
        self.assertEqual(1, topics["/events/cb_offsets"])
        self.assertEqual(topics["/events/cb_relative_position"], topics["/viewer/pose"])
        self.assertIn("/operations/subscribe", topics)


class Makes(unittest.TestCase):
    def test_the_environment_has_every_program_record_its_link(self):
        with tempfile.TemporaryDirectory() as folder, Simulator():
            result = navctl("get-implement-width", environment={"KESTROVE_RECORD": folder})
            self.assertEqual(0, result.returncode, result.stderr)
            (name,) = os.listdir(folder)
            self.assertRegex(name, r"^navctl-\d+-20\d{6}T\d{6}Z-1\.mcap$")
            path = os.path.join(folder, name)
            self.assertEqual(0o600, stat.S_IMODE(os.stat(path).st_mode))
            self.assertEqual(("reply", "GetImplementWidth"), spoken(path)[-1][:2])

    def test_a_program_that_is_killed_leaves_every_message(self):
        with tempfile.TemporaryDirectory() as folder, Simulator():
            with Running("--json", "watch", "cb_relative_position",
                         environment={"KESTROVE_RECORD": folder}) as watching:
                shown = [json.loads(watching.line()) for _ in range(5)]
                watching.end(signal.SIGKILL)
            (name,) = os.listdir(folder)
            found = spoken(os.path.join(folder, name), "--event", "cb_relative_position")
            self.assertGreaterEqual(len(found), len(shown))

    def test_a_recording_that_cannot_be_written_is_said_and_stops_nothing(self):
        with tempfile.TemporaryDirectory() as folder, Simulator():
            result = navctl("--record", f"{folder}/no/a.mcap", "get-implement-width")
            self.assertEqual((0, "3\n"), (result.returncode, result.stdout))
            self.assertIn("nothing is recorded: ", result.stderr)


class Serves(WithRecording):
    def serving(self, *options):
        service = Running("--json", "recording", "serve", self.path, "--once", *options)
        self.addCleanup(service.__exit__)
        wait_for(self.can_connect, "the service of the recording")
        return service

    @staticmethod
    def can_connect():
        # Without connecting: the first that does is the application.
        with open("/proc/net/tcp", encoding="ascii") as table:
            return any(line.split()[1].endswith(":1392") and line.split()[3] == "0A"
                       for line in table.readlines()[1:])

    def end(self, service):
        told = json.loads(service.line())
        return service.process.wait(DEADLINE_SECONDS), told

    def test_an_application_that_asks_the_same_gets_the_same(self):
        for options in ((), ("--stepped",)):
            service = self.serving(*options)
            code, reply = answer("set-implement-width", "4.5")
            self.assertEqual((0, 4.5), (code, reply["held"]), reply)
            code, told = self.end(service)
            self.assertEqual((0, 2, 0, 0),
                             (code, told["fitted"], told["misfits"], told["not_asked"]))

    def test_another_argument_gets_an_error_that_says_so(self):
        service = self.serving()
        with Client() as client:
            with self.assertRaises(ServiceError) as raised:
                client.request("SetImplementWidth", 1, 5.5)
            self.assertIn("message 1 does not fit", str(raised.exception))
            self.assertIn("5.5", str(raised.exception))
            self.assertIn("4.5", str(raised.exception))
            self.assertEqual(4.5, client.request("GetImplementWidth", 1))
        code, told = self.end(service)
        self.assertEqual((1, 1, 1), (code, told["fitted"], told["misfits"]))
        self.assertEqual([1, 5.5], told["told"][0]["came"]["arguments"])
        self.assertEqual([1, 4.5], told["told"][0]["recorded"]["arguments"])

    def test_lenient_takes_any_argument_but_no_other_name(self):
        service = self.serving("--lenient", "--stepped")
        with Client() as client:
            self.assertEqual(1, client.request("SetImplementWidth", 1, 5.5))
            with self.assertRaises(ServiceError):
                client.request("GetLookAheadTime", 1)
            with self.assertRaises(ServiceError) as raised:
                client.request("GetImplementWidth", 1)
            self.assertIn("at its end", str(raised.exception))
        self.assertEqual(1, self.end(service)[0])

    def test_what_was_not_asked_is_told(self):
        service = self.serving()
        with Client() as client:
            self.assertEqual(1, client.request("SetImplementWidth", 1, 4.5))
        code, told = self.end(service)
        self.assertEqual((1, 1), (code, told["not_asked"]))

    def test_a_second_service_is_refused(self):
        self.serving()
        result = navctl("recording", "serve", self.path)
        self.assertEqual(3, result.returncode)
        self.assertIn("Address already in use", result.stderr)

    def test_bytes_that_are_no_message_end_the_connection_alone(self):
        service = self.serving()
        with Client() as client:
            client.send(b"\xc1\xff\xff")
            self.assertEqual(b"", client.socket.recv(1))
        code, told = self.end(service)
        self.assertEqual(1, code)
        self.assertIn("no message", told["told"][0]["text"])


class Plays(WithRecording):
    def played(self, *options, path=None):
        return answer("recording", "play", path or self.path, *options)

    def test_the_same_service_answers_the_same(self):
        with Simulator("--seed=1"):
            for options in (("--stepped",), ("--rate", "100"), ()):
                code, told = self.played(*options)
                self.assertEqual((0, 2, 0), (code, told["identical"], told["different"]), told)

    def test_a_different_answer_is_told_with_its_place(self):
        with scripted({"SetImplementWidth": 1, "GetImplementWidth": 4.75}):
            code, told = self.played("--stepped")
            self.assertEqual((1, 1, 1), (code, told["identical"], told["different"]), told)
            self.assertIn("GetImplementWidth 4.75 in place of 4.5, 0.25 more",
                          told["told"][0]["difference"])
            self.assertEqual(0, self.played("--stepped", "--tolerance", "0.25")[0])

    def test_nobody_there_is_a_failure_to_connect(self):
        self.assertEqual(3, navctl("recording", "play", self.path).returncode)

    def test_a_service_that_says_nothing_is_missing(self):
        with silent():
            code, told = answer("--timeout", "0.3", "recording", "play", self.path, "--stepped")
            self.assertEqual((1, 0, 2), (code, told["identical"], told["missing"]))

    def test_what_is_served_plays_back_identical_every_time(self):
        for _ in range(10):
            with Running("--json", "recording", "serve", self.watched, "--stepped",
                         "--once") as service:
                wait_for(Serves.can_connect, "the service of the recording")
                code, told = self.played("--stepped", path=self.watched)
                self.assertEqual(0, code, told)
                self.assertGreater(told["identical"], 10)
                self.assertEqual(0, json.loads(service.line())["misfits"])


class OfTheSimulator(unittest.TestCase):
    """The simulator's --record: all clients, and the machine as it really is."""

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.path = os.path.join(cls.folder.name, "service.mcap")
        with Simulator(f"--record={cls.path}") as service:
            with Client() as first, Client() as second:
                assert first.request("SetImplementWidth", 1, 4.5) == 1
                assert second.request("GetImplementWidth", 1) == 4.5
                first.notify("subscribe", "cb_relative_position")
                for _ in range(3):
                    first.event("cb_relative_position")
            with Client() as third:
                assert third.request("GetVelocitySetPoint")
            assert service.end() == 0

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def test_it_is_whole_and_for_its_user_alone(self):
        code, found = answer("recording", "info", self.path)
        self.assertEqual((0, True, "service"), (code, found["whole"], found["origin"]["side"]))
        self.assertEqual(0o600, stat.S_IMODE(os.stat(self.path).st_mode))
        topics = {channel["topic"]: channel["messages"] for channel in found["channels"]}
        self.assertGreater(topics["/machine/true_state"], 1)
        self.assertEqual(topics["/machine/true_state"], topics["/machine/true_pose"])

    def test_it_has_what_clients_say_in_json(self):
        topics = {channel["topic"]: channel["messages"]
                  for channel in answer("recording", "info", self.path)[1]["channels"]}
        self.assertEqual(1, topics["/operations/SetImplementWidth"])
        self.assertEqual(1, topics["/operations/subscribe"])
        self.assertGreaterEqual(topics["/events/cb_relative_position"], 3)
        self.assertEqual(topics["/events/cb_relative_position"], topics["/viewer/pose"])
        # Decoding replaces it by the same.
        target = os.path.join(self.folder.name, "again.mcap")
        self.assertEqual(0, navctl("recording", "decode", self.path, target).returncode)
        again = answer("recording", "info", target)[1]["channels"]
        self.assertEqual(topics, {channel["topic"]: channel["messages"] for channel in again})
        self.assertEqual(len(topics), len(again))

    def test_it_ends_where_the_system_takes_no_more_and_the_service_goes_on(self):
        path = os.path.join(self.folder.name, "short.mcap")
        with Service("prlimit", "--fsize=20000", os.environ["NAVIGATION_SIMULATOR"],
                     f"--record={path}") as service:
            self.assertIn("the recording ends here", service.process.stderr.readline())
            with Client() as client:
                self.assertEqual(1, client.request("SetImplementWidth", 1, 4.5))
        self.assertFalse(answer("recording", "info", path)[1]["whole"])

    def test_it_tells_the_clients_apart(self):
        asked = [(item["client"], item["name"]) for item in items(self.path)
                 if item["kind"] == "request"]
        self.assertEqual([(1, "SetImplementWidth"), (2, "GetImplementWidth"),
                          (3, "GetVelocitySetPoint")], asked)
        replies = spoken(self.path, "--client", "2")
        self.assertEqual([("request", "GetImplementWidth", [1]),
                          ("reply", "GetImplementWidth", 4.5)], replies)
        self.assertGreaterEqual(len(items(self.path, "--event", "cb_relative_position")), 3)

    def test_one_client_of_many_is_played(self):
        result = navctl("recording", "play", self.path)
        self.assertEqual(2, result.returncode)
        self.assertIn("--client N with one of 1, 2, 3", result.stderr)
        self.assertIn("there are clients 1, 2, 3",
                      navctl("recording", "serve", self.path, "--client", "7").stderr)
        with Running("--json", "recording", "serve", self.path, "--client", "2", "--once"):
            wait_for(Serves.can_connect, "the service of the recording")
            code, told = answer("recording", "play", self.path, "--client", "2", "--stepped")
            self.assertEqual((0, 1), (code, told["identical"]), told)

    def test_a_file_that_is_there_is_refused(self):
        result = subprocess.run([os.environ["NAVIGATION_SIMULATOR"], f"--record={self.path}"],
                                capture_output=True, text=True, check=False,
                                timeout=DEADLINE_SECONDS)
        self.assertEqual(2, result.returncode)
        self.assertIn("cannot write the recording", result.stderr)
        self.assertIn("File exists", result.stderr)


if __name__ == "__main__":
    unittest.main()
