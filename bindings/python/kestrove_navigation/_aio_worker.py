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
        self._loop = loop
        self._events: Deque[Any] = collections.deque()
        self._arrived = asyncio.Event()
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
        if not self._is_waking:
            self._is_waking = True
            try:
                self._loop.call_soon_threadsafe(self._woken)
            except RuntimeError:  # the loop is closed: nobody iterates any more
                self.kinds = frozenset()

    # in the loop

    def _woken(self) -> None:
        self._is_waking = False
        self._arrived.set()

    async def get(self, timeout: Optional[float]) -> Any:
        """The next event; None when the iteration has ended or none comes in time, which ends it."""
        end = None if timeout is None else self._loop.time() + timeout
        while True:
            try:
                return self._events.popleft()
            except IndexError:
                pass
            if not self.kinds:
                return None
            if end is not None and self._loop.time() >= end:
                self.kinds = frozenset()
                return None
            await self._wait(end)

    async def _wait(self, end: Optional[float]) -> None:
        # Not asyncio.wait_for(), which before Python 3.12 may swallow a cancellation.
        self._arrived.clear()
        timer = None if end is None else self._loop.call_at(end, self._arrived.set)
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
        # Held for a few instructions at a time, in which stop() may be run by garbage collection.
        self._lock = threading.RLock()
        self._process = _process
        self._calls: Deque[Tuple[_Call, Optional["asyncio.Future[Any]"]]] = collections.deque()
        self._thread: Optional[threading.Thread] = None  # by the lock, as are the calls
        self._wake_writer = -1  # by the lock: the pipe lives as long as the thread
        self._inboxes: List["weakref.ref[Inbox]"] = []  # replaced by the lock, never changed
        self._is_ending = False  # the thread's own, as is what follows
        self._listening: List[Any] = []  # kinds

    # in the loop

    async def run(self, call: _Call) -> Any:
        """What a call with the client gives or raises, in its turn."""
        future = asyncio.get_running_loop().create_future()
        self._submit(call, future)
        return await future

    def listen(self, inbox: Inbox) -> None:
        """Has events put into an inbox, as long as it lives."""
        kinds = inbox.kinds
        with self._lock:
            kept = [reference for reference in self._inboxes if reference() is not None]
            self._inboxes = [*kept, weakref.ref(inbox)]
        self._submit(lambda client: self._listen(kinds), None)

    async def disconnect(self) -> None:
        """Ends the connection, the iterations and the thread, after the calls before it."""
        with self._lock:
            if self._thread is None:
                return
        ended = asyncio.get_running_loop().create_future()
        self._submit(self._ending(), ended)
        await asyncio.shield(ended)  # is done also when nobody waits for it any more

    def stop(self) -> None:
        """Does the same, and does not wait for it. From anywhere."""
        with self._lock:
            is_running = self._thread is not None
        if is_running and self._process is _process:
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
        if self._process is not _process:
            raise RuntimeError("a client for asyncio stays in the process that made it")
        with self._lock:
            self._calls.append((call, future))
            if self._thread is None:
                reader, self._wake_writer = os.pipe()
                os.set_blocking(self._wake_writer, False)
                # A daemon, for the interpreter to reach _end_all(), which waits for it.
                self._thread = threading.Thread(
                    target=self._work, args=(reader,), name="kestrove_navigation.aio", daemon=True)
                self._thread.start()
                _workers.add(self)
            else:
                try:
                    os.write(self._wake_writer, b"\0")
                except BlockingIOError:
                    pass  # it is full of wakings

    # in the thread

    def _work(self, reader: int) -> None:
        try:
            while self._take_turn(reader):
                pass
        finally:
            os.close(reader)

    def _take_turn(self, reader: int) -> bool:
        with self._lock:
            next_call = self._calls.popleft() if self._calls else None
            if next_call is None and self._is_ending:
                self._thread = None
                os.close(self._wake_writer)
                return False
        if next_call is not None:
            self._carry_out(*next_call)
        self._deliver()
        if next_call is None:
            self._wait(reader)
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

    def _wait(self, reader: int) -> None:
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

    def _listen(self, kinds: FrozenSet[Any]) -> None:
        for kind in kinds.difference(self._listening):
            self._listening.append(kind)
            getattr(self._client, _OPERATIONS[kind])(
                lambda *values, kind=kind: self._offer(kind, kind(*values)))

    def _offer(self, kind: Any, event: Any) -> None:
        is_wanted = False
        for reference in self._inboxes:
            inbox = reference()
            if inbox is not None and kind in inbox.kinds:
                inbox.put(event)
                is_wanted = True
        if not is_wanted:
            self._listening.remove(kind)
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
_process = object()  # another one after every fork


def _forget_threads() -> None:
    """After a fork: the threads are the parent's."""
    global _process  # pylint: disable=global-statement
    _process = object()
    _workers.clear()


os.register_at_fork(after_in_child=_forget_threads)


@atexit.register
def _end_all() -> None:
    """Ends the threads: they must not come back from a call into an interpreter that is gone."""
    workers = list(_workers)
    for worker in workers:
        worker.stop()
    deadline = time.monotonic() + EXIT_PATIENCE_SECONDS
    for worker in workers:
        worker.join(deadline)
