// What is said in what never leaves the view: all of it can be read, and what is old looks old.
import { test } from "node:test";
import assert from "node:assert/strict";
import { be, dropped, engaged, following, page, service, text } from "./cab.mjs";
import { line } from "./scripted_service.mjs";
import { until } from "./programs.mjs";

const notReady = { ...following, engage_state: 0, engage_state_name: "not ready" };
const reason = (number) => `the machine is ${number} m from the line, more than half the implement width`;
const manyReasons = (number) => [1, 2, 3, 4, 5, 6].map((i) => `${reason(number)}, number ${"I".repeat(i)}`);

/** Where what is said lies: of its last reason, of it, of its own place, and of what is below. */
const places = () => page.evaluate(() => {
  const bottom = (selector) => document.querySelector(selector).getBoundingClientRect().bottom;
  return { last: bottom("#why-list li:last-child"), say: bottom("#say"), place: bottom(".say-place"), map: bottom("#map") };
});

test("reasons that their place does not hold are folded, with a button that shows all of them and hides them again", async () => {
  await be({ ...notReady, why_not_engaged: [reason(1)] });
  assert.equal(await page.locator("#say-more").isVisible(), false);
  await be({ ...notReady, why_not_engaged: manyReasons(9.01) });
  await page.locator("#say-more", { hasText: "▼" }).waitFor();
  const folded = await places();
  assert.ok(folded.last > folded.say, "there is more than is seen");
  assert.ok(folded.say <= folded.place + 1, "it lies over nothing");
  await page.locator("#say-more").click();
  assert.equal(await page.locator("#say-more").getAttribute("aria-expanded"), "true");
  const open = await places();
  assert.ok(open.last <= open.say);
  assert.equal(open.map, folded.map);
  service.tell(2, [0.5, 0], { ...notReady, why_not_engaged: manyReasons(9.25) });
  await page.locator("#why-list", { hasText: "9.25" }).waitFor();
  assert.equal(await page.locator("#say-more").textContent(), "▲", "other figures of the same");
  await page.locator("#say-more").click();
  assert.ok((await places()).last > (await places()).say);
});

test("a reason for a drop is opened by itself, and stays folded once the driver has folded it", async () => {
  await be(engaged);
  await be({ ...dropped, why_not_engaged: manyReasons(1) });
  await page.locator("#say-more", { hasText: "▲" }).waitFor();
  assert.ok((await places()).last <= (await places()).say);
  await page.locator("#say-more").click();
  service.tell(2, [0.5, 0], { ...dropped, why_not_engaged: manyReasons(2) });
  await page.locator("#why-list", { hasText: "is 2 m" }).waitFor();
  assert.equal(await page.locator("#say-more").textContent(), "▼");
});

test("in a window without room for all that is said a sign says that there is more, which can be scrolled to", async () => {
  await page.setViewportSize({ width: 800, height: 300 });
  await be(engaged);
  await be({ ...dropped, why_not_engaged: [...manyReasons(1), ...manyReasons(1).map((each) => `still ${each}`)] });
  await page.locator("#say.rest").waitFor();
  assert.ok((await places()).say <= 300);
  await page.locator("#say").evaluate((node) => node.scrollTo(0, node.scrollHeight));
  await until(async () => (await places()).last <= (await places()).say, "the last reason");
});

test("who stands still is not ordered to steer, and a drop says who steers", async () => {
  await be({ ...dropped, speed: 0 });
  assert.equal(await text("error-words"), "right of the line");
  assert.equal(await page.locator(".steer.now").count(), 0);
  assert.equal(await page.locator("#engage-state").textContent(), "▲dropped, you steer");
  await be({ ...following, speed: 2 });
  assert.match(await text("error-words"), /→ steer left/);
  assert.equal(await page.locator("#steer-left.now").count(), 1);
});

test("a refusal has the service's reason without the operation's name", async () => {
  const refusal = { result: 0, reasons: ["EngageSteering refused: navigation is not active"] };
  await page.route("**/command", (route) => route.fulfill({ json: refusal }));
  await page.locator("#engage").click();
  await page.locator("#message.bad", { hasText: "Refused:" }).waitFor();
  assert.equal(await text("message"), "Refused: navigation is not active");
});

test("why steering was dropped is said once, with other figures too", async () => {
  await be(engaged);
  await be({ ...dropped, drop_reason: reason(9.01), why_not_engaged: [reason(9.2), "navigation is not active"] });
  assert.deepEqual(await page.locator("#why-list li").allTextContents(), [`dropped: ${reason(9.01)}`, "navigation is not active"]);
});

test("without a line that is said first, and Engage stands out only where it can work", async () => {
  const colour = () => page.locator("#engage").evaluate((node) => getComputedStyle(node).backgroundColor);
  const ready = await colour();
  service.send("line", { ...line, kind: -1, kind_name: "none", complete: false, line: [], followed: null, labels: [] });
  await be({ ...notReady, navigating: false, why_not_engaged: ["navigation is not active"] });
  assert.deepEqual(await page.locator("#why-list li").allTextContents(),
    ["there is no line: set or record one", "navigation is not active"]);
  assert.notEqual(await colour(), ready);
});

test("what is typed and not set is marked so until it is set or put back, and moves nothing", async () => {
  const top = () => page.locator("#width").evaluate((node) => node.offsetTop);
  const unsent = page.locator("label:has(#speed) .unsent");
  assert.equal(await unsent.isVisible(), false);
  const before = await top();
  await page.locator("#speed").fill("3");
  assert.equal(await unsent.isVisible(), true);
  assert.equal(await page.locator("label:has(#width) .unsent").isVisible(), false);
  assert.equal(await top(), before);
  await page.locator("#speed").press("Escape");
  assert.equal(await unsent.isVisible(), false);
  await page.locator("#speed").fill("3");
  await page.locator("#speed").press("Enter");
  await unsent.waitFor({ state: "hidden" });
});

test("a step test that has shifted the line says by how much that stays", async () => {
  const steady = { ...engaged, cross_track_error: 0 };
  await be(steady);
  for (let i = 1; i <= 3; i += 1) service.tell(1 + i, [0.5, 3 * i], steady);
  await until(async () => await text("fact-time") === "00:04", "the states are shown");
  await page.locator("#step-run").click();
  service.tell(5, [0.5, 10], { ...steady, nudge: 0.5, cross_track_error: -0.5 });
  await page.locator("#step-status", { hasText: "Running" }).waitFor();
  await be({ ...following, nudge: 0.5 });
  assert.equal(await text("step-status"), "No score: steering was disengaged. The line stays nudged 50 cm right.");
});
