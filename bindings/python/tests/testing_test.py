"""The scripted service for applications' tests."""

import ast
import re
import subprocess
import sys
import tempfile
import textwrap
import threading
import unittest
from pathlib import Path

from kestrove_navigation import AbWayline, ErrorCode, NavigationClient, Offset, _testing
from kestrove_navigation.testing import Answer, Listen, Received, ScriptedService

try:
    import pytest
except ImportError:
    pytest = None

PACKAGE = Path(__file__).resolve().parents[1] / "kestrove_navigation"


class Case(unittest.TestCase):
    def setUp(self):
        self.service = self.enterContext(ScriptedService())
        self.client = self.enterContext(NavigationClient())
        self.client.timeout = 30.0


class Script(Case):
    def test_answers_expected_calls(self):
        self.service.expect("SetFieldOffset", [1, 2.5], 1)
        self.service.expect("get_wayline", [], [0, 0.0, 0.0, 0.0, 1.0, 1.0, 0.0])
        self.assertEqual(1, self.client.set_field_offset(2.5))
        self.assertEqual(AbWayline((0, 0, 0), (1, 1, 0)), self.client.get_wayline())
        self.assertEqual([], self.service.problems())

    def test_shows_what_did_not_go_by_it(self):
        self.service.expect("SetFieldOffset", [1, 2.5], 1)
        self.assertEqual(-1, self.client.set_field_offset(1.5))
        self.assertEqual(["unexpected: SetFieldOffset [int 1, double 1.5]",
                          "did not come: SetFieldOffset [int 1, double 2.5]"],
                         self.service.problems())
        self.service.forget_script()
        self.assertEqual([], self.service.problems())

    def test_gives_answers_of_every_kind(self):
        name = "GetImplementWidth"
        for answer, value, code in (
                (0.1, 0.1, None), (Answer(7), 7.0, None), (None, -1.0, ErrorCode.NO_VALUE),
                (Answer.error("no GNSS"), -1.0, ErrorCode.SERVICE_ERROR),
                (Answer(0.5).after(0.001), 0.5, None),
                (Answer.drop_link(), -1.0, ErrorCode.CLOSED),
                (Answer.reset_link(), -1.0, ErrorCode.CLOSED)):
            with self.subTest(value=value, code=code):
                self.service.answer(name, answer)
                self.assertEqual(value, self.client.get_implement_width())
                self.assertIs(code, self.client.last_error and self.client.last_error.code)
        self.service.answer(name, Answer.silence())
        self.client.timeout = 0.05
        self.client.get_implement_width()
        self.assertIs(ErrorCode.TIMED_OUT, self.client.last_error.code)

    def test_holds_answers_until_they_are_released(self):
        self.service.answer("GetImplementWidth", Answer(6.0).held())
        widths = []
        caller = threading.Thread(
            target=lambda: widths.append(self.client.get_implement_width()))
        caller.start()
        self.assertTrue(self.service.wait_for_calls("GetImplementWidth"))
        self.assertEqual([], widths)
        self.service.release_held()
        caller.join()
        self.assertEqual([6.0], widths)

    def test_refuses_what_cannot_be_sent(self):
        self.assertRaises(TypeError, self.service.answer, "x", object())
        self.assertRaises(TypeError, self.service.expect, "x", 1)
        self.assertRaises(ValueError, self.service.answer, "x", 2**40)
        self.assertRaises(OverflowError, self.service.push, "x", 2**70)
        self.assertRaises(ValueError, Answer(1).after, -1)
        self.assertRaises(ValueError, self.service.wait_for_clients, 1, timeout=float("nan"))


class Events(Case):
    def test_are_pushed_to_who_has_subscribed(self):
        events = self.client.events(Offset)
        self.assertTrue(self.service.wait_for_subscriptions("cb_offsets"))
        self.service.push("cb_offsets", 0.1)
        self.assertEqual((0.1,), next(events))
        self.service.push_to_all("cb_offsets", 0.2)
        self.assertEqual((0.2,), next(events))
        self.service.send_bytes(b"\x93\x02\xaacb_offsets\x91\xcb\x3f\xe0\0\0\0\0\0\0")
        self.assertEqual((0.5,), next(events))
        self.assertEqual([], self.service.problems())

    def test_that_nobody_takes_are_shown(self):
        self.service.push("cb_ofsets", 0.5)
        (problem,) = self.service.problems()
        self.assertIn("cb_ofsets [double 0.5]", problem)

    def test_with_something_else_than_a_number_are_shown(self):
        self.client.on_wayline_status(lambda *_: None)
        self.client.on_draw_points(lambda _: None)
        for event in ("cb_wayline_status", "cb_draw_points"):
            self.assertTrue(self.service.wait_for_subscriptions(event))
        rows = (("cb_wayline_status", 1, "0", 0, 4, 0.5), ("cb_wayline_status", 1, 0, 0, [4], 0.5),
                ("cb_wayline_status", 1, 0, None, 4, 0.5), ("cb_draw_points", [0.5, 1.5]),
                ("cb_draw_points", "two"), ("cb_draw_points", 1, 0.5, None))
        for row in rows:
            with self.subTest(row):
                self.service.forget_script()
                self.service.push(*row)
                (problem,) = self.service.problems()
                self.assertIn("with something else than a number as element", problem)
        self.service.forget_script()
        self.service.push("cb_wayline_status", True, 0, 0, 4, 7)
        self.assertEqual([], self.service.problems())


