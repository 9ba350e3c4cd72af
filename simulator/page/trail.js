// The way that the machine has driven: kept in chunks, each simplified to what a scale can show, so
// that an hour of it is drawn as fast as a minute.

/** An hour at 10 positions a second. */
export const mostPoints = 36000;
const chunkPoints = 500;
/** So many of the last points are in no chunk: the machine, as it is drawn, may not have come to them. */
const looseEnd = 32;
const finestTolerance = 0.02; // metres; each level is four times as coarse as the one before
const coarsestLevel = 8;

/** The level of detail for a scale in pixels a metre: its tolerance is at most half a pixel. */
export function levelFor(scale) {
  const level = Math.floor(Math.log(0.5 / scale / finestTolerance) / Math.log(4));
  return Math.min(coarsestLevel, Math.max(0, level));
}

export const toleranceOf = (level) => finestTolerance * 4 ** level;

function farthestFromChord(points, first, last) {
  const [x0, y0] = points[first];
  const [dx, dy] = [points[last][0] - x0, points[last][1] - y0];
  const length = Math.hypot(dx, dy);
  let farthest = { index: -1, distance: -1 };
  for (let i = first + 1; i < last; i += 1) {
    const [ux, uy] = [points[i][0] - x0, points[i][1] - y0];
    const distance = length > 0 ? Math.abs(ux * dy - uy * dx) / length : Math.hypot(ux, uy);
    if (distance > farthest.distance) farthest = { index: i, distance };
  }
  return farthest;
}

/**
 * Those of the points that keep the polyline within a tolerance. Method: Douglas and Peucker,
 * "Algorithms for the Reduction of the Number of Points Required to Represent a Digitized Line or
 * its Caricature", 1973.
 */
export function simplified(points, tolerance) {
  if (points.length < 3) return points;
  const kept = new Set([0, points.length - 1]);
  const open = [[0, points.length - 1]];
  while (open.length > 0) {
    const [first, last] = open.pop();
    const { index, distance } = farthestFromChord(points, first, last);
    if (distance > tolerance) {
      kept.add(index);
      open.push([first, index], [index, last]);
    }
  }
  return points.filter((_, i) => kept.has(i));
}

function boxOf(points) {
  const box = { left: Infinity, right: -Infinity, bottom: Infinity, top: -Infinity };
  for (const [x, y] of points) {
    box.left = Math.min(box.left, x);
    box.right = Math.max(box.right, x);
    box.bottom = Math.min(box.bottom, y);
    box.top = Math.max(box.top, y);
  }
  return box;
}

const overlap = (a, b) =>
  a.left <= b.right && b.left <= a.right && a.bottom <= b.top && b.bottom <= a.top;

/** A growing trail. Each full chunk ends with the point that the next begins with. */
export class Trail {
  constructor() {
    this.clear();
  }

  clear() {
    this.full = [];
    this.open = [];
  }

  get length() {
    return this.full.length * chunkPoints + this.open.length;
  }

  /** Adds a point at the end; the oldest chunk goes when the trail is too long. */
  add(point) {
    this.open.push(point);
    if (this.open.length > chunkPoints + looseEnd) {
      const points = this.open.slice(0, chunkPoints + 1);
      this.full.push({ points, box: boxOf(points), levels: [] });
      this.open = this.open.slice(chunkPoints);
    }
    if (this.length > mostPoints + chunkPoints) this.full.shift();
  }

  replace(points) {
    this.clear();
    points.forEach((point) => this.add(point));
  }

  /** All points, the oldest first. */
  points() {
    const full = this.full.flatMap(({ points }) => points.slice(0, -1)); // its last is the next one's first
    return [...full, ...this.open];
  }

  /** The smallest box around all of it; null without any. */
  box() {
    return this.length === 0 ? null : boxOf(this.points());
  }

  /** The polylines to be drawn for a box of the world at a scale; the last is still growing. */
  within(box, scale) {
    const level = levelFor(scale);
    const shown = this.full.filter((chunk) => overlap(chunk.box, box));
    for (const chunk of shown) chunk.levels[level] ??= simplified(chunk.points, toleranceOf(level));
    return [...shown.map((chunk) => chunk.levels[level]), this.open];
  }
}
