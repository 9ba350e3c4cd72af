"""Many drives at once: in processes, in threads, on a cluster."""

import concurrent.futures
import os
import pty
import subprocess
import sys
import textwrap
import threading
import unittest

from kestrove_navigation import AbWayline

try:
    from kestrove_navigation.simulation import Case, DriveResult, Failure, sweep
    from simulation_test import same
except ImportError:
    Case = None
try:
    import distributed
except ImportError:
    distributed = None

NORTH = AbWayline((0, 0, 0), (0, 100, 0))


def cases_of(count, seconds=2):
    """Cases whose results differ."""
    return [Case(NORTH, seconds=seconds, seed=seed, speed=1.0 + 0.25 * (seed % 8), ground="field")
            for seed in range(count)]


class CWatchedExecutor(concurrent.futures.ThreadPoolExecutor):
    """One worker, whose futures are kept."""

    def __init__(self):
        super().__init__(1)
        self.futures = []

    def submit(self, *arguments, **named):  # pylint: disable=arguments-differ
        self.futures.append(super().submit(*arguments, **named))
        return self.futures[-1]


class CBackwards(concurrent.futures.Executor):
    """Does the last that it was given first, when all are there."""

    def __init__(self, count):
        self.count = count
        self.work = []

    def submit(self, function, *arguments):  # pylint: disable=arguments-differ
        future = concurrent.futures.Future()
        self.work.append((future, function, arguments))
        if len(self.work) == self.count:
            for waiting, called, given in reversed(self.work):
                waiting.set_result(called(*given))
        return future


@unittest.skipUnless(Case, "no NumPy; scripts/setup test installs python3-numpy")
class Sweeps(unittest.TestCase):
    def assert_are_those_of(self, cases, results):
        self.assertEqual(len(cases), len(results))
        for case, result in zip(cases, results):
            self.assertTrue(same(case.drive(), result), str(case))
            self.assertEqual(case.seed, result.case.seed)

    def test_are_done_by_processes_of_this_machine(self):
        cases = cases_of(6)
        self.assert_are_those_of(cases, sweep(cases))

    def test_are_done_by_any_executor_and_come_in_the_order_of_the_cases(self):
        cases = cases_of(5)
        with concurrent.futures.ThreadPoolExecutor(3) as executor:
            self.assert_are_those_of(cases, sweep(iter(cases), executor))
            self.assertEqual(1, executor.submit(lambda: 1).result())  # it is still the caller's
        self.assert_are_those_of(cases, sweep(cases, CBackwards(5)))

    def test_of_nothing_give_nothing(self):
        self.assertEqual([], sweep([]))

    def test_leave_columns_empty_where_that_is_asked_for(self):
        case, = cases_of(1)
        result, = sweep([case], columns=False)
        self.assertEqual(case.drive().figures, result.figures)
        self.assertEqual({0}, {len(column) for column in result.columns().values()})

    def test_name_a_case_that_fails_and_keep_the_others(self):
        cases = cases_of(4)
        cases[1:1] = [Case(NORTH, start=(50.0, 0.0, 0.0), seed=9)]
        cases[3:3] = [Case(AbWayline((0, 0, 0), (0, 0, 0)), name="no line")]
        with self.assertWarnsRegex(RuntimeWarning, r"case 1 \(AbWayline, seed=9, .*cannot be engaged"):
            results = sweep(cases)
        good = [result for result in results if isinstance(result, DriveResult)]
        self.assert_are_those_of([case for index, case in enumerate(cases) if index not in (1, 3)], good)
        self.assertEqual([1, 3], [result.index for result in results if isinstance(result, Failure)])
        self.assertIsInstance(results[1].error, RuntimeError)
        self.assertIsInstance(results[3].error, ValueError)
        self.assertIn("case 3 (no line) failed: ValueError: the line cannot be driven", str(results[3]))

    def test_keep_what_is_done_when_the_workers_are_lost(self):
        cases = cases_of(3)
        with concurrent.futures.ProcessPoolExecutor(1) as executor:
            self.assertIsInstance(executor.submit(os._exit, 1).exception(),
                                  concurrent.futures.process.BrokenProcessPool)
            with self.assertRaises(concurrent.futures.process.BrokenProcessPool):
                sweep(cases, executor)

    def test_refuse_what_is_no_case_before_they_begin(self):
        with self.assertRaisesRegex(ValueError, "case 1 is 7, allowed is a Case"):
            sweep([*cases_of(1), 7])

    def test_report_their_progress_to_a_callable(self):
        reports = []
        sweep(cases_of(3), progress=lambda done, total: reports.append((done, total)))
        self.assertEqual([(1, 3), (2, 3), (3, 3)], reports)

    def test_are_cancelled_by_what_the_callable_raises(self):
        def stop(_, __):
            raise InterruptedError("enough")
        with CWatchedExecutor() as executor:
            hold = threading.Event()
            executor.submit(hold.wait)
            first = executor.submit(int)  # is done before any drive
            del first
            cases = cases_of(40)
            # The first drive that is done raises; the others have hardly begun.
            threading.Timer(0.0, hold.set).start()
            with self.assertRaisesRegex(InterruptedError, "enough"):
                sweep(cases, executor, progress=stop)
            cancelled = [future for future in executor.futures if future.cancelled()]
        self.assertGreater(len(cancelled), 0)
        self.assertTrue(executor.futures[-1].cancelled())

    def test_are_cancelled_by_whoever_ends_the_executor(self):
        cases = cases_of(20)
        executor = CWatchedExecutor()

        def end(_, __):
            executor.shutdown(wait=False, cancel_futures=True)
        with self.assertWarnsRegex(RuntimeWarning, "CancelledError"):
            results = sweep(cases, executor, progress=end)
        executor.shutdown()
        self.assertIsInstance(results[0], DriveResult)
        self.assertIsInstance(results[-1], Failure)

    def test_are_cancelled_by_ctrl_c_and_leave_no_process(self):
        program = textwrap.dedent("""
            import multiprocessing, os, signal
            from kestrove_navigation import AbWayline
            from kestrove_navigation.simulation import Case, sweep

            def stop(done, total):
                os.kill(os.getpid(), signal.SIGINT)
            try:
                sweep([Case(AbWayline((0, 0, 0), (0, 100, 0)), seconds=2)] * 500, progress=stop)
            except KeyboardInterrupt:
                print("cancelled", len(multiprocessing.active_children()))
            """)
        ended = subprocess.run([sys.executable, "-B", "-c", program], capture_output=True, text=True,
                               timeout=100, check=False)
        self.assertEqual("cancelled 0\n", ended.stdout, ended.stderr)


