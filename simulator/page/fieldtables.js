// GeoPackages: databases of SQLite, of which the tables of features are read row by row. Nothing in the file is
// run: neither views nor triggers nor indexes are looked at.
import { FileProblem, UnknownFile, limits } from "./fieldplaces.js";
import { addFeature, packageGeometry } from "./fieldmaps.js";
import { checkSystem } from "./fieldsystem.js";

const broken = () => new FileProblem("the GeoPackage is broken");

/** A number of one to nine bytes, and where it ends. */
function varint(bytes, at) {
  let value = 0;
  for (let i = 0; i < 8; i += 1) {
    const byte = bytes[at + i];
    if (byte === undefined) throw broken();
    value = value * 128 + (byte & 0x7f);
    if (byte < 0x80) return [value, at + i + 1];
  }
  return [value * 256 + bytes[at + 8], at + 9];
}

const wholeLengths = [0, 1, 2, 3, 4, 6, 8];

/** A value of a record, of its type. */
function valueAt(view, at, type) {
  if (type === 0) return null;
  if (type === 7) return view.getFloat64(at);
  if (type === 8 || type === 9) return type - 8;
  if (type < 7) {
    let value = view.getInt8(at);
    for (let i = 1; i < wholeLengths[type]; i += 1) value = value * 256 + view.getUint8(at + i);
    return value;
  }
  const bytes = new Uint8Array(view.buffer, view.byteOffset + at, Math.floor((type - 12) / 2));
  return type % 2 === 1 ? new TextDecoder().decode(bytes) : bytes;
}

function lengthOf(type) {
  if (type < 7) return wholeLengths[type];
  return type < 10 ? (type === 7 ? 8 : 0) : Math.max(0, Math.floor((type - 12) / 2));
}

/** The values of a record. */
function recordOf(bytes) {
  const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
  const [head, begin] = varint(bytes, 0);
  const values = [];
  let at = head;
  for (let place = begin; place < head;) {
    const [type, next] = varint(bytes, place);
    if (at + lengthOf(type) > bytes.length) throw broken();
    values.push(valueAt(view, at, type));
    at += lengthOf(type);
    place = next;
  }
  return values;
}

/**
 * The columns of a table by its definition: names between commas that stand in no inner parentheses. `key` is
 * the place of the one that is its key of whole numbers.
 */
export function columnsOf(definition) {
  const columns = [];
  let key = -1;
  let words = ""; // of the column so far
  const pattern = /"((?:[^"]|"")*)"|`([^`]*)`|\[([^\]]*)\]|'(?:[^']|'')*'|([A-Za-z_\u0080-\uffff][\w$\u0080-\uffff]*)|[(),]|\S/g;
  let depth = 0;
  let isFirst = false;
  for (const [word, quoted, ticked, bracketed, plain] of definition.matchAll(pattern)) {
    if (word === "(") {
      depth += 1;
      isFirst = depth === 1 || isFirst;
    } else if (word === ")") depth -= 1;
    else if (word === "," && depth === 1) isFirst = true;
    else if (!isFirst && depth === 1) {
      words += ` ${word.toUpperCase()}`;
      if (/^ INTEGER( CONSTRAINT \S+)?( NOT NULL)? PRIMARY KEY$/.test(words)) key = columns.length - 1;
    } else if (isFirst && depth === 1) {
      isFirst = false;
      words = "";
      const name = quoted?.replaceAll('""', '"') ?? ticked ?? bracketed ?? plain ?? word;
      const isRule = plain !== undefined && /^(constraint|primary|unique|check|foreign)$/i.test(plain);
      if (isRule) words = " RULE";
      else columns.push(name.toLowerCase());
    }
  }
  return { columns, key };
}

/** A database of SQLite. */
class Database {
  constructor(bytes) {
    this.bytes = bytes;
    this.view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
    const size = this.view.getUint16(16);
    this.pageBytes = size === 1 ? 65536 : size;
    if (this.pageBytes < 512 || this.view.getUint32(56) > 1) throw new FileProblem("the GeoPackage's text is not UTF-8");
    this.usable = this.pageBytes - bytes[20];
    this.tables = new Map();
    for (const { values: [type, name, , root, definition] } of this.rows(1)) {
      if (type === "table" && typeof definition === "string") {
        this.tables.set(String(name).toLowerCase(), { root, ...columnsOf(definition) });
      }
    }
  }

