"""navctl feed: position samples from files and streams."""

import csv
import gzip
import json
import math
import os
import signal
import subprocess
import time
import unittest

from navctl_files import (CountingService, Files, Pace, field_data, gga, moment, navctl,
                          navctl_json, reasons, sentence)
from navigation_service import DEADLINE_SECONDS, Client, Simulator, wait_for

SAMPLES = 100000
MOTION = (4, 5, 8, 11)  # course, speed, yaw and yaw rate
LONG_DEADLINE_SECONDS = 240.0
ORIGIN = "48.0,11.0,500"
with open(os.environ["NAVCTL"], "rb") as executable:
    PROGRAM = executable.read(200000)  # nothing for a feed, and every byte there is


class Samples(Files):
    def test_sends_what_the_receiver_tells(self):
        code, report, samples = self.feed(
            "drive.nmea",
            [moment(0), sentence("GNHDT,90.0,T"),
             sentence("GNGST,000000.00,1,,,,0.012,0.011,0.02"), moment(1)])
        self.assertEqual((0, 2, 0), (code, report["sent"], report["skipped"]), report)
        first = samples[0]
        self.assertAlmostEqual(48.0, first[1], 9)
        self.assertAlmostEqual(527.0, first[3], 6)
        self.assertAlmostEqual(3.888 * 1852 / 3600, first[5], 9)
        self.assertAlmostEqual(math.pi / 2, first[8], 9)
        self.assertEqual([0.011, 0.012, 0.02], [first[tag] for tag in (12, 13, 14)])
        self.assertEqual([1, 4, 12, 1, 0, 1, 1714521600.0],
                         [first[tag] for tag in (15, 16, 17, 18, 19, 20, 21)])
        self.assertEqual(0, samples[1][18], "the second moment has no heading")
        self.assertTrue(math.isnan(samples[1][12]), "an accuracy that is not known is no number")
        self.assertAlmostEqual(0.1, samples[1][21] - first[21], 6)

    def test_derives_course_speed_and_yaw_rate(self):
        rows = ["x,y\n"] + [f"{10 * math.sin(a / 10)},{10 - 10 * math.cos(a / 10)}\n"
                            for a in range(30)]
        code, report, samples = self.feed("circle.csv", rows, "--origin", ORIGIN,
                                          "--interval", "0.5")
        self.assertEqual((0, 30), (code, report["sent"]), report)
        for number, sample in enumerate(samples[2:], 2):
            self.assertAlmostEqual(2.0, sample[5], 2)
            # The chord from the row before, counter-clockwise from east.
            course = math.pi / 2 - (number - 0.5) / 10
            self.assertAlmostEqual(0.0, math.remainder(course - sample[4], 2 * math.pi), 4)
            self.assertEqual((sample[4], 0), (sample[8], sample[18]), "no heading but the course")
            # Counter-clockwise, a tenth of a radian every half second.
            self.assertAlmostEqual(-0.2, sample[11], 3)

    def test_reads_standard_input_as_it_comes(self):
        with CountingService() as service, subprocess.Popen(
                [os.environ["NAVCTL"], "--json", "feed", "-"], stdin=subprocess.PIPE,
                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True) as process:
            for number in range(3):
                process.stdin.write(moment(number))
                process.stdin.flush()
                wait_for(lambda: len(service.samples) > number, f"sample {number}")
            output, _ = process.communicate(timeout=DEADLINE_SECONDS)
        self.assertEqual(0, process.returncode)
        self.assertEqual(3, json.loads(output)["sent"])

    def stream(self, chunks, wait):
        """Feeds a stream whose pieces come a while apart; gives the report and the samples."""
        with CountingService() as service, subprocess.Popen(
                [os.environ["NAVCTL"], "--json", "feed", "-"], stdin=subprocess.PIPE,
                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True) as process:
            for chunk in chunks:
                process.stdin.write(chunk)
                process.stdin.flush()
                time.sleep(wait)  # what a slow line does
            output, _ = process.communicate(timeout=DEADLINE_SECONDS)
        self.assertEqual(0, process.returncode, output)
        return json.loads(output), service.samples

    def test_reads_a_stream_that_begins_within_a_sentence(self):
        lines = "".join(moment(number) for number in range(4)).splitlines(keepends=True)
        report, samples = self.stream([lines[0][30:], *lines[1:]], 0.1)
        self.assertEqual((4, {"not a sentence": 1}), (len(samples), reasons(report)))
        self.assertFalse(report["date_guessed"], "RMC of the first moment has told it")

    def test_puts_the_sentences_of_a_slow_line_together(self):
        lines = "".join(moment(number) for number in range(5)).splitlines(keepends=True)
        report, samples = self.stream(lines, 0.085)
        self.assertEqual((5, {}), (len(samples), reasons(report)))
        for sample in samples:
            self.assertAlmostEqual(2.0, sample[5], 2, "the speed is RMC's")

    def test_skips_rows_of_a_stream_whose_time_goes_back(self):
        report, samples = self.stream(["time,latitude,longitude\n1,48,11\n2,48,11\n", "1.5,48,11\n",
                                       "2,48,11\n3,48,11\n"], 0.0)
        self.assertEqual([1.0, 2.0, 3.0], [sample[21] for sample in samples])
        self.assertEqual({"time does not advance": 2}, reasons(report))

    def test_derives_no_speed_from_rows_that_come_in_a_burst(self):
        rows = "".join(f"{48 + number * 1e-5:.6f},11\n" for number in range(100))
        _, samples = self.stream(["latitude,longitude\n" + rows], 0.0)
        self.assertEqual(100, len(samples))
        # A metre a row: over 20 ms, the least that speed is derived from, this is 55 m/s.
        self.assertLess(max(sample[5] for sample in samples), 60.0)

    def test_gives_every_sample_the_day_that_a_sentence_tells(self):
        drive = [moment(number) for number in range(20)]
        lines = drive[0].splitlines(keepends=True)
        first_is_broken = [lines[0], lines[1].replace("R*", "S*"), *drive[1:]]
        first_is_missing = [lines[0], *drive[1:]]
        for parts, skipped in ((first_is_broken, 1), (first_is_missing, 0)):
            with self.subTest(skipped):
                code, report, samples = self.feed("drive.nmea", parts)
                self.assertEqual((0, 20, skipped), (code, len(samples), report["skipped"]), report)
                for number, sample in enumerate(samples):
                    self.assertAlmostEqual(1714521600.0 + number / 10, sample[21], 5)

    def test_goes_on_behind_a_time_that_is_far_ahead(self):
        rows = "".join(f"{number},48,11\n" for number in range(2, 9))
        path = self.write("rows.csv", "time,latitude,longitude\n1,48,11\n1e9,48,11\n" + rows)
        with CountingService() as service:
            result = navctl("--json", "feed", path, "--rate", "10")  # the gap is not waited for
        report = json.loads(result.stdout)
        self.assertEqual((0, {"time does not advance": 4}), (result.returncode, reasons(report)))
        self.assertEqual([1.0, 1e9, 6.0, 7.0, 8.0], [sample[21] for sample in service.samples])
        self.assertIn("passing over a gap of 999999999 s", result.stderr)
        self.assertIn("starts anew", result.stderr)

    def test_tells_of_unused_columns_before_the_first_sample(self):
        path = self.write("rows.csv", "time,wind,latitude,longitude,sun\n1,9,48,11,9\n")
        with CountingService():
            result = navctl("--json", "feed", path)
        self.assertEqual(["wind", "sun"], json.loads(result.stdout)["columns_not_used"])
        self.assertIn("columns that are not used: wind, sun", result.stderr)

    def test_keeps_the_time_of_the_file_and_is_faster_with_a_rate(self):
        path = self.write("drive.nmea", [moment(number) for number in range(21)])
        for rate, seconds in ((None, 2.0), ("4", 0.5)):
            with self.subTest(rate), CountingService() as service, Pace(seconds / 20) as pace:
                start = time.monotonic()
                result = navctl("feed", path, *(("--rate", rate) if rate else ()))
                self.assertEqual(0, result.returncode, result.stderr)
            self.assertEqual(21, len(service.samples))
            self.assertGreaterEqual(service.times[-1] - start, seconds)
            # When they came: the start of the program and its end do not count.
            lasted = service.times[-1] - service.times[0]
            # On a busy machine whoever keeps such a pace is held up.
            self.assertLess(lasted, 1.5 * max(seconds, pace.lasted(20)))

    def test_moves_the_simulated_machine(self):
        path = self.write("drive.nmea", [moment(number) for number in range(11)])
        with Simulator() as simulator, Client() as client:
            client.notify("set_wayline_origin", 48.0, 11.0, 527.0)
            client.request("IsSteeringEngaged")
            self.assertEqual(0, navctl("feed", path, "--rate", "max").returncode)
            client.notify("subscribe", "cb_relative_position")
            x, y, heading = client.event("cb_relative_position")
            self.assertAlmostEqual(0.0, x, 2)
            # It may have driven on since the last sample, at 2 m/s.
            self.assertGreater(y, 1.9)
            self.assertLess(y, 12.0)
            self.assertAlmostEqual(0.0, math.sin(heading), 3)
            self.assertEqual(0, simulator.end())
            self.assertRegex(simulator.errors(), r"\Anavigation-simulator: the times of the fed positions "
                             r"are not those of the system's clock.*\n\Z", "every sample was taken")


