// What the driver in the cab relies on, by a service that says what a test has it say: nothing that is shown is
// untrue, nothing moves the machine unasked, and what is there can be reached.
import { test } from "node:test";
import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
import {
  be, begin, browser, close, dropped, engaged, fillLine, following, open, operations, page, service, shows, text, tones,
} from "./cab.mjs";
import { line } from "./scripted_service.mjs";
import { until } from "./programs.mjs";

test("a drop is seen in frame, word and title, and heard", async () => {
  await page.keyboard.press("Shift");
  await be(engaged);
  const frame = () => page.locator(".frame").evaluate((node) => {
    const { borderTopColor, borderTopStyle } = getComputedStyle(node);
    return [borderTopColor, borderTopStyle];
  });
  assert.match(await page.title(), /^● engaged/);
  const before = await frame();
  assert.equal(await tones(), 0);
  await be(dropped);
  assert.match(await page.title(), /^▲ DROPPED/);
  assert.equal(await text("why-list"), "dropped: the line went away");
  const [colour, style] = await frame();
  assert.notEqual(colour, before[0]);
  assert.notEqual(style, before[1]);
  assert.ok(await tones() > 0);
});

test("the sound of a drop is switched off for good, and a drop that was before makes none", async () => {
  await page.locator("#sound-on").uncheck();
  await be(engaged);
  await be(dropped);
  assert.equal(await tones(), 0);
  await page.reload();
  await service.asked(2);
  await begin();
  await shows("dropped");
  assert.equal(await page.locator("#sound-on").isChecked(), false);
  await page.locator("#sound-on").check();
  const tried = await tones();
  assert.ok(tried > 0, "the switch lets it be heard");
  await page.reload();
  await service.asked(3);
  await begin();
  await shows("dropped");
  await page.keyboard.press("Shift");
  assert.equal(await tones(), 0);
});

test("a drop that the browser lets nobody hear is not heard later", async () => {
  await page.evaluate(() => {
    const { prototype } = window.AudioContext;
    prototype.resume = async function refuse() { throw new Error("not allowed"); };
  });
  await be(engaged);
  await be(dropped);
  assert.equal(await page.locator("#sound-note").isVisible(), true);
  await page.evaluate(() => {
    window.AudioContext.prototype.resume = async function allow() { this.state = "running"; };
  });
  await page.keyboard.press("Shift");
  await page.locator("#sound-note").waitFor({ state: "hidden" });
  assert.equal(await tones(), 0);
});

/** Where things are, and what else may move them. */
const places = () => page.evaluate(() => [...document.querySelectorAll("main :is(button, input, select)")]
  .map((node) => [node.id, node.getBoundingClientRect().top]));

test("the first touch acts on what it touches: nothing moves under the finger, not by what is said afterwards either", async () => {
  assert.equal(await page.locator("#sound-note").isVisible(), true);
  const before = await places();
  const { x, y, width, height } = await page.locator("#nudge-right").boundingBox();
  await page.mouse.move(x + width / 2, y + 0.85 * height);
  await page.mouse.down();
  await page.mouse.up();
  await until(() => operations().length > 0, "a command");
  assert.deepEqual(service.posted, [{ operation: "Nudge", arguments: [1, 1, 0.05] }]);
  await page.locator("#sound-note").waitFor({ state: "hidden" });
  await page.locator("#message", { hasText: "Nudged" }).waitFor();
  assert.deepEqual(await places(), before);
});

test("D ends steering from number fields and lists too, and is a letter where letters are written", async () => {
  await be(engaged);
  for (const field of ["speed", "nudge-step", "sound-on"]) {
    service.posted.length = 0;
    await page.locator(`#${field}`).focus();
    await page.keyboard.press("d");
    await until(() => operations().length > 0, `a command from ${field}`);
    assert.deepEqual(operations(), ["DisengageSteering"]);
  }
  service.posted.length = 0;
  await page.locator("summary", { hasText: "Text form" }).click();
  await page.locator("#text").pressSequentially("d");
  await page.locator("#width").pressSequentially("e");
  assert.equal(await page.locator("#text").inputValue(), "d");
  assert.deepEqual(operations(), []);
});

