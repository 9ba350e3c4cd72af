import assert from "node:assert/strict";
import test from "node:test";
import { load } from "./page_modules.mjs";

const guidance = await load("guidance.js");
const lines = await load("lines.js");
const service = await load("service.js");

for (const [error, against, words] of [
  [0.12, false, "right of the line → steer left"],
  [-0.12, false, "left of the line → steer right"],
  [0.12, true, "left of the line, driven against its direction → steer right"],
  [-0.12, true, "right of the line, driven against its direction → steer left"],
  [0.025, false, "on the line"],
  [null, false, "no line"],
]) {
  test(`an error of ${error} m, ${against ? "against" : "along"} the line, reads: ${words}`, () => {
    assert.equal(guidance.errorWords(error, against), words);
  });
}

for (const [error, text, unit] of [
  [0.1234, "+12.3", "cm"], [-0.1234, "−12.3", "cm"], [0.0004, "0.0", "cm"], [-0.0004, "0.0", "cm"],
  [0.9994, "+99.9", "cm"], [0.9996, "+1.00", "m"], [1.5, "+1.50", "m"], [-12, "−12.0", "m"], [99.96, "+100", "m"],
  [-715.326, "−715", "m"], [9999.6, "+10.0", "km"], [-123456, "−123", "km"], [4e9, "+>9999", "km"], [null, "–", ""],
]) {
  test(`an error of ${error} m is shown as ${text} ${unit}`, () => {
    assert.deepEqual(guidance.errorFigure(error), { text, unit });
  });
}

for (const [error, against, angle, words] of [
  [0.12, false, -0.1, "right of the line, the machine steers left"],
  [0.12, false, 0.1, "right of the line, the machine steers right"],
  [-0.12, true, 0, "right of the line, driven against its direction, the machine steers straight"],
  [0.12, false, 0.015, "right of the line, the machine steers straight"],
  [0.12, false, 0.025, "right of the line, the machine steers right"],
  [0.01, true, 0.045, "on the line, the machine steers straight"],
  [0.01, false, -0.055, "on the line, the machine steers left"],
  [null, false, 0.1, "no line"],
]) {
  test(`engaged, at ${error} m with the wheels at ${angle}, it reads: ${words}`, () => {
    assert.equal(guidance.errorWords(error, against, { engaged: true, angle }), words);
  });
}

test("a nudge from before is said of a line that is new, and none is not", () => {
  assert.equal(guidance.nudgeNote({ nudge: -0.05 }), " The nudge of 5.0 cm from before moves it.");
  assert.equal(guidance.nudgeNote({ nudge: 0 }), "");
  assert.equal(guidance.nudgeNote(null), "");
});

test("who stands is to steer nowhere", () => {
  assert.equal(guidance.errorWords(0.12, false, { speed: 0.04 }), "right of the line");
  assert.equal(guidance.errorWords(0.12, false, { speed: -0.1 }), "right of the line → steer left");
  assert.equal(guidance.isToSteer({ speed: 0 }), false);
});

for (const [error, side, lit] of [
  [0.02, 0, 0], [-0.025, 0, 0], [0.03, -1, 1], [-0.03, 1, 1], [0.11, -1, 4], [-7, 1, 10],
]) {
  test(`at ${error} m ${lit} lights burn on side ${side}`, () => {
    assert.deepEqual(guidance.lightbar(error, false), { side, lit, middle: side === 0 });
  });
}

test("against the line's direction figure, words and arrow are the driver's", () => {
  assert.equal(guidance.errorFigure(0.12, true).text, "−12.0");
  assert.equal(guidance.errorFigure(0, true).text, "0.0");
  assert.equal(guidance.errorFigure(null, true).text, "–");
  assert.equal(guidance.sideToSteerTo(0.12, true), 1);
  assert.match(guidance.lightbarWords(0.12, true), /−12.0 centimetres, left of the line.*steer right/);
});

test("without a line no light burns", () => {
  assert.deepEqual(guidance.lightbar(null, false), { side: 0, lit: 0, middle: false });
});

for (const [metres, against, words] of [
  [0, false, "0 cm"], [0, true, "0 cm"], [0.05, false, "5 cm right"], [-0.505, false, "50.5 cm left"],
  [0.05, true, "5 cm left"], [-999.999, false, "1000 m left"], [-0.05, true, "5 cm right"],
]) {
  test(`a shift of ${metres} m ${against ? "against" : "along"} the line reads: ${words}`, () => {
    assert.equal(guidance.shiftWords(metres, against), words);
  });
}

for (const [side, against, shift] of [[1, false, 0.05], [-1, false, -0.05], [1, true, -0.05], [-1, true, 0.05]]) {
  test(`side ${side} is a shift of ${shift} m ${against ? "against" : "along"} the line`, () => {
    assert.equal(guidance.shiftTo(side, 0.05, against), shift);
  });
}

for (const [kind, points, heading, text] of [
  [0, [[1, 2], [3, 4.5]], 0, "0 1.000000 2.000000 0.000000 3.000000 4.500000 0.000000"],
  [1, [[1, 2]], 90, "1 1.000000 2.000000 0.000000 1.570796"],
  [2, [[0, 0], [1, 1], [2, 0]], 0,
    "2 0.000000 0.000000 0.000000 1.000000 1.000000 0.000000 2.000000 0.000000 0.000000"],
]) {
  test(`the text form of kind ${kind}`, () => {
    assert.equal(lines.textForm(kind, points, heading), text);
  });
}

test("a click after point A gives its heading in degrees", () => {
  assert.equal(lines.clickedHeading([0, 0], [10, 10]), 45);
});

test("each kind asks for its clicks in turn", () => {
  assert.deepEqual([0, 1, 2].map(lines.clicksOf), [2, 2, 3]);
  assert.equal(lines.clickPrompt(1, 1), "Set a point in the heading wanted");
});

for (const [text, hint] of [
  ["0 5 6", /6 numbers: x, y, z of A and of B\. Here 2 follow/],
  ["1 0 0 0", /heading in radians\. Here 3 follow/],
  ["2 0 0 0", /9 numbers.*Here 3 follow/],
  ["3 2 0 0 0", /number of points.*Here 4 follow/],
  ["4 1 0 0 0", /^$/],
  ["0 0 0 0 0 1oo 0", /"1oo" is no number/],
  ["hello", /begins with the code of its kind/],
  ["", /begins with the code of its kind/],
]) {
  test(`the text "${text}" is told what it lacks`, () => {
    assert.match(lines.textFormHint(text), hint);
  });
}

for (const [name, reply, expected] of [
  ["a status of 1", { result: 1, reasons: [] }, true],
  ["a status of 0", { result: 0, reasons: ["no"] }, false],
  ["a list led by 0", { result: [0, 2], reasons: [] }, false],
  ["nothing", { result: null, reasons: [] }, true],
  ["nothing but a reason", { result: null, reasons: ["no"] }, false],
]) {
  test(`a reply of ${name} means ${expected ? "done" : "refused"}`, () => {
    assert.equal(service.done(reply), expected);
  });
}
