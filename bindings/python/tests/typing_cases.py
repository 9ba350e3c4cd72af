"""What a type checker must make of the package: read by typing_test.py, never run.

Where a use is wrong, the checker must say so; it complains of an ignored complaint that it has not.
"""

from typing import List, Optional, Union, assert_type

from numpy import float64
from numpy.typing import NDArray

from kestrove_navigation import (
    AbWayline,
    CircleWayline,
    DrawPoints,
    EngageStatus,
    EventIterator,
    GuidanceStatus,
    LinkError,
    NavigationClient,
    NudgeReply,
    Offset,
    SplineWayline,
    TuningLimits,
    Vector3,
    Wayline,
    WaylineType,
    aio,
    simulation,
)


def points_are_read_as_vectors(line: AbWayline, circle: CircleWayline) -> None:
    assert_type(line.point_a, Vector3)
    assert_type(line.point_a.x, float)
    assert_type(circle.third_point, Vector3)
    line.point_b = (1.0, 2.0, 3.0)
    line.point_b = Vector3(1.0, 2.0, 3.0)
    line.point_b = "north"  # type: ignore[assignment]


def points_are_arrays(curve: SplineWayline, drawn: DrawPoints) -> None:
    assert_type(curve.points, NDArray[float64])
    assert_type(drawn.points, NDArray[float64])
    assert_type(float(curve.points[-1, 0]), float)
    curve.points = curve.points[::-1]
    curve.points = [Vector3(1.0, 2.0, 3.0), (4, 5, 6)]
    SplineWayline(points=[(1, 2, 3)])
    curve.points = [1.0, 2.0]  # type: ignore[list-item]


def failures_can_raise(client: NavigationClient) -> None:
    client.raises = True
    NavigationClient(raises=True, connect=False)
    NavigationClient(True)  # type: ignore[misc]


def operations_tell_what_they_return(client: NavigationClient) -> None:
    assert_type(client.engage_steering(), int)
    assert_type(client.get_wayline(), Optional[Wayline])
    assert_type(client.nudge(True, 0.1), NudgeReply)
    assert_type(client.get_tuning_limits(2), Optional[TuningLimits])
    assert_type(client.last_error, Optional[LinkError])
    assert_type(AbWayline().type, WaylineType)
    client.set_wayline(None)  # type: ignore[arg-type]
    client.nudge(True)  # type: ignore[call-arg]


def an_iteration_gives_the_events_that_were_asked_for(client: NavigationClient) -> None:
    for event in client.events(GuidanceStatus, timeout=1.0):
        assert_type(event, GuidanceStatus)
    for either in client.events(Offset, EngageStatus):
        assert_type(either, Union[Offset, EngageStatus])
    for any_event in client.events():
        if isinstance(any_event, DrawPoints):
            assert_type(any_event.points, NDArray[float64])
        any_event.shift  # type: ignore[union-attr]
    kept: EventIterator[Offset] = client.events(Offset)
    assert_type(next(kept).shift, float)
    client.events(int)  # type: ignore[type-var]


def callables_take_the_values_of_their_event(client: NavigationClient) -> None:
    @client.on_offset
    def shifted(shift: float) -> None:
        print(shift)

    shifted(0.5)
    client.on_offset(None)

    @client.on_guidance_status  # type: ignore[type-var]
    def too_few(pass_number: int) -> None:
        print(pass_number)


async def coroutines_give_what_the_operations_give(client: aio.NavigationClient) -> None:
    assert_type(await client.engage_steering(), int)
    assert_type(await client.get_wayline(), Optional[Wayline])
    assert_type(await client.nudge(True, 0.1), NudgeReply)
    assert_type(client.last_error, Optional[LinkError])
    await client.set_wayline(None)  # type: ignore[arg-type]
    client.get_implement_width().is_integer()  # type: ignore[attr-defined, misc]


async def an_asynchronous_iteration_gives_the_events_that_were_asked_for() -> None:
    async with aio.NavigationClient(raises=True) as client:
        async for event in client.events(GuidanceStatus, timeout=1.0):
            assert_type(event, GuidanceStatus)
        async for either in client.events(Offset, EngageStatus):
            assert_type(either, Union[Offset, EngageStatus])
        async with client.events(Offset) as kept:
            assert_type((await kept.__anext__()).shift, float)


def drives_have_columns_and_figures(line: AbWayline) -> None:
    result = simulation.drive(line, speed=2.0, ground="field", receiver=simulation.Receiver(rate=5))
    assert_type(result, simulation.DriveResult)
    assert_type(result.cross_track_error, NDArray[float64])
    assert_type(result.figures.error_95, float)
    results = simulation.sweep([simulation.Case(line)])
    assert_type(results, List[Union[simulation.DriveResult, simulation.Failure]])
    assert_type(simulation.tune(simulation.Case(line)).tuning.look_ahead_time, float)
    simulation.drive(line, speed="fast")  # type: ignore[arg-type]
