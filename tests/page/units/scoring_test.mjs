import assert from "node:assert/strict";
import test from "node:test";
import { load } from "./page_modules.mjs";

const scoring = await load("scoring.js");
/** Samples every quarter metre, of an error as a function of the way. */
const driven = (metres, error) =>
  Array.from({ length: metres * 4 + 1 }, (_, i) => ({ distance: i / 4, error: error(i / 4) }));

test("a test scores the way until the machine stays within the band", () => {
  const score = scoring.scoreStep(driven(30, (way) => -0.5 * Math.max(0, 1 - way / 9.9)));
  assert.deepEqual(score, { outcome: "settled", settled: 9.5, overshoot: 0, coarse: false });
});

test("what leaves the band again has not settled there", () => {
  const error = (way) => (way < 5 ? 0.5 : way >= 12 && way < 14 ? -0.06 : 0.01);
  const score = scoring.scoreStep(driven(30, error));
  assert.deepEqual(score, { outcome: "settled", settled: 14, overshoot: 0.06, coarse: false });
});

for (const sign of [1, -1]) {
  test(`overshoot counts past the line, from side ${sign}`, () => {
    const error = (way) => sign * 0.5 * Math.cos(way / 4) * Math.exp(-way / 8);
    const { outcome, overshoot } = scoring.scoreStep(driven(60, error));
    assert.equal(outcome, "settled");
    assert.ok(overshoot > 0.1 && overshoot < 0.12, `${overshoot}`);
  });
}

test("a test runs while the machine has not stayed long enough", () => {
  assert.equal(scoring.scoreStep(driven(9, () => 0)).outcome, "running");
  assert.equal(scoring.scoreStep([]).outcome, "running");
});

test("a test that never settles ends", () => {
  const score = scoring.scoreStep(driven(80, (way) => 0.3 * Math.cos(way)));
  assert.deepEqual([score.outcome, score.settled], ["unsettled", null]);
});

test("the best score settled soonest, then overshot least", () => {
  const scores = [
    { settled: null, overshoot: 0 }, { settled: 9, overshoot: 0.02 }, { settled: 9, overshoot: 0.01 },
    { settled: 12, overshoot: 0 },
  ];
  assert.equal(scoring.bestScore(scores), 2);
  assert.equal(scoring.bestScore([...scores, { settled: 5, overshoot: 0, coarse: true }]), 2);
  assert.equal(scoring.bestScore([{ settled: null, overshoot: 0 }]), -1);
});

test("a score of samples more than a metre apart is rough", () => {
  const samples = driven(30, () => 0).filter((_, i) => i % 5 === 0);
  assert.deepEqual(scoring.scoreStep(samples), { outcome: "settled", settled: 0, overshoot: 0, coarse: true });
});

test("the machine is steady for the way that it has driven within the band", () => {
  const steadiness = new scoring.Steadiness();
  const metres = [[0, 0.01], [1, 0.02], [3, -0.025], [4, 0.03], [5, 0], [6, 0], [7, null], [8, 0]]
    .map(([y, error]) => {
      steadiness.take({ x: 0, y, engaged: true, error });
      return steadiness.metres;
    });
  assert.deepEqual(metres, [0, 1, 3, 0, 0, 1, 0, 0]);
  steadiness.take({ x: 0, y: 9, engaged: false, error: 0 });
  assert.equal(steadiness.metres, 0);
});

const kept = { number: 1, settled: 9, overshoot: 0, parameters: [1, 1, 1, 1], lookAhead: 1.6, speed: 2 };
for (const [name, value, expected] of [
  ["a score", kept, true], ["one that did not settle", { ...kept, settled: null }, true],
  ["nothing", null, false], ["a number", 7, false], ["an empty one", {}, false],
  ["one with a text", { ...kept, speed: "2" }, false],
  ["one with wrong parameters", { ...kept, parameters: [null] }, false],
]) {
  test(`kept by the browser: ${name} ${expected ? "is" : "is no"} score`, () => {
    assert.equal(scoring.isScore(value), expected);
  });
}
