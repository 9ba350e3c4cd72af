"""What a simulated drive is like, and what comes of it."""

import copy
import dataclasses
import importlib
import math
import numbers
from typing import Any, Dict, Optional, Sequence, Tuple, TypeVar, Union

from ._navigation import Wayline

try:
    import numpy
    import numpy.typing
except ImportError as error:
    raise ImportError("kestrove_navigation.simulation needs NumPy: apt-get install python3-numpy, or "
                      "pip install numpy") from error

from . import _simulation

_STEP = 0.02
_LONGEST = 86400.0
_DEGREE = math.pi / 180.0
_Word = TypeVar("_Word")


def needed(module: str, purpose: str, package: str) -> Any:
    """A module of another package; an ImportError names the package where it is missing."""
    try:
        return importlib.import_module(module)
    except ImportError as missing:
        raise ImportError(f"{purpose} {package}: apt-get install python3-{package.lower()}, or "
                          f"pip install {package.lower()}") from missing


def _checked(what: str, value: Any, lowest: float, highest: float, unit: str) -> float:
    """A number within limits, which not-a-number is not."""
    is_number = isinstance(value, numbers.Real) and not isinstance(value, bool)
    if not is_number or not lowest <= float(value) <= highest:
        raise ValueError(f"{what} is {value!r}, allowed is {lowest:.6g} to {highest:.6g} {unit}".rstrip())
    return float(value)


def whole(what: str, value: Any, lowest: int, highest: int) -> int:
    """A whole number within limits."""
    if not isinstance(value, numbers.Integral) or isinstance(value, bool) or \
            not lowest <= int(value) <= highest:
        raise ValueError(f"{what} is {value!r}, allowed is {lowest} to {highest} without a fraction")
    return int(value)


def _one_of(what: str, value: _Word, allowed: Sequence[_Word]) -> _Word:
    if not isinstance(value, type(allowed[0])) or value not in allowed:
        raise ValueError(f"{what} is {value!r}, allowed is {', '.join(map(str, allowed))}")
    return value


def _flag(what: str, value: Any) -> bool:
    return bool(_one_of(what, bool(value) if isinstance(value, numpy.bool_) else value, (True, False)))


def _numbers(what: str, value: Any, count: int) -> Tuple[Any, ...]:
    values = tuple(value) if isinstance(value, (tuple, list, numpy.ndarray)) else ()
    if len(values) != count:
        raise ValueError(f"{what} is {value!r}, allowed is {count} numbers")
    return values


def _steps(what: str, value: Any, least: float) -> float:
    """A time of whole steps."""
    seconds = _checked(what, value, least, _LONGEST, "s")
    if abs(seconds / _STEP - round(seconds / _STEP)) > 1e-6:
        raise ValueError(f"{what} is {value!r}, allowed is a whole number of steps of {_STEP} s")
    return seconds


class _Values:
    """What the values below have in common: they cannot be changed, and are checked when made."""

    def _set(self, name: str, value: Any) -> None:
        object.__setattr__(self, name, value)

    def _check(self, owner: str, name: str, lowest: float, highest: float, unit: str) -> None:
        self._set(name, _checked(f"{owner}.{name}", getattr(self, name), lowest, highest, unit))


@dataclasses.dataclass(frozen=True)
class Tuning(_Values):
    """How the steering controller is set: its four parameters, which have no unit, and how far it
    looks ahead. As it is made, these are the service's start values."""

    sensitivity: float = 1.0
    """How it answers a cross-track error, 0.2 to 3."""
    aggressiveness: float = 1.0
    """How steeply it approaches the line and how fast it steers, 0.2 to 3."""
    overshoot: float = 1.0
    """The damping, 0.2 to 3: less overshoots."""
    speed_adjust: float = 1.0
    """How the look-ahead distance grows with speed, 0 to 3."""
    look_ahead_time: float = 1.6
    """Seconds, 0.2 to 10."""

    def __post_init__(self) -> None:
        for name in ("sensitivity", "aggressiveness", "overshoot"):
            self._check("Tuning", name, 0.2, 3.0, "")
        self._check("Tuning", "speed_adjust", 0.0, 3.0, "")
        self._check("Tuning", "look_ahead_time", 0.2, 10.0, "s")

    def commands(self) -> Tuple[str, ...]:
        """The commands that set a service to these values and have it keep them."""
        parameters = ("sensitivity", "aggressiveness", "overshoot", "speed_adjust")
        return (*(f"navctl set-tuning-parameter {name.replace('_', '-')} {getattr(self, name):.15g} "
                  "--persist" for name in parameters),
                f"navctl set-look-ahead-time {self.look_ahead_time:.15g} --persist")


