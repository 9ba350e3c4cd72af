// Driving by the page, with the service's other clients as witnesses.
import { after, afterEach, before, beforeEach, test } from "node:test";
import assert from "node:assert/strict";
import { bePatient, ignoreSilence } from "./scripted_service.mjs";
import { engage, openPage, setLine, shownError, startBrowser } from "./browser.mjs";
import { load } from "../units/page_modules.mjs";
import { post, present, randomLine, randomNumbers } from "./predictions.mjs";
import { navctl, startNavctl, startSimulator, until } from "./programs.mjs";

let browser;
let simulator;
let page;

before(async () => { browser = await startBrowser(); });
after(() => browser.close());

beforeEach(async () => {
  simulator = await startSimulator("--speed", "2.5", "--speed-factor", "2", "--receiver", "ideal",
    "--start", "0.4,0,0");
  page = await openPage(browser, simulator.page, {}, [ignoreSilence, bePatient]);
});

afterEach(async () => {
  const { faults } = page;
  await page.context().close();
  await simulator.end();
  assert.deepEqual(faults, []);
});

/** The trail as the service keeps it. */
const trail = async () => (await (await page.request.get(`${simulator.page}trail`)).json()).points;

test("the machine moves", async () => {
  const picture = async () => (await page.locator("#map").screenshot()).toString("base64");
  const before = [await picture(), await page.locator("#fact-time").textContent(), await trail()];
  await until(async () => await page.locator("#fact-time").textContent() > before[1], "time goes on");
  await until(async () => await picture() !== before[0], "another picture");
  const [, north] = (await trail()).at(-1);
  assert.ok(north > before[2].at(-1)[1], `${north} m north`);
  assert.equal(await page.locator("#fact-speed").textContent(), "2.5");
});

test("reasons are told while steering cannot be engaged", async () => {
  await page.locator("#why-list", { hasText: "navigation is not active" }).waitFor();
  await page.locator("#engage").click();
  await page.locator("#message.bad", { hasText: "navigation is not active" }).waitFor();
});

test("engaging by the button shows in the library's events", async () => {
  const watch = startNavctl("watch", "engage-status", "--json", "--for", "60");
  try {
    const engaged = (line) => /"engaged":\s*(true|1)/.test(line);
    await watch.line((line) => line.includes("engaged"), "a first event");
    assert.equal(watch.lines.some(engaged), false);
    await setLine(page, [0, 0], [0, 100]);
    await engage(page);
    await watch.line(engaged, "the event of engaging");
    await page.locator("#disengage").click();
    await until(() => !engaged(watch.lines.at(-1)), "the event of disengaging");
  } finally {
    await watch.end();
  }
});

test("the error shown says where to steer, and goes while engaged", async () => {
  await setLine(page, [0, 0], [0, 100]);
  await page.locator("#error-words", { hasText: "right of the line → steer left" }).waitFor();
  assert.equal(await shownError(page), 40);
  await page.locator("#steer-left.now").waitFor();
  await engage(page);
  await page.locator("#error-words", { hasText: "on the line" }).waitFor();
});

test("a line clicked on the map comes back from the service", async () => {
  await page.locator("#heading-up").click();
  await page.locator("#pick").click();
  const box = await page.locator("#map").boundingBox();
  await page.mouse.click(box.x + 100, box.y + 300);
  await page.mouse.click(box.x + 180, box.y + 120);
  await page.locator("#line-status", { hasText: "All points are set" }).waitFor();
  await page.locator("#line-form [type=submit]").click();
  await page.locator("#line-status", { hasText: "is set" }).waitFor();
  const [kind, ax, ay, , bx, by] = (await navctl("get-wayline")).trim().split(/\s+/).map(Number);
  assert.equal(kind, 0);
  const typed = await Promise.all(["x0", "y0", "x1", "y1"].map((id) => page.locator(`#${id}`).inputValue()));
  assert.deepEqual([ax, ay, bx, by], typed.map(Number));
  // 80 pixels right and 180 up on a map with north up, at 14 pixels a metre.
  assert.ok(Math.abs(bx - ax - 80 / 14) < 0.02 && Math.abs(by - ay - 180 / 14) < 0.02, `${typed}`);
});

