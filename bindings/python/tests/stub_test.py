"""The type stubs name what the package has, and nothing else."""

import ast
import re
import unittest
from pathlib import Path

import kestrove_navigation
from kestrove_navigation import _navigation

# Where it is built: some of its sources are.
PACKAGE = Path(kestrove_navigation.__file__).parent


# What the module's own signatures call an object.
OBJECTS = {
    "NavigationClient.last_error": "Optional[LinkError]",
    "NavigationClient.nudge": "NudgeReply",
    "NavigationClient.auto_set_nudge": "NudgeReply",
    "NavigationClient.get_tuning_limits": "Optional[TuningLimits]",
    "AbCurveWayline.points": "_PointsAttribute",
    "SplineWayline.points": "_PointsAttribute",
}
# What they call otherwise: a pointer that may be null, a list and a point.
OTHERWISE = {"Wayline": "Optional[Wayline]", "list": "List[Union[int, float]]",
             "Vector3": "_PointAttribute"}
PLAIN = {"bool", "int", "float", "str"}


def stub_tree():
    return ast.parse((PACKAGE / "_navigation.pyi").read_text(encoding="utf-8"))


def public_classes(tree):
    return [node for node in tree.body
            if isinstance(node, ast.ClassDef) and not node.name.startswith("_")]


def stub_classes():
    """The classes of the stub: names of their members, and of each method's arguments."""
    classes = {}
    for node in public_classes(stub_tree()):
        members = classes[node.name] = {}
        for member in node.body:
            if isinstance(member, ast.AnnAssign):
                members[member.target.id] = None
            elif isinstance(member, ast.FunctionDef):
                arguments = [argument.arg for argument in
                             member.args.args + member.args.kwonlyargs]
                is_property = any(getattr(decorator, "id", "") == "property"
                                  for decorator in member.decorator_list)
                members[member.name] = None if is_property else arguments
    return classes


def stub_types():
    """What the members of the stub's classes give, and what each plain argument is, by name."""
    for node in public_classes(stub_tree()):
        for member in node.body:
            if isinstance(member, ast.AnnAssign):
                yield f"{node.name}.{member.target.id}", ast.unparse(member.annotation), {}
            elif isinstance(member, ast.FunctionDef) and not member.name.startswith("__"):
                arguments = {argument.arg: ast.unparse(argument.annotation)
                             for argument in member.args.args if argument.annotation}
                yield f"{node.name}.{member.name}", ast.unparse(member.returns), arguments


def module_signature(name):
    """The arguments and the result of a member as the module itself gives them."""
    class_name, member = name.split(".")
    value = getattr(_navigation, class_name).__dict__[member]
    function = getattr(value, "fget", value)
    function = getattr(function, "__func__", function)  # of a static member
    signature = re.match(r"\w*\((.*)\) -> (.*)", function.__doc__)
    return dict(re.findall(r"(\w+): (\w+)", signature.group(1))), signature.group(2)


def module_members(name):
    """The public members that a class of the module adds to its base."""
    members = vars(getattr(_navigation, name))
    return {member for member in members if not member.startswith("_")}


class Stubs(unittest.TestCase):
    def test_name_the_classes_of_the_module(self):
        classes = {name for name, value in vars(_navigation).items() if isinstance(value, type)}
        self.assertEqual(classes, set(stub_classes()))

    def test_name_the_members_of_each_class(self):
        for name, members in stub_classes().items():
            with self.subTest(name):
                named = {member for member in members if not member.startswith("__")}
                self.assertEqual(module_members(name), named)
                for special in set(members) - named:
                    self.assertIn(special, vars(getattr(_navigation, name)))

    def test_name_the_arguments_of_each_method(self):
        compared = 0
        for name, members in stub_classes().items():
            for member, arguments in members.items():
                if arguments is None or member.startswith("__"):
                    continue
                document = getattr(getattr(_navigation, name), member).__doc__
                signature = re.match(r"\w+\((.*)\) -> ", document).group(1)
                named = re.findall(r"(?:^|, )(\w+): ", signature)
                with self.subTest(f"{name}.{member}"):
                    self.assertEqual(arguments, [name for name in named if name != "kinds"])
                    compared += 1
        self.assertGreater(compared, 75)

    def test_tell_what_each_member_gives_and_takes(self):
        compared = 0
        for name, told, told_arguments in stub_types():
            arguments, result = module_signature(name)
            if name.startswith("NavigationClient.on_") or name == "NavigationClient.events":
                continue  # by what is asked for; typing_cases.py distinguishes them
            with self.subTest(name):
                if name == "Wayline.type":
                    self.assertEqual(("WaylineType", "WaylineType"), (told, result))
                else:
                    self.assertEqual(OBJECTS.get(name, OTHERWISE.get(result, result)), told)
                for argument, kind in arguments.items():
                    if kind in PLAIN or told_arguments.get(argument) in PLAIN:
                        self.assertEqual(kind, told_arguments.get(argument), argument)
                compared += 1
        self.assertGreater(compared, 75)

    def test_come_with_a_package_that_is_typed_and_documented(self):
        self.assertTrue((PACKAGE / "py.typed").exists())
        for name in kestrove_navigation.__all__:
            self.assertTrue(getattr(kestrove_navigation, name).__doc__, name)
        public = {name for name in vars(kestrove_navigation) if not name.startswith("_")}
        self.assertEqual(public | {"__version__"}, set(kestrove_navigation.__all__))


if __name__ == "__main__":
    unittest.main()
