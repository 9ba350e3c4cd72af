"""Files of fields before judges that are not ours: GDAL's programs, and a reader of ISOXML that knows
nothing of navctl."""

import json
import math
import os
import pathlib
import shutil
import sqlite3
import subprocess
import tempfile
import unittest

import isoxml_reader
from navctl_program import Simulator, answer, navctl

ORIGIN = "48.5,11.25,520"
LINES = "\n".join([
    "0 10.0 20.0 0 -250.5 610.25 0",
    "1 -300 4000.5 0 2.5",
    "2 0 100 0 100 0 0 0 -100 0",
    "4 4 0 0 0 20 35 0 70 60 0 65 140 0",
])
# A degree of latitude has 111 km, so this is a millimetre.
MILLIMETRE = 9e-9


def near(left, right):
    """Whether two positions, longitude first, are within a millimetre."""
    east = math.remainder(left[0] - right[0], 360.0) * math.cos(math.radians(left[1]))
    return math.hypot(east, left[1] - right[1]) <= MILLIMETRE


class Judged(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)

    def path(self, name):
        return str(self.folder / name)

    def write(self, name, text):
        pathlib.Path(self.path(name)).write_text(text, encoding="utf-8")
        return self.path(name)

    def run_navctl(self, *arguments):
        result = navctl(*arguments)
        self.assertEqual(0, result.returncode, result.stderr)
        return result

    def assert_near(self, expected, actual):
        self.assertEqual(len(expected), len(actual))
        for one, other in zip(expected, actual):
            self.assertTrue(near(one, other), (one, other))


