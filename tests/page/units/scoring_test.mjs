import assert from "node:assert/strict";
import test from "node:test";
import { load } from "./page_modules.mjs";

const scoring = await load("scoring.js");
/** Samples every quarter metre, of an error as a function of the way. */
const driven = (metres, error) =>
  Array.from({ length: metres * 4 + 1 }, (_, i) => ({ distance: i / 4, error: error(i / 4) }));

test("a test scores the way until the machine stays within the band", () => {
  const score = scoring.scoreStep(driven(30, (way) => -0.5 * Math.max(0, 1 - way / 9.9)));
  assert.deepEqual(score, { outcome: "settled", settled: 9.5, overshoot: 0 });
});

test("what leaves the band again has not settled there", () => {
  const error = (way) => (way < 5 ? 0.5 : way >= 12 && way < 14 ? -0.06 : 0.01);
  const score = scoring.scoreStep(driven(30, error));
  assert.deepEqual(score, { outcome: "settled", settled: 14, overshoot: 0.06 });
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
  assert.equal(scoring.bestScore([{ settled: null, overshoot: 0 }]), -1);
});
