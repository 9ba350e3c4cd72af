import assert from "node:assert/strict";
import test from "node:test";
import { load } from "./page_modules.mjs";

const { EventParser } = await load("stream.js");
const { newestOnly } = await load("service.js");
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