/** Whether all of a part of what is said can be seen without scrolling. */
const isWholeInView = (selector) => page.locator(selector).evaluate((node) => {
  const [own, room] = [node, node.closest(".say")].map((part) => part.getBoundingClientRect());
  return own.height > 0 && own.top >= room.top - 1 && own.bottom <= room.bottom + 1;
});

test("a Disengage that did not get through stays said, in the log too, and is asked for until it does", async () => {
  await be(engaged);
  await page.route("**/command", (route) => route.abort());
  await page.keyboard.press("d");
  await page.locator("#undone", { hasText: "NOT carried out" }).waitFor();
  await page.locator("#log", { hasText: "Disengage was not carried out: the service does not answer" }).waitFor();
  service.tell(2, [0.5, 1], engaged);
  service.streams.at(-1).destroy();
  await service.asked(2);
  await begin();
  await page.locator("#lost").waitFor({ state: "hidden" });
  assert.ok(await isWholeInView("#undone"));
  await page.unroute("**/command");
  await until(() => operations().length > 0, "a command");
  await page.locator("#undone").waitFor({ state: "hidden" });
  assert.deepEqual(operations(), ["DisengageSteering"]);
});

test("a Disengage that is pressed without a connection is the first that the service hears of", async () => {
  await be(engaged);
  await page.route("**/*", (route) => route.abort());
  service.streams.at(-1).destroy();
  await page.locator("#lost").waitFor();
  await page.locator("#disengage").click();
  await page.locator("#undone").waitFor();
  assert.ok(await isWholeInView("#undone") && await isWholeInView("#lost .lost"));
  await page.unroute("**/*");
  await until(() => operations().length > 0, "a command");
  assert.deepEqual(operations(), ["DisengageSteering"]);
});

test("what the driver asks for is given up when the page shows that all is old, and nothing is begun then", async () => {
  await close();
  await open([]);
  const given = [];
  page.on("requestfailed", (request) => given.push(request.postData()));
  await page.route("**/command", () => {}); // no answer comes
  await page.keyboard.press("e");
  await page.locator("#message", { hasText: "Asked to engage" }).waitFor();
  service.fallSilent(true);
  await page.locator("#message.bad", { hasText: "given up" }).waitFor();
  assert.deepEqual(given.filter((body) => body !== null).length, 1);
  await page.unroute("**/command");
  await page.locator("#snap").evaluate((node) => { node.disabled = false; node.click(); });
  await page.locator("#message.bad", { hasText: /not sent/i }).waitFor();
  assert.deepEqual(operations(), []);
});

test("an end of steering that the page did not ask for is heard, said and logged, and lasts", async () => {
  await page.keyboard.press("Shift");
  await be(engaged);
  await be(following);
  await page.locator("#why-list", { hasText: "Steering was ended, not by you: you steer." }).waitFor();
  await page.locator("#log", { hasText: "not by this page" }).waitFor();
  assert.ok(await tones() > 0);
  await be({ ...following, engage_state: 0, engage_state_name: "not ready", why_not_engaged: ["too slow"] });
  assert.equal(await text("why-list"), "too slowSteering was ended, not by you: you steer.");
  await be(engaged);
  assert.equal(await text("why-list"), "");
});

for (const [button, operation] of [["disengage", "DisengageSteering"], ["stop", "StopNavigation"]]) {
  test(`an end of steering that the page asked for by ${button} makes no sound`, async () => {
    await be(engaged);
    await page.locator(`#${button}`).click();
    await until(() => operations().includes(operation), "the command");
    await be(following);
    assert.equal(await tones(), 0);
    assert.equal(await text("why-list"), "");
  });
}

