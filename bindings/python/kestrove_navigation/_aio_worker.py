"""The thread behind a client for asyncio, and what passes between it and the loop."""

import asyncio
import atexit
import collections
import logging
import os
import select
import threading
import time
import weakref
from typing import Any, Callable, Deque, FrozenSet, List, Optional, Sequence, Tuple

from . import _navigation, _values

MOST_EVENTS = 4096  # as an iteration of the client that blocks keeps
RETRY_SECONDS = 0.1  # the client itself paces its attempts to reconnect
EXIT_PATIENCE_SECONDS = 3.0  # what the end of the interpreter waits for a call under way

# The operation that takes the callable for a kind of event.
_OPERATIONS = {getattr(_values, kind): operation
               for kind, operation in _navigation.EVENT_OPERATIONS.items()}

_log = logging.getLogger("kestrove_navigation")
_Call = Callable[[_navigation.NavigationClient], Any]


class Inbox:
    """Events that wait for one iteration, oldest first: from the thread to the loop, which is woken
    once for however many there are."""

    def __init__(self, kinds: Sequence[Any], loop: asyncio.AbstractEventLoop) -> None:
        for kind in kinds:
            if kind not in _OPERATIONS:
                raise TypeError(f"no kind of event: {kind!r}")
        self.kinds: FrozenSet[Any] = frozenset(kinds or _OPERATIONS)
        self.dropped = 0
        self._loop: Optional[asyncio.AbstractEventLoop] = loop  # none yet in a child
        self._events: Deque[Any] = collections.deque()
        self._arrived = asyncio.Event()
        self._is_waking = False

    def settle_in_child(self) -> None:
        """After a fork: keeps its events, and waits for the first loop that iterates."""
        self._loop = None
        self._is_waking = False

    # in the thread

    def put(self, event: Any) -> None:
        """Appends an event."""
        if len(self._events) >= MOST_EVENTS:
            self._events.popleft()
            self.dropped += 1
        self._events.append(event)
        self._wake()

    def end(self) -> None:
        """Ends the iteration, behind the events that are there. From the loop, too."""
        self.kinds = frozenset()
        self._wake()

    def _wake(self) -> None:
        loop = self._loop
        if loop is not None and not self._is_waking:
            self._is_waking = True
            try:
                loop.call_soon_threadsafe(self._woken)
            except RuntimeError:  # the loop is closed: nobody iterates any more
                self.kinds = frozenset()

    # in the loop

    def _woken(self) -> None:
        self._is_waking = False
        self._arrived.set()

    async def get(self, timeout: Optional[float]) -> Any:
        """The next event; None when the iteration has ended or none comes in time, which ends it."""
        if self._loop is None:
            self._arrived = asyncio.Event()
            self._loop = asyncio.get_running_loop()
        loop = self._loop
        end = None if timeout is None else loop.time() + timeout
        while True:
            try:
                return self._events.popleft()
            except IndexError:
                pass
            if not self.kinds:
                return None
            if end is not None and loop.time() >= end:
                self.kinds = frozenset()
                return None
            await self._wait(loop, end)

    async def _wait(self, loop: asyncio.AbstractEventLoop, end: Optional[float]) -> None:
        # Not asyncio.wait_for(), which before Python 3.12 may swallow a cancellation.
        self._arrived.clear()
        timer = None if end is None else loop.call_at(end, self._arrived.set)
        try:
            await self._arrived.wait()
        finally:
            if timer is not None:
                timer.cancel()


