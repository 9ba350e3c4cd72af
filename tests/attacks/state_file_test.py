"""State files that are not what they seem: links, long names, long files, other simulators."""

import json
import os
import random
import signal
import stat
import subprocess
import tempfile
import unittest

from attack import AttackTest, SimulatorUnderAttack
from navigation_service import DEADLINE_SECONDS, Client, program, wait_for

SETTINGS = {"lookahead_time": 2.5}


class StateFile(AttackTest):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.folder = directory.name
        self.path = self.file("state.json")

    def file(self, name):
        """The path of a file in the test's own folder."""
        return os.path.join(self.folder, name)

    def write(self, name, text):
        """Writes such a file and gives its path."""
        with open(self.file(name), "w", encoding="utf-8") as file:
            file.write(text)
        return self.file(name)

    def keep(self, path):
        """Has the simulator on a state file keep a setting, and waits for the file to hold it."""
        with Client() as client:
            client.notify("set_lookahead_time", SETTINGS["lookahead_time"], 1)
        wait_for(lambda: self.settings(path) == SETTINGS, "the setting in the file")

    @staticmethod
    def settings(path):
        """What a state file holds; nothing where it is not a state file's."""
        try:
            with open(path, encoding="utf-8") as file:
                return json.load(file)["settings"]
        except (FileNotFoundError, ValueError):
            return None

    def assert_refused(self, path, *reasons):
        """A simulator is not started on a state file, and says why in printable words."""
        result = subprocess.run([program(), "--port", "0", "--state", path], check=False,
                                capture_output=True, text=True, timeout=DEADLINE_SECONDS)
        self.assertEqual((2, ""), (result.returncode, result.stdout))
        for reason in reasons:
            self.assertIn(reason, result.stderr)
        self.assertTrue(all(line.isprintable() for line in result.stderr.splitlines()),
                        result.stderr)
        self.assertLess(len(result.stderr), 2000)

    def test_follows_no_link_that_is_put_beside_it(self):
        victim = self.write("victim", "precious")
        names = [prefix + "state.json" + ending for prefix in ("", ".")
                 for ending in (".new", ".tmp", ".lock", "~")]
        plants = (lambda place: os.symlink(victim, place), lambda place: os.link(victim, place),
                  lambda place: os.symlink(self.file("missing"), place), os.mkfifo, os.mkdir)
        for plant in plants:
            with self.subTest(plant), SimulatorUnderAttack("--state", self.path) as simulator:
                for name in names:
                    if os.path.lexists(self.file(name)):
                        os.unlink(self.file(name))
                    plant(self.file(name))
                self.keep(self.path)
                self.assert_ends_in_time(simulator)
                self.assertFalse(os.path.lexists(self.file("missing")))
                with open(victim, encoding="utf-8") as file:
                    self.assertEqual("precious", file.read())
                os.unlink(self.path)
                for name in names:
                    if os.path.isdir(self.file(name)):
                        os.rmdir(self.file(name))
                    elif os.path.lexists(self.file(name)):
                        os.unlink(self.file(name))

    def test_removes_no_file_of_others_beside_it(self):
        names = [prefix + "state.json" + ending for prefix in ("", ".")
                 for ending in (".new", ".new-0123456789abcdef", ".tmp", ".lock", "~")]
        for number, name in enumerate(names):
            self.write(name, f"precious {number}")
        for _ in range(2):
            with SimulatorUnderAttack("--state", self.path) as simulator:
                self.keep(self.path)
                self.assert_refused(self.path, "another simulator uses it")
                self.assert_ends_in_time(simulator)
            self.assertEqual({*names, "state.json"}, set(os.listdir(self.folder)))
            for number, name in enumerate(names):
                with open(self.file(name), encoding="utf-8") as file:
                    self.assertEqual(f"precious {number}", file.read())

    def test_of_another_name_may_be_what_others_put_beside_theirs(self):
        names = ("state.json", ".state.json.new")
        for name in names:
            with SimulatorUnderAttack("--state", self.file(name)) as simulator:
                self.keep(self.file(name))
                self.assert_ends_in_time(simulator)
        for name in names:
            self.assertEqual(SETTINGS, self.settings(self.file(name)))

    def test_that_is_removed_is_there_again(self):
        with SimulatorUnderAttack("--state", self.path) as simulator:
            self.keep(self.path)
            os.unlink(self.path)
            wait_for(lambda: self.settings(self.path) == SETTINGS, "the file, though nothing changes")
            os.unlink(self.path)
            self.keep(self.path)  # what it is kept at already
            os.unlink(self.path)
            self.assert_ends_in_time(simulator)
            self.assertEqual(SETTINGS, self.settings(self.path))
            self.assertEqual("", simulator.errors())

    def test_stays_that_of_one_simulator_though_its_lock_is_removed(self):
        for is_there in (False, True):
            with self.subTest(is_there), SimulatorUnderAttack("--state", self.path) as simulator:
                if is_there:
                    self.keep(self.path)
                    os.unlink(self.path)  # and with it the lock of the file itself
                os.unlink(self.file(".state.json.lock"))
                wait_for(lambda: os.path.exists(self.file(".state.json.lock")), "the lock")
                self.assert_refused(self.path, "another simulator uses it")
                self.assert_ends_in_time(simulator)

    def test_that_is_a_link_to_nothing_is_refused(self):
        os.symlink("missing", self.file("link"))
        os.symlink("link", self.file("link to link"))
        os.symlink("loop", self.file("loop"))
        self.assert_refused(self.file("link"), "symbolic link to a file that is not there")
        self.assert_refused(self.file("link to link"), "symbolic link to a file that is not there")
        self.assert_refused(self.file("loop"), "symbolic links")
        self.assertEqual({"link", "link to link", "loop"}, set(os.listdir(self.folder)))

    def test_that_is_no_file_is_refused_without_waiting(self):
        os.mkfifo(self.file("pipe"))
        for path in (self.file("pipe"), self.folder, "/dev/zero", "/dev/tty", "/dev/stdin",
                     self.file("no/such")):
            with self.subTest(path):
                self.assert_refused(path)

    def test_is_used_by_one_simulator_at_a_time(self):
        os.symlink(self.folder, self.file("folder"))
        relative = os.path.relpath(self.path)
        for is_there in (False, True):
            with self.subTest(is_there), SimulatorUnderAttack("--state", self.path) as simulator:
                for path in (self.path, relative, self.file("./folder/state.json"),
                             self.file("folder/../" + os.path.basename(self.folder) + "/state.json")):
                    self.assert_refused(path, "another simulator uses it")
                self.keep(self.path)
                self.assert_refused(self.path, "another simulator uses it")
                os.symlink("state.json", self.file("link"))
                os.link(self.path, self.file("hard"))
                self.assert_refused(self.file("link"), "another simulator uses it")
                self.assert_refused(self.file("hard"), "another program uses it")
                os.unlink(self.file("link"))
                os.unlink(self.file("hard"))
                self.assert_ends_in_time(simulator)
            self.assertEqual({"folder", "state.json"}, set(os.listdir(self.folder)))

    def test_can_be_used_again_however_its_simulator_ended(self):
        pause = random.Random(1)
        for _ in range(10):
            with SimulatorUnderAttack("--state", self.path) as simulator, Client() as client:
                for step in range(pause.randint(1, 40)):
                    client.notify("set_lookahead_time", 1.0 + step / 64, 1)
                    client.request("IsSteeringEngaged")
                simulator.process.send_signal(signal.SIGKILL)
                simulator.process.wait(DEADLINE_SECONDS)
        with SimulatorUnderAttack("--state", self.path) as simulator:
            self.keep(self.path)
            self.assert_ends_in_time(simulator)
        self.assertEqual(["state.json"], os.listdir(self.folder))

    def test_can_have_a_name_of_any_length(self):
        for length in (1, 200, 201, 240, 251, 252, 253, 254, 255):
            with self.subTest(length):
                path = self.file(length * "n")
                with SimulatorUnderAttack("--state", path) as simulator:
                    self.keep(path)
                    self.assert_refused(path, "another simulator uses it")
                    self.assert_ends_in_time(simulator)
                self.assertEqual([length * "n"], os.listdir(self.folder))
                os.unlink(path)
        self.assert_refused(self.file(256 * "n"), "too long")

    def assert_no_track(self, track, reason, state=None):
        """A simulator does not write its track to a file, and says why."""
        result = subprocess.run([program(), "--port", "0", "--state", state or self.path,
                                 "--track", track], check=False, capture_output=True, text=True,
                                timeout=DEADLINE_SECONDS)
        self.assertEqual((2, ""), (result.returncode, result.stdout))
        self.assertIn(f"cannot write the track file {track}: {reason}", result.stderr)

    def test_is_not_overwritten_by_the_track(self):
        text = '{"settings": {"lookahead_time": 2.5}}'
        os.symlink(self.folder, self.file("folder"))
        os.symlink("state.json", self.file("link"))
        os.symlink("link", self.file("link to link"))
        paths = [self.path, os.path.relpath(self.path), self.file("./folder/state.json"),
                 self.file("link"), self.file("link to link")]
        for is_there in (False, True):
            if is_there:
                self.write("state.json", text)
                os.link(self.path, self.file("hard"))
                paths.append(self.file("hard"))
            for track in paths:
                with self.subTest(track, is_there=is_there):
                    self.assert_no_track(track, "it is the state file")
                    self.assertEqual(is_there, os.path.exists(self.path))
        self.assertEqual(SETTINGS, self.settings(self.path))
        self.assert_no_track(self.path, "it is the state file", self.file("hard"))
        self.assert_no_track(self.file(".state.json.lock"), "the state file needs it")
        self.assertEqual({"folder", "link", "link to link", "hard", "state.json"},
                         set(os.listdir(self.folder)))

    def test_of_another_simulator_is_not_overwritten_by_the_track(self):
        self.write("state.json", '{"settings": {"lookahead_time": 2.5}}')
        with SimulatorUnderAttack("--state", self.path, "--track", self.file("track")):
            for track in (self.path, self.file("track")):
                self.assert_no_track(track, "another program uses it", self.file("other"))
            self.assertEqual(SETTINGS, self.settings(self.path))
            self.assertGreater(os.path.getsize(self.file("track")), 0)

    def test_keeps_its_mode_and_owner(self):
        for mode in (0o600, 0o640, 0o666):
            with self.subTest(mode):
                self.write("state.json", '{"settings": {}}')
                os.chmod(self.path, mode)
                owner = os.stat(self.path)
                with SimulatorUnderAttack("--state", self.path) as simulator:
                    self.keep(self.path)
                    self.assert_ends_in_time(simulator)
                now = os.stat(self.path)
                self.assertEqual(mode, stat.S_IMODE(now.st_mode))
                self.assertEqual((owner.st_uid, owner.st_gid), (now.st_uid, now.st_gid))

    def test_is_refused_in_printable_words(self):
        for content in ('{"settings": {"\\u001b[31m\\u009b\\u0007": 1}}',
                        '{"settings": {"\\u001b[31m\\u009b\\u0007": "\\u001b"}}',
                        '{"settings": {"' + 10000 * "n" + '": 1}}',
                        '{"settings": {"a": ' + 200000 * "[" + 200000 * "]" + "}}"):
            with self.subTest(content[:40]):
                self.assert_refused(self.write("state.json", content), self.path)
        self.assert_refused(self.write("\x1b[31m\n\u009b", "{}"), "\\x1b[31m\\x0a\\xc2\\x9b")

    def test_that_is_long_is_refused_unread(self):
        with open(self.path, "wb") as file:
            file.truncate(1 << 40)  # which nobody could read in time
        self.assert_refused(self.path, "more than 1048576 bytes")
        with open(self.path, "wb") as file:
            file.write(b'{"settings": {}}'.ljust((1 << 20) + 1))
        self.assert_refused(self.path, "more than 1048576 bytes")
        os.truncate(self.path, 1 << 20)
        with SimulatorUnderAttack("--state", self.path) as simulator:
            self.assert_ends_in_time(simulator)


if __name__ == "__main__":
    unittest.main()
