"""What the simulator says in NMEA sentences: to navctl feed and a second simulator, and to gpsd."""

import csv
import json
import math
import os
import re
import shutil
import socket
import subprocess
import tempfile
import unittest

from navctl_files import CountingService, navctl_json
from navigation_service import (DEADLINE_SECONDS, LINE_NORTH, Client, Simulator, run_to_end,
                                wait_for)

NMEA_PORT = 10110
GPSD_PORT = 12947
ORIGIN = (48.0, 11.0, 500.0)
START_SECONDS = 1767225600
TYPES = {"GGA", "VTG", "HDT", "ROT", "PASHR", "GST", "ZDA", "RMC"}
GPSD = shutil.which("gpsd", path=os.environ.get("PATH", "") + ":/usr/sbin:/sbin")


def earth_centred(latitude, longitude, height):
    """A place on the WGS 84 ellipsoid as X, Y, Z."""
    flattening = 1 / 298.257223563
    squared = flattening * (2 - flattening)
    latitude, longitude = math.radians(latitude), math.radians(longitude)
    radius = 6378137.0 / math.sqrt(1 - squared * math.sin(latitude) ** 2)
    return ((radius + height) * math.cos(latitude) * math.cos(longitude),
            (radius + height) * math.cos(latitude) * math.sin(longitude),
            (radius * (1 - squared) + height) * math.sin(latitude))


def local(place):
    """East and north of the origin."""
    x, y, z = (a - b for a, b in zip(earth_centred(*place), earth_centred(*ORIGIN)))
    latitude, longitude = math.radians(ORIGIN[0]), math.radians(ORIGIN[1])
    return (-math.sin(longitude) * x + math.cos(longitude) * y,
            -math.sin(latitude) * (math.cos(longitude) * x + math.sin(longitude) * y)
            + math.cos(latitude) * z)


def measured(path):
    """The measured places of a track by its time in milliseconds; a line that is not whole yet does
    not count."""
    with open(path, newline="", encoding="utf-8") as file:
        rows = [row for row in csv.DictReader(file) if row["engaged"]]
    return {round(float(row["time_s"]) * 1000): (float(row["measured_x_m"]),
                                                 float(row["measured_y_m"])) for row in rows}


