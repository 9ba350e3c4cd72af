// How the page looks and how fast it draws. With PICTURES set to a folder, leaves pictures there.
import { after, before, test } from "node:test";
import assert from "node:assert/strict";
import { join } from "node:path";
import { engage, openPage, setLine, startBrowser } from "./browser.mjs";
import { startSimulator } from "./programs.mjs";

const hourOfPoints = 36000;
const measurements = 3;
let browser;
let simulator;

before(async () => {
  browser = await startBrowser();
  simulator = await startSimulator("--port", "0", "--speed", "2.5", "--start", "0.6,-10,0");
  const page = await openPage(browser, simulator.page);
  await setLine(page, [0, 0], [0, 60]);
  await engage(page);
  await page.context().close();
});

after(async () => {
  await browser.close();
  await simulator.end();
});

async function keepPicture(page, name) {
  if (process.env.PICTURES) await page.screenshot({ path: join(process.env.PICTURES, name) });
}

for (const [width, height, colorScheme] of [
  [360, 740, "dark"], [360, 740, "light"], [768, 1024, "light"], [1024, 768, "light"],
  [1280, 900, "dark"], [1920, 1080, "light"], [1920, 1080, "dark"],
]) {
  test(`at ${width} pixels, ${colorScheme}, nothing reaches over the side`, async () => {
    const page = await openPage(browser, simulator.page, { viewport: { width, height }, colorScheme });
    await page.locator(".slider").first().waitFor();
    const [content, over] = await page.evaluate(() => [document.documentElement.scrollWidth,
      [...document.querySelectorAll("main *:not(.scroll *, .unseen, .file *)")]
        .filter((node) => node.getBoundingClientRect().right > window.innerWidth)
        .map((node) => node.outerHTML.slice(0, 80))]);
    assert.equal(content, width);
    assert.deepEqual(over, []);
    const paper = await page.evaluate(() => getComputedStyle(document.body).backgroundColor);
    const [red] = /\d+/.exec(paper);
    assert.equal(Number(red) < 128, colorScheme === "dark", paper);
    await keepPicture(page, `${width}-${colorScheme}.png`);
    await page.context().close();
  });
}

/** The controls that something else lies over when they are scrolled into view, or that stay out of it. */
function coveredControls() {
  document.querySelectorAll("details").forEach((details) => { details.open = true; });
  const isItself = (node, hit) => node.contains(hit) || hit?.closest("label")?.control === node;
  return [...document.querySelectorAll("main :is(button, input, select, textarea, summary, canvas)")]
    .filter((node) => node.checkVisibility())
    .map((node) => {
      node.scrollIntoView({ block: "nearest" });
      const { left, top, width, height } = node.getBoundingClientRect();
      return [node, document.elementFromPoint(left + width / 2, top + height / 2)];
    })
    .filter(([node, hit]) => !isItself(node, hit))
    .map(([node, hit]) => `${node.id || node.outerHTML.slice(0, 60)} under ${hit?.outerHTML.slice(0, 60)}`);
}

for (const [width, height] of [
  [360, 740], [600, 900], [1000, 700], [1024, 768], [1280, 900], [1440, 900], [1500, 900], [1920, 600], [1920, 1080],
]) {
  test(`at ${width} x ${height} pixels each control can be reached, and the page ends with its last one`, async () => {
    const page = await openPage(browser, simulator.page, { viewport: { width, height } });
    await page.locator(".slider").first().waitFor();
    await page.locator("#pick").click(); // its hint lies on the map
    assert.deepEqual(await page.evaluate(coveredControls), []);
    const [scrolled, end] = await page.evaluate(() => [document.documentElement.scrollHeight,
      Math.max(window.innerHeight, document.querySelector("main").getBoundingClientRect().bottom + window.scrollY)]);
    assert.ok(scrolled <= Math.ceil(end), `${scrolled} pixels of ${end}`);
    await page.context().close();
  });
}

test("forced colours leave the unlit lights to be seen", async () => {
  const page = await openPage(browser, simulator.page, { forcedColors: "active" });
  const edge = await page.locator(".lightbar i:not(.lit)").first()
    .evaluate((node) => getComputedStyle(node).borderTopStyle);
  assert.equal(edge, "solid");
  await keepPicture(page, "forced.png");
  await page.context().close();
});

