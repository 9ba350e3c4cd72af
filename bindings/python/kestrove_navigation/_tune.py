"""The search for a tuning that drives better."""

import concurrent.futures
import dataclasses
import itertools
import math
from typing import Any, Callable, Dict, Iterable, List, Optional, Sequence, Tuple

import numpy

from ._cases import Case, DriveResult, Tuning, needed, whole
from ._sweep import Bar, Failure, Progress, executor_for, sweep

Cost = Callable[[DriveResult], float]

BOUNDS: Dict[str, Tuple[float, float]] = {
    "sensitivity": (0.2, 3.0), "aggressiveness": (0.2, 3.0), "overshoot": (0.2, 3.0),
    "speed_adjust": (0.0, 3.0), "look_ahead_time": (0.5, 5.0)}
"""What is searched unless said otherwise."""
_DROPPED = 10.0
_DIGITS = 3


def error_95(result: DriveResult) -> float:
    """The 95 % error of what the case keeps on the line, metres; 10 m for a drive that steering was
    dropped in, so that no tuning gains by that."""
    if not result.engaged_to_the_end:
        return _DROPPED
    is_implement = result.case.guide == "implement"
    return result.figures.implement_error_95 if is_implement else result.figures.error_95


@dataclasses.dataclass(frozen=True)
class TuneResult:
    """What a search has found. Costs are means over the drives, in the unit of the cost: metres,
    unless another cost was given."""

    start: Tuning
    tuning: Tuning
    """The best found, rounded to thousandths, as the commands set it."""
    seen: Tuple[float, float]
    """The costs of the start values and of the tuning, on the drives that were searched with."""
    unseen: Tuple[float, float]
    """The same on drives with seeds that the search has not seen."""
    better: int
    """How many of the unseen drives became better."""
    drives: int
    """How many unseen drives there are."""
    evaluations: int
    """How many tunings were tried."""

    @property
    def gain(self) -> float:
        """By which part of itself the cost fell on the unseen seeds; negative when it rose."""
        before, after = self.unseen
        return 1.0 - after / before if before > 0.0 else 0.0

    @property
    def commands(self) -> Tuple[str, ...]:
        """The commands that set a service to the tuning found; none when nothing was gained."""
        return self.tuning.commands() if self.gain > 0.0 else ()

    def __str__(self) -> str:
        lines = [f"{self.evaluations} tunings tried",
                 f"  seeds searched with: {self.seen[0]:.4g} at the start, {self.seen[1]:.4g} found",
                 f"  seeds not seen:      {self.unseen[0]:.4g} at the start, {self.unseen[1]:.4g} found: "
                 f"{100.0 * self.gain:+.1f} % gain, better in {self.better} of {self.drives} drives"]
        return "\n".join([*lines, *(self.commands or ["Nothing gained: keep the start values."])])


@dataclasses.dataclass(frozen=True)
class _Goal:
    """What the search makes small: the mean cost of some drives, over the values of a tuning. Goes to
    the workers."""

    cases: Tuple[Case, ...]
    names: Tuple[str, ...]
    cost: Cost

    def tuning(self, values: Sequence[float]) -> Tuning:
        """The tuning that some values stand for."""
        return dataclasses.replace(self.cases[0].tuning, **{
            name: round(float(value), _DIGITS) for name, value in zip(self.names, values)})

    def __call__(self, values: Sequence[float]) -> float:
        tuning = self.tuning(values)
        return _mean([self.cost(dataclasses.replace(case, tuning=tuning).drive())
                      for case in self.cases])


def _mean(costs: Sequence[float]) -> float:
    return math.fsum(costs) / len(costs)


def _listed(what: str, values: Iterable[Any]) -> Tuple[Any, ...]:
    listed = tuple(values)
    if not listed:
        raise ValueError(f"{what} is empty, allowed is one value or more")
    return listed


def _seeds_of(seeds: Iterable[int], unseen_seeds: Optional[Iterable[int]]) -> \
        Tuple[Tuple[int, ...], Tuple[int, ...]]:
    seen = _listed("seeds", (whole("seeds", seed, 0, 10 ** 15) for seed in seeds))
    following = range(max(seen) + 1, max(seen) + 1 + len(seen))
    unseen = _listed("unseen_seeds", (whole("unseen_seeds", seed, 0, 10 ** 15) for seed in (
        following if unseen_seeds is None else unseen_seeds)))
    both = sorted(set(seen) & set(unseen))
    if both:
        raise ValueError(f"unseen_seeds has {both[0]}, allowed is what seeds has not")
    return seen, unseen


def _bounds_of(given: Optional[Dict[str, Tuple[float, float]]], start: Tuning) -> \
        Dict[str, Tuple[float, float]]:
    bounds = dict(BOUNDS if given is None else given)
    _listed("bounds", bounds)
    for name, limits in bounds.items():
        if name not in BOUNDS:
            raise ValueError(f"bounds has {name!r}, allowed is {', '.join(BOUNDS)}")
        low, high = limits
        for limit in (low, high):
            dataclasses.replace(start, **{name: limit})  # says what is allowed
        value = getattr(start, name)
        if not low < high or not low <= value <= high:
            raise ValueError(f"bounds of {name} are {low!r} and {high!r}, allowed are two in rising "
                             f"order, with the start value {value!r} within")
    return bounds


