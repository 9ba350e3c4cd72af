// Looking back: the timeline shows a moment everywhere on the page, clearly not of now, what is true of steering now
// stays said, and Disengage works.
import { after, before, test } from "node:test";
import assert from "node:assert/strict";
import { countTones } from "./cab.mjs";
import { covered, engage, openPage, setLetters, setLine, startBrowser } from "./browser.mjs";
import { navctl, startSimulator, until } from "./programs.mjs";

const sizes = [[1440, 900], [1280, 720], [1024, 768], [800, 480], [360, 740]];
let browser;
let simulator;
let page;

// A drive with all that is marked: a line, engaged, a nudge, another tuning, a fault, a drop, engaged again.
before(async () => {
  browser = await startBrowser();
  simulator = await startSimulator("--speed", "2", "--speed-factor", "5", "--receiver", "ideal");
  page = await openPage(browser, simulator.page, {}, [countTones]);
  await page.keyboard.press("Shift");
  await setLine(page, [0.4, 0], [0.4, 100]);
  await engage(page);
  await page.keyboard.press(".");
  await page.locator("#nudge-words", { hasText: "5 cm right" }).waitFor();
  await navctl("set-tuning-parameter", "sensitivity", "1.2");
  await navctl("simulator", "fault", "gnss-outage", "--for", "7");
  await page.locator("#engage-state[data-state=dropped]").waitFor();
  await navctl("simulator", "fault", "gnss-outage", "off");
  await until(async () => {
    await page.locator("#engage").click();
    return page.locator("#engage-state").getAttribute("data-state").then((state) => state === "engaged");
  }, "engaged again");
});
after(async () => {
  await browser.close();
  await simulator.end();
  assert.deepEqual(page.faults, []);
});

const slider = () => page.locator("#timeline");
const text = (id) => page.locator(`#${id}`).innerText();
const history = () => page.evaluate(() => fetch("/history").then((answer) => answer.json()));
const valueText = () => slider().getAttribute("aria-valuetext");
const isPast = () => page.evaluate(() => document.body.classList.contains("past"));

/** Looks at the moment of a kind of mark, by the button for the mark before. */
async function lookAt(kind) {
  await page.keyboard.press("Escape");
  for (let i = 0; i < 30; i += 1) {
    await page.locator("#mark-before").click();
    if ((await valueText()).includes(kind)) return;
  }
  assert.fail(`no mark of ${kind}`);
}

test("the service marks line, nudge, tuning, fault, engaging and the drop with its reason", async () => {
  const { marks, pieces, open } = await history();
  const kinds = new Set(marks.map(({ kind }) => kind));
  assert.deepEqual([...kinds].sort(), ["dropped", "engaged", "fault", "line", "nudge", "tuning"]);
  assert.match(marks.find(({ kind }) => kind === "dropped").text, /no usable position/);
  assert.ok(pieces * 600 + open > 50);
});

test("a moment is shown everywhere, and that it is not of now; Escape returns to live", async () => {
  await lookAt("dropped: ");
  const time = await text("fact-time");
  assert.equal(await isPast(), true);
  assert.match(await page.title(), /^◷ looking back, now: ● engaged/);
  assert.equal(await page.locator("#past").isVisible(), true);
  assert.match(await text("past-when"), new RegExp(`ago, at ${time}`));
  assert.match(await text("past-then"), /dropped/);
  assert.match(await text("past-now"), /Now: ● engaged/);
  assert.match(await page.locator("#lightbar").getAttribute("aria-label"), /ago, at .*: Lightbar/);
  assert.notEqual(await page.locator(".frame").evaluate((node) => getComputedStyle(node).borderImageSource), "none");
  const { time: at } = (await history()).marks.findLast(({ kind }) => kind === "dropped");
  const clock = `${String(Math.floor(at / 60)).padStart(2, "0")}:${String(Math.floor(at % 60)).padStart(2, "0")}`;
  assert.equal(time, clock);
  // The present goes on and moves nothing of that.
  const figure = await text("error-figure");
  const before = await page.evaluate(() => performance.now());
  await until(async () => await page.evaluate(() => performance.now()) - before > 600, "states that come meanwhile");
  assert.equal(await text("fact-time"), time);
  assert.equal(await text("error-figure"), figure);
  await page.keyboard.press("Escape");
  assert.equal(await isPast(), false);
  assert.equal(await valueText(), "live");
  assert.match(await page.title(), /^● engaged/);
  await until(async () => await text("fact-time") > time, "the present time");
});

test("what steering is now stays said while looking back, and Disengage ends it", async () => {
  if (await page.locator("#engage-state").getAttribute("data-state") !== "engaged") await engage(page);
  await lookAt("line set");
  assert.equal(await page.locator("#engage-state").getAttribute("data-state"), "engaged");
  assert.equal(await page.locator("#engage").isDisabled(), true);
  const posted = [];
  const take = (request) => { if (request.method() === "POST") posted.push(JSON.parse(request.postData()).operation); };
  page.on("request", take);
  await page.locator("#message").evaluate((node) => { node.textContent = ""; });
  await page.keyboard.press("e");
  await page.keyboard.press(".");
  await page.locator("#message", { hasText: "Not sent: what is shown is not of now." }).waitFor();
  assert.deepEqual(posted, []);
  await page.locator("#disengage").click();
  await page.locator("#engage-state:not([data-state=engaged])").waitFor();
  assert.deepEqual(posted, ["DisengageSteering"]);
  assert.equal(await isPast(), true);
  assert.doesNotMatch(await text("past-now"), /engaged/);
  page.off("request", take);
  await page.keyboard.press("Escape");
});

