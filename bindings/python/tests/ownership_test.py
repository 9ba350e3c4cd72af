"""Who keeps whom alive."""

import gc
import unittest
import weakref

from kestrove_navigation import NavigationClient, Offset
from scripted_peer import ScriptedPeer


class Listener:
    def __call__(self, *_):
        pass


class Callables(unittest.TestCase):
    def setUp(self):
        gc.disable()  # what is freed at once is not left to the search for cycles
        self.addCleanup(gc.enable)

    def test_live_as_long_as_they_are_set(self):
        client = NavigationClient()
        listener = Listener()
        kept = weakref.ref(listener)
        client.on_offset(listener)
        del listener
        self.assertIsNotNone(kept())
        client.on_offset(Listener())
        self.assertIsNone(kept())

    def test_are_freed_when_taken_out_and_with_the_client(self):
        for free in (lambda client: client.on_guidance_status(None), NavigationClient.disconnect,
                     lambda client: client.__exit__(None, None, None), NavigationClient.__init__):
            client = NavigationClient()
            kept = weakref.ref(client.on_guidance_status(Listener()))
            self.assertIsNotNone(kept())
            if free is NavigationClient.__init__:
                del client
            else:
                free(client)
            self.assertIsNone(kept())

    def test_may_replace_themselves_while_they_run(self):
        calls = []
        with ScriptedPeer() as peer, NavigationClient() as client:
            def replacing(captured=Listener()):
                def first(shift):
                    client.on_offset(lambda shift: calls.append(("second", shift)))
                    calls.append(("first", shift, captured))
                return first
            first = replacing()
            kept = weakref.ref(first)
            client.on_offset(first)
            del first
            peer.push("cb_offsets", 0.5)
            peer.push_again("cb_offsets", 1.5)
            while len(calls) < 2:
                client.process_messages(wait=True)
            self.assertIsNone(kept())
        self.assertEqual(("first", 0.5), calls[0][:2])
        self.assertEqual(("second", 1.5), calls[1])

    def test_may_take_themselves_out_and_come_back(self):
        calls = []
        with ScriptedPeer() as peer, NavigationClient() as client:
            def listener(shift):
                client.on_offset(None)
                calls.append(shift)
                client.on_offset(listener)
            client.on_offset(listener)
            peer.push("cb_offsets", 0.5)
            peer.push_again("cb_offsets", 1.5)
            while len(calls) < 2:
                client.process_messages(wait=True)
        self.assertEqual([0.5, 1.5], calls)

    def test_may_use_the_client_when_they_go(self):
        client = NavigationClient()
        shifts = []

        class Last(Listener):
            def __del__(self):
                client.on_offset(shifts.append)
        client.on_offset(Last())
        client.on_offset(Listener())
        with ScriptedPeer() as peer:
            client.verify_connection()
            peer.push("cb_offsets", 0.5)
            client.process_messages(wait=True)
        self.assertEqual([0.5], shifts)
        client.disconnect()


class Cycles(unittest.TestCase):
    def test_of_client_and_callable_are_collected(self):
        client = NavigationClient()
        kept = weakref.ref(client)
        client.on_offset(lambda shift: client.nudge(True, shift))
        del client
        gc.collect()
        self.assertIsNone(kept())

    def test_through_an_iteration_are_collected(self):
        client = NavigationClient()
        kept = weakref.ref(client)
        events = client.events(Offset, timeout=0)
        client.on_offset(lambda _: next(events))
        del client, events
        gc.collect()
        self.assertIsNone(kept())

    def test_do_not_take_a_client_in_use(self):
        shifts = []
        with ScriptedPeer() as peer:
            events = NavigationClient().events(Offset, timeout=10)
            gc.collect()
            peer.push("cb_offsets", 0.5)
            shifts.append(next(events))
        self.assertEqual([(0.5,)], shifts)

    def test_are_looked_for_while_a_client_is_made(self):
        class Half(NavigationClient):
            def __init__(self):  # pylint: disable=super-init-not-called
                gc.collect()
        self.assertRaises(TypeError, Half)


if __name__ == "__main__":
    unittest.main()
