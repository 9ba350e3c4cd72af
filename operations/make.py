#!/usr/bin/env python3
"""Makes what is the same for every operation and event from operations.json, by templates.

usage: make.py TEMPLATE OUTPUT   writes one file, for the build
       make.py --tree            writes the files that are kept in the tree
       make.py --check           exits with 1 and names those that are not what they would be
       make.py --exports         writes the version script for the names read from input

TEMPLATE is the name of a file in templates/, without its ".in". README.md says what a template may hold.
"""

import json
import re
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent
DIRECTIVE = re.compile(r"\s*@(for|if|else|end)\b\s*(.*)")
PLACE = re.compile(r"@([a-z_]+(?:\.[a-z_]+)*)(\|text)?@")
# The files that are kept in the tree.
MAP = "packaging/abi/libkestrove-navigation.map"
KEPT = ("docs/operations.md", MAP)


# ---- templates

def parse(lines, ends=()):
    """The parts of a template up to one of the directives that end it, which is returned, too."""
    parts = []
    while lines:
        line = lines.pop(0)
        directive = DIRECTIVE.fullmatch(line)
        if not directive:
            parts.append(("line", line))
            continue
        word, rest = directive.groups()
        if word in ends:
            return parts, word
        if word == "for":
            name, _, values = rest.partition(" in ")
            parts.append(("for", name, values, parse(lines, ("end",))[0]))
        elif word == "if":
            then, ended = parse(lines, ("else", "end"))
            parts.append(("if", rest, then, parse(lines, ("end",))[0] if ended == "else" else []))
        else:
            raise SystemExit(f"@{word} without its beginning")
    if ends:
        raise SystemExit("a directive without its @end")
    return parts, None


def value_of(path, scope):
    value = scope
    for name in path.split("."):
        value = value[name]
    return value


def filled(line, scope):
    def put(place):
        value = value_of(place.group(1), scope)
        return json.dumps(value) if place.group(2) else str(value)
    return PLACE.sub(put, line)


def rendered(parts, scope):
    for part in parts:
        if part[0] == "line":
            yield filled(part[1], scope)
        elif part[0] == "for":
            for value in value_of(part[2], scope):
                yield from rendered(part[3], {**scope, part[1]: value})
        else:
            yield from rendered(part[2] if value_of(part[1], scope) else part[3], scope)


def made(template, scope):
    lines = (HERE / "templates" / (template + ".in")).read_text(encoding="utf-8").splitlines()
    return "".join(line + "\n" for line in rendered(parse(lines)[0], scope))


# ---- names

def snake(name):
    return re.sub(r"(?<=[a-z0-9])([A-Z])", r"_\1", name).lower()


def kebab(name):
    return snake(name).replace("_", "-")


# ---- what the templates see

UNITS = {"m": "metres", "m/s": "metres per second", "s": "seconds", "rad": "radians"}
QUESTIONS = {"Asks whether ": "Whether ", "Asks for the ": "The ", "Asks how ": "How "}


def python_document(operation):
    """What Python's help says of an operation, unless the data say otherwise."""
    text, unit = operation["meaning"], operation["unit"]
    for question, answer in QUESTIONS.items():
        if text.startswith(question):
            text = answer + text[len(question):]
    if text.startswith("The ") and unit in UNITS:
        text += " in " + UNITS[unit]
    own = [each for each in operation["inputs"] if not each["is_flag"]]
    if text.startswith("Sets ") and len(own) == 1 and own[0]["unit"] in UNITS:
        text += ", in " + UNITS[own[0]["unit"]]
    return text + operation["reply"]["says"]


def defined(table, name, user):
    """What a table of the data has under a name that something uses."""
    if name not in table:
        raise SystemExit(f'{user}: nothing defines "{name}"')
    return table[name]


def argument_of(given, types, user):
    """An argument with everything that is derived from its name and type."""
    if given == "persist":
        given = {"name": "persist", "type": "persist", "meaning": "keep the value over a restart"}
    kind = defined(types, given["type"], user)
    argument = {"unit": "", "range": "", "otherwise": "", "meaning": "", **kind, **given}
    argument["is_flag"] = given["type"] == "persist"
    argument["is_out"] = "wire" not in kind
    argument["option"] = given.get("command", kebab(given["name"]))
    argument["kind"] = kind.get("navctl", "")
    argument["python_name"] = snake(given["name"])
    # A result's type is that of the variable that receives it.
    argument["exported"] = kind.get("exported", kind["cpp"])
    argument["flag"] = "true" if argument["is_flag"] else "false"
    return argument


