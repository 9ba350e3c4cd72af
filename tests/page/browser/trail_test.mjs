// The trail on the map, whatever comes first: the states of the stream or the trail before them.
import { after, afterEach, before, beforeEach, test } from "node:test";
import assert from "node:assert/strict";
import { startBrowser } from "./browser.mjs";
import { bePatient, startScriptedService } from "./scripted_service.mjs";
import { until } from "./programs.mjs";

const pixelsPerMetre = 14;
let browser;
let service;
let page;
let faults;

before(async () => { browser = await startBrowser(); });
after(() => browser.close());

/** Keeps the polyline that the map was last drawn with in the colour of the trail. */
function keepTrail() {
  const { prototype } = CanvasRenderingContext2D;
  const { beginPath, moveTo, lineTo, stroke } = prototype;
  const probe = document.createElement("canvas").getContext("2d");
  prototype.beginPath = function begin() { this.path_ = []; beginPath.call(this); };
  prototype.moveTo = function move(x, y) { this.path_?.push([x, y]); moveTo.call(this, x, y); };
  prototype.lineTo = function line(x, y) { this.path_?.push([x, y]); lineTo.call(this, x, y); };
  prototype.stroke = function keep() {
    probe.strokeStyle = getComputedStyle(document.documentElement).getPropertyValue("--driven").trim();
    if (this.canvas.id === "map" && this.strokeStyle === probe.strokeStyle) window.trail_ = this.path_;
    stroke.call(this);
  };
}

beforeEach(async () => {
  service = await startScriptedService();
  page = await (await browser.newContext()).newPage();
  faults = [];
  page.on("pageerror", (error) => faults.push(error.message));
  await page.addInitScript(keepTrail);
  await page.addInitScript(bePatient);
  await page.goto(service.page);
  await service.asked(1);
});

afterEach(async () => {
  await page.context().close();
  await service.end();
  assert.deepEqual(faults, []);
});

/** The trail on the map in metres from its first point, north up. */
async function drawn() {
  const pixels = await page.evaluate(() => window.trail_ ?? []);
  return pixels.map(([x, y]) =>
    [x - pixels[0][0], pixels[0][1] - y].map((way) => Math.round((way / pixelsPerMetre) * 100) / 100 + 0));
}

/** Waits until the map shows the trail expected, which it does once the machine has come to its end. */
async function showsTrail(expected) {
  await until(async () => JSON.stringify(await drawn()) === JSON.stringify(expected), `${expected.length} points`)
    .catch(() => {});
  assert.deepEqual(await drawn(), expected);
}

const answer = (response, value) => response.end(JSON.stringify(value));

test("states that come while the trail is loaded are drawn after it, each once", async () => {
  [[2, [0, 1]], [3, [0, 2]], [4, [1, 3]]].forEach(([time, place]) => service.tell(time, place));
  await showsTrail([[0, 0], [0, 1], [1, 2]]);
  answer(service.trails[0], { interval: 1, end: 2, points: [[0, -1], [0, 0], [0, 1]] });
  await showsTrail([[0, 0], [0, 1], [0, 2], [0, 3], [1, 4]]);
  service.tell(5, [1, 5]);
  await showsTrail([[0, 0], [0, 1], [0, 2], [0, 3], [1, 4], [1, 6]]);
});

test("without an answer the trail is what has come meanwhile", async () => {
  [[2, [0, 1]], [3, [0, 2]]].forEach(([time, place]) => service.tell(time, place));
  await showsTrail([[0, 0], [0, 1]]);
  service.trails[0].destroy();
  service.tell(4, [1, 3]);
  await showsTrail([[0, 0], [0, 1], [1, 2]]);
  service.tell(5, [1, 4]);
  await showsTrail([[0, 0], [0, 1], [1, 2], [1, 3]]);
});

test("a trail that comes after the page has connected anew is not taken", async () => {
  service.tell(2, [0, 1]);
  await showsTrail([[0, 0]]);
  service.streams[0].end();
  await service.asked(2);
  answer(service.trails[1], { interval: 1, end: 4, points: [[0, 1], [0, 2], [0, 3]] });
  await showsTrail([[0, 0], [0, 1], [0, 2]]);
  answer(service.trails[0], { interval: 1, end: 2, points: [[5, 0], [5, 1]] });
  service.tell(5, [1, 4]);
  await showsTrail([[0, 0], [0, 1], [0, 2], [1, 3]]);
  service.tell(6, [1, 5]);
  await showsTrail([[0, 0], [0, 1], [0, 2], [1, 3], [1, 4]]);
});
