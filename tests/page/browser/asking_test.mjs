// What asks first, and what is said of what was done: it ends when it is no longer so.
import { test } from "node:test";
import assert from "node:assert/strict";
import { be, dropped, engaged, fillLine, following, operations, page, service, text } from "./cab.mjs";
import { line, settings } from "./scripted_service.mjs";
import { until } from "./programs.mjs";

test("a line is set at once while steering is not engaged", async () => {
  await fillLine(0.5);
  await page.locator("#line-form [type=submit]").click();
  await page.locator("#line-status", { hasText: "is set" }).waitFor();
  assert.deepEqual(operations(), ["0"]);
});

test("a line for an engaged machine asks first, says how far it moves, and leaves Disengage to be pressed", async () => {
  await be(engaged);
  await fillLine(1);
  await page.locator("#line-form [type=submit]").click();
  await page.locator("#question", { hasText: "The machine moves about 50.0 cm to the right at once." }).waitFor();
  service.tell(2, [0.7, 4], engaged);
  await page.locator("#question", { hasText: "moves about 30.0 cm to the right" }).waitFor();
  assert.deepEqual(operations(), []);
  await page.locator("#disengage").click();
  await until(() => operations().length > 0, "a command");
  assert.deepEqual(operations(), ["DisengageSteering"]);
  assert.equal(await page.locator("#question").isVisible(), true);
  await page.locator("#question-yes").click();
  await page.locator("#line-status", { hasText: "is set" }).waitFor();
  assert.deepEqual(operations(), ["DisengageSteering", "0"]);
  assert.equal(await page.locator("#question").isVisible(), false);
});

for (const [button, words, operation] of [
  ["clear-line", "steering ends", "clear_wayline"], ["clear-all", "steering ends", "ClearNavigation"],
  ["record-curve", "steering ends", "start_wayline"], ["record-path", "steering ends", "start_wayline"],
  ["nearest-pass", "moves about 50.0 cm to the left", "StartNavigation"],
  ["line-itself", "moves about 50.0 cm to the left", "StartNavigation"],
  ["start", "moves about 50.0 cm to the left", "StartNavigation"],
]) {
  test(`the button ${button} asks first while steering is engaged, and acts at once when it is not`, async () => {
    await be(engaged);
    await page.locator(`#${button}`).click();
    await page.locator("#question", { hasText: words }).waitFor();
    await page.keyboard.press("Escape");
    assert.equal(await page.locator("#question").isVisible(), false);
    await page.locator(`#${button}`).click();
    await page.locator("#question-no").click();
    assert.deepEqual(operations(), []);
    await be(following);
    await page.locator(`#${button}`).click();
    await until(() => operations().length > 0, "a command");
    assert.equal(operations()[0], operation);
  });
}

test("a question is withdrawn when steering ends", async () => {
  await be(engaged);
  await page.locator("#clear-line").click();
  await page.locator("#question").waitFor();
  await be(dropped);
  assert.equal(await page.locator("#question").isVisible(), false);
  assert.match(await text("line-status"), /Nothing was changed/);
  assert.deepEqual(operations(), []);
  await be(engaged);
  assert.equal(await text("line-status"), "");
});

test("a question cannot be agreed to while nothing comes, nor when it has just become another one", async () => {
  await be({ ...engaged, cross_track_error: 0.4 });
  await fillLine(1);
  await page.locator("#line-form [type=submit]").click();
  await page.locator("#question-yes:enabled").waitFor();
  await page.clock.install();
  service.tell(2, [0.52, 1], engaged);
  await page.locator("#question", { hasText: "48.0 cm to the right" }).waitFor();
  assert.equal(await page.locator("#question-yes").isEnabled(), true, "a little less of the same");
  service.tell(3, [3, 2], engaged);
  await page.locator("#question", { hasText: "Steering is dropped" }).waitFor();
  assert.equal(await page.locator("#question-yes").isEnabled(), false);
  await page.clock.runFor(1000);
  await page.locator("#question-yes:enabled").waitFor();
  service.streams.at(-1).destroy();
  await page.locator("#question-yes:disabled").waitFor();
  assert.equal(await page.locator("#question-no").isEnabled(), true);
  assert.deepEqual(operations(), []);
});

