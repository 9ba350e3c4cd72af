"""Events: the same for every client, and none held up by another."""

import socket
import unittest

from navigation_service import LINE_NORTH, Client, Simulator, wait_for


class Events(unittest.TestCase):
    def test_tells_two_clients_the_same(self):
        with Simulator("--speed", "2", "--speed-factor", "10"), Client() as one, Client() as two:
            for client in (one, two):
                client.notify("subscribe", "cb_relative_position")
                client.request("IsSteeringEngaged")
            # The machine moves and is measured with noise, so that no payload comes twice.
            first = two.event("cb_relative_position")
            while one.event("cb_relative_position") != first:
                pass  # it has subscribed earlier
            for _ in range(50):
                self.assertEqual(one.event("cb_relative_position"),
                                 two.event("cb_relative_position"))

    def test_tells_two_clients_the_same_of_every_event(self):
        names = ("cb_draw_points", "cb_engage_status", "cb_guidance_status",
                 "cb_implement_width_changed", "cb_offsets", "cb_relative_position",
                 "cb_tuning_parameter_changed", "cb_wayline_status")
        with Simulator("--speed", "2", "--speed-factor", "10"), Client() as actor, \
                Client() as one, Client() as two:
            for client in (one, two):
                for name in names:
                    client.notify("subscribe", name)
                client.request("IsSteeringEngaged")
            actor.request("SetImplementWidth", 1, 7.5)
            actor.request("set_wayline", *LINE_NORTH)
            actor.request("StartNavigation", 1, 1)
            self.assertEqual(1, actor.request("EngageSteering", 1))
            actor.request("Nudge", 1, 1, 0.25)
            actor.notify("set_tuning_parameter", 1, 0.75, 0)
            actor.notify("subscribe", "cb_draw_points")
            for _ in range(3):
                actor.event("cb_draw_points")
            actor.request("SetImplementWidth", 1, 8.5)
            told = [self._between_widths(client, 7.5, 8.5) for client in (one, two)]
        self.assertEqual(told[0], told[1])
        self.assertEqual(set(names), {name for name, _ in told[0]})

    @staticmethod
    def _between_widths(client, first, last):
        """All events from one width's announcement to another's, both included."""
        events = []
        while events[-1:] != [("cb_implement_width_changed", [last])]:
            if not client.events:
                message = client.receive()
                client.events.append((message[1], message[2]))
            event = client.events.pop(0)
            if events or event == ("cb_implement_width_changed", [first]):
                events.append(event)
        return events

    def test_tells_what_another_client_changed(self):
        with Simulator("--speed", "2"), Client() as watcher, Client() as actor:
            for event in ("cb_engage_status", "cb_wayline_status", "cb_offsets"):
                watcher.notify("subscribe", event)
            self.assertEqual([0, 0, 0, 0, 0], watcher.event("cb_engage_status"))
            self.assertEqual([0, 0, 0, -1, 0.0], watcher.event("cb_wayline_status"))
            self.assertEqual([0.0], watcher.event("cb_offsets"))

            self.assertEqual(1, actor.request("set_wayline", *LINE_NORTH))
            self.assertEqual([1, 0, 0, 0, 0.0], watcher.event("cb_wayline_status"))
            self.assertEqual(1, actor.request("StartNavigation", 1, 1))
            self.assertEqual([1, 0, 1, 0, 0.0], watcher.event("cb_wayline_status"))
            self.assertEqual(1, actor.request("EngageSteering", 1))
            while watcher.event("cb_engage_status")[0] != 1:
                pass
            self.assertEqual([1, 0.25, 0.0, 0.0], actor.request("Nudge", 1, 1, 0.25))
            self.assertEqual([0.25], watcher.event("cb_offsets"))

    def test_tells_a_late_subscriber_the_present_state(self):
        with Simulator(), Client() as actor:
            actor.request("SetImplementWidth", 1, 7.5)
            actor.notify("set_tuning_parameter", 1, 0.75, 0)
            actor.request("IsSteeringEngaged")
            with Client() as late:
                late.notify("subscribe", "cb_implement_width_changed")
                late.notify("subscribe", "cb_tuning_parameter_changed")
                self.assertEqual([7.5], late.event("cb_implement_width_changed"))
                told = [late.event("cb_tuning_parameter_changed") for _ in range(4)]
                self.assertEqual([0, 1, 2, 3], [parameter for parameter, _ in told])
                self.assertEqual(0.75, told[1][1])

    def test_drops_a_client_that_never_reads_while_the_others_go_on(self):
        with Simulator("--speed-factor", "1000") as simulator:
            with Client() as deaf, Client() as good:
                deaf.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
                good.request("set_wayline", *LINE_NORTH)
                deaf.notify("subscribe", "cb_draw_points")
                good.notify("subscribe", "cb_guidance_status")
                deaf.notify("subscribe", "cb_relative_position")
                slowest = wait_for(lambda: self._dropped(deaf, good), "the deaf client's end")
                self.assertTrue(slowest)
                self.assertEqual(0, good.request("IsSteeringEngaged"))
            simulator.end()
            self.assertRegex(simulator.errors(), r"client \d+ is dropped: too much is waiting")

    @staticmethod
    def _dropped(deaf, good):
        """Whether the connection that is not read has been reset; the other one is read."""
        good.event("cb_guidance_status")
        error = deaf.socket.getsockopt(socket.SOL_SOCKET, socket.SO_ERROR)
        if error != 0:
            return True
        try:
            deaf.notify("reset_integral")
        except OSError:
            return True
        return False


if __name__ == "__main__":
    unittest.main()
