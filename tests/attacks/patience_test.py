"""What takes its time: a message that is never finished, replies that a client which sends no more does not
take, and a viewer that reads nothing for a minute. They wait side by side, on one simulator, which has
nothing else to do."""

import json
import socket
import time
import unittest

from attack import AttackTest, connect
from long_work_test import Caller, field
from memory_test import HEAD, LIST
from navigation_service import wait_for
from page_test import PAGE_PORT, STREAM, PageUnderAttack, visit

UNFINISHED_SECONDS = 30.0
MINUTE_SECONDS = 60.0
MOST_OLD_STATES = 300
MOST_UNSENT_BYTES = 65536


class Patience(AttackTest):
    def test_ends_with_what_nobody_finishes_or_reads(self):
        with PageUnderAttack() as simulator, visit() as viewer, connect() as client:
            start = time.monotonic()
            viewer.sendall(STREAM)
            client.sendall(HEAD + LIST)
            reader = self._read_nothing()
            self._assert_ended(client, start)
            wait_for(lambda: "an unfinished message that has not grown for 30 s" in
                     simulator.errors(), "the reason")
            wait_for(lambda: "the last replies were not taken for 30 s" in simulator.errors(),
                     "the other reason")
            reader.link.close()
            # The viewer reads nothing meanwhile; the service has 600 states to report.
            most = 0
            while time.monotonic() < start + MINUTE_SECONDS:
                most = max(most, self._unsent_bytes(viewer))
                time.sleep(0.5)  # between two looks; the attack's length is a minute
            self.assertLessEqual(most, MOST_UNSENT_BYTES)
            self._assert_few_old_states(viewer)
            self.assert_ends_in_time(simulator)

    @staticmethod
    def _read_nothing():
        """A client that asks for more than the system takes, and sends and reads no more."""
        client = Caller()
        client.call("set_wayline", *field(100000))
        for _ in range(3):
            client.send("get_wayline")
        client.link.shutdown(socket.SHUT_WR)
        return client

    def _assert_ended(self, client, start):
        client.settimeout(2 * UNFINISHED_SECONDS)
        with self.assertRaises(ConnectionResetError):
            client.recv(1)
        self.assertGreater(time.monotonic() - start, UNFINISHED_SECONDS)

    @staticmethod
    def _unsent_bytes(viewer):
        """How much the system keeps for a viewer at the service's end."""
        ends = [f":{PAGE_PORT:04X}", f":{viewer.getsockname()[1]:04X}"]
        with open("/proc/net/tcp", encoding="ascii") as table:
            for row in map(str.split, table):
                if row[1].endswith(ends[0]) and row[2].endswith(ends[1]):
                    return int(row[4].split(":")[0], 16)
        raise AssertionError("the viewer is not served")

    def _assert_few_old_states(self, viewer):
        text, times = b"", []
        while not times or times[-1] < MINUTE_SECONDS:
            text += viewer.recv(65536)
            times = [json.loads(event.split(b"data: ")[1])["time"]
                     for event in text.split(b"\n\n")[:-1] if b"event: state" in event]
        old = [moment for moment in times if moment < MINUTE_SECONDS - 2.0]
        self.assertLessEqual(len(old), MOST_OLD_STATES)
        self.assertGreater(len(old), 0)


if __name__ == "__main__":
    unittest.main()
