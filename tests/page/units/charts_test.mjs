import assert from "node:assert/strict";
import test from "node:test";
import { load } from "./page_modules.mjs";

// The colours are their own names here.
Object.assign(globalThis, {
  document: { documentElement: {} },
  getComputedStyle: () => ({ fontSize: "16px", getPropertyValue: (name) => name }),
  window: { devicePixelRatio: 1 },
});
const { History, drawErrors, drawSteering, scaleFor } = await load("charts.js");

// Between its axes a chart is 300 pixels wide, 5 to a second, and 50 high to each side of its middle.
const [left, right, top, middle, bottom] = [74, 374, 9, 59, 109];

/** A canvas that keeps what is drawn on it: the lines and areas with their colour and clip, the texts. */
class Drawing {
  constructor() {
    Object.assign(this, { clientWidth: right + 4, clientHeight: bottom + 22, width: 0, height: 0 });
    Object.assign(this, { lines: [], areas: [], texts: [], path: [], clipped: null });
    for (const name of ["setTransform", "clearRect", "setLineDash", "strokeRect", "save"]) this[name] = () => {};
  }

  getContext() { return this; }

  beginPath() { this.path = []; }

  moveTo(x, y) { this.path.push({ x, y, begins: true }); }

  lineTo(x, y) { this.path.push({ x, y, begins: false }); }

  rect(x, y, width, height) { this.box = { left: x, top: y, right: x + width, bottom: y + height }; }

  clip() { this.clipped = this.box; }

  restore() { this.clipped = null; }

  stroke() { this.lines.push({ colour: this.strokeStyle, path: this.path, clipped: this.clipped }); }

  fill() { this.areas.push({ path: this.path, clipped: this.clipped }); }

  fillText(text) { this.texts.push(text); }

  /** The one line of a colour. */
  line(colour) {
    const lines = this.lines.filter((line) => line.colour === colour);
    assert.equal(lines.length, 1, `lines in ${colour}`);
    return lines[0];
  }
}

/** A chart of states a second apart, the last of them now, of some value. */
function drawn(draw, values, stateOf) {
  const history = new History();
  values.forEach((value, time) => history.add({
    time, x: 0, y: time, cross_track_error: null, steering_angle: 0, desired_steering_angle: 0, ...stateOf(value),
  }));
  const drawing = new Drawing();
  draw(drawing, history);
  return drawing;
}

const errors = (...values) => drawn(drawErrors, values, (value) => ({ cross_track_error: value }));
const radians = (angle) => (angle * Math.PI) / 180;
const tips = ({ areas }) => areas.map(({ path }) => [Math.round(path[0].x), path[0].y]);

for (const [values, scale] of [
  [[], 1], [[null, 0], 1], [[0.2, -1], 1], [[1.001], 2], [[0, -1.5, null], 2], [[2, 3], 5], [[-5], 5],
  [[5.001], 5], [[0, -700, 1], 5],
]) {
  test(`values of [${values}] have the scale ${scale}`, () => {
    assert.equal(scaleFor(values, [1, 2, 5]), scale);
  });
}

for (const [error, scale] of [
  [0.02, "5 cm"], [-0.05, "5 cm"], [0.051, "10 cm"], [-0.15, "20 cm"], [0.25, "30 cm"], [-4, "30 cm"],
]) {
  test(`the errors up to ${error} m are drawn on ${scale}`, () => {
    const { texts } = errors(0, error, 0);
    assert.deepEqual(texts.slice(0, 3), [`R ${scale}`, "0", `L ${scale}`]);
  });
}

for (const [angle, scale] of [[4, "5°"], [-5.1, "10°"], [19, "20°"], [-21, "40°"], [60, "40°"]]) {
  for (const name of ["steering_angle", "desired_steering_angle"]) {
    test(`a ${name} up to ${angle}° is drawn on ${scale}`, () => {
      const { texts } = drawn(drawSteering, [0, angle], (value) => ({ [name]: radians(value) }));
      assert.deepEqual(texts.slice(0, 3), [`R ${scale}`, "0", `L ${scale}`]);
    });
  }
}

test("errors are drawn above when right of the line, the newest at the right", () => {
  const { path } = errors(0, 0.1, -0.05).line("--actual");
  assert.deepEqual(path.map(({ x, y }) => [Math.round(x), Math.round(y)]),
    [[right - 10, middle], [right - 5, top], [right, middle + 25]]);
});

test("where there is no line the curve of the errors is cut", () => {
  const { path } = errors(0, 0.1, null, null, 0.1, 0).line("--actual");
  assert.deepEqual(path.map(({ begins }) => begins), [true, false, true, false]);
});

test("errors within the scale have no marks at the edge", () => {
  for (const error of [0, 0.05, -0.3, 0.3]) assert.deepEqual(tips(errors(0, error)), [], `${error} m`);
});

for (const [name, error, edge] of [["right", 0.31, top - 1], ["left", -8, bottom + 1]]) {
  test(`an error beyond the scale to the ${name} is marked at its edge`, () => {
    const drawing = errors(0, error, 0, 0);
    assert.deepEqual(tips(drawing), [[right - 10, edge]]);
    const [{ path }] = drawing.areas;
    assert.ok(path.slice(1).every(({ y }) => y > top && y < bottom), "the mark points outwards");
  });
}

