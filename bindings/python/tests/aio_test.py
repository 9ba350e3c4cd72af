"""The client for asyncio."""

import asyncio
import inspect
import unittest

import kestrove_navigation as navigation
from kestrove_navigation import AbWayline, ErrorCode, NavigationError, aio
from scripted_peer import DEADLINE_SECONDS, SILENCE, ScriptedPeer, ServiceError


async def elsewhere(function, *arguments):
    """Runs what blocks beside the loop."""
    return await asyncio.get_running_loop().run_in_executor(None, function, *arguments)


async def turns(number):
    """Lets the loop take turns: it is not held up."""
    for _ in range(number):
        await asyncio.sleep(0)


class Case(unittest.IsolatedAsyncioTestCase):
    """A test with a peer, and clients that are given time to wait for it."""

    def setUp(self):
        self.peer = self.enterContext(ScriptedPeer())

    async def client(self, **options):
        client = await self.enterAsyncContext(aio.NavigationClient(**options))
        client.timeout = DEADLINE_SECONDS
        return client

    async def sent(self):
        """The service name of the next request that reaches the peer."""
        while True:
            message = await elsewhere(self.peer.message)
            if message[0] == 0:
                return message[2]


class Operations(Case):
    async def test_give_what_the_service_replies(self):
        client = await self.client()
        for reply in (7.5, 1, [0, 0.0, 0.0, 0.0, 1.0, 1.0, 0.0]):
            self.peer.replies.put(reply)
        self.assertEqual(7.5, await client.get_implement_width())
        self.assertEqual(1, await client.start_navigation(follow_nearest_pass=True))
        self.assertEqual(AbWayline((0, 0, 0), (1, 1, 0)), await client.get_wayline())
        await client.set_look_ahead_time(1.75, persist=True)
        while (message := await elsewhere(self.peer.message))[0] == 0:
            pass
        self.assertEqual([1.75, 1], message[2][-2:])

    async def test_are_those_of_the_client_that_blocks_with_the_same_arguments(self):
        compared = 0
        for name, operation in vars(aio.Operations).items():
            if name.startswith("_"):
                continue
            with self.subTest(name):
                self.assertTrue(inspect.iscoroutinefunction(operation))
                document = getattr(navigation.NavigationClient, name).__doc__
                for argument in inspect.signature(operation).parameters.values():
                    self.assertTrue(argument.name == "self" or f"{argument.name}: " in document)
                self.assertIn(operation.__doc__, document)
                compared += 1
        blocking = {name for name in vars(navigation.NavigationClient) if not name.startswith("_")}
        self.assertEqual(blocking - aio.NOT_OPERATIONS, set(dir(aio.NavigationClient)) & blocking
                         - aio.NOT_OPERATIONS)
        self.assertGreater(compared, 55)

    async def test_leave_the_loop_to_others_while_they_wait(self):
        client = await self.client()
        call = asyncio.ensure_future(client.get_implement_width())
        await self.sent()  # the call waits from now on
        client.timeout = DEADLINE_SECONDS / 2  # of the next call
        await turns(100)
        self.assertFalse(call.done())
        self.peer.replies.put(7.5)
        self.assertEqual(7.5, await call)

    async def test_are_carried_out_in_the_order_in_which_they_were_awaited(self):
        client = await self.client()
        for number in range(50):
            self.peer.replies.put(float(number))
        widths = await asyncio.gather(*(client.get_implement_width() for _ in range(50)))
        self.assertEqual([float(number) for number in range(50)], widths)

    async def test_refuse_arguments_as_the_client_that_blocks_does(self):
        client = await self.client()
        with self.assertRaises(TypeError):
            await client.set_wayline(None)
        self.peer.replies.put([3, -1, 0.0])
        with self.assertRaises(ValueError):
            await client.get_wayline()
        self.peer.replies.put(1)
        self.assertEqual(1, await client.engage_steering())


