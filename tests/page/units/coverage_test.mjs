import assert from "node:assert/strict";
import test from "node:test";
import { load } from "./page_modules.mjs";

const { Coverage, areaOf } = await load("coverage.js");

/** Drives along places [x, y, heading] with an implement, from the distance on that it has come before. */
function drive(coverage, places, width, from = 0) {
  let station = from;
  places.forEach(([x, y, heading], i) => {
    if (i > 0) station += Math.hypot(x - places[i - 1][0], y - places[i - 1][1]);
    coverage.work({ x, y, heading, width, station, joined: i > 0 });
  });
  return station + 10; // the turn
}

function figures(coverage) {
  while (coverage.old.size > 0) coverage.settleNext();
  return coverage.figures();
}

/** A pass of 100 m, `aside` metres to the right of the first, in a direction. */
const pass = (aside, heading, length = 100, step = 0.4) => Array.from({ length: Math.round(length / step) + 1 }, (_, i) => [
  aside * Math.cos(heading) + i * step * Math.sin(heading), -aside * Math.sin(heading) + i * step * Math.cos(heading), heading]);
const isNear = (value, wanted, share, what) =>
  assert.ok(Math.abs(value - wanted) <= share * wanted, `${what}: ${value} in place of ${wanted}`);

for (const heading of [0, 0.3, Math.PI / 4, 1.02, Math.PI / 2, 3]) {
  test(`two passes with an overlap of 10 cm at heading ${heading.toFixed(2)} have it by area`, () => {
    const coverage = new Coverage();
    const station = drive(coverage, pass(0, heading), 3);
    drive(coverage, pass(2.9, heading).reverse().map(([x, y]) => [x, y, heading + Math.PI]), 3, station);
    const { worked, again, gap } = figures(coverage);
    isNear(worked, 590, 0.003, "worked");
    isNear(again, 10, 0.05, "overlap");
    assert.equal(gap, 0);
  });

  test(`two passes with a gap of 12 cm at heading ${heading.toFixed(2)} have it by area`, () => {
    const coverage = new Coverage();
    const station = drive(coverage, pass(0, heading), 3);
    drive(coverage, pass(3.12, heading), 3, station);
    const { worked, again, gap } = figures(coverage);
    isNear(worked, 600, 0.003, "worked");
    isNear(gap, 12, 0.05, "skipped");
    assert.equal(again, 0);
  });
}

test("a rectangle of half a hectare is worked whole", () => {
  const coverage = new Coverage();
  coverage.bound([[[-1.5, 0], [48.5, 0], [48.5, 100], [-1.5, 100]]]);
  let station = 0;
  for (let x = 0; x <= 48; x += 3) station = drive(coverage, pass(x, 0), 3, station);
  const { worked, again, gap, outside, field } = figures(coverage);
  assert.equal(field, 5000);
  isNear(worked, 5000, 0.001, "worked");
  assert.ok(gap < 1 && again < 1, `${gap} ${again}`);
  isNear(outside, 100, 0.02, "worked outside: the last pass reaches 1 m beyond"); // 17 passes are 51 m wide
});

test("a strip that is left at the field's edge is skipped, and a pass that is left is not", () => {
  const coverage = new Coverage();
  coverage.bound([[[-2, 0], [7.5, 0], [7.5, 100], [-2, 100]]]);
  const station = drive(coverage, pass(0, 0), 3); // 0.5 m are left at the edge
  drive(coverage, pass(6, 0), 3, station); // a whole pass is left between
  const { worked, gap } = figures(coverage);
  isNear(worked, 600, 0.003, "worked");
  isNear(gap, 50, 0.07, "skipped"); // rows that cut a corner of the pass that is left count there
});

test("circles have the area between their edges, and a second round overlaps whole", () => {
  const round = Array.from({ length: 629 }, (_, i) => [20 * Math.cos(-i / 100), 20 * Math.sin(-i / 100), Math.PI + i / 100]);
  const coverage = new Coverage();
  const station = drive(coverage, round.slice(0, 628), 3);
  const ring = Math.PI * (21.5 ** 2 - 18.5 ** 2);
  isNear(figures(coverage).worked, ring, 0.003, "worked");
  assert.ok(figures(coverage).again < 1, `${figures(coverage).again} m² of one round overlap`);
  drive(coverage, round.slice(0, 628), 3, station);
  isNear(figures(coverage).worked, ring, 0.003, "worked");
  isNear(figures(coverage).again, ring, 0.01, "overlap");
});

test("an implement that turns within its own width does not overlap itself", () => {
  const coverage = new Coverage();
  drive(coverage, Array.from({ length: 158 }, (_, i) => [0.5 * Math.cos(-i / 100), 0.5 * Math.sin(-i / 100), Math.PI + i / 100]), 3);
  assert.equal(figures(coverage).again, 0);
});

test("a way without work leaves nothing", () => {
  const coverage = new Coverage();
  coverage.work({ x: 0, y: 0, heading: 0, width: 3, station: 0, joined: false });
  coverage.work({ x: 0, y: 50, heading: 0, width: 3, station: 50, joined: false });
  assert.equal(figures(coverage).worked, 0);
});

test("an implement of 36 m has coarser cells and the same hectares", () => {
  const coverage = new Coverage();
  const station = drive(coverage, pass(0, 0.7, 400, 2), 36);
  drive(coverage, pass(35, 0.7, 400, 2), 36, station);
  const { worked, again } = figures(coverage);
  isNear(worked, 71 * 400, 0.003, "worked");
  isNear(again, 400, 0.05, "overlap");
});

test("a boundary has the area of its ring without that of its holes, far away too", () => {
  const square = (x, y, size) => [[x, y], [x + size, y], [x + size, y + size], [x, y + size]];
  assert.equal(areaOf([square(1e6, 1e6, 100), square(1e6 + 10, 1e6 + 10, 20)]), 9600);
  assert.equal(areaOf([square(0, 0, 100), square(10, 10, 50), square(20, 20, 10)]), 7600);
});

test("memory is bounded: past that nothing is counted, and it says so", () => {
  const coverage = new Coverage();
  let station = 0;
  for (let x = 0; x < 700; x += 1) station = drive(coverage, pass(x * 30, 0, 1, 1), 3, station);
  assert.equal(coverage.tiles.size, 512);
  assert.ok(coverage.isFull);
});
