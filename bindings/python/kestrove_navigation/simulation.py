"""The simulated machine as a library: drives in this process, without a service and its port.

    from kestrove_navigation import AbWayline
    from kestrove_navigation.simulation import drive

    result = drive(AbWayline((0, 0, 0), (0, 100, 0)), speed=2.5, seconds=120, ground="field")
    print(f"{100 * result.figures.error_95:.1f} cm, 95 %")

The same arguments give the same drive, bit for bit, on one build and machine. Nothing is shared
between drives: several go on at once, in threads too, as they do not hold the GIL. sweep() drives many
cases over an executor, tune() searches a better tuning. Needs NumPy; tune() SciPy; plots matplotlib.
docs/driving-in-python.md is the guide.
"""

from typing import Tuple, Union

from ._cases import Case, DriveResult, Figures, Ground, Machine, Receiver, Tuning
from ._navigation import Wayline
from ._sweep import Failure, plot_sweep, sweep
from ._tune import TuneResult, error_95, tune

__all__ = ["Case", "DriveResult", "Failure", "Figures", "Ground", "Machine", "Receiver", "TuneResult",
           "Tuning", "drive", "error_95", "plot_sweep", "sweep", "tune"]


def drive(line: Wayline, speed: float = 2.5, seconds: float = 60.0, seed: int = 1,
          machine: Machine = Machine(), ground: Union[str, Ground] = "firm",
          receiver: Union[str, Receiver] = "rtk", tuning: Tuning = Tuning(), *,
          start: Tuple[float, float, float] = (0.0, 0.0, 0.0), lead: float = 0.0,
          guide: str = "machine", follow_nearest_pass: bool = False) -> DriveResult:
    """Drives the machine along a line, and gives how it really went.

    The arguments are those of Case, with metres, seconds and radians. Steering is engaged after the
    lead; once it is dropped, the machine goes on without to the end of the time.

    Raises a ValueError that names the value and what is allowed, also where the line makes none that
    can be driven, and a RuntimeError with the reason where steering cannot be engaged. Ctrl-C ends a
    drive.
    """
    return Case(line, speed, seconds, seed, machine, ground, receiver, tuning, start, lead, guide,
                follow_nearest_pass).drive()