class BrokenFiles(Files):
    def test_counts_broken_sentences_and_reads_the_rest(self):
        wrong = moment(1).replace("GNGGA", "GPGGA", 1)
        for broken, reason in (
            (wrong, "wrong checksum"),
            ("$GNGGA,1,2,3\r\n", "no checksum"),
            ("$GNGGA,1,2,3*4\r\n", "cut checksum"),
            ("\x00\x01binary\r\n", "not a sentence"),
            ("x" * 100000 + "\r\n", "line too long"),
            (moment(1)[20:60] + "\r\n", "not a sentence"),
            (sentence("GNGGA,000000.10,,,,,0,00,,,M,,M,,"), "no position"),
            (sentence("GNGGA,000000.10,48,N,11.x,E,1,1,1,1,M,1,M,,"), "GGA with a bad longitude"),
        ):
            with self.subTest(reason):
                code, report, samples = self.feed("drive.nmea", [moment(0), broken, moment(2)])
                self.assertEqual(0, code, report)
                self.assertIn(reason, [entry["reason"] for entry in report["skipped_reasons"]])
                self.assertEqual(1, report["skipped"], report)
                self.assertEqual(report["sent"], len(samples))
                self.assertGreaterEqual(len(samples), 2)

    def test_reads_sentences_that_have_run_together_and_lines_of_all_ends(self):
        for end in ("", "\n", "\r", "\r\n", "\r\n\r\n"):
            with self.subTest(end):
                text = "".join(moment(number) for number in range(4)).replace("\r\n", end)
                code, report, samples = self.feed("drive.nmea", [text])
                self.assertEqual((0, 4, 0), (code, len(samples), report["skipped"]), report)

    def test_counts_broken_rows_and_reads_the_rest(self):
        code, report, samples = self.feed(
            "rows.csv",
            ["\ufefftime,latitude,longitude\r\n", "1,48,11\r\n", "2,48\r\n", "3,48,x\r\n",
             "4;48;11\r\n", "5,98,11\r\n", "0,48,11\r\n", "6,48,11\r\n"])
        self.assertEqual((0, 2, 2), (code, report["sent"], len(samples)), report)
        self.assertEqual({"too few columns": 2, "bad number: longitude": 1,
                          "no place on the earth": 1, "time does not advance": 1},
                         {entry["reason"]: entry["count"]
                          for entry in report["skipped_reasons"]})
        self.assertEqual(3, report["skipped_reasons"][-1]["first_line"])

    def test_refuses_files_that_cannot_be_used(self):
        with Simulator():
            for name, text, reason in (
                ("empty.csv", "", "empty"),
                ("satellites.nmea", sentence("GPGSV,1,1,00") * 3, "found: 3 GSV"),
                ("heading.log", "# lat, lon: none\n" + sentence("GPHDT,1.0,T"),
                 "it takes GGA, GNS, RMC or GLL"),
                ("empty.nmea", "", "no sample"),
                ("noise.nmea", "noise\n", "no sample"),
                ("columns.csv", "time,latitude\n1,48\n", "no longitude"),
                ("semicolons.csv", "time;latitude;longitude\n1;48;11\n", "not by semicolons"),
                ("origin.csv", "time,x,y\n1,2,3\n", "--origin"),
                ("interval.csv", "latitude,longitude\n48,11\n", "--interval"),
                ("zeros", "\0" * 200000, "no line that names the columns"),
                ("program.nmea", PROGRAM, "no sample"),
                ("program.csv", PROGRAM, "the columns"),
                ("wide.nmea", "".join(moment(1)).encode("utf-16"), "no sample"),
                ("wide.csv", "time,latitude,longitude\n1,48,11\n".encode("utf-16"), "does not name the columns"),
            ):
                with self.subTest(name):
                    code, report = navctl_json("feed", self.write(name, [text]))
                    self.assertEqual((2, 2, 0), (code, report["exit_code"], report["sent"]))
                    self.assertIn(reason, report["reason"])
            # Readable for nobody, root included.
            code, report = navctl_json("feed", "/proc/self/mem")
            self.assertEqual((2, "/proc/self/mem: Input/output error"), (code, report["reason"]))
        for path in (self.directory, os.path.join(self.directory, "none")):
            self.assertEqual(2, navctl("feed", path).returncode)

    def test_says_what_a_file_of_unknown_format_is_and_should_be(self):
        log = "".join(moment(number) for number in range(3))
        columns = "the columns time (or --interval), latitude and longitude (or x and y with --origin)"
        sentences = "NMEA sentences: GGA, GNS, RMC or GLL with a time and a position"
        with Simulator():
            for name, text, first, *others in (
                ("log.csv", log, "line 1 does not name the columns", columns, sentences,
                 "it begins with sentences, 3 GGA, 3 RMC: --format nmea reads them"),
                ("rows.csv", "1,48,11\n2,48,11\n", "line 1 does not name the columns", columns,
                 sentences, "there is no whole sentence at its beginning"),
                ("rows.log", "1,48,11\n", "line 1 does not name the columns", columns, sentences),
                ("x.log", "garbage\n", "line 1 does not name the columns", columns, sentences),
                ("remarks.log", "# a\n", "there is no line that names the columns; found: 1 comment;",
                 columns, sentences),
                ("remarks.csv", "# a\n\n\n# b\n",
                 "there is no line that names the columns; found: 2 comments, 2 empty lines;", columns),
                ("rows.nmea", "time,lat,lon\n1,48,11\n", "no sample that could be sent; it takes GGA",
                 "found: not a sentence (2)", "its first line names columns: --format csv reads it"),
                ("remark.nmea", "# a\n\n", "no sample that could be sent",
                 "found: 1 comment, 1 empty line", "columns time, latitude and longitude (--format csv)"),
                ("none.csv", "time,lat,lon\n", "no sample that could be sent",
                 "found: 1 line with the names of columns"),
            ):
                with self.subTest(name):
                    path = self.write(name, [text])
                    result = navctl("feed", path)
                    self.assertEqual(2, result.returncode)
                    self.assertTrue(result.stderr.startswith(f"navctl: {path}: {first}"), result.stderr)
                    for words in others:
                        self.assertIn(words, result.stderr)
            code, report = navctl_json("feed", self.write("log.csv", [log]), "--rate", "max",
                                       "--format", "nmea")
            self.assertEqual((0, 3), (code, report["sent"]))

    def test_a_line_without_names_is_not_counted_as_one_of_names(self):
        with Simulator():
            code, report = navctl_json("feed", self.write("rows.csv", ["1,48,11\n"]))
        self.assertEqual((2, {"line that was looked at for columns": 1}), (code, report["not_used"]))

    def test_options_of_one_format_tell_a_stream_that_says_nothing_of_its_own(self):
        with Simulator():
            result = navctl("feed", "-", "--origin", "48,11", text="0,1\n0,2\n")
            self.assertEqual(2, result.returncode)
            self.assertIn("-: line 1 does not name the columns; a feed takes", result.stderr)
            result = navctl("feed", "-", "--date", "2024-05-06", text="0,1\n0,2\n")
            self.assertIn("-: no sample that could be sent; it takes GGA", result.stderr)

    def test_says_that_a_time_must_be_in_seconds(self):
        code, report, _ = self.feed("iso.csv", ["time,lat,lon\n", "2024-05-01T10:00:00Z,48,11\n"])
        self.assertEqual((2, {"bad number: time, which must be in seconds": 1}), (code, reasons(report)))

    def test_names_the_encoding_of_a_file_that_is_no_plain_text(self):
        text = "time,latitude,longitude\n1,48,11\n"
        packed = gzip.compress(text.encode())
        wide = text.encode("utf-16-le")
        with Simulator():
            for name, content, words in (("a.csv.gz", packed, "it is compressed with gzip"),
                                         ("a.csv", packed, "zcat FILE | navctl feed -"),
                                         ("a.nmea", packed, "it is compressed with gzip"),
                                         ("wide.csv", wide, "iconv -f UTF-16LE -t UTF-8 FILE"),
                                         ("wide.nmea", wide, "it is text in UTF-16")):
                with self.subTest(name):
                    code, report = navctl_json("feed", self.write(name, [content]))
                    self.assertEqual(2, code)
                    self.assertIn(words, report["reason"])

    def test_says_that_lines_end_with_cr_alone(self):
        text = "".join(moment(number) for number in range(4))
        words = "lines that end with CR alone: 7; they count as one line up to the next LF"
        for end, is_told in (("\r", True), ("\r\n", False)):
            path = self.write("drive.nmea", [text.replace("\r\n", end)])
            with CountingService():
                result = navctl("feed", path, "--rate", "max")
            self.assertIn("sent 4 samples\n", result.stdout)
            self.assertEqual(is_told, words in result.stdout, result.stdout)

    def test_refuses_options_of_the_other_format(self):
        values = self.write("rows.csv", ["time,latitude,longitude\n", "1,48,11\n"])
        log = self.write("drive.nmea", [moment(0)])
        with Simulator():
            for path, options, of, read_as in (
                *((log, options, "comma-separated values", "NMEA sentences")
                  for options in (["--interval", "1"], ["--origin", ORIGIN])),
                *((values, options, "NMEA sentences", "comma-separated values")
                  for options in (["--date", "2024-05-06"], ["--invert-roll"], ["--invert-pitch"],
                                  ["--burst-begins-with", "HDT"])),
            ):
                with self.subTest(options):
                    result = navctl("feed", path, "--rate", "max", *options)
                    self.assertEqual((2, "", f"navctl: {options[0]} is for {of}; {path} is read as "
                                             f"{read_as}\n"),
                                     (result.returncode, result.stdout, result.stderr))

    def test_comments_among_the_rows_are_no_rows(self):
        code, report, samples = self.feed("rows.csv", ["# a\n", "time,lat,lon\n", "1,48,11\n", "# b\n",
                                                       "2,48,11\n", "#3,48,11\n"])
        self.assertEqual((0, 2, 0, 3), (code, len(samples), report["skipped"],
                                        report["not_used"]["comments"]))
        self.assert_adds_up(report, 6)

    def test_nothing_goes_from_one_recording_into_the_next(self):
        rows = [f"{1000 + row},{48 + row / 1000},11,10,2,0.5\n" for row in range(5)]
        rows += [f"{100 + row},49,12,,,\n" for row in range(8)]
        path = self.write("rows.csv", ["time,lat,lon,speed,course,yaw_rate\n", *rows])
        with CountingService() as service:
            result = navctl("feed", path, "--rate", "max")
        self.assertIn("time starts anew in line 11, ", result.stderr)
        self.assertEqual([104.0, 105.0, 106.0, 107.0], [sample[21] for sample in service.samples[5:]])
        for sample in service.samples[5:]:
            self.assertEqual([0.0] * 4, [sample[tag] for tag in MOTION], sample)
        first = "".join(moment(number) for number in range(3600, 3606))
        second = "".join(gga(number) for number in range(8))
        path = self.write("joined.nmea", [first, second])
        with CountingService() as service:
            result = navctl("feed", path, "--rate", "max", "--date", "2024-05-06")
        self.assertRegex(result.stderr, r"time starts anew in line \d+, ")
        anew = service.samples[6]
        self.assertEqual([0.0] * 4, [anew[tag] for tag in MOTION], anew)

    def test_refuses_wrong_options(self):
        path = self.write("drive.nmea", [moment(0)])
        for options in (("--rate", "0"), ("--rate", "fast"), ("--interval", "-1"),
                        ("--origin", "95,0,0"), ("--origin", "here"), ("--date", "2024-13-01"),
                        ("--format", "gpx")):
            with self.subTest(options):
                result = navctl("feed", path, *options)
                self.assertEqual((2, ""), (result.returncode, result.stdout))
        for options, words in (
            (("--interval", "0"), '--interval: "0" is no number from 0.001 to 3600'),
            (("--interval", "abc"), '--interval: "abc" is no number from 0.001 to 3600'),
            (("--reconnect", "abc"), '--reconnect: "abc" is no number from 0 to 86400'),
            (("--format", "xml"), '--format: "xml" is none of csv, nmea'),
        ):
            with self.subTest(options):
                self.assertIn(f"navctl: {words}", navctl("feed", path, *options).stderr)


