// Where a line would lead the machine that is engaged: what is shown before it is set.
import { clamp, headingTo, nearestOn, wrapAngle } from "./geometry.js";
import { drivenCurve, splineCurve } from "./curves.js";
import { lengthWords, seenByDriver } from "./guidance.js";

const farAlong = 1e6; // metres: a line without ends
const farthestPass = 2000; // metres from the line itself
const leastRadius = 1; // metres: within that nothing is left of a circle
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
  // How far to the right of it there still is a pass.
  const inside = circle.side * (circle.radius - leastRadius);
  return { aside: -circle.side * distance, heading: outward + circle.side * (Math.PI / 2), beyond: 0, inside };
}

/** @param ends whether the line ends there: past an end, `beyond` is how far. */
function besidePolyline(points, { x, y }, ends = false) {
  const nearest = nearestOn(points, x, y);
  if (nearest === null) return null;
  const right = (x - nearest.x) * Math.cos(nearest.heading) - (y - nearest.y) * Math.sin(nearest.heading);
  const isEnd = ends && [points[0], points.at(-1)].some(([px, py]) => px === nearest.x && py === nearest.y);
  if (!isEnd) return { aside: right < 0 ? -nearest.distance : nearest.distance, heading: nearest.heading, beyond: 0 };
  return { aside: right, heading: nearest.heading, beyond: Math.sqrt(Math.max(0, nearest.distance ** 2 - right ** 2)) };
}

/** The points of an A-B curve with its straight ends. */
const withEnds = (points) => (points.length < 2 ? points : [
  ahead(points[0], headingTo(points[0], points[1]), -farAlong), ...points,
  ahead(points.at(-1), headingTo(points.at(-2), points.at(-1)), farAlong)]);

/** The line of a text form as {kind, circle} or {kind, points}; null when the page cannot find out. */
function lineOf(text, filterSize) {
  const [kind, ...values] = text.trim().split(/\s+/).map(Number);
  if (![kind, ...values].every(Number.isFinite)) return null;
  const points = pointsOf(kind === spline || kind === abCurve ? values.slice(1) : values);
  if (kind === abLine && values.length === 6) {
    const isPoint = points[0][0] === points[1][0] && points[0][1] === points[1][1];
    return isPoint ? null : { kind, points: endless(points[0], headingTo(...points)) };
  }
  if (kind === headingLine && values.length === 4) return { kind, points: endless(points[0], values[3]) };
  if (kind === circleKind && values.length === 9) {
    const circle = circleThrough(points);
    return circle && { kind, circle };
  }
  if (kind === abCurve) return { kind, points: withEnds(drivenCurve(points, filterSize)) };
  return kind === spline ? { kind, points: splineCurve(points) } : null;
}

let found = { text: null }; // a long line is worked out once, and looked at with each state

/**
 * Where the machine is beside the line of a text form, before any shift: {kind, aside, heading, beyond}, metres
 * to the line's right, the line's heading there, and metres past its end; null when the page cannot find out.
 * `filterSize` is over how many points the service smooths a driven line.
 */
export function besideLine(text, machine, filterSize = 0) {
  if (found.text !== text || found.filterSize !== filterSize) found = { text, filterSize, line: lineOf(text, filterSize) };
  const { line } = found;
  if (line === null) return null;
  const beside = line.circle ? besideCircle(line.circle, machine)
    : besidePolyline(line.points, machine, line.kind === spline);
  return beside && { kind: line.kind, ...beside };
}

/*
 * What happens to a machine is {by, text}: metres that it moves to the driver's right, null when it does not move
 * or that is not known, and the words for that.
 */

const dropped = (why) => ({ by: null, ends: true, text: `Steering is dropped: ${why}. You steer then.` });
const unknown = (text) => ({ by: null, text });