for (const [name, state, act, words, operation] of [
  ["Back to 0", { nudge: 1.4, cross_track_error: 0 }, () => page.locator("#unnudge").click(), "moves about 1.40 m to the left", "Nudge"],
  ["Back to 0 from far", { nudge: 703, cross_track_error: 0 }, () => page.locator("#unnudge").click(), "Steering is dropped", "Nudge"],
  ["another width", { pass: 2, cross_track_error: 0 }, () => setField("width", 3.5), "moves about 1.00 m to the right", "SetImplementWidth"],
  ["a speed backwards", {}, () => setField("speed", -5), "Steering is dropped", "SetVelocitySetPoint"],
  ["a nudge too far", { cross_track_error: -1.49 }, () => page.locator("#nudge-right").click(), "Steering is dropped", "Nudge"],
]) {
  test(`${name} asks an engaged machine first, and acts at once without`, async () => {
    await be({ ...engaged, ...state });
    await act();
    await page.locator("#question", { hasText: words }).waitFor();
    assert.deepEqual(operations(), []);
    await page.locator("#question-yes").click();
    await until(() => operations().length > 0, "a command");
    await be({ ...following, ...state });
    await act();
    await until(() => operations().length > 1, "another command");
    assert.deepEqual(operations(), [operation, operation]);
  });
}

async function setField(id, value) {
  await page.locator(`#${id}`).fill(String(value));
  await page.locator(`#${id}`).press("Enter");
}

test("what moves an engaged machine by a few centimetres at most does not ask", async () => {
  await be({ ...engaged, nudge: 0.03, cross_track_error: 0 });
  await page.locator("#unnudge").click();
  await until(() => operations().length > 0, "a command");
  await setField("speed", 3);
  await until(() => operations().length > 1, "another command");
  assert.deepEqual(operations(), ["Nudge", "SetVelocitySetPoint"]);
});

for (const [name, act, said, so, ended] of [
  ["a snap", () => page.locator("#snap").click(), "put under the machine", { cross_track_error: 0 }, { cross_track_error: -0.587 }],
  ["a speed", () => setField("speed", 3), "Speed set to 3", { velocity_set_point: 3 }, { velocity_set_point: 4 }],
  ["a nudge", () => page.locator("#nudge-right").click(), "Nudged 5 cm", { nudge: 0.05 }, { nudge: 0.55 }],
]) {
  test(`what is said of ${name} ends when it is no longer so`, async () => {
    await act();
    await page.locator("#message", { hasText: said }).waitFor();
    service.tell(2, [0.5, 0], { ...following, ...so });
    await until(async () => await text("fact-time") === "00:02", "the state is shown");
    assert.match(await text("message"), new RegExp(said));
    service.tell(3, [0.5, 0], { ...following, ...so, ...ended });
    await until(async () => await text("message") === "", "nothing is said");
  });
}

test("what is said of a width and of a recorded drive ends with another width and another line", async () => {
  await setField("width", 3.5);
  await page.locator("#message", { hasText: "Implement set to 3.5 m." }).waitFor();
  service.send("settings", { ...settings, implement_width: 3.5 });
  service.send("line", { ...line, kind: 4, kind_name: "A-B curve", complete: false, recording: true });
  await page.locator("#record-words", { hasText: "A-B curve" }).waitFor();
  assert.match(await text("message"), /3\.5 m/);
  service.send("settings", { ...settings, implement_width: 6 });
  await until(async () => await text("message") === "", "nothing is said");
  await page.locator("#record-end").click();
  await page.locator("#record-status", { hasText: "The drive was recorded." }).waitFor();
  service.send("line", { ...line, kind: 4, kind_name: "A-B curve" });
  await page.locator("#log", { hasText: "line set: A-B curve" }).waitFor();
  assert.equal(await text("record-status"), "The drive was recorded.");
  service.send("line", line);
  await until(async () => await text("record-status") === "", "nothing is said");
});

test("what is said of a text that was refused ends with the line and the state", async () => {
  await page.route("**/wayline", (route) => route.fulfill({ status: 400, json: { error: "the text is no wayline" } }));
  for (const change of [() => be(engaged), () => service.send("line", { ...line, kind: -1, complete: false, line: [] })]) {
    await be(following);
    await fillLine(0.5);
    await page.locator("#line-form [type=submit]").click();
    await page.locator("#line-status.bad", { hasText: "the text is no wayline" }).waitFor();
    await change();
    await until(async () => await text("line-status") === "", "nothing is said");
  }
});

/** Answers the operations of the service that are commands as a test wants it, from now on. */
const answering = (answer) => page.route("**/command", answer);

