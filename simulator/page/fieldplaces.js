// Places on the earth, [longitude, latitude, height or null] in degrees and metres, and the local frame of
// lines: the plane that touches the ellipsoid at its origin, x east, y north.
import { radians } from "./geometry.js";

const semiMajor = 6378137;
const flattening = 1 / 298.257223563;
const eccentricitySquared = flattening * (2 - flattening);

/** What a file cannot be used for. */
export class FileProblem extends Error {}

/** A file that is none of those that are read. */
export class UnknownFile extends FileProblem {
  constructor(reason) {
    super(`${reason}; read are ISOXML (TASKDATA.XML with its other files, or a zip), Shapefile (its files together, or a `
      + "zip), GeoPackage, KML, KMZ and GeoJSON");
  }
}

/** A file that has more than is read: no part of it is used. */
export class FileTooLarge extends Error {}

/**
 * Beyond this the page would be slow, whatever a file announces. `text` is of GeoJSON and XML, and `marks` of the
 * elements of XML: the browser reads those at one go, in which the page does nothing else.
 */
export const limits = { bytes: 64 << 20, text: 16 << 20, marks: 250000, places: 400000, features: 20000, depth: 64 };

/** A place on the earth, of what a file has. */
export function checkedPlace(longitude, latitude, height = null) {
  const isPlace = Number.isFinite(longitude) && Math.abs(longitude) <= 540 && Math.abs(latitude) <= 90
    && (height === null || Number.isFinite(height));
  if (!isPlace) throw new FileProblem(`${longitude} ${latitude} is no longitude and latitude`);
  return [Math.abs(longitude) > 180 ? longitude - 360 * Math.sign(longitude) : longitude, latitude, height];
}

/** The direction of a place: sines and cosines of its angles. */
function angles([longitude, latitude]) {
  const [east, north] = [radians(longitude), radians(latitude)];
  return { sinEast: Math.sin(east), cosEast: Math.cos(east), sinNorth: Math.sin(north), cosNorth: Math.cos(north) };
}

/** From the centre of the earth, metres. */
function fromCentre(place, otherwiseHeight) {
  const { sinEast, cosEast, sinNorth, cosNorth } = angles(place);
  const height = place[2] ?? otherwiseHeight;
  const curve = semiMajor / Math.sqrt(1 - eccentricitySquared * sinNorth * sinNorth);
  return [(curve + height) * cosNorth * cosEast, (curve + height) * cosNorth * sinEast,
    (curve * (1 - eccentricitySquared) + height) * sinNorth];
}

/** The local frame at a place; one without a height is on the ellipsoid. */
export class LocalFrame {
  constructor(origin) {
    this.origin = [origin[0], origin[1], origin[2] ?? 0];
    this.centre = fromCentre(this.origin, 0);
    this.angles = angles(origin);
  }

  /** [x, y, z] of a place; one without a height is as high as the origin. */
  local(place) {
    const { sinEast, cosEast, sinNorth, cosNorth } = this.angles;
    const there = fromCentre(place, this.origin[2]);
    const [a, b, c] = there.map((value, i) => value - this.centre[i]);
    const out = cosEast * a + sinEast * b;
    return [cosEast * b - sinEast * a, cosNorth * c - sinNorth * out, cosNorth * out + sinNorth * c];
  }

  /** The place of a point near the origin, on the level of the origin. */
  place([x, y]) {
    let place = [this.origin[0], this.origin[1], this.origin[2]];
    const metresInDegree = radians(semiMajor);
    for (let i = 0; i < 6; i += 1) {
      const [atX, atY] = this.local(place);
      place = [place[0] + (x - atX) / (metresInDegree * this.angles.cosNorth), place[1] + (y - atY) / metresInDegree,
        this.origin[2]];
    }
    return place;
  }
}

/** How far east of another one a longitude is, the shorter way round, degrees. */
export function eastOf(longitude, other) {
  const east = longitude - other;
  return east - 360 * Math.round(east / 360);
}

const nearly = (left, right) => Math.abs(left - right) <= 1e-9;

/** Whether two places are the same within a tenth of a millimetre. */
export const samePlace = (left, right) => nearly(left[1], right[1])
  && (nearly(left[0], right[0]) || nearly(Math.abs(left[0] - right[0]), 360));
