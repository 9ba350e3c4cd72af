// The page in the cab before each test, by a service that says what the test has it say.
import { after, afterEach, before, beforeEach } from "node:test";
import assert from "node:assert/strict";
import { bePatient, ignoreSilence, line, settings, startScriptedService } from "./scripted_service.mjs";
import { startBrowser } from "./browser.mjs";
import { until } from "./programs.mjs";

export const following = { navigating: true, pass: 0, heading_error: 0, cross_track_error: 0.5, engage_state: 1,
  engage_state_name: "ready" };
export const engaged = { ...following, engage_state: 2, engage_state_name: "engaged" };
export const dropped = { ...following, engage_state: 3, engage_state_name: "dropped", drop_reason: "the line went away" };
export let browser;
export let service;
export let page;
export let faults;

before(async () => { browser = await startBrowser(); });
after(() => browser.close());

/** Counts the tones that the page makes. */
export function countTones() {
  window.tones_ = 0;
  window.AudioContext = class {
    constructor() { Object.assign(this, { state: "suspended", currentTime: 0, destination: {} }); }

    async resume() { this.state = "running"; }

    createGain() { return { gain: {}, connect: () => ({ connect: () => {} }) }; }

    createOscillator() {
      const made = { frequency: {}, stop: () => {}, start: () => { window.tones_ += 1; } };
      return Object.assign(made, { connect: (next) => next });
    }
  };
}

/** Answers what the page asks for when it begins, as a service in some run. */
export async function begin(run = "1", points = []) {
  await until(() => service.trails.length > 0 && !service.trails.at(-1).writableEnded, "the page asks for the trail");
  service.trails.at(-1).end(JSON.stringify({ interval: 0.1, end: 0, points, run }));
}

export const shows = (name) => page.locator(`#engage-state[data-state="${name}"]`).waitFor();

/** Has the service be in a state, and waits until the page shows that. */
export async function be(state, { time = 1, place = [0.5, 0] } = {}) {
  service.tell(time, place, state);
  await shows(state.engage_state_name);
}

beforeEach(() => open());

/** Opens the page; `scripts` run in it before its own. */
export async function open(scripts = [countTones, ignoreSilence, bePatient]) {
  service = await startScriptedService({ remembers: true });
  page = await (await browser.newContext({ viewport: { width: 1280, height: 900 } })).newPage();
  faults = [];
  page.on("pageerror", (error) => faults.push(error.message));
  for (const script of scripts) await page.addInitScript(script);
  await page.goto(service.page);
  await service.asked(1);
  await begin();
  service.send("settings", settings);
  service.send("line", line);
  await be(following);
}

export async function close() {
  await page.context().close();
  await service.end();
  assert.deepEqual(faults, []);
}

afterEach(() => close());

export const text = (id) => page.locator(`#${id}`).textContent();
export const tones = () => page.evaluate(() => window.tones_);
export const operations = () => service.posted.map(({ operation, text: form }) => operation ?? form[0]);

/** Fills in a line to the north, so far to the east. */
export async function fillLine(x) {
  for (const [id, value] of [["x0", x], ["y0", 0], ["x1", x], ["y1", 100]]) await page.locator(`#${id}`).fill(String(value));
}
