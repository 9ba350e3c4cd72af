// That the page can be read and used by whoever sits before it, by measure.
import { test } from "node:test";
import assert from "node:assert/strict";
import { open, usualLetters } from "./whole_page.mjs";

const leastTarget = 44; // CSS pixels, with letters of the usual size

/** The controls that are smaller than a finger needs, with what belongs to them. */
function smallTargets(least) {
  const areaOf = (node) => {
    const own = node.getBoundingClientRect();
    const label = node.closest("label:has(input[type=checkbox], input[type=radio])")?.getBoundingClientRect() ?? own;
    return [Math.max(own.width, label.width), Math.max(own.height, label.height)];
  };
  return [...document.querySelectorAll(":is(main, #question) :is(button, input, select, textarea, summary)")]
    .filter((node) => node.checkVisibility() && areaOf(node).some((length) => length < least - 0.5))
    .map((node) => `${node.id || node.outerHTML.slice(0, 60)}: ${areaOf(node)}`);
}

for (const letters of [usualLetters, 2 * usualLetters]) {
  test(`with letters of ${letters} pixels everything has their scale, and targets are large enough for a finger`, async () => {
    const page = await open("dropped", { letters });
    assert.deepEqual(await page.evaluate(smallTargets, (leastTarget * letters) / usualLetters), []);
    const small = await page.evaluate((least) =>
      [...document.querySelectorAll(".legend li, #scores :is(th, td), .state, .words, .why li, #log, .field > *")]
        .filter((node) => Number.parseFloat(getComputedStyle(node).fontSize) < least && !node.matches("small"))
        .map((node) => node.outerHTML.slice(0, 80)), 0.9 * letters);
    assert.deepEqual(small, []);
    await page.context().close();
  });
}

/** How strong the edges of controls stand out from what is on both sides of them. */
function weakEdges() {
  const channels = (colour) => colour.match(/[\d.]+/g).map(Number);
  const luminance = (colour) => {
    const [red, green, blue] = channels(colour).map((value) => value / 255)
      .map((value) => (value <= 0.04045 ? value / 12.92 : ((value + 0.055) / 1.055) ** 2.4));
    return 0.2126 * red + 0.7152 * green + 0.0722 * blue;
  };
  const contrast = (a, b) => {
    const [dark, light] = [luminance(a), luminance(b)].sort((x, y) => x - y);
    return (light + 0.05) / (dark + 0.05);
  };
  const ground = (node) => {
    const colour = getComputedStyle(node).backgroundColor;
    return channels(colour)[3] === 0 ? ground(node.parentElement) : colour;
  };
  return [...document.querySelectorAll("main :is(input[type=number], select, textarea, button:not(:disabled))")]
    .filter((node) => node.checkVisibility())
    .map((node) => [node, contrast(getComputedStyle(node).borderTopColor, ground(node.parentElement))])
    .filter(([, ratio]) => ratio < 3)
    .map(([node, ratio]) => `${node.id || node.outerHTML.slice(0, 60)}: ${ratio.toFixed(2)}`);
}

for (const colorScheme of ["light", "dark"]) {
  test(`edges of controls stand out three to one, ${colorScheme}`, async () => {
    const page = await open("not ready", { colorScheme });
    assert.deepEqual(await page.evaluate(weakEdges), []);
    await page.context().close();
  });
}

for (const [width, height] of [[1280, 800], [1024, 768], [800, 480], [360, 740]]) {
  for (const letters of [usualLetters, 2 * usualLetters]) {
    test(`at ${width} x ${height} with letters of ${letters} pixels nothing lies over the machine on the map`, async () => {
      const page = await open("engaged", { letters, viewport: { width, height } });
      const over = await page.evaluate(() => {
        // An open one may: it is whole in view before anything else.
        document.querySelector("#question").hidden = true;
        const map = document.querySelector("#map");
        map.scrollIntoView({ block: "end" });
        const { left, top, width: wide, height: high } = map.getBoundingClientRect();
        const hit = (part) => document.elementFromPoint(left + wide / 2, top + high * part);
        // Where the machine is, heading up and north up.
        return [0.7, 0.5].map(hit).filter((node) => node !== map).map((node) => node?.outerHTML.slice(0, 80) ?? "nothing");
      });
      assert.deepEqual(over, []);
      await page.context().close();
    });
  }
}
