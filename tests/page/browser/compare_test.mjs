// Step tests that are laid over one another, by a service that says what the test has it say. With PICTURES set to a
// folder, leaves pictures of the panel there.
import { after, afterEach, before, beforeEach, test } from "node:test";
import assert from "node:assert/strict";
import { createRequire } from "node:module";
import { join } from "node:path";
import { readFile } from "node:fs/promises";
import { bePatient, ignoreSilence, line, settings, startScriptedService } from "./scripted_service.mjs";
import { startBrowser } from "./browser.mjs";
import { until } from "./programs.mjs";

const usualLetters = 16;
const sizes = [[1440, 900], [1280, 720], [1024, 768], [800, 480], [360, 740]];
const engaged = { navigating: true, pass: 0, heading_error: 0, cross_track_error: 0, engage_state: 2,
  engage_state_name: "engaged" };
/** The curve of a machine that comes to the line over so many metres and goes past it. */
const curveOf = (settled, overshoot) => Array.from({ length: 41 }, (_, i) => {
  const way = i / 2;
  return [way, Math.round(1000 * (way < settled ? 0.5 * (1 - way / settled) ** 2 : -overshoot * Math.exp((settled - way) / 3))) / 1000];
});
const made = (number, settled, overshoot, others = {}) => ({ number, settled, overshoot, coarse: false,
  parameters: [1, 1.2, 0.8, 1], lookAhead: 1.6, speed: 2, curve: curveOf(settled, overshoot), ...others });
const three = [made(1, 12, 0.01), made(2, 8, 0.03, { parameters: [1.5, 1.2, 0.8, 1], lookAhead: 1.2 }),
  made(3, 14, 0, { speed: 3 })];

let browser;
let service;
let page;
let faults;

before(async () => { browser = await startBrowser(); });
after(() => browser.close());

beforeEach(async () => { service = await startScriptedService({ remembers: true }); });

afterEach(async () => {
  await page.context().close();
  await service.end();
  assert.deepEqual(faults, []);
});

/** Opens the page with tests that the browser keeps. */
async function open(scores, { width = 1280, height = 900, letters = usualLetters, ...options } = {}) {
  const context = await browser.newContext({ viewport: { width, height }, bypassCSP: true, ...options });
  page = await context.newPage();
  faults = [];
  page.on("pageerror", (error) => faults.push(error.message));
  for (const script of [ignoreSilence, bePatient]) await page.addInitScript(script);
  await page.addInitScript((kept) => {
    if (sessionStorage.getItem("begun") === null) localStorage.setItem("step-test-scores", kept);
    sessionStorage.setItem("begun", "yes");
  }, JSON.stringify(scores));
  const session = await context.newCDPSession(page);
  await session.send("Page.enable");
  await session.send("Page.setFontSizes", { fontSizes: { standard: letters, fixed: letters } });
  await page.goto(service.page);
  await begin(1);
}

async function begin(times) {
  await service.asked(times);
  service.trails.at(-1).end('{"interval":0.1,"end":0,"points":[],"run":"1"}');
  service.send("settings", settings);
  service.send("line", line);
  service.tell(1, [0, 0], engaged);
  await page.locator("#engage-state[data-state=engaged]").waitFor();
  await page.locator(".slider").first().waitFor();
}

const items = () => page.locator("#compare-list > li");
const checked = () => page.locator("#compare-list input:checked").count();
const words = () => page.locator("#compare-words li").allTextContents();
const status = (text) => page.locator("#compare-status", { hasText: text }).waitFor();
const button = (name) => page.getByRole("button", { name, exact: true });
/** Whether anything is drawn. */
const isDrawn = () => page.locator("#compare-chart").evaluate((canvas) =>
  canvas.getContext("2d").getImageData(0, 0, canvas.width, canvas.height).data.some((value) => value > 0));

test("two tests lie over one another, with their differences in words", async () => {
  await open(three.slice(0, 2));
  assert.equal(await items().count(), 2);
  assert.equal(await checked(), 2);
  assert.deepEqual(await words(), ["No. 2 settles 4.0 m earlier, overshoots 2.0 cm more than No. 1."]);
  assert.ok(await isDrawn());
  const label = await page.locator("#compare-chart").getAttribute("aria-label");
  assert.match(label, /No\. 1: settled 12\.0 m, past 1\.0 cm; No\. 2: settled 8\.0 m, past 3\.0 cm/);
  assert.equal(await page.locator("#compare-none").isHidden(), true);
});

test("tests from before curves were kept stay scores, and are not compared", async () => {
  const { curve, ...old } = three[0];
  await open([old, three[1], { ...three[2], curve: [[0, "x"]] }]);
  assert.equal(await page.locator("#scores tbody tr").count(), 3);
  assert.equal(await items().count(), 1);
  assert.deepEqual(await words(), []);
  assert.equal(await page.locator("#compare-none").isHidden(), false);
});

