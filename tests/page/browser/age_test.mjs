// What is old looks old and is said so, and a service that is another one is said.
import { test } from "node:test";
import assert from "node:assert/strict";
import { be, begin, dropped, engaged, fillLine, following, operations, page, service, shows, text } from "./cab.mjs";
import { until } from "./programs.mjs";

const behind = (selector) => page.locator(selector).evaluate((node) => getComputedStyle(node, "::after").content);
const styleOf = (selector, name) => page.locator(selector).first().evaluate((node, of) => getComputedStyle(node)[of], name);

/** Has the page lose the connection for as long as wanted. */
async function lose() {
  await page.route("**/events", (route) => route.abort());
  service.streams.at(-1).destroy();
  await page.locator("body.old #lost").waitFor();
}

async function regain() {
  const before = service.streams.length;
  await page.unroute("**/events");
  await until(() => service.streams.length > before, "another stream");
}

test("without a connection each of what is measured is marked as old, for those who only hear it too", async () => {
  await be({ ...engaged, why_not_engaged: ["a reason"] });
  await page.locator("#clear-line").click();
  const colours = {};
  const measured = ["#engage-state > span", "#error-figure", "#error-words", ".facts dd"];
  for (const selector of measured) colours[selector] = await styleOf(selector, "color");
  const marked = ["#engage-state small", "#why-list li", "#question-text", ".reading"];
  for (const selector of marked) assert.doesNotMatch(await behind(selector), /old/, selector);
  assert.match(await page.locator("#lightbar").getAttribute("aria-label"), /^Lightbar: \+50/);
  await lose();
  for (const selector of marked) assert.match(await behind(selector), /old/, selector);
  for (const selector of measured) assert.notEqual(await styleOf(selector, "color"), colours[selector], selector);
  for (const selector of [".facts dd", "#error-words", "#nudge-words", "#history-words"]) {
    assert.match(await styleOf(selector, "textDecorationLine"), /line-through/, selector);
  }
  assert.ok(Number(await styleOf("#history", "opacity")) < 1, "the charts are paler");
  assert.match(await page.locator("#lightbar").getAttribute("aria-label"), /^Old: Lightbar: \+50/);
  await regain();
  service.tell(2, [0.5, 0], engaged);
  await until(async () => !(await behind("#question-text")).includes("old"), "a present question");
  assert.match(await page.locator("#lightbar").getAttribute("aria-label"), /^Lightbar/);
});

test("what a step test says of the machine is marked as old while nothing comes", async () => {
  await be({ ...engaged, cross_track_error: 0 });
  for (let i = 1; i <= 3; i += 1) service.tell(1 + i, [0.5, 3 * i], { ...engaged, cross_track_error: 0 });
  await until(async () => await text("fact-time") === "00:04", "the states are shown");
  await page.locator("#step-run").click();
  service.tell(5, [0.5, 10], { ...engaged, nudge: 0.5, cross_track_error: -0.5 });
  await page.locator("#step-status", { hasText: "Running: 0 m driven" }).waitFor();
  assert.equal(await behind("#step-status"), "none");
  await page.evaluate(() => document.body.classList.add("old"));
  assert.match(await behind("#step-status"), /old/);
  await lose();
  assert.match(await text("step-status"), /No score: the connection was lost/);
  assert.equal(await behind("#step-status"), "none");
});

test("a stream that brings no state does not make the last one a present one", async () => {
  await be(engaged);
  service.newest.clear();
  await lose();
  await regain();
  await page.locator("#connection", { hasText: "no state yet" }).waitFor();
  assert.equal(await page.locator("#lost").isVisible(), false);
  assert.doesNotMatch(await page.title(), /engaged/);
  await page.keyboard.press("s");
  await page.locator("#message.bad", { hasText: "not sent" }).waitFor();
  service.tell(9, [0.5, 0], following);
  await page.locator("body:not(.old) #connection", { hasText: "● connected" }).waitFor();
  assert.match(await page.title(), /^○ ready/);
  assert.deepEqual(operations(), []);
});