test("a drop while one looks back is heard and said", async () => {
  await engage(page);
  await lookAt("line set");
  const before = await page.evaluate(() => window.tones_);
  await navctl("simulator", "fault", "receiver", "none");
  await page.locator("#engage-state[data-state=dropped]").waitFor();
  assert.equal(await isPast(), true);
  assert.ok(await page.evaluate(() => window.tones_) > before, "it sounds");
  assert.match(await text("past-now"), /▲ dropped/);
  assert.match(await page.locator("#announcer").textContent(), /dropped: /);
  assert.match(await page.locator("#why-list").textContent(), /dropped: /);
  assert.match(await page.title(), /DROPPED/);
  await navctl("simulator", "fault", "receiver", "off");
  await page.keyboard.press("Escape");
});

test("what happened says why steering was dropped: the reason, error, fix, speed, fault and what was before", async () => {
  await lookAt("no usable position for 5");
  await page.locator("#happened").click();
  const words = await text("happened-words");
  for (const wanted of [/Steering was dropped at \d\d:\d\d: the receiver has had no usable position/, /the line, at 2\.0 m\/s/,
    /The receiver had no position/, /Active: .*(gnss-outage|receiver)/, /In the \d+(\.\d)? s before it was at most/]) {
    assert.match(words, wanted);
  }
  await lookAt("line set");
  assert.equal(await text("happened-words"), "", "of another moment");
  await page.locator("#happened").click();
  assert.match(await text("happened-words"), /nothing was dropped\. The next drop is at/);
  await page.keyboard.press("Escape");
});

test("keys move the moment, and each is spoken", async () => {
  await slider().focus();
  assert.equal(await slider().getAttribute("role"), "slider");
  const now = async () => Number(await slider().getAttribute("aria-valuenow"));
  await page.keyboard.press("Home");
  await until(isPast, "looking back");
  const [lowest, highest] = [Number(await slider().getAttribute("aria-valuemin")), Number(await slider().getAttribute("aria-valuemax"))];
  assert.ok(highest > lowest);
  await until(async () => await now() - lowest <= 1, "the oldest moment");
  for (const [key, by] of [["ArrowRight", 1], ["PageUp", 10], ["ArrowLeft", -1], ["PageDown", -10], ["ArrowUp", 1], ["ArrowDown", -1]]) {
    const before = await now();
    await page.keyboard.press(key);
    await until(async () => Math.abs(await now() - before - by) <= 1, `${key} moves by ${by} s`);
    assert.match(await valueText(), /ago, at \d\d:\d\d, (not ready|ready|engaged|dropped), /);
  }
  await page.keyboard.press("End");
  await until(async () => !(await isPast()), "live");
  await until(async () => await valueText() === "live", "which is spoken");
});

test("drawing the strip looks back, and to its end is live", async () => {
  await slider().scrollIntoViewIfNeeded();
  const { x, y, width, height } = await slider().boundingBox();
  const at = (part) => page.mouse.move(x + width * part, y + height / 2);
  await at(0.9);
  await page.mouse.down();
  await until(isPast, "looking back");
  const late = Number(await slider().getAttribute("aria-valuenow"));
  await at(0.3);
  await until(async () => Number(await slider().getAttribute("aria-valuenow")) < late - 5, "an earlier moment");
  await at(0.9999);
  await until(async () => !(await isPast()), "live");
  await page.mouse.up();
});

/** Whether a finger reaches a part of the page, at its left half. */
function isUncovered(node) {
  const { left, top, width, height } = node.getBoundingClientRect();
  return [0.1, 0.9].every((part) => node.contains(document.elementFromPoint(left + width / 4, top + height * part)));
}

for (const [width, height] of sizes) {
  for (const letters of [16, 32]) {
    test(`at ${width} x ${height} with letters of ${letters} pixels state and Disengage stay in view while looking back`, async () => {
      await page.setViewportSize({ width, height });
      await setLetters(page, letters);
      await slider().focus();
      await page.keyboard.press("Home");
      await until(isPast, "looking back");
      await page.locator("#happened").click();
      for (const part of [0, 1]) {
        await page.evaluate((where) => window.scrollTo(0, where * document.documentElement.scrollHeight), part);
        assert.deepEqual(await covered(page, ["engage-state", "disengage"]), []);
      }
      await slider().focus();
      await page.keyboard.press("ArrowRight");
      // Letters that fill the window leave no room for it; its keys are spoken all the same.
      if (letters === 16) await until(() => slider().evaluate(isUncovered), "the strip in view");
      await page.locator("#past-leave").click();
      assert.equal(await isPast(), false);
    });
  }
}
