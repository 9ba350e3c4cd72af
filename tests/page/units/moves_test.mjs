import assert from "node:assert/strict";
import test from "node:test";
import { load } from "./page_modules.mjs";

const { besideLine, isMuch, newLine, otherPass, otherSpeed, otherWidth, shifted } = await load("moves.js");
const machine = { x: 2, y: 30, heading: 0, cross_track_error: 0.5, pass: 1, drives_against: false };

for (const [name, text, aside] of [
  ["an A-B line to the north", "0 0 0 0 0 100 0", 2],
  ["the same, far behind its end", "0 0 -900 0 0 -800 0", 2],
  ["an A-B line to the south", "0 0 100 0 0 0 0", -2],
  ["an A-plus-heading line to the east", "1 0 0 0 1.5707963267948966", -30],
  ["a circle driven clockwise around the machine", "2 2 40 0 12 30 0 2 20 0", 10],
  ["a circle driven against the clock", "2 2 40 0 -8 30 0 2 20 0", -10],
  ["an A-B curve with a straight end", "4 2 0 0 0 0 10 0", 2],
  ["a spline", "3 3 0 0 0 0 50 0 0 100 0", 2],
]) {
  test(`the machine is ${aside} m beside ${name}`, () => {
    const found = besideLine(text, machine);
    assert.ok(Math.abs(found.aside - aside) < 1e-6, `${found.aside} m`);
  });
}

for (const text of ["", "5", "6", "0 1 2", "0 0 0 0 0 0 0", "2 0 0 0 1 1 0 2 2 0", "x"]) {
  test(`where the machine is beside "${text}" is not known`, () => {
    assert.equal(besideLine(text, machine), null);
  });
}

const model = (state = {}, { width = 3, ...settings } = {}) => ({
  state: { ...machine, ...state },
  line: { implement_width: width },
  settings: { implement_width: width, curve_filter_size: 11, nudge: 0, field_offset: 0, implement_offset: 0, splines_use_implement_offset: false, ...settings },
});

for (const [name, words, of] of [
  ["right of it", "The machine moves about 10.0 cm to the left at once.", model({ x: 0.1 })],
  ["left of it", "The machine moves about 1.20 m to the right at once.", model({ x: -1.2 })],
  ["on it", "The machine stays on its way.", model({ x: 0.001 })],
  ["beside a shifted one", "The machine moves about 40.0 cm to the right at once.",
    model({ x: 0.1 }, { nudge: 0.2, field_offset: 0.1, implement_offset: 0.2 })],
  ["driving against its direction", "The machine moves about 10.0 cm to the right at once.", model({ x: 0.1, heading: 3.1 })],
  ["driving against its direction, with an implement aside", "The machine moves about 30.0 cm to the right at once.",
    model({ x: 0.1, heading: 3.14159 }, { implement_offset: 0.2 })],
  ["across", "Steering is dropped: the machine does not look along the line. You steer then.", model({ heading: 1.3 })],
  ["far away from the line that is followed", "Steering is dropped: the line is 5.00 m away, more than half the implement "
    + "width. You steer then.", model({ x: 5 })],
  ["far away, where the nearest pass is taken", "The machine moves about 1.00 m to the right at once, to the pass nearest to it.",
    model({ x: 5, takes_nearest_pass: true })],
  ["farther away than there are passes", "Steering is dropped: the line is 400 m away, more than half the implement width. "
    + "You steer then.", model({ x: 2400, takes_nearest_pass: true }, { width: 4 })],
]) {
  test(`of a line, with the machine ${name}: ${words}`, () => {
    assert.equal(newLine("0 0 0 0 0 100 0", of).text, words);
  });
}

for (const [nearest, state, words] of [
  [true, { cross_track_error: 0.5, pass: 1 }, "The machine moves about 50.0 cm to the left at once, to the pass nearest to it."],
  [true, { cross_track_error: 2.9, pass: 0 }, "The machine moves about 10.0 cm to the right at once, to the pass nearest to it."],
  [false, { cross_track_error: 0.5, pass: 1 },
    "Steering is dropped: the line is 3.50 m away, more than half the implement width. You steer then."],
  [false, { cross_track_error: 0.5, pass: 0, drives_against: true }, "The machine moves about 50.0 cm to the right at once."],
]) {
  test(`${nearest ? "the nearest pass" : "the line itself"} from ${state.cross_track_error} m beside pass ${state.pass}: ${words}`, () => {
    assert.equal(otherPass(nearest, model(state)).text, words);
  });
}

for (const [name, happens, words] of [
  ["a shift", (of) => shifted(0.4, of), "The machine moves about 40.0 cm to the right at once."],
  ["a shift too far", (of) => shifted(-9, of),
    "Steering is dropped: the line is 9.00 m away, more than half the implement width. You steer then."],
  ["a greater width on pass 2", (of) => otherWidth(3.5, of), "The machine moves about 1.00 m to the right at once."],
  ["a width that is too small", (of) => otherWidth(1, of),
    "Steering is dropped: the line is 4.00 m away, more than half the implement width. You steer then."],
  ["a speed backwards", (of) => otherSpeed(-5, of),
    "Steering is dropped: the machine moves backwards, which is not allowed. You steer then."],
  ["a speed of 0", (of) => otherSpeed(0, of),
    "Steering is dropped: the machine moves slower than 0.3 m/s, which is not allowed. You steer then."],
]) {
  test(`${name} does to an engaged machine: ${words}`, () => {
    const does = happens(model({ cross_track_error: 0, pass: 2 }));
    assert.equal(does.text, words);
    assert.equal(isMuch(does), true);
  });
}

test("a speed that steering goes on at, and a width on the line itself, do nothing much", () => {
  assert.equal(isMuch(otherSpeed(3, model())), false);
  assert.equal(isMuch(otherWidth(4, model({ cross_track_error: 0, pass: 0 }))), false);
});
