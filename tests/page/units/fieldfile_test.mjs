import assert from "node:assert/strict";
import test from "node:test";
import { deflateRawSync } from "node:zlib";
import { readFileSync } from "node:fs";
import { DOMParser } from "./xml_elements.mjs";
import { load } from "./page_modules.mjs";

globalThis.DOMParser = DOMParser;
const { readFields } = await load("fieldfile.js");
const { limits } = await load("fieldplaces.js");
const { columnsOf } = await load("fieldtables.js");

const bytesOf = (text) => new TextEncoder().encode(text);
const seed = (name) => new Uint8Array(readFileSync(new URL(`../../fuzz/field_seeds/${name}`, import.meta.url)));
const read = (content, name = "x.bin") =>
  readFields([{ name, bytes: typeof content === "string" ? bytesOf(content) : content }]);
const onlyField = async (content) => {
  const { fields } = await read(content);
  assert.equal(fields.length, 1);
  return fields[0];
};

/** A zip of files, packed; `announced` is how long it says that they are. */
function zipOf(files, announced) {
  const locals = [];
  const entries = [];
  let at = 0;
  for (const [name, text] of Object.entries(files)) {
    const packed = deflateRawSync(typeof text === "string" ? bytesOf(text) : text);
    const title = bytesOf(name);
    const common = Buffer.alloc(26);
    common.writeUInt16LE(20, 0);
    common.writeUInt16LE(8, 4);
    common.writeUInt32LE(packed.length, 14);
    common.writeUInt32LE(announced ?? text.length, 18);
    common.writeUInt16LE(title.length, 22);
    const local = Buffer.concat([Buffer.from("PK\x03\x04", "latin1"), common, title, packed]);
    const rest = Buffer.alloc(14);
    rest.writeUInt32LE(at, 10);
    entries.push(Buffer.concat([Buffer.from("PK\x01\x02\x14\x00", "latin1"), common, rest, title]));
    locals.push(local);
    at += local.length;
  }
  const list = Buffer.concat(entries);
  const end = Buffer.alloc(22);
  end.write("PK\x05\x06", "latin1");
  end.writeUInt16LE(entries.length, 8);
  end.writeUInt16LE(entries.length, 10);
  end.writeUInt32LE(list.length, 12);
  end.writeUInt32LE(at, 16);
  return new Uint8Array(Buffer.concat([...locals, list, end]));
}

const kml = (content) => `<?xml version="1.0"?><kml xmlns="http://www.opengis.net/kml/2.2"><Document>${content}</Document></kml>`;
const kmlLine = (coordinates, more = "") => kml(`<Placemark><name>One</name>${more}<LineString><coordinates>${coordinates}</coordinates></LineString></Placemark>`);
const worldSystem = 'GEOGCS["GCS_WGS_1984",DATUM["D_WGS_1984",SPHEROID["WGS_1984",6378137.0,298.257223563]],'
  + 'PRIMEM["Greenwich",0.0],UNIT["Degree",0.0174532925199433]]';

