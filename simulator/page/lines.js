// New lines: which points each kind wants, and its text form.
import { headingTo, degrees, radians } from "./geometry.js";

/** The kinds that the page can make. `points` are their names. */
export const kinds = {
  0: { title: "A-B line", points: ["A", "B"] },
  1: { title: "A-plus-heading line", points: ["A"], heading: true },
  2: { title: "circle", points: ["1", "2", "3"] },
};

const number = (value) => value.toFixed(6);
const flat = ([x, y]) => `${number(x)} ${number(y)} ${number(0)}`;

/** The text form of a line of a kind through points [x, y], with a heading in degrees. */
export function textForm(kind, points, headingDegrees) {
  const values = points.map(flat);
  if (kinds[kind].heading) values.push(number(radians(headingDegrees)));
  return [String(kind), ...values].join(" ");
}

/** How many clicks make a line of a kind: the heading is shown by a second one. */
export const clicksOf = (kind) => kinds[kind].points.length + (kinds[kind].heading ? 1 : 0);

/** The heading of a click after point A, in degrees, rounded to what can be aimed at. */
export const clickedHeading = (from, to) => Math.round(degrees(headingTo(from, to)) * 10) / 10;

/** What the next click sets. */
export function clickPrompt(kind, clicks) {
  const { points } = kinds[kind];
  if (clicks < points.length) return `Set point ${points[clicks]}`;
  return clicks < clicksOf(kind) ? "Set a point in the heading wanted" : "All points are set";
}