@dataclasses.dataclass(frozen=True)
class Machine(_Values):
    """The machine, and what is worn out on it. Metres, radians."""

    centre_bias: float = 0.0
    """How far the wheels stand right of what the steering sensor says, up to 5 degrees."""
    backlash: float = 0.0
    """Play between the steering actuator and the wheels, up to 5 degrees."""
    steering_deadband: float = 0.0
    """An error that the steering valve does not open for, up to 5 degrees."""
    steering_rate_left: float = 20.0 * _DEGREE
    """How fast the wheels turn to the left at most, radians per second: 1 to 60 degrees."""
    steering_rate_right: float = 20.0 * _DEGREE
    """The same to the right."""
    tyres: str = "rigid"
    """"rigid", or "dynamic": tyres that give at speed."""
    implement_behind: float = 2.0
    """From the rear axle to a carried implement's middle, 0 to 10, or to the hitch of a trailed one,
    0 to 5."""
    drawbar: float = 0.0
    """From the hitch to a trailed implement's middle, 0.5 to 12; 0 for a carried one."""
    implement_width: float = 3.0
    """From pass to pass, 0.1 to 100."""

    def __post_init__(self) -> None:
        self._check("Machine", "centre_bias", -5.0 * _DEGREE, 5.0 * _DEGREE, "radians")
        for name in ("backlash", "steering_deadband"):
            self._check("Machine", name, 0.0, 5.0 * _DEGREE, "radians")
        for name in ("steering_rate_left", "steering_rate_right"):
            self._check("Machine", name, _DEGREE, 60.0 * _DEGREE, "radians per second")
        _one_of("Machine.tyres", self.tyres, ("rigid", "dynamic"))
        self._check("Machine", "drawbar", 0.0, 12.0, "m")
        if 0.0 < self.drawbar < 0.5:
            raise ValueError(f"Machine.drawbar is {self.drawbar!r}, allowed is 0, or 0.5 to 12 m")
        self._check("Machine", "implement_behind", 0.0, 5.0 if self.drawbar else 10.0, "m")
        self._check("Machine", "implement_width", 0.1, 100.0, "m")


@dataclasses.dataclass(frozen=True)
class Ground(_Values):
    """What the machine drives on."""

    kind: str = "firm"
    """"firm", or "field", on which it slips aside."""
    terrain: str = "flat"
    """"flat", "rolling", or "slope", a plane that falls to the east."""
    slope: float = 0.0
    """Of the terrain "slope", radians, up to 30 degrees; negative: it falls to the west."""
    tree_line: Optional[float] = None
    """Trees in a row to the north, so many metres east, near which positions jump; None: none."""

    def __post_init__(self) -> None:
        _one_of("Ground.kind", self.kind, ("firm", "field"))
        _one_of("Ground.terrain", self.terrain, ("flat", "slope", "rolling"))
        self._check("Ground", "slope", -30.0 * _DEGREE, 30.0 * _DEGREE, "radians")
        if self.slope and self.terrain != "slope":
            raise ValueError(f'Ground.slope is {self.slope!r}, allowed is 0 unless the terrain is "slope"')
        if self.tree_line is not None:
            self._check("Ground", "tree_line", -1e6, 1e6, "m")


@dataclasses.dataclass(frozen=True)
class Receiver(_Values):
    """How well the machine's receiver measures, and how it is built in."""

    kind: str = "rtk"
    """"ideal", "rtk" or "sbas"."""
    rate: int = 10
    """Measurements a second: 1, 2, 5 or 10."""
    latency: float = 0.0
    """From a measurement until guidance has it, seconds: 0 to 1 in tenths."""
    compensation: bool = True
    """Whether roll and pitch are taken into account."""
    antenna: Tuple[float, float, float] = (0.0, 0.0, 3.0)
    """Where the antenna is: metres ahead of the rear axle, to its right, above the ground."""

    def __post_init__(self) -> None:
        _one_of("Receiver.kind", self.kind, ("ideal", "rtk", "sbas"))
        self._set("rate", _one_of("Receiver.rate", whole("Receiver.rate", self.rate, 1, 10),
                                  (1, 2, 5, 10)))
        self._check("Receiver", "latency", 0.0, 1.0, "s")
        if abs(self.latency * 10.0 - round(self.latency * 10.0)) > 1e-9:
            raise ValueError(f"Receiver.latency is {self.latency!r}, allowed is 0 to 1 s in tenths")
        self._set("compensation", _flag("Receiver.compensation", self.compensation))
        self._set("antenna", tuple(_checked("Receiver.antenna", metres, -10.0, 10.0, "m")
                                   for metres in _numbers("Receiver.antenna", self.antenna, 3)))