/** The files of a Shapefile "a" of shapes, each its parts; a row is named by its number. */
function shapesOf(type, shapes) {
  const head = (words) => {
    const bytes = Buffer.alloc(100);
    bytes.writeUInt32BE(9994, 0);
    bytes.writeUInt32BE(words, 24);
    bytes.writeUInt32LE(1000, 28);
    bytes.writeUInt32LE(type, 32);
    return bytes;
  };
  const contents = shapes.map((parts) => {
    const places = parts.flat();
    const content = Buffer.alloc(44 + 4 * parts.length + 16 * places.length);
    content.writeUInt32LE(type, 0);
    content.writeUInt32LE(parts.length, 36);
    content.writeUInt32LE(places.length, 40);
    parts.forEach((_, i) => content.writeUInt32LE(parts.slice(0, i).flat().length, 44 + 4 * i));
    places.flat().forEach((value, i) => content.writeDoubleLE(value, 44 + 4 * parts.length + 8 * i));
    return content;
  });
  let at = 50;
  const [records, entries, rows] = [[], [], []];
  contents.forEach((content, i) => {
    const [record, entry] = [Buffer.alloc(8), Buffer.alloc(8)];
    record.writeUInt32BE(i + 1, 0);
    entry.writeUInt32BE(at, 0);
    [record, entry].forEach((one) => one.writeUInt32BE(content.length / 2, 4));
    records.push(record, content);
    entries.push(entry);
    rows.push(Buffer.from(` ${`${i}`.padEnd(4)}`));
    at += 4 + content.length / 2;
  });
  const table = Buffer.alloc(65);
  table.writeUInt32LE(shapes.length, 4);
  table.writeUInt16LE(65, 8);
  table.writeUInt16LE(5, 10);
  table.write("NAME", 32);
  table.write("C", 43);
  table[48] = 4;
  table[64] = 0x0d;
  return { "a.shp": Buffer.concat([head(at), ...records]), "a.shx": Buffer.concat([head(50 + 4 * shapes.length), ...entries]),
    "a.dbf": Buffer.concat([table, ...rows]), "a.prj": Buffer.from(worldSystem) };
}

/** A Shapefile of lines of two points and more. */
const shapefile = (count) => shapesOf(3, Array.from({ length: count }, (_, i) =>
  [Array.from({ length: 2 + i }, (__, j) => [5 + 0.01 * j * (i + 1), 52 + 0.1 * i])]));

const geoJson = (geometry, properties = {}) => JSON.stringify({ type: "Feature", properties, geometry });

test("what other programs have written is read in each format, longitude first", async () => {
  for (const name of ["kml/s", "geopackage/s", "field_file/kmz", "field_file/shapes_s"]) {
    const { lines: [line] } = await onlyField(seed(name));
    assert.deepEqual([line.name, line.kind, line.places], ["One", 0, [[5, 52, null], [5.001, 52.001, null]]], name);
  }
  for (const name of ["kml/a", "geopackage/a", "field_file/shapes_a"]) {
    const { boundaries: [area] } = await onlyField(seed(name));
    assert.equal(area.name, "Area", name);
    const corners = area.rings[0].map(([east, north]) => `${east} ${north}`).sort();
    assert.deepEqual(corners, ["5 52", "5 52.001", "5.001 52"], name);
  }
});

test("ISOXML of both versions is read, and in a zip", async () => {
  for (const name of ["isoxml/four", "field_file/isoxml_zip"]) {
    const { lines } = await onlyField(seed(name));
    assert.deepEqual(lines.slice(0, 5).map(({ kind }) => kind), [0, 1, 4, 2, 2], name);
    assert.equal(lines[1].heading, 45);
  }
  const { lines: [line] } = await onlyField(seed("isoxml/three"));
  assert.deepEqual([line.kind, line.places], [0, [[5, 52, null], [5.1, 52, null]]]);
});

test("a spiral is left out by its name, and external files are sought beside the main one alone", async () => {
  const points = '<PNT A="6" C="52" D="5"/><PNT A="7" C="52.1" D="5"/>';
  const pattern = (kind) => `<GPN A="GPN${kind}" B="Kind ${kind}" C="${kind}"><LSG A="5">${points}</LSG></GPN>`;
  const main = (xfr, more) => `<ISO11783_TaskData VersionMajor="4">${xfr}${more}</ISO11783_TaskData>`;
  const field = `<PFD A="PFD1" C="North"><GGP A="GGP1">${pattern(5)}${pattern(3)}</GGP></PFD>`;
  const { fields, left } = await readFields([
    { name: "PFD00001.xml", bytes: bytesOf(`<XFC>${field}</XFC>`) },
    { name: "TASKDATA.XML", bytes: bytesOf(main('<XFR A="PFD00001" B="1"/>', "")) }]);
  assert.deepEqual(fields[0].lines.map(({ name }) => name), ["Kind 3"]);
  assert.deepEqual(left, ["line “Kind 5”: a spiral is no kind of line"]);
  for (const path of ["PFD/../x", "../PFD00001", "/etc/PFD1", "..\\PFD1", "C:PFD1", "../TSK00001"]) {
    await assert.rejects(read(main(`<XFR A="${path}" B="1"/>`, field)), /external file/, path);
  }
});

