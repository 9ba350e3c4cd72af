// All of the page to be seen at once, by a service that says what a test has it say.
import { after, before } from "node:test";
import { ignoreSilence, line, settings, startScriptedService } from "./scripted_service.mjs";
import { startBrowser } from "./browser.mjs";

export const usualLetters = 16;
const following = { navigating: true, pass: 0, heading_error: 0, cross_track_error: 0.5, nudge: 0.05 };
export const states = {
  "not ready": { ...following, engage_state_name: "not ready", why_not_engaged: ["a reason"] },
  engaged: { ...following, engage_state: 2, engage_state_name: "engaged" },
  dropped: { ...following, engage_state: 3, engage_state_name: "dropped", drop_reason: "another reason" },
};
const score = { number: 1, settled: 9, overshoot: 0, parameters: [1, 1, 1, 1], lookAhead: 1.6, speed: 2 };
let browser;
export let service;

before(async () => {
  browser = await startBrowser();
  service = await startScriptedService({ remembers: true });
});

after(async () => {
  await browser.close();
  await service.end();
});

/** Opens the page with all of it to be seen, in a state. */
export async function open(state, { letters = usualLetters, ...options } = {}) {
  const context = await browser.newContext({ viewport: { width: 1280, height: 800 }, bypassCSP: true, ...options });
  const page = await context.newPage();
  await page.addInitScript(ignoreSilence);
  const session = await context.newCDPSession(page);
  await session.send("Page.enable");
  await session.send("Page.setFontSizes", { fontSizes: { standard: letters, fixed: letters } });
  await page.addInitScript((kept) => localStorage.setItem("step-test-scores", kept), JSON.stringify([score]));
  const asked = service.streams.length;
  await page.goto(service.page);
  await service.asked(asked + 1);
  service.trails.at(-1).end('{"interval":0.1,"end":0,"points":[],"run":"1"}');
  service.send("settings", settings);
  service.send("line", line);
  service.tell(1, [0.5, 0], states[state]);
  await page.locator(`#engage-state[data-state="${state}"]`).waitFor();
  await page.locator(".slider").first().waitFor();
  await page.evaluate(() => {
    document.querySelectorAll("details").forEach((details) => { details.open = true; });
    document.querySelector("#question-text").textContent = "A question?";
    document.querySelector("#line-status").after(document.querySelector("#question"));
    document.querySelector("#question").hidden = false;
  });
  return page;
}