  page(number) {
    const at = (number - 1) * this.pageBytes;
    if (number < 1 || at + this.pageBytes > this.bytes.length) throw broken();
    return at;
  }

  /** What a row holds, which goes on in pages of its own when it is long. */
  payload(at, length) {
    const most = this.usable - 35;
    if (length > this.bytes.length) throw broken();
    if (length <= most) return this.bytes.subarray(at, at + length);
    const least = Math.floor(((this.usable - 12) * 32) / 255) - 23;
    const kept = least + ((length - least) % (this.usable - 4));
    const here = kept <= most ? kept : least;
    const whole = new Uint8Array(length);
    whole.set(this.bytes.subarray(at, at + here));
    let next = this.view.getUint32(at + here);
    for (let have = here; have < length;) {
      const page = this.page(next);
      const piece = this.bytes.subarray(page + 4, page + Math.min(this.usable, 4 + length - have));
      whole.set(piece, have);
      have += piece.length;
      next = this.view.getUint32(page);
    }
    return whole;
  }

  /** The rows of the table whose tree has its root in a page. */
  * rows(root) {
    const waiting = [root];
    const seen = new Set();
    while (waiting.length > 0) {
      const number = waiting.pop();
      if (seen.has(number)) throw broken();
      seen.add(number);
      const page = this.page(number);
      const head = page + (number === 1 ? 100 : 0);
      const kind = this.bytes[head];
      if (kind !== 5 && kind !== 13) throw broken();
      const count = this.view.getUint16(head + 3);
      const cells = head + (kind === 5 ? 12 : 8);
      if (cells + 2 * count > page + this.pageBytes) throw broken();
      const cell = (i) => page + this.view.getUint16(cells + 2 * i);
      if (kind === 5) {
        waiting.push(this.view.getUint32(head + 8));
        for (let i = count - 1; i >= 0; i -= 1) waiting.push(this.view.getUint32(cell(i)));
      } else {
        for (let i = 0; i < count; i += 1) yield this.row(cell(i));
      }
    }
  }

  row(at) {
    const [length, afterLength] = varint(this.bytes, at);
    const [key, begin] = varint(this.bytes, afterLength);
    return { key, values: recordOf(this.payload(begin, length)) };
  }

  /** The rows of a table, each its values by the names of the columns in small letters. */
  * table(name) {
    const table = this.tables.get(name.toLowerCase());
    if (table === undefined) throw new UnknownFile(`it is no GeoPackage with features: ${name} is missing`);
    let count = 0;
    for (const { key, values } of this.rows(table.root)) {
      count += 1;
      if (count > limits.features) throw new FileProblem("it has more rows than are read");
      // A key of whole numbers stands beside the values, and where its column is, nothing does.
      yield Object.fromEntries(table.columns.map((column, i) => [column, i === table.key ? key : values[i] ?? null]));
    }
  }
}

function checkTable(systems, { srs_id: id }) {
  const system = systems.find((one) => one.srs_id === id);
  const isWorld = system !== undefined && String(system.organization).toLowerCase() === "epsg"
    && [4326, 4979].includes(system.organization_coordsys_id);
  if (!isWorld) checkSystem(String(system?.definition ?? `reference system ${id}`));
}

/** Reads a GeoPackage. */
export async function readPackage(bytes, reading) {
  try {
    const database = new Database(bytes);
    const systems = [...database.table("gpkg_spatial_ref_sys")];
    for (const table of [...database.table("gpkg_geometry_columns")]) {
      checkTable(systems, table);
      const layer = String(table.table_name);
      const text = (value) => (typeof value === "string" || typeof value === "number" ? `${value}`.trim().slice(0, 1000) : "");
      for (const row of database.table(layer)) {
        const geometry = row[String(table.column_name).toLowerCase()];
        if (!(geometry instanceof Uint8Array)) continue;
        await reading.attempt("row", text(row.name), async () => {
          await addFeature(reading, layer, { ...packageGeometry(geometry), name: text(row.name), field: text(row.field),
            word: text(row.kind), heading: typeof row.heading === "number" ? row.heading : null });
        });
      }
    }
  } catch (error) {
    throw error instanceof RangeError ? broken() : error;
  }
}
