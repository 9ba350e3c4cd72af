// What the map draws: as large as letters are, nothing over another, and all of the drive where that is wanted.
import { test } from "node:test";
import assert from "node:assert/strict";
import { be, begin, following, page, service } from "./cab.mjs";
import { line } from "./scripted_service.mjs";
import { until } from "./programs.mjs";

/** Keeps of the map's last drawing the boxes with round corners, the trail's points and the size of circles. */
function keepDrawing() {
  const { prototype } = CanvasRenderingContext2D;
  const { roundRect, lineTo, moveTo, beginPath, stroke, fillRect, arc, scale } = prototype;
  const isMap = (context) => context.canvas.id === "map";
  window.map_ = { boxes: [], trail: [], arcs: [], scales: [] };
  prototype.fillRect = function begin(x, y, width, height) {
    if (isMap(this) && width === this.canvas.clientWidth && this.globalAlpha === 1) {
      window.map_ = { boxes: [], trail: [], arcs: [], scales: [], width, height };
    }
    fillRect.call(this, x, y, width, height);
  };
  prototype.roundRect = function keep(...values) {
    if (isMap(this)) window.map_.boxes.push(values);
    roundRect.apply(this, values);
  };
  prototype.arc = function keep(...values) {
    if (isMap(this)) window.map_.arcs.push(values[2]);
    arc.apply(this, values);
  };
  prototype.scale = function keep(x, y) {
    if (isMap(this)) window.map_.scales.push(x);
    scale.call(this, x, y);
  };
  prototype.beginPath = function forget() { this.path_ = []; beginPath.call(this); };
  for (const [name, own] of [["moveTo", moveTo], ["lineTo", lineTo]]) {
    prototype[name] = function keep(x, y) { this.path_?.push([x, y]); own.call(this, x, y); };
  }
  prototype.stroke = function keep() {
    if (isMap(this) && this.lineWidth === 2.5) window.map_.trail = this.path_;
    stroke.call(this);
  };
}

/** Opens the page anew, with a trail, and waits until the map has drawn the machine. */
async function openMap(points, state = following) {
  await page.addInitScript(keepDrawing);
  await page.reload();
  await service.asked(2);
  await begin("1", points);
  await be(state);
}

const map = () => page.evaluate(() => window.map_);

test("the whole drive fills the map and lies in it", async () => {
  const points = [[0, 0], [0, 500], [300, 500]];
  await openMap(points);
  await until(async () => (await map()).trail.length > points.length, "the trail has come");
  await page.locator("#whole-drive").click();
  await until(async () => {
    const { trail, width, height } = await map();
    const sides = [0, 1].map((side) => trail.map((place) => place[side])).map((all) => [Math.min(...all), Math.max(...all)]);
    const [[left, right], [top, bottom]] = sides;
    const isInside = left >= 0 && top >= 0 && right <= width && bottom <= height;
    return trail.length >= 3 && isInside && ((right - left) / width > 0.8 || (bottom - top) / height > 0.8);
  }, "all of the drive, as large as there is room");
});

test("labels of points that lie close together do not cover each other", async () => {
  const labels = [{ text: "A", x: 0, y: 0 }, { text: "B", x: 0, y: 0.3 }, { text: "3", x: 0.2, y: 0 }];
  service.send("line", { ...line, labels });
  await openMap([]);
  await until(async () => (await map()).boxes.length === 3, "the labels");
  const { boxes } = await map();
  boxes.forEach(([x, y, width, height], i) => boxes.slice(i + 1).forEach(([left, top, wide, high]) =>
    assert.ok(x >= left + wide || left >= x + width || y >= top + high || top >= y + height, JSON.stringify(boxes))));
});

test("the machine's arrow, the aim and the points are as large as letters are", async () => {
  await openMap([], { ...following, aim_point: [0.5, 5] });
  for (let i = 0; i < 8; i += 1) await page.keyboard.press("-");
  await until(async () => (await map()).scales.includes(1), "an arrow");
  const usual = await map();
  await page.evaluate(() => { document.documentElement.style.fontSize = "32px"; });
  await page.keyboard.press("-");
  await until(async () => (await map()).scales.includes(2), "an arrow that is twice as large");
  assert.deepEqual((await map()).arcs, usual.arcs.map((radius) => 2 * radius));
});

test("the hint for setting points says how a finger does it, and lies beside the map in a low window", async () => {
  const context = await page.context().browser().newContext({ viewport: { width: 800, height: 480 }, hasTouch: true, isMobile: true });
  const touched = await context.newPage();
  await touched.goto(service.page);
  await touched.locator("#pick").tap();
  const hint = touched.locator("#pick-hint");
  assert.match(await hint.textContent(), /^Set point A: touch the map/);
  const [own, its] = [await hint.boundingBox(), await touched.locator("#map").boundingBox()];
  assert.ok(own.y >= its.y + its.height - 1 || own.y + own.height <= its.y + 1, JSON.stringify([own, its]));
  await context.close();
});
