"""Steers a machine along a guidance line, through the navigation service on this machine.

NavigationClient is the connection to the service; the classes derived from Wayline are the guidance
lines. Positions are metres (east, north, up), angles radians clockwise from north. For asyncio there
is kestrove_navigation.aio, for tests kestrove_navigation.testing.
"""

from ._navigation import (
    AbCurveWayline,
    AbWayline,
    AHeadingWayline,
    CircleWayline,
    EmptyWayline,
    EventIterator,
    NavigationClient,
    PathWayline,
    ReplayWayline,
    SplineWayline,
    Wayline,
    __version__,
)
from ._values import (
    DrawPoints,
    EngageStatus,
    ErrorCode,
    GuidanceStatus,
    ImplementWidth,
    LinkError,
    NavigationError,
    NudgeReply,
    Offset,
    RelativePosition,
    TuningLimits,
    TuningParameter,
    TuningParameterChange,
    Vector2,
    Vector3,
    WaylineStatus,
    WaylineType,
)

__all__ = [
    "AHeadingWayline",
    "AbCurveWayline",
    "AbWayline",
    "CircleWayline",
    "DrawPoints",
    "EmptyWayline",
    "EngageStatus",
    "ErrorCode",
    "EventIterator",
    "GuidanceStatus",
    "ImplementWidth",
    "LinkError",
    "NavigationClient",
    "NavigationError",
    "NudgeReply",
    "Offset",
    "PathWayline",
    "RelativePosition",
    "ReplayWayline",
    "SplineWayline",
    "TuningLimits",
    "TuningParameter",
    "TuningParameterChange",
    "Vector2",
    "Vector3",
    "Wayline",
    "WaylineStatus",
    "WaylineType",
    "__version__",
]