class Record(Case):
    def test_holds_what_was_received(self):
        self.service.answer("SetFieldOffset", 1)
        self.client.on_offset(print)
        self.client.set_field_offset(0.1)
        self.client.set_position_data(*[0.1] * 14, True, 4, 12, True, False, 7, 0.5)
        self.assertTrue(self.service.wait_for_calls("SetPositionData", timeout=30))
        subscription, request, notification = self.service.received()
        self.assertEqual(Received("subscription", "cb_offsets", [], 1), subscription)
        self.assertEqual(Received("request", "SetFieldOffset", [1, 0.1], 1), request)
        self.assertEqual("notification", notification.kind)
        self.assertIsInstance(notification.arguments[0], str)
        self.assertEqual((1, 1), (self.service.call_count("SetFieldOffset"),
                                  self.service.subscription_count("cb_offsets")))
        self.service.forget_received()
        self.assertEqual([], self.service.received())


class Link(Case):
    def test_can_be_dropped_and_taken_up_again(self):
        self.service.answer("EngageSteering", 1)
        self.assertTrue(self.service.wait_for_accepted(1))
        for drop in (self.service.drop_link, self.service.reset_link):
            drop()
            self.assertEqual(1, self.client.engage_steering())
        self.service.stop()
        self.assertEqual(-1, self.client.engage_steering())
        self.service.listen(Listen.IPV4_ONLY)
        self.assertEqual(1, self.client.engage_steering())
        self.assertTrue(self.service.wait_for_accepted(4))
        self.assertTrue(self.service.wait_for_clients(1))
        self.assertEqual((1, 4), (self.service.client_count(), self.service.accepted_count()))
        self.assertFalse(self.service.wait_for_accepted(5, timeout=0))

    def test_is_free_after_the_end_and_taken_before(self):
        self.assertRaises(RuntimeError, ScriptedService)
        self.service.close()
        self.service.close()
        self.assertRaises(ValueError, self.service.problems)
        with ScriptedService(Listen.NOT) as service:
            self.assertEqual(-1, self.client.engage_steering())
            service.listen(Listen.BOTH)
            service.set_closes_at_accept(True)
            self.assertEqual(-1, self.client.engage_steering())


class Stubs(unittest.TestCase):
    def test_name_what_the_module_has(self):
        tree = ast.parse((PACKAGE / "_testing.pyi").read_text(encoding="utf-8"))
        for node in (node for node in tree.body if isinstance(node, ast.ClassDef)):
            if node.name == "Listen":
                continue
            methods = {member.name: member for member in node.body}
            real = vars(getattr(_testing, node.name))
            self.assertEqual({name for name in real if not name.startswith("_")},
                             {name for name in methods if not name.startswith("_")})
            for name, method in methods.items():
                document = getattr(getattr(_testing, node.name), name).__doc__
                named = re.findall(r"(?:\(|, )(\w+): ", document.partition("->")[0])
                with self.subTest(f"{node.name}.{name}"):
                    self.assertEqual([argument.arg for argument in method.args.args], named)


@unittest.skipUnless(pytest, "no pytest; scripts/setup test installs python3-pytest")
class Fixture(unittest.TestCase):
    def run_pytest(self, test):
        """What pytest says of a test of an application."""
        with tempfile.TemporaryDirectory() as folder:
            (Path(folder) / "conftest.py").write_text(
                'pytest_plugins = ["kestrove_navigation.pytest_plugin"]\n', encoding="utf-8")
            (Path(folder) / "test_application.py").write_text(
                "from kestrove_navigation import NavigationClient\n" + textwrap.dedent(test),
                encoding="utf-8")
            return subprocess.run(
                [sys.executable, "-B", "-m", "pytest", "-q", "-p", "no:cacheprovider", folder],
                text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)

    def test_is_a_service_for_the_time_of_a_test(self):
        ended = self.run_pytest("""
            def test_one(scripted_service):
                scripted_service.answer("EngageSteering", 1)
                assert NavigationClient().engage_steering() == 1
            def test_two(scripted_service):
                assert scripted_service.received() == []
            def test_three():
                assert NavigationClient().engage_steering() == -1
            """)
        self.assertEqual(0, ended.returncode, ended.stdout)
        self.assertIn("3 passed", ended.stdout)

    def test_fails_a_test_that_leaves_problems(self):
        ended = self.run_pytest("""
            def test_one(scripted_service):
                NavigationClient().engage_steering()
            """)
        self.assertEqual(1, ended.returncode, ended.stdout)
        self.assertIn("unexpected: EngageSteering [int 1]", ended.stdout)


if __name__ == "__main__":
    unittest.main()
