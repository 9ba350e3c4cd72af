"""navctl wayline: files of waylines with and without a service."""

import filecmp
import json
import os
import re
import socket
import tempfile
import threading
import unittest
import xml.etree.ElementTree

import msgpack

from navctl_files import field_data, navctl, navctl_json
from navigation_service import DEADLINE_SECONDS, PORT, Client, Simulator

AB = "0 0.000000 0.000000 0.000000 0.000000 100.000000 0.000000"
LINES = [AB,
         "1 1.000000 2.000000 3.000000 0.500000",
         "2 50.000000 0.000000 0.000000 0.000000 50.000000 0.000000 -50.000000 0.000000 0.000000",
         "3 3 0.000000 0.000000 0.000000 10.000000 10.000000 0.000000 0.000000 20.000000 0.000000",
         "4 2 0.000000 0.000000 0.000000 10.000000 10.000000 1.000000",
         "5",
         "6"]
ORIGIN = "48.5,11.25,520"


LINE_STRING = ('{"type":"Feature","properties":{},"geometry":{"type":"LineString",'
               '"coordinates":[[11,48],[11.1,48]]}}')
with open(os.environ["NAVCTL"], "rb") as executable:
    PROGRAM = executable.read(200000)  # no wayline, and every byte there is


# A sanitizer takes memory of its own.
with open(os.environ["NAVCTL"], "rb") as executable:
    IS_SANITIZED = re.search(rb"__[amt]san_init", executable.read()) is not None


class OneReply:
    """A service that answers the first request and does something else then."""

    def __init__(self, then):
        self.then = then
        self.listener = socket.create_server(("127.0.0.1", PORT))
        self.thread = threading.Thread(target=self.serve, daemon=True)

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, *_):
        self.thread.join(DEADLINE_SECONDS)
        self.listener.close()

    def serve(self):
        """Serves one client until it leaves."""
        client, _ = self.listener.accept()
        self.listener.close()
        with client:
            unpacker, answered = msgpack.Unpacker(), False
            while not answered:
                unpacker.feed(client.recv(65536))
                for message in unpacker:
                    client.sendall(msgpack.packb([1, message[1], None, 1]))
                    answered = True
            client.recv(65536)
            self.then(client)


