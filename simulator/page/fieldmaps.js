// GeoJSON, and the geometries that GeoPackages have.
import { FileProblem, FileTooLarge, UnknownFile, checkedPlace, limits } from "./fieldplaces.js";

const textOf = (value) => (typeof value === "string" ? value.slice(0, 1000) : "");

/** A property by its name in any case, as programs change that. */
function property(properties, name) {
  const key = Object.keys(properties ?? {}).find((one) => one.toLowerCase() === name);
  if (key === undefined) return "";
  return typeof properties[key] === "number" ? `${properties[key]}` : textOf(properties[key]);
}

function placeOf(position) {
  if (!Array.isArray(position) || position.length < 2 || !position.every((value) => typeof value === "number")) {
    throw new FileProblem("a position is no array of longitude, latitude and height");
  }
  return checkedPlace(...position.slice(0, 3));
}

function arrayOf(value, type) {
  if (!Array.isArray(value)) throw new FileProblem(`the ${type} has no coordinates`);
  return value;
}

/** Sorts a geometry into the parts of a line and the rings of areas. */
function sort(geometry, found, depth = 0) {
  const type = geometry?.type;
  const coordinates = geometry?.coordinates;
  const line = (positions) => arrayOf(positions, type).map(placeOf);
  if (type === "LineString") found.parts.push(line(coordinates));
  else if (type === "MultiLineString") arrayOf(coordinates, type).forEach((one) => found.parts.push(line(one)));
  else if (type === "Polygon") found.areas.push(arrayOf(coordinates, type).map(line));
  else if (type === "MultiPolygon") {
    arrayOf(coordinates, type).forEach((rings) => found.areas.push(arrayOf(rings, type).map(line)));
  } else if (type === "GeometryCollection" && depth < limits.depth) {
    arrayOf(geometry.geometries, type).forEach((one) => sort(one, found, depth + 1));
  }
}

/** The heading that stands beside a line; none beside one of a local frame, which has its heading in that frame. */
function headingOf(properties) {
  const key = Object.keys(properties ?? {}).find((one) => one.toLowerCase() === "heading");
  const isOfFrame = typeof properties?.origin === "object" && properties.origin !== null;
  return key === undefined || isOfFrame || typeof properties[key] !== "number" ? null : properties[key];
}

/** Adds a feature of a map. */
export async function addFeature(reading, layer, { name, field, word, heading, parts, areas }) {
  const place = field || layer;
  if (parts.length > 0) await reading.lines(place, name, parts, { word, heading });
  await reading.areas(place, name, areas);
}

function checkNamedSystem(file) {
  const name = textOf(file.crs?.properties?.name);
  if (name === "" || ["CRS84", "CRS84h", "4326", "4979"].includes(name.split(/[:/#]/).at(-1))) return;
  throw new FileProblem(`its reference system is “${name}”; only WGS 84 in degrees (EPSG:4326) is read`);
}

const geometries = ["LineString", "MultiLineString", "Polygon", "MultiPolygon", "GeometryCollection"];

/** Reads GeoJSON. Waylines of navctl count by their geometry, which they have in full. */
export async function readGeoJson(text, reading) {
  let file = null;
  try {
    file = JSON.parse(text);
  } catch {
    throw new UnknownFile("it begins like JSON and is none");
  }
  const isGeoJson = file.type === "FeatureCollection" || file.type === "Feature" || geometries.includes(file.type);
  if (!isGeoJson) throw new UnknownFile("it is no GeoJSON with features");
  checkNamedSystem(file);
  const features = file.type === "FeatureCollection" && Array.isArray(file.features) ? file.features : [file];
  const layer = textOf(file.name) || "Field";
  for (const [i, feature] of features.entries()) {
    const properties = feature?.properties;
    const name = property(properties, "name");
    await reading.attempt("feature", name || `${i + 1}`, async () => {
      const found = { parts: [], areas: [] };
      sort(feature?.type === "Feature" ? feature.geometry : feature, found);
      await addFeature(reading, layer, { ...found, name, field: property(properties, "field"),
        word: property(properties, "kind"), heading: headingOf(properties) });
    });
  }
}

/** Takes a geometry of well-known binary apart. */
class BinaryGeometry {
  constructor(bytes) {
    this.view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
    this.at = 0;
  }

  bytes(count) {
    const { at } = this;
    if (at + count > this.view.byteLength) throw new FileProblem("a geometry ends before its end");
    this.at += count;
    return at;
  }

  whole(little) {
    return this.view.getUint32(this.bytes(4), little);
  }

  /** How many things of at least `size` bytes follow. */
  length(little, size) {
    const count = this.whole(little);
    if (count * size > this.view.byteLength - this.at) throw new FileProblem("a geometry ends before its end");
    return count;
  }

  positions(little, dimensions, hasHeight) {
    const count = this.length(little, 8 * dimensions);
    if (count > limits.places) throw new FileTooLarge("it has more points than are read");
    return Array.from({ length: count }, () => {
      const at = this.bytes(8 * dimensions);
      const value = (i) => this.view.getFloat64(at + 8 * i, little);
      return checkedPlace(value(0), value(1), hasHeight ? value(2) : null);
    });
  }

  sort(found, depth = 0) {
    if (depth > limits.depth) throw new FileProblem("a geometry is nested too deeply");
    const little = this.view.getUint8(this.bytes(1)) === 1;
    const code = this.whole(little);
    const [type, more] = [code % 1000, Math.floor((code % 10000) / 1000)];
    const dimensions = [2, 3, 3, 4][more] ?? 2;
    const line = () => this.positions(little, dimensions, more === 1 || more === 3);
    const rings = () => Array.from({ length: this.length(little, 4) }, line);
    if (type === 2) found.parts.push(line());
    else if (type === 3) found.areas.push(rings());
    else if (type >= 4 && type <= 7) {
      for (let left = this.length(little, 5); left > 0; left -= 1) this.sort(found, depth + 1);
    } else if (type === 1) this.bytes(8 * dimensions);
    else throw new FileProblem(`a geometry of the type ${type} is not read`);
  }
}

/** The lines and areas of a geometry in the form of GeoPackage. */
export function packageGeometry(bytes) {
  const found = { parts: [], areas: [] };
  if (bytes.length < 8 || bytes[0] !== 0x47 || bytes[1] !== 0x50) throw new FileProblem("a geometry is none of GeoPackage");
  const envelope = [0, 32, 48, 48, 64][(bytes[3] >> 1) & 7];
  if (envelope === undefined) throw new FileProblem("a geometry has an envelope of no kind");
  if ((bytes[3] & 0x10) === 0) new BinaryGeometry(bytes.subarray(8 + envelope)).sort(found);
  return found;
}
