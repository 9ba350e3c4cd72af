"""Faults and scenarios over the link and from the command line."""

import json
import os
import tempfile
import unittest

from navctl_files import navctl, navctl_json
from navigation_service import LINE_NORTH, Client, ServiceError, Simulator, run_to_end, wait_for

try:
    import jsonschema
except ImportError:
    jsonschema = None

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
EXAMPLE = os.path.join(ROOT, "examples", "scenarios", "three-swaths.json")


def read(path):
    with open(path, encoding="utf-8") as file:
        return json.load(file)


class Faults(unittest.TestCase):
    def test_an_outage_drops_steering_after_five_seconds(self):
        with Simulator("--speed", "2.5", "--speed-factor", "5") as simulator, Client() as client:
            client.request("set_wayline", *LINE_NORTH)
            client.request("StartNavigation", 1, 0)
            self.assertEqual(1, client.request("EngageSteering", 1))
            self.assertEqual(0, navctl("simulator", "fault", "gnss-outage", "--for", "30").returncode)
            client.notify("subscribe", "cb_engage_status")
            wait_for(lambda: client.event("cb_engage_status")[4] == 1, "steering dropped")
            self.assertEqual(["the receiver has had no usable position for 5.00 s"],
                             client.request("why_not_engaged"))
            wait_for(lambda: not client.request("why_not_engaged"), "positions again")
            self.assertEqual(1, client.request("EngageSteering", 1))
            simulator.end()
            self.assertIn("no usable position for 5.00 s", simulator.errors())

    def test_navctl_makes_things_happen_and_lists_them(self):
        with Simulator():
            self.assertEqual((0, {"fault": "slope", "value": -8.0, "for": 0.0}),
                             navctl_json("simulator", "fault", "slope", "-8"))
            self.assertEqual("receiver float for 60 s\n",
                             navctl("simulator", "fault", "receiver", "float", "--for", "60").stdout)
            code, listed = navctl_json("simulator", "faults")
            self.assertEqual(0, code)
            faults = {row["fault"]: row for row in listed["faults"]}
            self.assertEqual({"fault": "slope", "what": "the ground falls to the east",
                              "unit": "degrees", "lowest": -30.0, "highest": 30.0, "words": [],
                              "value": -8.0}, faults["slope"])
            self.assertEqual("float", faults["receiver"]["value"])
            self.assertGreater(faults["receiver"]["until"], 59.0)
            self.assertEqual("off", faults["gnss-outage"]["value"])
            self.assertIn("slope -30 to 30 degrees: the ground falls to the east; now -8",
                          navctl("simulator", "faults").stdout)
            self.assertEqual(0, navctl("simulator", "fault", "slope", "off").returncode)
            self.assertNotIn("now -8", navctl("simulator", "faults").stdout)

    def test_navctl_passes_on_why_a_fault_is_refused(self):
        with Simulator():
            for arguments, said in ((("flood",), "there is no fault"),
                                    (("slope", "45"), "allowed is -30 to 30 degrees"),
                                    (("slope", "steep"), "\"steep\" is not allowed for slope")):
                result = navctl("simulator", "fault", *arguments)
                self.assertNotEqual(0, result.returncode)
                self.assertIn(said, result.stderr)
            self.assertEqual(2, navctl("simulator", "fault", "slope", "1", "--for", "-1").returncode)
            self.assertEqual(2, navctl("simulator", "fault").returncode)

    def test_a_refusal_is_an_error_on_the_link(self):
        with Simulator(), Client() as client:
            with self.assertRaisesRegex(ServiceError, "31.* is not allowed for slope"):
                client.request("simulator_fault", "slope", 31.0, 0.0)
            self.assertEqual(1, client.request("simulator_fault", "slope", 8, 0))


class Scenarios(unittest.TestCase):
    def test_the_example_is_driven(self):
        with Simulator("--scenario", EXAMPLE, "--speed-factor", "50") as simulator, \
                Client() as client:
            client.notify("subscribe", "cb_guidance_status")
            client.notify("subscribe", "cb_relative_position")
            for number in range(3):
                wait_for(lambda: client.event("cb_guidance_status")[0] == number, f"pass {number}")
            wait_for(lambda: abs(client.event("cb_relative_position")[0] - 20.0) < 0.1, "20 m east")
            self.assertEqual(0, simulator.end())
            self.assertEqual("", simulator.errors())

    def test_one_that_is_wrong_is_refused_with_line_and_name(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "wrong.json")
            with open(path, "w", encoding="utf-8") as file:
                file.write('{\n"scenario": 1,\n"events": [\n{"at": 1,\n "fault": "flood"}]}')
            refused = run_to_end("--scenario", path)
        self.assertEqual(2, refused.returncode)
        self.assertIn(f'scenario {path}: line 5: there is no fault "flood"', refused.stderr)

    @unittest.skipUnless(jsonschema, "there is no jsonschema")
    def test_the_schema_takes_the_example_and_refuses_what_the_simulator_refuses(self):
        schema = read(os.path.join(ROOT, "docs", "scenario.schema.json"))
        validator = jsonschema.Draft202012Validator(schema)
        validator.check_schema(schema)
        self.assertEqual([], list(validator.iter_errors(read(EXAMPLE))))
        outage = {"at": 0, "fault": "gnss-outage"}
        for event in ({}, {**outage, "at": -1}, {**outage, "for": "long"}, {**outage, "line": []},
                      {**outage, "colour": 1}, {"at": 0, "fault": "slope"},
                      {"at": 0, "fault": "slope", "value": 31}, {"at": 0, "fault": "flood"},
                      {"at": 0, "call": "simulator_advance"}, {"at": 0, "call": "a", "for": 1},
                      {"at": 0, "call": "a", "arguments": [{}]}, 7):
            with self.subTest(event):
                self.assertFalse(validator.is_valid({"scenario": 1, "events": [event]}))
        for event in (outage, {"at": 0, "fault": "slope", "value": 8}, {"at": 0, "line": [0, 1.5]},
                      {"at": 0, "fault": "slope", "value": "off"}):
            with self.subTest(event):
                self.assertTrue(validator.is_valid({"scenario": 1, "events": [event]}))


if __name__ == "__main__":
    unittest.main()