@unittest.skipUnless(shutil.which("ogr2ogr"), "gdal-bin is not installed")
class Gdal(Judged):
    def gdal(self, *arguments):
        result = subprocess.run(arguments, capture_output=True, text=True, check=False, timeout=60)
        self.assertEqual(0, result.returncode, result.stderr)
        self.assertNotIn("ERROR", result.stderr)
        return result

    def features(self, path, *layers):
        """What GDAL reads in a file."""
        target = self.path("gdal.geojson")
        pathlib.Path(target).unlink(missing_ok=True)
        self.gdal("ogr2ogr", "-f", "GeoJSON", "-lco", "COORDINATE_PRECISION=15", target, path,
                  *layers)
        return json.loads(pathlib.Path(target).read_text(encoding="utf-8"))["features"]

    def test_reads_the_lines_that_navctl_writes(self):
        source = self.write("lines.txt", LINES)
        expected = json.loads(self.run_navctl("wayline", "convert", source, "--to", "geojson",
                                              "--origin", ORIGIN).stdout)["features"]
        for name in ("lines.kml", "lines.kmz", "lines.shp", "lines.gpkg"):
            with self.subTest(name):
                self.run_navctl("wayline", "convert", source, self.path(name), "--origin", ORIGIN)
                features = self.features(self.path(name))
                self.assertEqual(len(expected), len(features))
                for wanted, feature in zip(expected, features):
                    self.assertEqual("LineString", feature["geometry"]["type"])
                    self.assert_near(wanted["geometry"]["coordinates"],
                                     feature["geometry"]["coordinates"])
                    kind = {key.lower(): value for key, value in feature["properties"].items()}
                    self.assertEqual(wanted["properties"]["kind"], kind["kind"])

    def test_finds_nothing_wrong_with_a_geopackage_of_lines_and_boundaries(self):
        source = self.isoxml()
        self.run_navctl("wayline", "convert", source, self.path("all.gpkg"))
        info = self.gdal("ogrinfo", "-so", "-al", self.path("all.gpkg"))
        self.assertEqual("", info.stderr)
        self.assertIn("WGS 84", info.stdout)
        polygon = self.features(self.path("all.gpkg"), "field_boundaries")[0]
        self.assertEqual(2, len(polygon["geometry"]["coordinates"]))

    def isoxml(self):
        def points(rows):
            return "".join(f'<PNT A="2" C="{north}" D="{east}"/>' for north, east in rows)
        outer = points([(52, 5), (52, 5.01), (52.01, 5.012), (52.01, 5), (52, 5)])
        hole = points([(52.002, 5.002), (52.004, 5.002), (52.004, 5.003)])
        line = points([(52.001, 5.001), (52.008, 5.001)])
        return self.write("TASKDATA.XML",
                          '<ISO11783_TaskData VersionMajor="3"><PFD A="PFD1" C="North">'
                          f'<PLN A="1"><LSG A="1">{outer}</LSG><LSG A="2">{hole}</LSG></PLN>'
                          f'<LSG A="5" B="One">{line}</LSG></PFD></ISO11783_TaskData>')

    def test_writes_lines_and_areas_that_navctl_reads(self):
        line = [[5.0, 52.0], [5.001, 52.0005], [5.003, 52.002]]
        across = [[179.9995, -17.0], [-179.9995, -17.002]]
        ring = [[5.0, 52.0], [5.01, 52.0], [5.012, 52.01], [5.0, 52.01], [5.0, 52.0]]

        def feature(kind, name, coordinates):
            return {"type": "Feature", "properties": {"name": name},
                    "geometry": {"type": kind, "coordinates": coordinates}}
        cases = {"LineString": [feature("LineString", "One", line),
                                feature("LineString", "Two", across)],
                 "Polygon": [feature("Polygon", "Area", [ring])]}
        for kind, features in cases.items():
            source = self.write(f"{kind}.geojson",
                                json.dumps({"type": "FeatureCollection", "features": features}))
            for driver, ending in (("KML", "kml"), ("ESRI Shapefile", "shp"), ("GPKG", "gpkg"),
                                   ("GeoJSON", "json"), ("LIBKML", "kmz")):
                with self.subTest(kind=kind, driver=driver):
                    target = self.path(f"{kind}.{ending}")
                    self.gdal("ogr2ogr", "-f", driver, target, source)
                    code, listed = answer("wayline", "list", target)
                    self.assertEqual(0, code, listed)
                    field = listed["fields"][0]
                    if kind == "Polygon":
                        self.assertEqual("Area", field["boundaries"][0]["name"])
                        self.assertEqual(4, field["boundaries"][0]["points"])
                        continue
                    self.assertEqual(["ab-curve", "ab"], [one["kind"] for one in field["lines"]])
                    self.assertEqual(["One", "Two"], [one["name"] for one in field["lines"]])
                    back = self.path("back.kml")
                    self.run_navctl("wayline", "convert", target, back)
                    read = self.features(back)
                    self.assert_near(line, read[0]["geometry"]["coordinates"])
                    self.assert_near(across, read[1]["geometry"]["coordinates"])

    def test_projected_files_are_refused_by_the_name_of_their_system(self):
        source = self.write("one.geojson", json.dumps(
            {"type": "LineString", "coordinates": [[5.0, 52.0], [5.001, 52.0]]}))
        for driver, ending in (("ESRI Shapefile", "shp"), ("GPKG", "gpkg"), ("GeoJSON", "geojson")):
            target = self.path(f"utm.{ending}")
            self.gdal("ogr2ogr", "-f", driver, "-t_srs", "EPSG:32631", target, source)
            result = navctl("wayline", "list", target)
            self.assertEqual(2, result.returncode)
            self.assertRegex(result.stderr, "(?i)UTM.zone.31N|EPSG::32631")

    def test_reads_the_geojson_that_navctl_writes_of_fields(self):
        source = self.isoxml()
        self.run_navctl("wayline", "convert", source, self.path("all.geojson"))
        line, = [one for one in self.features(self.path("all.geojson"))
                 if one["geometry"]["type"] == "LineString"]
        self.assertEqual(("One", "North", "ab"), tuple(line["properties"][key]
                                                       for key in ("name", "field", "kind")))
        self.assert_near([[5.001, 52.001], [5.001, 52.008]], line["geometry"]["coordinates"])
        self.run_navctl("boundary", "convert", self.path("all.geojson"), self.path("area.geojson"))
        area, = self.features(self.path("area.geojson"))
        self.assertEqual(2, len(area["geometry"]["coordinates"]))