test("a line with a heading and a circle are set by the keyboard", async () => {
  for (const [kind, clicks] of [["1", 2], ["2", 3]]) {
    await page.locator(`input[name=kind][value="${kind}"]`).focus();
    await page.keyboard.press("Space");
    await page.keyboard.press("p");
    for (let i = 0; i < clicks; i += 1) {
      await page.keyboard.press("Enter");
      for (let j = 0; j < 2; j += 1) await page.keyboard.press(i === 1 ? "ArrowRight" : "ArrowUp");
    }
    await page.locator("#line-status", { hasText: "All points are set" }).waitFor();
    await page.keyboard.press("Enter");
    await page.locator("#line-status", { hasText: "is set" }).waitFor();
    assert.equal((await navctl("get-wayline")).trim()[0], kind);
  }
});

test("a text form is loaded, and a bad one refused with the reason", async () => {
  await page.locator("summary", { hasText: "Text form" }).click();
  await page.locator("#text").fill("0 5 6 0 7 80 0");
  await page.locator("#text-form [type=submit]").click();
  await page.locator("#line-status", { hasText: "loaded" }).waitFor();
  assert.deepEqual((await navctl("get-wayline")).trim().split(/\s+/).map(Number), [0, 5, 6, 0, 7, 80, 0]);
  await page.locator("#text").fill("0 5 6");
  await page.locator("#text-form [type=submit]").click();
  await page.locator("#line-status.bad", { hasText: "Refused: the text is no wayline" }).waitFor();
  await page.locator("#line-status", { hasText: "6 numbers" }).waitFor();
});

test("prompts are no errors, Escape takes them back, and a point on the place of the last is refused", async () => {
  const status = page.locator("#line-status");
  await page.locator("#clear-line").click();
  await page.locator("#line-status.bad", { hasText: "Refused" }).waitFor();
  await page.locator("#pick").click();
  await page.locator("#line-status:not(.bad)", { hasText: "Set point A" }).waitFor();
  await page.keyboard.press("Escape");
  assert.equal(await status.textContent(), "");
  await page.locator("#pick").click();
  await page.locator("#map").dblclick({ position: { x: 100, y: 300 } });
  await page.locator("#line-status.bad", { hasText: "Set point B elsewhere" }).waitFor();
  assert.equal(await page.locator("#x1").inputValue(), "");
  assert.match(await page.locator("#pick-hint").textContent(), /Set point B elsewhere/);
  await page.locator("#map").click({ position: { x: 150, y: 200 } });
  await page.locator("#line-status:not(.bad)", { hasText: "All points are set" }).waitFor();
});

/** Holds Enter on a control for so long that it repeats. */
async function holdEnter(id) {
  await page.locator(id).focus();
  for (let i = 0; i < 6; i += 1) await page.keyboard.down("Enter");
  await page.keyboard.up("Enter");
}

test("a key that is held acts once", async () => {
  const sent = [];
  page.on("request", (request) => { if (request.method() === "POST") sent.push(request.postData()); });
  await holdEnter("#pick");
  await page.locator("#line-status", { hasText: "Set point A" }).waitFor();
  assert.equal(await page.locator("#x0").inputValue(), "");
  await page.keyboard.press("Escape");
  assert.deepEqual(sent, []);
  await setLine(page, [0, 0], [0, 100]);
  sent.length = 0;
  await holdEnter("#nudge-right");
  await page.locator("#nudge-words", { hasText: "5 cm right" }).waitFor();
  assert.equal(sent.length, 1);
});

