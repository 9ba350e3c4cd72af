import assert from "node:assert/strict";
import test from "node:test";
import { load } from "./page_modules.mjs";

const { Passes } = await load("passes.js");
const points = (x) => [[x, 0], [x, 1]];
const event = (pass, { picture = 1, ...members } = {}) => ({ picture, pass, followed: null, passes: [], ...members });

test("points that came once are drawn again by their number", () => {
  const passes = new Passes();
  const first = passes.whole(event(0, { line: points(9), followed: { pass: 0, points: points(0) },
    passes: [{ pass: 1, points: points(1) }] }));
  const second = passes.whole(event(1, { followed: { pass: 1 }, passes: [{ pass: 0 }] }));
  assert.deepEqual(first.passes, [{ pass: 1, points: points(1) }]);
  assert.deepEqual(second.followed, { pass: 1, points: points(1) });
  assert.deepEqual(second.passes, [{ pass: 0, points: points(0) }]);
  assert.deepEqual(second.line, points(9));
});

test("another picture and another stream begin anew", () => {
  const passes = new Passes();
  passes.whole(event(0, { line: points(9), passes: [{ pass: 1, points: points(1) }] }));
  assert.deepEqual(passes.whole(event(0, { picture: 2 })).line, []);
  passes.whole(event(0, { picture: 2, line: points(9) }));
  passes.begin();
  assert.deepEqual(passes.whole(event(0, { picture: 2 })).line, []);
});

test("points are kept of passes near the chosen one", () => {
  const passes = new Passes();
  passes.whole(event(0, { passes: [{ pass: 1, points: points(1) }, { pass: -1, points: points(2) }] }));
  passes.whole(event(32));
  assert.deepEqual([...passes.points.keys()], [1]);
});
