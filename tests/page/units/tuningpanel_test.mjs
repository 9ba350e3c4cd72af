import assert from "node:assert/strict";
import test from "node:test";
import { load } from "./page_modules.mjs";

const { TuningPanel } = await load("tuningpanel.js");
const stillMilliseconds = 600;

/** What stands for an element of the page. As in a browser, a slider keeps its value in its limits. */
class Element extends EventTarget {
  constructor() {
    super();
    Object.assign(this, { children: [], attributes: {}, textContent: "", kept: 50 });
    this.classList = { toggle: (name, on) => { this[name] = on; } };
  }

  append(...nodes) { this.children.push(...nodes); }

  setAttribute(name, value) { this.attributes[name] = value; }

  get valueAsNumber() { return Math.min(this.max, Math.max(this.min, this.kept)); }

  set value(value) { this.kept = value; this.kept = this.valueAsNumber; }
}

/** Timers that run when the test says so. */
class Clock {
  constructor() {
    this.now = 0;
    this.timers = new Map();
  }

  set(action, after) {
    this.timers.set(this.timers.size + 1, { action, at: this.now + after });
    return this.timers.size;
  }

  clear(timer) {
    if (this.timers.has(timer)) this.timers.get(timer).action = () => {};
  }

  pass(milliseconds) {
    this.now += milliseconds;
    for (const timer of this.timers.values()) {
      if (timer.at > this.now) continue;
      timer.action();
      timer.action = () => {};
    }
  }
}

/** Lets all go on that waits for no timer. */
const settled = () => new Promise((resolve) => { setImmediate(resolve); });

/** The panel with what it sends, which the service answers with `result`. */
function openPanel(t, result = 1) {
  const [clock, elements, sent] = [new Clock(), new Map(), []];
  const getElementById = (id) => {
    if (!elements.has(id)) elements.set(id, new Element());
    return elements.get(id);
  };
  const replaced = {
    document: { createElement: () => new Element(), getElementById },
    setTimeout: (action, after) => clock.set(action, after),
    clearTimeout: (timer) => clock.clear(timer),
    fetch: async (path, { body }) => {
      sent.push(JSON.parse(body));
      return { ok: true, json: async () => ({ result, reasons: ["no"] }) };
    },
  };
  const before = Object.fromEntries(Object.keys(replaced).map((name) => [name, globalThis[name]]));
  Object.assign(globalThis, replaced);
  t.after(async () => {
    await settled();
    Object.assign(globalThis, before);
  });
  return { panel: new TuningPanel(), clock, sent, element: getElementById };
}

/** Settings with two parameters, the first of which is another one. */
const settings = (first = {}, lookahead = 1.6) => ({
  tuning: [
    { number: 0, name: "sensitivity", value: 1, lowest: 0.2, start: 1, highest: 3, ...first },
    { number: 3, name: "speed_adjust", value: 0.5, lowest: 0, start: 0.25, highest: 2 },
  ],
  lookahead_time: lookahead,
});

/** What a slider of the panel shows. */
function shown({ panel }, name) {
  const { range, figure, lowest, highest } = panel.sliders.get(name);
  assert.equal(range.attributes["aria-valuetext"], figure.textContent);
  return { value: range.valueAsNumber, figure: figure.textContent, limits: [range.min, range.max],
    words: [lowest.textContent, highest.textContent] };
}

function move({ panel }, name, value) {
  const { range } = panel.sliders.get(name);
  range.value = value;
  range.dispatchEvent(new Event("input"));
}

for (const [name, first, expected] of [
  ["are told", {}, { value: 1, figure: "1", limits: [0.2, 3], words: ["0.2", "3"] }],
  ["have many decimals", { value: 1.23456, lowest: 0.333333 },
    { value: 1.23456, figure: "1.23", limits: [0.333333, 3], words: ["0.33", "3"] }],
  ["are above those before", { value: 70, lowest: 60, highest: 80 },
    { value: 70, figure: "70", limits: [60, 80], words: ["60", "80"] }],
  ["are below those before", { value: -4, lowest: -5, highest: -2 },
    { value: -4, figure: "-4", limits: [-5, -2], words: ["-5", "-2"] }],
  ["leave one value alone", { value: 2, lowest: 2, highest: 2 },
    { value: 2, figure: "2", limits: [2, 2], words: ["2", "2"] }],
]) {
  test(`a slider shows the value and the limits that the service tells, when they ${name}`, (t) => {
    const page = openPanel(t);
    page.panel.showSettings(settings());
    page.panel.showSettings(settings(first));
    assert.deepEqual(shown(page, "sensitivity"), expected);
    const { step } = page.panel.sliders.get("sensitivity").range;
    assert.ok(step > 0 && step < Infinity, `a step of ${step}`);
  });
}

