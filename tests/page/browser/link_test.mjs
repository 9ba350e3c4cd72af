// What the page and the program do when the other one goes.
import { after, before, test } from "node:test";
import assert from "node:assert/strict";
import { readdirSync } from "node:fs";
import { engage, openPage, setLine, startBrowser } from "./browser.mjs";
import { startSimulator, until } from "./programs.mjs";

const visits = 200;
const atOnce = 4;
let browser;

before(async () => { browser = await startBrowser(); });
after(() => browser.close());

/** How many threads and descriptors a process has. */
const held = (pid) =>
  ["task", "fd"].map((kind) => readdirSync(`/proc/${pid}/${kind}`).length);

async function showsTheLoss(page) {
  await page.locator("#lost", { hasText: "Connection lost" }).waitFor();
  assert.equal(await page.locator("#connection").textContent(), "✕ no connection");
  assert.equal(await page.locator("#engage").isDisabled(), true);
  assert.match(await page.locator("#engage-state small").evaluate(
    (node) => getComputedStyle(node, "::after").content), /old/);
  assert.equal(await page.locator("#sliders input").first().isDisabled(), true);
  assert.equal(await page.locator("#step-clear").isDisabled(), false);
  await page.keyboard.press("e");
  await page.locator("#message.bad", { hasText: "Not sent" }).waitFor();
}

async function showsTheReturn(page, said = "") {
  await page.locator("#lost").waitFor({ state: "hidden" });
  await page.locator("#connection", { hasText: "● connected" }).waitFor();
  assert.equal(await page.locator("#engage").isDisabled(), false);
  assert.equal(await page.locator("#sliders input").first().isDisabled(), false);
  await until(async () => await page.locator("#message").textContent() === said, `"${said}" is said`);
  const time = await page.locator("#fact-time").textContent();
  await until(async () => await page.locator("#fact-time").textContent() !== time, "time goes on");
}

test("a killed service shows as lost, and comes back by itself", async () => {
  const first = await startSimulator("--port", "0", "--speed", "2");
  const page = await openPage(browser, first.page);
  await first.end("SIGKILL");
  await showsTheLoss(page);
  const second = await startSimulator("--port", "0", "--speed", "2", "--http", new URL(first.page).port);
  await showsTheReturn(page, "The service has been started anew: look at line and settings.");
  await page.context().close();
  assert.equal(await second.end(), 0);
});

test("a service that hangs shows as lost, and comes back by itself", async () => {
  const simulator = await startSimulator("--port", "0", "--speed", "2");
  const page = await openPage(browser, simulator.page);
  simulator.process.kill("SIGSTOP");
  await showsTheLoss(page);
  simulator.process.kill("SIGCONT");
  await showsTheReturn(page);
  await page.context().close();
  assert.equal(await simulator.end(), 0);
});

test("the page comes by two requests, compressed, and is not sent again to who has it", async () => {
  const simulator = await startSimulator("--port", "0", "--speed", "2");
  const page = await (await browser.newContext()).newPage();
  const parts = [];
  page.on("response", async (response) => {
    const { pathname } = new URL(response.url());
    // What comes after the page itself: what it shows, and the icon of the tab.
    if (["/events", "/trail", "/icon.svg"].includes(pathname)) return;
    parts.push(response.allHeaders().then((headers) => [pathname, headers["content-encoding"], headers.etag]));
  });
  await page.goto(simulator.page);
  await page.locator("#connection", { hasText: "● connected" }).waitFor();
  const [document_, script] = await Promise.all(parts);
  assert.deepEqual([parts.length, document_.slice(0, 2), script.slice(0, 2)],
    [2, ["/", "gzip"], ["/page.js", "gzip"]]);
  const again = await fetch(`${simulator.page}page.js`,
    { headers: { "Accept-Encoding": "gzip", "If-None-Match": script[2] } });
  assert.equal(again.status, 304);
  await page.context().close();
  await simulator.end();
});