def code(text):
    """Markdown for a list or a constant, as code, or for what is said in words."""
    is_code = re.fullmatch(r"\[(?!list form).*\]|-?[0-9.]+|false", text)
    return f"`{text}`" if is_code else text


def wire_arguments(operation):
    """The argument list of an operation."""
    if "sends" in operation:
        return operation["sends"]
    elements = [f"int {operation['leads']}"] if "leads" in operation else []
    elements += [each["wire"].format(each["name"]) for each in operation["inputs"]]
    return f"[{', '.join(elements)}]"


def python_parameter(argument):
    return f"{argument['python_name']}: {argument['python']}"


def values_on_the_link(operation):
    """Arguments that an operation takes, as they stand in a message."""
    values = [operation["leads"]] if "leads" in operation else []
    for each in operation["inputs"]:
        is_point = len(each.get("parts", [])) > 1
        values += each["example"] if is_point else [each["example"]]
    return [int(value) if isinstance(value, bool) else value for value in values]


def add_example(operation):
    """Adds a call; a regular operation's consists of numbers alone."""
    values, wire = values_on_the_link(operation), operation["reply"]["wire"]
    operation["is_regular"] = ("sends" not in operation
                               and not any(isinstance(value, list) for value in values)
                               and re.fullmatch(r"none|int|double|\[.*\]", wire) is not None)
    operation["example"] = json.dumps(values)
    operation["wants"] = "[" + ", ".join("int" if isinstance(value, int) else "double"
                                         for value in values if not isinstance(value, list)) + "]"
    operation["shape"] = "nil" if wire == "none" else re.sub(r" [a-z]+(?=[],])", "", wire)


def stub(operation):
    """The declaration of an operation in Python's type stub."""
    arguments = ["self", *map(python_parameter, operation["inputs"])]
    end = f") -> {operation['reply']['python']}: ..."
    line = f"    def {operation['python_name']}({', '.join(arguments)}{end}"
    if len(line) <= 100:
        return line
    return (f"    def {operation['python_name']}(\n" +
            "".join(f"        {each},\n" for each in arguments) + "    " + end)


def operation_of(given, group, data):
    """An operation with everything that is derived from its names, arguments and reply."""
    name, types = given["name"], data["types"]
    arguments = [argument_of(each, types, name) for each in given.get("arguments", [])]
    reply = defined(data["replies"], given["reply"], name)
    is_request = "reader" in reply
    operation = {"unit": "", "service": given["name"], **given, "group": group, "reply": reply,
                 "is_request": is_request, "kind": "request" if is_request else "notification",
                 "command": kebab(given["name"]), "python_name": snake(given["name"]),
                 "inputs": [each for each in arguments if not each["is_out"]]}
    operation["options"] = [argument_of(part, types, name) for each in operation["inputs"]
                            for part in each.get("parts", [each])]
    operation["leading"] = given.get("leads", "")
    parameters = ", ".join(f"{each['cpp']} {each['name']}" for each in arguments)
    operation["signature"] = f"{reply['cpp']} {given['name']}({parameters})"
    operation["exported"] = f"{given['name']}({', '.join(each['exported'] for each in arguments)})"
    outs = ", ".join(f"`{each['name']}`" for each in arguments if each["is_out"])
    operation["returns"] = reply["returns"].format(outs=outs)
    operation["replies"] = ", ".join(filter(None, [code(reply["wire"]), reply.get("elements")]))
    operation["fails_with"] = code(reply["failure"]) + (f", {outs} untouched" if outs else "")
    usual = "destroyed after the reply" if is_request else "destroyed after sending"
    operation["list"] = given.get("list", reply.get("list", usual))
    add_example(operation)
    operation["sends"] = code(wire_arguments(operation))
    operation["document"] = given.get("python", python_document(operation))
    operation["stub"] = stub(operation)
    names = [each["python_name"] for each in operation["inputs"]]
    operation["python_parameters"] = ", ".join(["self", *map(python_parameter, operation["inputs"])])
    operation["python_call"] = ", ".join([f'"{operation["python_name"]}"', *names])
    operation["python_returns"] = reply["python"] != "None"
    return operation