test("a refusal and what has come to stand in the way are seen before why steering was dropped", async () => {
  await be(engaged);
  await be({ ...dropped, why_not_engaged: ["the machine is 9.01 m away"] });
  assert.equal(await text("why-list"), "dropped: the line went awaythe machine is 9.01 m away");
  service.tell(2, [0.5, 0], { ...dropped, why_not_engaged: ["the machine is 9.21 m away", "it moves backwards"] });
  await until(async () => await text("why-list")
    === "it moves backwardsdropped: the line went awaythe machine is 9.21 m away", "the newest first");
  await page.route("**/command", (route) => route.fulfill({ json: { result: 0, reasons: ["not now"] } }));
  for (let i = 0; i < 2; i += 1) {
    const said = page.evaluate(() => new Promise((resolve) => {
      const texts = [];
      new MutationObserver(() => {
        texts.push(document.querySelector("#message").textContent);
        if (texts.at(-1).startsWith("Refused")) resolve(texts);
      }).observe(document.querySelector("#message"), { childList: true });
    }));
    await page.locator("#engage").click();
    assert.deepEqual(await said, ["Asked to engage …", "Refused: not now"]);
    assert.ok(await isWholeInView("#message"));
    const top = (id) => page.locator(id).evaluate((node) => node.getBoundingClientRect().top);
    assert.ok(await top("#message") < await top("#why"));
  }
});

test("what is said of a state ends with it", async () => {
  await page.locator("#engage").click();
  await page.locator("#message", { hasText: "Steering is engaged." }).waitFor();
  await be(engaged);
  assert.equal(await text("message"), "Steering is engaged.");
  await be(dropped);
  assert.equal(await text("message"), "");
});

test("what is said of a refusal ends with the state that it was refused in", async () => {
  await page.route("**/command", (route) => route.fulfill({ json: { result: 0, reasons: ["not now"] } }));
  await page.locator("#engage").click();
  await page.locator("#message.bad", { hasText: "Refused: not now" }).waitFor();
  await be({ ...following, engage_state: 0, engage_state_name: "not ready" });
  assert.equal(await text("message"), "");
});

/** Keeps the texts that the map's last drawing has, with their places. */
function keepTexts() {
  const { fillText, fillRect } = CanvasRenderingContext2D.prototype;
  window.texts_ = [];
  CanvasRenderingContext2D.prototype.fillRect = function begin(x, y, width, height) {
    if (this.canvas.id === "map" && width === this.canvas.clientWidth && this.globalAlpha === 1) window.texts_ = [];
    fillRect.call(this, x, y, width, height);
  };
  CanvasRenderingContext2D.prototype.fillText = function keep(words, x, y, ...others) {
    if (this.canvas.id === "map") window.texts_.push({ words, x, y, width: this.measureText(words).width });
    fillText.call(this, words, x, y, ...others);
  };
}

const texts = () => page.evaluate(() => window.texts_);

test("a machine that has left the map is shown at its edge", async () => {
  await page.addInitScript(keepTexts);
  await page.reload();
  await service.asked(2);
  await begin();
  await be(following);
  const beyond = async () => (await texts()).filter(({ words }) => /^machine .* on$/.test(words));
  assert.deepEqual(await beyond(), []);
  await page.locator("#follow").click();
  await be(following, { time: 20, place: [0.5, 300] });
  await until(async () => (await beyond()).length === 1, "an arrow to the machine");
  await page.locator("#follow").click();
  await until(async () => (await beyond()).length === 0, "the machine itself");
});

test("pass numbers cover neither each other nor the words of an old picture", async () => {
  await page.addInitScript(keepTexts);
  await page.reload();
  await service.asked(2);
  await begin();
  const passes = [-3, -2, -1, 1, 2, 3].map((pass) => ({ pass, points: [[3 * pass, -2000], [3 * pass, 2000]] }));
  service.send("line", { ...line, picture: 2, passes });
  await be(following);
  const numbers = async () => (await texts()).filter(({ words }) => /^[+−]\d$/.test(words));
  await until(async () => (await numbers()).length === 6, "the number of each pass");
  await page.evaluate(() => { document.documentElement.style.fontSize = "32px"; });
  await page.keyboard.press("-");
  await until(async () => (await numbers()).length < 6, "fewer numbers");
  const shown = (await numbers()).sort((a, b) => a.x - b.x);
  shown.slice(1).forEach((each, i) => assert.ok(each.x - shown[i].x > (each.width + shown[i].width) / 2, JSON.stringify(shown)));
  service.streams.at(-1).destroy();
  await until(async () => (await texts()).some(({ words }) => words.includes("old picture")), "the picture is old");
  assert.deepEqual(await numbers(), []);
});