const isoCurve = (points, attributes = 'C="3"', name = "North") => {
  const marks = points.map(([type, north]) => `<PNT A="${type}" C="${north}" D="5"/>`).join("");
  return `<ISO11783_TaskData><PFD A="PFD1" C="${name}"><GGP A="GGP1"><GPN A="GPN1" B="One" ${attributes}>`
    + `<LSG A="5">${marks}</LSG></GPN></GGP></PFD></ISO11783_TaskData>`;
};

test("a curve of ISOXML goes from A to B in whatever order its points stand", async () => {
  const [a, b, one, two, three] = [[6, 52], [7, 52.004], [9, 52.001], [9, 52.002], [9, 52.003]];
  const orders = [[a, one, two, three, b], [b, three, two, one, a], [a, b, one, two, three], [b, a, one, two, three],
    [a, b, three, two, one], [one, two, three, b, a], [a, one, b, two, three], [one, two, a, three, b]];
  for (const points of orders) {
    const { lines } = await onlyField(isoCurve(points));
    assert.deepEqual(lines[0].places.map(([, north]) => north), [52, 52.001, 52.002, 52.003, 52.004], `${points}`);
  }
  const first = async (...points) => (await onlyField(isoCurve(points))).lines[0].places[0][1];
  assert.equal(await first(one, [6, 52.002], [7, 52.003], b), 52.001);
  assert.equal(await first(one, a), 52);
  assert.equal(await first([7, 52.004], one), 52.001);
});

test("a pivot whose A is its centre has its radius, and further fields of a name have a number", async () => {
  const { lines } = await onlyField(isoCurve([[8, 52], [6, 52]], 'C="4" H="50000"'));
  const [[, north]] = lines[0].places;
  assert.ok(Math.abs((north - 52) * 111270 - 50) < 0.1, `${north}`);
  const one = isoCurve([[6, 52], [7, 52.1]]);
  const field = /<PFD.*<\/PFD>/.exec(one)[0];
  const { fields } = await read(one.replace(field, field.repeat(3)));
  assert.deepEqual(fields.map(({ name, lines: own }) => [name, own.length]), [["North", 1], ["North (2)", 1], ["North (3)", 1]]);
});

test("of a zip one file is read, and the others are named", async () => {
  const { fields, left } = await read(zipOf({ "doc.kml": kmlLine("1,2 3,4"), "other.kml": kmlLine("5,6 7,8") }));
  assert.equal(fields[0].lines.length, 1);
  assert.deepEqual(left, ["other.kml, as of a zip one file is read, here doc.kml"]);
});

test("GeoJSON has lines, areas with holes, and its own kinds", async () => {
  const { lines } = await onlyField(geoJson({ type: "MultiLineString", coordinates: [[[1, 2], [3, 4]], [[5, 6], [7, 8], [9, 9]]] },
    { Name: "Two" }));
  assert.deepEqual(lines.map(({ name, kind }) => [name, kind]), [["Two, part 1", 0], ["Two, part 2", 4]]);
  const ring = [[0, 0], [4, 0], [4, 3], [0, 0]];
  const { boundaries } = await onlyField(geoJson({ type: "Polygon", coordinates: [ring, [[1, 0.2], [2, 0.2], [2, 0.4], [1, 0.2]]] }));
  assert.deepEqual(boundaries[0].rings.map(({ length }) => length), [3, 3]);
  const heading = await onlyField(geoJson({ type: "LineString", coordinates: [[0, 0], [0.001, 0]] }, { kind: "a-heading" }));
  assert.ok(Math.abs(heading.lines[0].heading - 90) < 1e-4);
});

