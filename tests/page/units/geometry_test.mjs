import assert from "node:assert/strict";
import test from "node:test";
import { load } from "./page_modules.mjs";

const geometry = await load("geometry.js");
const camera = { x: 10, y: 20, up: 0.7, scale: 8, width: 800, height: 600, anchorX: 400, anchorY: 420 };
const near = (actual, expected, tolerance = 1e-9) =>
  assert.ok(Math.abs(actual - expected) <= tolerance, `${actual} is not ${expected}`);

test("a place is found again from its pixel", () => {
  const [x, y] = geometry.toWorld(camera, ...geometry.toScreen(camera, -3, 71.5));
  near(x, -3);
  near(y, 71.5);
});

test("what lies in the camera's heading is shown above", () => {
  const [x, y] = geometry.toScreen(camera, 10 + Math.sin(0.7) * 5, 20 + Math.cos(0.7) * 5);
  near(x, 400);
  near(y, 420 - 40);
});

test("what lies to the right of the camera's heading is shown right", () => {
  const [x] = geometry.toScreen({ ...camera, up: Math.PI / 2 }, 10, 15);
  near(x, 440);
});

test("zooming keeps the place under the pointer", () => {
  const before = geometry.toWorld(camera, 123, 456);
  const after = geometry.toWorld(geometry.zoomedAt(camera, 31, 123, 456), 123, 456);
  near(after[0], before[0]);
  near(after[1], before[1]);
});

for (const [from, to, heading] of [
  [[0, 0], [0, 1], 0], [[0, 0], [1, 0], Math.PI / 2], [[0, 0], [0, -1], Math.PI],
  [[0, 0], [-1, 0], 1.5 * Math.PI],
]) {
  test(`the heading from ${from} to ${to} is ${heading}`, () => {
    near(geometry.headingTo(from, to), heading);
  });
}

test("a pose between two turns the short way round", () => {
  const pose = geometry.poseBetween({ x: 0, y: 0, heading: 6.2 }, { x: 2, y: 4, heading: 0.1 }, 0.5);
  near(geometry.wrapAngle(pose.heading - (6.2 + (0.1 + 2 * Math.PI - 6.2) / 2)), 0);
  assert.deepEqual([pose.x, pose.y], [1, 2]);
});

for (const [least, distance] of [[0.7, 1], [1, 1], [1.01, 2], [3, 5], [60, 100], [0.04, 0.05]]) {
  test(`the round distance from ${least} on is ${distance}`, () => {
    near(geometry.roundDistance(least), distance);
  });
}

test("a line is cut at the margin and tells where it begins", () => {
  const [run, ...more] = geometry.visibleRuns([[-1000, 50], [1000, 50]], 100, 100, 10);
  assert.equal(more.length, 0);
  near(run.start, 990);
  assert.deepEqual(run.points, [[-10, 50], [110, 50]]);
});

test("a line that leaves the picture and comes back makes two runs", () => {
  const runs = geometry.visibleRuns([[50, 50], [500, 50], [500, 80], [50, 80]], 100, 100, 0);
  assert.deepEqual(runs.map(({ points }) => points.length), [2, 2]);
  near(runs[1].start, 450 + 30 + 400);
});

test("a line outside of the picture makes no run", () => {
  assert.deepEqual(geometry.visibleRuns([[-10, -10], [200, -10]], 100, 100, 5), []);
});

test("the nearest place of a polyline has its heading there", () => {
  const nearest = geometry.nearestOn([[0, 0], [0, 10], [10, 10]], 6, 13);
  assert.deepEqual([nearest.x, nearest.y, nearest.distance], [6, 10, 3]);
  near(nearest.heading, Math.PI / 2);
});

test("a single point has no nearest place", () => {
  assert.equal(geometry.nearestOn([[1, 1]], 0, 0), null);
});

test("a place that the picture does not show has the way to it at the edge", () => {
  const northUp = { ...camera, up: 0, anchorY: 300 };
  assert.equal(geometry.edgePlace(northUp, { x: 59, y: 20 }), null);
  const east = geometry.edgePlace(northUp, { x: 110, y: 20 });
  near(east.x, 800 - 28);
  near(east.y, 300);
  near(east.turn, Math.PI / 2);
  near(east.metres, 50);
  const south = geometry.edgePlace(northUp, { x: 10, y: -80 });
  near(south.y, 600 - 28);
  near(Math.abs(south.turn), Math.PI);
});