/** What the lights, the arrows and the machine look like. */
const looks = () => page.evaluate(() => ({
  light: getComputedStyle(document.querySelector(".lightbar .lit")).backgroundColor,
  unlit: getComputedStyle(document.querySelector(".lightbar i:not(.lit)")).backgroundColor,
  arrow: getComputedStyle(document.querySelector("#steer-left")).visibility,
}));

for (const error of [0.5, 0]) {
  test(`at an error of ${error} m all that is measured looks old when nothing comes, and new when something does`, async () => {
    await close();
    await open([]);
    await be({ ...following, cross_track_error: error });
    await until(async () => {
      const fresh = await looks();
      return fresh.light !== fresh.unlit;
    }, "a light that burns");
    service.fallSilent(true);
    await page.locator("body.old").waitFor();
    const old = await looks();
    assert.equal(old.light, old.unlit);
    assert.equal(old.arrow, "hidden");
    assert.doesNotMatch(await page.title(), /ready/);
    service.fallSilent(false);
    await page.locator("body:not(.old)").waitFor();
    assert.match(await page.title(), /^○ ready/);
  });
}

test("Disengage stands out while steering is engaged, and the words say what the machine does", async () => {
  const colour = () => page.locator("#disengage").evaluate((node) => getComputedStyle(node).backgroundColor);
  const calm = await colour();
  assert.match(await text("error-words"), /→ steer left/);
  await be({ ...engaged, steering_angle: -0.1 });
  assert.notEqual(await colour(), calm);
  assert.equal(await text("error-words"), "right of the line, the machine steers left");
  assert.equal(await page.locator("#steer-left.now.machine").textContent(), "◀steers left");
});

test("far from a line the figure is in metres", async () => {
  await be({ ...following, cross_track_error: -715.326 });
  assert.deepEqual([await text("error-figure"), await text("error-unit")], ["−715", "m"]);
  await be({ ...following, cross_track_error: null });
  await until(async () => await text("error-figure") === "–", "no figure without a line");
});

/** Keeps for each drawing of the map where the trail ends, and where things are put. */
function keepEnds() {
  const { prototype } = CanvasRenderingContext2D;
  const { beginPath, lineTo, stroke, translate, fillRect } = prototype;
  const isMap = (context) => context.canvas.id === "map";
  window.drawings_ = [];
  prototype.fillRect = function begin(x, y, width, height) {
    if (isMap(this) && width === this.canvas.clientWidth) window.drawings_.push({ end: null, places: [] });
    fillRect.call(this, x, y, width, height);
  };
  prototype.beginPath = function forget() { this.end_ = null; beginPath.call(this); };
  prototype.lineTo = function keep(x, y) { this.end_ = [x, y]; lineTo.call(this, x, y); };
  prototype.stroke = function keep() {
    if (isMap(this) && this.lineWidth === 2.5) window.drawings_.at(-1).end = this.end_;
    stroke.call(this);
  };
  prototype.translate = function keep(x, y) {
    if (isMap(this)) window.drawings_.at(-1)?.places.push([x, y]);
    translate.call(this, x, y);
  };
}

test("the trail ends under the machine while that is drawn on its way from state to state", async () => {
  await page.addInitScript(keepEnds);
  await page.reload();
  await service.asked(2);
  await begin("1", [[0, -20], [0, -10], [0.5, 0]]);
  for (let i = 1; i <= 8; i += 1) {
    service.tell(1 + 5 * i, [0.5, 12 * i], following);
    await until(async () => await text("fact-time") === `00:${String(1 + 5 * i).padStart(2, "0")}`, "the state is shown");
    await until(() => page.evaluate((least) => window.drawings_.filter(({ end }) => end !== null).length >= least, i),
      "it is drawn");
  }
  const drawings = await page.evaluate(() => window.drawings_);
  const withTrail = drawings.filter(({ end }) => end !== null);
  const away = withTrail.filter(({ end, places }) => !places.some((place) =>
    Math.hypot(place[0] - end[0], place[1] - end[1]) < 0.01));
  assert.deepEqual(away, []);
});

