// What matters is always in view: the state of steering, its reason and the way out of it, at every size of the
// window and of letters, wherever the page is scrolled to. With PICTURES set to a folder, leaves pictures there.
import { after, before, test } from "node:test";
import assert from "node:assert/strict";
import { join } from "node:path";
import { ignoreSilence, line, settings, startScriptedService } from "./scripted_service.mjs";
import { startBrowser } from "./browser.mjs";

const usualLetters = 16;
const sizes = [[1440, 900], [1280, 720], [1024, 768], [800, 480], [360, 740]];
const windows = sizes.flatMap(([width, height]) => [usualLetters, 2 * usualLetters].map((letters) =>
  ({ width, height, letters })));
const longReason = "the machine is 123456.78 m from the line, more than half the implement width of 3.00 m";
const following = { navigating: true, pass: 0, heading_error: 0.01, cross_track_error: -0.123 };
const engaged = { ...following, engage_state: 2, engage_state_name: "engaged", steering_angle: 0.1 };

/** What is shown, by name; each tells the page how it comes to that. */
const scenes = {
  calm: { word: "Ready, navigating", state: "ready", others: { ...following, engage_state: 1, engage_state_name: "ready" } },
  engaged: { word: "Engaged", state: "engaged", others: engaged },
  dropped: { word: "Dropped, you steer", state: "dropped", reason: longReason,
    others: { ...following, engage_state: 3, engage_state_name: "dropped", drop_reason: longReason,
      cross_track_error: 0.1 } },
  far: { word: "Not ready, navigating", state: "not ready", reason: longReason,
    others: { ...following, cross_track_error: -98765.432, drives_against: true, nudge: -999.999, pass: -12345,
      speed: -14.9, why_not_engaged: [longReason, `${longReason}, as before`] } },
  lost: { word: "Engaged", state: "engaged", reason: "Connection lost", others: engaged, isLost: true },
};

let browser;
let service;

before(async () => {
  browser = await startBrowser();
  service = await startScriptedService({ remembers: true });
});

after(async () => {
  await browser.close();
  await service.end();
});

async function keepPicture(page, name) {
  if (process.env.PICTURES) await page.screenshot({ path: join(process.env.PICTURES, name) });
}

/** Opens the page in a window, with letters of a size that the viewer has chosen. */
async function openWindow({ width, height, letters, ...options }) {
  const context = await browser.newContext({ viewport: { width, height }, ...options });
  const page = await context.newPage();
  await page.addInitScript(ignoreSilence);
  const session = await context.newCDPSession(page);
  await session.send("Page.enable");
  await session.send("Page.setFontSizes", { fontSizes: { standard: letters, fixed: letters } });
  const asked = service.streams.length;
  await page.goto(service.page);
  await service.asked(asked + 1);
  service.trails.at(-1).end('{"interval":0.1,"end":0,"points":[],"run":"1"}');
  service.send("settings", settings);
  service.send("line", line);
  return page;
}

async function playScene(page, { others, isLost, state }) {
  service.tell(0.9, [1, 0], engaged);
  await page.locator("#engage-state[data-state=engaged]").waitFor();
  service.tell(1, [1, 1], others);
  await page.locator(`#engage-state[data-state="${state}"]`).waitFor();
  if (isLost) {
    for (const path of ["**/events", "**/command"]) await page.route(path, (route) => route.abort());
    service.streams.at(-1).destroy();
    await page.locator("body.old #lost").waitFor();
  }
}

/** All that can be scrolled: to its end to both sides, and to each control in it. What is not in view meanwhile. */
function outOfView([word, reason]) {
  document.querySelectorAll("details").forEach((details) => { details.open = true; });
  const problems = [];
  const isSeen = (node) => {
    const { left, top, right, bottom, width, height } = node.getBoundingClientRect();
    const inside = left >= 0 && top >= 0 && right <= innerWidth && bottom <= innerHeight && width > 0 && height > 0;
    const at = document.elementFromPoint(left + width / 2, top + height / 2);
    return inside && (node.contains(at) || at?.contains(node));
  };
  const look = (where) => {
    const state = document.querySelector("#engage-state span");
    const shown = state.textContent[0].toUpperCase() + state.textContent.slice(1);
    if (shown !== word) problems.push(`"${shown}" in place of "${word}" ${where}`);
    for (const [name, node] of [["the state", state], ["Disengage", document.querySelector("#disengage")],
      ["what is said", document.querySelector(".say-place")], ["the error", document.querySelector("#error-figure")]]) {
      if (!isSeen(node)) problems.push(`${name} is out of view ${where}`);
    }
    const said = document.querySelector(".say").textContent;
    if (reason && !said.replace(/\s+/g, " ").includes(reason)) problems.push(`no reason ${where}`);
  };
  look("at first");
  const scrolled = [document.scrollingElement, ...document.querySelectorAll(".panels, .column, .scroll, .log")];
  for (const node of scrolled) {
    for (const part of [0.25, 0.5, 0.75, 1]) {
      node.scrollTo({ top: node.scrollHeight * part, left: node.scrollWidth * part, behavior: "instant" });
      look(`with ${node.className || node.tagName} scrolled to ${part}`);
    }
  }
  for (const node of document.querySelectorAll("main :is(button, input, select, textarea, summary, canvas)")) {
    if (!node.checkVisibility()) continue;
    node.focus();
    node.scrollIntoView({ block: "center" });
    look(`with ${node.id || node.outerHTML.slice(0, 40)} in the middle`);
  }
  return [...new Set(problems)];
}

