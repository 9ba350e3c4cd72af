"""Accuracy reports: their figures against an independent calculation, and what bad input gets."""

import csv
import json
import math
import os
import shutil
import stat
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree

from navctl_program import Simulator, answer, navctl, program

COLUMNS = ("time_s,true_x_m,true_y_m,true_heading_rad,measured_x_m,measured_y_m,speed_mps,steering_angle_rad,"
           "cross_track_error_m,implement_cross_track_error_m,pass,engaged,receiver_drift_error_m,run")
RUN = "version 1.0.0: navigation-simulator --ground field --seed 7"
WIDTH = 3.0
# What 95 % do not exceed is known to a tenth of a millimetre.
PRECISION = 1e-4


def noise(seed):
    """Numbers from -1 to 1 that are the same everywhere."""
    while True:
        seed = (seed * 1103515245 + 12345) % 2**31
        yield seed / 2**30 - 1


def row(time, x, y, error, passing=0, engaged=1, speed=2.5, angle=0.0, run=""):
    return (f"{time:.2f},{x:.5f},{y:.5f},0.0,{x:.4f},{y:.4f},{speed:.4f},{angle:.6f},{error:.5f},"
            f"{2 * error:.5f},{passing},{engaged},0.00100,{run}")


def hand_made(passes=4, seconds=80.0, pause=60.0, jitter=0.015):
    """Passes to the north, 3 m apart, with errors that are known."""
    values = noise(5)
    rows = []
    for passing in range(passes):
        start = passing * (seconds + pause)
        for step in range(int(seconds * 10) + 1):
            way = step * 0.25
            error = 0.02 * math.sin(way / 9 + passing) + jitter * next(values)
            rows.append(row(start + step / 10, WIDTH * passing + error, way, error, passing,
                            angle=0.01 * math.sin(way), run="" if rows else f'"{RUN}"'))
        rows.append(row(start + seconds + 0.1, 0, 0, 0, passing, engaged=0))
    return rows


def not_exceeded(errors, share):
    """The place share * (n - 1) of the sizes in their order, interpolated."""
    sizes = sorted(abs(error) for error in errors)
    place = share * (len(sizes) - 1)
    low = int(place)
    high = min(low + 1, len(sizes) - 1)
    return sizes[low] + (place - low) * (sizes[high] - sizes[low])


def figures(errors):
    count = len(errors)
    return {"samples": count, "rms": math.sqrt(sum(e * e for e in errors) / count),
            "mean": sum(errors) / count, "mean_size": sum(abs(e) for e in errors) / count,
            "worst": max(abs(e) for e in errors), "within_95": not_exceeded(errors, 0.95)}


def spacing_errors(table):
    """By how much neighbouring passes are not 3 m apart, measured from positions alone."""
    runs = {}
    for line in table:
        if line["engaged"] == "1" and float(line["true_y_m"]) >= 20.0 - 1e-9:
            runs.setdefault(int(line["pass"]), []).append(
                (float(line["true_x_m"]), float(line["true_y_m"])))
    found = []
    for passing in sorted(runs)[1:]:
        earlier = runs[passing - 1]
        for x, y in runs[passing]:
            best = min((segment_distance(x, y, a, b) for a, b in zip(earlier, earlier[1:])),
                       key=lambda each: each[0])
            if best[1]:
                found.append(best[0] - WIDTH)
    return found


def segment_distance(x, y, a, b):
    """The distance to a segment, and whether the nearest place is not an end of the run."""
    ux, uy = b[0] - a[0], b[1] - a[1]
    share = ((x - a[0]) * ux + (y - a[1]) * uy) / (ux * ux + uy * uy)
    share = min(1.0, max(0.0, share))
    return math.hypot(a[0] + share * ux - x, a[1] + share * uy - y), 20.0 < y < 200.0


class WithFolder(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, rows, name="drive.csv", columns=COLUMNS):
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write("\n".join([columns, *rows]) + "\n")
        return self.path(name)

    def assert_files(self, *names):
        self.assertEqual(sorted(names), sorted(os.listdir(self.folder)))