class IsoXml(Judged):
    def test_both_versions_are_what_the_standard_wants(self):
        source = self.write("lines.txt", LINES)
        expected = json.loads(self.run_navctl("wayline", "convert", source, "--to", "geojson",
                                              "--origin", ORIGIN).stdout)["features"]
        self.run_navctl("wayline", "convert", source, self.path("four.zip"), "--origin", ORIGIN)
        field, = isoxml_reader.read(self.path("four.zip"))
        straight, plus, circle, curve = field["lines"]
        for index, line in ((0, straight), (3, curve)):
            self.assert_near(expected[index]["geometry"]["coordinates"],
                             [(east, north) for north, east in line["points"]])
        self.assertEqual("a-heading", plus["kind"])
        self.assertAlmostEqual(math.degrees(2.5), plus["heading"], 1)
        self.assertEqual("circle", circle["kind"])
        self.assertAlmostEqual(100.0, circle["radius"], 3)
        self.assert_near([(11.25, 48.5)], [(east, north) for north, east in circle["points"]])
        result = navctl("wayline", "convert", source, self.path("three.xml"), "--to", "isoxml3",
                        "--origin", ORIGIN)
        self.assertEqual(2, result.returncode)
        self.assertIn("version 3 has no A-plus-heading line", result.stderr)
        self.assertFalse(os.path.exists(self.path("three.xml")))

    def test_a_card_is_a_folder_and_boundaries_go_along(self):
        boundary = [(52.0, 5.0), (52.0, 5.01), (52.01, 5.012)]
        coordinates = " ".join(f"{east},{north}" for north, east in boundary + boundary[:1])
        source = self.write("field.kml", "<kml><Document><name>North</name><Placemark><Polygon>"
                            f"<outerBoundaryIs><LinearRing><coordinates>{coordinates}"
                            "</coordinates></LinearRing></outerBoundaryIs></Polygon></Placemark>"
                            "<Placemark><name>One</name><LineString><coordinates>5,52 5,52.01"
                            "</coordinates></LineString></Placemark></Document></kml>")
        os.mkdir(self.path("card"))
        self.run_navctl("wayline", "convert", source, self.path("card"))
        field, = isoxml_reader.read(self.path("card/TASKDATA/TASKDATA.XML"))
        self.assertEqual("North", field["name"])
        self.assertEqual([[boundary]], field["boundaries"])
        self.assertEqual([(52.0, 5.0), (52.01, 5.0)], field["lines"][0]["points"])
        listed = self.run_navctl("boundary", "list", self.path("card")).stdout
        self.assertIn("3 points", listed)
        self.run_navctl("boundary", "convert", self.path("card"), self.path("area.shp"))
        self.assertTrue(os.path.exists(self.path("area.dbf")))