def _costs(goal: _Goal, tuning: Tuning, executor: concurrent.futures.Executor) -> List[float]:
    """What each drive costs with a tuning."""
    costs = []
    for result in sweep([dataclasses.replace(case, tuning=tuning) for case in goal.cases], executor,
                        progress=False):
        if isinstance(result, Failure):
            raise RuntimeError(str(result)) from result.error
        costs.append(goal.cost(result))
    return costs


def _search(goal: _Goal, bounds: Dict[str, Tuple[float, float]], options: Dict[str, Any],
            executor: concurrent.futures.Executor, progress: Progress) -> Any:
    """What SciPy's differential evolution finds."""
    optimize = needed("scipy.optimize", "tune() needs", "scipy")
    of_a_generation = max(5, options["popsize"] * len(bounds))  # SciPy's least is 5
    bar = Bar((options["maxiter"] + 1) * of_a_generation, progress, "tunings")

    def evaluated(function: Callable[[Any], float], population: Iterable[Any]) -> List[float]:
        costs = []
        for cost in executor.map(function, list(population)):
            costs.append(cost)
            bar.step()
        return costs

    lowest, highest = (numpy.array(limits) for limits in zip(*bounds.values()))
    start = numpy.array([getattr(goal.cases[0].tuning, name) for name in bounds])
    margin = 1e-9 * (highest - lowest)  # SciPy refuses what rounding puts out of the bounds
    try:
        return optimize.differential_evolution(
            goal, list(bounds.values()), workers=evaluated, updating="deferred", polish=False,
            x0=numpy.clip(start, lowest + margin, highest - margin), **options)
    finally:
        bar.end()


def tune(case: Case, seeds: Iterable[int] = (1, 2, 3, 4), speeds: Optional[Iterable[float]] = None,
         grounds: Optional[Iterable[Any]] = None, unseen_seeds: Optional[Iterable[int]] = None,
         bounds: Optional[Dict[str, Tuple[float, float]]] = None, cost: Cost = error_95,
         generations: int = 10, population: int = 5, search_seed: int = 1,
         executor: Optional[concurrent.futures.Executor] = None, progress: Progress = True,
         report: bool = True) -> TuneResult:
    """Searches a tuning with which the drives of all seeds, speeds and grounds cost least.

    case is what all drives have in common, and its tuning is the start; speeds and grounds are the
    case's own unless given. bounds says which of the five values are searched, and from where to
    where; without it all are, within BOUNDS. cost makes a number of a result, less is better; it goes
    to the workers, so that it must be a function of a module. SciPy's differential evolution tries
    population times as many tunings as there are values, generations times and once more; the same
    search_seed searches the same way. executor and progress are as for sweep().

    Then the found tuning and the start drive with unseen_seeds, as many others as there are seeds
    unless given, and report prints the gain there, with the commands that set a service. A tuning that
    gains on the seeds searched with alone has learnt those by heart.

    Raises a ValueError for a value that is not allowed, a RuntimeError that names the first case which
    cannot be driven, and an ImportError that names the package where SciPy is missing.
    """
    if not isinstance(case, Case):
        raise ValueError(f"case is {case!r}, allowed is a Case")
    seen_seeds, other_seeds = _seeds_of(seeds, unseen_seeds)
    searched = _bounds_of(bounds, case.tuning)
    options: Dict[str, Any] = {
        "maxiter": whole("generations", generations, 1, 10000),
        "popsize": whole("population", population, 1, 1000),
        "seed": whole("search_seed", search_seed, 0, 2 ** 32 - 1), "tol": 0.0}
    surroundings = list(itertools.product(
        _listed("speeds", [case.speed] if speeds is None else speeds),
        _listed("grounds", [case.ground] if grounds is None else grounds)))

    def goal_of(of_seeds: Iterable[int]) -> _Goal:
        return _Goal(tuple(dataclasses.replace(case, seed=seed, speed=speed, ground=ground, name="")
                           for seed in of_seeds for speed, ground in surroundings),
                     tuple(searched), cost)

    goal, unseen = goal_of(seen_seeds), goal_of(other_seeds)
    with executor_for(executor, options["popsize"] * len(searched)) as pool:
        before = _costs(goal, case.tuning, pool)
        before_unseen = _costs(unseen, case.tuning, pool)
        found = _search(goal, searched, options, pool, progress)
        tuning = goal.tuning(found.x)
        after_unseen = _costs(unseen, tuning, pool)
    result = TuneResult(
        start=case.tuning, tuning=tuning, seen=(_mean(before), float(found.fun)),
        unseen=(_mean(before_unseen), _mean(after_unseen)),
        better=sum(new < old for new, old in zip(after_unseen, before_unseen)),
        drives=len(after_unseen), evaluations=int(found.nfev))
    if report:
        print(result)
    return result