class Figures(WithFolder):
    def test_are_those_of_an_independent_calculation(self):
        path = self.write(hand_made())
        code, found = answer("report", path)
        self.assertEqual(0, code)
        with open(path, encoding="utf-8") as file:
            table = list(csv.DictReader(file))
        for name, column in (("machine", "cross_track_error_m"),
                             ("implement", "implement_cross_track_error_m")):
            errors = [float(line[column]) for line in table if line["engaged"] == "1"]
            for key, wanted in figures(errors).items():
                with self.subTest(name, key=key):
                    within = PRECISION if key == "within_95" else 1e-9
                    self.assertAlmostEqual(wanted, found[name][key], delta=within)
        self.assertEqual(RUN, found["run"])
        self.assertTrue(found["errors_are_true"])

    def test_of_pass_to_pass_are_measured_distances_less_the_width(self):
        path = self.write(hand_made(jitter=0.0))  # as smooth as a machine drives
        _, found = answer("report", path)
        with open(path, encoding="utf-8") as file:
            wanted = figures(spacing_errors(list(csv.DictReader(file))))
        together = found["pass_to_pass"]["groups"][0]
        self.assertEqual((4, 3, None, 900), (found["pass_to_pass"]["runs"], together["pairs"],
                                             together["speed"], together["interval_to"]))
        machine = together["machine"]
        self.assertAlmostEqual(wanted["samples"], machine["samples"], delta=6)
        # The nearest place of a machine that sways is not straight beside it: 0.2 mm.
        for key in ("rms", "mean", "within_95"):
            with self.subTest(key):
                self.assertAlmostEqual(wanted[key], machine[key], delta=2e-4)

    def test_of_a_real_drive_are_those_of_its_track(self):
        track = self.path("track.csv")
        recording = self.path("drive.mcap")
        with Simulator("--seed=3", "--speed=2.5", "--ground=field", "--speed-factor=20", "--start=0.5,0,0",
                       f"--track={track}", f"--record={recording}"):
            for words in (["set-wayline", "0 0 0 0 0 100 0"], ["start-navigation", "on"],
                          ["engage-steering"], ["watch", "engage-status", "--for", "1.5"]):
                self.assertEqual(0, navctl(*words).returncode, words)
        _, of_track = answer("report", track)
        _, of_recording = answer("report", recording)
        with open(track, encoding="utf-8") as file:
            errors = [float(line["cross_track_error_m"]) for line in csv.DictReader(file)
                      if line["engaged"] == "1"]
        for key, wanted in figures(errors).items():
            self.assertAlmostEqual(wanted, of_track["machine"][key], delta=PRECISION)
        run = "--ground field --speed-factor 20 --start 0.5,0,0 --speed 2.5 --seed 3"
        for found in (of_track, of_recording):
            self.assertRegex(found["run"], r"^version \S+: navigation-simulator .*--seed 3$")
            for option in run.split(" --")[1:]:
                self.assertIn(option, found["run"])
            self.assertNotIn("track", found["run"])
            self.assertTrue(found["errors_are_true"])
            self.assertGreater(found["implement"]["samples"], 10)
        for key in ("rms", "mean", "worst", "samples"):
            self.assertAlmostEqual(of_track["machine"][key], of_recording["machine"][key],
                                   delta=1 if key == "samples" else 2e-5)

    def test_of_an_applications_recording_are_what_guidance_said(self):
        recording = self.path("application.mcap")
        with Simulator("--seed=3", "--speed=2.5", "--speed-factor=20"):
            for words in (["set-wayline", "0 0 0 0 0 100 0"], ["start-navigation", "on"],
                          ["engage-steering"],
                          ["--record", recording, "watch", "engage-status", "guidance-status",
                           "relative-position", "--for", "1.5"]):
                self.assertEqual(0, navctl(*words).returncode, words)
        code, found = answer("report", recording)
        self.assertEqual((0, False), (code, found["errors_are_true"]))
        self.assertGreater(found["machine"]["samples"], 10)
        self.assertIsNone(found["implement"])
        self.assertIn("Errors as guidance had them", self.html(recording))

    def html(self, path):
        result = navctl("report", path, "--html", "-")
        self.assertEqual((0, ""), (result.returncode, result.stderr))
        return result.stdout

    def test_say_what_they_rest_on(self):
        path = self.write([row(i / 10, 0, i / 4, 0.01) for i in range(12)])
        text = navctl("report", path).stdout
        self.assertIn("12 samples, 1.2 s", text)
        _, found = answer("report", path)
        self.assertIsNone(found["machine"]["within_95"])


