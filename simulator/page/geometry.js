// Plane geometry of the map, without a canvas: x east, y north, headings clockwise from north.

export const degrees = (radians) => (radians * 180) / Math.PI;
export const radians = (degreesValue) => (degreesValue * Math.PI) / 180;

export const clamp = (value, lowest, highest) => Math.min(highest, Math.max(lowest, value));

/** An angle brought into (-pi, pi]. */
export function wrapAngle(angle) {
  const turned = angle % (2 * Math.PI);
  if (turned > Math.PI) return turned - 2 * Math.PI;
  return turned <= -Math.PI ? turned + 2 * Math.PI : turned;
}

/** An angle brought into [0, 2 pi). */
export function wrapHeading(angle) {
  const turned = angle % (2 * Math.PI);
  return turned < 0 ? turned + 2 * Math.PI : turned;
}

/** The heading from one point to another. */
export const headingTo = (from, to) => wrapHeading(Math.atan2(to[0] - from[0], to[1] - from[1]));

/** The pose between two, at `part` of the way; headings go the short way round. */
export function poseBetween(before, after, part) {
  return {
    x: before.x + (after.x - before.x) * part,
    y: before.y + (after.y - before.y) * part,
    heading: before.heading + wrapAngle(after.heading - before.heading) * part,
  };
}

/*
 * A camera: {x, y} is the place of the world that is shown at the pixel {anchorX, anchorY}, `up` the
 * heading that points up, `scale` pixels a metre, {width, height} the picture's size.
 */

/** The pixel that shows a place. */
export function toScreen(camera, x, y) {
  const dx = x - camera.x;
  const dy = y - camera.y;
  const cosine = Math.cos(camera.up);
  const sine = Math.sin(camera.up);
  return [
    camera.anchorX + (dx * cosine - dy * sine) * camera.scale,
    camera.anchorY - (dx * sine + dy * cosine) * camera.scale,
  ];
}

/** The place that a pixel shows; undoes toScreen(). */
export function toWorld(camera, screenX, screenY) {
  const right = (screenX - camera.anchorX) / camera.scale;
  const ahead = (camera.anchorY - screenY) / camera.scale;
  const cosine = Math.cos(camera.up);
  const sine = Math.sin(camera.up);
  return [camera.x + right * cosine + ahead * sine, camera.y - right * sine + ahead * cosine];
}

/** The camera at another scale that shows the same place at a pixel. */
export function zoomedAt(camera, scale, screenX, screenY) {
  const [x, y] = toWorld(camera, screenX, screenY);
  const zoomed = { ...camera, scale };
  const [newX, newY] = toWorld(zoomed, screenX, screenY);
  return { ...zoomed, x: camera.x + x - newX, y: camera.y + y - newY };
}

/** The smallest upright box, in metres, around what a camera shows. */
export function shownBox(camera) {
  const corners = [[0, 0], [camera.width, 0], [0, camera.height], [camera.width, camera.height]]
    .map(([x, y]) => toWorld(camera, x, y));
  const xs = corners.map(([x]) => x);
  const ys = corners.map(([, y]) => y);
  return { left: Math.min(...xs), right: Math.max(...xs), bottom: Math.min(...ys), top: Math.max(...ys) };
}

/**
 * Where at the edge of the picture the way leads to a place that is not in it: {x, y, turn, metres}, pixels, the
 * direction clockwise from up, and how far it is beyond; null for a place that is shown.
 */
export function edgePlace(camera, { x, y }, margin = 28) {
  const [px, py] = toScreen(camera, x, y);
  const { width, height } = camera;
  if (px >= 0 && px <= width && py >= 0 && py <= height) return null;
  const [dx, dy] = [px - width / 2, py - height / 2];
  const room = (half, way) => (way === 0 ? Infinity : Math.max(0, half - margin) / Math.abs(way));
  const part = Math.min(room(width / 2, dx), room(height / 2, dy));
  const beyond = Math.hypot(px - clamp(px, 0, width), py - clamp(py, 0, height));
  return { x: width / 2 + dx * part, y: height / 2 + dy * part, turn: Math.atan2(dx, -dy), metres: beyond / camera.scale };
}

/** The distance of round numbers (1, 2 or 5 times a power of ten) that is at least `least`. */
export function roundDistance(least) {
  const power = 10 ** Math.floor(Math.log10(least));
  return [1, 2, 5, 10].map((factor) => factor * power).find((distance) => distance >= least * 0.999999);
}

/**
 * The part of a segment inside a box around the origin's corner: [from, to] as parts of its length,
 * or null when it is outside. Method: Liang and Barsky, "A New Concept and Method for Line Clipping",
 * 1984.
 */
export function clipSegment([x0, y0], [x1, y1], left, top, right, bottom) {
  let from = 0;
  let to = 1;
  for (const [step, room] of [
    [x0 - x1, x0 - left], [x1 - x0, right - x0], [y0 - y1, y0 - top], [y1 - y0, bottom - y0],
  ]) {
    if (step === 0) {
      if (room < 0) return null;
    } else if (step < 0) {
      from = Math.max(from, room / step);
    } else {
      to = Math.min(to, room / step);
    }
  }
  return from <= to ? [from, to] : null;
}

const along = ([x0, y0], [x1, y1], part) => [x0 + (x1 - x0) * part, y0 + (y1 - y0) * part];

/**
 * The parts of a polyline of pixels within a margin around the picture, each {start, points}: where
 * on the polyline it begins, so that dashes stay in place, and its points. Long lines are cut
 * because dashes are made for all of what is stroked, seen or not.
 */
export function visibleRuns(points, width, height, margin) {
  const runs = [];
  let run = null;
  let passed = 0;
  for (let i = 1; i < points.length; i += 1) {
    const [from, to] = [points[i - 1], points[i]];
    const length = Math.hypot(to[0] - from[0], to[1] - from[1]);
    const part = clipSegment(from, to, -margin, -margin, width + margin, height + margin);
    if (part === null) {
      run = null;
    } else {
      if (run === null || part[0] > 0) {
        run = { start: passed + part[0] * length, points: [along(from, to, part[0])] };
        runs.push(run);
      }
      run.points.push(along(from, to, part[1]));
      if (part[1] < 1) run = null;
    }
    passed += length;
  }
  return runs;
}

/** The place of a polyline nearest to a point: {x, y, heading, distance}; null for fewer than 2 points. */
export function nearestOn(points, x, y) {
  let best = null;
  for (let i = 1; i < points.length; i += 1) {
    const [from, to] = [points[i - 1], points[i]];
    const [dx, dy] = [to[0] - from[0], to[1] - from[1]];
    const square = dx * dx + dy * dy;
    const part = square > 0 ? clamp(((x - from[0]) * dx + (y - from[1]) * dy) / square, 0, 1) : 0;
    const [px, py] = along(from, to, part);
    const distance = Math.hypot(x - px, y - py);
    if (square > 0 && (best === null || distance < best.distance)) {
      best = { x: px, y: py, heading: headingTo(from, to), distance };
    }
  }
  return best;
}
