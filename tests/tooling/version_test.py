"""The version: one number, in the project's CMakeLists.txt, and all that names it besides."""

import datetime
import re
import unittest
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
HEADING = re.compile(r"^## (.*)$", re.MULTILINE)
RELEASE = re.compile(r"(\d+)\.(\d+)\.(\d+) \((\d{4}-\d\d-\d\d)\)")
SHOWN = re.compile(r"(?:navigation-simulator|navctl|kestrove[-_]navigation) (\d+\.\d+\.\d+)")


def text(name):
    return (PROJECT / name).read_text(encoding="utf-8")


def version():
    return re.search(r"^project\(KestroveNavigation VERSION (\d+\.\d+\.\d+) ",
                     text("CMakeLists.txt"), re.MULTILINE).group(1)


class Version(unittest.TestCase):
    def test_is_that_of_the_headers(self):
        numbers = re.findall(r"^#define KESTROVE_VERSION_(MAJOR|MINOR|PATCH) (\d+)$",
                             text("core/Version.h"), re.MULTILINE)
        self.assertEqual(["MAJOR", "MINOR", "PATCH"], [name for name, _ in numbers])
        self.assertEqual(version(), ".".join(number for _, number in numbers))

    def test_is_that_of_the_binary_interface_on_record(self):
        major = version().split(".", maxsplit=1)[0]
        self.assertIn(f"\nKESTROVE_NAVIGATION_{major} {{\n",
                      text("packaging/abi/libkestrove-navigation.map"))
        self.assertIn(f" soname='libkestrove-navigation.so.{major}'>",
                      text("packaging/abi/libkestrove-navigation.abi"))

    def test_is_the_newest_release_of_the_changelog(self):
        headings = HEADING.findall(text("CHANGELOG.md"))
        if headings[0] == "Unreleased":
            headings = headings[1:]
        releases = [RELEASE.fullmatch(heading) for heading in headings]
        self.assertNotIn(None, releases, headings)
        self.assertEqual(version(), headings[0].split()[0])
        numbers = [tuple(int(part) for part in release.groups()[:3]) for release in releases]
        self.assertEqual(sorted(set(numbers), reverse=True), numbers)
        dates = [datetime.date.fromisoformat(release.group(4)) for release in releases]
        self.assertEqual(sorted(dates, reverse=True), dates)

    def test_is_what_the_documents_show(self):
        shown = {(path.relative_to(PROJECT).as_posix(), number)
                 for path in [*PROJECT.glob("*.md"), *PROJECT.glob("docs/**/*.md")]
                 for number in SHOWN.findall(path.read_text(encoding="utf-8"))}
        self.assertIn(("docs/getting-started.md", version()), shown)
        self.assertEqual({version()}, {number for _, number in shown}, shown)


class Addresses(unittest.TestCase):
    def test_of_nobody_are_not_given_to_who_reports_a_fault(self):
        self.assertEqual([], re.findall(r"\S+@\S+|\w+://(?!\[|localhost|127\.)\S+", text("SECURITY.md")))


if __name__ == "__main__":
    unittest.main()