test("a line that is set right after steering was engaged asks first, whether its state has come or not", async () => {
  await page.evaluate(() => {
    const now = performance.now();
    performance.now = () => now; // for as long as the state may be on its way
  });
  await page.keyboard.press("e");
  await page.locator("#message", { hasText: "Steering is engaged." }).waitFor();
  await fillLine(1);
  await page.locator("#line-form [type=submit]").click();
  await page.locator("#question", { hasText: "moves about 50.0 cm to the right" }).waitFor();
  service.tell(2, [0.7, 4], following); // sent before
  await page.locator("#question", { hasText: "moves about 30.0 cm to the right" }).waitFor();
  await be(engaged);
  await page.locator("#question-yes").click();
  await until(() => operations().length > 1, "the line");
  assert.deepEqual(operations(), ["EngageSteering", "0"]);
});

test("while the service has not answered whether steering is engaged a line asks first; after a refusal it does not", async () => {
  let answer = null;
  await answering((route) => { answer = () => route.fulfill({ json: { result: 0, reasons: ["not now"] } }); });
  await page.keyboard.press("e");
  await until(() => answer !== null, "a command");
  await fillLine(1);
  await page.locator("#line-form [type=submit]").click();
  await page.locator("#question").waitFor();
  await answer();
  await page.locator("#message.bad", { hasText: "not now" }).waitFor();
  service.tell(2, [0.5, 4], following);
  await page.locator("#question").waitFor({ state: "hidden" });
  await page.locator("#line-form [type=submit]").click();
  await until(() => operations().length > 0, "the line");
});

test("steering that was engaged and has ended asks no more, however soon", async () => {
  await page.keyboard.press("e");
  await page.locator("#message", { hasText: "Steering is engaged." }).waitFor();
  await be(engaged);
  await be(following);
  await fillLine(1);
  await page.locator("#line-form [type=submit]").click();
  await until(() => operations().length > 1, "the line");
  assert.equal(await page.locator("#question").isVisible(), false);
});

test("Escape leaves a question from a number field too, and a question moves nothing on the page", async () => {
  await be(engaged);
  const places = () => page.evaluate(() => [scrollY, ...[...document.querySelectorAll("main :is(button, input, canvas):not(#question *)")]
    .map((node) => node.getBoundingClientRect().top)]);
  for (const [width, height] of [[1280, 900], [800, 480], [360, 740]]) {
    await page.setViewportSize({ width, height });
    await page.locator("#clear-line").focus();
    const before = await places();
    await page.keyboard.press("Enter");
    await page.locator("#question").waitFor();
    assert.deepEqual(await places(), before, `at ${width} x ${height}`);
    await page.locator("#x0").focus();
    await page.keyboard.press("Escape");
    assert.equal(await page.locator("#question").isVisible(), false);
  }
});

test("a snap from far asks whether steering is engaged or not, one from near does not", async () => {
  await be({ ...following, cross_track_error: -703.2 });
  await page.locator("#snap").click();
  await page.locator("#question", { hasText: "The line moves by 703 m, to where the machine is." }).waitFor();
  service.tell(2, [0.5, 0], { ...following, cross_track_error: -704.6 });
  await page.locator("#question", { hasText: "705 m" }).waitFor();
  await page.locator("#question-no").click();
  assert.deepEqual(operations(), []);
  await page.locator("#snap").click();
  await page.locator("#question-yes").click();
  await until(() => operations().length > 0, "a command");
  await be({ ...following, cross_track_error: 1.4 });
  await page.locator("#snap").click();
  await until(() => operations().length > 1, "another command");
  assert.deepEqual(operations(), ["AutoSetNudge", "AutoSetNudge"]);
});

test("a nudge from before is said of a new line and of a recorded one", async () => {
  await be({ ...following, nudge: 0.05 });
  await fillLine(0.5);
  await page.locator("#line-form [type=submit]").click();
  await page.locator("#line-status", { hasText: "The A-B line is set. The nudge of 5.0 cm from before moves it." }).waitFor();
  service.send("line", { ...line, kind: 4, kind_name: "A-B curve", complete: false, recording: true });
  await page.locator("#recording", { hasText: "A-B curve" }).waitFor();
  await page.locator("#record-end").click();
  await page.locator("#record-status", { hasText: "The drive was recorded. The nudge of 5.0 cm" }).waitFor();
});
