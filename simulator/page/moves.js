// Where a line would lead the machine that is engaged: what is shown before it is set.
import { headingTo, nearestOn, wrapAngle } from "./geometry.js";
import { lengthWords, seenByDriver } from "./guidance.js";

const farAlong = 1e6; // metres: a line without ends
const greatestHeadingError = Math.PI / 3;
const [abLine, headingLine, circleKind, spline, abCurve] = [0, 1, 2, 3, 4];

const ahead = ([x, y], heading, metres) => [x + Math.sin(heading) * metres, y + Math.cos(heading) * metres];
const endless = (point, heading) => [ahead(point, heading, -farAlong), ahead(point, heading, farAlong)];

/** Points x, y, z one after the other as [x, y]. */
const pointsOf = (values) => Array.from({ length: Math.floor(values.length / 3) },
  (_, i) => [values[3 * i], values[3 * i + 1]]);

/** The circle through three points: {centre, radius, side}, the side on which the centre lies: -1 left. */
function circleThrough([[ax, ay], [bx, by], [cx, cy]]) {
  const [ux, uy, vx, vy] = [bx - ax, by - ay, cx - ax, cy - ay];
  const cross = ux * vy - uy * vx;
  if (cross === 0) return null;
  const [u, v] = [ux * ux + uy * uy, vx * vx + vy * vy];
  const [dx, dy] = [(vy * u - uy * v) / (2 * cross), (ux * v - vx * u) / (2 * cross)];
  return { centre: [ax + dx, ay + dy], radius: Math.hypot(dx, dy), side: cross > 0 ? -1 : 1 };
}

function besideCircle(circle, { x, y }) {
  const outward = headingTo(circle.centre, [x, y]);
  const distance = Math.hypot(x - circle.centre[0], y - circle.centre[1]) - circle.radius;
  return { aside: -circle.side * distance, heading: outward + circle.side * (Math.PI / 2) };
}

function besidePolyline(points, { x, y }) {
  const nearest = nearestOn(points, x, y);
  if (nearest === null) return null;
  const right = (x - nearest.x) * Math.cos(nearest.heading) - (y - nearest.y) * Math.sin(nearest.heading);
  return { aside: right < 0 ? -nearest.distance : nearest.distance, heading: nearest.heading };
}

/** The points of an A-B curve with its straight ends. */
const withEnds = (points) => (points.length < 2 ? points : [
  ahead(points[0], headingTo(points[0], points[1]), -farAlong), ...points,
  ahead(points.at(-1), headingTo(points.at(-2), points.at(-1)), farAlong)]);

/**
 * Where the machine is beside the line of a text form, before any shift: {aside, heading}, metres to the
 * line's right and the line's heading there; null when the page cannot find out.
 */
export function besideLine(text, machine) {
  const [kind, ...values] = text.trim().split(/\s+/).map(Number);
  if (![kind, ...values].every(Number.isFinite)) return null;
  const points = pointsOf(kind === spline || kind === abCurve ? values.slice(1) : values);
  if (kind === abLine && values.length === 6) {
    const isPoint = points[0][0] === points[1][0] && points[0][1] === points[1][1];
    return isPoint ? null : besidePolyline(endless(points[0], headingTo(...points)), machine);
  }
  if (kind === headingLine && values.length === 4) return besidePolyline(endless(points[0], values[3]), machine);
  if (kind === circleKind && values.length === 9) {
    const circle = circleThrough(points);
    return circle && besideCircle(circle, machine);
  }
  if (kind === abCurve) return besidePolyline(withEnds(points), machine);
  return kind === spline ? besidePolyline(points, machine) : null;
}

const dropped = (why) => `Steering is dropped: ${why}. You steer then.`;

/** What becomes of the machine when a line `aside` of it is followed, metres to the driver's right. */
function movement(aside) {
  const by = -aside;
  if (Math.abs(by) < 0.005) return "The machine stays on its way";
  return `The machine moves about ${lengthWords(by)} to the ${by < 0 ? "left" : "right"} at once`;
}

/**
 * In words what happens when the machine, `aside` metres to the right of a line, is to follow it or the pass
 * nearest to it. `follow` is "line", "nearest", or "either" when only the service knows.
 */
export function followingWords(aside, against, width, follow) {
  const seen = seenByDriver(aside, against);
  const far = Math.abs(aside) > width / 2;
  const toLine = far ? dropped(`the line is ${lengthWords(aside)} away, more than half the implement width`)
    : `${movement(seen)}.`;
  if (follow === "line" || !far) return toLine;
  const toPass = `${movement(seenByDriver(aside - Math.round(aside / width) * width, against))}, to the pass nearest to it.`;
  if (follow === "nearest") return toPass;
  return `${toPass} Where the line itself is followed, ${lengthWords(aside)} away, steering is dropped.`;
}

/** In words what a new line does to the machine that is engaged. */
export function newLineWords(text, { state, line, settings }) {
  const beside = besideLine(text, state);
  if (beside === null || line === null || settings === null) return "The machine moves to the new line at once, or steering is dropped: the page cannot say by how much.";
  const turn = Math.abs(wrapAngle(state.heading - beside.heading));
  const against = turn > Math.PI / 2;
  if (Math.min(turn, Math.PI - turn) > greatestHeadingError) return dropped("the machine does not look along the line");
  const kind = Number(text.trim().split(/\s+/)[0]);
  const implement = kind === spline && !settings.splines_use_implement_offset ? 0
    : (against ? -1 : 1) * settings.implement_offset;
  const shift = settings.nudge + settings.field_offset + implement;
  return followingWords(beside.aside - shift, against, line.implement_width, "either");
}

/** In words what following the nearest pass, or the line itself, does to the machine that is engaged. */
export function otherPassWords(nearest, { state, line }) {
  if (state.cross_track_error === null || line === null) return "The machine moves to the line at once.";
  const aside = state.cross_track_error + (state.pass ?? 0) * line.implement_width;
  return followingWords(aside, state.drives_against, line.implement_width, nearest ? "nearest" : "line");
}
