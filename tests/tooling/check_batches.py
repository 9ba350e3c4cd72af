#!/usr/bin/env python3
"""Checks that every target that is compiled in batches compiles in a single one.

usage: check_batches.py CMAKE SOURCE-DIRECTORY BUILD-DIRECTORY [CMAKE ARGUMENT...]

What clashes in a smaller batch clashes in this one, and a build that compiles every source alone
(the preset clang) finds what a source lacks. Nothing is built: the batches are looked through.
"""

import concurrent.futures
import json
import shlex
import subprocess
import sys


def problems_of(command):
    """What the compiler has to say against a command's source; empty where it compiles."""
    done = subprocess.run([*shlex.split(command["command"]), "-fsyntax-only"], text=True,
                          cwd=command["directory"], stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    return done.stdout if done.returncode else ""


def write_generated_sources(build):
    outputs = subprocess.run(["ninja", "-C", build, "-t", "targets", "rule", "CUSTOM_COMMAND"],
                             check=True, stdout=subprocess.PIPE, text=True).stdout.split()
    subprocess.run(["ninja", "-C", build, *(output for output in outputs
                                            if output.endswith((".cpp", ".h")))],
                   check=True, stdout=subprocess.DEVNULL)


def main():
    cmake, source, build, *arguments = sys.argv[1:]
    subprocess.run([cmake, "-S", source, "-B", build, "-G", "Ninja", "-DCMAKE_UNITY_BUILD=ON",
                    "-DCMAKE_UNITY_BUILD_BATCH_SIZE=0", "-DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON",
                    *arguments], check=True, stdout=subprocess.DEVNULL)
    write_generated_sources(build)
    with open(f"{build}/compile_commands.json", encoding="utf-8") as file:
        batches = [command for command in json.load(file) if "/Unity/" in command["file"]]
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        problems = [text for text in pool.map(problems_of, batches) if text]
    print("\n".join([*problems, f"{len(batches)} batches, {len(problems)} of which do not compile"]))
    return 1 if problems or not batches else 0


if __name__ == "__main__":
    sys.exit(main())
