// The accuracy report of the drive so far, saved by the page's button: what it is, and that nothing waits for it.
import { after, afterEach, before, beforeEach, test } from "node:test";
import assert from "node:assert/strict";
import { createRequire } from "node:module";
import { pathToFileURL } from "node:url";
import { join } from "node:path";
import { mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { readFile } from "node:fs/promises";
import { tmpdir } from "node:os";
import { bePatient, ignoreSilence } from "./scripted_service.mjs";
import { engage, openPage, setLine, startBrowser } from "./browser.mjs";
import { startSimulator, until } from "./programs.mjs";

let browser;
let simulator;
let page;

before(async () => { browser = await startBrowser(); });
after(() => browser.close());

beforeEach(async () => {
  simulator = await startSimulator("--speed", "2.5", "--speed-factor", "10", "--start", "0.2,0,0", "--seed", "11",
    "--ground", "field", "--log-level", "error");
  page = await openPage(browser, simulator.page, {}, [ignoreSilence, bePatient]);
});

afterEach(async () => {
  const { faults } = page;
  await page.context().close();
  await simulator.end();
  assert.deepEqual(faults, []);
});

/** Saves the report and gives its text. */
async function report() {
  const [download] = await Promise.all([page.waitForEvent("download"), page.locator("#save-report").click()]);
  assert.equal(download.suggestedFilename(), "accuracy-report.html");
  await page.locator("#log-status", { hasText: "The report is saved." }).waitFor();
  return readFile(await download.path(), "utf8");
}

test("without a drive to report the button says why", async () => {
  await page.locator("#save-report").focus();
  await page.keyboard.press("Enter");
  await page.locator("#log-status.bad", { hasText: "No report: steering was never engaged while the machine moved" }).waitFor();
});

test("the report of the drive so far is saved by the keyboard, and says what repeats the drive", async () => {
  await setLine(page, [0, 0], [0, 100]);
  await engage(page);
  await until(async () => /of [3-9]\d+ states/.test(await page.locator("#history-words").textContent()), "states");
  const html = await report();
  assert.match(html, /<h1>Accuracy of the drive so far/);
  assert.match(html, /version \d+\.\d+\.\d+: navigation-simulator --speed-factor 10 --ground field --start 0\.2,0,0 --speed 2\.5 --seed 11</);
  assert.match(html, /Machine: 95 % within \d+\.\d cm; implement: 95 % within \d+\.\d cm\. These figures rest on \d+ samples/);
  assert.equal((html.match(/<svg/g) ?? []).length, 4);
  assert.doesNotMatch(html, /<script|--http|--port/);
});

/** What of a report cannot be seen whole at its width. */
function cutParts() {
  const found = [];
  for (const node of document.querySelectorAll("svg, table, h1, h2, figcaption")) {
    const { left, right } = node.getBoundingClientRect();
    const scrolls = node.closest(".scroll");
    if (left < -1 || (right > innerWidth + 1 && scrolls === null)) found.push(`${node.tagName}: ${left} to ${right}`);
  }
  for (const text of document.querySelectorAll("svg text")) {
    const picture = text.closest("svg").getBoundingClientRect();
    const { left, right, top, bottom } = text.getBoundingClientRect();
    if (left < picture.left - 1 || right > picture.right + 1 || top < picture.top - 1 || bottom > picture.bottom + 1) {
      found.push(`${text.textContent} is cut`);
    }
  }
  return found;
}

test("the report needs no network and no script, fits a telephone and A4, and prints", async () => {
  await setLine(page, [0, 0], [0, 100]);
  await engage(page);
  await until(async () => /of [3-9]\d+ states/.test(await page.locator("#history-words").textContent()), "states");
  const folder = mkdtempSync(join(tmpdir(), "accuracy-report-"));
  const path = join(folder, "report.html");
  writeFileSync(path, await report());
  const context = await browser.newContext({ javaScriptEnabled: true, offline: true });
  const shown = await context.newPage();
  const asked = [];
  shown.on("request", (request) => asked.push(request.url()));
  try {
    for (const [width, media] of [[360, "screen"], [1280, "screen"], [703, "print"]]) {
      await shown.setViewportSize({ width, height: 900 });
      await shown.emulateMedia({ media });
      await shown.goto(pathToFileURL(path).href);
      assert.deepEqual(await shown.evaluate(cutParts), [], `${width} pixels, ${media}`);
      const kept = process.env.NODE_MODULES;
      await shown.addScriptTag({ path: createRequire(join(kept, "axe-core/")).resolve("axe-core/axe.min.js") });
      assert.deepEqual(await shown.evaluate(async () => (await window.axe.run(document)).violations
        .map(({ id, nodes }) => `${id}: ${nodes.map(({ html }) => html.slice(0, 100))}`)), []);
      if (process.env.PICTURES) {
        await shown.screenshot({ path: join(process.env.PICTURES, `report-${width}.png`), fullPage: true });
      }
    }
    assert.ok(asked.every((url) => url.startsWith("file:")), asked.join());
    const pdf = await shown.pdf({ preferCSSPageSize: true });
    assert.match(pdf.toString("latin1"), /\/MediaBox ?\[ ?0 0 59[45](\.\d+)? 84[12](\.\d+)? ?\]/);
  } finally {
    await context.close();
    rmSync(folder, { recursive: true });
  }
});
