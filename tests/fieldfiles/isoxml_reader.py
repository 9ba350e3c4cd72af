"""A reader of ISOXML for tests, written from what ISO 11783-10 says and from nothing of ours: it checks
what the published schema would, and gives fields as plain values."""

import pathlib
import re
import xml.etree.ElementTree
import zipfile

KINDS = {"1": "ab", "2": "a-heading", "3": "ab-curve", "4": "circle", "5": "spiral"}
ID = {"PFD": r"(PFD|PFD-)([0-9])+", "GGP": r"(GGP|GGP-)([0-9])+", "GPN": r"(GPN|GPN-)([0-9])+"}
ROOT = {"VersionMajor", "VersionMinor", "ManagementSoftwareManufacturer",
        "ManagementSoftwareVersion", "DataTransferOrigin"}
# Of each element the attributes that must be there, those that may, and the elements within.
ELEMENTS = {
    "ISO11783_TaskData": (ROOT, set(), {"PFD"}),
    "PFD": (set("ACD"), set("BEFGHI"), {"PLN", "LSG", "PNT", "GGP"}),
    "GGP": (set("A"), set("B"), {"GPN", "PLN"}),
    "GPN": (set("AC"), set("BDEFGHIJKLMNO"), {"LSG", "PLN"}),
    "PLN": (set("A"), set("BCDE"), {"LSG"}),
    "LSG": (set("A"), set("BCDEF"), {"PNT"}),
    "PNT": (set("ACD"), set("BEFGHIJK"), set()),
}
DECIMAL = re.compile(r"-?[0-9]+(\.[0-9]{1,9})?")


def check(element, seen):
    """Fails where the schema would."""
    required, optional, children = ELEMENTS[element.tag]
    names = set(element.attrib)
    assert required <= names <= required | optional, (element.tag, names)
    assert not (element.text or "").strip() and not (element.tail or "").strip()
    if element.tag in ID:
        name = element.get("A")
        assert re.fullmatch(ID[element.tag], name) and 4 <= len(name) <= 14, name
        assert name not in seen
        seen.add(name)
    if element.tag in ("PFD", "GGP", "GPN", "PLN", "LSG"):
        for attribute in {"PFD": "BC"}.get(element.tag, "B"):
            assert len(element.get(attribute, "")) <= 32
    if element.tag == "PNT":
        for attribute, limit in (("C", 90), ("D", 180)):
            assert DECIMAL.fullmatch(element.get(attribute)), element.get(attribute)
            assert abs(float(element.get(attribute))) <= limit
        assert re.fullmatch(r"-?[0-9]+", element.get("E", "0"))
    if element.tag == "GPN":
        assert len(element.findall("LSG")) == 1
        assert DECIMAL.fullmatch(element.get("G", "0")) and 0 <= float(element.get("G", "0")) <= 360
        assert element.get("D", "1") in "123" and re.fullmatch("[0-9]+", element.get("H", "0"))
    if element.tag == "LSG":
        assert element.findall("PNT")
    for child in element:
        assert child.tag in children, (element.tag, child.tag)
        check(child, seen)


def places(line_string):
    return [(float(point.get("C")), float(point.get("D"))) for point in line_string.findall("PNT")]


def lines_of(field, version):
    if version == 3:
        assert not field.findall("GGP")
        for line in field.findall("LSG"):
            assert {point.get("A") for point in line.findall("PNT")} <= {"1", "2"}
            if line.get("A") == "5":
                points = places(line)
                yield {"kind": "ab" if len(points) == 2 else "ab-curve", "name": line.get("B"),
                       "points": points}
        return
    for pattern in field.findall("GGP/GPN"):
        types = [point.get("A") for point in pattern.findall("LSG/PNT")]
        kind = KINDS[pattern.get("C")]
        expected = {"ab": ["6", "7"], "a-heading": ["6"], "circle": ["8"],
                    "ab-curve": ["6"] + ["9"] * (len(types) - 2) + ["7"]}
        assert types == expected[kind], types
        line = {"kind": kind, "name": pattern.get("B"), "points": places(pattern.find("LSG"))}
        if kind == "a-heading":
            line["heading"] = float(pattern.get("G"))
        if kind == "circle":
            assert pattern.get("D") == "3"
            line["radius"] = int(pattern.get("H")) / 1000.0
        yield line


def ring(line_string):
    points = places(line_string)
    assert points[0] == points[-1]
    return points[:-1]


def read(path):
    """The fields of a main file or of a zip."""
    path = pathlib.Path(path)
    if path.suffix == ".zip":
        with zipfile.ZipFile(path) as archive:
            assert archive.namelist() == ["TASKDATA/TASKDATA.XML"]
            text = archive.read("TASKDATA/TASKDATA.XML")
    else:
        text = path.read_bytes()
    assert text.startswith(b'<?xml version="1.0" encoding="UTF-8"?>')
    root = xml.etree.ElementTree.fromstring(text)
    check(root, set())
    version = int(root.get("VersionMajor"))
    assert version in (3, 4) and root.get("DataTransferOrigin") == "1"
    fields = []
    for field in root.findall("PFD"):
        boundaries = []
        for polygon in field.findall("PLN"):
            assert polygon.get("A") == "1"
            rings = [(line.get("A"), ring(line)) for line in polygon.findall("LSG")]
            assert [kind for kind, _ in rings] == ["1"] + ["2"] * (len(rings) - 1)
            boundaries.append([points for _, points in rings])
        fields.append({"name": field.get("C"), "lines": list(lines_of(field, version)),
                       "boundaries": boundaries})
    return fields