class Worker:
    """A thread that owns a client while there is something to do for it: calls, one after another,
    and events between them. It begins when it is needed and ends with stop() or disconnect()."""

    def __init__(self, client: _navigation.NavigationClient) -> None:
        self._client = client
        self._inboxes: List["weakref.ref[Inbox]"] = []  # replaced by the lock, never changed
        self._reader = self._wake_writer = -1  # the pipe lives as long as the thread
        self._begin()
        _workers.add(self)

    def _begin(self) -> None:
        # Held for a few instructions at a time, in which stop() may be run by garbage collection.
        self._lock = threading.RLock()
        self._calls: Deque[Tuple[_Call, Optional["asyncio.Future[Any]"]]] = collections.deque()
        self._thread: Optional[threading.Thread] = None  # by the lock, as are calls and pipe
        self._is_ending = False  # the thread's own, as is what follows
        self._listening: List[Any] = []  # kinds

    def settle_in_child(self) -> None:
        """After a fork: begins anew. Thread and calls are the parent's, and nobody gives back a lock
        that it held; the client has a link of its own there. The iterations are in both."""
        self._close_pipe()
        self._begin()
        for inbox in self._living_inboxes():
            inbox.settle_in_child()

    # in the loop

    async def run(self, call: _Call) -> Any:
        """What a call with the client gives or raises, in its turn."""
        future = asyncio.get_running_loop().create_future()
        self._submit(call, future)
        return await future

    def listen(self, inbox: Inbox) -> None:
        """Has events put into an inbox, as long as it lives."""
        with self._lock:
            self._inboxes = [weakref.ref(other) for other in [*self._living_inboxes(), inbox]]
        self._submit(self._listen, None)

    def wake(self) -> None:
        """Has the thread listen in a child, too, where an iteration goes on without a call."""
        with self._lock:
            is_running = self._thread is not None
        if not is_running and self._inboxes:
            self._submit(self._listen, None)

    async def disconnect(self) -> None:
        """Ends the connection, the iterations and the thread, after the calls before it."""
        with self._lock:
            is_running = self._thread is not None
        if not is_running:
            self._ending()(self._client)  # which is idle
            return
        ended = asyncio.get_running_loop().create_future()
        self._submit(self._ending(), ended)
        await asyncio.shield(ended)  # is done also when nobody waits for it any more

    def stop(self) -> None:
        """Does the same, and does not wait for it. From anywhere."""
        with self._lock:
            is_running = self._thread is not None
        if is_running:
            self._submit(self._ending(), None)

    def join(self, deadline: float) -> None:
        """Waits for the end of the thread."""
        with self._lock:
            thread = self._thread
        if thread is not None:
            thread.join(max(0.0, deadline - time.monotonic()))

    def _ending(self) -> _Call:
        with self._lock:
            inboxes, self._inboxes = self._inboxes, []
        return lambda client: self._end(inboxes)

    def _submit(self, call: _Call, future: Optional["asyncio.Future[Any]"]) -> None:
        with self._lock:
            self._calls.append((call, future))
            if self._thread is None:
                self._calls.appendleft((self._listen, None))
                self._reader, self._wake_writer = os.pipe()
                os.set_blocking(self._wake_writer, False)
                # A daemon, for the interpreter to reach _end_all(), which waits for it.
                self._thread = threading.Thread(
                    target=self._work, name="kestrove_navigation.aio", daemon=True)
                self._thread.start()
            else:
                try:
                    os.write(self._wake_writer, b"\0")
                except BlockingIOError:
                    pass  # it is full of wakings

    # in the thread

    def _work(self) -> None:
        while self._take_turn():
            pass

    def _take_turn(self) -> bool:
        with self._lock:
            next_call = self._calls.popleft() if self._calls else None
            if next_call is None and self._is_ending:
                self._thread = None
                self._close_pipe()
                return False
        if next_call is not None:
            self._carry_out(*next_call)
        self._deliver()
        if next_call is None:
            self._wait()
        return True

    def _carry_out(self, call: _Call, future: Optional["asyncio.Future[Any]"]) -> None:
        if future is not None and future.cancelled():
            return
        result, raised = None, None
        self._is_ending = False
        try:
            result = call(self._client)
        except Exception as error:  # pylint: disable=broad-except
            raised = error
        if future is not None:
            try:
                future.get_loop().call_soon_threadsafe(_settle, future, result, raised)
            except RuntimeError:
                pass  # the loop is closed: nobody waits any more

    def _deliver(self) -> None:
        while self._listening:
            try:
                self._client.check_callbacks()
                return
            except Exception:  # pylint: disable=broad-except
                _log.exception("An event was dropped. Those behind it follow.")

    def _close_pipe(self) -> None:
        # A fork in between may cost the child a descriptor, and closes none of somebody else's.
        reader, self._reader = self._reader, -1
        writer, self._wake_writer = self._wake_writer, -1
        for descriptor in (reader, writer):
            if descriptor >= 0:
                os.close(descriptor)

    def _living_inboxes(self) -> List[Inbox]:
        found = (reference() for reference in self._inboxes)
        return [inbox for inbox in found if inbox is not None]

    def _wait(self) -> None:
        reader = self._reader
        poll = select.poll()
        poll.register(reader, select.POLLIN)
        milliseconds = None
        if self._listening:
            descriptor = self._client.fileno()  # another one after every reconnection
            if descriptor >= 0:
                poll.register(descriptor, select.POLLIN)
            else:
                milliseconds = RETRY_SECONDS * 1000
        if any(ready == reader for ready, _ in poll.poll(milliseconds)):
            os.read(reader, 65536)

    def _listen(self, client: _navigation.NavigationClient) -> None:
        """Has the client call for all that is iterated over."""
        wanted = {kind for inbox in self._living_inboxes() for kind in inbox.kinds}
        for kind in wanted.difference(self._listening):
            self._listening.append(kind)
            getattr(client, _OPERATIONS[kind])(
                lambda *values, kind=kind: self._offer(kind, kind(*values)))

    def _offer(self, kind: Any, event: Any) -> None:
        is_wanted = False
        for inbox in self._living_inboxes():
            if kind in inbox.kinds:
                inbox.put(event)
                is_wanted = True
        if not is_wanted:
            self._listening = [other for other in self._listening if other is not kind]
            getattr(self._client, _OPERATIONS[kind])(None)

    def _end(self, inboxes: List["weakref.ref[Inbox]"]) -> None:
        self._is_ending = True
        self._client.disconnect()
        self._listening.clear()
        for reference in inboxes:
            inbox = reference()
            if inbox is not None:
                inbox.end()


def _settle(future: "asyncio.Future[Any]", result: Any, raised: Optional[Exception]) -> None:
    if future.done():
        return  # cancelled: the reply is dropped
    if raised is not None:
        future.set_exception(raised)
    else:
        future.set_result(result)


_workers: "weakref.WeakSet[Worker]" = weakref.WeakSet()


def _settle_in_child() -> None:
    for worker in list(_workers):
        worker.settle_in_child()


os.register_at_fork(after_in_child=_settle_in_child)


@atexit.register
def _end_all() -> None:
    """Ends the threads: they must not come back from a call into an interpreter that is gone."""
    workers = list(_workers)
    for worker in workers:
        worker.stop()
    deadline = time.monotonic() + EXIT_PATIENCE_SECONDS
    for worker in workers:
        worker.join(deadline)