test("Escape ends the setting of points and follows the machine again if it was followed before", async () => {
  const follows = () => page.locator("#follow").getAttribute("aria-pressed");
  await page.keyboard.press("p");
  assert.equal(await follows(), "false");
  await page.keyboard.press("Escape");
  assert.equal(await follows(), "true");
  await page.keyboard.press("p");
  for (const field of ["#x0", "#nudge-step"]) {
    await page.locator(field).focus();
    await page.keyboard.press("Escape");
    assert.equal(await follows(), "true", `from ${field}`);
    await page.locator("#pick").click();
  }
  await page.keyboard.press("Escape");
  await page.keyboard.press("f");
  await page.keyboard.press("p");
  await page.keyboard.press("Escape");
  assert.equal(await follows(), "false");
});

test("Escape follows the machine again after all points are set, and F does not move the map before", async () => {
  const follow = page.locator("#follow");
  await page.keyboard.press("p");
  await page.keyboard.press("f");
  assert.equal(await follow.getAttribute("aria-pressed"), "false");
  assert.equal(await follow.isDisabled(), true);
  await page.keyboard.press("Enter");
  await page.keyboard.press("ArrowUp");
  await page.keyboard.press("ArrowUp");
  await page.keyboard.press("Enter");
  await page.locator("#line-status", { hasText: "All points are set" }).waitFor();
  assert.equal(await follow.getAttribute("aria-pressed"), "false");
  await page.keyboard.press("Escape");
  assert.equal(await follow.getAttribute("aria-pressed"), "true");
  assert.equal(await follow.isDisabled(), false);
});

test("the map stands still while points are set, however the machine drives and turns", async () => {
  await page.keyboard.press("p");
  await page.keyboard.press("Enter");
  await page.locator("#line-status", { hasText: "Set point B" }).waitFor();
  await be({ ...following, heading: 1.5 }, { time: 2, place: [15, 9] });
  await until(async () => await text("fact-heading") === "086°", "the machine has turned");
  await page.locator("#map").hover({ position: { x: 20, y: 20 } });
  const middle = await page.locator("#map").boundingBox();
  await page.mouse.click(middle.x + middle.width / 2, middle.y + middle.height / 2);
  await page.locator("#line-status.bad", { hasText: "That is where the point before is" }).waitFor();
});

test("the charts survive a reload, but not another run of the service", async () => {
  for (let i = 0; i < 10; i += 1) service.tell(2 + i, [0.5, i], { ...following, cross_track_error: 0.01 });
  await page.locator("#history-words", { hasText: "of 11 states in 10 s" }).waitFor();
  await page.reload();
  await service.asked(2);
  await begin();
  await page.locator("#history-words", { hasText: "of 11 states in 10 s" }).waitFor();
  await page.reload();
  await service.asked(3);
  await begin("2");
  service.tell(12, [0.5, 10], following);
  await page.locator("#history-words", { hasText: "of 2 states in 1 s" }).waitFor();
});

test("a restart of the service is told, whatever its time is", async () => {
  service.streams.at(-1).destroy();
  await service.asked(2);
  service.tell(500, [0.5, 0], following);
  await begin("2");
  await page.locator("#message", { hasText: "has been started anew" }).waitFor();
  await page.locator("#log", { hasText: "the service has been started anew" }).waitFor();
});

test("the log has what happened and when, and outlives a reload", async () => {
  await be(engaged, { time: 61 });
  service.tell(62, [0.5, 0], { ...engaged, nudge: 0.05 });
  await page.locator("#fact-nudge", { hasText: "5 cm right" }).waitFor();
  await be({ ...dropped, nudge: 0.05 }, { time: 63 });
  service.send("line", { ...line, kind: 2, kind_name: "circle", length: 60 });
  await page.locator("#log", { hasText: "line set: circle" }).waitFor();
  const entries = async () => (await page.locator("#log li").allTextContents())
    .map((entry) => entry.replace(/^\d\d:\d\d:\d\d /, ""));
  const expected = ["(01:03)line set: circle", "(01:03)dropped: the line went away", "(01:02)nudged: 5 cm right",
    "(01:01)engaged"];
  assert.deepEqual(await entries(), expected);
  await page.reload();
  await service.asked(2);
  await begin();
  await shows("dropped");
  assert.deepEqual((await entries()).slice(-expected.length), expected);
});