/** What the map draws of the machine, and of what lies over the picture. */
function keepDrawing() {
  const { fill, fillRect, fillText } = CanvasRenderingContext2D.prototype;
  const colour = (context) => [context.fillStyle, context.globalAlpha, context.getLineDash().length];
  window.map_ = {};
  CanvasRenderingContext2D.prototype.fill = function keep(...values) {
    if (this.canvas.id === "map" && this.getTransform().a !== 1) (window.map_.machine ??= []).push(colour(this));
    fill.apply(this, values);
  };
  CanvasRenderingContext2D.prototype.fillRect = function keep(x, y, width, height) {
    const isWhole = this.canvas.id === "map" && width === this.canvas.clientWidth;
    if (isWhole && this.globalAlpha < 1) window.map_.over = true;
    else if (isWhole) window.map_ = { over: false };
    fillRect.call(this, x, y, width, height);
  };
  CanvasRenderingContext2D.prototype.fillText = function keep(words, ...others) {
    if (this.canvas.id === "map" && words.includes("old picture")) window.map_.words = words;
    fillText.call(this, words, ...others);
  };
}

test("an old map is paled and says why, and its machine is an outline", async () => {
  await page.addInitScript(keepDrawing);
  await page.reload();
  await service.asked(2);
  await begin();
  await be(following);
  const drawn = () => page.evaluate(() => window.map_);
  await until(async () => (await drawn()).machine !== undefined && !(await drawn()).over, "a machine of now");
  const fresh = await drawn();
  assert.equal(fresh.words, undefined);
  await lose();
  await until(async () => (await drawn()).words === "no connection – old picture", "an old picture");
  assert.notDeepEqual((await drawn()).machine, fresh.machine);
});

test("a question cannot be agreed to without a connection, nor one that is asked then", async () => {
  await be(engaged);
  await fillLine(1);
  await page.locator("#line-form [type=submit]").click();
  await page.locator("#question-yes:enabled").waitFor();
  await lose();
  assert.equal(await page.locator("#question-yes").isDisabled(), true);
  await page.locator("#question-no").click();
  await page.locator("#line-form").evaluate((form) => form.requestSubmit());
  await page.locator("#question").waitFor();
  assert.equal(await page.locator("#question-yes").isDisabled(), true);
});

for (const [name, act] of [
  ["a reload", async () => {
    await page.reload();
    await service.asked(2);
    await begin("2");
  }],
  ["a trail that is asked for in vain at first", async () => {
    service.streams.at(-1).destroy();
    await service.asked(2);
    service.trails.at(-1).destroy();
    await service.asked(2);
    await until(() => service.trails.length === 3, "the trail is asked for again");
    await begin("2", [[7, 7]]);
  }],
]) {
  test(`a restart of the service is said after ${name}, and the map shows the machine as at first`, async () => {
    await page.keyboard.press("n");
    await page.keyboard.press("f");
    await act();
    await page.locator("#message", { hasText: "has been started anew" }).waitFor();
    await page.locator("#log", { hasText: "the service has been started anew" }).waitFor();
    assert.equal(await page.locator("#follow").getAttribute("aria-pressed"), "true");
  });
}

test("what has changed while the page was loaded anew is in the log, navigation too", async () => {
  await be({ ...engaged, nudge: 0.05 });
  service.newest.clear();
  await page.reload();
  await service.asked(2);
  await begin();
  service.tell(9, [0.5, 0], { ...dropped, nudge: 0.05, navigating: false });
  await shows("dropped");
  await page.locator("#log", { hasText: "dropped: the line went away" }).waitFor();
  await page.locator("#log", { hasText: "navigation ended" }).waitFor();
  const nudges = (await page.locator("#log li").allTextContents()).filter((entry) => entry.includes("nudged"));
  assert.equal(nudges.length, 1, "what has stayed is not said again");
  service.tell(10, [0.5, 0], { ...dropped, nudge: 0.05 });
  await page.locator("#log", { hasText: "navigation started" }).waitFor();
});