/** What of a question that is asked, and of what never leaves the view, cannot be seen. */
function questionOutOfView() {
  const parts = ["#question-text", "#question-no", "#question-yes", "#engage-state span", "#disengage"]
    .map((name) => document.querySelector(name));
  return parts.filter((node) => {
    const { left, top, right, bottom } = node.getBoundingClientRect();
    const isAt = (x, y) => node.contains(document.elementFromPoint(x, y));
    return !isAt((left + right) / 2, top + 4) || !isAt((left + right) / 2, bottom - 4) || node.scrollHeight > node.clientHeight + 1
      && node.clientHeight > 0;
  }).map((node) => node.outerHTML.slice(0, 60));
}

/** What cannot be seen whole in its place in what never leaves the view. */
function cutOff(selectors) {
  return selectors.filter((selector) => {
    const node = document.querySelector(selector);
    const own = node.getBoundingClientRect();
    const room = (node.closest(".say") ?? node.closest(".watch")).getBoundingClientRect();
    return node.textContent === "" || own.height < 10 || getComputedStyle(node).clipPath !== "none"
      || own.top < room.top - 1 || own.bottom > room.bottom + 1 || node.scrollWidth > node.clientWidth + 1;
  });
}

/** Has the page ask about a machine so far from the line, and looks whether all of the question can be read and pressed. */
async function askAndLook(page, error) {
  service.tell(2, [1, 2], { ...engaged, cross_track_error: error });
  await page.locator("#map").focus();
  await page.keyboard.press("g");
  await page.locator("#question-yes").click({ trial: true }); // waits until it can be pressed
  assert.deepEqual(await page.evaluate(questionOutOfView), []);
}

for (const { width, height, letters } of windows) {
  test(`at ${width} x ${height} with letters of ${letters} pixels state and Disengage never leave the view`, async () => {
    const page = await openWindow({ width, height, letters });
    const heights = new Set();
    for (const [name, scene] of Object.entries(scenes)) {
      await playScene(page, scene);
      await page.evaluate(() => scrollTo(0, 0));
      await keepPicture(page, `${width}x${height}-${letters}-${name}.png`);
      assert.deepEqual(await page.evaluate(cutOff, ["#error-words", ...scene.isLost ? ["#lost .lost", "#lost-reason"] : []]), [], name);
      if (scene.reason && !scene.isLost) {
        // Where the window has no room for two long reasons in letters twice as large, there is a sign.
        const last = await page.locator("#say.rest").count() > 0 && letters > usualLetters ? "first" : "last";
        assert.deepEqual(await page.evaluate(cutOff, [`#why-list li:${last}-child`]), [], name);
      }
      heights.add(await page.locator("#watch").evaluate((node) => node.getBoundingClientRect().height));
      assert.deepEqual(await page.evaluate(outOfView, [scene.word, scene.reason]), [], name);
      await page.locator("#sliders").scrollIntoViewIfNeeded();
      await keepPicture(page, `${width}x${height}-${letters}-${name}-tuning.png`);
      if (name !== "engaged") continue;
      for (const error of [-0.123, 12.345]) {
        await askAndLook(page, error);
        await keepPicture(page, `${width}x${height}-${letters}-question-${error}.png`);
        await page.keyboard.press("Escape");
      }
    }
    assert.equal(heights.size, 1, `what never leaves the view is ${[...heights]} pixels high: it moves what is below`);
    await page.keyboard.press("d"); // which does not get through
    await page.locator("#undone").waitFor();
    assert.deepEqual(await page.evaluate(cutOff, ["#undone", "#lost .lost"]), []);
    await keepPicture(page, `${width}x${height}-${letters}-undone.png`);
    const [wide, room] = await page.evaluate(() => [document.documentElement.scrollWidth, innerWidth]);
    assert.ok(wide <= room, `${wide} pixels of ${room}`);
    await page.context().close();
  });
}