@dataclasses.dataclass(frozen=True, eq=False)
class Case(_Values):
    """All that a drive depends on: the same case gives the same drive, bit for bit, on one build and
    machine. Cannot be changed (dataclasses.replace() makes another); can be pickled.

    Raises a ValueError that names the value and what is allowed.
    """

    line: Wayline
    """What is driven along, of any kind with values of its own; a copy is kept."""
    speed: float = 2.5
    """At the start and as the set point, metres per second, -5 to 15."""
    seconds: float = 60.0
    """How long is driven once steering is engaged: whole steps of 0.02 s, up to a day."""
    seed: int = 1
    """All that is random comes from it: 0 to 10 to the power of 15."""
    machine: Machine = Machine()
    ground: Union[str, Ground] = Ground()
    """A Ground, or the kind of one."""
    receiver: Union[str, Receiver] = Receiver()
    """A Receiver, or the kind of one."""
    tuning: Tuning = Tuning()
    start: Tuple[float, float, float] = (0.0, 0.0, 0.0)
    """Where the machine starts: metres east, metres north, heading in radians."""
    lead: float = 0.0
    """How long it is driven straight on by hand before steering is engaged, seconds."""
    guide: str = "machine"
    """What is kept on the line: "machine" or "implement"."""
    follow_nearest_pass: bool = False
    """Whether the pass nearest the machine is followed, and not the line itself."""
    name: str = ""
    """For people: what a sweep calls the case when it fails."""

    def __post_init__(self) -> None:
        if not isinstance(self.line, Wayline) or len(self.line.to_list()) < 2:
            raise ValueError(f"line is {self.line!r}, allowed is a Wayline with values of its own")
        self._set("line", copy.copy(self.line))
        self._set("speed", _checked("speed", self.speed, -5.0, 15.0, "m/s"))
        self._set("seconds", _steps("seconds", self.seconds, _STEP))
        self._set("seed", whole("seed", self.seed, 0, 10 ** 15))
        self._set("lead", _steps("lead", self.lead, 0.0))
        for name, kind in (("ground", Ground), ("receiver", Receiver)):
            if isinstance(getattr(self, name), str):
                self._set(name, kind(getattr(self, name)))
        for name, kind in (("machine", Machine), ("ground", Ground), ("receiver", Receiver),
                           ("tuning", Tuning)):
            if not isinstance(getattr(self, name), kind):
                raise ValueError(f"{name} is {getattr(self, name)!r}, allowed is a {kind.__name__}")
        x, y, heading = _numbers("start", self.start, 3)
        self._set("start", (_checked("start", x, -1e6, 1e6, "m"), _checked("start", y, -1e6, 1e6, "m"),
                            _checked("start", heading, -1e6, 1e6, "radians")))
        _one_of("guide", self.guide, ("machine", "implement"))
        self._set("follow_nearest_pass", _flag("follow_nearest_pass", self.follow_nearest_pass))

    def __str__(self) -> str:
        """Its name, or else its seed and what is not as usual."""
        if self.name:
            return self.name
        values = [f"{field.name}={getattr(self, field.name)!r}" for field in dataclasses.fields(self)
                  if field.name == "seed" or
                  field.name != "line" and getattr(self, field.name) != field.default]
        return ", ".join([type(self.line).__name__, *values])

    def drive(self) -> "DriveResult":
        """Drives it, in this process: see simulation.drive()."""
        rows, figures, engaged, reason = _simulation.drive(self.line.to_list(), self._options())
        columns = dict(zip(_simulation.COLUMNS, numpy.ascontiguousarray(rows.T)))
        return DriveResult(case=self, figures=Figures(*figures), engaged_to_the_end=engaged,
                           drop_reason=reason, **{
                               **columns, "engaged": columns["engaged"] != 0.0,
                               "pass_number": columns["pass_number"].astype(numpy.int64)})

    def _options(self) -> Dict[str, Any]:
        machine, ground, receiver, tuning = self.machine, self.ground, self.receiver, self.tuning
        assert isinstance(ground, Ground) and isinstance(receiver, Receiver)
        return {
            **dataclasses.asdict(machine), "seed": self.seed, "speed": self.speed, "guide": self.guide,
            **dict(zip(("x", "y", "heading"), self.start)),
            "ground": ground.kind, "terrain": ground.terrain, "slope": ground.slope,
            "tree_line": ground.tree_line,
            "receiver": receiver.kind, "rate": receiver.rate, "compensation": receiver.compensation,
            "latency_tenths": round(receiver.latency * 10.0),
            **dict(zip(("antenna_ahead", "antenna_right", "antenna_up"), receiver.antenna)),
            "tuning": [tuning.sensitivity, tuning.aggressiveness, tuning.overshoot,
                       tuning.speed_adjust],
            "look_ahead_time": tuning.look_ahead_time,
            "follow_nearest_pass": self.follow_nearest_pass,
            "lead_steps": round(self.lead / _STEP), "steps": round(self.seconds / _STEP)}