test("nudge, snap, tuning and machine reach the service", async () => {
  await setLine(page, [0, 0], [0, 100]);
  await page.locator("#nudge-right").click();
  await page.locator("#nudge-words", { hasText: "5 cm right" }).waitFor();
  assert.equal(Number(await navctl("get-nudge-scalar")), 0.05);
  await page.locator("#snap").click();
  await page.locator("#nudge-words", { hasText: "40 cm right" }).waitFor();
  await page.locator("#unnudge").click();
  await page.locator("#nudge-words", { hasText: /^0 cm/ }).waitFor();
  await page.getByLabel("Sensitivity").focus();
  await page.keyboard.press("End");
  await until(async () => Number(await navctl("get-tuning-parameter", "sensitivity")) === 3, "sensitivity 3");
  await page.locator("#width").fill("6");
  await page.locator("#width").press("Enter");
  await until(async () => Number(await navctl("get-implement-width")) === 6, "a width of 6 m");
});

test("what is being edited stays until it is sent, and Escape puts back what the service has", async () => {
  await page.locator("#width").fill("4.75");
  await page.locator("#engage").focus();
  await navctl("set-tuning-parameter", "sensitivity", "2");
  await page.locator(".slider b").first().filter({ hasText: /^2$/ }).waitFor();
  assert.equal(await page.locator("#width").inputValue(), "4.75");
  await page.locator("#width").press("Escape");
  assert.equal(await page.locator("#width").inputValue(), "3");
  await page.locator("#width").fill("4.75");
  await page.locator("#width").press("Enter");
  await until(async () => Number(await navctl("get-implement-width")) === 4.75, "a width of 4.75 m");
});

test("a condition that is refused is not shown as set", async () => {
  await page.locator("summary", { hasText: "Conditions" }).click();
  const shown = await page.locator("#reverse-enabled").isChecked();
  await page.route("**/command", (route) => route.fulfill({ json: { result: 0, reasons: ["no"] } }));
  await page.locator("#reverse-enabled").click();
  await page.locator("#message.bad", { hasText: "Refused: no" }).waitFor();
  assert.equal(await page.locator("#reverse-enabled").isChecked(), shown);
});

test("a nudge to the driver's right is one to the line's left when the machine drives against it", async () => {
  await setLine(page, [0, 100], [0, 0]);
  await page.locator("#error-words", { hasText: "driven against its direction" }).waitFor();
  await page.locator("#nudge-right").click();
  await page.locator("#nudge-words", { hasText: "5 cm right" }).waitFor();
  assert.equal(await page.locator("#fact-nudge").textContent(), "5 cm right");
  assert.equal(Number(await navctl("get-nudge-scalar")), -0.05);
});

test("against the line's direction figure, words, arrow and lights are the driver's", async () => {
  await setLine(page, [0, 100], [0, 0]);
  const words = "right of the line, driven against its direction → steer left";
  await page.locator("#error-words", { hasText: words }).waitFor();
  assert.equal(await shownError(page), 40);
  await page.locator("#steer-left.now").waitFor();
  assert.ok(Number(await page.locator(".lightbar .lit").last().getAttribute("data-place")) < 0);
});

test("what stands in the way of a step test is told for as long as it does, and when it does no more", async () => {
  await setLine(page, [0, 0], [0, 100]);
  await page.locator("#step-run").click();
  await page.locator("#step-status.bad", { hasText: "Engage first" }).waitFor();
  // A busy machine may not look while it is said.
  await page.evaluate(() => {
    const place = document.querySelector("#step-status");
    window.said_ = [];
    new MutationObserver(() => window.said_.push(place.textContent)).observe(place, { childList: true });
  });
  await engage(page);
  await page.locator("#step-status:not(.bad)", { hasText: "Steady: the step test can be run" }).waitFor();
  const said = await page.evaluate(() => window.said_);
  assert.ok(said.some((text) => text.startsWith("Not steady yet")), said.join(" | "));
});

