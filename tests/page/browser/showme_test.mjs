// The drive to look at: offered to who comes to an empty page, never begun where somebody uses the machine, and
// without a trace in line and settings.
import { after, afterEach, before, test } from "node:test";
import assert from "node:assert/strict";
import { covered, openPage, setLetters, setLine, startBrowser } from "./browser.mjs";
import { navctl, startNavctl, startSimulator, until } from "./programs.mjs";

let browser;
let simulator;
let page;

before(async () => { browser = await startBrowser(); });
after(() => browser.close());

async function open(...values) {
  simulator = await startSimulator(...values);
  page = await openPage(browser, simulator.page);
}

afterEach(async () => {
  await page.context().close();
  await simulator.end();
  assert.deepEqual(page.faults, []);
});

const text = (id) => page.locator(`#${id}`).innerText();
const begin = () => page.locator("#show-begin").click();
const isOffered = () => page.locator("#show-begin").isVisible();
const command = (operation, ...values) => page.evaluate(async ([name, list]) => {
  const answer = await fetch("/command", { method: "POST", headers: { "Content-Type": "application/json" },
    body: JSON.stringify({ operation: name, arguments: list }) });
  return answer.json();
}, [operation, values]);
const ask = (run) => page.evaluate(async (on) => {
  const answer = await fetch("/show", { method: "POST", headers: { "Content-Type": "application/json" }, body: JSON.stringify({ run: on }) });
  return { status: answer.status, ...await answer.json() };
}, run);

test("an empty page shows a line, engaging, an outage, a drop and the recovery, and explains each", async () => {
  await open("--speed-factor", "8");
  await page.locator("#show-begin").waitFor();
  assert.deepEqual((await command("GetVelocitySetPoint")).result, [0]);
  const titles = page.evaluate(() => new Promise((resolve) => {
    const [seen, states] = [[], []];
    const node = document.querySelector("#show-title");
    new MutationObserver(() => {
      if (node.textContent === "") resolve({ seen, states });
      else if (seen.at(-1) !== node.textContent) {
        seen.push(node.textContent);
        states.push([document.body.dataset.state, document.querySelector("#show-text").textContent]);
      }
    }).observe(node, { childList: true, characterData: true, subtree: true });
  }));
  await begin();
  await page.locator("#show-sheet").waitFor();
  assert.equal(await page.locator("#show-sheet [aria-live=polite]").count(), 1);
  const { seen } = await titles;
  assert.deepEqual(seen.map((title) => title.replace(/^\d of 8: /, "")), ["A line.", "Steering is engaged.",
    "No positions, for a moment.", "Positions again.", "No positions, for longer.", "Steering is dropped.", "Engaged again.", "That was it."]);
  await page.locator("#message", { hasText: "as they were before" }).waitFor();
  assert.doesNotMatch(await page.locator("#why-list").textContent(), /not by you/);
  const { marks } = await page.evaluate(() => fetch("/history").then((answer) => answer.json()));
  assert.deepEqual(marks.filter(({ kind }) => ["engaged", "dropped", "ended"].includes(kind)).map(({ kind }) => kind),
    ["engaged", "dropped", "engaged", "ended"]);
  await until(isOffered, "it is offered again");
  assert.deepEqual((await command("GetVelocitySetPoint")).result, [0]);
  assert.equal(await page.evaluate(() => fetch("/wayline").then((answer) => answer.json()).then(({ text: form }) => form)), "");
});

for (const [name, end] of [["Escape", () => page.keyboard.press("Escape")], ["the button", () => page.locator("#show-end").click()]]) {
  test(`${name} ends it, and settings are as they were`, async () => {
    await open("--speed", "1.5");
    await page.locator("#show-begin").waitFor();
    await page.locator("#show-begin").focus();
    await page.keyboard.press("Enter");
    await page.locator("#show-sheet").waitFor();
    await end();
    await page.locator("#show-sheet").waitFor({ state: "hidden" });
    await until(isOffered, "it is offered again");
    assert.deepEqual((await command("GetVelocitySetPoint")).result, [1.5]);
    assert.equal(await page.evaluate(() => fetch("/wayline").then((answer) => answer.json()).then(({ text: form }) => form)), "");
  });
}

test("it is not offered where there is a line, and refused", async () => {
  await open();
  await page.locator("#show-begin").waitFor();
  await setLine(page, [0, 0], [0, 100]);
  await until(async () => !(await isOffered()), "no offer");
  const { status, error } = await ask(true);
  assert.equal(status, 409);
  assert.match(error, /line already/);
});

test("it is neither offered nor begun once a client has been there, and ends before one does anything", async () => {
  await open();
  await page.locator("#show-begin").waitFor();
  await begin();
  await page.locator("#show-sheet").waitFor();
  await navctl("set-velocity-set-point", "2.5");
  await page.locator("#message", { hasText: "An application has connected" }).waitFor();
  assert.equal(await page.locator("#show-sheet").isVisible(), false);
  assert.deepEqual((await command("GetVelocitySetPoint")).result, [2.5], "the client's value holds");
  assert.equal(await isOffered(), false);
  const { status, error } = await ask(true);
  assert.equal(status, 409);
  assert.match(error, /application/);
  const client = startNavctl("watch");
  await client.end();
});

test("who acts on the page ends it first, and what he does holds", async () => {
  await open();
  await page.locator("#show-begin").waitFor();
  await begin();
  await page.locator("#show-sheet").waitFor();
  await page.keyboard.press("d");
  await page.locator("#show-sheet").waitFor({ state: "hidden" });
  await page.locator("#message", { hasText: /Somebody has taken|Steering is yours/ }).waitFor();
  await begin();
  await page.locator("#show-sheet").waitFor();
  await command("SetVelocitySetPoint", 1.25);
  await page.locator("#show-sheet").waitFor({ state: "hidden" });
  assert.deepEqual((await command("GetVelocitySetPoint")).result, [1.25]);
});

test("it ends when nobody looks any more", async () => {
  await open("--speed-factor", "2");
  await page.locator("#show-begin").waitFor();
  await begin();
  await page.locator("#show-sheet").waitFor();
  await page.context().close();
  // Asked for without a page, which would look at it.
  const marks = () => fetch(`${simulator.page}history`).then((answer) => answer.json()).then((index) => index.marks);
  await until(async () => (await marks()).some(({ text: words }) => words.startsWith("line dropped")), "its line is gone");
  const timeOf = async (words) => (await marks()).find(({ text: said }) => said.startsWith(words)).time;
  assert.ok(await timeOf("line dropped") - await timeOf("line set") < 55, "before its own end");
  page = await openPage(browser, simulator.page);
  assert.equal(await page.locator("#show-sheet").isVisible(), false);
});

for (const [width, height] of [[1440, 900], [1280, 720], [1024, 768], [800, 480], [360, 740]]) {
  for (const letters of [16, 32]) {
    test(`at ${width} x ${height} with letters of ${letters} pixels the text and its end can be reached beside state and Disengage`, async () => {
      await open();
      await page.setViewportSize({ width, height });
      await setLetters(page, letters);
      await page.locator("#show-begin").scrollIntoViewIfNeeded();
      await begin();
      await page.locator("#show-sheet").waitFor();
      assert.deepEqual(await covered(page, ["engage-state", "disengage"]), []);
      await page.locator("#show-end").click();
      await page.locator("#show-sheet").waitFor({ state: "hidden" });
    });
  }
}
