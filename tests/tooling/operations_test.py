"""The description of the operations, what is made of it, and scripts/check-operation."""

import contextlib
import copy
import importlib.machinery
import importlib.util
import io
import json
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import jsonschema

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "operations"))
import make  # pylint: disable=wrong-import-position

DATA = json.loads((ROOT / "operations/operations.json").read_text(encoding="utf-8"))
SCHEMA = json.loads((ROOT / "operations/schema.json").read_text(encoding="utf-8"))


def problems(data):
    return [error.message for error in jsonschema.Draft7Validator(SCHEMA).iter_errors(data)]


def operation(data, name="SetNudge"):
    return next(each for group in data["groups"] for each in group["operations"]
                if each["name"] == name)


def run(*command, **options):
    return subprocess.run(command, text=True, capture_output=True, check=False, **options)


def copy_of_tree(folder):
    """What scripts/check-operation and make.py read, elsewhere."""
    for path in ("operations", "scripts/check-operation", "api", "tests/api", "tests/simulator",
                 "tests/end_to_end", "simulator/operations", "docs", "packaging/abi",
                 "tests/fuzz/seeds/messages", "CMakeLists.txt"):
        source, target = ROOT / path, Path(folder) / path
        target.parent.mkdir(parents=True, exist_ok=True)
        if source.is_dir():
            shutil.copytree(source, target, ignore=shutil.ignore_patterns("__pycache__"))
        else:
            shutil.copy(source, target)
    return Path(folder)


def replace(path, old, new):
    text = path.read_text(encoding="utf-8")
    assert old in text, old
    path.write_text(text.replace(old, new), encoding="utf-8")


class TheData(unittest.TestCase):
    def test_keep_to_the_schema(self):
        jsonschema.Draft7Validator.check_schema(SCHEMA)
        self.assertEqual([], problems(DATA))

    def test_lacking_or_having_more_are_not_of_the_schema(self):
        def lacking(key):
            return lambda entry: entry.pop(key)

        def having(key, value):
            return lambda entry: entry.update({key: value})
        changes = [lacking(key) for key in ("name", "guard", "reply", "meaning")]
        changes += [having("meanings", "x"), having("guard", "hopeful"), having("meaning", "Ends."),
                    having("leads", "1"), having("name", "set_nudge"), having("arguments", [])]
        for number, change in enumerate(changes):
            with self.subTest(number):
                data = copy.deepcopy(DATA)
                change(operation(data))
                self.assertNotEqual([], problems(data))

    def test_use_every_type_and_reply_that_they_define(self):
        used = {each["reply"] for group in DATA["groups"] for each in group["operations"]}
        self.assertEqual(set(DATA["replies"]), used)
        text = json.dumps([DATA["groups"], DATA["events"]])
        for name in DATA["types"]:
            self.assertTrue(f'"type": "{name}"' in text or f'"{name}"' in text, name)

    def test_name_the_operations_in_the_order_of_the_header(self):
        header = (ROOT / "api/NavigationAPI.h").read_text(encoding="utf-8")
        public = re.sub(r"//.*", "", header.split("public:")[1].split("private:")[0])
        declared = re.findall(r"\b([A-Z][A-Za-z]+)\(", public)
        described = [each["name"] for group in DATA["groups"] for each in group["operations"]]
        described += [each["setter"] for each in DATA["events"]]
        self.assertEqual([name for name in declared if name != "CNavigationAPI"], described)

    def test_with_a_word_that_nothing_defines_are_refused_by_name(self):
        for key, value in (("reply", "shrug"), ("confirmed_by", "GetLost"),
                           ("arguments", [{"name": "nudge", "type": "shove"}])):
            with self.subTest(key), tempfile.TemporaryDirectory() as folder:
                tree, data = copy_of_tree(folder), copy.deepcopy(DATA)
                operation(data)[key] = value
                (tree / "operations/operations.json").write_text(json.dumps(data), encoding="utf-8")
                result = run(sys.executable, "-B", tree / "operations/make.py", "--check")
                self.assertNotEqual(0, result.returncode)
                word = value if isinstance(value, str) else "shove"
                self.assertEqual(f"SetNudge: nothing defines \"{word}\"\n", result.stderr)


