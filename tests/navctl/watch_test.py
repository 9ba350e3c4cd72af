"""The events as they come."""

import datetime
import fcntl
import json
import os
import re
import shlex
import signal
import subprocess
import threading
import time
import unittest

from navctl_program import (LINE_NORTH, Client, Listener, Running, Simulator, answer, navctl, on_terminal,
                            program, scripted, silent, wait_for, web_server)

# Of each kind of event, the names of its values.
FIELDS = {
    "engage-status": {"engaged", "possible", "navigation_active", "reversing", "dropped"},
    "guidance-status": {"pass", "cross_track_error_m", "heading_error_rad", "curvature_per_m"},
    "offsets": {"shift_m"},
    "wayline-status": {"complete", "recording", "navigation_active", "kind", "length_m"},
    "implement-width-changed": {"width_m"},
    "tuning-parameter-changed": {"parameter", "value"},
    "relative-position": {"x_m", "y_m", "heading_rad"},
    "draw-points": {"points_m"},
}


class Watch(unittest.TestCase):
    def test_prints_every_kind_with_its_values_and_a_time(self):
        with Simulator(), Running("--json", "watch") as watch:
            left = dict(FIELDS)
            while left:
                line = json.loads(watch.line())
                self.assertEqual(FIELDS[line["event"]] | {"time", "event"}, set(line))
                stamp = datetime.datetime.fromisoformat(line["time"].replace("Z", "+00:00"))
                now = datetime.datetime.now(datetime.timezone.utc)
                self.assertLess(abs((now - stamp).total_seconds()), 60.0)
                left.pop(line["event"], None)
            self.assertEqual(0, watch.end(signal.SIGINT))

    def test_prints_the_events_that_are_asked_for(self):
        with Simulator():
            for name in ("offsets", "cb_offsets"):
                result = navctl("watch", name, "--count", "1")
                self.assertEqual(0, result.returncode)
                self.assertRegex(result.stdout, r"^\d\d:\d\d:\d\d\.\d{3}  offsets +line shifted by "
                                                r"\+0\.000 m\n$")
            lines = navctl("watch", "relative-position", "guidance-status", "--count", "6").stdout
            self.assertEqual({"relative-position", "guidance-status"},
                             {line.split()[1] for line in lines.splitlines()})

    def test_tells_a_change_when_it_happens(self):
        with Simulator(), Client() as client, \
                Running("--json", "watch", "implement-width-changed") as watch:
            self.assertEqual(3.0, json.loads(watch.line())["width_m"])
            client.request("SetImplementWidth", 1, 7.5)
            self.assertEqual(7.5, json.loads(watch.line())["width_m"])

    def test_tells_when_the_events_stop_and_when_they_come_again(self):
        for arguments in (["watch"], ["--json", "watch", "guidance-status"]):
            with self.subTest(arguments), Simulator() as simulator, Running(*arguments) as watch:
                watch.line_with("guidance-status")
                simulator.process.send_signal(signal.SIGSTOP)
                # Its lines must not fill the pipe.
                reader = threading.Thread(target=lambda: list(iter(watch.line, "")), daemon=True)
                reader.start()
                try:
                    wait_for(lambda: "may hang" in watch.errors(), "the silence to be told")
                    self.assertRegex(watch.errors(), r"^navctl: no event for \d+ s; the service is "
                                                     r"connected, but may hang\n$")
                finally:
                    simulator.process.send_signal(signal.SIGCONT)
                wait_for(lambda: "come again" in watch.errors(), "the events to be told")
                self.assertRegex(watch.errors(), r"hang\nnavctl: events come again\n$")
                watch.process.send_signal(signal.SIGKILL)
                reader.join(30)

    def test_says_nothing_of_events_that_are_rare(self):
        with Simulator():
            result = navctl("watch", "offsets", "wayline-status", "--for", "6.5")
            self.assertEqual((0, ""), (result.returncode, result.stderr))

    def test_headings_and_lengths_read_well(self):
        events = {"cb_relative_position": lambda _: [0.0, 0.0, 6.283185],
                  "cb_wayline_status": lambda _: [1, 0, 0, 0, 0.0]}
        with scripted({"IsNavigationActivated": 0}, events):
            self.assertIn("heading 0.0 degrees",
                          navctl("watch", "relative-position", "--count", "1").stdout)
            self.assertIn("ab, complete yes, recording no, navigation active no, without ends\n",
                          navctl("watch", "wayline-status", "--count", "1").stdout)
            line = json.loads(navctl("--json", "watch", "wayline-status", "--count", "1").stdout)
            self.assertIsNone(line["length_m"])

    def test_ends_after_the_count_or_the_time(self):
        with Simulator():
            result = navctl("watch", "guidance-status", "--count", "3")
            self.assertEqual((0, 3), (result.returncode, len(result.stdout.splitlines())))
            result = navctl("watch", "offsets", "--for", "0.5")
            self.assertEqual((0, 1), (result.returncode, len(result.stdout.splitlines())))
            result = navctl("watch", "offsets", "--for", "0.5", "--count", "2")
            self.assertEqual(4, result.returncode)
            self.assertIn("1 event in the time, not 2", result.stderr)

    def test_lives_through_a_restart_of_the_service(self):
        with Running("--json", "watch", "implement-width-changed") as watch:
            for number, width in enumerate((4.0, 5.0, 6.0), 1):
                wait_for(lambda n=number: self.waits(watch) == n, "the loss of the link")
                with self.subTest(width), Simulator(), Client() as client:
                    self.assertEqual(3.0, json.loads(watch.line())["width_m"])
                    client.request("SetImplementWidth", 1, width)
                    self.assertEqual(width, json.loads(watch.line())["width_m"])
            self.assertEqual(0, watch.end())
            self.assertEqual(3, watch.errors().count("navctl: connected\n"))

    @staticmethod
    def waits(watch):
        return watch.errors().count("navctl: waiting for the service: ")

    def test_says_why_nothing_came(self):
        self.assertEqual(3, navctl("watch", "--for", "0.3").returncode)
        with silent():
            self.assertEqual(4, navctl("watch", "--for", "0.3", "--count", "1").returncode)

    def test_who_answers_nothing_is_no_service(self):
        for arguments in (["watch", "--for", "2.5"], ["--json", "watch", "--for", "2.5"],
                          ["watch", "--lightbar", "--for", "2.5"]):
            with self.subTest(arguments), silent():
                result = navctl(*arguments)
                self.assertEqual(4, result.returncode, result.stderr)
                self.assertIn("navctl: the service gave no reply in time\n", result.stderr)
                self.assertNotIn("connected", result.stderr)
                if "--json" in arguments:
                    line = json.loads(result.stdout.splitlines()[-1])
                    self.assertEqual(("error", 4), (line["event"], line["exit_code"]))

    def test_a_service_that_wakes_up_is_connected_to(self):
        # One whose events come by themselves, and one that has none to send.
        for name in ("guidance-status", "draw-points"):
            with self.subTest(name), Simulator() as simulator:
                simulator.process.send_signal(signal.SIGSTOP)
                try:
                    with Running("watch", name) as watch:
                        wait_for(lambda: self.waits(watch) > 0, "the wait to be told")
                        time.sleep(1.5)  # time for a connection that is not one
                        self.assertNotIn("connected", watch.errors())
                        simulator.process.send_signal(signal.SIGCONT)
                        wait_for(lambda: "navctl: connected\n" in watch.errors(), "the answer")
                        self.assertEqual(0, watch.end())
                finally:
                    simulator.process.send_signal(signal.SIGCONT)

    def assert_last_line(self, code, reason, *arguments):
        result = navctl("--json", "watch", *arguments)
        line = json.loads(result.stdout.splitlines()[-1])
        self.assertEqual((code, {"time", "event", "exit_code", "reason"}),
                         (result.returncode, set(line)))
        self.assertEqual(("error", code), (line["event"], line["exit_code"]))
        self.assertIn(reason, line["reason"])
        self.assertIn(line["reason"], result.stderr)

    def test_the_last_line_of_json_tells_why_it_failed(self):
        self.assert_last_line(3, "cannot connect", "--for", "0.3")
        with silent():
            self.assert_last_line(4, "0 events in the time, not 1", "--for", "0.3", "--count", "1")
        with web_server():
            self.assert_last_line(5, "protocol error")
        with Simulator():
            self.assert_last_line(4, "1 event in the time", "offsets", "--for", "0.5",
                                  "--count", "2")

    def test_ends_when_what_answers_does_not_speak_the_protocol(self):
        with web_server():
            result = navctl("watch")
        self.assertEqual((5, ""), (result.returncode, result.stdout))
        self.assertIn("protocol error", result.stderr)


