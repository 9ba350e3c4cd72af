// What is said in what never leaves the view: all of it can be read, and what is old looks old.
import { test } from "node:test";
import assert from "node:assert/strict";
import { be, dropped, engaged, following, page, service, text } from "./cab.mjs";
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
