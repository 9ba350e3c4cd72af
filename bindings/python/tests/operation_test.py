"""Every operation of the library: its name and arguments on the link, its result, and its failure."""

import ast
import json
import re
import sys
import unittest
from pathlib import Path

from kestrove_navigation import (AbWayline, NavigationClient, NudgeReply, SplineWayline,
                                 TuningLimits, TuningParameter, Vector3, WaylineType)
from scripted_peer import SILENCE, ScriptedPeer

ROOT = Path(__file__).resolve().parents[3]
sys.path.insert(0, str(ROOT / "operations"))
import make  # pylint: disable=wrong-import-position

NONE = object()  # no reply is awaited
LINE = AbWayline((1, 2, 3), (4, 5, 6))
LINE_LIST = [0, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0]
SAMPLE = (51.5, -0.25, 80.0, 1.0, 2.0, 0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.01, 0.02, 0.03, True, 4, 12,
          True, False, 7, 1.5)
RECORD = ("1=51.5;2=-0.25;3=80;4=1;5=2;6=0.1;7=0.2;8=0.3;9=0.4;10=0.5;11=0.6;12=0.01;13=0.02;"
          "14=0.03;15=1;16=4;17=12;18=1;19=0;20=7;21=1.5")

# operation, arguments; name and arguments on the link; reply, result; result on failure
ROWS = [
    ("is_steering_engaged", (), "IsSteeringEngaged", [], 1, True, False),
    ("engage_steering", (), "EngageSteering", [1], 1, 1, -1),
    ("disengage_steering", (), "DisengageSteering", [1], 0, 0, -1),
    ("start_navigation", (True,), "StartNavigation", [1, 1], 1, 1, -1),
    ("stop_navigation", (), "StopNavigation", [1], 1, 1, -1),
    ("clear_navigation", (), "ClearNavigation", [], 1, 1, -1),
    ("reinitialise_navigation", (), "ReinitialiseNavigation", [1], 1, 1, -1),
    ("is_navigation_activated", (), "IsNavigationActivated", [], 1, True, False),
    ("set_reverse_engage_enabled", (True, True), "set_reverse_engage_enabled", [1, 1], NONE, None,
     None),
    ("get_reverse_engage_enabled", (), "get_reverse_engage_enabled", [1], 2, True, False),
    ("set_allow_reverse_engage", (True,), "set_reverse_engage_allowed", [1, 0], NONE, None, None),
    ("get_allow_reverse_engage", (), "get_reverse_engage_allowed", [1], 1, True, False),
    ("set_low_speed_engage_enabled", (False, True), "set_low_speed_engage_allowed", [0, 1], NONE,
     None, None),
    ("get_low_speed_engage_enabled", (), "get_low_speed_engage_allowed", [1], 1, True, False),
    ("set_low_speed_engage_timeout", (2.5,), "set_low_speed_engage_timeout", [2.5, 0], NONE, None,
     None),
    ("get_low_speed_engage_timeout", (), "get_low_speed_engage_timeout", [1], 2.5, 2.5, 0.0),
    ("set_look_ahead_time", (1.5, True), "set_lookahead_time", [1.5, 1], NONE, None, None),
    ("get_look_ahead_time", (), "get_lookahead_time", [1], 1.5, 1.5, 0.0),
    ("set_wayline_origin", ((51.5, -0.25, 80),), "set_wayline_origin", [51.5, -0.25, 80.0], NONE,
     None, None),
    ("calculate_headings", ([LINE],), "calculate_headings", [LINE_LIST], [0.5], [0.5], []),
    ("get_wayline", (), "get_wayline", [], LINE_LIST, LINE, None),
    ("set_wayline", (LINE,), "set_wayline", LINE_LIST, 0, True, False),
    ("clear_wayline", (), "clear_wayline", [], 1, True, False),
    ("start_wayline", (WaylineType.SPLINE,), "start_wayline", [3], 1, True, False),
    ("start_wayline", (99,), "start_wayline", [99], 0, False, False),
    ("set_waypoint", (1, 2.0, 3.0, 4.0, 0.5), "set_waypoint", [1, 2.0, 3.0, 4.0, 0.5], 1, True,
     False),
    ("is_waypoint_set", (2,), "is_waypoint_set", [2], 1, True, False),
    ("restore_waypoints", (), "RestoreWaypoints", [1], 2, 2, -1),
    ("nudge", (True, 0.25), "Nudge", [1, 1, 0.25], [1, 0.25, 0.5, 0.75],
     NudgeReply(1, Vector3(0.25, 0.5, 0.75)), NudgeReply(-1, None)),
    ("auto_set_nudge", (), "AutoSetNudge", [1], [0, 1.0, 2.0, 3.0],
     NudgeReply(0, Vector3(1.0, 2.0, 3.0)), NudgeReply(-1, None)),
    ("get_nudge_vector", (), "get_nudge_vector", [], [1.0, 2.0, 3.0], Vector3(1.0, 2.0, 3.0), None),
    ("get_nudge_scalar", (), "get_nudge", [1], 0.5, 0.5, -1.0),
    ("set_nudge", (0.5,), "set_nudge", [1, 0.5], NONE, None, None),
    ("auto_set_field_offset", (), "AutoSetFieldOffset", [1], 1, 1, -1),
    ("set_field_offset", (0.5,), "SetFieldOffset", [1, 0.5], 1, 1, -1),
    ("get_field_offset", (), "GetFieldOffset", [1], 0.5, 0.5, -1.0),
    ("set_implement_offset", (0.5,), "SetImplementOffset", [1, 0.5], 1, 1, -1),
    ("get_implement_offset", (), "GetImplementOffset", [1], 0.5, 0.5, -1.0),
    ("set_splines_use_implement_offset", (True,), "SetSplinesUseImplementOffset", [1], NONE, None,
     None),
    ("set_implement_width", (6.0,), "SetImplementWidth", [1, 6.0], 1, 1, -1),
    ("get_implement_width", (), "GetImplementWidth", [1], 6.0, 6.0, -1.0),
    ("set_position_data", SAMPLE, "SetPositionData", [RECORD], NONE, 0, -1),
    ("get_tuning_limits", (TuningParameter.OVERSHOOT,), "GetTuningLimits", [2], [0.5, 1.0, 2.0],
     TuningLimits(0.5, 1.0, 2.0), None),
    ("set_tuning_limits", (3, 0.5, 1.0, 2.0), "SetTuningLimits", [3, 0.5, 1.0, 2.0], NONE, True,
     False),
    ("get_tuning_parameter", (TuningParameter.AGGRESSIVENESS,), "get_tuning_parameter", [1], 0.5,
     0.5, 0.0),
    ("set_tuning_parameter", (1, 0.5, True), "set_tuning_parameter", [1, 0.5, 1], NONE, None, None),
    ("get_sensitivity", (), "get_tuning_parameter", [0], 0.5, 0.5, 0.0),
    ("get_aggressiveness", (), "get_tuning_parameter", [1], 0.5, 0.5, 0.0),
    ("get_overshoot", (), "get_tuning_parameter", [2], 0.5, 0.5, 0.0),
    ("get_speed_adjust", (), "get_tuning_parameter", [3], 0.5, 0.5, 0.0),
    ("set_sensitivity", (0.5,), "set_tuning_parameter", [0, 0.5, 0], NONE, None, None),
    ("set_aggressiveness", (0.5,), "set_tuning_parameter", [1, 0.5, 0], NONE, None, None),
    ("set_overshoot", (0.5, True), "set_tuning_parameter", [2, 0.5, 1], NONE, None, None),
    ("set_speed_adjust", (0.5,), "set_tuning_parameter", [3, 0.5, 0], NONE, None, None),
    ("reset_integral", (), "reset_integral", [], NONE, True, False),
    ("get_velocity_set_point", (), "GetVelocitySetPoint", [], [2.5], 2.5, 0.0),
    ("set_velocity_set_point", (2.5,), "SetVelocitySetPoint", [2.5], NONE, None, None),
    ("get_curve_filter_size", (), "GetCurveFilterSize", [1], 5, 5, -1),
    ("set_curve_filter_size", (5,), "SetCurveFilterSize", [1, 5], NONE, None, None),
]


