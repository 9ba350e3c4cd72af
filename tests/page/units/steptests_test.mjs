import assert from "node:assert/strict";
import test from "node:test";
import { load } from "./page_modules.mjs";

Object.assign(globalThis, { document: { documentElement: {} }, getComputedStyle: () => ({ getPropertyValue: () => "" }) });
const tests = await load("steptests.js");
const { shownPart, strokeOf } = await load("comparechart.js");

const names = ["sensitivity", "aggressiveness"];
const tuning = [{ name: "sensitivity", lowest: 0.2, highest: 3 }, { name: "aggressiveness", lowest: 0.2, highest: 3 }];
const taken = (others) => ({ number: 1, settled: 12, overshoot: 0.01, coarse: false, parameters: [1, 1.5], lookAhead: 1.6,
  speed: 2, curve: [[0, 0.5], [5, 0.1], [12, 0.01]], ...others });

test("a curve begins on the positive side, whichever that was, and has a bounded number of points", () => {
  for (const side of [1, -1]) {
    const samples = Array.from({ length: 3000 }, (_, i) => ({ distance: i / 50, error: side * (0.5 - i / 3000) }));
    const curve = tests.curveOf(samples);
    assert.ok(tests.isCurve(curve));
    assert.ok(curve.length <= tests.mostCurvePoints && curve.length > tests.mostCurvePoints / 2, `${curve.length}`);
    assert.deepEqual(curve[0], [0, 0.5]);
    assert.deepEqual(curve.at(-1), [59.98, -0.5]);
  }
  assert.equal(tests.curveOf(Array.from({ length: 50 }, (_, i) => ({ distance: i, error: 0.5 }))).length, 50);
  assert.deepEqual(tests.curveOf([]), []);
});

test("curves of every length are bounded and end where the test did", () => {
  for (let length = 2; length < 700; length += 1) {
    const curve = tests.curveOf(Array.from({ length }, (_, i) => ({ distance: i, error: 0.5 })));
    assert.ok(curve.length <= tests.mostCurvePoints, `${length}: ${curve.length}`);
    assert.equal(curve.at(-1)[0], length - 1);
  }
});

test("what is no curve is known", () => {
  for (const bad of [null, [], [[0, 1]], [[0, 1], [1]], [[0, 1], [-1, 1]], [[0, 1], [1, NaN]], [[0, 1], [1, 1e9]], [[1, 1], [0, 1]],
    [[0, 1], ["1", 1]], Array.from({ length: 1000 }, (_, i) => [i, 0])]) {
    assert.equal(tests.isCurve(bad), false, JSON.stringify(bad)?.slice(0, 50));
  }
});

const sentences = [
  [{ settled: 8, overshoot: 0.03 }, {}, "No. 2 settles 4.0 m earlier, overshoots 2.0 cm more than No. 1."],
  [{ settled: 13.5, overshoot: 0 }, {}, "No. 2 settles 1.5 m later, overshoots 1.0 cm less than No. 1."],
  [{}, {}, "No. 2 settles after the same way, overshoots as much as No. 1."],
  [{ settled: null }, {}, "No. 2 does not settle, No. 1 does after 12.0 m, overshoots as much as No. 1."],
  [{}, { settled: null }, "No. 2 settles after 12.0 m, No. 1 does not, overshoots as much as No. 1."],
  [{ settled: null }, { settled: null }, "No. 2 does not settle either, overshoots as much as No. 1."],
  [{ speed: 3, coarse: true }, {},
    "No. 2 settles after the same way, overshoots as much as No. 1 (at 3.0 m/s in place of 2.0, roughly)."],
  [{ from: "a.json", settled: 11 }, {}, "No. 2 of a.json settles 1.0 m earlier, overshoots as much as No. 1."],
];
for (const [one, other, words] of sentences) {
  test(`the difference in words: ${words}`, () => {
    assert.equal(tests.differenceWords(taken({ number: 2, ...one }), taken(other)), words);
  });
}

test("a file gives back the tests that were saved in it", () => {
  const saved = [taken({}), taken({ number: 7, settled: null, coarse: true })];
  const read = tests.testsOf(tests.fileOf(saved, names), names, "mine.json");
  assert.deepEqual(read, saved.map(({ number, ...each }) => ({ ...each, from: "mine.json" })));
});

const file = (others, values = {}) => JSON.stringify({ ...JSON.parse(tests.fileOf([taken(others)], names)), ...values });
const bad = [
  ["{", "it is not JSON, or cut"],
  ["null", "it is not a file of step tests"],
  ["[]", "it is not a file of step tests"],
  [file({}, { form: "other" }), "it is not a file of step tests"],
  [file({}, { version: 2 }), "its version is not 1, the one that this page knows"],
  [file({}, { names: ["sensitivity"] }), "its tuning has other parameters than this service"],
  [file({}, { tests: [] }), "there is no test in it"],
  [file({}, { tests: {} }), "there is no test in it"],
  [file({}, { tests: [null] }), "test 1: it is not a test"],
  [file({}, { tests: [taken({}), 7] }), "test 2: it is not a test"],
  [file({ settled: "12" }), "test 1: the way until it settled is no way"],
  [file({ settled: -1 }), "test 1: the way until it settled is no way"],
  [file({ overshoot: null }), "test 1: the overshoot is not a length"],
  [file({ parameters: [1] }), "test 1: it has not 2 parameters"],
  [file({ parameters: [1, null] }), "test 1: it has not 2 parameters"],
  [file({ lookAhead: 1e300 }), "test 1: look-ahead time or speed is not a number"],
  [file({ curve: "M0" }), "test 1: its curve is not one"],
];
for (const [text, reason] of bad) {
  test(`a stranger's file is refused: ${reason} (${text.slice(0, 20)})`, () => {
    assert.throws(() => tests.testsOf(text, names, "x.json"), { message: reason });
  });
}

test("of a stranger's file nothing is taken but what is known", () => {
  const text = file({ extra: "<script>", from: "elsewhere" }).replace('"settled"', '"__proto__": {"polluted": 1}, "settled"');
  const [read] = tests.testsOf(text, names, "n".repeat(500));
  assert.deepEqual(Object.keys(read).sort(),
    ["coarse", "curve", "from", "lookAhead", "overshoot", "parameters", "settled", "speed"]);
  assert.equal(read.polluted, undefined);
  assert.equal(read.from.length, 60);
});

test("a tuning that the service would not take is named", () => {
  assert.equal(tests.tuningFault(taken({}), tuning), "");
  assert.equal(tests.tuningFault(taken({ parameters: [1, 9] }), tuning), "aggressiveness is not from 0.2 to 3");
  assert.equal(tests.tuningFault(taken({ parameters: [1] }), tuning), "this service has other parameters");
  assert.equal(tests.tuningFault(taken({ lookAhead: 0 }), tuning), "the look-ahead time is not from 0.2 to 10 s");
});

test("as many curves as may lie over one another have dashes of their own", () => {
  const all = Array.from({ length: tests.mostCompared }, (_, place) => JSON.stringify(strokeOf(place).dashes));
  assert.equal(new Set(all).size, tests.mostCompared);
});

test("all of the curves is shown, and the line", () => {
  assert.deepEqual(shownPart([[[0, 0.5], [30, -0.2]], [[0, 0.6], [10, 0]]]), { metres: 30, high: 0.6, low: -0.2 });
  assert.deepEqual(shownPart([[[0, 0.5], [2, 0.4]]]), { metres: 15, high: 0.5, low: -0.1 });
});
