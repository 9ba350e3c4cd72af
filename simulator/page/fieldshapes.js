// Shapefiles: lines and areas, with their names where the table is there, too.
import { FileProblem, checkedPlace } from "./fieldplaces.js";
import { addFeature } from "./fieldmaps.js";
import { checkSystem } from "./fieldsystem.js";

const lineTypes = [3, 13, 23];
const areaTypes = [5, 15, 25];
const heightTypes = [13, 15];

/** The rows of a table: each its values by the small names of the columns. */
function rowsOf(bytes, isUnicode) {
  const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
  if (bytes.length < 33) throw new FileProblem("the .dbf of the Shapefile is broken");
  const [count, head, width] = [view.getUint32(4, true), view.getUint16(8, true), view.getUint16(10, true)];
  if (width === 0 || head + count * width > bytes.length) throw new FileProblem("the .dbf of the Shapefile is broken");
  const decoder = new TextDecoder(isUnicode ? "utf-8" : "windows-1252");
  const columns = [];
  let at = 1;
  for (let place = 32; place + 32 <= head && bytes[place] !== 0x0d; place += 32) {
    const name = decoder.decode(bytes.subarray(place, place + 11)).split("\0")[0].toLowerCase();
    columns.push({ name, at, width: bytes[place + 16] });
    at += bytes[place + 16];
  }
  const used = columns.filter(({ name }) => ["name", "kind", "field", "heading"].includes(name));
  return Array.from({ length: count }, (_, i) => Object.fromEntries(used.map((column) => {
    const begin = head + i * width + column.at;
    return [column.name, decoder.decode(bytes.subarray(begin, begin + column.width)).replaceAll("\0", "").trim()];
  })));
}

/** The parts of a shape whose content is at a place; null for one that is empty. */
function shapeAt(view, at, end) {
  const broken = new FileProblem("a shape in the .shp ends before its end");
  if (at + 4 > end || end > view.byteLength) throw broken;
  const type = view.getInt32(at, true);
  if (type === 0) return null;
  if (!lineTypes.includes(type) && !areaTypes.includes(type)) {
    throw new FileProblem(`the Shapefile has neither lines nor areas, but shapes of the type ${type}`);
  }
  if (at + 44 > end) throw broken;
  const [parts, points] = [view.getUint32(at + 36, true), view.getUint32(at + 40, true)];
  const places = at + 44 + 4 * parts;
  const heights = places + 16 * points + 16;
  const hasHeights = heightTypes.includes(type);
  if (places + 16 * points > end || (hasHeights && heights + 8 * points > end)) throw broken;
  const starts = new Set(Array.from({ length: parts }, (_, i) => view.getUint32(at + 44 + 4 * i, true)));
  const rings = [];
  for (let i = 0; i < points; i += 1) {
    if (i === 0 || starts.has(i)) rings.push([]);
    rings.at(-1).push(checkedPlace(view.getFloat64(places + 16 * i, true), view.getFloat64(places + 16 * i + 8, true),
      hasHeights ? view.getFloat64(heights + 8 * i, true) : null));
  }
  return { rings, isArea: areaTypes.includes(type) };
}

/** Twice the area of a ring in square degrees; positive when it runs counter-clockwise. */
function turn(ring) {
  return ring.reduce((sum, [east, north], i) => {
    const [nextEast, nextNorth] = ring[(i + 1) % ring.length];
    return sum + (east - ring[0][0]) * (nextNorth - ring[0][1]) - (nextEast - ring[0][0]) * (north - ring[0][1]);
  }, 0);
}

function isWithin([east, north], ring) {
  return ring.reduce((inside, [fromEast, fromNorth], i) => {
    const [toEast, toNorth] = ring[(i + 1) % ring.length];
    const crosses = (fromNorth > north) !== (toNorth > north)
      && east < fromEast + ((north - fromNorth) / (toNorth - fromNorth)) * (toEast - fromEast);
    return crosses ? !inside : inside;
  }, false);
}

/** Exterior rings run clockwise, holes counter-clockwise and in any order. */
function areasOf(rings) {
  const isHole = (ring) => rings.length > 1 && turn(ring) > 0;
  const areas = rings.filter((ring) => !isHole(ring)).map((ring) => [ring]);
  for (const hole of rings.filter(isHole)) {
    const around = areas.find(([exterior]) => isWithin(hole[0], exterior));
    if (around === undefined) areas.push([hole]);
    else around.push(hole);
  }
  return areas;
}

/** Reads a Shapefile of its parts by their endings. */
export function readShapes({ shp, dbf, prj, cpg }, stem, reading) {
  const view = new DataView(shp.buffer, shp.byteOffset, shp.byteLength);
  if (shp.length < 100 || view.getUint32(24) * 2 > shp.length) throw new FileProblem("the .shp ends before its end");
  const text = (bytes) => new TextDecoder().decode(bytes);
  if (prj === undefined) reading.leave("the .prj of the Shapefile is missing: taken for WGS 84");
  else checkSystem(text(prj));
  const encoding = cpg === undefined ? "" : text(cpg).toLowerCase();
  const rows = dbf === undefined ? null : rowsOf(dbf, encoding === "" || encoding.includes("utf"));
  if (rows === null) reading.leave("the .dbf of the Shapefile is missing, and with it all names");
  let row = 0;
  for (let at = 100; at + 8 <= view.getUint32(24) * 2; row += 1) {
    const end = at + 8 + view.getUint32(at + 4) * 2;
    const shape = shapeAt(view, at + 8, end);
    if (rows !== null && row >= rows.length) throw new FileProblem("the parts of the Shapefile disagree");
    const { name = "", field = "", kind = "", heading = "" } = rows?.[row] ?? {};
    const angle = heading === "" || !Number.isFinite(Number(heading)) ? null : Number(heading);
    if (shape !== null) {
      addFeature(reading, stem, { name, field, word: kind, heading: angle,
        parts: shape.isArea ? [] : shape.rings, areas: shape.isArea ? areasOf(shape.rings) : [] });
    }
    at = end;
  }
  if (rows !== null && row !== rows.length) {
    throw new FileProblem(`the parts of the Shapefile disagree: ${row} shapes, ${rows.length} rows in the .dbf`);
  }
}
