// What was worked, on the page: figures, the boundary driven around, what a reload leaves, and how long frames take.
import { test } from "node:test";
import assert from "node:assert/strict";
import { begin, browser, close, engaged, following, open, page, service, shows, text } from "./cab.mjs";
import { line, settings } from "./scripted_service.mjs";
import { until } from "./programs.mjs";

let time = 1;

/** Has the machine be somewhere, the implement with it. */
function be(state, x, y, heading) {
  time += 0.5;
  service.tell(time, [x, y], { ...state, heading, speed: 5, implement_place: [x, y], implement_heading: heading });
}

/** Drives a pass to the north or back, 2 m from state to state. */
function pass(state, x, from, to) {
  const heading = to > from ? 0 : Math.PI;
  for (let i = 0; i <= Math.abs(to - from) / 2; i += 1) be(state, x, from + 2 * i * Math.sign(to - from), heading);
}

const value = async (id) => Number.parseFloat(await text(`coverage-${id}`));
const isAbout = (id, wanted, room) => until(async () => Math.abs(await value(id) - wanted) <= room, `${id} about ${wanted}`)
  .catch(async () => assert.fail(`${id} is "${await text(`coverage-${id}`)}" in place of ${wanted}`));

/** Two passes of 200 m with an overlap of 10 cm, and one with 12 cm between: turns are not engaged. */
function workThree() {
  for (const [x, from, to] of [[0, 0, 200], [2.9, 200, 0], [6.02, 0, 200]]) {
    pass(engaged, x, from, to);
    be(following, x + 1, to, 0);
  }
}

async function reload() {
  await page.reload();
  await service.asked(2);
  await begin();
  service.send("settings", settings);
  service.send("line", line);
  await shows("ready");
}

test("hectares, overlap and what was skipped are those of the passes, and a reload leaves them", async () => {
  workThree();
  const looks = async () => {
    await isAbout("worked", 0.178, 0.002);
    await isAbout("again", 100 * 20 / 1780, 0.15);
    await isAbout("gap", 100 * 24 / 1804, 0.15);
  };
  await looks();
  assert.equal(await text("coverage-field"), "no boundary");
  await reload();
  await looks();
});

test("a reload while steering is engaged leaves no gap, whatever comes first", async () => {
  pass(engaged, 0, 0, 100);
  await isAbout("worked", 0.03, 0.0003);
  await page.reload();
  await service.asked(2);
  service.send("line", line);
  pass(engaged, 0, 102, 150);
  await shows("engaged");
  await begin();
  pass(engaged, 0, 152, 200);
  await isAbout("worked", 0.06, 0.0003);
  await isAbout("again", 0, 0.1);
});

test("what the implement does while steering is not engaged counts where that is chosen, and nothing where it is not to", async () => {
  pass(following, 0, 0, 100);
  await page.locator("#coverage-when").selectOption("moving");
  pass(following, 10, 0, 100);
  await isAbout("worked", 0.03, 0.001);
  await page.locator("#coverage-when").selectOption("never");
  pass(engaged, 20, 0, 100);
  await shows("engaged");
  await isAbout("worked", 0.03, 0.001);
});

test("by keys alone a boundary is recorded around the field, counts, and what was worked is cleared", async () => {
  const press = async (id) => {
    await page.locator(`#${id}`).focus();
    await page.keyboard.press("Enter");
  };
  await press("boundary-record");
  await press("boundary-end");
  await page.locator("#coverage-status", { hasText: "no field yet" }).waitFor();
  pass(following, 0, 0, 100);
  for (let x = 2; x <= 50; x += 2) be(following, x, 100, Math.PI / 2);
  pass(following, 50, 100, 0);
  for (let x = 48; x > 0; x -= 2) be(following, x, 0, -Math.PI / 2);
  be({ ...following, engage_state: 0, engage_state_name: "not ready" }, 0, 0, -Math.PI / 2);
  await shows("not ready"); // and has come to the end
  await press("boundary-end");
  await page.locator("#coverage-status", { hasText: "closed: 0.500 ha" }).waitFor();
  pass(engaged, 0, -50, 50); // half of it beside the field, half of that before it
  await until(async () => (await text("coverage-worked")).includes("outside"), "what lies outside");
  await isAbout("worked", 0.0075, 0.0006);
  assert.match(await text("coverage-field"), /^0\.500 ha, 1\.[45] % worked$/);
  await press("coverage-clear");
  await page.locator("#question", { hasText: "is forgotten" }).waitFor();
  await page.keyboard.press("Escape");
  assert.ok(await value("worked") > 0);
  await press("coverage-clear");
  await page.locator("#question-yes").focus();
  await page.locator("#question-yes").click({ trial: true });
  await page.keyboard.press("Enter");
  await until(async () => await value("worked") === 0, "nothing is worked");
});

test("another run of the service begins with nothing worked", async () => {
  pass(engaged, 0, 0, 100);
  await isAbout("worked", 0.03, 0.001);
  service.streams.at(-1).end();
  await service.asked(2);
  await begin("2");
  await until(async () => await value("worked") === 0, "nothing is worked");
});

/** Keeps how long each frame's script takes from now on. */
function keepFrames() {
  const request = window.requestAnimationFrame.bind(window);
  window.frames_ = [];
  window.requestAnimationFrame = (draw) => request((now) => {
    const start = performance.now();
    draw(now);
    window.frames_.push(performance.now() - start);
  });
}

/** 50 000 positions, 20 cm apart, to and fro in a field of 250 m. */
function keepWork() {
  const records = [];
  for (let i = 0; i < 50000; i += 1) {
    const [number, at] = [Math.floor(i / 1250), i % 1250];
    const isBack = number % 2 === 1;
    records.push(number * 290, (isBack ? 1249 - at : at) * 20, isBack ? 31416 : 0, 300, i * 2, at > 0 ? 1 : 0);
  }
  sessionStorage.setItem("worked", JSON.stringify({ run: "1", records, last: null, station: 10000, rings: [] }));
}

const middle = (values) => [...values].sort((a, b) => a - b)[values.length >> 1];

/** The frames of two seconds in which the machine works on, seen near and then all of it. */
async function frames() {
  const found = [];
  for (const wheel of [0, 3000]) {
    await page.locator("#map").hover();
    await page.mouse.wheel(0, wheel);
    await page.evaluate(() => { window.frames_.length = 0; });
    pass(engaged, -20, 0, 400);
    await page.waitForTimeout(2000); // frames come meanwhile
    found.push(await page.evaluate(() => window.frames_));
  }
  return found;
}

test("with 50 000 positions a frame has at most 4 ms of script more than without", async () => {
  await close();
  await open([keepFrames]);
  const without = await frames();
  await close();
  await open([keepFrames, keepWork]);
  await isAbout("worked", 2.87, 0.05);
  const whole = await page.evaluate(() => window.frames_);
  const within = await frames();
  const rows = [["near", without[0], within[0]], ["all of it", without[1], within[1]], ["while it is read", without[0], whole]];
  for (const [name, empty, full] of rows) {
    console.log(`${name}: ${middle(empty).toFixed(2)} ms without, ${middle(full).toFixed(2)} ms with, ${full.length} frames`);
    assert.ok(middle(full) - middle(empty) <= 4, name);
  }
  assert.ok(browser.isConnected());
});
