#!/usr/bin/env python3
"""Tests of check_sources.py: each fault is found where it stands, and only there."""

import tempfile
import unittest
from pathlib import Path

from check_sources import faults_below

GUARD = "#ifndef KESTROVE_CORE_GOOD_H\n#define KESTROVE_CORE_GOOD_H\n#endif\n"

FAULTY = (
    ("climbing include", "core/A.cpp", '#include "../api/B.h"\n', "climbs out"),
    ("climbing include of a header", "core/Good.h",
     GUARD.replace("#endif", '#include "../runtime/TcpSocket.h"\n#endif'), "climbs out"),
    ("climbing include in angle brackets", "core/A.cpp", "#include <core/../api/B.h>\n", "climbs out"),
    ("include without a folder", "core/A.cpp", '#include "B.h"\n', "start at the root"),
    ("own header not first", "core/Good.cpp", '#include <string>\n#include "core/Good.h"\n',
     "core/Good.h first"),
    ("own header missing", "core/Good.cpp", "int x;\n", "core/Good.h first"),
    ("foreign guard", "core/B.h", GUARD, "include guard is not KESTROVE_CORE_B_H"),
    ("pragma once", "core/B.h", "#pragma once\n", "#pragma once"),
    ("using namespace", "core/A.cpp", "using namespace std;\n", "using namespace"),
    ("class with the runtime's suffix", "simulator/A.cpp", "class PacerC\n{\n};\n", "class PacerC"),
    ("nested class with it", "simulator/A.cpp", "struct CPacer::StateC\n{\n};\n", "class StateC"),
    ("branch without braces", "core/A.cpp", "void F()\n{\n    if (a(b))\n        F();\n}\n",
     "A.cpp:3: if without braces"),
    ("other branch without braces", "core/A.cpp",
     "void F()\n{\n    if (a) {\n    } else\n        F();\n}\n", "A.cpp:4: else without braces"),
    ("loop without braces", "core/A.cpp", "void F()\n{\n    for (;;)\n        F();\n}\n",
     "for without braces"),
    # Put together here, since this file is looked through, too.
    ("somebody's home", "core/notes.md", "built in " + "/ho" + "me/me/project\n", "was built"),
    ("source of a record", "core/a.abi", "<abi-instr pa" + "th='/src/a.cpp'>\n", "was built"),
    ("long file", "core/A.cpp", "int x;\n" * 401, "401 lines"),
    ("long script", "core/a.py", "x = 1\n" * 401, "401 lines"),
    ("long test", "tests/A.cpp", "int x;\n" * 601, "601 lines"),
    ("long header", "core/Good.h", "/// x\n" * 500 + GUARD + "int x;\n" * 398, "401 lines"),
    ("long function", "core/A.cpp", "void F()\n{\n" + "    F();\n" * 41 + "}\n", "of 41 lines"),
    ("long member", "core/A.cpp",
     "class A\n{\n    void F()\n    {\n" + "        F();\n" * 41 + "    }\n};\n", "of 41 lines"),
    ("long table", "tests/A.cpp", "void F()\n{\n" + "    F();\n" * 81 + "}\n", "of 81 lines"),
    ("bare pause", "tests/A.cpp", "std::this_thread::sle" + "ep_for(second);\n", "say why"),
    ("bare pause of a script", "tests/a.py", "time.sle" + "ep(1)\n", "say why"),
)
# What comes close to a fault.
FAULTLESS = (
    ("core/Good.h", GUARD.replace("#endif", "/// x\n" * 500 + "#endif")),
    ("core/A.cpp", "void F()\n{\n" + "    F();\n" * 40 + "}\n"),
    ("core/A.cpp", "class A\n{\n" + "    void F();\n" * 41 + "};\n"),
    ("tests/A.cpp", "void F()\n{\n" + "    F();\n" * 80 + "}\n" + "int x;\n" * 517),
    ("runtime/A.cpp", "class PacerC\n{\n};\n"),
    ("simulator/A.cpp", "class BListC;\n"),
    ("core/A.cpp", "#if A\n#else\n#endif\n// if only\nconst char* text = \"if (a) b\";\n"),
    ("core/A.cpp", "void F()\n{\n    if constexpr (a) {\n    } else if (b) {\n    }\n"
                   "    do {\n    } while (c);\n}\n"),
    ("tests/a.py", "time.sle" + "ep(1)  # between two looks\n"),
)


class CheckSources(unittest.TestCase):
    def faults_with(self, name, text):
        with tempfile.TemporaryDirectory() as directory:
            root = Path(directory)
            (root / "core").mkdir()
            (root / "core" / "README.md").write_text("core\n")
            (root / "core" / "Good.h").write_text(GUARD)
            (root / name).parent.mkdir(exist_ok=True)
            (root / name).with_name("README.md").write_text("about it\n")
            (root / name).write_text(text)
            return faults_below(root)[0]

    def test_finds_each_fault(self):
        for label, name, text, expected in FAULTY:
            with self.subTest(label):
                faults = self.faults_with(name, text)
                self.assertEqual(1, len(faults), faults)
                self.assertIn(expected, faults[0])
                self.assertTrue(faults[0].startswith(name), faults[0])

    def test_accepts_a_source_that_keeps_the_rules(self):
        text = '#include "core/Good.h"\n\n#include <string>\n\n#include "platform/BElement.h"\n'
        self.assertEqual([], self.faults_with("core/Good.cpp", text))

    def test_accepts_what_comes_close(self):
        for name, text in FAULTLESS:
            with self.subTest(name):
                self.assertEqual([], self.faults_with(name, text))

    def test_finds_the_place_of_the_sources_themselves(self):
        with tempfile.TemporaryDirectory() as directory:
            root = Path(directory)
            (root / "notes.md").write_text(f"fine\nsee {root.resolve()}/core/A.cpp\n")
            faults = faults_below(root)[0]
        self.assertEqual(1, len(faults), faults)
        self.assertTrue(faults[0].startswith("notes.md:2:"), faults[0])

    def test_accepts_places_that_every_machine_has(self):
        text = "/usr/include /etc/hosts build/release/ $HOME/kestrove tests/home/x /tmp/x\n"
        self.assertEqual([], self.faults_with("core/notes.md", text))

    def test_finds_a_folder_without_a_readme(self):
        with tempfile.TemporaryDirectory() as directory:
            (Path(directory) / "api").mkdir()
            self.assertEqual(["api/: no README.md"], faults_below(Path(directory))[0])


if __name__ == "__main__":
    unittest.main()
