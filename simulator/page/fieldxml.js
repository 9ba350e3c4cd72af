// KML and ISOXML, of which the browser's own reader of XML makes elements.
import { FileProblem, FileTooLarge, LocalFrame, UnknownFile, checkedPlace, limits, samePlace } from "./fieldplaces.js";
import { addFeature } from "./fieldmaps.js";
import { headingTo, radians } from "./geometry.js";
import { makeLine } from "./fieldreading.js";

/** The text of a document of XML, in the encoding that its byte order mark or its declaration names. */
function textOf(bytes) {
  if (bytes[0] === 0xff && bytes[1] === 0xfe) return new TextDecoder("utf-16le").decode(bytes);
  if (bytes[0] === 0xfe && bytes[1] === 0xff) return new TextDecoder("utf-16be").decode(bytes);
  const start = String.fromCharCode(...bytes.subarray(0, 200));
  const encoding = /^<\?xml[^>]*\sencoding\s*=\s*["']([^"']+)["']/.exec(start)?.[1] ?? "utf-8";
  try {
    return new TextDecoder(encoding).decode(bytes);
  } catch {
    throw new FileProblem(`the XML is in an encoding that is not read, “${encoding.slice(0, 40)}”`);
  }
}

/** Checks that the browser will be done with a document in a moment: it reads it at one go. */
function checkSize(bytes) {
  if (bytes.length > limits.text) throw new FileProblem(`longer than the ${limits.text >> 20} MiB of XML that are read`);
  let marks = 0;
  for (const byte of bytes) if (byte === 0x3c) marks += 1;
  if (marks > limits.marks) throw new FileProblem(`the XML has more than the ${limits.marks} marks that are read`);
}

/** The root of a document. Document types, which may define entities, are refused. */
export function rootOf(bytes) {
  checkSize(bytes);
  const text = textOf(bytes);
  if (/<!DOCTYPE/i.test(text)) throw new FileProblem("the XML has a document type, which is not read");
  const document = new DOMParser().parseFromString(text, "application/xml");
  const problem = document.getElementsByTagName("parsererror")[0];
  if (problem !== undefined) {
    throw new FileProblem(`the XML is broken: ${problem.textContent.trim().split("\n").slice(0, 2).join(" ").slice(0, 200)}`);
  }
  return document.documentElement;
}

const childrenOf = (element, name) => [...element.children].filter((child) => child.localName === name);

/** The first child of a name. A folder may have very many, so they are not gathered for it. */
function childOf(element, name) {
  for (const child of element?.children ?? []) if (child.localName === name) return child;
  return undefined;
}

const wordsOf = (element) => (element?.textContent ?? "").trim().slice(0, 1000);

function number(text, what) {
  const trimmed = (text ?? "").trim();
  if (trimmed === "") return null;
  const value = Number(trimmed);
  if (!/^[-+.0-9eE]+$/.test(trimmed) || !Number.isFinite(value)) throw new FileProblem(`${what} is no number`);
  return value;
}

/** The tuples of coordinates, each its words; blanks may stand around their commas. */
function* tuplesOf(text) {
  let words = [];
  let isBehindComma = false;
  for (const [word] of text.matchAll(/[^\s,]+|,/g)) {
    if (word === ",") {
      if (isBehindComma || words.length === 0) words.push("");
      isBehindComma = true;
      continue;
    }
    if (!isBehindComma && words.length > 0) {
      yield words;
      words = [];
    }
    words.push(word);
    isBehindComma = false;
  }
  if (words.length > 0) yield words;
}

async function kmlPlaces(element, reading) {
  const places = [];
  // Altitudes are above the sea, and do not count.
  for (const words of tuplesOf(childOf(element, "coordinates")?.textContent ?? "")) {
    if (places.length % 1000 === 999) await reading.rest();
    if (places.length >= limits.places) throw new FileTooLarge("it has more points than are read");
    const [east, north] = words.map((word) => number(word, "a coordinate"));
    if (words.length < 2 || words.length > 3 || east === null || north === null) {
      throw new FileProblem("a coordinate is no pair of longitude and latitude");
    }
    places.push(checkedPlace(east, north));
  }
  return places;
}

async function sortKml(element, found, reading, depth = 0) {
  const name = element.localName;
  if (name === "LineString" || name === "LinearRing") found.parts.push(await kmlPlaces(element, reading));
  if (name === "Polygon") {
    const sides = [...childrenOf(element, "outerBoundaryIs"), ...childrenOf(element, "innerBoundaryIs")];
    const rings = [];
    for (const side of sides) rings.push(await kmlPlaces(childOf(side, "LinearRing"), reading));
    found.areas.push(rings);
  }
  if (name !== "MultiGeometry" || depth >= limits.depth) return;
  for (const child of element.children) await sortKml(child, found, reading, depth + 1);
}