class Forms(WithFolder):
    def test_a_table_in_the_terminal_from_a_file_and_from_standard_input(self):
        path = self.write(hand_made())
        text = navctl("report", path).stdout
        for words in ("Cross-track error\n", "Pass to pass\n", "up to 15 min", "Steering activity\n",
                      f"drive: {RUN}\n", f"This report: navctl report {path}\n"):
            self.assertIn(words, text)
        with open(path, "rb") as file:
            from_input = subprocess.run([program(), "report", "-"], stdin=file, capture_output=True,
                                        text=True, check=True, timeout=60).stdout
        self.assertEqual(text.split("The drive")[0], from_input.split("The drive")[0])

    def test_one_html_file_that_is_well_formed(self):
        path = self.write(hand_made())
        target = self.path("it's.html")
        result = navctl("report", path, "--html", target)
        self.assertEqual((0, f"written: {target}\n"), (result.returncode, result.stdout))
        with open(target, encoding="utf-8") as file:
            text = file.read()
        body = text.replace("<!DOCTYPE html>", "")
        for tag in ("meta charset=\"utf-8\"",
                    "meta name=\"viewport\" content=\"width=device-width, initial-scale=1\""):
            body = body.replace(f"<{tag}>", f"<{tag}/>")
        root = xml.etree.ElementTree.fromstring(body)
        self.assertEqual(4, len(root.findall(".//{http://www.w3.org/2000/svg}svg")))
        self.assertIsNone(root.find(".//script"))
        self.assertIn("navctl report", text)
        self.assertIn(f"--html '{target}'".replace("it's", "it'\\''s"), text)

    def test_json_to_a_file_and_to_the_output(self):
        path = self.write(hand_made())
        target = self.path("figures.json")
        self.assertEqual(0, navctl("report", path, "--json", target).returncode)
        with open(target, encoding="utf-8") as file:
            found = json.load(file)
        for words in (["--json", "report", path], ["report", path, "--json"]):
            result = navctl(*words)
            self.assertEqual(0, result.returncode, result.stderr)
            self.assertEqual(found["machine"], json.loads(result.stdout)["machine"])

    def test_the_run_is_said_where_the_file_does_not_say_it(self):
        rows = [line.replace(f'"{RUN}"', "") for line in hand_made(1)]
        path = self.write(rows)
        self.assertIn("not said in the file; --run adds them", navctl("report", path).stdout)
        self.assertIn("drive: as on Monday", navctl("report", path, "--run", "as on Monday").stdout)

    @unittest.skipUnless(shutil.which("chromium") or shutil.which("weasyprint"), "no program that makes PDF")
    def test_pdf_where_a_program_is_installed(self):
        path = self.write(hand_made(1))
        before = set(os.listdir(tempfile.gettempdir()))
        result = navctl("report", path, "--pdf", self.path("drive.pdf"))
        self.assertEqual(0, result.returncode, result.stderr)
        with open(self.path("drive.pdf"), "rb") as file:
            self.assertTrue(file.read().startswith(b"%PDF-"))
        left = {name for name in set(os.listdir(tempfile.gettempdir())) - before if "navctl" in name}
        self.assertEqual(set(), left)

    def test_without_such_a_program_it_is_said_what_to_install(self):
        path = self.write(hand_made(1))
        result = subprocess.run([program(), "report", path, "--pdf", self.path("x.pdf")], check=False,
                                env={**os.environ, "PATH": self.folder}, capture_output=True, text=True,
                                timeout=60)
        self.assertEqual(6, result.returncode)
        self.assertIn("install chromium or weasyprint", result.stderr)
        self.assert_files("drive.csv")

    def install(self, name, script):
        """Puts a program into a folder of programs."""
        os.makedirs(self.path("bin"), exist_ok=True)
        with open(self.path(f"bin/{name}"), "w", encoding="utf-8") as file:
            file.write(f"#!/bin/sh\n{script}\n")
        os.chmod(self.path(f"bin/{name}"), 0o755)

    def test_weasyprint_is_given_the_html_and_where_the_pdf_is_to_be(self):
        path = self.write(hand_made(1))
        self.install("weasyprint", 'read -r first <"$1"; [ "$first" = "<!DOCTYPE html>" ] && '
                                   'echo "%PDF-of-a-test" >"$2"')
        result = subprocess.run([program(), "report", path, "--pdf", self.path("x.pdf")], check=False,
                                env={**os.environ, "PATH": self.path("bin")}, capture_output=True,
                                text=True, timeout=60)
        self.assertEqual((0, ""), (result.returncode, result.stderr))
        with open(self.path("x.pdf"), encoding="utf-8") as file:
            self.assertEqual("%PDF-of-a-test\n", file.read())

    def test_a_program_that_makes_no_pdf_leaves_nothing(self):
        path = self.write(hand_made(1))
        self.install("chromium", "exit 1")
        result = subprocess.run([program(), "report", path, "--pdf", self.path("x.pdf"), "--html",
                                 self.path("x.html")], check=False, capture_output=True, text=True,
                                env={**os.environ, "PATH": self.path("bin")}, timeout=60)
        self.assertEqual(6, result.returncode)
        self.assertIn("has made no PDF", result.stderr)
        self.assert_files("drive.csv", "bin")


