// The picture of the timeline: marks, the cross-track error and the state of steering over time.
import { fitted, font, letterScale, palette } from "./palette.js";
import { bandMetres } from "./guidance.js";
import { clock } from "./readings.js";

/** What stands for a mark: a letter or a sign, never a colour alone. */
export const signs = { engaged: "●", ended: "○", dropped: "▲", fault: "!", nudge: "N", line: "L", tuning: "T" };
/** Where several would cover each other the first of these is drawn. */
const order = ["dropped", "engaged", "ended", "fault", "line", "nudge", "tuning"];
const scales = [0.05, 0.1, 0.3, 1, 3]; // metres
const dense = 0.5; // seconds without a sample from which on there is a gap

/** Where things lie in a strip of a size. */
export function layoutOf(width, height) {
  const size = letterScale();
  const [marks, states] = [18 * size, 10 * size];
  return { left: 2, right: width - 2, marks: { top: 0, bottom: marks }, errors: { top: marks + 2, bottom: height - states - 3 },
    states: { top: height - states, bottom: height } };
}

/** Calls `take` with {time, error, state} of samples in a span, no more of them than are drawn apart; each whole column is given its extremes. */
function columns({ past, tail, from, to }, width) {
  const found = Array.from({ length: Math.max(1, Math.ceil(width)) }, () => null);
  const take = ({ time, error, state }) => {
    const place = Math.floor(((time - from) / (to - from)) * (found.length - 1));
    if (!(place >= 0 && place < found.length)) return;
    const column = found[place] ??= { low: Infinity, high: -Infinity, state };
    if (error !== null) Object.assign(column, { low: Math.min(column.low, error), high: Math.max(column.high, error) });
    // A drop is short beside an hour: it is never drawn over.
    if (column.state !== "dropped") column.state = state;
  };
  if (!past.isEmpty) {
    const last = past.numberAt(to);
    for (let number = past.numberAt(from); number <= last; number += 1) take(past.glance(number));
  }
  tail.forEach(take);
  return found;
}

/** What has no sample between two that lie close together belongs to the one before it. */
function filled(found, seconds) {
  const most = Math.max(1, Math.ceil((dense * found.length) / seconds));
  let last = -Infinity;
  return found.map((column, i) => {
    if (column !== null) last = i;
    return column ?? (i - last <= most ? found[last] : null);
  });
}

function drawErrors(context, { errors, left, right }, found) {
  const values = found.flatMap((column) => (column === null || column.low > column.high ? [] : [Math.max(-column.low, column.high)]));
  const greatest = values.reduce((most, value) => Math.max(most, value), 0);
  const scale = scales.find((each) => each >= greatest) ?? scales.at(-1);
  const middle = (errors.top + errors.bottom) / 2;
  const y = (metres) => middle - (Math.max(-scale, Math.min(scale, metres)) / scale) * (middle - errors.top);
  context.fillStyle = palette.grid;
  context.fillRect(left, y(bandMetres), right - left, Math.max(1, y(-bandMetres) - y(bandMetres)));
  context.fillStyle = palette["grid-strong"];
  context.fillRect(left, Math.round(middle), right - left, 1);
  context.fillStyle = palette.actual;
  found.forEach((column, i) => {
    if (column === null || column.low > column.high) return;
    context.fillRect(left + i, y(column.high) - 0.75, 1.2, Math.max(1.5, y(column.low) - y(column.high) + 1.5));
  });
  context.fillStyle = palette.muted;
  context.font = font(12, 600);
  context.textAlign = "left";
  context.textBaseline = "top";
  context.fillText(`R ${scale < 1 ? `${Math.round(scale * 100)} cm` : `${scale} m`}`, left + 2, errors.top);
}

/** The state is told by height and gaps as well as by colour: engaged full, ready half, dropped hatched, else a line. */
function drawStates(context, { states, left }, found) {
  const height = states.bottom - states.top;
  const looks = { engaged: [palette.band, 1], ready: [palette.actual, 0.5], dropped: [palette.desired, 1] };
  found.forEach((column, i) => {
    if (column === null) return;
    const [colour, part] = looks[column.state] ?? [palette.muted, 0.15];
    if (column.state === "dropped" && i % 4 > 1) return;
    context.fillStyle = colour;
    context.fillRect(left + i, states.bottom - height * part, 1.2, height * part);
  });
}

function drawMarks(context, layout, marks, xOf) {
  const size = letterScale();
  const taken = [];
  const inOrder = [...marks].sort((a, b) => order.indexOf(a.kind) - order.indexOf(b.kind));
  context.font = font(14, 800);
  context.textAlign = "center";
  context.textBaseline = "middle";
  for (const { kind, time } of inOrder) {
    const x = xOf(time);
    if (x < layout.left || x > layout.right || taken.some((other) => Math.abs(other - x) < 13 * size)) continue;
    taken.push(x);
    context.fillStyle = kind === "dropped" ? palette.desired : palette.ink;
    context.fillText(signs[kind], Math.max(7 * size, Math.min(layout.right - 7 * size, x)), 9 * size);
    context.fillRect(x - 0.5, layout.marks.bottom - 1, 1, 4);
  }
}

function drawCursor(context, layout, x, time, height) {
  const size = letterScale();
  context.fillStyle = palette.ink;
  context.fillRect(x - 1.5, 0, 3, height);
  const text = clock(time);
  context.font = font(14, 700);
  const width = context.measureText(text).width + 8;
  const left = Math.max(0, Math.min(layout.right - width, x - width / 2));
  context.fillRect(left, layout.errors.top, width, 18 * size);
  context.fillStyle = palette.panel;
  context.textAlign = "left";
  context.textBaseline = "middle";
  context.fillText(text, left + 4, layout.errors.top + 9 * size);
}

/**
 * Draws the strip: what is in `past` and then in `tail`, from one time to another, with `marks`, and the moment that is
 * looked at unless that is null.
 */
export function drawTimeline(canvas, shown) {
  const { context, width, height } = fitted(canvas);
  if (width === 0) return;
  context.clearRect(0, 0, width, height);
  const layout = layoutOf(width, height);
  const { from, to, marks, moment } = shown;
  const xOf = (time) => layout.left + ((time - from) / (to - from)) * (layout.right - layout.left);
  const found = filled(columns(shown, layout.right - layout.left), to - from);
  drawErrors(context, layout, found);
  drawStates(context, layout, found);
  drawMarks(context, layout, marks, xOf);
  if (moment !== null) drawCursor(context, layout, xOf(moment), moment, height);
}