def row_of(operation):
    """The row of an operation that sends numbers and gives one, or none."""
    assert operation["is_regular"], f"{operation['name']} takes a row above"
    reply = {"nil": NONE, "int": 1, "double": 0.5}[operation["shape"]]
    constant = operation["reply"]["failure"].title()
    failure = None if constant == "Nothing" else ast.literal_eval(constant)
    result = {"bool": True, "None": None}.get(operation["reply"]["python"],
                                              0 if reply is NONE else reply)
    arguments = tuple(each["example"] for each in operation["inputs"])
    return (operation["python_name"], arguments, operation["service"],
            json.loads(operation["example"]), reply, result, failure)


SPELT_OUT = {row[0] for row in ROWS}
ROWS += [row_of(each) for each in make.view()["operations"]
         if each["python_name"] not in SPELT_OUT]


def snake_case(name):
    return re.sub(r"(?<=[a-z])(?=[A-Z])", "_", name).lower()


def library_operations():
    """The operations that the library's header declares, without the constructors."""
    header = ROOT / "api" / "NavigationAPI.h"
    public = header.read_text(encoding="utf-8").split("public:")[1].split("private:")[0]
    code = re.sub(r"//.*", "", public)
    return set(re.findall(r"\b([A-Z][A-Za-z]+)\(", code)) - {"CNavigationAPI"}


