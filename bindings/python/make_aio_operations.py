#!/usr/bin/env python3
"""Writes the operations of the asyncio client, from the types of the other.

usage: make_aio_operations.py STUB CLIENT

STUB is _navigation.pyi and CLIENT aio.py, whose NOT_OPERATIONS names the methods of NavigationClient
that have a counterpart of another shape there. Writes a module with a coroutine for each of the
others to standard output.
"""

import ast
import sys
from pathlib import Path

HEAD = '''\
"""The operations of the asyncio client. Written by make_aio_operations.py; see _navigation.pyi."""

from typing import Any, List, Optional, Sequence, Union

from ._navigation import Wayline
from ._values import NudgeReply, TuningLimits, TuningParameter, Vector3, WaylineType

_Point = Union[Vector3, Sequence[float]]


class Operations:
    """The operations of NavigationClient, as coroutines."""

    async def _call(self, name: str, *arguments: Any) -> Any:
        raise NotImplementedError
'''


def not_operations(client):
    """The value of NOT_OPERATIONS."""
    for node in ast.parse(client).body:
        if isinstance(node, ast.Assign) and node.targets[0].id == "NOT_OPERATIONS":
            return ast.literal_eval(node.value)
    raise SystemExit("no NOT_OPERATIONS")


def operations(stub):
    """The public methods of NavigationClient."""
    for node in ast.parse(stub).body:
        if isinstance(node, ast.ClassDef) and node.name == "NavigationClient":
            return [method for method in node.body if isinstance(method, ast.FunctionDef)
                    and not method.name.startswith("_") and not method.decorator_list]
    raise SystemExit("no NavigationClient")


def coroutine(method):
    """The source of a method as a coroutine."""
    names = [argument.arg for argument in method.args.args[1:]]
    call = ", ".join([repr(method.name).replace("'", '"'), *names])
    result = ast.unparse(method.returns)
    returned = "await" if result == "None" else f"result: {result} = await"
    lines = [f"    async def {method.name}({ast.unparse(method.args)}) -> {result}:",
             f"        {returned} self._call({call})"]
    return "\n".join(lines + ["        return result"] * (result != "None")) + "\n"


def main():
    stub, client = (Path(argument).read_text(encoding="utf-8") for argument in sys.argv[1:])
    left_out = not_operations(client)
    methods = [method for method in operations(stub) if method.name not in left_out]
    print("\n".join([HEAD, *map(coroutine, methods)]), end="")


if __name__ == "__main__":
    main()