test("each control has a name", async () => {
  const page = await openPage(browser, simulator.page);
  const nameless = await page.evaluate(() => [...document.querySelectorAll("button, input, select, textarea")]
    .filter((node) => !(node.getAttribute("aria-label") || node.textContent.trim()
      || [...(node.labels ?? [])].some((label) => label.textContent.trim())))
    .map((node) => node.outerHTML));
  assert.deepEqual(nameless, []);
  await page.context().close();
});

/** An hour of driving to and fro in a field. */
const hour = () => Array.from({ length: hourOfPoints }, (_, i) => {
  const [pass, way] = [Math.floor(i / 800), (i % 800) * 0.25];
  return [pass * 3 + 0.01 * Math.sin(i), (pass % 2 === 0 ? way : 200 - way) + 0.01 * Math.cos(i)];
});

/** Counts from now on how often the map is drawn, and the time that the drawing of frames takes. */
function countFrames() {
  const request = window.requestAnimationFrame.bind(window);
  window.frames_ = { maps: 0, drawing: [] };
  window.requestAnimationFrame = (draw) => request((time) => {
    const begin = performance.now();
    draw(time);
    window.frames_.drawing.push(performance.now() - begin);
  });
  // Each drawing of the map begins with asking for its context.
  const { getContext } = HTMLCanvasElement.prototype;
  HTMLCanvasElement.prototype.getContext = function counted(...values) {
    if (this.id === "map") window.frames_.maps += 1;
    return getContext.apply(this, values);
  };
}

const part = (values, of) => [...values].sort((a, b) => a - b)[Math.floor(values.length * of)];

/** How often a second the map is drawn for some time, and how long most frames take. */
async function drawnWithin(page, milliseconds) {
  await page.evaluate(() => Object.assign(window.frames_, { maps: 0, drawing: [], begin: performance.now() }));
  await page.waitForTimeout(milliseconds);
  const { maps, drawing, taken } = await page.evaluate(() =>
    ({ ...window.frames_, taken: performance.now() - window.frames_.begin }));
  return { rate: (maps * 1000) / taken, middle: part(drawing, 0.5), high: part(drawing, 0.95) };
}

/** The page with a trail, zoomed out by the wheel. */
async function openWithTrail(points, wheel) {
  const context = await browser.newContext({ viewport: { width: 1920, height: 1080 } });
  const page = await context.newPage();
  await page.addInitScript(countFrames);
  await page.route("**/trail", (route) =>
    route.fulfill({ json: { interval: 0.1, end: 3600, points } }));
  await page.goto(simulator.page);
  await page.locator("#connection", { hasText: "● connected" }).waitFor();
  await page.locator("#map").hover();
  await page.mouse.wheel(0, wheel);
  return page;
}

/** Measures what a page draws within some seconds. */
async function measured(name, points, wheel) {
  const page = await openWithTrail(points, wheel);
  const drawn = await drawnWithin(page, 3000);
  await keepPicture(page, `hour-${points.length}-${wheel}.png`);
  await page.context().close();
  console.log(`${name}: the map is drawn ${drawn.rate.toFixed(1)} times a second; a frame takes `
    + `${drawn.middle.toFixed(1)} ms, 95 % of them at most ${drawn.high.toFixed(1)} ms`);
  return drawn.rate;
}

// Beside a map without a trail, which what else the machine does slows down as much.
for (const [name, wheel] of [["near", 0], ["all of it", 3000]]) {
  test(`an hour of trail is drawn at least half as often as none, seen ${name}`, async () => {
    const ratios = [];
    for (let i = 0; i < measurements; i += 1) {
      const empty = await measured(`${name}, no trail`, [], wheel);
      ratios.push(await measured(`${name}, an hour`, hour(), wheel) / empty);
    }
    assert.ok(part(ratios, 0.5) >= 0.5, `of the empty map's rate: ${ratios.map((ratio) => ratio.toFixed(2))}`);
  });
}
