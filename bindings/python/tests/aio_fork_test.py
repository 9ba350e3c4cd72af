"""The client for asyncio in a child of the process that made it."""

import asyncio
import gc
import os
import threading
import unittest

from fork_test import CALLS_EACH, CHILDS_LINK, PARENTS_LINK, NumberingPeer, in_child
from kestrove_navigation import Offset, aio
from scripted_peer import DEADLINE_SECONDS


async def widths(client, count=CALLS_EACH):
    """All the different replies to many calls."""
    return {await client.get_implement_width() for _ in range(count)}


async def first_shift(events):
    """What the next event says."""
    return (await asyncio.wait_for(events.__anext__(), DEADLINE_SECONDS)).shift


class Fork(unittest.TestCase):
    def setUp(self):
        self.peer = self.enterContext(NumberingPeer())
        self.client = aio.NavigationClient()
        self.client.timeout = DEADLINE_SECONDS
        self.addCleanup(lambda: asyncio.run(self.client.disconnect()))

    def assert_ends_well(self, child):
        self.assertEqual(0, os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]))

    def test_gives_parent_and_child_a_link_each(self):
        self.assertEqual({PARENTS_LINK}, asyncio.run(widths(self.client, 1)))
        child = in_child(lambda: asyncio.run(widths(self.client)) == {CHILDS_LINK})
        self.assertEqual({PARENTS_LINK}, asyncio.run(widths(self.client)))
        self.assert_ends_well(child)
        self.assertEqual({PARENTS_LINK}, asyncio.run(widths(self.client)))
        self.assertEqual(2, self.peer.connections)

    def test_takes_events_of_new_iterations_to_the_childs_loop(self):
        self.assertEqual({PARENTS_LINK}, asyncio.run(widths(self.client, 1)))

        async def hears():
            async with self.client:
                return await first_shift(self.client.events(Offset)) == CHILDS_LINK

        self.assert_ends_well(in_child(lambda: asyncio.run(hears())))

    def test_goes_on_with_the_iterations(self):
        async def begin():
            events = self.client.events(Offset)
            self.assertEqual(PARENTS_LINK, await first_shift(events))
            return events

        events = asyncio.run(begin())

        async def goes_on():
            heard = await first_shift(events)
            await self.client.disconnect()
            return heard == CHILDS_LINK and [event async for event in events] == []

        self.assert_ends_well(in_child(lambda: asyncio.run(goes_on())))

        async def ends_at_once():
            await self.client.disconnect()
            return [event async for event in events] == []

        self.assert_ends_well(in_child(lambda: asyncio.run(ends_at_once())))
        self.assertEqual(2, self.peer.connections)

    def test_leaves_calls_under_way_and_queued_to_the_parent(self):
        calls, is_asked = [], self.peer.is_asked

        async def forks_meanwhile():
            engaging = asyncio.ensure_future(self.client.engage_steering())
            queued = [asyncio.ensure_future(self.client.get_field_offset()) for _ in range(3)]
            loop = asyncio.get_running_loop()
            self.assertTrue(await loop.run_in_executor(None, is_asked.wait, DEADLINE_SECONDS))
            is_asked.clear()
            child = await loop.run_in_executor(None, in_child, lambda: asyncio.run(
                widths(self.client)) == {CHILDS_LINK} and not is_asked.is_set())
            await loop.run_in_executor(None, self.assert_ends_well, child)
            self.peer.release.set()
            calls.extend([await engaging, *[await call for call in queued]])

        asyncio.run(forks_meanwhile())
        self.assertEqual([PARENTS_LINK] * 4, calls)
        self.assertFalse(is_asked.is_set())  # by the child

    def test_waits_for_no_lock_that_another_thread_of_the_parent_held(self):
        self.assertEqual({PARENTS_LINK}, asyncio.run(widths(self.client, 1)))
        is_held, is_over = threading.Event(), threading.Event()

        def hold():
            with self.client._worker._lock:  # pylint: disable=protected-access
                is_held.set()
                is_over.wait(DEADLINE_SECONDS)

        holder = threading.Thread(target=hold)
        holder.start()
        self.assertTrue(is_held.wait(DEADLINE_SECONDS))
        children = []
        try:
            children.append(in_child(lambda: asyncio.run(self.client.disconnect()) is None))
            children.append(in_child(lambda: asyncio.run(widths(self.client, 1)) == {CHILDS_LINK}))
            children.append(in_child(self._lets_go))
        finally:
            is_over.set()
            holder.join()
        for child in children:
            self.assert_ends_well(child)

    def _lets_go(self):
        self.client = None
        gc.collect()
        return True

    def test_costs_the_child_no_descriptors(self):
        self.assertEqual({PARENTS_LINK}, asyncio.run(widths(self.client, 1)))

        def has_fewer():
            inherited = len(os.listdir("/proc/self/fd"))
            asyncio.run(self.client.disconnect())
            return len(os.listdir("/proc/self/fd")) == inherited - 1  # its copy of the link

        self.assert_ends_well(in_child(has_fewer))


if __name__ == "__main__":
    unittest.main()