test("a line that is cut at the 180th meridian is one", async () => {
  const { lines } = await onlyField(geoJson({ type: "MultiLineString",
    coordinates: [[[179.9, -17], [180, -17.1]], [[-180, -17.1], [-179.9, -17.2]]] }));
  assert.deepEqual(lines.map(({ places }) => places.map(([east]) => east)), [[179.9, -179.9]]);
  assert.equal(lines[0].kind, 0);
  // A bend that lies on the meridian by chance is none that was put there to cut the line.
  const bent = await onlyField(geoJson({ type: "MultiLineString",
    coordinates: [[[179.9, -17], [180, -17.3]], [[-180, -17.3], [-179.9, -17.2]]] }));
  assert.equal(bent.lines[0].places.length, 3);
});

test("areas that are cut at the 180th meridian are one, and those that do not meet are not", async () => {
  const rows = [
    [[[[-2, 0], [1, 0], [3, 4], [-2, 4]]], [[[[-2, 0], [0, 0], [0, 4], [-2, 4]]]], [[[[0, 0], [1, 0], [3, 4], [0, 4]]]]],
    // A hole across the meridian, and one beside it.
    [[[[-2, 0], [2, 0], [2, 4], [-2, 4]], [[-1.8, 0.5], [-1.8, 1], [-1.5, 0.5]], [[-1, 1], [-1, 3], [1, 3], [1, 1.5]]],
      [[[[-2, 0], [0, 0], [0, 1.25], [-1, 1], [-1, 3], [0, 3], [0, 4], [-2, 4]], [[-1.8, 0.5], [-1.8, 1], [-1.5, 0.5]]]],
      [[[[0, 0], [2, 0], [2, 4], [0, 4], [0, 3], [1, 3], [1, 1.5], [0, 1.25]]]]],
    // A comb: its teeth are areas of their own.
    [[[[-2, 0], [1, 0], [1, 1], [-1, 1], [-1, 2], [2, 2], [2, 3], [-1, 3], [-1, 4], [3, 4], [3, 5], [-2, 5]]],
      [[[[-2, 0], [0, 0], [0, 1], [-1, 1], [-1, 2], [0, 2], [0, 3], [-1, 3], [-1, 4], [0, 4], [0, 5], [-2, 5]]]],
      [[[[0, 0], [1, 0], [1, 1], [0, 1]]], [[[0, 2], [2, 2], [2, 3], [0, 3]]], [[[0, 4], [3, 4], [3, 5], [0, 5]]]]]];
  const ringOf = (ring, meridian, start, isReversed) => {
    const places = ring.map((_, i) => ring[(start + i) % ring.length]).map(([x, y]) => [meridian + x / 1000, y / 1000 - 17]);
    if (isReversed) places.reverse();
    return [...places, places[0]];
  };
  const squareOf = (ring) => ring.reduce((sum, [x, y], i) => {
    const [nextX, nextY] = ring[(i + 1) % ring.length];
    return sum + (((x + 360) % 360) * nextY - ((nextX + 360) % 360) * y) / 2;
  }, 0);
  for (const [whole, west, east] of rows) {
    for (let start = 0; start < 12; start += 1) {
      for (const isReversed of [false, true]) {
        const areas = (all, meridian) => all.map((rings) => rings.map((ring) => ringOf(ring, meridian, start, isReversed)));
        const pieces = [areas(west, 180), areas(east, -180)];
        if (start % 2 === 1) pieces.reverse();
        const { boundaries } = await onlyField(geoJson({ type: "MultiPolygon", coordinates: pieces.flat() }));
        assert.equal(boundaries.length, 1);
        const [outer, ...holes] = boundaries[0].rings;
        assert.equal(outer.length, whole[0].length);
        assert.equal(holes.flat().length, whole.slice(1).flat().length);
        const expected = squareOf(ringOf(whole[0], 170, 0, false).slice(1));
        assert.ok(Math.abs(squareOf(outer) - expected) < 1e-9);
      }
    }
  }
  const square = (from, to, south) => [[from, south], [to, south], [to, south + 0.001], [from, south + 0.001], [from, south]];
  for (const south of [-17.0005, -16.9995, -17.001, -16.999, -17.01]) {
    const { boundaries } = await onlyField(geoJson({ type: "MultiPolygon",
      coordinates: [[square(179.999, 180, -17)], [square(-180, -179.999, south)]] }));
    assert.equal(boundaries.length, 2, `${south}`);
  }
});