class StandardInput(Judged):
    def test_the_format_is_known_by_the_content(self):
        source = self.write("field.kml", Service.SOURCE)
        for name in ("a.kml", "a.kmz", "a.gpkg", "a.zip", "a.geojson"):
            with self.subTest(name):
                self.run_navctl("wayline", "convert", source, self.path(name))
                with open(self.path(name), "rb") as content:
                    result = navctl("--json", "wayline", "list", "-", stdin=content)
                self.assertEqual(0, result.returncode, result.stderr)
                fields = json.loads(result.stdout)["fields"]
                self.assertEqual(["North", "South"], [field["name"] for field in fields])
        piped = subprocess.run(["cat", self.path("a.gpkg")], capture_output=True, check=True).stdout
        result = subprocess.run([os.environ["NAVCTL"], "wayline", "convert", "-", "--to", "kml"],
                                input=piped, capture_output=True, check=False, timeout=60)
        self.assertEqual(0, result.returncode, result.stderr)
        self.assertIn(b"<LineString>", result.stdout)

    def test_an_external_file_of_an_isoxml_is_not_sought_beside_nobody(self):
        main = ('<ISO11783_TaskData VersionMajor="4"><XFR A="PFD00001" B="1"/>'
                '<PFD A="PFD1" C="North"><LSG A="5" B="One"><PNT A="2" C="1" D="2"/>'
                '<PNT A="2" C="3" D="4"/></LSG></PFD></ISO11783_TaskData>')
        with open(self.write("main.xml", main), "rb") as content:
            result = navctl("wayline", "list", "-", stdin=content)
        self.assertEqual(0, result.returncode, result.stderr)
        self.assertIn("PFD00001.XML is missing", result.stderr)

    def test_a_geopackage_that_is_being_written_is_not_read(self):
        source = self.write("field.kml", Service.SOURCE)
        self.run_navctl("wayline", "convert", source, self.path("a.gpkg"))
        os.symlink(self.path("a.gpkg"), self.path("b.gpkg"))
        with sqlite3.connect(self.path("a.gpkg"), isolation_level=None) as writer:
            writer.execute("PRAGMA cache_size=1")
            writer.execute("PRAGMA cache_spill=1")
            writer.execute("BEGIN")
            writer.execute("CREATE TABLE more (text TEXT)")
            for _ in range(200):
                writer.execute("INSERT INTO more VALUES (?)", ("x" * 4000,))
            self.assertTrue(os.path.exists(self.path("a.gpkg-journal")))
            for name in ("a.gpkg", "b.gpkg", "-"):
                with open(self.path("b.gpkg"), "rb") as content:
                    path = name if name == "-" else self.path(name)
                    result = navctl("wayline", "list", path, stdin=content)
                self.assertEqual(2, result.returncode, name)
                self.assertIn("a.gpkg-journal", result.stderr)
            writer.execute("ROLLBACK")
        writer.close()
        self.run_navctl("wayline", "list", self.path("b.gpkg"))

    def test_text_forms_and_csv_are_read_as_before(self):
        for text, kind in (("0 0 0 0 0 100 0\n", "ab"), ("# none\n\n4 2 0 0 0 1 1 0", "ab-curve")):
            with open(self.write("lines", text), "rb") as content:
                result = navctl("--json", "wayline", "show", "-", stdin=content)
            self.assertEqual(kind, json.loads(result.stdout)["waylines"][0]["kind"])


