// The curve that the service makes of the points of a spline or an A-B curve.

const distance = (a, b) => Math.hypot(b[0] - a[0], b[1] - a[1]);
const mix = (a, b, share) => [a[0] + (b[0] - a[0]) * share, a[1] + (b[1] - a[1]) * share];
/** Points that are nearer to each other count once, metres. */
const [splineSpacing, drivenSpacing] = [0.01, 0.1];
/** How many pieces stand for the curve from one point to the next, and how long they are at least, metres. */
const [mostPieces, pieceMetres] = [100, 0.25];

function thinned(points, spacing) {
  const kept = [];
  for (const point of points) {
    if (kept.length === 0 || distance(kept.at(-1), point) >= spacing) kept.push(point);
  }
  return kept;
}

/** The value at 0 of the parabola that fits `values` at the places `at` best, by Cramer's rule. */
function parabolaAtOrigin(at, values) {
  const powers = [0, 1, 2, 3, 4].map((power) => at.reduce((sum, place) => sum + place ** power, 0));
  const sums = [0, 1, 2].map((power) => at.reduce((sum, place, i) => sum + place ** power * values[i], 0));
  const weights = [powers[2] * powers[4] - powers[3] ** 2, powers[2] * powers[3] - powers[1] * powers[4],
    powers[1] * powers[3] - powers[2] ** 2];
  const with_ = (values3) => weights.reduce((sum, weight, i) => sum + weight * values3[i], 0);
  return with_(sums) / with_(powers);
}

/**
 * Each point moved onto the parabola that fits it and its neighbours best. Method: Savitzky and Golay,
 * "Smoothing and Differentiation of Data by Simplified Least Squares Procedures", 1964.
 */
function smoothed(points, window) {
  if (window < 4 || points.length < 4) return points;
  const reach = Math.floor(window / 2);
  const stations = [0];
  for (let i = 1; i < points.length; i += 1) stations.push(stations[i - 1] + distance(points[i - 1], points[i]));
  return points.map((point, i) => {
    const first = Math.min(Math.max(i - reach, 0), points.length - 4);
    const near = points.slice(first, Math.max(Math.min(points.length - 1, i + reach), 3) + 1);
    const at = near.map((_, j) => stations[first + j] - stations[i]);
    return [0, 1].map((axis) => point[axis] + parabolaAtOrigin(at, near.map((other) => other[axis] - point[axis])));
  });
}

/** A place of the Catmull-Rom curve from the second to the third of four points, centripetal. */
function placeOn(points, share) {
  const knots = [0];
  for (let i = 1; i < 4; i += 1) knots.push(knots[i - 1] + Math.sqrt(distance(points[i - 1], points[i])));
  const t = knots[1] + (knots[2] - knots[1]) * share;
  const between = (a, b, first, last) => mix(a, b, (t - knots[first]) / (knots[last] - knots[first]));
  const [a, b, c] = [0, 1, 2].map((i) => between(points[i], points[i + 1], i, i + 1));
  return between(between(a, b, 0, 2), between(b, c, 1, 3), 1, 2);
}

function curveThrough(points) {
  if (points.length < 2) return [];
  const before = mix(points[1], points[0], 2);
  const after = mix(points.at(-2), points.at(-1), 2);
  const all = [before, ...points, after];
  const curve = [];
  for (let i = 1; i + 2 < all.length; i += 1) {
    const pieces = Math.min(mostPieces, 1 + Math.floor(distance(all[i], all[i + 1]) / pieceMetres));
    for (let piece = 0; piece < pieces; piece += 1) curve.push(placeOn(all.slice(i - 1, i + 3), piece / pieces));
  }
  return [...curve, points.at(-1)];
}

/** The curve of a spline's points [x, y]. */
export const splineCurve = (points) => curveThrough(thinned(points, splineSpacing));

/** The curve of driven points, which are smoothed over `filterSize` of them. */
export const drivenCurve = (points, filterSize) => curveThrough(smoothed(thinned(points, drivenSpacing), filterSize));