class Files(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = directory.name

    def path(self, name):
        return os.path.join(self.directory, name)

    def write(self, name, text):
        with open(self.path(name), "wb") as file:
            file.write(text if isinstance(text, bytes) else text.encode())
        return self.path(name)

    def read(self, name):
        with open(self.path(name), encoding="utf-8", newline="") as file:
            return file.read()


class WithoutService(Files):
    def test_shows_every_kind(self):
        code, shown = navctl_json("wayline", "show", self.write("lines.txt", "\n".join(LINES)))
        self.assertEqual(0, code)
        waylines = shown["waylines"]
        self.assertEqual(["ab", "a-heading", "circle", "spline", "ab-curve", "path", "replay"],
                         [wayline["kind"] for wayline in waylines])
        self.assertEqual([1, 2, 3, 4, 5, 6, 7], [wayline["line"] for wayline in waylines])
        self.assertEqual(100.0, waylines[0]["length_m"])
        self.assertEqual({"x": [0.0, 0.0], "y": [0.0, 100.0], "z": [0.0, 0.0]},
                         waylines[0]["bounds_m"])
        self.assertIsNone(waylines[1]["length_m"])
        self.assertAlmostEqual(314.159, waylines[2]["length_m"], 3)
        text = navctl("wayline", "show", self.path("lines.txt")).stdout.splitlines()
        self.assertEqual("1: A-B line, 2 points, 100 m from A to B, without ends, heading 0.00 "
                         "degrees; x 0 to 0, y 0 to 100, z 0 to 0 m", text[0])
        self.assertEqual(7, len(text))

    def test_converts_there_and_back(self):
        self.write("lines.txt", "\r\n".join(LINES) + "\r\n")
        to = navctl("wayline", "convert", self.path("lines.txt"), self.path("lines.geojson"),
                    "--origin", ORIGIN)
        self.assertEqual((0, ""), (to.returncode, to.stderr))
        back = navctl("wayline", "convert", self.path("lines.geojson"), "--to", "text")
        self.assertEqual((0, ""), (back.returncode, back.stderr))
        self.assertEqual(LINES, back.stdout.splitlines())

    def test_converts_points_to_csv_and_back(self):
        self.write("curve.txt", LINES[4] + "\n")
        csv = navctl("wayline", "convert", self.path("curve.txt"), "--to", "csv")
        self.assertEqual("x,y,z\n0,0,0\n10,10,1\n", csv.stdout)
        back = navctl("wayline", "convert", "-", "--from", "csv", "--to", "text", text=csv.stdout)
        self.assertEqual(LINES[4] + "\n", back.stdout)

    def test_converts_a_line_of_a_million_points_piece_by_piece(self):
        with open(self.path("long.txt"), "w", encoding="ascii") as file:
            file.write("4 1000000")
            for point in range(1000000):
                file.write(f" {1000 + point * 0.25:.6f} {point % 977 / 3:.6f} 0.000000")
            file.write("\n")
        target = self.path("long.geojson")
        memory = self.convert_and_measure("long.txt", "long.geojson", "--origin", ORIGIN)
        # Before this process grows, whose memory a child's begins with.
        back = self.convert_and_measure("long.geojson", "back.txt")
        size = os.path.getsize(target)
        with open(target, encoding="ascii") as file:
            self.assertEqual(1000000, len(json.load(file)["features"][0]["geometry"]["coordinates"]))
        self.assertTrue(filecmp.cmp(self.path("long.txt"), self.path("back.txt"), shallow=False))
        print(f"a million points: {size / 1e6:.0f} MB of GeoJSON, "
              f"{memory / 1e6:.0f} MB of memory to write it, {back / 1e6:.0f} MB to read it")
        if not IS_SANITIZED:
            self.assertLess(memory, 3 * size)
            self.assertLess(back, 4 * size)

    def convert_and_measure(self, source, target, *options):
        """Converts a file, and gives the most memory that it took, in bytes."""
        with open(os.devnull, "wb") as nothing:
            child = os.posix_spawn(os.environ["NAVCTL"],
                                   ["navctl", "wayline", "convert", self.path(source),
                                    self.path(target), *options], os.environ,
                                   file_actions=[(os.POSIX_SPAWN_DUP2, nothing.fileno(), 1)])
            _, status, usage = os.wait4(child, 0)
        self.assertEqual(0, status)
        return usage.ru_maxrss * 1024

    def test_numbers_in_place_of_positions_are_refused(self):
        for coordinates in ("[5,7]", "[[11,48],5]", "[[11,48],[1]]", "5", "[true,[11,48]]", "[[[11,48],[11,49]]]",
                            '[[11,"48"],[11,49]]', "[0,[11,48],[11,49]]", "[[11,48],[11,48,1],0]"):
            with self.subTest(coordinates):
                path = self.write("bad.geojson", '{"type":"LineString","coordinates":' + coordinates + "}")
                result = navctl("wayline", "show", path, "--origin", ORIGIN)
                self.assertEqual((2, ""), (result.returncode, result.stdout))
                self.assertRegex(result.stderr, "a position is no array|has no coordinates|is no number")

    def test_refuses_what_a_format_cannot_carry(self):
        path = self.write("lines.txt", "\n".join(LINES))
        for arguments, reason in (
            (("--to", "csv"), "wayline 2: CSV points have no place for the heading"),
            (("--to", "csv", "--line", "2"), "no place for the heading"),
            (("--to", "csv", "--line", "6"), "no points to write"),
            (("--to", "geojson"), "--origin"),
            ((), "--to text"),
            (("--to", "text", "--line", "9"), "no wayline in line 9"),
        ):
            with self.subTest(arguments):
                result = navctl("wayline", "convert", path, *arguments)
                self.assertEqual((2, ""), (result.returncode, result.stdout))
                self.assertIn(reason, result.stderr)
        path = self.write("few.txt", "4 0\n3 1 0 0 0\n")
        for line, count in (("1", "are 0"), ("2", "is 1")):
            for kind in ("csv", "geojson"):
                result = navctl("wayline", "convert", path, "--line", line, "--to", kind, "--origin",
                                ORIGIN)
                self.assertEqual((2, ""), (result.returncode, result.stdout))
                self.assertRegex(result.stderr, f"wayline {line}: .* 2 points or more, here {count}")

    def test_names_every_bad_line_and_its_reason(self):
        path = self.write("lines.txt", f"{AB}\n4 3 0 0 0\n\n0 1 2 x 4 5 6\n")
        for command in (("show", path), ("set", path), ("convert", path, "--to", "text"),
                        ("plot", path, self.path("out.svg"))):
            with self.subTest(command):
                result = navctl("wayline", *command)
                self.assertEqual((2, ""), (result.returncode, result.stdout))
                self.assertIn("line 2: 3 points make 11 words, the line has 5", result.stderr)
                self.assertIn('line 4: word 4, "x", is no finite number', result.stderr)
        self.assertFalse(os.path.exists(self.path("out.svg")))

    def test_refuses_files_that_cannot_be_used(self):
        for name, text, reason in (
            ("empty.txt", "", "there is no wayline in it"),
            ("blank.txt", "\n \n", "there is no wayline in it"),
            ("bad.geojson", "{", "this is no JSON"),
            ("typeless.geojson", "{}", "no GeoJSON with features: it has no type"),
            ("kindless.txt", "-1", "navctl clear-wayline"),
            ("polygon.geojson", '{"type":"Polygon"}', 'no LineString but "Polygon"'),
            ("semicolons.csv", "x;y\n1;2\n", "not by semicolons"),
            ("short.csv", "x,y\n1\n", "1 values for 2 columns"),
            ("number.csv", "x,y\n1,b\n", '"b" is no finite number'),
            ("overflow.geojson", LINE_STRING.replace("11", "1e999"), "a number in it that is too"),
            ("deep.geojson", "[" * 300000, "nested deeper than 64"),
            ("deep_values.geojson", '{"type":"FeatureCollection","features":'
             + "[" * 300000 + "]" * 300000 + "}", "nested deeper than 64"),
            ("deep_kind.geojson", '{"type":"Feature","geometry":null,"properties":{"kind":'
             + "[" * 300000 + "]" * 300000 + "}}", "nested deeper than 64"),
            ("null.geojson", '{"type":"Feature","properties":{},"geometry":null}', "has no points"),
            ("bare.geojson", '{"type":"Feature"}', "has no points"),
            ("none.geojson", '{"type":"LineString","coordinates":[]}', "has no points"),
            ("origin.geojson", '{"type":"Feature","properties":{"origin":{"latitude":48,"longitude":11,'
             '"height":0}},"geometry":null}', "feature 1: its geometry has no points for the kind A-B"),
            ("spline.geojson", '{"type":"Feature","properties":{"kind":"spline"},"geometry":null}',
             "has no points for the kind spline"),
            ("header.csv", "x,y,z\n", "line 2: there is no point below the names of the columns"),
            ("one.csv", "x,y\n1,2\n", "has 2 points or more, here is 1"),
            ("row.csv", "plot,1,2,3\n", "line 1: the kind A-B curve has 2 points or more"),
            ("program.txt", PROGRAM, "supported are ISOXML"),
            ("program.csv", PROGRAM, "supported are ISOXML"),
            ("program.geojson", PROGRAM, "supported are ISOXML"),
            ("long.txt", b"0" * ((64 << 20) + 1), "line 1: the line is too long"),
        ):
            with self.subTest(name):
                code, failure = navctl_json("wayline", "show", self.write(name, text))
                self.assertEqual(2, code)
                self.assertEqual(2, failure["exit_code"])
                self.assertIn(reason, failure["reason"])
        for point in ('{"type":"Feature","geometry":{"type":"Point","coordinates":[11,48]}}',
                      '{"type":"LineString","coordinates":[[11,48]]}'):
            result = navctl("wayline", "show", self.write("point.geojson", point), "--origin", ORIGIN)
            self.assertEqual((2, ""), (result.returncode, result.stdout))
            self.assertIn("has 2 points or more, here is 1", result.stderr)
        for path, reason in ((self.directory, "directory"), (self.path("none"), "No such file")):
            with self.subTest(path):
                result = navctl("wayline", "show", path)
                self.assertEqual(2, result.returncode)
                self.assertIn(reason, result.stderr)

    def test_counts_the_lines_however_they_end(self):
        rows = ["# field, north side", LINES[0], "", "  # the other one", LINES[4]]
        for end in ("\n", "\r\n", "\r"):
            for last in ("", end):
                with self.subTest((end, last)):
                    path = self.write("lines.txt", end.join(rows) + last)
                    _, shown = navctl_json("wayline", "show", path)
                    self.assertEqual([(2, "ab"), (5, "ab-curve")],
                                     [(each["line"], each["kind"]) for each in shown["waylines"]])
                    _, shown = navctl_json("wayline", "show", path, "--line", "5")
                    self.assertEqual(["ab-curve"], [each["kind"] for each in shown["waylines"]])
                    result = navctl("wayline", "show", path, "--line", "1")
                    self.assertEqual(2, result.returncode)
                    self.assertIn("no wayline in line 1\n", result.stderr)
                    path = self.write("lines.csv", end.join(["a,0,0,0,5,5,0", "", "b,1,1,0,9,9,0"]))
                    _, shown = navctl_json("wayline", "show", path, "--line", "3")
                    self.assertEqual(["b"], [each["name"] for each in shown["waylines"]])
                    path = self.write("points.csv", end.join(["x,y", "0,0", "5,5", "6,z", "7,7"]))
                    self.assertIn(': line 4: "z" is no finite number',
                                  navctl("wayline", "show", path).stderr)
                    path = self.write("bad.txt", end.join(rows + ["9 9"]) + last)
                    self.assertIn(': line 6: "9" is no code of a kind',
                                  navctl("wayline", "show", path).stderr)

    def test_writes_no_file_whose_ending_says_something_else(self):
        path = self.write("lines.txt", AB)
        for command, name, words in (("convert", "out.svg", ".txt, .geojson, .json, .csv, .kml"),
                                     ("convert", "out.xlsx", "the ending .xlsx"),
                                     ("plot", "out.png", ".svg, not .png"),
                                     ("plot", "out.txt", ".svg, not .txt")):
            with self.subTest((command, name)):
                result = navctl("wayline", command, path, self.path(name))
                self.assertEqual((2, ""), (result.returncode, result.stdout))
                self.assertIn(words, result.stderr)
                self.assertFalse(os.path.exists(self.path(name)))
        for name, beginning in (("lines", "0 0"), ("copy.TXT", "0 0"), ("OUT.CSV", "x,y,z")):
            self.assertEqual(0, navctl("wayline", "convert", path, self.path(name)).returncode)
            self.assertTrue(self.read(name).startswith(beginning), name)
        self.assertEqual(0, navctl("wayline", "convert", path, self.path("out.dat"), "--to",
                                   "text").returncode)
        for name in ("picture", "picture.SVG"):
            self.assertEqual(0, navctl("wayline", "plot", path, self.path(name)).returncode)

    def test_lists_every_bad_line_in_json(self):
        path = self.write("lines.txt", f"{AB}\n9\n\n0 1\n" + "x\n" * 30)
        code, failure = navctl_json("wayline", "show", path)
        self.assertEqual((2, 32), (code, len(failure["problems"])))
        self.assertEqual(failure["reason"], failure["problems"][0])
        for problem, number in zip(failure["problems"], (2, 4, *range(5, 35))):
            self.assertTrue(problem.startswith(f"{path}: line {number}: "), problem)

    def test_a_name_cannot_command_the_terminal(self):
        path = self.write("plots.csv", "\x1b[2Jfield,0,0,0,10,10,0\n")
        shown = navctl("wayline", "show", path)
        self.assertIn('"\\x1b[2Jfield"', shown.stdout)
        self.assertNotIn("\x1b", shown.stdout + navctl("wayline", "show", path + "\x1b").stderr)

    def test_gives_files_as_one_json_value(self):
        path = self.write("curve.txt", LINES[4] + "\n")
        for form in ("text", "csv"):
            self.assertEqual(
                (0, {"content": navctl("wayline", "convert", path, "--to", form).stdout}),
                navctl_json("wayline", "convert", path, "--to", form))
        geojson = navctl("wayline", "convert", path, "--to", "geojson", "--origin", ORIGIN).stdout
        self.assertEqual((0, json.loads(geojson)),
                         navctl_json("wayline", "convert", path, "--to", "geojson", "--origin",
                                     ORIGIN))
        target = self.path("out.csv")
        self.assertEqual((0, {"outcome": "done", "file": target}),
                         navctl_json("wayline", "convert", path, target))
        self.assertEqual((0, {"content": navctl("wayline", "plot", path, "-").stdout}),
                         navctl_json("wayline", "plot", path, "-"))
        target = self.path("out.svg")
        self.assertEqual((0, {"outcome": "done", "file": target}),
                         navctl_json("wayline", "plot", path, target))

    def test_draws_a_picture_that_is_well_formed(self):
        path = self.write("lines.txt", "\n".join(LINES))
        result = navctl("wayline", "plot", path, self.path("lines.svg"))
        self.assertEqual((0, ""), (result.returncode, result.stderr))
        texts = [element.text for element in
                 xml.etree.ElementTree.fromstring(self.read("lines.svg")).iter()
                 if element.tag.endswith("}text")]
        for text in ("A", "B", "x, metres east", "y, metres north"):
            self.assertIn(text, texts)

    def test_tells_when_a_file_cannot_be_written(self):
        path = self.write("lines.txt", AB)
        result = navctl("wayline", "convert", path, self.path("no/such/folder.txt"))
        self.assertEqual(6, result.returncode)
        self.assertIn("cannot write", result.stderr)

    def test_needs_a_service_for_the_other_commands(self):
        path = self.write("line.txt", AB)
        for command in (("get",), ("set", path), ("start", "ab"), ("clear",)):
            with self.subTest(command):
                result = navctl("wayline", *command)
                self.assertEqual((3, ""), (result.returncode, result.stdout))


class WithService(Files):
    def test_sets_gets_and_clears_a_wayline(self):
        path = self.write("lines.txt", "\n".join(LINES))
        with Simulator(), Client() as client:
            self.assertEqual(1, navctl("wayline", "get").returncode)
            for number in (1, 2, 3, 4, 5):
                with self.subTest(LINES[number - 1]):
                    code, value = navctl_json("wayline", "set", path, "--line", str(number))
                    self.assertEqual((0, "done"), (code, value["outcome"]))
                    self.assertEqual(LINES[number - 1], value["held"]["text"])
                    got = navctl("wayline", "get")
                    self.assertEqual((0, LINES[number - 1] + "\n", ""),
                                     (got.returncode, got.stdout, got.stderr))
            self.assertEqual(4, client.request("get_wayline")[0])
            self.assertEqual("done\n", navctl("wayline", "clear").stdout)
            self.assertEqual(1, navctl("wayline", "clear").returncode)
            self.assertIsNone(client.request("get_wayline"))

    def test_reports_what_the_service_holds_when_it_refuses(self):
        degenerate = self.write("point.txt", "0 1 1 0 1 1 0\n")
        with Simulator():
            code, value = navctl_json("wayline", "set", degenerate)
            self.assertIn("points A and B are 0 m apart", value.pop("reason"))
            self.assertEqual((1, {"outcome": "refused", "line": 1, "name": None, "field": None,
                                  "held": None}), (code, value))
            self.assertEqual(0, navctl("wayline", "set", self.write("ab.txt", AB)).returncode)
            result = navctl("wayline", "set", degenerate)
            self.assertEqual((1, ""), (result.returncode, result.stdout))
            self.assertRegex(result.stderr, "^navctl: the service refused set-wayline: .*points A and B "
                                            "are 0 m apart.*; it holds A-B line, 2 points, 100 m")

    def test_gives_what_the_service_holds_and_did_as_json(self):
        path = self.write("ab.txt", AB)
        with Simulator():
            self.assertEqual((1, {"outcome": "failed", "exit_code": 1,
                                  "reason": "the service has no complete wayline"}),
                             navctl_json("wayline", "get"))
            _, held = navctl_json("wayline", "set", path)
            self.assertEqual((0, held["held"]), navctl_json("wayline", "get"))
            self.assertEqual({"kind": "ab", "code": 0, "name": None, "points": 2,
                              "length_m": 100.0, "heading_rad": 0.0, "text": AB,
                              "bounds_m": {"x": [0.0, 0.0], "y": [0.0, 100.0], "z": [0.0, 0.0]}},
                             held["held"])
            self.assertEqual((0, {"outcome": "done"}), navctl_json("wayline", "clear"))
            self.assertEqual((1, {"outcome": "refused", "reason": "there is no wayline"}),
                             navctl_json("wayline", "clear"))
            self.assertEqual((0, {"outcome": "done", "kind": "circle"}),
                             navctl_json("wayline", "start", "circle"))
            code, refused = navctl_json("wayline", "start", "empty")
            self.assertIn(refused.pop("reason"), navctl("wayline", "start", "empty").stderr)
            self.assertEqual((1, {"outcome": "refused", "kind": "empty"}), (code, refused))

    def test_tells_when_it_cannot_read_back_what_it_has_set(self):
        path = self.write("ab.txt", AB)
        for name, after_set, code, reason in (
            ("the link is lost", lambda connection: connection.shutdown(socket.SHUT_RDWR), 5,
             "closed"),
            ("the service is silent", lambda connection: connection.recv(4096), 4,
             "the service gave no reply in time"),
        ):
            with self.subTest(name), OneReply(after_set):
                in_json, failure = navctl_json("--timeout", "0.3", "wayline", "set", path)
                self.assertEqual((code, "failed", code),
                                 (in_json, failure["outcome"], failure["exit_code"]))
                self.assertIn(reason, failure["reason"])

    def test_wants_one_wayline_to_set_and_sends_nothing_of_a_file_with_a_bad_line(self):
        with Simulator(), Client() as client:
            several = navctl("wayline", "set", self.write("lines.txt", "\n".join(LINES)))
            self.assertEqual(2, several.returncode)
            self.assertIn("--line", several.stderr)
            bad = navctl("wayline", "set", self.write("bad.txt", f"{AB}\nx\n"), "--line", "1")
            self.assertEqual(2, bad.returncode)
            self.assertIsNone(client.request("get_wayline"))

    def test_starts_a_wayline_by_name_and_by_code(self):
        with Simulator(), Client() as client:
            for kind in ("ab", "2"):
                with self.subTest(kind):
                    self.assertEqual(0, navctl("wayline", "start", kind).returncode)
            self.assertEqual(1, client.request("set_waypoint", 0, 0.0, 0.0, 0.0, 0.0))
            refused = navctl("wayline", "start", "empty")
            self.assertEqual(1, refused.returncode, refused.stderr)
            self.assertEqual(2, navctl("wayline", "start", "line").returncode)


@unittest.skipUnless(field_data(), "FIELD_DATA_DIR names no folder with real field files")
class FieldFiles(Files):
    def setUp(self):
        super().setUp()
        self.plots = os.path.join(field_data(), "field-boundaries.csv")

    def test_converts_the_corners_of_real_plots(self):
        text = navctl("wayline", "convert", self.plots, "--to", "text")
        self.assertEqual((0, ""), (text.returncode, text.stderr))
        with open(self.plots, encoding="utf-8") as file:
            rows = [row.strip().split(",") for row in file if row.strip()]
        lines = text.stdout.splitlines()
        self.assertEqual(len(rows), len(lines))
        for row, line in zip(rows, lines):
            words = line.split(" ")
            self.assertEqual(["4", str((len(row) - 1) // 3)], words[:2])
            for corner, word in zip(row[1:], words[2:]):
                self.assertAlmostEqual(float(corner), float(word), 6)
        geojson = navctl("wayline", "convert", self.plots, self.path("plots.geojson"),
                         "--origin", ORIGIN)
        self.assertEqual(0, geojson.returncode, geojson.stderr)
        names = [feature["properties"]["name"]
                 for feature in json.loads(self.read("plots.geojson"))["features"]]
        self.assertEqual([row[0] for row in rows], names)
        back = navctl("wayline", "convert", self.path("plots.geojson"), "--to", "text")
        self.assertEqual(text.stdout, back.stdout)

    def test_draws_real_plots(self):
        result = navctl("wayline", "plot", self.plots, self.path("plots.svg"))
        self.assertEqual((0, ""), (result.returncode, result.stderr))
        self.assertIn("2024-paper", self.read("plots.svg"))


if __name__ == "__main__":
    unittest.main()
