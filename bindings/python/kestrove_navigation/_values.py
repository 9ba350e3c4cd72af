"""The plain values that operations and events carry."""

import enum
from typing import TYPE_CHECKING, NamedTuple, Optional, Type, TypeVar, Union

if TYPE_CHECKING:
    from numpy import float64
    from numpy.typing import NDArray


class WaylineType(enum.IntEnum):
    """The kinds of waylines. A code from the service that has no name here comes as an int."""

    EMPTY = -1
    AB = 0
    A_HEADING = 1
    CIRCLE = 2
    SPLINE = 3
    AB_CURVE = 4
    PATH = 5
    REPLAY = 6


class TuningParameter(enum.IntEnum):
    """The tunable parameters of the service's steering controller. A code from the service that has
    no name here comes as an int."""

    SENSITIVITY = 0
    AGGRESSIVENESS = 1
    OVERSHOOT = 2
    SPEED_ADJUST = 3


class ErrorCode(enum.Enum):
    """Why a call failed."""

    NOT_CONNECTED = 1
    """There was no connection to send on."""
    REFUSED = 2
    """Nobody listens at the address, or it could not be reached."""
    TIMED_OUT = 3
    """No connection, no room to send, or no reply in time."""
    CLOSED = 4
    """The service closed or reset the connection."""
    BAD_MESSAGE = 5
    """Bytes that are no message, or a message over a limit; the connection is closed."""
    NO_VALUE = 6
    """The service answered, but with nothing."""
    SERVICE_ERROR = 7
    """The service answered with an error; the text is the service's."""
    SYSTEM = 8
    """The operating system refused, for example for want of descriptors."""


class LinkError(NamedTuple):
    """The reason of a failure: a code for programs and a text for people."""

    code: ErrorCode
    text: str


class NavigationError(Exception):
    """Why a call failed: what a client raises that raises failures, and raise_for_error()."""

    def __init__(self, code: ErrorCode, text: str) -> None:
        super().__init__(code, text)
        self.code = code
        self.text = text

    def __str__(self) -> str:
        return self.text or self.code.name


class Vector2(NamedTuple):
    """A point in the plane: metres east and north."""

    x: float
    y: float


class Vector3(NamedTuple):
    """A point in space: metres east, north and up."""

    x: float
    y: float
    z: float


class NudgeReply(NamedTuple):
    """What a nudge gives: the service's status (1 done, 0 refused, -1 failed) and the resulting nudge
    in metres, None when the status is -1."""

    status: int
    nudge: Optional[Vector3]


class TuningLimits(NamedTuple):
    """The lowest value, the start value and the highest value of a tuning parameter."""

    lowest: float
    start: float
    highest: float


class EngageStatus(NamedTuple):
    """The engage state has changed."""

    engaged: bool
    """Steering is engaged."""
    possible: bool
    """It could be engaged now."""
    active: bool
    """Navigation is active."""
    reversing: bool
    """The machine moves in reverse."""
    dropped: bool
    """Steering was dropped by the service and not by the operator."""


class GuidanceStatus(NamedTuple):
    """The guidance state."""

    pass_number: int
    """0 the line itself, positive to its right."""
    cross_track_error: float
    """Metres, positive right of the line."""
    heading_error: float
    """Radians."""
    curvature: float
    """The commanded curvature, 1/m."""


class Offset(NamedTuple):
    """The whole shift of the line has changed."""

    shift: float
    """Metres, positive to the right."""


class WaylineStatus(NamedTuple):
    """The wayline has changed."""

    complete: bool
    """It is complete."""
    recording: bool
    """It is being recorded."""
    active: bool
    """Navigation is active."""
    kind: Union[WaylineType, int]
    """Its kind, EMPTY when there is none."""
    length: float
    """Metres so far, 0 for an endless line."""


class ImplementWidth(NamedTuple):
    """The implement width has changed."""

    width: float
    """Metres."""


class TuningParameterChange(NamedTuple):
    """A tuning parameter has changed."""

    parameter: Union[TuningParameter, int]
    value: float


class RelativePosition(NamedTuple):
    """The machine's place in the local frame."""

    position: Vector2
    heading: float
    """Radians, clockwise from north."""


class DrawPoints(NamedTuple):
    """The points to draw of the line that is followed, in their order along the line."""

    points: "NDArray[float64]"
    """Metres east and north: an array of shape (n, 2) where there is NumPy, else a list of
    Vector2."""


_Code = TypeVar("_Code", bound=enum.IntEnum)


def named_code(codes: Type[_Code], value: int) -> Union[_Code, int]:
    """The member of an enumeration for a code from the service, or the code itself."""
    try:
        return codes(value)
    except ValueError:
        return value
