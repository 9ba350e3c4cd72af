"""How navctl gives the values of real receivers to their times: bursts as they come, and logs."""

import json
import math
import os
import re
import subprocess
import time
import unittest

from navctl_files import CountingService, Files, gga, moment, navctl_json, reasons, sentence
from navigation_service import DEADLINE_SECONDS

LOGS = os.path.join(os.environ.get("FIELD_DATA_DIR", ""), "nmea")


class Bursts(Files):
    """What a receiver says without a time."""

    def test_a_log_without_an_order_gives_no_heading_away(self):
        log = [sentence("GPHDT,%d.0,T" % number) + gga(number) + sentence("GPVTG,%d,T,,M,1,N,2,K" % number)
               for number in range(20)]
        for skip in range(3):
            with self.subTest(skip):
                lines = "".join(log).splitlines(keepends=True)[skip:]
                code, report, samples = self.feed("drive.nmea", lines)
                self.assertEqual((0, {0.0}), (code, {sample[18] for sample in samples}))
                self.assertEqual(20 if skip == 0 else 19,
                                 reasons(report)["HDT whose time is not certain"])
                code, report, samples = self.feed("drive.nmea", lines,
                                                  "--burst-begins-with", "HDT")
                told = [sample for sample in samples if sample[18] == 1]
                self.assertGreaterEqual(len(told), 12)
                for sample in told:
                    self.assertEqual(round(math.degrees(sample[8])), round(sample[21] % 86400))
                self.assert_adds_up(report, len(lines))

    def test_a_live_stream_tells_the_order_by_its_pauses(self):
        bursts = [sentence("GPHDT,%d.0,T" % number) + gga(number) for number in range(12)]
        report, samples = self.stream_paced(bursts, 1.0)
        told = [sample for sample in samples if sample[18] == 1]
        self.assertGreater(len(told), 0, report)
        for sample in told:
            self.assertEqual(round(math.degrees(sample[8])), round(sample[21] % 86400))

    def stream_paced(self, bursts, period):
        with CountingService() as service, subprocess.Popen(
                [os.environ["NAVCTL"], "--json", "feed", "-"], stdin=subprocess.PIPE,
                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True) as process:
            start = time.monotonic()
            for number, burst in enumerate(bursts):
                time.sleep(max(0.0, start + number * period - time.monotonic()))  # as measured
                process.stdin.write(burst)
                process.stdin.flush()
            output, errors = process.communicate(timeout=DEADLINE_SECONDS)
        self.assertEqual(0, process.returncode, output)
        self.assertEqual(1, errors.count("no sentence has told the day yet"), errors)
        self.assertTrue(json.loads(output)["date_guessed"])
        return json.loads(output), service.samples

    def test_says_what_nobody_has_told(self):
        rmc = moment(0).splitlines(keepends=True)[1]
        _, report, samples = self.feed("drive.nmea", [rmc])
        self.assertTrue(math.isnan(samples[0][3]), "RMC has no height")
        self.assertEqual((1, -1), (samples[0][15], samples[0][17]))
        self.assertEqual(1, report["not_told"]["height"])
        self.assertNotIn("speed", report["not_told"])

    def test_numbers_lines_as_others_do(self):
        _, report, _ = self.feed("drive.nmea", [moment(0).replace("\r\n", "\r"), "\n", "noise\n"])
        self.assertEqual(2, report["skipped_reasons"][0]["first_line"])
        self.assert_adds_up(report, 2)


@unittest.skipUnless(os.path.isdir(LOGS), "there are no logs of receivers")
class Logs(Files):
    def feed_log(self, name, *options):
        with CountingService() as service:
            code, report = navctl_json("feed", os.path.join(LOGS, name), "--rate", "max", *options)
        with open(os.path.join(LOGS, name), "rb") as file:
            self.assert_adds_up(report, file.read().count(b"\n"))
        self.assertEqual(0, code, report)
        return report, service.samples

    def test_a_heading_first_log_gives_every_value_to_its_time_wherever_it_is_joined(self):
        with open(os.path.join(LOGS, "heading-first-cold-start.nmea"), encoding="ascii") as file:
            lines = file.read().splitlines(keepends=True)
        fixes = [index for index, line in enumerate(lines) if re.match(r"\$GPGGA,\d", line)]
        bursts = {index: self.burst_around(lines, index) for index in fixes}
        for start in (*range(5), *range(fixes[0] - 4, fixes[0] + 5)):
            for options in ((), ("--burst-begins-with", "HDT")):
                with self.subTest(start=start, options=options):
                    code, report, samples = self.feed("log.nmea", lines[start:], *options)
                    self.assertEqual(0, code, report)
                    self.assert_adds_up(report, len(lines) - start)
                    told = dict(bursts[index] for index in fixes if index >= start)
                    self.assertEqual(sorted(told), [sample[21] % 86400 for sample in samples])
                    courses = sum(self.has_its_own_course(sample, told) for sample in samples)
                    headings = sum(self.has_its_own_heading(sample, told) for sample in samples)
                    self.assertGreater(courses, 10, report)
                    self.assertEqual(bool(options), headings > 2, report)

    def burst_around(self, lines, index):
        """The second of the day of a position, and what is reported: heading, course, speed."""
        clock = lines[index].split(",")[1]
        vtg = lines[index + 1].split(",")
        seconds = int(clock[:2]) * 3600 + int(clock[2:4]) * 60 + float(clock[4:])
        return seconds, (lines[index - 1].split(",")[1], float(vtg[1]), float(vtg[5]) * 1852 / 3600)

    def has_its_own_heading(self, sample, told):
        """Whether a sample has a heading, which must be that of its time."""
        heading = told[sample[21] % 86400][0]
        if sample[18] == 1:
            self.assertAlmostEqual(float(heading), math.degrees(sample[8]), 6)
        return sample[18] == 1

    def has_its_own_course(self, sample, told):
        """Whether a sample has course and speed of its time; otherwise they must be derived."""
        def has(values):
            _, course, speed = values
            return (abs(math.degrees(sample[4]) % 360 - course) < 1e-6
                    and abs(sample[5] - speed) < 1e-6)
        own = told[sample[21] % 86400]
        foreign = [values for values in told.values() if has(values) and values[1:] != own[1:]]
        self.assertEqual([], foreign)
        return has(own)

    def test_a_log_of_many_constellations_counts_all_satellites(self):
        report, samples = self.feed_log("many-constellations.nmea")
        self.assertEqual((29, 0), (len(samples), report["skipped"]))
        self.assertEqual({20}, {sample[17] for sample in samples[:3]}, "GGA says 12")

    def test_a_damaged_log_gives_what_is_whole(self):
        report, samples = self.feed_log("damaged-gga.nmea")
        self.assertEqual(23, len(samples))
        self.assertEqual({"wrong checksum": 23}, reasons(report))
        self.assertTrue(all(math.isnan(sample[3]) for sample in samples))


if __name__ == "__main__":
    unittest.main()