class Link(Files):
    def test_tells_that_there_is_no_service(self):
        code, report = navctl_json("feed", self.write("drive.nmea", [moment(0)]))
        self.assertEqual((3, 3), (code, report["exit_code"]))

    def test_every_failure_has_the_same_keys(self):
        drive = self.write("drive.nmea", [moment(0)])
        _, no_service = navctl_json("feed", drive)
        _, no_file = navctl_json("feed", os.path.join(self.directory, "none"))
        with Simulator():
            _, other_format = navctl_json("feed", drive, "--interval", "1")
            _, bad_file = navctl_json("feed", self.write("bad.csv", ["1,2\n"]))
        for report in (no_service, no_file, other_format):
            self.assertEqual(list(bad_file), list(report))
            self.assertEqual(("failed", 0), (report["outcome"], report["sent"]))
            self.assert_adds_up(report, 0)

    def test_ends_with_the_count_when_the_service_goes_away(self):
        path = self.write("drive.nmea", [moment(number) for number in range(3000)])
        with Simulator() as simulator, Client() as client:
            with subprocess.Popen(
                    [os.environ["NAVCTL"], "--json", "feed", path, "--reconnect", "0.5"],
                    stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True) as process:
                client.notify("subscribe", "cb_relative_position")
                wait_for(lambda: client.event("cb_relative_position")[1] > 0.5, "the feed")
                simulator.end(signal.SIGKILL)
                output, _ = process.communicate(timeout=DEADLINE_SECONDS)
        report = json.loads(output)
        self.assertEqual((3, 3), (process.returncode, report["exit_code"]), report)
        self.assertLess(report["sent"], 3000)
        self.assertGreater(report["lost"], 0)
        self.assert_adds_up(report)

    def test_goes_on_when_the_service_comes_back(self):
        path = self.write("drive.nmea", [moment(number) for number in range(60)])
        with Simulator() as simulator:
            with subprocess.Popen(
                    [os.environ["NAVCTL"], "--json", "feed", path, "--rate", "2"],
                    stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True) as process:
                with Client() as client:
                    client.notify("subscribe", "cb_relative_position")
                    wait_for(lambda: client.event("cb_relative_position")[1] > 0.5, "the feed")
                simulator.end(signal.SIGKILL)
                self.assertIn("the link is lost", process.stderr.readline())
                with Simulator():
                    output, errors = process.communicate(timeout=DEADLINE_SECONDS)
        report = json.loads(output)
        self.assertIn("the link is back", errors)
        self.assertEqual((0, 60, 1), (process.returncode, report["sent"] + report["lost"],
                                      report["reconnections"]), report)
        self.assertGreater(report["sent"], 0)
        self.assert_adds_up(report, 120)

    def test_ends_in_good_order_when_it_is_interrupted(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            with self.subTest(number), CountingService() as service, subprocess.Popen(
                    [os.environ["NAVCTL"], "--json", "feed", "-"], stdin=subprocess.PIPE,
                    stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True) as process:
                process.stdin.write(moment(0))
                process.stdin.flush()
                wait_for(lambda: service.samples, "a sample")
                process.send_signal(number)
                process.wait(DEADLINE_SECONDS)
                report = json.loads(process.stdout.read())
                self.assertEqual(0, process.returncode)
                self.assertEqual((True, 1), (report["interrupted"], report["sent"]))
                self.assert_adds_up(report, 2)

    def test_ends_soon_when_it_is_interrupted_before_a_service_that_says_nothing(self):
        path = self.write("drive.nmea", [moment(number) for number in range(995)])
        with CountingService(silent_from=8) as service, subprocess.Popen(
                [os.environ["NAVCTL"], "--json", "--timeout", "3600", "feed", path],
                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True) as process:
            wait_for(lambda: len(service.samples) >= 8, "samples")
            process.send_signal(signal.SIGINT)
            output, _ = process.communicate(timeout=DEADLINE_SECONDS)
        report = json.loads(output)
        self.assertEqual((0, True), (process.returncode, report["interrupted"]), report)
        self.assertGreater(report["lost"], 0)
        self.assert_adds_up(report)

    def test_asks_a_service_that_does_not_say_why_it_refuses_once_and_does_not_wait_for_it(self):
        path = self.write("drive.nmea", [moment(number) for number in range(120)])
        with CountingService(silent_to="why_refused"):
            code, report = navctl_json("--timeout", "3600", "feed", path, "--rate", "max")
        self.assertEqual((0, 120, 0), (code, report["sent"], report["refused"]["of"]), report)

    def test_says_that_the_service_refuses_the_samples(self):
        far_apart = ["time,latitude,longitude\n"] + [f"{number},{48 + number / 100},11.0\n"
                                                    for number in range(4)]
        with Simulator():
            code, report = navctl_json("feed", self.write("leaps.csv", far_apart), "--rate", "1")
            text = navctl("feed", self.write("leaps.csv", far_apart), "--rate", "1")
        self.assertEqual(1, code, report)
        self.assertRegex(report["reason"], "the service refused the samples: .* is no ground speed")
        self.assertEqual(report["refused"]["of"], report["refused"]["looks"])
        self.assertEqual(1, text.returncode)
        self.assertEqual(1, text.stderr.count("the service does not take the samples: "), text.stderr)
        self.assertIn("\nthe service refused the last sample at ", text.stdout)

    def test_says_where_a_refused_speed_is_from(self):
        apart = ["x,y,speed\n"] + [f"0,{50 * number},{{}}\n" for number in range(3)]
        options = ("--origin", "48,11", "--interval", "0.1")
        with Simulator():
            for speed, is_derived in (("", True), ("400", False)):
                rows = [row.format(speed) for row in apart]
                result = navctl("feed", self.write("rows.csv", rows), *options)
                self.assertEqual(1, result.returncode)
                reason = [line for line in result.stderr.splitlines() if "refused the samples" in line]
                self.assertEqual(is_derived, "it was derived from the distance and --interval 0.1: try a "
                                            "longer interval, or a column speed" in reason[0], reason)

    def test_counts_what_it_had_read_ahead_when_it_is_interrupted(self):
        path = self.write("drive.nmea", [moment(number) for number in range(995)])
        with CountingService() as service, subprocess.Popen(
                [os.environ["NAVCTL"], "--json", "feed", path],
                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True) as process:
            wait_for(lambda: len(service.samples) >= 8, "samples")
            process.send_signal(signal.SIGINT)
            output, _ = process.communicate(timeout=DEADLINE_SECONDS)
        report = json.loads(output)
        self.assertEqual((0, {}), (report["skipped"], report["not_used"]))
        self.assertEqual(report["sent"], len(service.samples))
        self.assertGreater(report["lines"]["read_ahead"], 0)
        self.assert_adds_up(report)

    def test_counts_as_sent_what_a_service_that_dies_has_read(self):
        path = self.write("drive.nmea", [moment(number) for number in range(710)])
        with CountingService(most=300) as service:
            code, report = navctl_json("feed", path, "--rate", "max", "--reconnect", "0")
        self.assertNotEqual(0, code, report)
        self.assertLessEqual(report["sent"], len(service.samples))
        self.assertGreaterEqual(report["sent"], 250)
        self.assert_adds_up(report)


class LongFiles(Files):
    def feed_all(self, path):
        """Feeds 100 000 samples; gives the report, and the most memory that it took, in KiB."""
        with CountingService() as service, subprocess.Popen(
                [os.environ["NAVCTL"], "--json", "feed", path, "--rate", "max"],
                stdout=subprocess.PIPE, text=True) as process:
            early = 0
            while process.poll() is None and len(service.samples) < SAMPLES:
                if early == 0 and len(service.samples) > SAMPLES // 10:
                    early = most_memory(process.pid)
                late = most_memory(process.pid) or late
                time.sleep(0.01)  # between two looks
            output, _ = process.communicate(timeout=LONG_DEADLINE_SECONDS)
        self.assertEqual(0, process.returncode)
        self.assertEqual(list(range(1, SAMPLES + 1)),
                         [sample[20] for sample in service.samples], "every sample, in order")
        self.assertGreater(early, 0)
        self.assertLess(late - early, 1024, f"from {early} to {late} KiB")
        return json.loads(output)

    def test_feeds_100000_samples_of_nmea_in_steady_memory(self):
        path = self.write("long.nmea", (moment(number) for number in range(SAMPLES)))
        report = self.feed_all(path)
        self.assertEqual((SAMPLES, 0), (report["sent"], report["skipped"]))

    def test_feeds_100000_samples_of_csv_in_steady_memory(self):
        rows = (f"{number / 10},{48 + number * 1.8e-6:.9f},11\n" for number in range(SAMPLES))
        path = self.write("long.csv", ["time,latitude,longitude\n", *rows])
        report = self.feed_all(path)
        self.assertEqual((SAMPLES, 0), (report["sent"], report["skipped"]))


def most_memory(process):
    """The most memory that a process has had resident, in KiB; 0 when it has ended."""
    try:
        with open(f"/proc/{process}/status", encoding="utf-8") as file:
            for line in file:
                if line.startswith("VmHWM:"):
                    return int(line.split()[1])
    except OSError:
        pass
    return 0


@unittest.skipUnless(field_data(), "FIELD_DATA_DIR names no folder with real field files")
class FieldFiles(Files):
    def test_feeds_the_poses_of_a_real_drive(self):
        path = os.path.join(field_data(), "recorded-poses.csv")
        with open(path, newline="", encoding="utf-8") as file:
            poses = list(csv.DictReader(file))
        with CountingService() as service:
            code, report = navctl_json("feed", path, "--origin", ORIGIN, "--interval", "1",
                                       "--rate", "max")
        self.assertEqual((0, len(poses), 0), (code, report["sent"], report["skipped"]), report)
        for pose, sample in zip(poses, service.samples):
            heading = (math.pi / 2 - float(pose["theta"])) % (2 * math.pi)
            self.assertAlmostEqual(heading, sample[8], delta=1e-4, msg="but for the turn of north")
            self.assertEqual(1, sample[18])

    def test_brings_the_simulated_machine_to_where_the_drive_ends(self):
        path = os.path.join(field_data(), "recorded-poses.csv")
        with open(path, newline="", encoding="utf-8") as file:
            last = list(csv.DictReader(file))[-1]
        with Simulator(), Client() as client:
            client.notify("set_wayline_origin", 48.0, 11.0, 500.0)
            client.request("IsSteeringEngaged")
            # An hour between the poses, so that the machine hardly drives on after the last one.
            result = navctl("feed", path, "--origin", ORIGIN, "--interval", "3600",
                            "--rate", "max")
            self.assertEqual(0, result.returncode, result.stderr)
            client.notify("subscribe", "cb_relative_position")
            x, y, _ = client.event("cb_relative_position")
            self.assertAlmostEqual(float(last["x"]), x, delta=0.2)
            self.assertAlmostEqual(float(last["y"]), y, delta=0.2)


if __name__ == "__main__":
    unittest.main()