test("marks at the edge stand apart", () => {
  const places = tips(errors(...Array(30).fill(0.5))).map(([x]) => x);
  assert.equal(places[0], right);
  assert.ok(places.length >= 10 && places.length <= 13, `${places.length} marks`);
  places.slice(1).forEach((x, i) => assert.ok(places[i] - x >= 12, `${places}`));
});

for (const [name, drawing, colours] of [
  ["an error", errors(0, 100), ["--actual"]],
  ["a steering angle", drawn(drawSteering, [0, 80], (value) => ({ steering_angle: radians(value) })),
    ["--actual", "--desired"]],
]) {
  test(`${name} beyond the scale is not drawn over the axes`, () => {
    for (const colour of colours) {
      const { clipped } = drawing.line(colour);
      assert.deepEqual(clipped, { left, right, top: top - 2, bottom: bottom + 2 }, colour);
    }
    for (const { clipped } of drawing.areas) assert.notEqual(clipped, null);
  });
}

test("without any state the charts have axes alone", () => {
  const drawing = errors();
  assert.deepEqual(drawing.texts, ["R 5 cm", "0", "L 5 cm", "60 s ago", "now"]);
  assert.equal(drawing.lines.some(({ colour }) => colour === "--actual"), false);
});

const state = (time, error = 0) =>
  ({ time, x: 0, y: 0, cross_track_error: error, steering_angle: 0, desired_steering_angle: 0 });

test("the history is that of the last minute", () => {
  const history = new History();
  for (let time = 0; time <= 100; time += 1) history.add(state(time));
  assert.deepEqual([history.samples[0].time, history.samples.at(-1).time], [40, 100]);
});

test("another run of the simulation begins the history anew", () => {
  const history = new History();
  for (const time of [50, 51, 0.1, 0.2]) history.add(state(time));
  assert.deepEqual(history.samples.map(({ time }) => time), [0.1, 0.2]);
});

test("errors are kept with the sign of the side on which the driver sees the machine", () => {
  const history = new History();
  for (const against of [false, true]) {
    history.add({ ...state(1), cross_track_error: 0.1, drives_against: against });
  }
  assert.deepEqual(history.samples.map(({ error }) => error), [0.1, -0.1]);
});

test("the part in the band is that of the states with a line, and says what it rests on", () => {
  const history = new History();
  history.add(state(0, null));
  assert.deepEqual([history.inBand(), history.inBandWords()], [null, "–"]);
  [0.025, -0.025, 0.026, -1].forEach((error, i) => history.add(state(i + 1, error)));
  assert.deepEqual(history.inBand(), { part: 0.5, count: 4, seconds: 3, engaged: false, coarse: false });
  assert.equal(history.inBandWords(), "50 % within 2.5 cm, of 4 states in 3 s");
});

test("a machine that stands does not count, nor what was before it was engaged or dropped", () => {
  const history = new History();
  const add = (time, error, speed, name) => history.add({ ...state(time, error), speed, engage_state_name: name });
  add(0, 0.5, 2, "ready");
  [1, 2, 3].forEach((time) => add(time, 0.01, 2, "engaged"));
  [4, 5, 6].forEach((time) => add(time, 0.5, 0.01, "engaged"));
  assert.equal(history.inBandWords(), "100 % within 2.5 cm, of 3 states in 2 s engaged");
  add(7, 0.5, 2, "dropped");
  add(8, 0.5, -2, "dropped");
  assert.equal(history.inBandWords(), "0 % within 2.5 cm, of 2 states in 1 s");
  add(9, 0.01, 2, "engaged");
  assert.equal(history.inBandWords(), "100 % within 2.5 cm, of 1 state in 0 s engaged");
});

for (const [metres, words] of [[1, "100 % within 2.5 cm, of 3 states in 10 s"],
  [1.1, "≈ 100 % within 2.5 cm, of 3 states in 10 s"]]) {
  test(`a part in the band of states ${metres} m apart is ${words.startsWith("≈") ? "rough" : "no rough one"}`, () => {
    const history = new History();
    [0, 1, 2].forEach((i) => history.add({ ...state(5 * i), x: i * metres }));
    assert.equal(history.inBandWords(), words);
  });
}

test("kept samples come before those that have come since, and only sound ones", () => {
  const before = new History();
  [1, 2, 3].forEach((time) => before.add(state(time, 0.1)));
  const history = new History();
  history.add(state(3));
  history.restore(JSON.parse(JSON.stringify(before.samples)));
  assert.deepEqual(history.samples.map(({ time }) => time), [1, 2, 3]);
  for (const bad of [undefined, null, 7, [null], [{ time: 0 }], [{ ...before.samples[0], error: "0" }]]) {
    history.restore(bad);
    assert.equal(history.samples.length, 3);
  }
});

test("a time that nothing is known of is a gap in the curve", () => {
  const history = new History();
  [0, 1, 2, 20, 21].forEach((time) => history.add(state(time, 0.01)));
  const drawing = new Drawing();
  drawErrors(drawing, history);
  const { path } = drawing.line("--actual");
  assert.deepEqual(path.map(({ begins }) => begins), [true, false, false, true, false]);
});
