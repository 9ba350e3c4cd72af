// The two charts of the last minute.
import { fitted, font, letterScale, palette } from "./palette.js";
import { bandMetres, seenByDriver } from "./guidance.js";
import { degrees } from "./geometry.js";

const shownSeconds = 60;
// No more than what leaves the band to be seen; what is beyond gets a mark at the edge. Metres.
const errorScales = [0.05, 0.1, 0.2, 0.3];
const markPixels = 12;
const angleScales = [5, 10, 20, 40]; // degrees

/** States farther apart than that, metres, say little of what was between them. */
const coarseMetres = 1;
const isSample = (value) => value !== null && typeof value === "object"
  && [value.time, value.x, value.y, value.actual, value.desired].every(Number.isFinite)
  && (value.error === null || Number.isFinite(value.error)) && typeof value.engaged === "boolean";
/** A machine that is slower says nothing of how it is steered, metres per second. */
const standing = 0.05;

/** The samples of the last minute. */
export class History {
  constructor() {
    this.endWords = "now"; // when its end is
    this.clear();
  }

  clear() {
    this.samples = [];
  }

  add(state) {
    const last = this.samples[this.samples.length - 1];
    if (last && state.time < last.time) this.samples = []; // another run of the simulation
    this.samples.push({
      time: state.time,
      x: state.x,
      y: state.y,
      stands: Math.abs(state.speed) < standing,
      engaged: state.engage_state_name === "engaged",
      error: seenByDriver(state.cross_track_error, state.drives_against),
      actual: degrees(state.steering_angle),
      desired: degrees(state.desired_steering_angle),
    });
    while (this.samples[0].time < state.time - shownSeconds) this.samples.shift();
  }

  /** Takes samples that were kept over a reload; those that have come since follow them. */
  restore(samples) {
    if (!Array.isArray(samples) || !samples.every(isSample)) return;
    const first = this.samples[0]?.time ?? Infinity;
    const end = this.samples[this.samples.length - 1]?.time ?? 0;
    const before = samples.filter(({ time }) => time < first && time >= end - shownSeconds);
    this.samples = [...before, ...this.samples];
  }

  /**
   * The part of the samples with a line that lie within the band, of a machine that moves and is steered as it is now,
   * by itself or by hand, and what it rests on: {part, count, seconds, engaged, coarse}, `coarse` when the machine has
   * driven far from one to the next; null without any.
   */
  inBand() {
    const { samples } = this;
    const engaged = samples.at(-1)?.engaged;
    const counts = (sample) => sample.error !== null && !sample.stands && sample.engaged === engaged;
    const withLine = samples.slice(samples.findLastIndex((sample) => sample.engaged !== engaged) + 1).filter(counts);
    if (withLine.length === 0) return null;
    const within = withLine.filter(({ error }) => Math.abs(error) <= bandMetres);
    const apart = ({ x, y }, i) => (i === 0 ? 0 : Math.hypot(x - withLine[i - 1].x, y - withLine[i - 1].y));
    return {
      part: within.length / withLine.length,
      count: withLine.length,
      engaged,
      seconds: withLine[withLine.length - 1].time - withLine[0].time,
      coarse: withLine.some((sample, i) => apart(sample, i) > coarseMetres),
    };
  }

  /** The same in words. */
  inBandWords() {
    const found = this.inBand();
    if (found === null) return "–";
    const rests = `of ${found.count} ${found.count === 1 ? "state" : "states"} in ${Math.round(found.seconds)} s${found.engaged ? " engaged" : ""}`;
    return `${found.coarse ? "≈ " : ""}${Math.round(found.part * 100)} % within 2.5 cm, ${rests}`;
  }
}

/** The smallest scale that holds all values, or the greatest. */
export function scaleFor(values, scales) {
  const most = values.reduce((greatest, value) => Math.max(greatest, Math.abs(value ?? 0)), 0);
  return scales.find((scale) => scale >= most) ?? scales[scales.length - 1];
}

function axes(context, chart, texts, endWords) {
  const { left, right, top, middle, bottom } = chart;
  context.setLineDash([]);
  context.lineWidth = 1;
  context.strokeStyle = palette["grid-strong"];
  context.beginPath();
  for (const y of [top, middle, bottom]) {
    context.moveTo(left, Math.round(y) + 0.5);
    context.lineTo(right, Math.round(y) + 0.5);
  }
  context.stroke();
  context.fillStyle = palette.muted;
  context.font = font(16, 500);
  context.textAlign = "right";
  context.textBaseline = "middle";
  [top, middle, bottom].forEach((y, i) => context.fillText(texts[i], left - 6, y));
  context.textBaseline = "bottom";
  context.textAlign = "left";
  context.fillText(endWords === "now" ? "60 s ago" : "60 s before", left, chart.height - 1);
  context.textAlign = "right";
  context.fillText(endWords, right, chart.height - 1);
}