test("steering is engaged by the keyboard alone", async () => {
  await navctl("set-wayline", "0 0 0 0 0 100 0");
  const target = async () => page.evaluate(() => document.activeElement.id);
  for (const wanted of ["start", "engage"]) {
    await until(async () => {
      if (await target() === wanted) return true;
      await page.keyboard.press("Tab");
      return false;
    }, `Tab reaches ${wanted}`);
    const outline = await page.evaluate(() => getComputedStyle(document.activeElement).outlineStyle);
    assert.equal(outline, "solid", `${wanted} shows its focus`);
    await page.keyboard.press("Enter");
    await page.locator("#message", { hasText: wanted === "start" ? "is active" : "is engaged" }).waitFor();
  }
  await page.locator("#engage-state[data-state=engaged]").waitFor();
  await page.keyboard.press("d");
  await page.locator("#engage-state[data-state=ready]").waitFor();
  await page.keyboard.press("e");
  await page.locator("#engage-state[data-state=engaged]").waitFor();
});

/** Runs the step test as soon as the machine is steady. */
async function startStepTest(page) {
  await until(async () => {
    await page.locator("#step-run").click();
    return /^(Shifting|Running)/.test(await page.locator("#step-status").textContent());
  }, "a machine that is steady");
}

test("a step test is given up when the tuning is changed meanwhile", async () => {
  await setLine(page, [0, 0], [0, 100]);
  await engage(page);
  await startStepTest(page);
  await page.locator("#step-status", { hasText: "Running" }).waitFor();
  await navctl("set-tuning-parameter", "sensitivity", "2");
  await page.locator("#step-status.bad", { hasText: "No score" }).waitFor();
  assert.equal(await page.locator("#scores tbody tr").count(), 0);
});

test("the step test scores two tunings beside each other", async () => {
  await setLine(page, [0, 0], [0, 100]);
  await engage(page);
  for (const [row, sensitivity] of [[1, "1"], [2, "1.5"]]) {
    await page.locator("#error-words", { hasText: "on the line" }).waitFor();
    await navctl("set-tuning-parameter", "sensitivity", sensitivity);
    await page.locator(".slider b").first().filter({ hasText: sensitivity }).waitFor();
    await startStepTest(page);
    await page.locator("#step-status", { hasText: "Scored: settled" }).waitFor({ timeout: 60000 });
    assert.equal(await page.locator("#scores tbody tr").count(), row);
    const cells = await page.locator("#scores tbody tr").first().locator("td").allTextContents();
    const [settled, overshoot, shown] = [Number(cells[0].replace("≈ ", "")), Number(cells[1]), cells[2]];
    console.log(`sensitivity ${shown}: settled after ${settled} m, overshoot ${overshoot} cm`);
    assert.equal(shown, sensitivity);
    assert.ok(settled > 5 && settled < 30, `${settled} m`);
    assert.ok(overshoot >= 0 && overshoot < 10, `${overshoot} cm`);
  }
  const rough = await page.locator("#scores td", { hasText: "≈" }).count(); // on a machine that is busy
  assert.equal(await page.locator("#scores tr.best").count(), rough < 2 ? 1 : 0);
});

test("a drive is recorded by buttons and becomes the line", async () => {
  await page.locator("#record-curve").click();
  await page.locator("#record-words", { hasText: "A-B curve" }).waitFor();
  await page.locator("#record-words", { hasText: / [3-9]\.\d+ m so far/ }).waitFor();
  await page.locator("#record-end").click();
  await page.locator("#record-status", { hasText: "was recorded" }).waitFor();
  assert.equal((await navctl("get-wayline")).trim()[0], "4");
});

