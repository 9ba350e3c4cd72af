import assert from "node:assert/strict";
import test from "node:test";
import { load } from "./page_modules.mjs";

const { Trail, levelFor, mostPoints, simplified, toleranceOf } = await load("trail.js");
const everywhere = { left: -1e6, right: 1e6, bottom: -1e6, top: 1e6 };
const wave = (count) => Array.from({ length: count }, (_, i) => [i * 0.2, Math.sin(i / 50) * 5]);

test("a straight way is simplified to its ends", () => {
  const points = Array.from({ length: 100 }, (_, i) => [i, 2 * i]);
  assert.deepEqual(simplified(points, 0.01), [[0, 0], [99, 198]]);
});

test("no point that is left out is farther away than the tolerance", () => {
  const points = wave(500);
  const kept = simplified(points, 0.1);
  assert.ok(kept.length < 60, `${kept.length} points`);
  for (const [x, y] of points) {
    const after = kept.findIndex(([keptX]) => keptX >= x);
    const [x0, y0] = kept[Math.max(0, after - 1)];
    const [x1, y1] = kept[Math.max(1, after)];
    assert.ok(Math.abs(y0 + ((x - x0) / (x1 - x0)) * (y1 - y0) - y) < 0.11, `at ${x}`);
  }
});

for (const scale of [0.05, 1, 7, 14]) {
  test(`at ${scale} pixels a metre a trail is exact to half a pixel`, () => {
    assert.ok(toleranceOf(levelFor(scale)) * scale <= 0.5 || levelFor(scale) === 0);
  });
}

test("an hour of trail is few points from afar", () => {
  const trail = new Trail();
  trail.replace(wave(mostPoints));
  const drawn = trail.within(everywhere, 0.1).reduce((sum, points) => sum + points.length, 0);
  assert.ok(drawn < 3000, `${drawn} points`);
});

test("what is out of sight is not drawn", () => {
  const trail = new Trail();
  trail.replace(wave(10000));
  const box = { left: 100, right: 140, bottom: -10, top: 10 };
  assert.ok(trail.within(box, 10).length <= 3);
});

test("the oldest of the trail goes when it is longer than an hour", () => {
  const trail = new Trail();
  trail.replace(wave(mostPoints + 5000));
  assert.ok(trail.length >= mostPoints && trail.length <= mostPoints + 500, `${trail.length}`);
  const [first] = trail.within(everywhere, 10)[0];
  assert.ok(first[0] > 800, `begins at ${first}`);
});

test("the last points are always apart from those that are simplified", () => {
  const trail = new Trail();
  const points = wave(1700);
  points.forEach((point, i) => {
    trail.add(point);
    const end = trail.within(everywhere, 10).at(-1);
    assert.ok(end.length >= Math.min(i + 1, 32), `${end.length} after ${i + 1}`);
  });
  assert.deepEqual(trail.points(), points);
});

test("chunks join without a gap", () => {
  const trail = new Trail();
  trail.replace(wave(1700));
  const drawn = trail.within(everywhere, 10);
  for (let i = 1; i < drawn.length; i += 1) assert.deepEqual(drawn[i][0], drawn[i - 1].at(-1));
});