class BadInput(WithFolder):
    def assert_refused(self, path, words, *options):
        """It ends with 2 and the reason, and nothing is written."""
        before = sorted(os.listdir(self.folder))
        target = self.path("report.html")
        result = navctl("report", path, "--html", target, *options)
        self.assertEqual((2, ""), (result.returncode, result.stdout), result.stderr)
        self.assertRegex(" ".join(result.stderr.split()), words)
        self.assertEqual(before, sorted(os.listdir(self.folder)))

    def test_is_refused_with_its_reason(self):
        good = hand_made(1)
        rows = [
            (good[:1], "there is one position alone"),
            ([], "there is no position"),
            ([*good[:5], row(0.1, 0, 0, 0)], "line 7: the time runs back, from 0.4 s to 0.1 s"),
            ([*good[:5], row(9, float("nan"), 0, 0)], "line 7: the position is not a number"),
            ([*good[:5], row(float("nan"), 0, 0, 0)], "line 7: the time is not a number"),
            ([*good[:5], row(9, 0, 0, float("nan"))], "line 7: steering is engaged, and the cross-track"),
            ([*good[:5], "9,8", *good[5:]], "line 7: there are 2 values for 14 columns"),
            ([*good[:5], row(9, 0, 0, 0).replace("2.5000", "fast")],
             'line 7: "fast" of column speed_mps is not a number'),
            ([*good[:5], row(9, 0, 0, 0) + ",1"], "line 7: there are 15 values"),
            ([row(i / 10, 0, i, 0, engaged=0) for i in range(50)], "steering was never engaged"),
            ([row(i / 10, 0, 0, 0, speed=0) for i in range(50)], "steering was never engaged"),
        ]
        for lines, words in rows:
            with self.subTest(words):
                self.assert_refused(self.write(lines), "drive.csv: .*" + words)

    def test_of_other_columns_names_those_that_are_missing(self):
        for columns, words in (("time_s,east_m,north_m", "no column cross_track_error_m"),
                               ("a,b", "no column time_s"), ("time_s,x_m", "no column true_x_m"),
                               ("time_s;true_x_m;true_y_m", "no column time_s.*;")):
            with self.subTest(columns):
                self.assert_refused(self.write(["1,2,3", "2,2,3"], columns=columns), words)

    def test_that_is_no_track_at_all(self):
        with open(self.path("empty"), "wb"):
            pass
        self.assert_refused(self.path("empty"), "empty is empty")
        self.assert_refused(self.path("none"), "cannot read .*none")
        self.assert_refused(self.folder, "is a directory")
        with open(self.path("drive.gz"), "wb") as file:
            file.write(b"\x1f\x8b\x08\x00" + b"\0" * 100)
        self.assert_refused(self.path("drive.gz"), "gzip")
        with open(self.path("noise"), "wb") as file:
            file.write(bytes(range(256)) * 1000)
        self.assert_refused(self.path("noise"), "neither a recording nor a track|closed|too long")

    def test_a_recording_without_poses_and_one_that_is_damaged(self):
        recording = self.path("settings.mcap")
        with Simulator("--seed=1"):
            self.assertEqual(0, navctl("--record", recording, "set-implement-width", "4").returncode)
        self.assert_refused(recording, "the recording has no positions: .*cb_relative_position")
        with open(recording, "rb") as file:
            content = file.read()
        with open(self.path("damaged.mcap"), "wb") as file:
            file.write(content[:60] + b"\xff" * 60 + content[120:])
        self.assert_refused(self.path("damaged.mcap"), "damaged.mcap: ")

    def test_a_cut_recording_counts_as_far_as_it_goes(self):
        recording = self.path("drive.mcap")
        with Simulator("--seed=3", "--speed=2.5", "--speed-factor=20", f"--record={recording}"):
            for words in (["set-wayline", "0 0 0 0 0 100 0"], ["start-navigation", "on"],
                          ["engage-steering"], ["watch", "engage-status", "--for", "1"]):
                navctl(*words)
        _, whole = answer("report", recording)
        with open(recording, "rb") as file:
            content = file.read()
        with open(self.path("cut.mcap"), "wb") as file:
            file.write(content[:len(content) * 2 // 3])
        result = navctl("--json", "report", self.path("cut.mcap"))
        self.assertEqual(0, result.returncode, result.stderr)
        self.assertIn("is cut", result.stderr)
        found = json.loads(result.stdout)
        self.assertLess(20, found["machine"]["samples"])
        self.assertLess(found["machine"]["samples"], whole["machine"]["samples"])

    def test_a_last_line_that_is_cut_is_left_out(self):
        path = self.write(hand_made(1))
        with open(path, "a", encoding="utf-8") as file:
            file.write("999.0,1.0,2")
        result = navctl("report", path)
        self.assertEqual(0, result.returncode, result.stderr)
        self.assertIn("The last line is cut", result.stderr)
        self.assertNotIn("999", result.stdout)


class Targets(WithFolder):
    def test_that_cannot_be_written_keep_what_was_there(self):
        path = self.write(hand_made(1))
        result = navctl("report", path, "--html", self.path("no/such.html"))
        self.assertEqual((6, ""), (result.returncode, result.stdout))
        self.assertIn("cannot write", result.stderr)
        self.assert_files("drive.csv")

    def test_keep_their_rights_and_stay_behind_links(self):
        path = self.write(hand_made(1))
        with open(self.path("old.html"), "w", encoding="utf-8") as file:
            file.write("old")
        os.chmod(self.path("old.html"), 0o640)
        os.symlink("old.html", self.path("link.html"))
        self.assertEqual(0, navctl("report", path, "--html", self.path("link.html")).returncode)
        self.assertTrue(os.path.islink(self.path("link.html")))
        self.assertEqual(0o640, stat.S_IMODE(os.stat(self.path("old.html")).st_mode))
        with open(self.path("old.html"), encoding="utf-8") as file:
            self.assertIn("</html>", file.read())
        self.assert_files("drive.csv", "old.html", "link.html")

    def test_that_contradict_each_other_are_refused(self):
        path = self.write(hand_made(1))
        for options, words in ((["--html", "-", "--json", "-"], "one file goes to the standard output"),
                               (["--html", "-", "--pdf", "x"], "one file goes to the standard output"),
                               (["--html", self.path("x"), "--json", self.path("x")], "cannot both be"),
                               (["--html", path], "is not written over")):
            result = navctl("report", path, *options)
            self.assertEqual(2, result.returncode, options)
            self.assertIn(words, " ".join(result.stderr.split()))
        self.assert_files("drive.csv")

    def test_a_long_track_takes_no_more_memory_than_a_short_one(self):
        peaks = []
        for passes in (1, 40):
            path = self.write(hand_made(passes))
            limited = subprocess.run(
                ["python3", "-c", "import resource, subprocess, sys\n"
                 "subprocess.run(sys.argv[1:], check=True, stdout=subprocess.DEVNULL)\n"
                 "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)", program(), "report",
                 path], check=True, capture_output=True, text=True, timeout=300)
            peaks.append(int(limited.stdout))
        # Of the last hour, 120 000 places at most are kept to compare with.
        self.assertLess(peaks[1] - peaks[0], 16 * 1024)


if __name__ == "__main__":
    unittest.main()
