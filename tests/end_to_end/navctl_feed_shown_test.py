"""navctl feed as somebody watches it: what it shows on a terminal, and of a stream that gives nothing."""

import os
import re
import signal
import subprocess
import tempfile
import threading
import time
import unittest

from navctl_files import CountingService, Files, moment, on_terminal, sentence
from navigation_service import DEADLINE_SECONDS, Simulator

NO_FIX = sentence("GPGGA,,,,,,0,,,,M,,M,,")


class Waiting(Files):
    """A stream that gives no sample."""

    def test_says_once_what_has_come_instead_of_samples(self):
        streams = {"": "no data has come",
                   NO_FIX: r"GGA without a fix \(\d+\)",
                   "\x13\x05#.\x7f\n" * 3: r"not a sentence \(\d+\); is that a receiver, and is "
                                          r"the speed of its line set right \(baud\)\?"}
        with Simulator():
            feeds = []
            for text, words in streams.items():
                errors = tempfile.TemporaryFile()
                self.addCleanup(errors.close)
                feed = subprocess.Popen([os.environ["NAVCTL"], "feed", "-"], stdin=subprocess.PIPE,
                                        stdout=subprocess.DEVNULL, stderr=errors)
                self.addCleanup(feed.kill)
                feeds.append((feed, errors, text, words))
            over = time.monotonic() + DEADLINE_SECONDS

            def written(errors):
                return os.pread(errors.fileno(), 1 << 20, 0).decode()

            while time.monotonic() < over and not all(written(feed[1]) for feed in feeds):
                for feed, _, text, _ in feeds:
                    feed.stdin.write(text.encode())
                    feed.stdin.flush()
                time.sleep(0.05)  # a receiver's pace, faster than the feed looks
            for feed, errors, _, words in feeds:
                with self.subTest(words):
                    self.assertRegex(written(errors),
                                     f"^navctl: nothing that can be sent yet: {words}\n$")
                feed.send_signal(signal.SIGINT)
                feed.stdin.close()
                self.assertEqual(0, feed.wait(DEADLINE_SECONDS))
                self.assertEqual(1, written(errors).count("nothing that can be sent yet"))

    def test_the_clock_and_the_count_run_on_a_terminal(self):
        stream = os.path.join(self.directory, "stream.nmea")
        os.mkfifo(stream)
        is_over = threading.Event()

        def send():
            with open(stream, "w", encoding="ascii") as pipe:
                while not is_over.wait(0.05):
                    pipe.write(NO_FIX)
                    pipe.flush()

        def look(_, text):
            if re.search(r"0 samples, \d+ skipped  0:02", text):
                is_over.set()

        writer = threading.Thread(target=send, daemon=True)
        writer.start()
        with Simulator():
            code, text = on_terminal(["feed", stream], answer=look)
        is_over.set()
        writer.join(DEADLINE_SECONDS)
        self.assertEqual(2, code, text)
        shown = re.findall(r"0 samples, (\d+) skipped  (0:0\d)", text)
        self.assertLess({"0:00", "0:01"}, {clock for _, clock in shown})
        counts = [int(count) for count, _ in shown]
        self.assertEqual(sorted(counts), counts)
        self.assertGreater(len(set(counts)), 5)


class Terminal(Files):
    def test_a_terminal_that_obeys_no_sequences_gets_none(self):
        self.assertNotIn("\x1b", self.feed_on_terminal({"TERM": "dumb"}))

    def feed_on_terminal(self, environment):
        path = self.write("drive.nmea", [moment(number) for number in range(21)])
        with CountingService():
            code, text = on_terminal(["feed", path, "--rate", "4"], environment)
        self.assertEqual(0, code, text)
        return text

    def test_a_bar_shows_how_far_it_is(self):
        text = self.feed_on_terminal({})
        self.assertIn("\x1b[32m", text)
        shares = [int(share) for share in re.findall(r"(\d+) %  \d+ samples", text)]
        self.assertGreater(len(shares), 3)
        self.assertEqual((sorted(shares), 0), (shares, shares[0]))
        self.assertRegex(text, "\u2588+")
        # Taken away before the result is shown.
        self.assertIn("\r\x1b[Ksent 21 samples\r\nread 42 lines: 42 in samples sent\r\n", text)

    def test_there_are_no_colours_where_they_are_not_wanted(self):
        text = self.feed_on_terminal({"NO_COLOR": "1", "LC_ALL": "C"})
        self.assertNotRegex(text, r"\x1b\[\d*m")
        self.assertRegex(text, r"\r\x1b\[K#+-* +\d+ %")


if __name__ == "__main__":
    unittest.main()
