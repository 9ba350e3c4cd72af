// The chart of step tests that lie over one another. Curves are told apart by their dashes and their numbers too.
import { fitted, font, letterScale, palette } from "./palette.js";
import { bandMetres } from "./guidance.js";

/** Lines of a kind each, and colours as far as there are. */
const dashes = [[], [9, 4], [2, 4], [12, 4, 2, 4], [5, 3, 1, 3, 1, 3], [16, 6]];
const colours = ["actual", "desired", "ink", "followed", "aim", "muted"];
const [leastMetres, leastPast] = [15, 0.1];

/** How the curve at a place among the others is drawn. */
export const strokeOf = (place) => ({ dashes: dashes[place % dashes.length], colour: colours[place % colours.length] });

/** What part of way and error is shown, so that all of the curves are: errors from `low`, past the line, to `high`. */
export function shownPart(curves) {
  const points = curves.flat();
  const errors = points.map(([, error]) => error);
  return {
    metres: Math.max(leastMetres, ...points.map(([way]) => way)),
    high: Math.max(0.5, ...errors),
    low: Math.min(-leastPast, ...errors),
  };
}

function axes(context, area, part) {
  context.strokeStyle = palette["grid-strong"];
  context.fillStyle = palette.muted;
  context.font = font(14, 500);
  context.lineWidth = 1;
  context.textAlign = "right";
  context.textBaseline = "middle";
  for (const [error, text] of [[part.high, `${Math.round(part.high * 100)} cm`], [0, "line"]]) {
    const y = Math.round(area.y(error)) + 0.5;
    context.beginPath();
    context.moveTo(area.left, y);
    context.lineTo(area.right, y);
    context.stroke();
    context.fillText(text, area.left - 6, y);
  }
  context.textBaseline = "bottom";
  context.fillText(`${Math.round(part.metres)} m`, area.right, area.height - 1);
  context.textAlign = "left";
  context.fillText("0 m", area.left, area.height - 1);
}

/** The band that a machine has settled in. */
function band(context, area) {
  context.strokeStyle = palette.band;
  context.lineWidth = 1;
  context.setLineDash([]);
  for (const error of [bandMetres, -bandMetres]) {
    context.beginPath();
    context.moveTo(area.left, area.y(error));
    context.lineTo(area.right, area.y(error));
    context.stroke();
  }
}

function curve(context, area, { curve: points, number }, place, count) {
  const stroke = strokeOf(place);
  context.strokeStyle = palette[stroke.colour];
  context.lineWidth = 2.5;
  context.setLineDash(stroke.dashes);
  context.beginPath();
  points.forEach(([way, error], i) => context[i === 0 ? "moveTo" : "lineTo"](area.x(way), area.y(error)));
  context.stroke();
  context.setLineDash([]);
  // Each number at another height of the curve, so that they do not hide one another.
  const wanted = points[0][1] * (0.85 - (0.6 * place) / Math.max(1, count));
  const [way, error] = points.find(([, each]) => each <= wanted) ?? points.at(-1);
  const text = String(number);
  context.font = font(14, 700);
  context.textAlign = "center";
  context.textBaseline = "middle";
  context.lineWidth = 5;
  context.strokeStyle = palette.panel;
  context.strokeText(text, area.x(way), area.y(error));
  context.fillStyle = palette[stroke.colour];
  context.fillText(text, area.x(way), area.y(error));
}

/** Draws tests over one another. */
export function drawTests(canvas, tests) {
  const { context, width, height } = fitted(canvas);
  context.clearRect(0, 0, width, height);
  if (tests.length === 0) return;
  const part = shownPart(tests.map((test) => test.curve));
  const size = letterScale();
  const area = { left: 62 * size, right: width - 6, top: 10 * size, bottom: height - 22 * size, height };
  area.x = (way) => area.left + (way / part.metres) * (area.right - area.left);
  area.y = (error) => area.top + ((part.high - error) / (part.high - part.low)) * (area.bottom - area.top);
  axes(context, area, part);
  band(context, area);
  tests.forEach((test, place) => curve(context, area, test, place, tests.length));
}

/** Draws a piece of a line as the curve at a place has it, for the list of tests. */
export function drawSample(canvas, place) {
  const { context, width, height } = fitted(canvas);
  const stroke = strokeOf(place);
  context.clearRect(0, 0, width, height);
  context.strokeStyle = palette[stroke.colour];
  context.lineWidth = 3;
  context.setLineDash(stroke.dashes);
  context.beginPath();
  context.moveTo(0, height / 2);
  context.lineTo(width, height / 2);
  context.stroke();
}