def end_when(part):
    """Interrupts a program as soon as it has written this; once, for a second time would end it."""
    sent = []

    def look(process, text):
        if part in text and not sent:
            sent.append(signal.SIGINT)
            process.send_signal(signal.SIGINT)
    return look


class Readers(unittest.TestCase):
    """Whoever reads the output may go, or stop reading."""

    def test_watching_ends_with_its_reader_though_there_is_nothing_more_to_write(self):
        with Simulator():
            for arguments in (["--lightbar"], ["offsets"], ["--json", "offsets"]):
                with self.subTest(arguments):
                    shell = f"{shlex.quote(program())} watch {shlex.join(arguments)} | head -1"
                    result = subprocess.run(["bash", "-c", shell + '; echo "${PIPESTATUS[0]}"'],
                                            capture_output=True, text=True, timeout=60, check=False)
                    lines = result.stdout.splitlines()
                    self.assertEqual(("141", ""), (lines[-1], result.stderr))
                    self.assertEqual(2, len(lines))

    def test_the_lightbar_ends_with_its_reader_where_there_is_no_service(self):
        # Two lines come, that it waits and what for; the third never does.
        shell = f'{shlex.quote(program())} watch --lightbar | head -1; echo "${{PIPESTATUS[0]}}"'
        result = subprocess.run(["bash", "-c", shell], capture_output=True, text=True, timeout=60,
                                check=False)
        self.assertEqual((2, "141"), (len(result.stdout.splitlines()),
                                      result.stdout.splitlines()[-1]))

    def test_a_reader_that_goes_is_a_failure_where_the_signal_is_ignored(self):
        with Simulator():
            shell = (f"trap '' PIPE; {shlex.quote(program())} watch --lightbar | head -1; "
                     'echo "${PIPESTATUS[0]}"')
            result = subprocess.run(["bash", "-c", shell], capture_output=True, text=True,
                                    timeout=60, check=False)
            self.assertEqual("6", result.stdout.splitlines()[-1])
            self.assertIn("cannot write the standard output: Broken pipe", result.stderr)

    def test_a_peer_that_closes_every_connection_is_no_service(self):
        for arguments in (["watch", "--for", "1"], ["watch", "--lightbar", "--for", "1"]):
            with self.subTest(arguments), Listener(lambda connection: connection.close()):
                result = navctl(*arguments)
                self.assertEqual(5, result.returncode, result.stderr)
                self.assertIn("protocol error: ", result.stderr)

    def test_a_signal_ends_a_command_whose_output_nobody_reads(self):
        for arguments in (["watch"], ["--json", "watch", "guidance-status"],
                          ["watch", "--lightbar"]):
            for number in (signal.SIGINT, signal.SIGTERM):
                with self.subTest((arguments, number)):
                    self.end_unread(arguments, number)

    def end_unread(self, arguments, number):
        reader, writer = os.pipe()
        # Full from the beginning.
        os.write(writer, b" " * fcntl.fcntl(writer, fcntl.F_GETPIPE_SZ))
        sent = []
        events = {"cb_guidance_status": lambda place: sent.append(place) or [place, 0.0, 0.0, 0.0]}
        with scripted({"IsNavigationActivated": 0}, events), \
                subprocess.Popen([program(), *arguments], stdout=writer) as process:
            os.close(writer)
            try:
                # The first event fills what the program would write; others come behind it.
                wait_for(lambda: len(sent) > 10, "some events")
                process.send_signal(number)
                self.assertEqual(-number, process.wait(30))
            finally:
                process.kill()
        os.close(reader)


