"""The API reference has every public declaration, and is refused where one is not documented."""

import os
import re
import shutil
import subprocess
import tempfile
import unittest
from html.parser import HTMLParser
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
# Enumerations that stand outside every class: where they are listed, and what shows their values.
ENUMERATIONS = (("ELinkError", "globals_enum.html", "LinkError_8h.html", "TimedOut"),
                ("EWaylineType", "namespacemembers_enum.html", "namespaceKestrove.html",
                 "EWaylineTypeABCurve"),
                ("ETuningParameter", "namespacemembers_enum.html", "namespaceKestrove.html",
                 "Overshoot"))
FUNCTION = "#ifndef H\n#define H\n/// @file\n/// A header.\n\n{}int Count(int number);\n#endif\n"
COMMENT = "/// Counts.\n///\n/// @param number where to begin.\n/// @return the count.\n"


class Page(HTMLParser):
    """The anchors of a page, and where its links lead."""

    def __init__(self, path):
        super().__init__()
        self.anchors = set()
        self.links = set()
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attrs):
        attributes = dict(attrs)
        self.anchors |= {attributes[key] for key in ("id", "name") if attributes.get(key)}
        self.links |= {attributes[key] for key in ("href", "src") if attributes.get(key)}


def dead_links(html):
    """The links of all pages that lead to no file and no anchor, each behind its page."""
    pages = {path.name: Page(path) for path in html.glob("*.html")}
    dead = []
    for name, page in pages.items():
        for link in page.links:
            target, _, anchor = link.partition("#")
            target = target or name
            if re.match(r"[a-z]+:", link):
                continue
            if not (html / target).exists() or (
                    anchor and target in pages and anchor not in pages[target].anchors):
                dead.append(f"{name}: {link}")
    return sorted(dead)


def doxyfile():
    return (PROJECT / "docs" / "Doxyfile").read_text(encoding="utf-8")


def public_headers():
    """The headers that are installed, as the installation lists them."""
    lists = re.findall(r"^ *(?:file\(GLOB|list\((\w+)) public_headers\b([^)]*)\)",
                       (PROJECT / "cmake" / "InstallNavigation.cmake").read_text(encoding="utf-8"),
                       re.MULTILINE)
    headers = set()
    for change, names in lists:
        named = {path for name in re.findall(r"\S+\.h\b", names) for path in PROJECT.glob(name)}
        headers = headers - named if change == "REMOVE_ITEM" else headers | named
    return sorted(headers)


@unittest.skipUnless(shutil.which("doxygen"), "doxygen is missing; scripts/setup test installs it")
class Reference(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls._directory = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls._directory.cleanup)
        cls.html = Path(cls._directory.name) / "html"
        subprocess.run([PROJECT / "scripts" / "docs", cls._directory.name], check=True,
                       stdout=subprocess.DEVNULL)

    def page(self, name):
        return (self.html / name).read_text(encoding="utf-8")

    def test_has_a_page_for_each_public_header(self):
        headers = public_headers()
        self.assertGreater(len(headers), 15)
        for header in headers:
            with self.subTest(header.name):
                self.assertTrue((self.html / f"{header.stem}_8h.html").exists())

    def test_has_the_enumerations_outside_classes(self):
        for name, index, page, value in ENUMERATIONS:
            with self.subTest(name):
                self.assertTrue(name in self.page(index), f"not listed in {index}")
                documented = rf'<td class="fieldname">.*>{value}\b'
                self.assertTrue(re.search(documented, self.page(page)), f"no {value} in {page}")

    def test_leads_from_its_first_page_to_the_guides(self):
        linked = set(re.findall(r'href="(md_docs_\w+\.html)"', self.page("index.html")))
        self.assertLessEqual({f"md_docs_{guide}.html" for guide in (
            "getting_started", "application_guide", "service_guide", "operations", "limits")},
            linked)
        for page in linked:
            self.assertTrue((self.html / page).exists(), page)

    def test_names_the_version(self):
        version = re.search(r" VERSION ([\d.]+)", (PROJECT / "CMakeLists.txt").read_text(encoding="utf-8"))
        self.assertIn(f'<span id="projectnumber">&#160;{version.group(1)}</span>', self.page("index.html"))

    def test_has_no_link_that_leads_nowhere(self):
        self.assertEqual([], dead_links(self.html))


class DeadLinks(unittest.TestCase):
    def test_are_those_to_a_missing_page_and_a_missing_anchor(self):
        with tempfile.TemporaryDirectory() as directory:
            (Path(directory) / "a.html").write_text(
                '<a id="here" href="b.html#there"></a><a href="#here"></a><a href="#lost"></a>'
                '<a href="b.html#lost"></a><a href="c.html"></a><a href="https://d.invalid"></a>',
                encoding="utf-8")
            (Path(directory) / "b.html").write_text('<a name="there"></a>', encoding="utf-8")
            self.assertEqual(["a.html: #lost", "a.html: b.html#lost", "a.html: c.html"],
                             dead_links(Path(directory)))


@unittest.skipUnless(shutil.which("doxygen"), "doxygen is missing; scripts/setup test installs it")
class Refusal(unittest.TestCase):
    def documented(self, comment):
        """What doxygen says of a header with one function at file scope; "" when it is content."""
        with tempfile.TemporaryDirectory() as directory:
            header = Path(directory) / "Header.h"
            header.write_text(FUNCTION.format(comment), encoding="utf-8")
            settings = f'{doxyfile()}\nINPUT = {header}\nOUTPUT_DIRECTORY = "{directory}"\n'
            result = subprocess.run(["doxygen", "-"], input=settings, text=True, cwd=PROJECT,
                                    capture_output=True, check=False)
            return result.stderr if result.returncode else ""

    def test_meets_a_function_without_a_comment(self):
        self.assertIn("Count", self.documented(""))

    def test_meets_a_function_with_an_argument_untold(self):
        self.assertIn("parameters", self.documented("/// Counts.\n///\n/// @return the count.\n"))

    def test_does_not_meet_a_function_that_is_documented(self):
        self.assertEqual("", self.documented(COMMENT))


class Command(unittest.TestCase):
    def test_tells_its_use(self):
        told = subprocess.run([PROJECT / "scripts" / "docs", "--help"], text=True, cwd="/",
                              capture_output=True, check=True)
        self.assertIn("usage: scripts/docs [DIRECTORY]", told.stdout)
        self.assertFalse(os.path.exists("/--help"))


if __name__ == "__main__":
    unittest.main()