class GeoJson(Judged):
    AREA = {"type": "Feature", "properties": {"name": "Area", "field": "North"},
            "geometry": {"type": "Polygon",
                         "coordinates": [[[5, 52], [5.01, 52], [5.012, 52.01], [5, 52]]]}}
    ROAD = {"type": "Feature", "properties": {"name": "Road", "field": "North"},
            "geometry": {"type": "LineString", "coordinates": [[5, 52], [5.001, 52]]}}

    def collection(self, *features):
        return self.write("map.geojson",
                          json.dumps({"type": "FeatureCollection", "features": features}))

    def test_has_fields_lines_and_boundaries_as_the_other_formats(self):
        source = self.collection(self.AREA, self.ROAD)
        code, listed = answer("wayline", "list", source)
        self.assertEqual(0, code, listed)
        field, = listed["fields"]
        self.assertEqual("North", field["name"])
        self.assertEqual(("Road", "ab"), (field["lines"][0]["name"], field["lines"][0]["kind"]))
        self.assertEqual(3, field["boundaries"][0]["points"])
        for target in ("a.kml", "a.gpkg", "a.zip", "a.shp"):
            self.run_navctl("boundary", "convert", source, self.path(target))
            code, back = answer("boundary", "list", self.path(target))
            self.assertEqual((0, "Area"), (code, back["fields"][0]["boundaries"][0]["name"]))
        self.run_navctl("boundary", "convert", self.path("a.shp"), self.path("b.geojson"))
        written, = json.loads(pathlib.Path(self.path("b.geojson")).read_text())["features"]
        self.assertEqual("Polygon", written["geometry"]["type"])
        code, shown = answer("boundary", "convert", self.path("a.shp"), "-", "--to", "geojson")
        self.assertEqual((0, [written]), (code, shown["features"]))

    def test_a_line_without_an_origin_has_its_first_place_as_one(self):
        source = self.collection(self.AREA, self.ROAD)
        code, shown = answer("wayline", "show", source)
        self.assertEqual(0, code, shown)
        self.assertAlmostEqual(68.7, shown["waylines"][0]["length_m"], 1)
        with Simulator():
            code, value = answer("wayline", "set", source, "--line", "Road")
            self.assertEqual((0, "done"), (code, value.get("outcome")), value)
            self.assertTrue(value["held"]["text"].startswith("0 0.000000 0.000000 0.000000 68.6"),
                            value)
        result = navctl("wayline", "convert", source, "--to", "text")
        self.assertEqual(0, result.returncode, result.stderr)
        self.assertIn("1 boundary is left out", result.stderr)

    def test_lines_that_cannot_be_used_are_named_when_the_rest_is_converted(self):
        spiral = {"type": "Feature", "properties": {"name": "Snail", "kind": "spiral"},
                  "geometry": self.ROAD["geometry"]}
        source = self.collection(spiral, self.ROAD)
        result = navctl("wayline", "convert", source, self.path("out.kml"))
        self.assertEqual(0, result.returncode, result.stderr)
        self.assertIn('left out: line "Snail": "spiral" is no kind of wayline', result.stderr)
        asked = navctl("wayline", "convert", source, self.path("one.kml"), "--line", "Snail")
        self.assertEqual(2, asked.returncode)
        self.assertIn('line "Snail": "spiral"', asked.stderr)