class WhatIsMade(unittest.TestCase):
    def test_is_what_the_tree_has(self):
        result = run(sys.executable, "-B", ROOT / "operations/make.py", "--check")
        self.assertEqual((0, ""), (result.returncode, result.stdout + result.stderr))

    def test_is_missed_when_the_data_change_and_written_anew(self):
        with tempfile.TemporaryDirectory() as folder:
            tree = copy_of_tree(folder)
            maker = [sys.executable, "-B", tree / "operations/make.py"]
            replace(tree / "operations/operations.json", '"leads": 1, "unit": "m"',
                    '"leads": 2, "unit": "m"')
            result = run(*maker, "--check")
            self.assertEqual(1, result.returncode)
            self.assertIn("docs/operations.md is not what the data make", result.stdout)
            self.assertNotIn("libkestrove-navigation.map", result.stdout)
            self.assertEqual(0, run(*maker, "--tree").returncode)
            self.assertEqual(0, run(*maker, "--check").returncode)
            self.assertIn("`[int 2]`", (tree / "docs/operations.md").read_text(encoding="utf-8"))

    def test_replaces_a_link_and_leaves_alone_what_it_names(self):
        with tempfile.TemporaryDirectory() as folder:
            kept, link = Path(folder) / "kept", Path(folder) / "link"
            kept.write_text("kept", encoding="utf-8")
            link.symlink_to(kept)
            self.assertEqual(0, make.main(["_aio_operations.py", str(link)]))
            self.assertEqual("kept", kept.read_text(encoding="utf-8"))
            self.assertIn("async def set_nudge", link.read_text(encoding="utf-8"))

    def test_is_nothing_that_the_library_is_built_of(self):
        with tempfile.TemporaryDirectory() as folder:
            result = run("cmake", "-S", ROOT, "-B", folder, "-G", "Ninja",
                         "-DKESTROVE_MAKER_PYTHON=", "-DKESTROVE_BUILD_PYTHON=OFF",
                         "-DKESTROVE_BUILD_PROGRAMS=OFF", "-DKESTROVE_BUILD_TESTS=OFF",
                         "-DKESTROVE_BUILD_EXAMPLES=OFF")
            self.assertEqual(0, result.returncode, result.stderr)
            build = (Path(folder) / "build.ninja").read_text(encoding="utf-8")
            self.assertEqual((False, True), ("make.py" in build, "kestrove_api.dir" in build))


class Templates(unittest.TestCase):
    def rendered(self, *lines):
        scope = {"items": [{"name": "a", "is_new": True}, {"name": 'b"', "is_new": False}]}
        return list(make.rendered(make.parse(list(lines))[0], scope))

    def test_repeat_choose_and_fill_in(self):
        self.assertEqual(["a: new", "b\": old", "end"], self.rendered(
            "@for item in items", "@if item.is_new", "@item.name@: new", "  @else",
            "@item.name@: old", "@end", "@end", "end"))
        self.assertEqual(['"a"', '"b\\""'],
                         self.rendered("@for item in items", "@item.name|text@", "@end"))

    def test_leave_other_signs_alone(self):
        self.assertEqual(["@property", "a@b.example"], self.rendered("@property", "a@b.example"))

    def test_with_a_directive_that_nothing_ends_or_begins_are_refused(self):
        for lines in (["@for item in items"], ["@if items", "@else"], ["@end"], ["@else"]):
            with self.subTest(lines), self.assertRaises(SystemExit):
                self.rendered(*lines)


class CheckOperation(unittest.TestCase):
    def check(self, name, tree=ROOT):
        result = run(sys.executable, tree / "scripts/check-operation", *name.split())
        return result.returncode, result.stdout

    def test_finds_all_there_is_of_every_operation(self):
        loader = importlib.machinery.SourceFileLoader("check", str(ROOT / "scripts/check-operation"))
        module = importlib.util.module_from_spec(importlib.util.spec_from_loader("check", loader))
        loader.exec_module(module)
        for group in DATA["groups"]:
            for each in group["operations"]:
                with contextlib.redirect_stdout(io.StringIO()) as output:
                    self.assertFalse(module.main([each["name"]]), each["name"])
                self.assertIn(f"{each['name']}: all there", output.getvalue())

    def test_takes_every_form_of_the_name(self):
        for name in ("GetNudgeScalar", "get-nudge-scalar", "get_nudge_scalar"):
            self.assertEqual((0, "GetNudgeScalar: all there"),
                             (self.check(name)[0], self.check(name)[1].splitlines()[-1]))

    def test_lists_everything_of_an_operation_that_there_is_not(self):
        code, text = self.check("get-field-depth")
        self.assertEqual(1, code)
        self.assertNotIn("there  ", text)
        self.assertEqual("GetFieldDepth: 11 missing", text.splitlines()[-1])

    def test_lists_each_part_that_is_missing(self):
        parts = {"operations/operations.json": '"name": "SetNudge"',
                 "api/NavigationAPI.h": "SetNudge(", "api/OffsetOperations.cpp": "::SetNudge(",
                 "tests/api/OffsetRows.cpp": "SetNudge(", "docs/operations.md": "SetNudge(",
                 "simulator/operations/OffsetOperations.cpp": '"set_nudge"',
                 "docs/service.md": "`set_nudge`",
                 "packaging/abi/libkestrove-navigation.map": "::SetNudge("}
        for path, word in parts.items():
            with self.subTest(path), tempfile.TemporaryDirectory() as folder:
                tree = copy_of_tree(folder)
                replace(tree / path, word, word.replace("udge", "ulge"))
                code, text = self.check("SetNudge", tree)
                self.assertEqual(1, code)
                missing = [line for line in text.splitlines() if line.startswith("missing")]
                files = {"api/OffsetOperations.cpp": "api/*.cpp",
                         "tests/api/OffsetRows.cpp": "tests/api/*Rows.cpp",
                         "simulator/operations/OffsetOperations.cpp": "simulator/operations/*"}
                self.assertIn(files.get(path, path), missing[0])

    def test_wants_one_name(self):
        self.assertEqual((1, ""), self.check(""))
        self.assertEqual((1, ""), self.check("one two"))


if __name__ == "__main__":
    unittest.main()