test("the parts of a Shapefile that disagree are refused", async () => {
  const whole = shapefile(3);
  const lines = await onlyField(zipOf(whole));
  assert.deepEqual(lines.lines.map(({ name, places }) => [name, places.length]), [["0", 2], ["1", 3], ["2", 4]]);
  for (let shp = 1; shp <= 4; shp += 1) {
    for (let shx = 1; shx <= 4; shx += 1) {
      for (let dbf = 1; dbf <= 4; dbf += 1) {
        const parts = { "a.shp": shapefile(shp)["a.shp"], "a.shx": shapefile(shx)["a.shx"], "a.dbf": shapefile(dbf)["a.dbf"] };
        const reading = read(zipOf({ ...parts, "a.prj": whole["a.prj"] }));
        if (shp === shx && shp === dbf) await reading;
        else await assert.rejects(reading, /disagree/, `${shp} ${shx} ${dbf}`);
      }
    }
  }
  const changed = (name, change) => {
    const bytes = Buffer.from(whole[name]);
    return read(zipOf({ ...whole, [name]: change(bytes) ?? bytes }));
  };
  await assert.rejects(changed("a.shx", (bytes) => bytes.copyWithin(100, 108, 116)), /another place/);
  await assert.rejects(changed("a.shx", (bytes) => { bytes[32] = 5; }), /disagree/);
  await assert.rejects(changed("a.shp", (bytes) => { bytes[103] = 2; }), /disagree/);
  await assert.rejects(changed("a.shp", (bytes) => { bytes[108] = 5; }), /disagree/);
  for (const name of ["a.shp", "a.shx", "a.dbf"]) {
    for (let length = 4; length < whole[name].length; length += 1) {
      await assert.rejects(changed(name, (bytes) => bytes.subarray(0, length)), Error, `${name} ${length}`);
    }
    await assert.rejects(changed(name, (bytes) => Buffer.concat([bytes, Buffer.from("xxxxxxxxxxxx")])), /goes on behind its end/);
  }
  const { fields, left } = await changed("a.dbf", (bytes) => { bytes[65] = 0x2a; });
  assert.deepEqual(fields[0].lines.map(({ name }) => name), ["1", "2"]);
  assert.deepEqual(left, ["shape 1, whose row is marked as deleted"]);
});

test("a boundary of a Shapefile keeps its holes all round the globe", async () => {
  for (let east = -180; east <= 180; east += 7.5) {
    const ring = (corners) => [...corners, corners[0]].map(([x, y]) => [Math.abs(east + x) > 180 ? east + x - 360 * Math.sign(east) : east + x, y - 17]);
    const outer = ring([[-0.01, 0], [-0.01, 0.018], [0.01, 0.02], [0.012, 0]]);
    const hole = ring([[-0.003, 0.005], [0.004, 0.005], [0.001, 0.009]]);
    const { boundaries } = await onlyField(zipOf(shapesOf(5, [[outer, hole]])));
    assert.deepEqual(boundaries.map(({ rings }) => rings.map(({ length }) => length)), [[4, 3]], `${east}`);
  }
});

test("what is none of the formats is refused with a list of them", async () => {
  for (const unknown of ["<foo>kml</foo>", '{"type":"Topology"}', '{"a":1}', "{ none", zipOf({ "a.txt": "x" })]) {
    await assert.rejects(read(unknown), /read are ISOXML.*GeoPackage/);
  }
});

