// Which reference systems of coordinates are read: WGS 84 in degrees alone.
import { FileProblem } from "./fieldplaces.js";

const bare = (text) => text.toLowerCase().replace(/[^a-z0-9]/g, "");

/** The parts of a kind, such as SPHEROID["WGS 84",6378137,298.257223563]: each its bare name and its numbers. */
function partsOf(text, words) {
  const pattern = new RegExp(`(?<![a-z0-9])(?:${words})\\s*[[(]\\s*"([^"]*)"((?:\\s*,\\s*[-+.0-9e]+)*)`, "gi");
  return [...text.matchAll(pattern)].map(([, name, numbers]) => (
    { name: bare(name), numbers: numbers.split(",").slice(1).map(Number) }));
}

const isNear = (value, wanted, most) => Math.abs(value - wanted) < most;

/** Whether datum and ellipsoid are those of WGS 84, whatever the system is called. */
function isOnWorldDatum(text) {
  const datums = partsOf(text, "datum|ensemble");
  const ellipsoids = partsOf(text, "spheroid|ellipsoid");
  return datums.length === 1 && /^d?(wgs84|wgs1984|worldgeodeticsystem1984)(ensemble)?$/.test(datums[0].name)
    && ellipsoids.length === 1 && isNear(ellipsoids[0].numbers[0], 6378137, 1e-3)
    && isNear(ellipsoids[0].numbers[1], 298.257223563, 5e-7);
}

/** Whether all angles are in degrees, and from Greenwich. */
function isInDegreesFromGreenwich(text) {
  const units = partsOf(text, "unit|angleunit");
  return units.length > 0
    && units.every(({ name, numbers }) => name.includes("degree") && isNear(numbers[0], Math.PI / 180, 1e-9))
    && partsOf(text, "primem|primemeridian").every(({ name, numbers }) => name.includes("greenwich") && numbers[0] === 0);
}

/** Refuses another one by its name; `text` is its well-known text. */
export function checkSystem(text) {
  const name = /"([^"]*)"/.exec(text)?.[1] ?? "";
  const start = text.slice(0, 65536);
  const all = bare(start);
  const isGeographic = all.startsWith("geog") || (all.startsWith("geodcrs") && all.includes("csellipsoidal"));
  if (isGeographic && /wgs(19)?84/.test(bare(name)) && isOnWorldDatum(start) && isInDegreesFromGreenwich(start)) return;
  const words = (name || text.trim()).slice(0, 200);
  throw new FileProblem(`${words === "" ? "it does not say what its reference system is" : `its reference system is “${words}”`}; `
    + "only WGS 84 in degrees (EPSG:4326) is read");
}