class Failures(Case):
    async def test_are_told_by_last_error(self):
        client = await self.client()
        self.peer.replies.put(ServiceError("no GNSS"))
        self.assertEqual(-1, await client.engage_steering())
        self.assertEqual((ErrorCode.SERVICE_ERROR, "no GNSS"), client.last_error)
        self.assertRaisesRegex(NavigationError, "no GNSS", client.raise_for_error)
        self.peer.replies.put(1)
        await client.engage_steering()
        self.assertIsNone(client.last_error)
        client.raise_for_error()

    async def test_are_told_to_the_task_that_met_them(self):
        client = await self.client()

        async def error_of_call():
            await client.get_implement_width()
            return client.last_error

        for _ in range(20):
            self.peer.replies.put(ServiceError("odd"))
            self.peer.replies.put(1.0)
        errors = await asyncio.gather(*(error_of_call() for _ in range(40)))
        self.assertEqual([(ErrorCode.SERVICE_ERROR, "odd"), None] * 20, errors)

    async def test_are_raised_when_so_wished(self):
        client = await self.client(raises=True)
        self.peer.replies.put(ServiceError("no GNSS"))
        with self.assertRaises(NavigationError) as raised:
            await client.engage_steering()
        self.assertIs(ErrorCode.SERVICE_ERROR, raised.exception.code)
        self.assertEqual("no GNSS", client.last_error.text)
        client.raises = False
        self.peer.replies.put(ServiceError("no GNSS"))
        self.assertEqual(-1, await client.engage_steering())

    async def test_come_with_the_time_out(self):
        client = await self.client()
        client.timeout = 0.05
        self.peer.replies.put(SILENCE)
        self.assertEqual(-1.0, await client.get_implement_width())
        self.assertIs(ErrorCode.TIMED_OUT, client.last_error.code)
        with self.assertRaises(ValueError):
            client.timeout = -1


class Cancellation(Case):
    async def test_ends_the_coroutine_at_once_and_drops_its_reply(self):
        client = await self.client()
        call = asyncio.ensure_future(client.get_implement_width())
        await self.sent()
        call.cancel()
        with self.assertRaises(asyncio.CancelledError):
            await call  # there is no reply yet
        following = asyncio.ensure_future(client.get_field_offset())
        await turns(100)
        self.assertTrue(self.peer.messages.empty())  # it waits for the reply of the first
        self.peer.replies.put(1.0)
        self.peer.replies.put(2.0)
        self.assertEqual(2.0, await following)

    async def test_with_a_limit_of_asyncio_lets_the_next_operation_wait(self):
        client = await self.client()
        with self.assertRaises(asyncio.TimeoutError):
            await asyncio.wait_for(client.get_implement_width(), 0.01)
        self.peer.replies.put(1.0)
        self.peer.replies.put(2.0)
        self.assertEqual(2.0, await client.get_field_offset())

    async def test_leaves_out_what_had_not_been_sent(self):
        client = await self.client()
        calls = [asyncio.ensure_future(operation()) for operation in (
            client.get_implement_width, client.engage_steering, client.get_field_offset)]
        await self.sent()
        calls[1].cancel()
        for reply in (1.0, 2.0):
            self.peer.replies.put(reply)
        results = await asyncio.gather(*calls, return_exceptions=True)
        self.assertEqual([1.0, 2.0], [results[0], results[2]])
        self.assertIsInstance(results[1], asyncio.CancelledError)

    async def test_of_the_end_still_ends_the_connection(self):
        client = aio.NavigationClient()
        client.timeout = DEADLINE_SECONDS
        call = asyncio.ensure_future(client.get_implement_width())
        await self.sent()
        ending = asyncio.ensure_future(client.disconnect())
        await turns(3)
        ending.cancel()
        with self.assertRaises(asyncio.CancelledError):
            await ending
        self.peer.replies.put(7.5)
        self.assertEqual(7.5, await call)
        while self.peer.connection is not None:  # until the peer has seen the end
            await asyncio.sleep(0.001)


