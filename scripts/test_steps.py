"""The steps of scripts/test, which are run in lanes: those of a lane one after another, the lanes
side by side, so that a processor which one lane leaves idle works for another. A step waits for
those that it needs, and is left out when one of them has failed."""

import os
import re
import signal
import subprocess
import sys
import threading
import time
from dataclasses import dataclass, field
from pathlib import Path

PROJECT = Path(__file__).resolve().parent.parent
SKIPPED = 77
GOOD = ("passed", "SKIPPED")
LINES_OF_A_FAILURE = 60
CLOSING_LINE = re.compile(r"^\d+% tests passed.*$", re.MULTILINE)
# Where GoogleTest and Python's unittest begin to say what has failed, and how much of it is repeated.
FAILURE = re.compile(r": Failure$|^(FAIL|ERROR): |^AssertionError")
LINES_EACH, MOST_LINES = 5, 40
SKIPPED_TEST = re.compile(r"^\s+\d+ - (\S+) \(Skipped\)$", re.MULTILINE)


def end(process):
    """Ends a process with its children, unless it has ended."""
    if process.poll() is None:
        try:
            os.killpg(process.pid, signal.SIGTERM)
        except ProcessLookupError:
            pass  # another thread has waited for it meanwhile


def told_by_ctest(text):
    """CTest's closing line, and the tests that were skipped."""
    skipped = SKIPPED_TEST.findall(text)
    return CLOSING_LINE.findall(text)[-1:] + (
        [f"{len(skipped)} skipped: {', '.join(skipped)}"] if skipped else [])


def failures_in(lines):
    """The beginnings of what tests say of their failures, so that the summary has them."""
    told, wanted = [], 0
    for line in lines:
        wanted = LINES_EACH if FAILURE.search(line) else wanted - 1
        if wanted > 0:
            told.append(line)
    return told[:MOST_LINES]


@dataclass
class Step:
    """A command, and what became of it."""

    name: str
    lane: str
    command: list
    needs: tuple = ()  # names of earlier steps
    notes: Path = None  # a directory whose files have further lines for the summary
    may_skip: bool = False  # its exit code 77 says that it was skipped
    result: str = "not run"
    seconds: float = 0.0
    told: list = field(default_factory=list)  # lines for the summary
    done: threading.Event = field(default_factory=threading.Event)

    @property
    def log_name(self):
        """Its log's name in the directory of logs."""
        return re.sub(r"[^a-z0-9]+", "-", self.name.lower()).strip("-") + ".log"


class Run:
    """One run of all steps."""

    def __init__(self, steps, logs):
        self.steps, self.logs = steps, Path(logs)
        self.start = time.monotonic()
        self.processes = []
        self.lock = threading.Lock()
        self.is_interrupted = False
        for index, step in enumerate(steps):
            earlier = {other.name for other in steps[:index]}
            assert set(step.needs) <= earlier, f"{step.name} needs what does not come before it"

    def say(self, text):
        """Prints a line with the time."""
        with self.lock:
            print(f"{time.monotonic() - self.start:6.0f} s  {text}", flush=True)

    def run(self):
        """Runs all steps; gives the exit code."""
        self.logs.mkdir(parents=True, exist_ok=True)
        for old in self.logs.glob("*.log"):
            old.unlink()
        lanes = list(dict.fromkeys(step.lane for step in self.steps))
        threads = [threading.Thread(target=self._run_lane, args=(lane,)) for lane in lanes]
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            signal.signal(number, self._interrupt)
        for thread in threads:
            thread.start()
        for thread in threads:
            while thread.is_alive():
                thread.join(1)  # a signal that another thread has taken is handled between two of these
        return self._summarise()

    def _run_lane(self, lane):
        for step in (each for each in self.steps if each.lane == lane):
            try:
                for other in self.steps:
                    if other.name in step.needs:
                        other.done.wait()
                if not self.is_interrupted and self._has_what_it_needs(step):
                    self._run_step(step)
            except Exception as error:  # pylint: disable=broad-except # is not a success
                step.result = f"FAILED: {error}"
                self.say(f"{step.name}: {step.result}")
            finally:
                step.done.set()

    def _has_what_it_needs(self, step):
        return all(other.result == "passed" for other in self.steps if other.name in step.needs)

    def _run_step(self, step):
        log, start = self.logs / step.log_name, time.monotonic()
        self.say(f"{step.name} ... (log: {log})")
        with open(log, "wb") as output:
            with self.lock:
                # In a process group of its own, which an interruption ends as a whole.
                process = subprocess.Popen(step.command, stdin=subprocess.DEVNULL, stdout=output,
                                           stderr=subprocess.STDOUT, start_new_session=True)
                self.processes.append(process)
            if self.is_interrupted:
                end(process)
            status = process.wait()
        step.seconds = time.monotonic() - start
        text = log.read_text(encoding="utf-8", errors="replace")
        lines = text.strip().splitlines()
        step.told += told_by_ctest(text)
        if status == 0:
            step.result = "passed"
        elif status == SKIPPED and step.may_skip:
            step.result = "SKIPPED"
            step.told += lines[-1:]
        else:
            step.result = f"FAILED with {status}"
        if step.notes and step.notes.is_dir():
            step.told += [line for note in sorted(step.notes.iterdir())
                          for line in note.read_text(encoding="utf-8").splitlines()]
        if step.result not in GOOD:
            step.told += failures_in(lines)
            self.say("\n".join([f"{step.name}: {step.result}; the end of {log}:",
                                *lines[-LINES_OF_A_FAILURE:]]))
        else:
            self.say(f"{step.name}: {step.result} after {step.seconds:.0f} s")

    def _interrupt(self, *_):
        # A step that is just being started sees this, or is among the processes already.
        self.is_interrupted = True
        for process in self.processes:
            end(process)

    def _summarise(self):
        width = max(len(step.name) for step in self.steps)
        print(f"\n{'step':{width}}  seconds  result")
        for step in self.steps:
            print(f"{step.name:{width}}  {step.seconds:7.0f}  {step.result}")
        print()
        for step in self.steps:
            for line in step.told:
                print(f"{step.name}: {line}")
        bad = [step.name for step in self.steps if step.result not in GOOD]
        total = time.monotonic() - self.start
        if bad:
            print(f"\n== FAILED in {total:.0f} s: {', '.join(bad)}", flush=True)
            return 1
        print(f"\n== passed in {total:.0f} s", flush=True)
        return 0