test("XML is read in the encoding that it declares", async () => {
  const text = kmlLine("1,2 3,4").replace("One", "L\u00e4nge").replace('"1.0"', '"1.0" encoding="ISO-8859-1"');
  const { lines } = await onlyField(new Uint8Array(Buffer.from(text, "latin1")));
  assert.equal(lines[0].name, "L\u00e4nge");
});

test("KML's data are known by name in any case, and commas may have blanks around them", async () => {
  const data = (name, value) => `<Data name="${name}"><value>${value}</value></Data>`;
  const more = `<ExtendedData>${data("KIND", "a-heading")}${data("Field", "North")}${data("HEADING", "0.25")}</ExtendedData>`;
  const field = await onlyField(kmlLine("5 ,52 , 1\n5.001, 52", more));
  assert.deepEqual([field.name, field.lines[0].kind, field.lines[0].heading], ["North", 1, 0.25]);
});

test("a heading and numbers as names are taken from GeoJSON", async () => {
  const line = { type: "LineString", coordinates: [[0, 0], [0.001, 0]] };
  const field = await onlyField(geoJson(line, { kind: "a-heading", heading: 89.5, name: 7, field: 12 }));
  assert.deepEqual([field.name, field.lines[0].name, field.lines[0].heading], ["12", "7", 89.5]);
  const own = await onlyField(geoJson(line, { kind: "a-heading", heading: 1.57, origin: { latitude: 0 } }));
  assert.ok(Math.abs(own.lines[0].heading - 90) < 1e-4);
});

test("while a long file is read, the page goes on, and another file takes its place", async () => {
  const tuples = Array.from({ length: 300000 }, (_, i) => `${i / 2000000},52`).join(" ");
  const many = kml(Array.from({ length: 15000 }, () => "<Placemark><LineString><coordinates>1,2 3,4</coordinates></LineString></Placemark>").join(""));
  for (const content of [kmlLine(tuples), many]) {
    let turns = 0;
    const count = () => { turns += 1; timer = setTimeout(count); };
    let timer = setTimeout(count);
    await read(content);
    clearTimeout(timer);
    assert.ok(turns > 2, `${turns} turns`);
  }
  const first = assert.rejects(read(kmlLine(tuples)), /another file was opened/);
  await read(kmlLine("1,2 3,4"));
  await first;
});

test("other reference systems are refused by their name", async () => {
  const crs = { type: "name", properties: { name: "urn:ogc:def:crs:EPSG::25832" } };
  await assert.rejects(read(JSON.stringify({ type: "FeatureCollection", crs, features: [] })), /EPSG::25832.*only WGS 84/);
  const shapes = { shp: new Uint8Array(100), prj: 'PROJCS["WGS 84 / UTM zone 32N",GEOGCS["WGS 84",UNIT["degree",0.017]]]' };
  shapes.shp.set([0, 0, 0x27, 0x0a]);
  new DataView(shapes.shp.buffer).setUint32(24, 50);
  await assert.rejects(read(zipOf({ "a.shp": shapes.shp, "a.prj": shapes.prj })), /UTM zone 32N/);
  const others = [
    worldSystem.replace("298.257223563", "0.0"), worldSystem.replace("298.257223563", "298.257222101"),
    worldSystem.replace("D_WGS_1984", "European_1950"), worldSystem.replace("6378137.0", "6378388"),
    worldSystem.replace('"Greenwich",0.0', '"Greenwich",2.5'), worldSystem.replace("0.0174532925199433", "0.0157"), " "];
  for (const system of others) {
    await assert.rejects(read(zipOf({ ...shapefile(1), "a.prj": system })), /only WGS 84/, system);
  }
});