@dataclasses.dataclass(frozen=True)
class Figures:
    """What a drive is judged by, metres: of the true errors at the moments at which guidance ran while
    steering was engaged. The definitions are those of docs/simulator.md."""

    error_95: float
    """What 95 % of the cross-track errors do not exceed, without sign; not a number where there are
    none."""
    mean_error: float
    """Their mean without sign."""
    way_to_line: float
    """The way after which the machine stays within 5 cm; infinite when it ends farther off."""
    overshoot: float
    """How far it came past the line, seen from the side on which it was at first."""
    implement_error_95: float
    """As error_95, of the implement."""
    implement_mean_error: float
    """As mean_error, of the implement."""


@dataclasses.dataclass(frozen=True, eq=False, repr=False)
class DriveResult:
    """What came of a drive. The columns have a value for each time that guidance ran, ten a second:
    metres, seconds, radians; x east, y north, headings clockwise from north in [0, 2 pi). Can be
    pickled."""

    case: Case
    figures: Figures
    engaged_to_the_end: bool
    drop_reason: str
    """Why steering was dropped; empty unless it was."""
    time: "numpy.typing.NDArray[numpy.float64]"
    """Since the start."""
    way: "numpy.typing.NDArray[numpy.float64]"
    """Driven since steering was engaged."""
    engaged: "numpy.typing.NDArray[numpy.bool_]"
    """Whether steering is."""
    cross_track_error: "numpy.typing.NDArray[numpy.float64]"
    """Of the machine, true, positive to the right of the followed pass."""
    implement_cross_track_error: "numpy.typing.NDArray[numpy.float64]"
    """Of the implement to the pass that it works, true."""
    true_x: "numpy.typing.NDArray[numpy.float64]"
    true_y: "numpy.typing.NDArray[numpy.float64]"
    true_heading: "numpy.typing.NDArray[numpy.float64]"
    measured_x: "numpy.typing.NDArray[numpy.float64]"
    """By the receiver."""
    measured_y: "numpy.typing.NDArray[numpy.float64]"
    measured_heading: "numpy.typing.NDArray[numpy.float64]"
    estimated_x: "numpy.typing.NDArray[numpy.float64]"
    """What guidance makes of the measurements."""
    estimated_y: "numpy.typing.NDArray[numpy.float64]"
    estimated_heading: "numpy.typing.NDArray[numpy.float64]"
    implement_x: "numpy.typing.NDArray[numpy.float64]"
    """Of the implement's middle, true."""
    implement_y: "numpy.typing.NDArray[numpy.float64]"
    speed: "numpy.typing.NDArray[numpy.float64]"
    """Metres per second, negative backwards."""
    steering_angle: "numpy.typing.NDArray[numpy.float64]"
    """As the sensor says, positive to the right."""
    steering_command: "numpy.typing.NDArray[numpy.float64]"
    """What was last commanded; 0 unless engaged."""
    pass_number: "numpy.typing.NDArray[numpy.int64]"
    """The followed pass: 0 the line itself, positive to its right."""
    receiver_drift_error: "numpy.typing.NDArray[numpy.float64]"
    """What the receiver's drift has of the errors, of which guidance can know nothing."""

    def __repr__(self) -> str:
        end = "" if self.engaged_to_the_end else f", dropped: {self.drop_reason}"
        return f"<DriveResult of {self.case}: {self.figures}{end}>"

    def columns(self) -> Dict[str, "numpy.typing.NDArray[Any]"]:
        """All columns by their names, as for pandas.DataFrame()."""
        return {name: getattr(self, name) for name in _simulation.COLUMNS}

    def without_columns(self) -> "DriveResult":
        """The same with empty columns, which takes less memory where many are kept."""
        return dataclasses.replace(self, **{name: column[:0].copy()
                                            for name, column in self.columns().items()})

    def plot(self) -> Any:
        """The way from above and the errors along it, as a figure of matplotlib, whose savefig() writes
        it. Raises an ImportError that names the package where matplotlib is missing."""
        figure = needed("matplotlib.figure", "plots need", "matplotlib").Figure(
            figsize=(8.0, 8.0), layout="constrained")
        above, errors = figure.subplots(2, 1)
        above.plot(self.measured_x, self.measured_y, ".", markersize=2, color="0.7", label="measured")
        above.plot(self.true_x, self.true_y, label="machine")
        above.plot(self.implement_x, self.implement_y, linewidth=1, label="implement")
        above.set(xlabel="east, m", ylabel="north, m", aspect="equal", adjustable="datalim",
                  title=str(self.case))
        errors.plot(self.way, 100.0 * self.cross_track_error, label="machine")
        errors.plot(self.way, 100.0 * self.implement_cross_track_error, linewidth=1, label="implement")
        errors.set(xlabel="way since engaged, m", ylabel="cross-track error, cm")
        for axes in (above, errors):
            axes.grid(True)
            axes.legend()
        return figure