/** The value of a name in a placemark's extended data, in either of its two forms. */
function dataOf(placemark, name) {
  const extended = childOf(placemark, "ExtendedData");
  if (extended === undefined) return "";
  const isCalled = (one) => (one.getAttribute("name") ?? "").toLowerCase() === name; // programs change the case
  const data = childrenOf(extended, "Data").find(isCalled);
  if (data !== undefined) return wordsOf(childOf(data, "value"));
  const simple = childrenOf(extended, "SchemaData").flatMap((one) => [...one.children]);
  return wordsOf(simple.find(isCalled));
}

/** The name of the nearest folder around a placemark that has one. Each folder is looked through once: `names` has theirs. */
function folderOf(placemark, names) {
  for (let node = placemark.parentElement; node; node = node.parentElement) {
    const isFolder = node.localName === "Folder" || node.localName === "Document";
    if (isFolder && !names.has(node)) names.set(node, wordsOf(childOf(node, "name")));
    if (isFolder && names.get(node) !== "") return names.get(node);
  }
  return "Field";
}

async function readKml(root, reading) {
  const names = new Map();
  for (const placemark of root.getElementsByTagNameNS("*", "Placemark")) {
    const name = wordsOf(childOf(placemark, "name"));
    await reading.attempt("placemark", name, async () => {
      const found = { parts: [], areas: [] };
      for (const child of placemark.children) await sortKml(child, found, reading);
      await addFeature(reading, folderOf(placemark, names), { ...found, name, field: dataOf(placemark, "field"),
        word: dataOf(placemark, "kind"), heading: number(dataOf(placemark, "heading"), "the heading") });
    });
  }
}

/** Reads what a KML links to of the files beside it: some programs write a layer into a file of its own. */
async function readLinked(root, reading, beside) {
  const links = [...root.getElementsByTagNameNS("*", "NetworkLink")].map((link) =>
    wordsOf(childOf(childOf(link, "Link") ?? childOf(link, "Url"), "href")));
  for (const path of new Set(links)) {
    const isBeside = path !== "" && !path.includes(":");
    const bytes = isBeside ? await beside(path) : undefined;
    if (bytes === undefined) reading.leave(`what it links to, “${path.slice(0, 80)}”`);
    else {
      await reading.rest();
      await readKml(rootOf(bytes), reading);
    }
  }
}

const code = (element, attribute) => Number.parseInt(element.getAttribute(attribute) ?? "", 10) || 0;
const named = (element, attribute, otherwise) => ((element.getAttribute(attribute) ?? "").trim() || otherwise).slice(0, 1000);

function isoPoints(line) {
  return childrenOf(line, "PNT").map((point) => {
    if ((point.getAttribute("J") ?? "").trim() !== "") {
      throw new FileProblem("its points lie in a binary file, which is not read");
    }
    const [north, east, up] = ["C", "D", "E"].map((name) => number(point.getAttribute(name), `a point's ${name}`));
    if (north === null || east === null) throw new FileProblem("it has a point without north and east (C and D)");
    return { type: code(point, "A"), place: checkedPlace(east, north, up === null ? null : up / 1000) };
  });
}

/** The three points of a circle: from its centre and its radius, or from the ends of an arc. */
function pivotPlaces(pattern, points) {
  const ofType = (type) => points.find((point) => point.type === type)?.place;
  let [centre, a, b] = [ofType(8), ofType(6), ofType(7)];
  if (centre === undefined && a === undefined && b === undefined) {
    [centre, a, b] = points.length > 2 ? points.map(({ place }) => place) : [points[0].place];
  }
  if (centre === undefined) throw new FileProblem("it has no centre");
  // Some programs put A where the centre is; then the radius counts.
  const isAtCentre = a !== undefined && number(pattern.getAttribute("H"), "its radius (H)") !== null && samePlace(a, centre);
  if (isAtCentre) a = undefined;
  const frame = new LocalFrame(centre);
  const radius = a === undefined ? number(pattern.getAttribute("H"), "its radius (H)") / 1000
    : Math.hypot(...frame.local(a).slice(0, 2));
  if (!(radius > 0 && radius <= 100000)) throw new FileProblem("it has neither a radius (H) nor an arc");
  const bearing = (place) => headingTo([0, 0], frame.local(place).slice(0, 2));
  const from = a === undefined ? 0 : bearing(a);
  const way = code(pattern, "D") === 2 ? -1 : 1;
  const third = (Math.PI * 4) / 3;
  let turn = third;
  if (a !== undefined && b !== undefined && !samePlace(a, b)) {
    turn = (way * (bearing(b) - from) + 4 * Math.PI) % (2 * Math.PI);
    if (turn < 1e-3 || turn > 2 * Math.PI - 1e-3) turn = third;
  }
  return [0, 0.5, 1].map((share) => {
    const angle = from + way * turn * share;
    const place = frame.place([radius * Math.sin(angle), radius * Math.cos(angle)]);
    return [place[0], place[1], centre[2]];
  });
}

/** How long the way through points is, metres. */
function lengthOf(points) {
  const frame = new LocalFrame(points[0].place);
  const flat = points.map(({ place }) => frame.local(place));
  return flat.slice(1).reduce((sum, [x, y], i) => sum + Math.hypot(x - flat[i][0], y - flat[i][1]), 0);
}