class Numbers(Judged):
    """The number of a line is one in all commands."""

    KML = "<kml><Document>" + "".join(
        f"<Placemark><name>{name}</name><ExtendedData><Data name='field'><value>{field}</value>"
        f"</Data></ExtendedData><LineString><coordinates>{coordinates}</coordinates></LineString>"
        "</Placemark>" for name, field, coordinates in (
            ("One", "North", "11,48 11,48.001"), ("Two", "South", "11,48 11,48.002"),
            ("None", "North", "11,48"), ("Four", "North", "11,48 11,48.004"),
            ("Five", "South", "11,48 11,48.005"))) + "</Document></kml>"

    def listed(self, *arguments):
        code, value = answer("wayline", "list", *arguments)
        self.assertEqual(0, code, value)
        return {line["line"]: (line["name"], field["name"])
                for field in value["fields"] for line in field["lines"]}

    def shown(self, *arguments):
        code, value = answer("wayline", "show", *arguments)
        self.assertEqual(0, code, value)
        return {line["line"]: (line["name"], line["field"]) for line in value["waylines"]}

    def check(self, source, *origin):
        listed = self.listed(source)
        shown = self.shown(source, *origin)
        self.assertEqual({number: name for number, (name, _) in listed.items()},
                         {number: name for number, (name, _) in shown.items()
                          if number in listed})
        with Simulator():
            for number, (name, field) in listed.items():
                self.assertEqual({number: (name, field)}, self.listed(source, "--line", str(number)))
                code, value = answer("wayline", "set", source, "--line", str(number), *origin)
                self.assertEqual((0, "done", number, name), (code, value["outcome"], value["line"],
                                                             value["name"]), value)
                one = self.path("one.kml")
                self.run_navctl("wayline", "convert", source, one, "--line", str(number), *origin)
                self.assertEqual([name], [line for line, _ in self.listed(one).values()])

    def test_it_counts_all_lines_of_a_file_of_fields_whatever_field_is_wanted(self):
        source = self.write("fields.kml", self.KML)
        expected = {1: ("One", "North"), 2: ("Two", "South"), 4: ("Four", "North"),
                    5: ("Five", "South")}
        self.assertEqual(expected, self.listed(source))
        self.assertEqual(expected, self.shown(source))
        self.check(source)
        for field in ("North", "South"):
            there = {number: line for number, line in expected.items() if line[1] == field}
            self.assertEqual(there, self.listed(source, "--field", field))
            for number in range(1, 7):
                code, value = answer("wayline", "show", source, "--field", field, "--line",
                                     str(number))
                self.assertEqual(0 if number in there else 2, code, value)
        with Simulator():
            code, value = answer("wayline", "set", source, "--field", "North", "--line", "4")
            self.assertEqual((0, "Four", "North"), (code, value["name"], value["field"]))

    def test_it_is_the_same_in_geojson_of_waylines(self):
        text = self.write("lines.txt", "5\n0 10 20 0 -250 610 0\n0 0 0 0 100 200 0\n")
        path = self.path("own.geojson")
        self.run_navctl("wayline", "convert", text, path, "--origin", "48.5,179.9995,520")
        own = json.loads(pathlib.Path(path).read_text())
        for feature, name in zip(own["features"], ("path", "east", "north")):
            feature["properties"]["name"] = name
        area = {"type": "Feature", "properties": {"name": "Area"},
                "geometry": {"type": "Polygon", "coordinates": [
                    [[179.99, 48.5], [179.999, 48.5], [179.999, 48.51], [179.99, 48.5]]]}}
        cut = {"type": "Feature", "properties": {"name": "cut"},
               "geometry": {"type": "MultiLineString", "coordinates": [
                   [[179.999, 48.5], [180, 48.5]], [[-180, 48.5], [-179.999, 48.5]]]}}
        for at in range(4):
            own_and_more = own["features"][:at] + [area, cut] + own["features"][at:]
            source = self.write("more.geojson", json.dumps(
                {"type": "FeatureCollection", "features": own_and_more}))
            self.assertEqual({"east", "north", "cut"},
                             {name for name, _ in self.listed(source).values()})
            self.check(source)

    def test_several_lines_of_one_name_are_told_and_none_is_taken(self):
        text = self.write("lines.csv", "x,0,0,0,1,1,0\nx,0,0,0,2,2,0\n")
        result = navctl("wayline", "show", text, "--line", "x")
        self.assertEqual(2, result.returncode)
        self.assertIn("choose one by its number", result.stderr)