def build(preset, *arguments):
    """Configures and builds a preset. Builds give way to the tests that run beside them."""
    command = 'cmake --preset "$@" && exec nice -n 5 cmake --build --preset "$1"'
    return Step(f"{preset}: build", "build", ["sh", "-ec", command, "sh", preset, *arguments])


def has_networks():
    """Whether each test can have a network of its own."""
    return subprocess.run([PROJECT / "scripts/isolated", "--is-possible"], check=False).returncode == 0


def ctest_command(directory, timeout, *arguments):
    """Runs tests of a build: most wait more than they calculate, so there are twice as many at a
    time as there are processors. Where each cannot have a network of its own, one at a time, so that
    no test spends its time-out waiting for its turn."""
    # Some systems scatter memory in a way that the sanitizers cannot map.
    fixed = ["setarch", "--addr-no-randomize"]
    if subprocess.run([*fixed, "true"], stderr=subprocess.DEVNULL, check=False).returncode != 0:
        fixed = []
    parallel = 2 * len(os.sched_getaffinity(0)) if has_networks() else 1
    return [*fixed, "ctest", "--test-dir", str(directory), "--parallel", str(parallel),
            "--output-on-failure", "--no-tests=error", "--timeout", str(timeout), *arguments]


def ctest(preset, name, *arguments):
    """Runs tests of a preset."""
    directory = Path("build", preset)
    return Step(f"{preset}: {name}", "run", ctest_command(directory, 300, *arguments),
                (f"{preset}: build",), directory / "test-notes")


def short_steps(is_full):
    """What every run has."""
    # Building the programs once more takes as long as everything else of this step.
    parts = [f"-DKESTROVE_BUILD_{part}={'ON' if is_full else 'OFF'}"
             for part in ("PROGRAMS", "EXAMPLES", "PYTHON")]
    # The benchmarks are built, and seen to run, by --full alone: they assert no time.
    benchmarks = f"-DKESTROVE_BUILD_BENCHMARKS={'ON' if is_full else 'OFF'}"
    return [
        build("release", benchmarks), build("asan", *parts),
        Step("fuzz targets: build", "build", ["nice", "-n", "5", "scripts/fuzz", "build"]),
        ctest("release", "tests", "--label-exclude", "long"),
        ctest("asan", "tests", "--label-exclude", "long"),
        Step("fuzz targets: a minute each" if is_full else "fuzz targets: 3 s each",
             "beside" if is_full else "run", ["scripts/fuzz", "60" if is_full else "3"],
             ("fuzz targets: build",)),
    ]


def full_steps():
    """What --full has besides."""
    others = []
    for preset in ("cxx20", "tsan", "clang"):
        others += [build(preset), ctest(preset, "tests", "--label-exclude", "long|packaging")]
    packages = "build/package/packages"
    return [
        ctest("release", "long tests", "--label-regex", "long"),
        *others,
        Step("valgrind over the unit tests", "run",
             ["scripts/valgrind-unit-tests", "build/cxx20"], ("cxx20: build",)),
        Step("clang-tidy", "build", ["nice", "-n", "5", "scripts/lint"]),
        Step("packages", "build", ["scripts/package"]),
        Step("packages in a clean root", "build",
             ["tests/packaging/install_in_clean_root.sh", packages, "examples/engage.cpp"],
             ("packages",), may_skip=True),
        Step("soak, 10 minutes", "beside", ["scripts/soak", "--minutes", "10"],
             ("release: build",)),
        Step("bare root", "beside", ["scripts/bare-root"], may_skip=True),
    ]


def in_lanes(steps):
    """Steps that share the machine's network come one after another: all are of one lane then."""
    if not has_networks():
        for step in steps:
            step.lane = "run"
    return steps


def main():
    is_full = sys.argv[1:] == ["--full"]
    os.chdir(PROJECT)
    steps = in_lanes(short_steps(is_full) + (full_steps() if is_full else []))
    return Run(steps, "build/test").run()


if __name__ == "__main__":
    sys.exit(main())
