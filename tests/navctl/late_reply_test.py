"""What navctl says where the service's reply does not come in time."""

import signal
import tempfile
import time
import unittest

import msgpack

from navctl_program import (LINE_NORTH, SILENCE, Listener, Simulator, answer, navctl, scripted,
                            value, wait_for)


class Late(unittest.TestCase):
    """A service that gives no reply in time may go on later, and do what it was asked for."""

    # What is sent, what the service does not answer, and what shows what has become of it.
    PENDING = (
        (["engage-steering"], "EngageSteering", '"navctl disengage-steering" keeps it from steering'),
        (["start-navigation", "on"], "StartNavigation", '"navctl disengage-steering"'),
        (["disengage-steering"], "DisengageSteering", '"navctl doctor" shows'),
        (["set-wayline", LINE_NORTH], "set_wayline", '"navctl get-wayline" shows'),
        (["set-implement-width", "4"], "SetImplementWidth", '"navctl get-implement-width" shows'),
        (["set-nudge", "1"], "get_nudge", '"navctl get-nudge-scalar" shows'),
        (["nudge", "on", "1"], "Nudge", '"navctl get-nudge-scalar" shows'),
        (["set-overshoot", "1"], "get_tuning_parameter", '"navctl get-overshoot" shows'),
        (["set-wayline-origin", "51", "7", "0"], "why_refused", '"navctl doctor" shows'),
        (["wayline", "start", "ab"], "start_wayline", '"navctl doctor" shows'),
    )

    def late(self, arguments, wire):
        with scripted({"IsNavigationActivated": 0, wire: SILENCE}):
            result = navctl("--timeout", "0.3", *arguments)
            code, reply = answer("--timeout", "0.3", *arguments)
        self.assertEqual((4, "", 4), (result.returncode, result.stdout, code))
        self.assertIn(reply["reason"], " ".join(result.stderr.split()))
        self.assertTrue(reply["reason"].startswith("the service gave no reply in time"))
        return reply

    def test_says_that_it_may_still_be_carried_out_and_what_to_look_at(self):
        for arguments, wire, words in self.PENDING:
            with self.subTest(arguments):
                reply = self.late(arguments, wire)
                self.assertIn("no reply in time; it may still carry it out: ", reply["reason"])
                self.assertIn(words, reply["reason"])
                self.assertIs(True, reply["pending"])
                self.assertNotIn("holds", reply["reason"])

    def test_a_line_of_a_file_that_may_still_come_is_not_said_to_be_refused(self):
        with tempfile.NamedTemporaryFile("w", suffix=".txt") as file:
            file.write(LINE_NORTH + "\n")
            file.flush()
            reply = self.late(["wayline", "set", file.name], "set_wayline")
        self.assertIn('it may still carry it out: "navctl get-wayline" shows', reply["reason"])
        self.assertNotIn("holds", reply["reason"])

    def test_nothing_is_pending_where_nothing_was_asked_for(self):
        for arguments, wire in ((["get-nudge-scalar"], "get_nudge"),
                                (["is-steering-engaged"], "IsSteeringEngaged"),
                                # Nothing is sent before the service has answered.
                                (["reset-integral"], "IsNavigationActivated"),
                                # It has replied that it was done.
                                (["set-implement-width", "4"], "GetImplementWidth")):
            with self.subTest(arguments):
                replies = {"IsNavigationActivated": 0, "SetImplementWidth": 1, wire: SILENCE}
                with scripted(replies):
                    code, reply = answer("--timeout", "0.3", *arguments)
                self.assertEqual((4, "the service gave no reply in time"), (code, reply["reason"]))
                self.assertNotIn("pending", reply)

    def test_what_it_warns_of_happens_with_a_service_that_goes_on(self):
        with Simulator("--speed=2") as simulator:
            navctl("set-wayline", LINE_NORTH)
            navctl("start-navigation", "off")
            simulator.process.send_signal(signal.SIGSTOP)
            try:
                code, reply = answer("--timeout", "0.3", "engage-steering")
            finally:
                simulator.process.send_signal(signal.SIGCONT)
            self.assertEqual((4, True), (code, reply["pending"]))
            wait_for(lambda: value("is-steering-engaged"), "what was asked for")

    def test_a_long_line_is_waited_for_longer_than_the_time_out(self):
        def line(points):
            return f"4 {points}" + "".join(f" {place} 0 0" for place in range(points))

        def serve(connection):
            unpacker = msgpack.Unpacker()
            held = None
            while data := connection.recv(65536):
                unpacker.feed(data)
                for kind, number, name, arguments in unpacker:
                    if name == "set_wayline":
                        held = arguments
                        time.sleep(0.5)  # the work of a slow service
                    connection.sendall(msgpack.packb([1, number, None,
                                                      held if name == "get_wayline" else kind]))
        with tempfile.NamedTemporaryFile("w", suffix=".txt") as file, Listener(serve):
            file.write(line(100000) + "\n")
            file.flush()
            for arguments in (["wayline", "set", file.name], ["set-wayline", line(12000)]):
                with self.subTest(arguments[0]):
                    result = navctl("--timeout", "0.2", *arguments)
                    self.assertEqual((0, ""), (result.returncode, result.stderr))


if __name__ == "__main__":
    unittest.main()