test("speeds are shown in kilometres an hour too", async () => {
  await be({ ...following, speed: 2.5 });
  assert.deepEqual([await text("fact-speed"), await text("fact-kmh")], ["2.5", "9.0"]);
  await page.locator("#speed").fill("-1");
  assert.equal(await text("speed-kmh"), "-3.6 km/h");
});

for (const [button, kind] of [["record-curve", 4], ["record-path", 5]]) {
  test(`the button ${button} records from where the machine is to where it ends`, async () => {
    await page.locator(`#${button}`).click();
    await page.locator("#record-status", { hasText: "Recording" }).waitFor();
    service.send("line", { ...line, kind, kind_name: "its kind", complete: false, recording: true });
    await page.locator("#record-words", { hasText: "its kind, 0.0 cm so far" }).waitFor();
    await be({ ...following, heading: 0.1 }, { time: 2, place: [3, 40] });
    await until(async () => await text("fact-heading") === "006°", "the machine has moved");
    assert.equal(await text("record-words"), "recording: its kind, 40.1 m so far");
    assert.equal(await page.locator("#say #recording").textContent(), "recording: its kind, 40.1 m so far");
    await page.locator("#record-end").click();
    await page.locator("#record-status", { hasText: "was recorded" }).waitFor();
    service.send("line", { ...line, kind, kind_name: "its kind", length: 40.1 });
    await page.locator("#log", { hasText: "line set: its kind" }).waitFor();
    assert.equal(await text("record-status"), "The drive was recorded.");
    assert.equal(await page.locator("#recording").isVisible(), false);
    assert.deepEqual(service.posted, [
      { operation: "start_wayline", arguments: [kind] },
      { operation: "set_waypoint", arguments: [0, 0.5, 0, 0, 0] },
      { operation: "set_waypoint", arguments: [1, 3, 40, 0, 0.1] },
    ]);
  });
}

test("what is said of a line or of recording ends with it, and nothing is said to be recorded that is not", async () => {
  await page.locator("#record-end").click();
  await page.locator("#record-status.bad", { hasText: "Nothing is being recorded" }).waitFor();
  assert.deepEqual(operations(), []);
  await page.locator("#record-curve").click();
  await page.locator("#record-status", { hasText: "Recording the A-B curve" }).waitFor();
  service.send("line", { ...line, kind: 4, kind_name: "A-B curve", complete: false, recording: true });
  await page.locator("#record-words", { hasText: "A-B curve" }).waitFor();
  service.send("line", line);
  await until(async () => await text("record-status") === "", "nothing is said of recording");
  await fillLine(0.5);
  await page.locator("#line-form [type=submit]").click();
  await page.locator("#line-status", { hasText: "The A-B line is set." }).waitFor();
  service.send("line", { ...line, nudge: 0.1 });
  service.send("line", { ...line, kind: 2, kind_name: "circle" });
  await page.locator("#log", { hasText: "line set: circle" }).waitFor();
  assert.equal(await text("line-status"), "");
});

test("the whole drive is shown, north up, and the track is saved as a table", async () => {
  const points = [[0, 0], [0, 500], [300, 500.25]];
  await page.reload();
  await service.asked(2);
  await begin("1", points);
  await shows("ready");
  await page.locator("#whole-drive").click();
  assert.equal(await page.locator("#follow").getAttribute("aria-pressed"), "false");
  assert.equal(await page.locator("#heading-up").getAttribute("aria-pressed"), "false");
  const [download] = await Promise.all([
    page.waitForEvent("download"),
    page.locator("#save-track").click(),
    until(() => service.trails.length === 3, "the track is asked for").then(() =>
      service.trails.at(-1).end(JSON.stringify({ interval: 0.1, end: 12.3, points, run: "1" }))),
  ]);
  assert.equal(download.suggestedFilename(), "track.csv");
  assert.equal(await readFile(await download.path(), "utf8"),
    "time_s,east_m,north_m\n12.1,0,0\n12.2,0,500\n12.3,300,500.25\n");
});
