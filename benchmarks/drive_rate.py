#!/usr/bin/env python3
"""Measures how many simulated drives a second are done in process by one worker, two and as many as
there are processors, in processes and in threads.

usage: drive_rate.py [--results FILE] [--rounds N] [--drives N] [--seconds N] [--workers N,...]

The package kestrove_navigation must be found (PYTHONPATH). Each drive is of --seconds of the machine's
time along a straight line on field ground. Within a round all numbers of workers have their turn, so that
what disturbs one disturbs the others; ratios are to one process in the same round. Prints a line for each,
and what an hour takes in one drive without a sweep. With --results, writes the rows of the table of
scripts/benchmark.
"""

import argparse
import concurrent.futures
import json
import os
import statistics
import time

from kestrove_navigation import AbWayline
from kestrove_navigation.simulation import Case, drive, sweep

LINE = AbWayline((0, 0, 0), (0, 100, 0))
MOST_AN_HOUR = 0.5


def rate(executor, drives, seconds):
    """Drives a second."""
    cases = [Case(LINE, seconds=seconds, seed=seed, ground="field") for seed in range(drives)]
    begin = time.monotonic()
    results = sweep(cases, executor, progress=False, columns=False)
    taken = time.monotonic() - begin
    if not all(result.engaged_to_the_end for result in results):
        raise RuntimeError("a drive was dropped")
    return drives / taken


def hour():
    """Processor seconds of an hour in one drive of the default world."""
    begin = time.process_time()
    if not drive(LINE, seconds=3600.0).engaged_to_the_end:
        raise RuntimeError("the hour was dropped")
    return time.process_time() - begin


def figure_of(values):
    return {"median": statistics.median(values), "lowest": min(values), "highest": max(values)}


def row_of(what, unit, values):
    return {"what": what, "unit": unit, "rounds": len(values), "figure": figure_of(values)}


def main():
    arguments = argparse.ArgumentParser(description=__doc__,
                                        formatter_class=argparse.RawDescriptionHelpFormatter)
    arguments.add_argument("--results")
    arguments.add_argument("--rounds", type=int, default=5)
    arguments.add_argument("--drives", type=int, default=200)
    arguments.add_argument("--seconds", type=float, default=60.0)
    arguments.add_argument("--workers", default="")
    given = arguments.parse_args()
    processors = len(os.sched_getaffinity(0))
    workers = [int(number) for number in given.workers.split(",") if number] or \
        sorted({1, 2, processors})
    kinds = {"process": concurrent.futures.ProcessPoolExecutor,
             "thread": concurrent.futures.ThreadPoolExecutor}
    rates = {(kind, number): [] for number in workers for kind in kinds}
    hours = []
    for _ in range(given.rounds):
        hours.append(hour())
        for (kind, number), values in rates.items():
            with kinds[kind](number) as executor:
                list(executor.map(abs, range(4 * number)))  # its workers are there
                values.append(rate(executor, given.drives, given.seconds))
    rows = [row_of("an hour of guidance in process, from Python", "s of a processor", hours)]
    rows[0].update(target={"at most": MOST_AN_HOUR},
                   reached=rows[0]["figure"]["median"] <= MOST_AN_HOUR)
    one = rates["process", workers[0]]
    for (kind, number), values in rates.items():
        plural = ("es" if kind == "process" else "s") if number > 1 else ""
        row = row_of(f"drives of {given.seconds:g} s, {number} {kind}{plural}", "a second", values)
        if values is not one:
            row["yardstick"] = {"name": f"{workers[0]} process", **figure_of(one)}
            row["ratio"] = figure_of([value / alone for value, alone in zip(values, one)])
        rows.append(row)
    for row in rows:
        ratio = f", {row['ratio']['median']:.2f} times one process" if "ratio" in row else ""
        spread = "{median:.3g} ({lowest:.3g} to {highest:.3g})".format(**row["figure"])
        print(f"{row['what']}: {spread} {row['unit']}{ratio}")
    if given.results:
        with open(given.results, "w", encoding="utf-8") as file:
            file.writelines(json.dumps(row) + "\n" for row in rows)


if __name__ == "__main__":
    main()
