// Shapefiles: lines and areas, with their names where the table is there, too.
import { FileProblem, FileTooLarge, checkedPlace, limits } from "./fieldplaces.js";
import { addFeature } from "./fieldmaps.js";
import { checkSystem } from "./fieldsystem.js";
import { isWithin, turn } from "./fielddateline.js";

const lineTypes = [3, 13, 23];
const areaTypes = [5, 15, 25];
const heightTypes = [13, 15];

function disagree(how) {
  throw new FileProblem(`the parts of the Shapefile disagree: ${how}`);
}

/** The rows of a table, null for one that is marked as deleted: each its values by the small names of the columns. */
function rowsOf(bytes, isUnicode) {
  const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
  const broken = (how) => new FileProblem(`the .dbf of the Shapefile ${how}`);
  if (bytes.length < 33) throw broken("is too short");
  const [count, head, width] = [view.getUint32(4, true), view.getUint16(8, true), view.getUint16(10, true)];
  if (width === 0 || head < 33 || head > bytes.length) throw broken("is broken");
  if (count > limits.features) throw new FileTooLarge("it has more rows than are read");
  const end = head + count * width;
  if (end > bytes.length) throw broken("ends before its end");
  // A byte may mark the end, and some programs fill up to a round length with it.
  if (bytes.subarray(end).some((byte) => byte !== 0x1a && byte !== 0)) throw broken("goes on behind its end");
  const decoder = new TextDecoder(isUnicode ? "utf-8" : "windows-1252");
  const columns = [];
  let at = 1;
  for (let place = 32; place + 32 <= head && bytes[place] !== 0x0d; place += 32) {
    const name = decoder.decode(bytes.subarray(place, place + 11)).split("\0")[0].toLowerCase();
    const columnWidth = bytes[place + 16] + (bytes[place + 11] === 0x43 ? 256 * bytes[place + 17] : 0);
    columns.push({ name, at, width: columnWidth });
    at += columnWidth;
  }
  if (at > width) throw broken("is broken: its columns are wider than its rows");
  const used = columns.filter(({ name }) => ["name", "kind", "field", "heading"].includes(name));
  return Array.from({ length: count }, (_, i) => (bytes[head + i * width] === 0x2a ? null : Object.fromEntries(used.map((column) => {
    const begin = head + i * width + column.at;
    return [column.name, decoder.decode(bytes.subarray(begin, begin + column.width)).replaceAll("\0", "").trim()];
  }))));
}

/** Checks that the index has a shape where it is. */
function checkEntry(index, row, at, length) {
  const entry = 100 + 8 * row;
  if (entry + 8 > index.byteLength) disagree(`the .shx does not have shape ${row + 1}`);
  if (index.getUint32(entry) * 2 !== at || index.getUint32(entry + 4) * 2 !== length) {
    disagree(`the .shx has shape ${row + 1} at another place than the .shp`);
  }
}

function checkLength(view, ending) {
  if (view.byteLength < 100 || view.getUint32(24) * 2 > view.byteLength) {
    throw new FileProblem(`the .${ending} ends before its end`);
  }
  if (view.getUint32(24) * 2 < view.byteLength) throw new FileProblem(`the .${ending} goes on behind its end`);
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
  if (points > limits.places) throw new FileTooLarge("it has more points than are read");
  const starts = new Set(Array.from({ length: parts }, (_, i) => view.getUint32(at + 44 + 4 * i, true)));
  const rings = [];
  for (let i = 0; i < points; i += 1) {
    if (i === 0 || starts.has(i)) rings.push([]);
    rings.at(-1).push(checkedPlace(view.getFloat64(places + 16 * i, true), view.getFloat64(places + 16 * i + 8, true),
      hasHeights ? view.getFloat64(heights + 8 * i, true) : null));
  }
  return { rings, isArea: areaTypes.includes(type) };
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
export async function readShapes({ shp, shx, dbf, prj, cpg }, stem, reading) {
  const viewOf = (bytes) => new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
  const view = viewOf(shp);
  checkLength(view, "shp");
  // Each shape has its length with it: the index is not needed, but one that is there belongs to it.
  const index = shx === undefined ? null : viewOf(shx);
  if (index !== null) checkLength(index, "shx");
  const type = view.getInt32(32, true);
  if (index !== null && index.getInt32(32, true) !== type) disagree("the .shx is of shapes of another type");
  const text = (bytes) => new TextDecoder().decode(bytes);
  if (prj === undefined) reading.leave("the .prj of the Shapefile is missing: taken for WGS 84");
  else checkSystem(text(prj));
  const encoding = cpg === undefined ? "" : text(cpg).toLowerCase();
  const rows = dbf === undefined ? null : rowsOf(dbf, encoding === "" || encoding.includes("utf"));
  if (rows === null) reading.leave("the .dbf of the Shapefile is missing, and with it all names");
  let row = 0;
  for (let at = 100; at < shp.length; row += 1) {
    await reading.rest();
    if (at + 12 > shp.length) throw new FileProblem("a shape in the .shp ends before its end");
    if (view.getUint32(at) !== row + 1) disagree(`the .shp has the number ${view.getUint32(at)} where shape ${row + 1} is due`);
    const length = view.getUint32(at + 4) * 2;
    const end = at + 8 + length;
    if (index !== null) checkEntry(index, row, at, length);
    if (rows !== null && row >= rows.length) disagree(`more than ${row} shapes, ${rows.length} rows in the .dbf`);
    const own = view.getInt32(at + 8, true);
    if (own !== 0 && own !== type) disagree(`shape ${row + 1} is of the type ${own}, the .shp of ${type}`);
    const isDeleted = rows !== null && rows[row] === null;
    if (isDeleted) reading.leave(`shape ${row + 1}, whose row is marked as deleted`);
    const shape = isDeleted ? null : shapeAt(view, at + 8, end);
    if (end > shp.length) throw new FileProblem("a shape in the .shp ends before its end");
    const { name = "", field = "", kind = "", heading = "" } = rows?.[row] ?? {};
    const angle = heading === "" || !Number.isFinite(Number(heading)) ? null : Number(heading);
    if (shape !== null) {
      await addFeature(reading, stem, { name, field, word: kind, heading: angle,
        parts: shape.isArea ? [] : shape.rings, areas: shape.isArea ? areasOf(shape.rings) : [] });
    }
    at = end;
  }
  if (rows !== null && row !== rows.length) disagree(`${row} shapes, ${rows.length} rows in the .dbf`);
  if (index !== null && index.byteLength !== 100 + 8 * row) {
    disagree(`${row} shapes, ${Math.floor((index.byteLength - 100) / 8)} in the .shx`);
  }
}
