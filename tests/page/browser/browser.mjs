// A headless Chromium, and what the tests do with the page.
import { createRequire } from "node:module";
import { join } from "node:path";

const { chromium } = createRequire(join(process.env.NODE_MODULES, "playwright-core/"))("playwright-core");

/** Starts the browser. As root it cannot have its sandbox. */
export const startBrowser = () => chromium.launch({
  executablePath: process.env.CHROMIUM,
  args: process.getuid() === 0 ? ["--no-sandbox"] : [],
});

/** Opens the page in a context of its own, `scripts` first; faults of its scripts are kept in `faults`. */
export async function openPage(browser, address, options = {}, scripts = []) {
  const context = await browser.newContext({ viewport: { width: 1280, height: 900 }, ...options });
  const page = await context.newPage();
  page.setDefaultTimeout(30000);
  page.faults = [];
  page.on("pageerror", (error) => page.faults.push(error.message));
  page.on("console", (message) => {
    const refused = message.text().startsWith("Failed to load resource"); // a reply like any other
    if (message.type() === "error" && !refused) page.faults.push(message.text());
  });
  for (const script of scripts) await page.addInitScript(script);
  await page.goto(address);
  await page.locator("#connection", { hasText: "● connected" }).waitFor();
  await page.locator("#engage-state:not([data-state=unknown])").waitFor();
  return page;
}

/** Has the browser be set to letters of a size, pixels. */
export async function setLetters(page, pixels) {
  const session = await page.context().newCDPSession(page);
  await session.send("Page.enable");
  await session.send("Page.setFontSizes", { fontSizes: { standard: pixels, fixed: pixels } });
}

/** Which of the page's parts, by their ids, cannot be seen as a whole, or lie under something else. */
export const covered = (page, ids) => page.evaluate((names) => names.filter((id) => {
  const node = document.getElementById(id);
  const { left, top, right, width, bottom, height } = node.getBoundingClientRect();
  const hits = [0.1, 0.5, 0.9].map((part) => document.elementFromPoint(left + width * part, top + height / 2));
  return top < 0 || left < 0 || bottom > innerHeight + 1 || right > innerWidth + 1 || hits.some((hit) => !node.contains(hit));
}), ids);

/** Types an A-B line and sets it. */
export async function setLine(page, a, b) {
  await page.locator("#x0").fill(String(a[0]));
  await page.locator("#y0").fill(String(a[1]));
  await page.locator("#x1").fill(String(b[0]));
  await page.locator("#y1").fill(String(b[1]));
  await page.locator("#line-form [type=submit]").click();
  await page.locator("#line-status", { hasText: "is set" }).waitFor();
}

/** Starts navigation and engages, by the buttons. */
export async function engage(page) {
  await page.locator("#start").click();
  await page.locator("#message", { hasText: "Navigation is active" }).waitFor();
  await page.locator("#engage").click();
  await page.locator("#engage-state[data-state=engaged]").waitFor();
}

/** The cross-track error that the page shows, centimetres; NaN without one. */
export async function shownError(page) {
  return Number((await page.locator("#error-figure").textContent()).replace("−", "-"));
}