test("of seventeen viewers the one that has been there longest gives way to the page", async () => {
  const simulator = await startSimulator("--port", "0", "--speed", "2");
  const leave = new AbortController();
  const given = [];
  const view = async (number) => {
    const { status, body } = await fetch(`${simulator.page}events`, { signal: leave.signal });
    body.pipeTo(new WritableStream()).then(() => given.push(number), () => {});
    return status;
  };
  const statuses = [await view(0), ...await Promise.all(Array.from({ length: 15 }, (_, i) => view(i + 1)))];
  assert.deepEqual([...new Set(statuses)], [200]);
  const page = await openPage(browser, simulator.page);
  await until(() => given.length > 0, "one gives way");
  assert.deepEqual(given, [0]);
  leave.abort();
  await page.context().close();
  await simulator.end();
});

test("a page that is refused the stream says why, and comes back by itself", async () => {
  const simulator = await startSimulator("--port", "0", "--speed", "2");
  const page = await (await browser.newContext()).newPage();
  await page.route("**/events", (route) => route.fulfill({ status: 503, json: { error: "a viewer too many" } }));
  await page.goto(simulator.page);
  await page.locator("#lost", { hasText: "Refused: a viewer too many." }).waitFor();
  await page.unroute("**/events");
  await showsTheReturn(page);
  await page.context().close();
  await simulator.end();
});

/** Lets a tab be hidden by `hide_`: a browser without a screen shows all of them at once. */
function canBeHidden() {
  let hidden = false;
  Object.defineProperty(document, "hidden", { get: () => hidden });
  window.hide_ = (on) => {
    hidden = on;
    document.dispatchEvent(new Event("visibilitychange"));
  };
}

/** Opens tabs of one window, of which only the last is seen. */
async function openTabs(context, address, count) {
  const tabs = [];
  for (let i = 0; i < count; i += 1) {
    const tab = await context.newPage();
    await tab.addInitScript(canBeHidden);
    await tab.goto(address);
    await tab.locator("#connection", { hasText: "● connected" }).waitFor();
    if (i < count - 1) await tab.evaluate(() => window.hide_(true));
    tabs.push(tab);
  }
  return tabs;
}

test("of eight tabs the one that is seen is served", async () => {
  const simulator = await startSimulator("--port", "0", "--speed", "2.5", "--start", "0.4,0,0");
  const context = await browser.newContext();
  const tabs = await openTabs(context, simulator.page, 8);
  const last = tabs.at(-1);
  await setLine(last, [0, 0], [0, 100]);
  await engage(last);
  await last.locator("#disengage").click();
  await last.locator("#engage-state[data-state=ready]").waitFor();
  for (const tab of tabs) assert.equal(await tab.locator("#lost").isHidden(), true);
  const old = await tabs[0].locator("#fact-time").textContent();
  await last.evaluate(() => window.hide_(true));
  await tabs[0].evaluate(() => window.hide_(false));
  await until(async () => await tabs[0].locator("#fact-time").textContent() !== old, "the first is served");
  await context.close();
  await simulator.end();
});

test(`${visits} visits leave no thread and no descriptor behind`, async () => {
  const simulator = await startSimulator("--port", "0", "--speed", "2");
  const context = await browser.newContext();
  const visit = async () => {
    const page = await context.newPage();
    await page.goto(simulator.page);
    await page.locator("#connection", { hasText: "● connected" }).waitFor();
    await page.close();
  };
  await until(() => held(simulator.pid)[0] > 0, "the simulator runs");
  const before = held(simulator.pid);
  await Promise.all(Array.from({ length: atOnce }, async () => {
    for (let i = 0; i < visits / atOnce; i += 1) await visit();
  }));
  const same = () => {
    const now = held(simulator.pid);
    return now[0] <= before[0] && now[1] <= before[1];
  };
  await until(same, `threads and descriptors go back to ${before}; ${held(simulator.pid)}`);
  console.log(`threads, descriptors before ${before}, after ${visits} visits ${held(simulator.pid)}`);
  await context.close();
  assert.equal(await simulator.end(), 0);
});
