"""The client for asyncio: its connection, its thread and its end."""

import asyncio
import contextlib
import gc
import os
import socket
import subprocess
import sys
import textwrap
import threading
import unittest
import weakref

import kestrove_navigation as navigation
from aio_test import elsewhere
from kestrove_navigation import aio
from scripted_peer import DEADLINE_SECONDS, PORT, ScriptedPeer


class Reconnection(unittest.IsolatedAsyncioTestCase):
    async def test_takes_the_events_along_without_an_operation(self):
        async with aio.NavigationClient() as client:  # nobody is there yet
            events = client.events(navigation.Offset)
            for number in range(3):
                with ScriptedPeer() as peer:
                    await elsewhere(peer.push, "cb_offsets", float(number))
                    self.assertEqual((float(number),), await events.__anext__())

    async def test_is_made_by_the_next_operation(self):
        async with aio.NavigationClient() as client:
            for number in range(3):
                with ScriptedPeer() as peer:
                    peer.replies.put(number)
                    self.assertEqual(number, await client.engage_steering())

    async def test_is_made_after_the_end(self):
        client = aio.NavigationClient()
        await client.disconnect()  # there is nothing to end
        with ScriptedPeer() as peer:
            for number in range(3):
                peer.replies.put(number)
                self.assertEqual(number, await client.engage_steering())
                events = client.events(navigation.Offset)
                await elsewhere(peer.push, "cb_offsets", float(number))
                self.assertEqual((float(number),), await events.__anext__())
                await client.disconnect()
        wait_for_no_thread(self)


class Connecting(unittest.IsolatedAsyncioTestCase):
    async def test_leaves_the_loop_to_others_while_nobody_takes_the_connection(self):
        with contextlib.ExitStack() as sockets:
            listener = sockets.enter_context(socket.socket())
            listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
            listener.bind(("127.0.0.1", PORT))
            listener.listen(0)
            for _ in range(4):  # until its queue is full, and the system lets connections wait
                waiting = sockets.enter_context(socket.socket())
                waiting.setblocking(False)
                waiting.connect_ex(("127.0.0.1", PORT))
            client = aio.NavigationClient()
            entering = asyncio.ensure_future(client.__aenter__())
            events = client.events(navigation.Offset)
            for _ in range(3):
                await asyncio.sleep(0)
            self.assertFalse(entering.done())
            await entering
            self.assertFalse(await client.is_link_up())
            await events.aclose()
            await client.disconnect()


def own_threads():
    """The threads of clients that are still there."""
    return [thread for thread in threading.enumerate()
            if thread.name == "kestrove_navigation.aio"]


def wait_for_no_thread(case):
    """A thread has done its last work before it ends."""
    for thread in own_threads():
        thread.join(DEADLINE_SECONDS)
    case.assertEqual([], own_threads())


class Lifetime(unittest.TestCase):
    def test_ends_with_the_client_that_nobody_holds_any_more(self):
        async def use():
            client = aio.NavigationClient()
            await client.engage_steering()
            ended = client.events(navigation.Offset)
            await ended.aclose()
            self.assertEqual(1, len(own_threads()))
            return weakref.ref(client), ended

        client, _ended = asyncio.run(use())
        gc.collect()
        self.assertIsNone(client())
        wait_for_no_thread(self)

    def test_lasts_as_long_as_an_iteration(self):
        async def use():
            with ScriptedPeer() as peer:
                events = aio.NavigationClient().events(navigation.Offset)
                gc.collect()
                await elsewhere(peer.push, "cb_offsets", 0.5)
                self.assertEqual((0.5,), await events.__anext__())
                peer.push_again("cb_offsets", 1.5)
                self.assertEqual((1.5,), await events.__anext__())

        asyncio.run(use())
        gc.collect()
        wait_for_no_thread(self)

    def test_leaves_no_descriptors_behind(self):
        async def use():
            async with aio.NavigationClient() as client:
                await client.engage_steering()

        asyncio.run(use())
        wait_for_no_thread(self)
        before = os.listdir("/proc/self/fd")
        for _ in range(20):
            asyncio.run(use())
        wait_for_no_thread(self)
        self.assertEqual(len(before), len(os.listdir("/proc/self/fd")))

    def test_outlives_the_loop_that_is_closed_while_a_call_waits(self):
        client = aio.NavigationClient()
        client.timeout = DEADLINE_SECONDS
        with ScriptedPeer() as peer:
            async def leave():
                client.events(navigation.Offset)
                call = asyncio.ensure_future(client.get_implement_width())
                while (await elsewhere(peer.message))[0] != 0:
                    pass
                return call
            asyncio.run(leave())
            peer.replies.put(1.0)  # to nobody
            peer.push_again("cb_offsets", 0.5)  # to nobody
            peer.replies.put(2.0)
            self.assertEqual(2.0, asyncio.run(client.get_implement_width()))
        asyncio.run(client.disconnect())
        wait_for_no_thread(self)

    def test_ends_with_the_interpreter_without_a_word(self):
        program = textwrap.dedent("""
            import asyncio
            from kestrove_navigation import Offset, aio
            client = aio.NavigationClient()
            async def main():
                global events
                events = client.events(Offset)
                await client.engage_steering()
                asyncio.ensure_future(client.get_implement_width())
                await asyncio.sleep(0)
            asyncio.run(main())
            """)
        for _ in range(5):
            ended = subprocess.run([sys.executable, "-B", "-c", program], timeout=DEADLINE_SECONDS,
                                   stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
            self.assertEqual((0, b""), (ended.returncode, ended.stdout))


if __name__ == "__main__":
    unittest.main()
