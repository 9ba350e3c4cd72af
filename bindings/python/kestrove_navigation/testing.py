"""The navigation service that runs inside a test."""

from typing import Any, List, NamedTuple, TypeVar

from . import _testing
from ._testing import Answer, Listen

__all__ = ["Answer", "Listen", "Received", "ScriptedService"]

_Service = TypeVar("_Service", bound="ScriptedService")


class Received(NamedTuple):
    """A message that the scripted service has received."""

    kind: str
    """"request" waits for a reply, "notification" does not, "subscription" has the event's name."""
    name: str
    arguments: List[Any]
    client: int
    """Counts the connections from 1."""


class ScriptedService(_testing.ScriptedService):
    """A navigation service for tests: it does what the test has written down and remembers
    everything that it was sent.

        with ScriptedService() as service, NavigationClient() as client:
            service.expect("SetFieldOffset", [1, 2.5], 1)
            assert client.set_field_offset(2.5) == 1
            assert service.problems() == []

    It listens on port 5010 of this machine from construction to close(), or to the end of its
    context, on a thread of its own: a test may block in the client meanwhile. Making it raises a
    RuntimeError when the port is taken.

    A call is looked up among the expectations first, then among the standing answers; a request that
    is in neither gets an error reply, and such a call shows up in problems(). An answer is an Answer,
    or a value that is to be the reply. What is pushed, dropped or released has been done when the
    call returns.
    """

    def received(self) -> List[Received]:  # type: ignore[override]
        """What has been received since the start or forget_received(), in order."""
        return [Received(*each) for each in super().received()]

    def __enter__(self: _Service) -> _Service:
        return self

    def __exit__(self, *_: Any) -> None:
        self.close()