def event_of(given, types):
    """An event with everything that is derived from its names and fields."""
    fields = [{**defined(types, each["type"], given["setter"]), "python_name": snake(each["name"]),
               **each} for each in given["fields"]]
    types_of_fields = ", ".join(["void", *(each["cpp"] for each in fields)])
    payload = ", ".join(each["wire"].format(each["name"]) for each in fields)
    event = {"payload": f"[{payload}]", "python": "", **given, "fields": fields}
    for each in fields:
        unit, meaning = UNITS.get(each.get("unit"), ""), each.get("meaning", "")
        says = ", ".join(filter(None, (unit, meaning, "" if unit else each.get("unit"))))
        each["says"] = says[:1].upper() + says[1:]
        # NumPy need not be there.
        each["value_type"] = f'"{each["python"]}"' if "ND" in each["python"] else each["python"]
    size = event["payload"].count(",") + 1
    event["functor"] = f"Core::Functors::Functor{len(fields)}<{types_of_fields}>"
    event["elements"] = f"exactly {size}" if given.get("exact") else f"at least {size}"
    event["traced"] = "yes" if given.get("traced") else "no"
    event["called_with"] = ", ".join(f"{each['cpp']} {each.get('shown', each['name'])}"
                                     for each in fields)
    event["python_name"] = "on_" + snake(re.sub("^Set|Callback$", "", given["setter"]))
    event["python_fields"] = ", ".join(each["python_name"] for each in fields)
    event["python_types"] = ", ".join(each["python"] for each in fields)
    exported = ", ".join(["void", *(each.get("exported", each["cpp"]) for each in fields)])
    event["exported"] = f"{given['setter']}(Core::Functors::Functor{len(fields)}<{exported}>*)"
    return event


def confirmation_of(operation, by_name):
    """How navctl finds out whether the service has taken a setting."""
    getter = defined(by_name, operation["confirmed_by"], operation["name"])
    passed = len(getter["inputs"])
    limited = "CConfirmation::kNone"
    if operation.get("limited"):
        limited = "CConfirmation::kFirstArgument" if passed else operation["leading"]
    return {"setter": operation["command"], "getter": getter["command"], "passed": passed,
            "limited": limited}


def view():
    """What the templates see of operations.json."""
    data = json.loads((HERE / "operations.json").read_text(encoding="utf-8"))
    groups = []
    for group in data["groups"]:
        operations = [operation_of(each, group["title"], data) for each in group["operations"]]
        groups.append({"notes": [], **group, "operations": operations,
                       "comment": group["title"].lower()})
        if groups[-1]["notes"]:
            groups[-1]["notes"].insert(0, "")
    operations = [each for group in groups for each in group["operations"]]
    by_name = {each["name"]: each for each in operations}
    confirmations = [confirmation_of(each, by_name) for each in operations
                     if "confirmed_by" in each]
    events = [event_of(each, data["types"]) for each in data["events"]]
    python_events = [{**each, "number": number} for number, each in
                     enumerate(each for each in events if each["python"])]
    regular = {each["service"]: each for each in operations if each["is_regular"]}
    return {"groups": groups, "operations": operations, "confirmations": confirmations,
            "regular": regular.values(),
            "events": events, "python_events": python_events}


# ---- the command line

def with_exports(scope, names):
    """The view, and what the library exports: these names, but with the operations as described."""
    described = scope["operations"] + scope["events"]
    members = "|".join(each["exported"].partition("(")[0] for each in described)
    of_operation = re.compile(rf"CNavigationAPI::({members})\(")
    exports = {name for name in names if not of_operation.match(name)}
    exports.update("CNavigationAPI::" + each["exported"] for each in described)
    version = re.search(r"^project\(.* VERSION (\d+)", (ROOT / "CMakeLists.txt").read_text(), re.M)
    return {**scope, "major": version.group(1), "exports": sorted(exports)}


def kept(scope):
    """The files that are kept in the tree, and what they should hold."""
    names = re.findall(r'^ *"(.*)";$', (ROOT / MAP).read_text(encoding="utf-8"), re.M)
    scope = with_exports(scope, names)
    return [(ROOT / path, made(Path(path).name, scope)) for path in KEPT]


def main(arguments):
    scope = view()
    if arguments == ["--exports"]:
        scope = with_exports(scope, sys.stdin.read().splitlines())
        (ROOT / MAP).write_text(made(Path(MAP).name, scope), encoding="utf-8")
    elif arguments == ["--tree"]:
        for path, text in kept(scope):
            path.write_text(text, encoding="utf-8")
    elif arguments == ["--check"]:
        stale = [path for path, text in kept(scope) if path.read_text(encoding="utf-8") != text]
        for path in stale:
            print(f"{path.relative_to(ROOT)} is not what the data make: operations/make.py --tree writes it")
        return len(stale) > 0
    elif len(arguments) == 2:
        template, output = arguments
        Path(output).unlink(missing_ok=True)
        Path(output).write_text(made(template, scope), encoding="utf-8")
    else:
        raise SystemExit(__doc__)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
