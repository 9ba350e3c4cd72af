#!/usr/bin/env python3
"""Measures navctl from start to end beside a bare client of the same calls.

usage: command_start.py [--results FILE] [--rounds N] [--runs N] NAVCTL BARE_CLIENT SIMULATOR

Both ask a simulator on port 5010 for the implement's width and print it. A round is the time of so many
runs of each, in turn, so that what disturbs one disturbs the other; its figure is the run in the middle.
With --results, writes the rows of the table of scripts/benchmark.
"""

import argparse
import json
import os
import statistics
import subprocess
import sys
import time

MOST = 2.0


def run(command):
    """Seconds from start to end, and processor seconds; the output is dropped."""
    silence = [(os.POSIX_SPAWN_OPEN, 1, os.devnull, os.O_WRONLY, 0)]
    begin = time.monotonic()
    process = os.posix_spawn(command[0], command, os.environ, file_actions=silence)
    _, status, usage = os.wait4(process, 0)
    seconds = time.monotonic() - begin
    if status != 0:
        raise RuntimeError(f"{command[0]} failed: {status}")
    return seconds, usage.ru_utime + usage.ru_stime


def spread(figures):
    return {"median": statistics.median(figures), "lowest": min(figures), "highest": max(figures)}


def row_of(what, ours, theirs, target):
    row = {"what": what, "unit": "ms", "rounds": len(ours), "figure": spread(ours),
           "yardstick": {**spread(theirs), "name": "a bare client of the same calls"},
           "ratio": spread([one / other for one, other in zip(ours, theirs)])}
    if target:
        row |= {"target": {"at most": MOST}, "reached": row["ratio"]["median"] <= MOST}
    return row


def measure(commands, rounds, runs):
    """For each command a list of the rounds' seconds, and one of their processor seconds."""
    figures = [([], []) for _ in commands]
    for number in range(rounds + 1):
        taken = [[run(command) for command in commands] for _ in range(runs)]
        for place, (seconds, used) in enumerate(figures):
            if number > 0:  # the first fills the caches
                seconds.append(1e3 * statistics.median(each[place][0] for each in taken))
                used.append(1e3 * statistics.median(each[place][1] for each in taken))
    return figures


def main():
    arguments = argparse.ArgumentParser()
    arguments.add_argument("--results")
    arguments.add_argument("--rounds", type=int, default=9)
    arguments.add_argument("--runs", type=int, default=21)
    arguments.add_argument("navctl")
    arguments.add_argument("bare_client")
    arguments.add_argument("simulator")
    given = arguments.parse_args()
    commands = [[given.navctl, "get-implement-width"], [given.bare_client]]
    with subprocess.Popen([given.simulator], stdout=subprocess.PIPE, text=True) as simulator:
        try:
            simulator.stdout.readline()  # it listens
            answers = [subprocess.run(command, check=True, capture_output=True, text=True).stdout
                       for command in commands]
            if float(answers[0]) != float(answers[1]):
                raise RuntimeError(f"the answers differ: {answers}")
            ours, theirs = measure(commands, given.rounds, given.runs)
        finally:
            simulator.terminate()
    rows = [row_of("navctl get-implement-width, start to end", ours[0], theirs[0], True),
            row_of("navctl get-implement-width, processor time", ours[1], theirs[1], False)]
    for row in rows:
        print(f"{row['what']}: {row['figure']['median']:.2f} ms, {row['yardstick']['name']}: "
              f"{row['yardstick']['median']:.2f} ms, {row['ratio']['median']:.2f} times")
    if given.results:
        with open(given.results, "w", encoding="utf-8") as file:
            file.writelines(json.dumps(row) + "\n" for row in rows)
    return 0


if __name__ == "__main__":
    sys.exit(main())