/**
 * The points of a curve in the direction from A to B. Some programs write them from B to A, and some A and B first and
 * the points between them behind those. Points may also lie beyond A and B. So of all that may be meant, the shortest
 * way is.
 */
function fromAToB(points) {
  const [a, b] = [6, 7].map((type) => points.findIndex((point) => point.type === type));
  const last = points.length - 1;
  const isBackwards = a >= 0 && b >= 0 ? b < a : a === last || b === 0;
  const ways = [isBackwards ? [...points].reverse() : points];
  const isWhole = a < 0 || b < 0 || (Math.min(a, b) === 0 && Math.max(a, b) === last);
  if (!isWhole) {
    const between = points.filter((_, i) => i !== a && i !== b);
    ways.push([points[a], ...between, points[b]], [points[a], ...between.reverse(), points[b]]);
  }
  return ways.reduce((best, way) => (way !== best && lengthOf(way) < lengthOf(best) ? way : best));
}

function patternLine(pattern) {
  const kind = code(pattern, "C");
  if (kind === 5) throw new FileProblem("a spiral is no kind of line");
  if (kind < 1 || kind > 5) throw new FileProblem("its kind (C) is none of 1 to 5");
  const line = childOf(pattern, "LSG");
  const points = line === undefined ? [] : isoPoints(line);
  if (points.length === 0) throw new FileProblem("it has no points");
  const places = points.map(({ place }) => place);
  const ofType = (type, otherwise) => points.find((point) => point.type === type)?.place ?? otherwise;
  const [a, b] = [ofType(6, places[0]), ofType(7, places.at(-1))];
  if (kind === 1) return makeLine(0, [a, b]);
  if (kind === 3) return makeLine(4, fromAToB(points).map(({ place }) => place));
  if (kind === 4) return { kind: 2, places: pivotPlaces(pattern, points) };
  const heading = number(pattern.getAttribute("G"), "its heading (G)");
  if (heading === null) throw new FileProblem("an A-plus-heading line needs a heading (G)");
  return makeLine(1, [a], ((heading % 360) + 360) % 360);
}

async function isoArea(polygon, field, reading) {
  if (![1, 9].includes(code(polygon, "A"))) return;
  const name = named(polygon, "B", "");
  await reading.attempt("boundary", name, async () => {
    const areas = [];
    const early = [];
    for (const ring of childrenOf(polygon, "LSG")) {
      const places = isoPoints(ring).map(({ place }) => place);
      if (code(ring, "A") === 1) areas.push([places, ...early.splice(0)]);
      else if (code(ring, "A") === 2) (areas.at(-1) ?? early).push(places);
    }
    if (areas.length === 0) throw new FileProblem("it has no exterior ring");
    for (const rings of areas) await reading.areas(field, name, [rings]);
  });
}

async function isoField(element, reading) {
  const field = reading.ownName(named(element, "C", named(element, "A", "Field")));
  for (const child of element.children) {
    if (child.localName === "PLN") await isoArea(child, field, reading);
    for (const pattern of child.localName === "GGP" ? childrenOf(child, "GPN") : []) {
      await reading.line(field, named(pattern, "B", named(pattern, "A", "")), () => patternLine(pattern));
    }
    if (child.localName === "LSG" && code(child, "A") === 5) {
      await reading.line(field, named(child, "B", "Line"), () => {
        const places = isoPoints(child).map(({ place }) => place);
        return makeLine(places.length === 2 ? 0 : 4, places);
      });
    }
  }
}

/** Reads ISOXML; `beside` gives the bytes of a file beside the main one, or nothing. */
async function readIsoXml(root, reading, beside) {
  const outside = (name) => new FileProblem(`the external file “${name.slice(0, 80)}” is not read`);
  const all = childrenOf(root, "XFR").map((one) => (one.getAttribute("A") ?? "").trim());
  const astray = all.find((name) => /[/\\:]|\.\./.test(name));
  if (astray !== undefined) throw outside(astray);
  const names = new Set(all.filter((name) => /^PFD/i.test(name)));
  if (names.size > 1000) throw new FileProblem("it has more external files than are read");
  for (const name of names) {
    if (!/^[A-Za-z0-9_-]{1,64}$/.test(name)) throw outside(name);
    const bytes = await beside(`${name}.XML`);
    if (bytes === undefined) reading.leave(`the external file ${name}.XML is missing`);
    else for (const field of childrenOf(rootOf(bytes), "PFD")) await isoField(field, reading);
  }
  for (const field of childrenOf(root, "PFD")) await isoField(field, reading);
}

/** Reads what a document of XML is. */
export async function readXml(root, reading, beside) {
  if (root.localName === "kml") {
    await readKml(root, reading);
    await readLinked(root, reading, beside);
  } else if (root.localName === "ISO11783_TaskData" || root.localName === "XFC") await readIsoXml(root, reading, beside);
  else throw new UnknownFile(`this XML is none that is read: its root is ${root.localName.slice(0, 80)}`);
}
