"""A reply of another type than its operation's is an error, and no value."""

import re
import tempfile
import unittest
from pathlib import Path

import msgpack

from navctl_program import LINE_NORTH, Listener, answer, navctl, scripted

ROOT = Path(__file__).resolve().parents[2]

OTHER_FORMS = {
    "int": ("1", 1.0, 7000000000, [1], {"a": 1}),
    "double": ("1", [1.0], {"a": 1}),
    "list": ("1", 1, 1.0, {"a": 1}, ["1", "2", "3", "4"], [[1.0], 2.0, 3.0, 4.0]),
}


class ReplyTypes(unittest.TestCase):
    def test_a_reply_of_another_type_is_an_error(self):
        text = (ROOT / "docs/operations.md").read_text(encoding="utf-8")
        rows = re.findall(r"^\| `[^`(]* (\w+)\([^`]*\)` \| `(\w+)` \| \w+ \| request \| .*? \| (.*?) "
                          r"\| ", text, re.MULTILINE)
        self.assertGreater(len(rows), 30)
        forms = {name: (wire, reply.strip("`")) for name, wire, reply in rows}
        _, listed = answer("operations")
        requests = [entry for entry in listed if entry["kind"] == "request"]
        for entry in requests:
            wire, reply = forms[entry["operation"]]
            kind = reply if reply in OTHER_FORMS else "list"
            given = [GIVEN.get(argument["name"], "1") for argument in entry["arguments"]
                     if not argument["option"]]
            for other in OTHER_FORMS[kind]:
                with self.subTest((entry["command"], other)), scripted({wire: other}):
                    result = navctl(entry["command"], *given)
                    self.assertEqual((5, ""), (result.returncode, result.stdout), result.stderr)
                    self.assertIn(f"the reply to {wire} is of another form", result.stderr)

    def test_of_another_type_is_an_error_of_the_commands_of_waylines_and_the_doctor_too(self):
        with tempfile.NamedTemporaryFile("w", suffix=".txt") as file:
            file.write(LINE_NORTH + "\n")
            file.flush()
            for arguments, replies, wire in (
                (["wayline", "get"], {"get_wayline": {"a": 1}}, "get_wayline"),
                (["wayline", "get"], {"get_wayline": [0, 1.0]}, "get_wayline"),
                (["wayline", "set", file.name], {"set_wayline": "1"}, "set_wayline"),
                (["wayline", "set", file.name], {"set_wayline": 1, "get_wayline": 1}, "get_wayline"),
                (["wayline", "start", "ab"], {"start_wayline": [1]}, "start_wayline"),
                (["wayline", "clear"], {"clear_wayline": "1"}, "clear_wayline"),
            ):
                with self.subTest((arguments, replies)), scripted(replies):
                    result = navctl(*arguments)
                    self.assertEqual((5, ""), (result.returncode, result.stdout), result.stderr)
                    self.assertIn(f"the reply to {wire} is of another form", result.stderr)
        line = [0, 0.0, 0.0, 0.0, 0.0, 100.0, 0.0]
        for replies, wire in (
            ({"IsNavigationActivated": {"a": 1}}, "IsNavigationActivated"),
            ({"IsNavigationActivated": 1, "get_wayline": "none"}, "get_wayline"),
            ({"IsNavigationActivated": 1, "get_wayline": line, "IsSteeringEngaged": "no"},
             "IsSteeringEngaged"),
        ):
            with self.subTest(replies), scripted(replies):
                result = navctl("doctor")
                self.assertEqual((5, ""), (result.returncode, result.stderr))
                self.assertRegex(result.stdout, r"\[no\] protocol .* no navigation service: the reply to "
                                                f"{wire} is of another form")

    def test_a_number_that_is_no_switch_and_a_list_of_another_length_are_errors(self):
        for replies, arguments in (
            *(({operation: status}, command) for status in (-1, 2, 5) for operation, command in (
                ("EngageSteering", ["engage-steering"]),
                ("StartNavigation", ["start-navigation", "on"]),
                ("SetImplementWidth", ["set-implement-width", "3"]))),
            ({"Nudge": [2, 1.0, 2.0, 3.0]}, ["nudge", "on", "0.1"]),
            ({"IsSteeringEngaged": 2}, ["is-steering-engaged"]),
            ({"IsNavigationActivated": -1}, ["is-navigation-activated"]),
            ({"is_waypoint_set": 2}, ["is-waypoint-set", "1"]),
            ({"get_nudge_vector": [1.0, 2.0]}, ["get-nudge-vector"]),
            ({"get_nudge_vector": [1.0, 2.0, 3.0, 4.0]}, ["get-nudge-vector"]),
            ({"AutoSetNudge": [1, 1.0, 2.0, 3.0, 4.0]}, ["auto-set-nudge"]),
            ({"GetVelocitySetPoint": [1.0, 2.0]}, ["get-velocity-set-point"]),
            ({"GetTuningLimits": [1.0, 2.0, 3.0, 4.0]}, ["get-tuning-limits", "overshoot"]),
            ({"calculate_headings": []}, ["calculate-headings", LINE_NORTH]),
            ({"calculate_headings": [1.0]}, ["calculate-headings", LINE_NORTH, LINE_NORTH]),
            ({"calculate_headings": [1.0, 2.0]}, ["calculate-headings", LINE_NORTH]),
        ):
            with self.subTest(replies), scripted(replies):
                result = navctl(*arguments)
                self.assertEqual((5, ""), (result.returncode, result.stdout), result.stderr)
                self.assertIn("is of another form than the operation's", result.stderr)

    def test_a_switch_of_a_setting_is_on_for_every_number_but_0(self):
        for number, words in ((0, "false\n"), (1, "true\n"), (2, "true\n"), (-1, "true\n")):
            with self.subTest(number), scripted({"get_reverse_engage_enabled": number}):
                self.assertEqual(words, navctl("get-reverse-engage-enabled").stdout)

    def test_a_whole_number_is_a_number(self):
        with scripted({"get_nudge": 3, "GetVelocitySetPoint": [2], "get_nudge_vector": [1, 0, 0]}):
            self.assertEqual("3\n", navctl("get-nudge-scalar").stdout)
            self.assertEqual("2\n", navctl("get-velocity-set-point").stdout)
            self.assertEqual("x 1 m, y 0 m, z 0 m\n", navctl("get-nudge-vector").stdout)

    def test_requests_send_what_the_document_says(self):
        text = (ROOT / "docs/operations.md").read_text(encoding="utf-8")
        rows = dict(re.findall(r"^\| `[^`(]* (\w+)\([^`]*\)` \| `\w+` \| \w+ \| request \| `\[(.*?)\]` \|",
                               text, re.MULTILINE))
        _, listed = answer("operations")
        checked = 0
        for entry in listed:
            if entry["operation"] not in rows:
                continue
            wanted = [part.split() for part in rows[entry["operation"]].split(", ") if part]
            given = [GIVEN.get(argument["name"], "1") for argument in entry["arguments"]]
            sent = []
            with recording(sent):
                navctl("--timeout", "1", entry["command"], *given)
            with self.subTest(entry["command"]):
                name, arguments = sent[0]
                self.assertEqual(entry["service_name"], name)
                self.assertEqual([kind for kind, _ in wanted],
                                 ["int" if isinstance(part, int) else "double" for part in arguments])
                for (_, what), part in zip(wanted, arguments):
                    self.assertTrue(not what.isdigit() or int(what) == part, (what, part))
                checked += 1
        self.assertGreater(checked, 30)


def recording(sent):
    """Answers every request with an error, and adds its name and arguments to `sent`."""
    def serve(connection):
        unpacker = msgpack.Unpacker()
        while data := connection.recv(65536):
            unpacker.feed(data)
            for message in unpacker:
                if message[0] == 0:
                    sent.append((message[2], message[3]))
                    connection.sendall(msgpack.packb([1, message[1], "no", None]))
    return Listener(serve)


# Values for arguments by their name; 1 for others.
GIVEN = {"wayline": LINE_NORTH, "waylines": LINE_NORTH, "kind": "ab", "parameter": "overshoot",
         "waypoint": "1", "add": "on", "follow-nearest-pass": "on"}


if __name__ == "__main__":
    unittest.main()
