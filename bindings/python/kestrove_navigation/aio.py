"""The client for asyncio: operations are coroutines, events come by asynchronous iteration."""

import asyncio
import weakref
from typing import Any, Generic, Optional, Type, TypeVar, Union, cast, overload

from . import _navigation
from ._aio_operations import Operations
from ._aio_worker import Inbox, Worker
from ._values import (
    DrawPoints,
    EngageStatus,
    GuidanceStatus,
    ImplementWidth,
    LinkError,
    NavigationError,
    Offset,
    RelativePosition,
    TuningParameterChange,
    WaylineStatus,
)

__all__ = ["EventIterator", "NavigationClient"]

# What has another shape here than in the client that blocks.
NOT_OPERATIONS = {
    "check_callbacks", "disconnect", "events", "fileno", "on_draw_points", "on_engage_status",
    "on_guidance_status", "on_implement_width", "on_offset", "on_relative_position",
    "on_tuning_parameter_changed", "on_wayline_status", "process_messages", "raise_for_error",
}

_AnyEvent = Union[
    DrawPoints,
    EngageStatus,
    GuidanceStatus,
    ImplementWidth,
    Offset,
    RelativePosition,
    TuningParameterChange,
    WaylineStatus,
]
_Event = TypeVar("_Event", bound=_AnyEvent)
_Other = TypeVar("_Other", bound=_AnyEvent)
_Given = TypeVar("_Given", covariant=True)
_Iterator = TypeVar("_Iterator", bound="EventIterator[Any]")
_Client = TypeVar("_Client", bound="NavigationClient")


class EventIterator(Generic[_Given]):
    """The events of a client as they come; see NavigationClient.events(). Keeps the client until it
    has ended."""

    def __init__(self, client: "NavigationClient", inbox: Inbox, timeout: Optional[float]) -> None:
        self._client: Optional[NavigationClient] = client
        self._inbox = inbox
        self._timeout = timeout

    @property
    def dropped(self) -> int:
        """How many events have been dropped, the oldest first, because too many waited here."""
        return self._inbox.dropped

    def __aiter__(self: _Iterator) -> _Iterator:
        return self

    async def __anext__(self) -> _Given:
        if self._client is not None:
            self._client._worker.wake()  # pylint: disable=protected-access
        event = await self._inbox.get(self._timeout)
        if event is None:
            self._client = None
            raise StopAsyncIteration
        return cast(_Given, event)

    async def aclose(self) -> None:
        """Ends the iteration: no more events are kept for it."""
        self._inbox.end()
        self._client = None

    async def __aenter__(self: _Iterator) -> _Iterator:
        return self

    async def __aexit__(self, *_: Any) -> None:
        await self.aclose()


class NavigationClient(Operations):
    """The connection to the navigation service on this machine, port 5010, for asyncio.

    Every operation of kestrove_navigation.NavigationClient is a coroutine here, with the same
    arguments, the same result and the same failures. A thread of the client's own carries them out,
    one after another in the order in which they were awaited, so that the loop never waits. It
    begins with the first operation and ends with disconnect() or with the client.

    A coroutine that is cancelled ends at once. Unless its operation was still waiting for its turn,
    and then is left out, it has been sent: the reply is dropped when it comes, and the next
    operation waits for that, at most for the time-out.

    The connection is made by the first operation or on entering the client as a context, is made
    anew when it is lost, and takes the events along. After a fork, the child has a connection and a
    thread of its own from its next operation on, in a loop of its own, and the iterations go on in
    both; operations that had been awaited then are the parent's.
    """

    def __init__(self, *, raises: bool = False) -> None:
        self._client = _navigation.NavigationClient(raises=raises, connect=False)
        self._worker = Worker(self._client)
        self._last_error: Optional[LinkError] = None
        # The thread holds on to the worker, and not to this.
        weakref.finalize(self, self._worker.stop).atexit = False

    @property
    def timeout(self) -> Optional[float]:
        """How long a call waits, in seconds; None for no limit. 2.0 unless set. Takes effect with
        the next call that begins."""
        return self._client.timeout

    @timeout.setter
    def timeout(self, seconds: Optional[float]) -> None:
        self._client.timeout = seconds

    @property
    def raises(self) -> bool:
        """Whether an operation that fails raises a NavigationError."""
        return self._client.raises

    @raises.setter
    def raises(self, raises: bool) -> None:
        self._client.raises = raises

    @property
    def last_error(self) -> Optional[LinkError]:
        """The LinkError of the operation that returned last; None when it did not fail. Where
        several tasks use the client, a task reads its own before it awaits anything else."""
        return self._last_error

    def raise_for_error(self) -> None:
        """Raises a NavigationError when last_error is one."""
        if self._last_error is not None:
            raise NavigationError(*self._last_error)

    async def dropped_events(self) -> int:
        """How many events the library has dropped because too many arrived during one call."""
        return cast(int, await self._worker.run(lambda client: client.dropped_events))

    @overload
    def events(
        self, kind: Type[_Event], /, *, timeout: Optional[float] = None
    ) -> EventIterator[_Event]: ...
    @overload
    def events(
        self, kind: Type[_Event], other: Type[_Other], /, *, timeout: Optional[float] = None
    ) -> EventIterator[Union[_Event, _Other]]: ...
    @overload
    def events(
        self, *kinds: Type[_AnyEvent], timeout: Optional[float] = None
    ) -> EventIterator[_AnyEvent]: ...
    def events(self, *kinds: Any, timeout: Optional[float] = None) -> EventIterator[Any]:
        """The events of these kinds (classes such as GuidanceStatus; all without any) from now on,
        also across reconnections. Ends when none has come for the time-out, in seconds, and with
        disconnect(); never for None. To be called in the loop that iterates.

        Keeps at most 4096 events that have not been taken, and then drops the oldest.
        """
        if timeout is not None and not timeout >= 0:
            raise ValueError("a time-out is None or a number of seconds from 0 on")
        inbox = Inbox(kinds, asyncio.get_running_loop())
        self._worker.listen(inbox)
        return EventIterator(self, inbox, timeout)

    async def disconnect(self) -> None:
        """Closes the connection, after the operations that were awaited before, and ends the
        iterations. A later operation connects again."""
        await self._worker.disconnect()

    async def __aenter__(self: _Client) -> _Client:
        await self._worker.run(lambda client: None)  # makes the connection
        return self

    async def __aexit__(self, *_: Any) -> None:
        await self.disconnect()

    async def _call(self, name: str, *arguments: Any) -> Any:
        def call(client: _navigation.NavigationClient) -> Any:
            result, raised = None, None
            try:
                result = getattr(client, name)(*arguments)
            except Exception as error:  # pylint: disable=broad-except
                raised = error
            return result, raised, client.last_error

        # Set here, within the task that reads it, and not when the reply comes.
        result, raised, self._last_error = await self._worker.run(call)
        if raised is not None:
            raise raised
        return result


for _name, _operation in vars(Operations).items():
    if not _name.startswith("_"):
        _, _, _operation.__doc__ = getattr(_navigation.NavigationClient, _name).__doc__.partition(
            "\n\n")  # behind its signature
del _name, _operation