PROGRAM = textwrap.dedent("""
    from kestrove_navigation import AbWayline
    from kestrove_navigation.simulation import Case, sweep
    sweep([Case(AbWayline((0, 0, 0), (0, 100, 0)), seconds=1)] * 4)
    """)


@unittest.skipUnless(Case, "no NumPy; scripts/setup test installs python3-numpy")
class Bars(unittest.TestCase):
    def test_are_shown_on_a_terminal(self):
        ours, theirs = pty.openpty()
        with subprocess.Popen([sys.executable, "-B", "-c", PROGRAM], stdout=subprocess.PIPE,
                              stderr=theirs) as process:
            os.close(theirs)
            shown = b""
            try:
                while data := os.read(ours, 4096):
                    shown += data
            except OSError:
                pass  # the end of a terminal
            self.assertEqual(b"", process.stdout.read())
        os.close(ours)
        self.assertEqual(0, process.returncode)
        self.assertRegex(shown.decode(), r"\r\[#+\] 4 of 4 drives, 0 s left\r?\n\Z")

    def test_are_not_shown_in_a_pipe(self):
        ended = subprocess.run([sys.executable, "-B", "-c", PROGRAM], capture_output=True, check=False)
        self.assertEqual((0, b"", b""), (ended.returncode, ended.stdout, ended.stderr))


@unittest.skipUnless(Case and distributed, "no Dask; scripts/setup test installs python3-distributed")
class Clusters(unittest.TestCase):
    """A scheduler and two workers, processes of this machine that speak over its loopback."""

    @classmethod
    def setUpClass(cls):
        cluster = distributed.LocalCluster(
            n_workers=2, threads_per_worker=1, processes=True, host="127.0.0.1", protocol="tcp",
            dashboard_address=None, silence_logs=50)
        cls.addClassCleanup(cluster.close)
        cls.client = distributed.Client(cluster)
        cls.addClassCleanup(cls.client.close)
        cls.client.wait_for_workers(2)

    def test_drive_as_this_process_does(self):
        executor = self.client.get_executor()
        pids = set(self.client.run(os.getpid).values())
        self.assertEqual(2, len(pids - {os.getpid()}))
        cases = cases_of(6)
        for case, result in zip(cases, sweep(cases, executor)):
            self.assertTrue(same(case.drive(), result))
        done_by = {worker for workers in self.client.who_has().values() for worker in workers}
        self.assertLessEqual(len(done_by), 2)

    def test_name_a_case_that_fails_and_keep_the_others(self):
        cases = [Case(NORTH, seconds=1), Case(NORTH, start=(50.0, 0.0, 0.0), name="far off")]
        with self.assertWarnsRegex(RuntimeWarning, r"case 1 \(far off\) failed: RuntimeError: .*engaged"):
            good, bad = sweep(cases, self.client.get_executor())
        self.assertTrue(same(cases[0].drive(), good))
        self.assertIsInstance(bad, Failure)

    def test_are_cancelled(self):
        def stop(_, __):
            raise InterruptedError("enough")
        with self.assertRaises(InterruptedError):
            sweep(cases_of(60, seconds=4), self.client.get_executor(), progress=stop)
        case, = cases_of(1)
        result, = sweep([case], self.client.get_executor())  # it goes on with other work
        self.assertTrue(same(case.drive(), result))


if __name__ == "__main__":
    unittest.main()