class Lightbar(unittest.TestCase):
    def test_shows_the_side_and_the_distance(self):
        # The line runs 12 cm left of the machine.
        with Simulator("--speed=2", "--receiver=ideal"):
            answer("set-wayline", "0 -0.12 0 0 -0.12 100 0")
            answer("start-navigation", "off")
            for environment, lamps in (({"LC_ALL": "C"}, r"\[\.{10} o ###\.{7}\]"),
                                       ({"LC_ALL": "C.UTF-8"}, r"\[·{10} ○ ●●●·{7}\]")):
                with self.subTest(environment), \
                        Running("watch", "--lightbar", environment=environment) as watch:
                    line = watch.line_with("cm")
                    self.assertRegex(line, lamps + r"   12\.0 cm right  pass 0  ready")
                    self.assertEqual(0, watch.end())

    def test_is_redrawn_in_place_on_a_terminal(self):
        with Simulator("--speed=2", "--receiver=ideal"):
            answer("set-wayline", "0 -0.12 0 0 -0.12 100 0")
            answer("start-navigation", "off")
            for environment, lamps in (
                    ({}, "[" + "·" * 10 + " ○ " + "\x1b[33m●\x1b[0m" * 3 + "·" * 7 + "]"),
                    ({"NO_COLOR": "1"}, "[" + "·" * 10 + " ○ ●●●" + "·" * 7 + "]")):
                with self.subTest(environment):
                    code, text = on_terminal(["watch", "--lightbar"], environment,
                                             answer=end_when(lamps))
                    self.assertEqual(0, code)
                    self.assertIn("\r" + lamps + "   12.0 cm right", text)
                    self.assertIn("\x1b[K", text)
                    self.assertEqual(1, text.count("\n"), "at the end")
            code, text = on_terminal(["watch", "--lightbar"], columns=30, answer=end_when("ready"))
            self.assertIn("\r 12.0 cm right  pass 0", text)  # the words where the lamps have no room
            self.assertNotIn("[·", text)

    def test_a_terminal_that_obeys_no_sequences_gets_lines(self):
        with Simulator():
            _, text = on_terminal(["watch", "--lightbar"], {"TERM": "dumb"},
                                  answer=end_when("no wayline"))
        self.assertNotIn("\x1b", text)
        self.assertTrue(text.replace("\r\n", "").isprintable(), text)
        self.assertTrue(text.endswith("no wayline\r\n"), text)

    def test_words_wrap_where_there_is_no_room(self):
        with Simulator("--speed=2", "--receiver=ideal"):
            answer("set-wayline", "0 -0.12 0 0 -0.12 100 0")
            answer("start-navigation", "off")
            _, text = on_terminal(["watch", "--lightbar"], columns=24, answer=end_when("ready"))
        self.assertRegex(text, r"12\.0 cm right pass 0\r\nready\x1b\[K")
        _, text = on_terminal(["watch", "--lightbar"], columns=36, answer=end_when("refused"))
        drawn = re.sub(r"\x1b\[[0-9]*[A-Z]", "", text)
        self.assertLessEqual(max(len(line) for line in re.split(r"[\r\n]+", drawn)), 36)
        self.assertIn("no service: localhost port 5010:\r\n", drawn)

    def test_lamps_that_would_reach_the_last_column_are_left_out_and_the_words_are_not(self):
        for columns, lamps in ((22, 0), (23, 0), (24, 3), (25, 3), (26, 4), (37, 9), (38, 10), (50, 10)):
            with self.subTest(columns), Simulator():
                _, text = on_terminal(["watch", "--lightbar"], {"NO_COLOR": "1"}, columns=columns,
                                      answer=end_when("no wayline"))
                lines = re.split(r"[\r\n]+", re.sub(r"\x1b\[[0-9]*[A-Z]", "", text))
                drawn = [line for line in lines if line.startswith("[")]
                self.assertEqual(lamps > 0, bool(drawn), text)
                for line in drawn:
                    self.assertTrue(line.startswith("[" + "·" * lamps + " ○ " + "·" * lamps + "]  "),
                                    text)
                self.assertLess(max(map(len, lines)), columns)

    def test_lights_the_middle_on_the_line(self):
        with Simulator("--speed=2", "--receiver=ideal"):
            answer("set-wayline", LINE_NORTH)
            answer("start-navigation", "off")
            answer("engage-steering")
            with Running("watch", "--lightbar", environment={"LC_ALL": "C"}) as watch:
                self.assertRegex(watch.line_with("ENGAGED"), r"^\[\.{10} # \.{10}\] ")

    def test_tells_what_is_missing(self):
        with Running("watch", "--lightbar") as watch:
            watch.line_with("no service: ")
            with Simulator():
                watch.line_with("no wayline")
                answer("set-wayline", LINE_NORTH)
                watch.line_with("navigation is not active")
                answer("start-navigation", "on")
                watch.line_with("cannot engage")  # the machine stands still
            watch.line_with("no service: ")

    def test_goes_out_while_the_service_hangs(self):
        with Simulator("--speed=2", "--receiver=ideal") as simulator:
            answer("set-wayline", "0 -0.12 0 0 -0.12 100 0")
            answer("start-navigation", "off")
            with Running("watch", "--lightbar", environment={"LC_ALL": "C"}) as watch:
                watch.line_with("cm right")
                simulator.process.send_signal(signal.SIGSTOP)
                try:
                    line = watch.line_with("no event for")
                    self.assertRegex(line, r"^\[\.{10} o \.{10}\]  no event for \d+ s$")
                    self.assertGreaterEqual(int(re.search(r"(\d+) s", line)[1]), 2)
                finally:
                    simulator.process.send_signal(signal.SIGCONT)
                self.assertRegex(watch.line_with("cm right"), "###")
                self.assertEqual(0, watch.end())

    def test_has_no_json_form(self):
        self.assertEqual(2, navctl("--json", "watch", "--lightbar").returncode)


if __name__ == "__main__":
    unittest.main()