class Kept(Judged):
    """What a file of fields has comes through."""

    def test_geojson_of_fields_becomes_geojson_with_all_that_it_has(self):
        source = self.write("fields.geojson", json.dumps({"type": "FeatureCollection", "features": [
            GeoJson.AREA, GeoJson.ROAD,
            {"type": "Feature", "properties": {"name": "Plus", "field": "South",
                                               "kind": "a-heading", "heading": 12.5},
             "geometry": {"type": "LineString", "coordinates": [[5, 52], [5.001, 52.01]]}},
            {"type": "Feature", "properties": {"name": "Bow", "field": 7, "kind": "ab-curve"},
             "geometry": {"type": "LineString",
                          "coordinates": [[5, 52, 3.5], [5.001, 52, 4.5], [5.002, 52.1, 5.5]]}}]}))
        self.run_navctl("wayline", "convert", source, self.path("out.geojson"))
        self.run_navctl("wayline", "convert", self.path("out.geojson"), self.path("back.geojson"))
        written = json.loads(pathlib.Path(self.path("out.geojson")).read_text())
        self.assertEqual(written, json.loads(pathlib.Path(self.path("back.geojson")).read_text()))
        by_name = {one["properties"]["name"]: one for one in written["features"]}
        self.assertEqual(GeoJson.AREA["geometry"], by_name["Area"]["geometry"])
        self.assertEqual(GeoJson.ROAD["geometry"], by_name["Road"]["geometry"])
        self.assertEqual({"name": "Road", "field": "North", "kind": "ab"},
                         by_name["Road"]["properties"])
        self.assertEqual({"name": "Plus", "field": "South", "kind": "a-heading", "heading": 12.5},
                         by_name["Plus"]["properties"])
        self.assertEqual([[5, 52, 3.5], [5.001, 52, 4.5], [5.002, 52.1, 5.5]],
                         by_name["Bow"]["geometry"]["coordinates"])
        self.assertEqual("7", by_name["Bow"]["properties"]["field"])
        for target in ("a.gpkg", "a.kml", "a.zip"):
            with self.subTest(target):
                self.run_navctl("wayline", "convert", self.path("out.geojson"), self.path(target))
                _, listed = answer("wayline", "list", self.path(target))
                self.assertEqual({"North", "South", "7"},
                                 {field["name"] for field in listed["fields"]})
                self.assertEqual({("Road", "ab"), ("Plus", "a-heading"), ("Bow", "ab-curve")},
                                 {(line["name"], line["kind"]) for field in listed["fields"]
                                  for line in field["lines"]})

    def test_a_text_form_says_which_origin_was_chosen(self):
        source = self.write("road.geojson", json.dumps(GeoJson.ROAD))
        result = self.run_navctl("wayline", "convert", source, self.path("a.txt"))
        self.assertIn("--origin 52,5,0", result.stderr)
        code, value = answer("wayline", "convert", source, self.path("a.csv"))
        self.assertEqual((0, {"latitude": 52, "longitude": 5, "height": 0}), (code, value["origin"]))


class Service(Judged):
    SOURCE = ("<kml><Document><Folder><name>North</name><Placemark><name>Road</name><LineString>"
              "<coordinates>11,48 11,48.001</coordinates></LineString></Placemark></Folder><Folder>"
              "<name>South</name><Placemark><name>Road</name><LineString><coordinates>"
              "11.02,48 11.021,48</coordinates></LineString></Placemark></Folder></Document></kml>")

    def test_a_line_is_chosen_by_field_and_name_and_set(self):
        source = self.write("fields.bin", self.SOURCE)
        with Simulator():
            several = navctl("wayline", "set", source, "--line", "Road")
            self.assertEqual(2, several.returncode)
            self.assertIn("--field", several.stderr)
            for choice in (("--field", "South", "--line", "Road"), ("--line", "2")):
                code, value = answer("wayline", "set", source, *choice)
                self.assertEqual((0, "done"), (code, value.get("outcome")), value)
                self.assertAlmostEqual(math.pi / 2, value["held"]["heading_rad"], 4)
                self.assertAlmostEqual(74.6, value["held"]["length_m"], 0)
            missing = navctl("wayline", "set", source, "--line", "Lane")
            self.assertEqual(2, missing.returncode)
            self.assertIn('there is no line "Lane"; there are: "Road", "Road"', missing.stderr)
            nowhere = navctl("wayline", "set", source, "--field", "East")
            self.assertIn('there is no field "East"; there are: "North", "South"', nowhere.stderr)

    def test_every_refusal_lists_what_is_supported(self):
        for name, content in (("x.bin", "<html/>"), ("y.shp", "\x7fELF\0")):
            result = navctl("wayline", "list", self.write(name, content))
            self.assertEqual(2, result.returncode)
            self.assertIn("supported are ISOXML", result.stderr)
        result = navctl("wayline", "list", str(self.folder))
        self.assertEqual(2, result.returncode)
        self.assertIn("supported are ISOXML", result.stderr)
        self.assertIn("GeoPackage", result.stderr)


if __name__ == "__main__":
    unittest.main()