const xOf = (chart, end, { time }) =>
  chart.right - ((end - time) / shownSeconds) * (chart.right - chart.left);

/** The time between two samples from which on nothing was seen between them. */
function gapAfter(samples) {
  const steps = samples.slice(1).map(({ time }, i) => time - samples[i].time).sort((a, b) => a - b);
  return Math.max(1, 5 * (steps[Math.floor(steps.length / 2)] ?? 0));
}

function curve(context, chart, samples, name, { colour, width, dashes }) {
  const end = samples[samples.length - 1].time;
  const gap = gapAfter(samples);
  context.strokeStyle = colour;
  context.lineWidth = width;
  context.setLineDash(dashes);
  context.beginPath();
  let last = null;
  for (const sample of samples) {
    const value = sample[name];
    const x = xOf(chart, end, sample);
    const joined = last !== null && sample.time - last.time <= gap;
    if (value !== null) context[joined ? "lineTo" : "moveTo"](x, chart.y(value));
    last = value !== null ? sample : null;
  }
  context.stroke();
  context.setLineDash([]);
}

/** Marks where a curve is beyond the scale by arrows at the edge. */
function overflow(context, chart, samples, name, scale) {
  const end = samples[samples.length - 1].time;
  let next = Infinity;
  context.fillStyle = palette.desired;
  for (const sample of samples.filter((each) => Math.abs(each[name] ?? 0) > scale).reverse()) {
    const x = xOf(chart, end, sample);
    if (x > next) continue;
    next = x - markPixels;
    const [edge, inwards] = sample[name] > 0 ? [chart.top, 1] : [chart.bottom, -1];
    context.beginPath();
    context.moveTo(x, edge - inwards);
    context.lineTo(x - 5, edge + 8 * inwards);
    context.lineTo(x + 5, edge + 8 * inwards);
    context.fill();
  }
}

/** The band around the line, hatched so that it does not hang on its colour. */
function band(context, chart) {
  const [top, bottom] = [chart.y(bandMetres), chart.y(-bandMetres)];
  context.save();
  context.beginPath();
  context.rect(chart.left, top, chart.right - chart.left, bottom - top);
  context.clip();
  context.strokeStyle = palette.band;
  context.lineWidth = 1;
  context.beginPath();
  const slope = bottom - top;
  for (let x = chart.left - slope; x < chart.right; x += 7) {
    context.moveTo(x, bottom);
    context.lineTo(x + slope, top);
  }
  context.stroke();
  context.lineWidth = 3;
  context.strokeRect(chart.left - 4, top, chart.right - chart.left + 8, slope);
  context.restore();
}

function chartOf(canvas, scale) {
  const { context, width, height } = fitted(canvas);
  context.clearRect(0, 0, width, height);
  const size = letterScale();
  const chart = { left: 74 * size, right: width - 4, top: 9 * size, bottom: height - 22 * size, height };
  chart.middle = (chart.top + chart.bottom) / 2;
  // Up is right: what is right of the line or steers right is drawn above.
  chart.y = (value) => chart.middle - (value / scale) * (chart.middle - chart.top);
  return { context, chart };
}

const clipTo = (context, { left, right, top, bottom }) => {
  context.beginPath();
  context.rect(left, top - 2, right - left, bottom - top + 4);
  context.clip();
};

/** Draws the cross-track error of the last minute. */
export function drawErrors(canvas, { samples, endWords = "now" }) {
  const scale = scaleFor(samples.map(({ error }) => error), errorScales);
  const { context, chart } = chartOf(canvas, scale);
  const text = `${scale * 100} cm`;
  band(context, chart);
  axes(context, chart, [`R ${text}`, "0", `L ${text}`], endWords);
  if (samples.length === 0) return;
  context.save();
  clipTo(context, chart);
  curve(context, chart, samples, "error", { colour: palette.actual, width: 2.5, dashes: [] });
  overflow(context, chart, samples, "error", scale);
  context.restore();
}

/** Draws the desired and the actual steering angle of the last minute. */
export function drawSteering(canvas, { samples, endWords = "now" }) {
  const scale = scaleFor(samples.flatMap(({ actual, desired }) => [actual, desired]), angleScales);
  const { context, chart } = chartOf(canvas, scale);
  axes(context, chart, [`R ${scale}°`, "0", `L ${scale}°`], endWords);
  if (samples.length === 0) return;
  context.save();
  clipTo(context, chart);
  curve(context, chart, samples, "actual", { colour: palette.actual, width: 2.5, dashes: [] });
  curve(context, chart, samples, "desired", { colour: palette.desired, width: 2, dashes: [5, 4] });
  context.restore();
}