class Events(Case):
    async def push(self, event, *payload):
        await elsewhere(self.peer.push, event, *payload)

    async def test_come_by_iteration(self):
        client = await self.client()
        events = client.events(navigation.Offset, navigation.GuidanceStatus)
        await self.push("cb_offsets", 0.5)
        self.assertEqual(navigation.Offset(0.5), await events.__anext__())
        await elsewhere(self.peer.push_again, "cb_guidance_status", -2, 0.5, 0.25, 0.125)
        async for event in events:
            self.assertEqual(navigation.GuidanceStatus(-2, 0.5, 0.25, 0.125), event)
            break

    async def test_come_while_an_operation_waits_and_behind_it(self):
        client = await self.client()
        events = client.events(navigation.Offset)
        call = asyncio.ensure_future(client.get_implement_width())
        await self.push("cb_offsets", 0.5)
        self.peer.replies.put(7.5)
        self.assertEqual(7.5, await call)
        self.assertEqual((0.5,), await events.__anext__())

    async def test_are_those_behind_the_call_for_them(self):
        client = await self.client()
        events = client.events()
        self.peer.replies.put(1)
        await client.engage_steering()
        kinds = [(await elsewhere(self.peer.message))[2][0] for _ in range(8)]
        self.assertEqual(8, len(set(kinds)))
        self.peer.push_again("cb_implement_width_changed", 6.0)
        self.assertEqual(navigation.ImplementWidth(6.0), await events.__anext__())

    async def test_go_to_every_iteration(self):
        client = await self.client()
        iterations = [client.events(navigation.Offset) for _ in range(3)]
        client.events(navigation.Offset)  # dropped at once
        await self.push("cb_offsets", 0.5)
        self.assertEqual([(0.5,)] * 3, [await events.__anext__() for events in iterations])

    async def test_end_when_none_comes_in_time(self):
        client = await self.client()
        events = client.events(navigation.Offset, timeout=0.05)
        self.assertEqual([], [event async for event in events])
        with self.assertRaises(StopAsyncIteration):
            await events.__anext__()
        with self.assertRaises(ValueError):
            client.events(timeout=-1)
        with self.assertRaises(TypeError):
            client.events(int)

    async def test_end_with_the_iteration_or_the_connection(self):
        client = await self.client()
        async with client.events(navigation.Offset) as closed:
            pass
        self.assertEqual([], [event async for event in closed])
        events = client.events(navigation.Offset)
        waiting = asyncio.ensure_future(events.__anext__())
        await turns(3)
        await client.disconnect()
        with self.assertRaises(StopAsyncIteration):
            await waiting

    async def test_are_bounded_in_number_while_nobody_takes_them(self):
        client = await self.client()
        events = client.events(navigation.Offset)
        seen = client.events(navigation.Offset)
        for number in range(5000):
            await self.push("cb_offsets", float(number)) if not number else \
                self.peer.push_again("cb_offsets", float(number))
            await seen.__anext__()
        self.assertEqual((904.0,), await events.__anext__())
        self.assertEqual((904, 0), (events.dropped, seen.dropped))
        self.assertEqual(0, await client.dropped_events())

    async def test_are_still_given_behind_one_that_cannot_be_read(self):
        client = await self.client()
        events = client.events()
        with self.assertLogs("kestrove_navigation", "ERROR"):
            await self.push("cb_draw_points", -1)
            self.peer.push_again("cb_offsets", 0.5)
            self.assertEqual((0.5,), await events.__anext__())

    async def test_are_taken_by_cancelled_iterations_no_more_and_not_lost(self):
        client = await self.client()
        events = client.events(navigation.Offset)
        waiting = asyncio.ensure_future(events.__anext__())
        await turns(3)
        waiting.cancel()
        with self.assertRaises(asyncio.CancelledError):
            await waiting
        await self.push("cb_offsets", 0.5)
        self.assertEqual((0.5,), await events.__anext__())


if __name__ == "__main__":
    unittest.main()
