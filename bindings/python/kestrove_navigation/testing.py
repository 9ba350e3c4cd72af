"""The navigation services that run inside a test: one that is scripted, and one that drives."""

from typing import Any, Callable, List, NamedTuple, TypeVar

from . import _testing
from ._testing import Answer, Listen

__all__ = ["Answer", "DrivingService", "Listen", "Received", "ScriptedService", "TrueState"]

_Service = TypeVar("_Service", bound="ScriptedService")
_Driving = TypeVar("_Driving", bound="DrivingService")


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


class TrueState(NamedTuple):
    """How the simulated machine really stands, which the application cannot see. Metres, seconds,
    radians; x east, y north, headings clockwise from north."""

    time: float
    x: float
    y: float
    heading: float
    speed: float
    steering_angle: float
    cross_track_error: float
    """Of the machine to the followed pass; 0 without a line."""
    implement_cross_track_error: float
    pass_number: int
    is_engaged: bool
    is_navigation_active: bool
    drop_reason: str
    """Why the service dropped steering; empty unless it did."""


class DrivingService(_testing.DrivingService):
    """A navigation service for tests that drives: the simulated machine, on port 5010 from
    construction to close(), or to the end of its context. Its time stands until the test moves it on,
    so that every run is the same.

        with DrivingService(speed=2.5) as service, NavigationClient() as client:
            client.set_wayline(ABWayline((0, 0, 0), (0, 100, 0)))
            client.start_navigation(True)
            assert client.engage_steering() == 1
            service.advance(20)
            assert abs(service.state().cross_track_error) < 0.05

    Options, best by name: seed, ground ("firm" or "field"), receiver ("ideal", "rtk" or "sbas"), x, y
    and heading of the start, speed, centre_bias and backlash. Making it raises a RuntimeError when the
    port is taken.
    """

    def state(self) -> TrueState:
        """How the machine really stands."""
        return TrueState(*super().state())

    def advance_until(self, predicate: Callable[[], Any], limit: float) -> bool:
        """Moves time on, a tenth of a second at once, until the predicate holds; it may call the
        application. False when it does not within about so many seconds."""
        end = self.time() + limit - 0.01
        while not predicate():
            if self.time() >= end:
                return False
            self.advance(0.1)
        return True

    def __enter__(self: _Driving) -> _Driving:
        return self

    def __exit__(self, *_: Any) -> None:
        self.close()
