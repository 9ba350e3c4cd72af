// A recording in place of a service: the same page and timeline, nothing drives, and a part of it is saved.
import { after, before, test } from "node:test";
import assert from "node:assert/strict";
import { copyFileSync, mkdtempSync, readFileSync, rmSync, statSync, truncateSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { spawnSync } from "node:child_process";
import { tmpdir } from "node:os";
import { startBrowser } from "./browser.mjs";
import { navctl, startNavctl, startSimulator, until } from "./programs.mjs";

const folder = mkdtempSync(join(tmpdir(), "recorded-"));
const [ofService, ofClient] = ["service.mcap", "client.mcap"].map((name) => join(folder, name));
let browser;
let open = null; // {simulator, page}

/** Has a service drive, engage and drop, all of it recorded by it and by a client. */
before(async () => {
  browser = await startBrowser();
  const simulator = await startSimulator("--speed", "2", "--speed-factor", "5", "--receiver", "ideal", "--record", ofService);
  const post = async (path, value) => {
    const answer = await fetch(simulator.page + path, { method: "POST", headers: { "Content-Type": "application/json" }, body: JSON.stringify(value) });
    return answer.json();
  };
  const client = startNavctl("--record", ofClient, "watch");
  await until(() => client.lines.length > 20, "events");
  await post("wayline", { text: "0 0.3 0 0 0.3 100 0" });
  await post("command", { operation: "StartNavigation", arguments: [1, 1] });
  assert.equal((await post("command", { operation: "EngageSteering", arguments: [1] })).result, 1);
  await until(async () => (await post("command", { operation: "IsSteeringEngaged" })).result, "engaged");
  const engagedFor = client.lines.length + 400;
  await until(() => client.lines.length > engagedFor, "a while");
  await post("command", { operation: "simulator_fault", arguments: ["gnss-outage", "on", 8] });
  const marks = () => fetch(`${simulator.page}history`).then((answer) => answer.json()).then((index) => index.marks);
  await until(async () => (await marks()).some(({ kind }) => kind === "dropped"), "a drop");
  const droppedFor = client.lines.length + 60;
  await until(() => client.lines.length > droppedFor, "a while");
  await client.end("SIGINT");
  await simulator.end();
});
after(async () => {
  await browser.close();
  rmSync(folder, { recursive: true });
});

/** Opens the page with a recording. */
async function view(file, test) {
  const simulator = await startSimulator("--view", file);
  const page = await (await browser.newContext({ viewport: { width: 1280, height: 720 }, acceptDownloads: true })).newPage();
  page.setDefaultTimeout(30000);
  page.faults = [];
  page.on("pageerror", (error) => page.faults.push(error.message));
  await page.goto(simulator.page);
  open = { simulator, page };
  test.after(async () => {
    await page.context().close();
    assert.equal(await simulator.end(), 0);
    assert.deepEqual(page.faults, []);
  });
  return page;
}

const text = (page, id) => page.locator(`#${id}`).innerText();
const index = () => fetch(`${open.simulator.page}history`).then((answer) => answer.json());
const valueText = (page) => page.locator("#timeline").getAttribute("aria-valuetext");

test("a service's recording is looked at like the last hour, with why steering was dropped", async (t) => {
  const page = await view(ofService, t);
  await page.locator("#past").waitFor();
  assert.match(await page.title(), /^◷ recording service\.mcap/);
  assert.match(await text(page, "engage-state"), /recording/i);
  await page.locator("#message", { hasText: "service.mcap" }).waitFor();
  const { marks } = await index();
  const kinds = marks.map(({ kind }) => kind);
  for (const kind of ["engaged", "fault", "dropped"]) assert.ok(kinds.includes(kind), kind);
  for (let i = 0; i < 20 && !(await valueText(page)).includes("dropped: "); i += 1) await page.locator("#mark-after").click();
  assert.match(await valueText(page), /dropped: the receiver has had no usable position/);
  const north = await page.locator("#fact-time").textContent();
  assert.match(north, /^\d\d:\d\d$/);
  assert.equal(await text(page, "fact-speed"), "2.0");
  await page.locator("#happened").click();
  assert.match(await text(page, "happened-words"), /Steering was dropped at .*no usable position.*\n.*the line, at 2\.0 m\/s.*\n.*no position.*\n.*gnss-outage/s);
});

test("nothing drives: buttons that command are off, keys say so, and Disengage is answered", async (t) => {
  const page = await view(ofService, t);
  await page.locator("#past").waitFor();
  for (const id of ["engage", "start", "nudge-left", "tuning-start", "clear-line"]) {
    assert.equal(await page.locator(`#${id}`).isDisabled(), true, id);
  }
  assert.equal(await page.locator("#past-leave").isVisible(), false);
  await page.keyboard.press("e");
  await page.locator("#message", { hasText: "this is a recording: nothing is driven here" }).waitFor();
  await page.keyboard.press("Escape");
  assert.equal(await page.locator("#past").isVisible(), true);
  const answer = await fetch(`${open.simulator.page}command`, { method: "POST", headers: { "Content-Type": "application/json" },
    body: '{"operation":"EngageSteering","arguments":[1]}' });
  assert.equal(answer.status, 409);
  await page.locator("#disengage").click();
  await page.locator("#message", { hasText: "nothing is driven" }).waitFor();
});

test("a client's recording is shown as far as it tells places and states", async (t) => {
  const page = await view(ofClient, t);
  await page.locator("#past").waitFor();
  const { marks, pieces, open: samples } = await index();
  assert.ok(pieces * 600 + samples > 50);
  assert.deepEqual(marks.filter(({ kind }) => ["engaged", "dropped"].includes(kind)).map(({ kind }) => kind), ["engaged", "dropped"]);
  for (let i = 0; i < 20 && !(await valueText(page)).includes("dropped: "); i += 1) await page.locator("#mark-after").click();
  await page.locator("#happened").click();
  assert.match(await text(page, "happened-words"), /the reason is not in the recording/);
  assert.match(await text(page, "past-then"), /of the line|on the line/);
});

test("a part is chosen on the timeline, saved, and opened again", async (t) => {
  const page = await view(ofService, t);
  await page.locator("#past").waitFor();
  await page.locator("#timeline").focus();
  for (let i = 0; i < 2; i += 1) await page.keyboard.press("ArrowRight");
  await page.locator("#part-from").click();
  await page.locator("#timeline").focus();
  await page.keyboard.press("ArrowRight");
  await page.locator("#part-to").click();
  assert.match(await text(page, "part-said"), /The part from 00:02 to 00:03, 1\.0 s/);
  const saved = page.waitForEvent("download");
  await page.locator("#part-save").click();
  const download = await saved;
  assert.equal(download.suggestedFilename(), "service-part.mcap");
  const part = join(folder, "part.mcap");
  await download.saveAs(part);
  await page.locator("#part-said", { hasText: "Saved" }).waitFor();
  assert.ok(statSync(part).size < statSync(ofService).size / 2);
  // The same as by the command line.
  const cut = join(folder, "cut.mcap");
  const [, from, to] = /(\d+)-(\d+)/.exec(await page.evaluate(() => performance.getEntriesByType("resource")
    .map(({ name }) => name).find((name) => name.includes("/recording/"))));
  await navctl("recording", "cut", ofService, cut, "--from", String(from / 1000), "--to", String(to / 1000));
  assert.deepEqual(readFileSync(part), readFileSync(cut));
  const again = await view(part, t);
  await again.locator("#past").waitFor();
  const { pieces, open: samples, marks } = await index();
  assert.ok(pieces === 0 && samples > 20 && samples < 80, `${samples} samples of a second at five times the pace`);
  assert.ok(marks.every(({ kind }) => kind !== "dropped"));
});

test("a recording that is cut says so, and what is there is shown", async (t) => {
  const cut = join(folder, "short.mcap");
  copyFileSync(ofService, cut);
  truncateSync(cut, Math.floor(statSync(cut).size / 2) + 7);
  const page = await view(cut, t);
  await page.locator("#past").waitFor();
  await page.locator("#message.bad", { hasText: /it is cut after \d+\.\d s.*What could be read is shown/ }).waitFor();
  assert.match(open.simulator.errors, /short\.mcap: it is cut after/);
});

test("a recording without places says so", async (t) => {
  const bare = join(folder, "bare.mcap");
  const client = startNavctl("--record", bare, "engage-steering"); // there is no service
  await client.end(0);
  const page = await view(bare, t);
  await page.locator("#message.bad", { hasText: "it tells of no place of the machine" }).waitFor();
});

/** What the program says and exits with. */
const run = (...values) => spawnSync(process.env.NAVIGATION_SIMULATOR, values, { encoding: "utf8", timeout: 30000 });

test("what is no recording, not there, or beside other options ends the program with the reason", () => {
  const text = join(folder, "text.mcap");
  writeFileSync(text, "this is no recording at all, but a text that is long enough for one\n");
  for (const [values, reason] of [
    [["--view", text, "--http", "0"], /text\.mcap: .*MCAP/],
    [["--view", join(folder, "none.mcap"), "--http", "0"], /none\.mcap: No such file/],
    [["--view", folder, "--http", "0"], /no ordinary file/],
    [["--view", ofService], /wants --http/],
    [["--view", ofService, "--http", "0", "--speed", "2"], /only --http goes with it, not --speed/],
  ]) {
    const { status, stderr } = run(...values);
    assert.equal(status, 2, stderr);
    assert.match(stderr, reason);
  }
});