class Operations(unittest.TestCase):
    def test_are_all_here(self):
        operations = library_operations()
        self.assertGreater(len(operations), 60)
        tested = {row[0] for row in ROWS}
        for operation in operations:
            setter = re.fullmatch("Set(.*)Callback", operation)
            with self.subTest(operation):
                if setter:
                    self.assertTrue(hasattr(NavigationClient, "on_" + snake_case(setter.group(1))))
                else:
                    self.assertIn(snake_case(operation), tested)

    def test_say_on_the_link_what_the_protocol_has(self):
        with ScriptedPeer() as peer, NavigationClient() as client:
            for operation, arguments, name, sent, reply, result, _ in ROWS:
                with self.subTest(operation):
                    if reply is not NONE:
                        peer.replies.put(reply)
                    self.assertEqual(result, getattr(client, operation)(*arguments))
                    self.assertEqual([name, sent], peer.message()[-2:])
                    self.assertIsNone(client.last_error)

    def test_give_their_failure_value_without_a_reply(self):
        with ScriptedPeer() as peer, NavigationClient() as client:
            client.timeout = 0.005
            for operation, arguments, _, _, reply, _, failure in ROWS:
                if reply is NONE:
                    continue
                with self.subTest(operation):
                    peer.replies.put(SILENCE)
                    self.assertEqual(failure, getattr(client, operation)(*arguments))
                    self.assertEqual("TIMED_OUT", client.last_error.code.name)

    def test_give_their_failure_value_without_a_service(self):
        client = NavigationClient()
        for operation, arguments, _, _, _, _, failure in ROWS:
            with self.subTest(operation):
                self.assertEqual(failure, getattr(client, operation)(*arguments))
                self.assertEqual("REFUSED", client.last_error.code.name)

    def test_take_their_arguments_by_name(self):
        with ScriptedPeer() as peer, NavigationClient() as client:
            client.set_look_ahead_time(look_ahead_seconds=1.5, persist=True)
            self.assertEqual([2, "set_lookahead_time", [1.5, 1]], peer.message())

    def test_refuse_arguments_of_another_type(self):
        client = NavigationClient()
        for operation, arguments in (("set_wayline", (None,)), ("set_wayline", ("0 0",)),
                                     ("calculate_headings", ([SplineWayline(), None],)),
                                     ("set_implement_width", ("6",)), ("is_waypoint_set", (0.5,)),
                                     ("set_wayline_origin", ((1, 2),)),
                                     ("is_waypoint_set", (2**40,))):
            with self.subTest(operation), self.assertRaises(TypeError):
                getattr(client, operation)(*arguments)


if __name__ == "__main__":
    unittest.main()