test("a new line for an engaged machine moves it by as much as the question says", async () => {
  await setLine(page, [0, 0], [0, 100]);
  await engage(page);
  await page.locator("#error-words", { hasText: "on the line" }).waitFor();
  await page.locator("#x0").fill("0.6");
  await page.locator("#x1").fill("0.6");
  await page.locator("#line-form [type=submit]").click();
  await page.locator("#question", { hasText: /moves about (5|6)\d\.\d cm to the right/ }).waitFor();
  assert.equal(Number((await navctl("get-wayline")).trim().split(/\s+/)[1]), 0);
  await page.locator("#question-yes").click();
  await page.locator("#line-status", { hasText: "is set" }).waitFor();
  await page.locator("#error-words", { hasText: "left of the line" }).waitFor();
  await page.locator("#engage-state[data-state=engaged]").waitFor();
  await page.locator("#error-words", { hasText: "on the line" }).waitFor();
});

test("two tabs of a browser keep their scores together", async () => {
  await setLine(page, [0, 0], [0, 100]);
  const other = await page.context().newPage();
  await other.goto(simulator.page);
  await engage(page);
  for (const [tab, numbers] of [[page, ["1"]], [other, ["2", "1"]]]) {
    await startStepTest(tab);
    await tab.locator("#step-status", { hasText: "Scored: settled" }).waitFor({ timeout: 60000 });
    const shown = async (each) => (await each.locator("#scores tbody th").allTextContents())
      .map((text) => text.replace(" ★", ""));
    for (const each of [page, other]) {
      await until(async () => JSON.stringify(await shown(each)) === JSON.stringify(numbers), `scores ${numbers}`);
    }
  }
});

test("what is said of a new line of any kind is what the service does, to the centimetre", async () => {
  const { newLine } = await load("moves.js");
  const [random, counts] = [randomNumbers(20), { moved: 0, dropped: 0 }];
  const { page: address } = simulator;
  const command = (operation, ...values) => post(address, "command", { operation, arguments: values });
  await command("SetVelocitySetPoint", 0);
  await command("set_low_speed_engage_allowed", true, false);
  await until(async () => (await present(address)).state.speed === 0, "the machine stands");
  for (let trial = 0; trial < 50; trial += 1) {
    const offsets = [0, 1, 2].map(() => (random() < 0.5 ? 0 : random() - 0.5));
    const { state: { x, y, heading } } = await present(address);
    await post(address, "wayline", { text: `1 ${x} ${y} 0 ${heading}` });
    await command("SetImplementOffset", 1, offsets[0]);
    await command("SetFieldOffset", 1, offsets[1]);
    await command("Nudge", 1, 0, offsets[2]);
    const ofSplines = random() < 0.5;
    await command("SetSplinesUseImplementOffset", ofSplines);
    const nearest = random() < 0.5;
    await command("StartNavigation", 1, nearest);
    await command("EngageSteering", 1);
    const model = await until(async () => {
      const newest = await present(address);
      const { state, settings } = newest; // as they were a moment ago
      return state.engage_state_name === "engaged" && state.takes_nearest_pass === nearest
        && settings.nudge === offsets[2] && settings.implement_offset === offsets[0]
        && settings.splines_use_implement_offset === ofSplines && newest;
    }, "the machine is engaged");
    const text = randomLine(trial % 5, model.state, random);
    const said = newLine(text, model);
    await post(address, "wayline", { text });
    const { time } = (await present(address)).state;
    const now = await until(async () => {
      const { state } = await present(address);
      return state.time > time + 0.3 && state;
    }, "the service has looked at where the machine is");
    const what = `trial ${trial}: ${said.text} of ${text.slice(0, 200)}, ${JSON.stringify([offsets, now])}`;
    assert.equal(said.ends === true, now.engage_state_name === "dropped", what);
    counts[said.ends ? "dropped" : "moved"] += 1;
    if (said.ends) continue;
    const by = now.drives_against ? now.cross_track_error : -now.cross_track_error;
    assert.ok(Math.abs(said.by - by) < 0.01, `${by} m: ${what}`);
  }
  assert.ok(counts.moved > 10 && counts.dropped > 10, JSON.stringify(counts));
});