class NmeaOutput(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def path(self, name):
        return os.path.join(self.folder, name)

    def drive(self, *options, seconds=20.0):
        """Has a machine turn onto a line; gives its track and the file of its sentences."""
        track, sentences = self.path("track.csv"), self.path("drive.nmea")
        with Simulator("--start", "1,0,0", "--speed", "3", "--ground", "field", "--speed-factor",
                       "50", "--track", track, "--nmea", "file:" + sentences,
                       *options) as simulator, Client() as client:
            self.engage(client)
            wait_for(lambda: max(measured(track), default=0) > seconds * 1000, "the drive")
            self.assertEqual(0, simulator.end(), simulator.errors())
        return measured(track), sentences

    def engage(self, client):
        self.assertEqual(1, client.request("set_wayline", *LINE_NORTH))
        self.assertEqual(1, client.request("StartNavigation", 1, 0))
        self.assertEqual(1, client.request("EngageSteering", 1))

    def test_a_feed_has_every_value_of_its_time(self):
        for rate in ("1", "2", "5", "10", "20"):
            with self.subTest(rate=rate):
                track, sentences = self.drive("--nmea-rate", rate)
                with CountingService() as service:
                    code, report = navctl_json("feed", sentences, "--rate", "max")
                self.assertEqual((0, 0), (code, report["skipped"]), report)
                self.assertEqual({}, {what: count for what, count in report["not_told"].items()
                                      if count and "rate" not in what}, report)
                with open(sentences, encoding="ascii") as file:
                    self.assertEqual(len(service.samples), file.read().count("GGA"))
                judged = 0
                for sample in service.samples:
                    self.assertEqual((1, 4, 1, 0), tuple(sample[tag] for tag in (15, 16, 18, 19)))
                    milliseconds = round((sample[21] - START_SECONDS) * 1000)
                    if milliseconds in track:
                        judged += 1
                        self.assertLess(math.dist(local([sample[tag] for tag in (1, 2, 3)]),
                                                  track[milliseconds]), 0.001)
                self.assertGreater(judged, 15)
                self.assertLess(len(track) * min(int(rate), 10) / 10 - judged, 3)

    def test_a_second_simulator_is_where_the_first_one_measured_itself(self):
        track, fed_track = self.path("first.csv"), self.path("second.csv")
        with Simulator("--port", "5011", "--nmea", f"tcp:{NMEA_PORT}", "--ground", "field",
                       "--start", "1,0,0", "--speed", "3", "--track", track) as first, \
                Simulator("--track", fed_track) as second, Client() as client, \
                Client(port=5011) as driver:
            client.notify("set_wayline_origin", *ORIGIN)
            self.engage(driver)
            with socket.create_connection(("127.0.0.1", NMEA_PORT)) as stream, \
                    subprocess.Popen([os.environ["NAVCTL"], "--json", "feed", "-"], stdin=stream,
                                     stdout=subprocess.PIPE, text=True) as feed:
                client.notify("subscribe", "cb_relative_position")
                wait_for(lambda: client.event("cb_relative_position")[1] > 20.0, "20 m driven")
                first.end()
                report = json.loads(feed.communicate(timeout=DEADLINE_SECONDS)[0])
            second.end()
        self.assertGreater(report["sent"], 30)
        places = list(measured(track).values())
        fed = [place for place in measured(fed_track).values() if place[1] > 1.0]
        self.assertGreater(len(set(fed)), 30)
        found = []
        for place in fed:
            distance, number = min((math.dist(place, other), number)
                                   for number, other in enumerate(places))
            self.assertLess(distance, 0.005)
            found.append(number)
        self.assertEqual(sorted(found), found, "in the order of the drive")

    def test_refuses_a_port_that_is_taken_and_a_file_that_cannot_be(self):
        with Simulator("--nmea", f"tcp:{NMEA_PORT}"):
            taken = run_to_end("--port", "5011", "--nmea", f"tcp:{NMEA_PORT}")
        self.assertEqual(3, taken.returncode)
        self.assertIn(str(NMEA_PORT), taken.stderr)
        refused = run_to_end("--nmea", "file:" + self.path("none/drive.nmea"))
        self.assertEqual(2, refused.returncode)
        self.assertIn("none/drive.nmea", refused.stderr)

    def test_does_not_write_over_the_kept_settings(self):
        state = self.path("settings.json")
        with open(state, "w", encoding="utf-8") as file:
            file.write("{}")
        refused = run_to_end("--state", state, "--nmea", "file:" + state)
        self.assertEqual(2, refused.returncode, refused.stderr)
        with open(state, encoding="utf-8") as file:
            self.assertEqual("{}", file.read())


@unittest.skipUnless(GPSD, "there is no gpsd")
class Gpsd(unittest.TestCase):
    def test_decodes_every_sentence(self):
        with Simulator("--nmea", f"tcp:{NMEA_PORT}", "--speed", "3", "--start", "0,0,30",
                       "--receiver", "ideal"), \
                subprocess.Popen([GPSD, "-N", "-n", "-b", "-D", "6", "-S", str(GPSD_PORT),
                                  f"tcp://127.0.0.1:{NMEA_PORT}"], stdout=subprocess.PIPE,
                                 stderr=subprocess.STDOUT, text=True) as gpsd:
            try:
                wait_for(self.is_there, "gpsd")
                reports = self.reports()
            finally:
                gpsd.terminate()
                log = gpsd.communicate(timeout=DEADLINE_SECONDS)[0]
        for kind in TYPES:
            self.assertRegex(log, rf"NMEA0183: (GN)?{kind} time ", kind)
        for complaint in ("Unknown sentence", "checksum", "too long", "badly formed"):
            self.assertNotIn(complaint.lower(), log.lower())
        # Of some releases it knows ROT and has no decoder.
        self.assertLessEqual(set(re.findall(r"No decoder for sentence type (\w+)", log)), {"GNROT"})
        place = reports["TPV"]
        self.assertEqual((3, "2026-01-01T00:00:"), (place["mode"], place["time"][:17]))
        self.assertAlmostEqual(3.0, place["speed"], 3)
        self.assertAlmostEqual(30.0, place["track"], 2)
        self.assertAlmostEqual(500.0, place["altHAE"], 2)
        # From the place north: along 30 degrees, east and north are as 1 to the root of 3.
        east, north = local((place["lat"], place["lon"], place["altHAE"]))
        self.assertAlmostEqual(math.tan(math.radians(30.0)), east / north, 2)
        self.assertAlmostEqual(30.0, reports["ATT"]["heading"], 2)
        self.assertEqual(0.0, reports["GST"]["major"])

    def is_there(self):
        try:
            socket.create_connection(("127.0.0.1", GPSD_PORT)).close()
        except OSError:
            return False
        return True

    def reports(self):
        """The last report of each kind, once all have come."""
        kinds = {}
        with socket.create_connection(("127.0.0.1", GPSD_PORT), DEADLINE_SECONDS) as stream:
            stream.sendall(b'?WATCH={"enable":true,"json":true}\n')
            with stream.makefile(encoding="utf-8") as lines:
                for line in lines:
                    report = json.loads(line)
                    kinds[report["class"]] = report
                    if {"TPV", "ATT", "GST"} <= kinds.keys() and "track" in kinds["TPV"] \
                            and kinds["TPV"]["lat"] > ORIGIN[0] + 1e-5:
                        return kinds
        raise AssertionError(f"gpsd ended after {kinds}")


if __name__ == "__main__":
    unittest.main()
