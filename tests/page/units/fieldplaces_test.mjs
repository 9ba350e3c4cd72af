import assert from "node:assert/strict";
import test from "node:test";
import { load } from "./page_modules.mjs";

const { LocalFrame } = await load("fieldplaces.js");

// Origin, place, and x, y, z by PROJ's own topocentric conversion.
const judged = [
  [[11.25, 48.5, 520], [11.32, 48.56, 530], [5167.418133, 6674.955293, 4.414609]],
  [[-60, -33, 0], [-60.05, -33.07, 0], [-4668.966851, -7764.463221, -6.45093]],
  [[179.97, -17, 10], [-179.96, -16.95, 12], [7455.994046, 5532.127423, -4.770019]],
  [[5, 52, 0], [4.93, 52.06, 3], [-4801.032253, 6678.388379, -2.301194]],
  [[-0.02, 0.01, 100], [0.05, -0.04, 100], [7792.482704, -5528.799532, -7.172552]],
];

test("east is east and north is north, on both hemispheres and across the 180th meridian", () => {
  for (const north of [-70, -33, 0, 52]) {
    for (const east of [-180, -179.9999, -60, 0, 5, 179.9999]) {
      const frame = new LocalFrame([east, north, 0]);
      const wrap = (value) => (value > 180 ? value - 360 : value);
      const [x, y] = frame.local([wrap(east + 0.001), north + 0.002, null]);
      assert.ok(x > 30 && x < 115, `${east} ${north}: x ${x}`);
      assert.ok(Math.abs(y - 222) < 2, `${east} ${north}: y ${y}`);
    }
  }
});

test("points of the frame are within a millimetre of another program's over 10 km", () => {
  for (const [origin, place, expected] of judged) {
    new LocalFrame(origin).local(place).forEach((value, i) =>
      assert.ok(Math.abs(value - expected[i]) < 1e-3, `${place}: ${value} ${expected[i]}`));
  }
});

test("a point near the origin has its place on the level of the origin", () => {
  const frame = new LocalFrame([11.25, 48.5, 520]);
  const [x, y] = frame.local(frame.place([300, -400]));
  assert.ok(Math.hypot(x - 300, y + 400) < 1e-6);
});