test("a zip unpacks to no more than is read, whatever it announces, and leads nowhere else", async () => {
  const bomb = zipOf({ "doc.kml": new Uint8Array(limits.bytes + 1) }, 10);
  assert.ok(bomb.length < limits.bytes / 100);
  await assert.rejects(read(bomb), /unpacks to more than/);
  for (const path of ["../doc.kml", "/doc.kml", "a\\doc.kml", "C:doc.kml"]) {
    await assert.rejects(read(zipOf({ [path]: kmlLine("1,2 3,4") })), /leads out of it/, path);
  }
});

test("a KMZ's links are followed to files within it and nowhere else", async () => {
  const link = (path) => `<NetworkLink><Link><href>${path}</href></Link></NetworkLink>`;
  const main = kml(link("layers/farm.kml") + link("layers/farm.kml") + link("http://127.0.0.1/x.kml"));
  const { fields, left } = await read(zipOf({ "doc.kml": main, "layers/farm.kml": kmlLine("1,2 3,4") }));
  assert.deepEqual(fields.map(({ lines }) => lines.length), [1]);
  assert.deepEqual(left, ["what it links to, “http://127.0.0.1/x.kml”"]);
});

test("XML with a document type, broken XML and unknown files are refused", async () => {
  const typed = `<!DOCTYPE kml [<!ENTITY a "aaaaaaaa">]>${kmlLine("1,2 3,4")}`;
  await assert.rejects(read(typed), /document type/);
  await assert.rejects(read(kml("<Placemark>")), /XML is broken/);
  await assert.rejects(read("<html></html>"), /its root is html/);
  for (const unknown of ["\x7fELF", "", "BM\x01"]) await assert.rejects(read(unknown), /read are ISOXML.*GeoPackage/);
});

test("coordinates that are none are left out by the placemark's name", async () => {
  for (const coordinates of ["5.0", "x,y 1,2", "1,2,3,4 5,6", "5,91 5,92", "5,52"]) {
    await assert.rejects(read(kmlLine(coordinates)), /neither a line nor a boundary.*One/, coordinates);
  }
  const blanks = await onlyField(kmlLine("\n 5.0, 52.0, 0.\n 5.5 ,52.25 , 0.\t"));
  assert.deepEqual(blanks.lines[0].places, [[5, 52, null], [5.5, 52.25, null]]);
});

test("a line of very many points is read, and a file of too many is refused as a whole", async () => {
  const points = Array.from({ length: 300000 }, (_, i) => [i / 2000000, 52]);
  const { lines } = await onlyField(geoJson({ type: "LineString", coordinates: points }));
  assert.equal(lines[0].places.length, 300000);
  const many = { type: "MultiLineString", coordinates: [points, points] };
  await assert.rejects(read(geoJson(many)), /more points than are read/);
});

test("every prefix of a file, and every byte that is wrong, gives fields or a reason", async () => {
  for (const name of ["geopackage/s", "field_file/shapes_s", "field_file/isoxml_zip"]) {
    const whole = seed(name);
    for (let i = 0; i < whole.length; i += Math.ceil(whole.length / 150)) {
      const wrong = whole.slice();
      wrong[i] ^= 0xff;
      for (const content of [whole.slice(0, i), wrong]) {
        // An error of the engine, such as a TypeError, is none of the reasons.
        await read(content).catch((error) => assert.match(error.constructor.name, /^(File(Problem|TooLarge)|UnknownFile)$/, `${name} ${i}: ${error.stack}`));
      }
    }
  }
});

test("the columns of a table are those of its definition", () => {
  assert.deepEqual(columnsOf('CREATE TABLE "a b" ( "fid" INTEGER PRIMARY KEY AUTOINCREMENT NOT NULL, "geom" LINESTRING, '
    + "x TEXT(10), [y] DECIMAL(3, 2) DEFAULT (1+2), CONSTRAINT c UNIQUE (x, y))"),
  { columns: ["fid", "geom", "x", "y"], key: 0 });
  assert.equal(columnsOf("CREATE TABLE a (x TEXT NOT NULL, id INTEGER NOT NULL PRIMARY KEY)").key, 1);
});
