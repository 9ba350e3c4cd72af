import assert from "node:assert/strict";
import test from "node:test";
import { load } from "./page_modules.mjs";

const { EventParser, Stream, quietMilliseconds, watchMilliseconds } = await load("stream.js");
const { command, newestOnly } = await load("service.js");
const text = 'retry: 1000\n\nevent: state\ndata: {"x":1}\n\n: heartbeat\n\nevent: line\ndata: {"y":2}\n\n';
const events = [{ event: "state", data: '{"x":1}' }, { event: "line", data: '{"y":2}' }];

for (const length of [1, 2, 3, 7, 1000]) {
  test(`events are put together from pieces of ${length}`, () => {
    const parser = new EventParser();
    const heard = [];
    for (let i = 0; i < text.length; i += length) heard.push(...parser.take(text.slice(i, i + length)));
    assert.deepEqual(heard, events);
  });
}

test("an event that has not ended is not told", () => {
  assert.deepEqual(new EventParser().take("event: state\ndata: {}\n"), []);
});

/** Reads one answer as the page does; gives what `heard` is called with, and what is reported or lost. */
async function readOnce(t, body, heard) {
  const told = { heard: [], reported: [], aborted: false };
  const replaced = {
    document: Object.assign(new EventTarget(), { hidden: false }),
    setInterval: () => 0,
    setTimeout: () => 0,
    reportError: ({ message }) => told.reported.push(message),
    fetch: async (path, { signal }) => {
      signal.addEventListener("abort", () => { told.aborted = true; });
      return new Response(body);
    },
  };
  const kept = Object.fromEntries(Object.keys(replaced).map((name) => [name, globalThis[name]]));
  Object.assign(globalThis, replaced);
  t.after(() => Object.assign(globalThis, kept));
  told.lost = await new Promise((lost) => {
    new Stream({ lost, connected: () => {}, quiet: () => {}, heard: (name) => { told.heard.push(name); heard(name); } });
  });
  return told;
}

test("a fault of a handler is reported and ends no stream", async (t) => {
  const told = await readOnce(t, text, (name) => { if (name === "state") throw new Error("a fault"); });
  assert.deepEqual(told.heard, ["state", "line"]);
  assert.deepEqual(told.reported, ["a fault"]);
  assert.deepEqual([told.lost, told.aborted], ["The service has closed the connection.", true]);
});

test("a stream that cannot be read is given up with that reason", async (t) => {
  const told = await readOnce(t, "event: state\ndata: {\n\n", () => {});
  assert.deepEqual([told.lost, told.aborted], ["What the service tells cannot be read.", true]);
});

test("of values that come faster than they are sent the newest is", async () => {
  const sent = [];
  const waiting = [];
  const send = newestOnly((value) => new Promise((resolve) => { sent.push(value); waiting.push(resolve); }));
  const finished = send(1);
  send(2);
  send(3);
  waiting.shift()();
  await new Promise((resolve) => { setImmediate(resolve); });
  waiting.shift()();
  await finished;
  assert.deepEqual(sent, [1, 3]);
});

for (const [name, failure, message] of [
  ["does not come", new DOMException("", "TimeoutError"), "no answer within 3 s: given up"],
  ["cannot be asked for", new TypeError("fetch failed"), "the service does not answer"],
]) {
  test(`an answer that ${name} is told in words`, async (t) => {
    const { fetch } = globalThis;
    t.after(() => { globalThis.fetch = fetch; });
    let limit;
    globalThis.fetch = async (path, { signal }) => {
      limit = signal;
      throw failure;
    };
    await assert.rejects(command("DisengageSteering", 1), { message });
    assert.ok(limit instanceof AbortSignal);
  });
}

test("what is shown counts as old within a second, and later than a heartbeat comes", () => {
  const heartbeatMilliseconds = 500; // the service's
  assert.ok(quietMilliseconds + watchMilliseconds <= 1000);
  assert.ok(quietMilliseconds > heartbeatMilliseconds);
});