test("each parameter has one slider under its name, and the look-ahead time has one", (t) => {
  const page = openPanel(t);
  page.panel.showSettings(settings());
  page.panel.showSettings(settings({}, 2.4));
  const names = page.element("sliders").children.map(({ children }) => children[0].textContent);
  assert.deepEqual(names, ["Sensitivity", "Speed adjustment", "Look-ahead time, s"]);
  assert.deepEqual(shown(page, "lookahead_time"),
    { value: 2.4, figure: "2.4", limits: [0.2, 10], words: ["0.2", "10"] });
  assert.deepEqual(page.sent, []);
});

test("a slider that is moved sends its value to the service, to three decimals", async (t) => {
  const page = openPanel(t);
  page.panel.showSettings(settings());
  move(page, "speed_adjust", 1.23456);
  await settled();
  move(page, "lookahead_time", 3);
  await settled();
  assert.deepEqual(page.sent, [
    { operation: "set_tuning_parameter", arguments: [3, 1.235, false] },
    { operation: "set_lookahead_time", arguments: [3, false] },
  ]);
});

test("a slider that is being moved is left alone until it has been still", async (t) => {
  const page = openPanel(t);
  page.panel.showSettings(settings());
  move(page, "sensitivity", 2.5);
  page.panel.showSettings(settings({ value: 1.7, lowest: 0.1, highest: 2 }));
  await settled();
  page.clock.pass(stillMilliseconds - 1);
  const moving = { value: 2.5, figure: "2.5", limits: [0.2, 3], words: ["0.1", "2"] };
  assert.deepEqual(shown(page, "sensitivity"), moving);
  page.clock.pass(1);
  const told = { value: 1.7, figure: "1.7", limits: [0.1, 2], words: ["0.1", "2"] };
  assert.deepEqual(shown(page, "sensitivity"), told);
});

test("the other sliders are shown while one is being moved", (t) => {
  const page = openPanel(t);
  page.panel.showSettings(settings());
  move(page, "sensitivity", 2.5);
  page.panel.showSettings(settings({}, 4));
  assert.equal(shown(page, "lookahead_time").figure, "4");
});

test("each move begins the time of stillness anew", (t) => {
  const page = openPanel(t);
  page.panel.showSettings(settings());
  move(page, "sensitivity", 2);
  page.clock.pass(stillMilliseconds - 1);
  move(page, "sensitivity", 2.5);
  page.clock.pass(stillMilliseconds - 1);
  assert.equal(shown(page, "sensitivity").figure, "2.5");
  page.clock.pass(1);
  assert.equal(shown(page, "sensitivity").figure, "1");
});

test("a value that the service refuses is put back when the slider has been still", async (t) => {
  const page = openPanel(t, 0);
  page.panel.showSettings(settings());
  move(page, "sensitivity", 3);
  await settled();
  assert.equal(page.element("message").textContent, "Refused: no");
  assert.equal(shown(page, "sensitivity").value, 3);
  page.clock.pass(stillMilliseconds);
  assert.deepEqual(shown(page, "sensitivity"),
    { value: 1, figure: "1", limits: [0.2, 3], words: ["0.2", "3"] });
});

test("the start values are sent, and shown as soon as the service tells them", async (t) => {
  const page = openPanel(t);
  page.element("tuning-start").dispatchEvent(new Event("click"));
  page.panel.showSettings(settings({ value: 2 }, 5));
  page.element("tuning-start").dispatchEvent(new Event("click"));
  await settled();
  assert.deepEqual(page.sent.map(({ arguments: values }) => values),
    [[0, 1, false], [3, 0.25, false], [1.6, false]]);
  assert.equal(shown(page, "sensitivity").figure, "2");
  page.panel.showSettings(settings());
  assert.equal(shown(page, "sensitivity").figure, "1");
});