test("which are compared is chosen by keyboard, and survives a reload", async () => {
  await open(three);
  assert.equal(await checked(), 2);
  await page.locator("#compare-list input").last().focus();
  await page.keyboard.press("Space");
  assert.equal(await checked(), 3);
  assert.equal(await page.evaluate(() => document.activeElement.dataset.test), "compare 1");
  assert.deepEqual(await words(), ["No. 2 settles 4.0 m earlier, overshoots 2.0 cm more than No. 1.",
    "No. 3 settles 2.0 m later, overshoots 1.0 cm less than No. 1 (at 3.0 m/s in place of 2.0)."]);
  await page.locator("#compare-list input").nth(1).uncheck();
  assert.equal(await checked(), 2);
  const before = await words();
  await page.reload();
  await begin(2);
  assert.deepEqual(await words(), before);
  assert.equal(await items().count(), 3);
});

test("no more lie over one another than can be told apart", async () => {
  await open(Array.from({ length: 9 }, (_, i) => made(i + 1, 8 + i, 0.01)));
  for (let i = 2; i < 6; i += 1) await page.locator("#compare-list input").nth(i).check();
  await page.locator("#compare-list input").nth(6).click();
  await status("6 lie over one another at most");
  assert.equal(await checked(), 6);
});

test("the tuning that a test was taken with is set again", async () => {
  await open(three);
  await button("Use this one: No. 2").click();
  await status("The tuning of No. 2 is set.");
  assert.deepEqual(service.posted.map(({ operation, arguments: values }) => [operation, ...values]), [
    ["set_tuning_parameter", 0, 1.5, false], ["set_tuning_parameter", 1, 1.2, false],
    ["set_tuning_parameter", 2, 0.8, false], ["set_tuning_parameter", 3, 1, false],
    ["set_lookahead_time", 1.2, false]]);
});

test("a tuning that the service would not take is not set at all", async () => {
  await open([made(1, 9, 0, { parameters: [1, 7, 1, 1] }), three[1]]);
  await button("Use this one: No. 1").click();
  await page.locator("#compare-status.bad", { hasText: "Not set: aggressiveness is not from 0.2 to 3." }).waitFor();
  assert.deepEqual(service.posted, []);
});

test("a refusal says how much is set", async () => {
  await open(three);
  let calls = 0;
  await page.route("**/command", (route) => {
    calls += 1;
    return route.fulfill({ json: calls < 3 ? { result: 1, reasons: [] } : { result: 0, reasons: ["set_tuning_parameter refused: no"] } });
  });
  await button("Use this one: No. 2").click();
  await status("Refused: no. 2 of 5 values are set.");
});

test("without a connection no tuning can be set, and tests can be removed", async () => {
  await open(three);
  for (const path of ["**/events", "**/command"]) await page.route(path, (route) => route.abort());
  service.streams.at(-1).destroy();
  await page.locator("body.old #lost").waitFor();
  assert.equal(await button("Use this one: No. 2").isDisabled(), true);
  await button("Remove: No. 2").click();
  assert.equal(await button("Use this one: No. 3").isDisabled(), true);
  assert.equal(await items().count(), 2);
});

test("a test is removed for good, and the focus goes to the next", async () => {
  await open(three);
  await button("Remove: No. 2").focus();
  await page.keyboard.press("Enter");
  await status("No. 2 is removed.");
  assert.equal(await page.evaluate(() => document.activeElement.dataset.test), "remove 1");
  await page.keyboard.press("Enter");
  await page.keyboard.press("Enter");
  assert.equal(await items().count(), 0);
  assert.equal(await page.evaluate(() => document.activeElement.id), "compare-title");
  assert.equal(await page.locator("#compare-chart").isHidden(), true);
  assert.equal(await page.locator("#compare-save").isDisabled(), true);
  assert.equal(await page.evaluate(() => localStorage.getItem("step-test-scores")), "[]");
});

/** Opens a text as a file. */
const openFile = (name, text) => page.locator("#compare-file")
  .setInputFiles({ name, mimeType: "application/json", buffer: Buffer.from(text) });

async function saved() {
  const [download] = await Promise.all([page.waitForEvent("download"), button("Save as a file").click()]);
  assert.equal(download.suggestedFilename(), "step-tests.json");
  return readFile(await download.path(), "utf8");
}

test("tests are saved as a file and opened from it, beside those that are there", async () => {
  await open(three);
  const text = await saved();
  await status("2 tests are saved.");
  assert.deepEqual(JSON.parse(text).tests.map(({ number }) => number), [2, 3]);
  await openFile("colleague.json", text);
  await status("2 tests are opened.");
  assert.equal(await items().count(), 5);
  assert.equal(await checked(), 4);
  assert.deepEqual((await words()).slice(-2), [
    "No. 4 of colleague.json settles after the same way, overshoots as much as No. 2.",
    "No. 5 of colleague.json settles 6.0 m later, overshoots 3.0 cm less than No. 2 (at 3.0 m/s in place of 2.0)."]);
  await button("Use this one: No. 4 of colleague.json").click();
  await status("The tuning of No. 4 of colleague.json is set.");
});

