#!/usr/bin/env python3
"""A small navigation service: what another language needs to answer the client library.

It listens where the library looks, answers the operations that a program needs to engage steering,
and notifies its subscribers when the engage state changes. It steers nothing. Needs the msgpack package
(Debian: python3-msgpack). Ends on SIGINT and SIGTERM.
"""

import asyncio
import signal

import msgpack

PORT = 5010
REQUEST, RESPONSE, NOTIFICATION = 0, 1, 2
LONGEST_MESSAGE = 32 * 1024 * 1024  # bytes, as the client library has it
MOST_UNREAD = 8 * 1024 * 1024  # bytes that may wait for a client that does not read


class Navigation:
    """The state of navigation, with a method for every operation, named as on the wire."""

    def __init__(self, push):
        self._push = push  # push(event, payload) sends an event to its subscribers
        self._settings = {"lookahead_time": 1.6, "reverse_engage_allowed": 0,
                          "low_speed_engage_allowed": 0, "low_speed_engage_timeout": 2.0}
        self._wayline = None
        self._active = self._engaged = False

    def operation(self, name):
        """The operation under a service name; None when there is no such operation."""
        verb, _, setting = name.partition("_")
        if setting in self._settings and verb == "get":
            return lambda leading_one: self._settings[setting]
        if setting in self._settings and verb == "set":
            return lambda value, keep: self._settings.update({setting: value})
        return None if name.startswith("_") else getattr(self, "do_" + name, None)

    def engage_status(self):
        """The payload of "cb_engage_status": five flags, as ints."""
        return [int(self._engaged), int(self._active), int(self._active), 0, 0]

    def do_set_wayline(self, kind, *values):
        self._wayline = [kind, *values]
        return 1

    def do_get_wayline(self):
        return self._wayline  # None travels as nil: there is no wayline

    def do_StartNavigation(self, leading_one, follow_nearest_pass):
        return self._change(self._wayline is not None, self._wayline is not None, self._engaged)

    def do_StopNavigation(self, leading_one):
        return self._change(True, False, False)

    def do_EngageSteering(self, leading_one):
        return self._change(self._active, self._active, self._active)

    def do_DisengageSteering(self, leading_one):
        return self._change(True, self._active, False)

    def do_IsSteeringEngaged(self):
        return int(self._engaged)

    def do_IsNavigationActivated(self):
        return int(self._active)

    def _change(self, allowed, active, engaged):
        """Changes the state, notifies the subscribers, and returns the status: 1 done, 0 refused."""
        if allowed and (active, engaged) != (self._active, self._engaged):
            self._active, self._engaged = active, engaged
            self._push("cb_engage_status", self.engage_status())
        return int(allowed)


class Service:
    """The connections: takes messages apart, and answers those that ask."""

    def __init__(self):
        self._subscribers = {}  # event -> writers of the clients that want it
        self._navigation = Navigation(self._push)

    async def serve_client(self, reader, writer):
        """Serves one client until either side closes."""
        unpacker = msgpack.Unpacker(max_buffer_size=LONGEST_MESSAGE)
        try:
            while data := await reader.read(65536):
                unpacker.feed(data)
                for message in unpacker:
                    self._take(message, writer)
                await writer.drain()
        except (ConnectionError, ValueError, TypeError, msgpack.UnpackException):
            pass  # what is not a message closes the connection that it came over, and no other
        finally:
            for writers in self._subscribers.values():
                writers.discard(writer)
            writer.close()

    def _take(self, message, writer):
        kind, *number, name, arguments = message
        if not isinstance(name, str) or not isinstance(arguments, list):
            raise ValueError(f"no message: {message}")
        if kind == REQUEST and len(number) == 1:
            error, result = self._call(name, arguments)
            writer.write(msgpack.packb([RESPONSE, *number, error, result]))
        elif kind == NOTIFICATION and not number and name == "subscribe":
            self._subscribe(*arguments, writer)
        elif kind == NOTIFICATION and not number:
            self._call(name, arguments)  # whatever becomes of it, there is no answer
        else:
            raise ValueError(f"no message: {message}")

    def _call(self, name, arguments):
        """Error and result of a call; one of them is None."""
        operation = self._navigation.operation(name)
        if operation is None:
            return f"there is no operation {name}", None
        try:
            return None, operation(*arguments)
        except TypeError:
            return f"{name} does not take {arguments}", None

    def _subscribe(self, event, writer):
        self._subscribers.setdefault(event, set()).add(writer)
        if event == "cb_engage_status":  # a new subscriber gets the present state at once
            writer.write(msgpack.packb([NOTIFICATION, event, self._navigation.engage_status()]))

    def _push(self, event, payload):
        for writer in self._subscribers.get(event, ()):
            if writer.transport.get_write_buffer_size() > MOST_UNREAD:
                writer.transport.abort()
            writer.write(msgpack.packb([NOTIFICATION, event, payload]))


async def main():
    ended = asyncio.Event()
    for number in (signal.SIGINT, signal.SIGTERM):
        asyncio.get_running_loop().add_signal_handler(number, ended.set)
    # Loopback alone: whoever may connect may steer.
    server = await asyncio.start_server(Service().serve_client, ["127.0.0.1", "::1"], PORT)
    async with server:
        print(f"listens on localhost, port {PORT}", flush=True)
        await ended.wait()


if __name__ == "__main__":
    asyncio.run(main())