/** What becomes of the machine when the line that it is to follow is `aside` of it, metres to the driver's right. */
function movement(aside, where = "") {
  const by = -aside;
  if (Math.abs(by) < 0.005) return { by, text: `The machine stays on its way${where}.` };
  return { by, text: `The machine moves about ${lengthWords(by)} to the ${by < 0 ? "left" : "right"} at once${where}.` };
}

/**
 * What happens when the machine, `aside` metres to the right of a line and `beyond` past its end, is to follow the
 * line or the pass nearest to it. `inside` of a circle there are no passes.
 */
function following({ aside, beyond = 0, inside = null, shift = 0 }, against, width, nearest) {
  const pass = nearest ? Math.round(clamp(aside, -farthestPass, farthestPass) / width) : 0;
  const place = pass * width + shift;
  if (inside !== null && place * Math.sign(inside) > Math.abs(inside)) {
    return dropped("nothing is left of the pass so far inside of the bend");
  }
  const off = aside - pass * width;
  const away = Math.hypot(off, beyond);
  if (away > width / 2) return dropped(`the line is ${lengthWords(away)} away, more than half the implement width`);
  return movement(seenByDriver(off, against), pass === 0 ? "" : ", to the pass nearest to it");
}

/** What a new line does to the machine that is engaged. */
export function newLine(text, { state, line, settings }) {
  const beside = settings && besideLine(text, state, settings.curve_filter_size);
  if (beside === null || line === null) return unknown("The machine moves to the new line at once, or steering is dropped: the page cannot say by how much.");
  const turn = Math.abs(wrapAngle(state.heading - beside.heading));
  const against = turn > Math.PI / 2;
  if (Math.min(turn, Math.PI - turn) > greatestHeadingError) return dropped("the machine does not look along the line");
  // Shifts are to the line's right, but the implement's to the right of where the machine looks.
  const counted = beside.kind === spline && !settings.splines_use_implement_offset ? 0 : settings.implement_offset;
  const implement = against ? -counted : counted;
  const shift = settings.nudge + settings.field_offset + implement;
  return following({ ...beside, aside: beside.aside - shift, shift }, against, settings.implement_width, state.takes_nearest_pass);
}

/** What following the nearest pass, or the line itself, does to the machine that is engaged. */
export function otherPass(nearest, { state, line }) {
  if (state.cross_track_error === null || line === null) return unknown("The machine moves to the line at once.");
  const aside = state.cross_track_error + (state.pass ?? 0) * line.implement_width;
  return following({ aside }, state.drives_against, line.implement_width, nearest);
}

/** What a line that is moved to its right, by `metres` of it, does to the machine that is engaged. */
export function shifted(metres, { state, settings }, width = settings.implement_width) {
  if (state.cross_track_error === null) return unknown("The machine moves with the line at once.");
  return following({ aside: state.cross_track_error - metres }, state.drives_against, width, false);
}

/** What another implement width does: passes lie at its multiples. */
export const otherWidth = (width, model) =>
  shifted((model.state.pass ?? 0) * (width - model.settings.implement_width), model, width);

const leastSpeed = 0.3; // metres per second, for steering where low speed is not allowed
const standingSpeed = 0.02;

/** What another speed does; null when steering goes on. */
export function otherSpeed(speed, { state, settings }) {
  if (state.fed) return null;
  const reverse = settings.reverse_engage_enabled && settings.reverse_engage_allowed;
  if (speed < -standingSpeed && !reverse) return dropped("the machine moves backwards, which is not allowed");
  if (Math.abs(speed) < leastSpeed && !settings.low_speed_engage_allowed) {
    return dropped(`the machine moves slower than ${leastSpeed} m/s, which is not allowed`);
  }
  return null;
}

/** Whether something moves the machine by more than a driver would let happen unasked, or ends steering. */
export const isMuch = (happens) => happens !== null && (happens.by === null || Math.abs(happens.by) > 0.05);
/** Whether it ends steering. */
export const isEnd = (happens) => happens?.ends === true;
