// New lines: which points each kind wants, and its text form.
import { headingTo, degrees, radians } from "./geometry.js";

/** The kinds that the page can make. `points` are their names. */
export const kinds = {
  0: { title: "A-B line", points: ["A", "B"] },
  1: { title: "A-plus-heading line", points: ["A"], heading: true },
  2: { title: "circle", points: ["1", "2", "3"] },
};

/** The values that follow the code of a kind in a text form. */
const pointOf = "x, y, z of";
const valuesOf = {
  0: { title: "an A-B line", count: 6, what: `${pointOf} A and of B` },
  1: { title: "an A-plus-heading line", count: 4, what: `${pointOf} A, and the heading in radians` },
  2: { title: "a circle", count: 9, what: `${pointOf} three points` },
  3: { title: "a spline", counted: true },
  4: { title: "an A-B curve", counted: true },
};

/**
 * What a text that was not taken lacks of a text form, to be said after the reason; empty when it has the
 * words that its kind wants.
 */
export function textFormHint(text) {
  const [code, ...values] = text.split(/\s+/).filter((word) => word !== "");
  const kind = valuesOf[code];
  if (kind === undefined) {
    return ". It begins with the code of its kind: 0 A-B line, 1 A-plus-heading line, 2 circle, 3 spline, "
      + "4 A-B curve; such as 0 0 0 0 0 100 0.";
  }
  const wrong = values.find((value) => !Number.isFinite(Number(value)));
  if (wrong !== undefined) return `. "${wrong.slice(0, 20)}" is no number.`;
  const count = kind.counted ? 1 + 3 * (Number(values[0]) || 0) : kind.count;
  if (values.length === count) return "";
  const what = kind.counted ? "the number of points, then x, y, z of each" : `${count} numbers: ${kind.what}`;
  return `. The text form of ${kind.title} is ${code}, then ${what}. Here ${values.length} follow the ${code}.`;
}

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
