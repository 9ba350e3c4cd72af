"""Many simulated drives at once, over any executor of concurrent.futures."""

import concurrent.futures
import contextlib
import dataclasses
import os
import queue
import shutil
import signal
import sys
import time
import warnings
from typing import Any, Callable, Iterable, Iterator, List, Optional, Union

from ._cases import Case, DriveResult, needed

Progress = Union[bool, Callable[[int, int], Any]]


@dataclasses.dataclass(frozen=True, repr=False)
class Failure:
    """Stands in the results for a case that could not be driven."""

    index: int
    """Its place among the cases."""
    case: Case
    error: BaseException

    def __str__(self) -> str:
        return f"case {self.index} ({self.case}) failed: {type(self.error).__name__}: {self.error}"

    def __repr__(self) -> str:
        return f"<Failure: {self}>"


class Bar:
    """Shows how far many pieces of work are: on a terminal, or to a callable."""

    def __init__(self, total: int, progress: Progress, what: str) -> None:
        self._total = total
        self._what = what
        self._report = progress if callable(progress) else None
        self._is_shown = progress is True and sys.stderr.isatty()
        self._done = 0
        self._start = self._drawn = time.monotonic()

    def step(self) -> None:
        """One piece more is done."""
        self._done += 1
        if self._report is not None:
            self._report(self._done, self._total)
        now = time.monotonic()
        if self._is_shown and (now - self._drawn > 0.1 or self._done == self._total):
            self._drawn = now
            self._draw(now - self._start)

    def _draw(self, taken: float) -> None:
        left = taken / self._done * (self._total - self._done)
        text = f" {self._done} of {self._total} {self._what}, {left:.0f} s left"
        room = max(shutil.get_terminal_size().columns - len(text) - 3, 1)
        filled = room * self._done // self._total
        sys.stderr.write(f"\r[{'#' * filled}{'.' * (room - filled)}]{text}")
        sys.stderr.flush()

    def end(self) -> None:
        """Leaves the line of the bar."""
        if self._is_shown and self._done:
            sys.stderr.write("\n")
            sys.stderr.flush()


def _leave_interrupts_to_the_parent() -> None:
    signal.signal(signal.SIGINT, signal.SIG_IGN)


@contextlib.contextmanager
def executor_for(executor: Optional[concurrent.futures.Executor], most: int) -> \
        Iterator[concurrent.futures.Executor]:
    """The executor given, or else this machine's processes, no more than there is work for; those end
    with the context, and what they have not begun is not begun then."""
    if executor is not None:
        yield executor
        return
    own = concurrent.futures.ProcessPoolExecutor(
        max(1, min(len(os.sched_getaffinity(0)), most)), initializer=_leave_interrupts_to_the_parent)
    try:
        yield own
    finally:
        own.shutdown(cancel_futures=True)


def _driven(case: Case, columns: bool) -> DriveResult:
    result = case.drive()
    return result if columns else result.without_columns()


def _outcome(index: int, case: Case, future: "concurrent.futures.Future[DriveResult]") -> \
        Union[DriveResult, Failure]:
    try:
        return future.result()
    except (Exception, concurrent.futures.CancelledError) as error:  # pylint: disable=broad-except
        return Failure(index, case, error)


def sweep(cases: Iterable[Case], executor: Optional[concurrent.futures.Executor] = None,
          progress: Progress = True, columns: bool = True) -> List[Union[DriveResult, Failure]]:
    """Drives many cases and gives their results in the order of the cases.

    The executor is one of concurrent.futures, such as ThreadPoolExecutor, or Client.get_executor() of
    Dask, whose workers must have this package; without one, as many processes as this machine has
    processors for this one. A case that cannot be driven has a Failure in its place, and a
    RuntimeWarning names it; the others are driven.

    progress: True shows a bar where standard error is a terminal, False none; a callable is called
    with how many cases are done, and of how many. columns=False leaves the columns empty: ten minutes
    have a megabyte of them.

    An exception meanwhile, such as Ctrl-C or one of the callable, cancels what has not begun, and
    passes through.
    """
    all_cases = list(cases)
    for index, case in enumerate(all_cases):
        if not isinstance(case, Case):
            raise ValueError(f"case {index} is {case!r}, allowed is a Case")
    bar = Bar(len(all_cases), progress, "drives")
    futures: List["concurrent.futures.Future[DriveResult]"] = []
    with executor_for(executor, len(all_cases)) as pool:
        try:
            futures.extend(pool.submit(_driven, case, columns) for case in all_cases)
            # Not as_completed(), which waits for ever for what the end of an executor has cancelled.
            done: "queue.SimpleQueue[Any]" = queue.SimpleQueue()
            for future in futures:
                future.add_done_callback(done.put)
            for _ in futures:
                done.get()
                bar.step()
        except BaseException:
            for future in futures:
                future.cancel()
            raise
        finally:
            bar.end()
        results = [_outcome(index, case, future)
                   for index, (case, future) in enumerate(zip(all_cases, futures))]
    for result in results:
        if isinstance(result, Failure):
            warnings.warn(str(result), RuntimeWarning, stacklevel=2)
    return results


def plot_sweep(results: Iterable[Union[DriveResult, Failure]], x: str = "speed",
               figure: str = "error_95") -> Any:
    """One of the Figures of many drives over a number of their cases, as a figure of matplotlib.
    Failures are left out. Raises an ImportError that names the package where matplotlib is missing,
    and a ValueError for a name that is none."""
    shown = [result for result in results if isinstance(result, DriveResult)]
    for result in shown[:1]:
        for owner, name in ((result.case, x), (result.figures, figure)):
            if not isinstance(getattr(owner, name, None), (int, float)):
                raise ValueError(f"{name!r} is not a number of a {type(owner).__name__}")
    drawing = needed("matplotlib.figure", "plots need", "matplotlib").Figure(layout="constrained")
    axes = drawing.subplots()
    axes.plot([getattr(result.case, x) for result in shown],
              [getattr(result.figures, figure) for result in shown], "o")
    axes.set(xlabel=x, ylabel=f"{figure}, m")
    axes.grid(True)
    return drawing