test("a stranger's file that is none is refused with its reason, and changes nothing", async () => {
  await open(three);
  const good = JSON.parse(await saved());
  const files = [
    ["{", "it is not JSON, or cut"],
    [JSON.stringify({ ...good, names: ["x"] }), "its tuning has other parameters than this service"],
    [JSON.stringify({ ...good, tests: [{ ...good.tests[0], curve: [[0, 1e30], [1, 1]] }] }), "test 1: its curve is not one"],
    [`"${"x".repeat(1100000)}"`, "it is larger than 1 MiB"],
    [JSON.stringify({ ...good, tests: Array.from({ length: 28 }, () => good.tests[0]) }),
      "there is room for 30 tests; remove 1 first"],
  ];
  for (const [text, reason] of files) {
    await openFile("<b>strange.json", text);
    await page.locator("#compare-status.bad", { hasText: `<b>strange.json is not opened: ${reason}.` }).waitFor();
    assert.equal(await items().count(), 3);
  }
});

test("a step test keeps its curve, and lies over the one before", async () => {
  await open(three.slice(0, 1));
  let way = 0;
  const tell = (error, nudge) => {
    way += 0.5;
    service.tell(1 + way / 2, [0, way], { ...engaged, cross_track_error: error, nudge });
  };
  for (let i = 0; i < 14; i += 1) tell(0, 0);
  await until(async () => {
    await page.locator("#step-run").click();
    return service.posted.some(({ operation }) => operation === "Nudge");
  }, "the line is shifted");
  for (let i = 0; i < 50; i += 1) tell(-0.5 * Math.max(0, 1 - i / 20), 0.5);
  await page.locator("#step-status", { hasText: "Scored: settled after" }).waitFor();
  assert.equal(await items().count(), 2);
  assert.equal(await checked(), 2);
  const [kept] = await page.evaluate(() => JSON.parse(localStorage.getItem("step-test-scores")).slice(-1));
  assert.deepEqual(kept.curve[0], [0, 0.5]);
  assert.ok(kept.curve.length > 20 && kept.curve.length <= 160, `${kept.curve.length} points`);
  assert.match((await words())[0], /^No\. 2 settles .* than No\. 1\.$/);
});

for (const [width, height] of sizes) {
  for (const letters of [usualLetters, 2 * usualLetters]) {
    test(`all of the panel can be reached at ${width} x ${height}, letters of ${letters} pixels`, async () => {
      await open([...three, made(4, 9, 0.1, { from: "a-very-long-name-of-a-file-of-somebody-else-without-blanks.json" })],
        { width, height, letters });
      await page.locator("#compare-list input").last().check();
      const problems = await page.evaluate(() => {
        const panel = document.querySelector(".compare");
        const box = panel.getBoundingClientRect();
        const found = [];
        if (document.documentElement.scrollWidth > innerWidth) found.push("the page is wider than the window");
        for (const node of panel.querySelectorAll("button, input, canvas, li, b, small")) {
          if (node.getClientRects().length === 0) continue;
          node.scrollIntoView({ block: "center" });
          const { left, right, width: wide, height: high } = node.getBoundingClientRect();
          const here = `${node.tagName} ${node.dataset.test ?? node.id} ${node.textContent.slice(0, 20)}`;
          if (left < panel.getBoundingClientRect().left - 1 || right > panel.getBoundingClientRect().right + 1) found.push(`${here}: beyond the panel`);
          if (wide < 8 || high < 8) found.push(`${here}: ${wide} x ${high}`);
          const at = document.elementFromPoint((left + right) / 2, node.getBoundingClientRect().top + high / 2);
          if (node.matches("button") && !(node === at || node.contains(at))) found.push(`${here}: covered by ${at?.id}`);
        }
        return box.width > 0 ? found : ["no panel"];
      });
      if (process.env.PICTURES) {
        await page.locator("#compare-chart").scrollIntoViewIfNeeded();
        await page.screenshot({ path: join(process.env.PICTURES, `compare-${width}-${letters}.png`) });
      }
      assert.deepEqual(problems, []);
    });
  }
}

for (const colorScheme of ["light", "dark"]) {
  test(`axe finds nothing in the panel, ${colorScheme}`, async () => {
    await open(three, { colorScheme });
    const axe = createRequire(join(process.env.NODE_MODULES, "axe-core/")).resolve("axe-core/axe.min.js");
    await page.addScriptTag({ content: await readFile(axe, "utf8") });
    const found = await page.evaluate(async () => {
      const options = { rules: { "label-content-name-mismatch": { enabled: true }, "target-size": { enabled: true } } };
      const { violations } = await window.axe.run(document.querySelector(".compare"), options);
      return violations.map(({ id, nodes }) => `${id}: ${nodes.map(({ html }) => html.slice(0, 100))}`);
    });
    assert.deepEqual(found, []);
    if (process.env.PICTURES) {
      await page.locator(".compare").screenshot({ path: join(process.env.PICTURES, `compare-${colorScheme}.png`) });
    }
  });
}
