// What was, in pieces that are fetched: whatever comes when, there is no gap in it.
import { afterEach, beforeEach, test } from "node:test";
import assert from "node:assert/strict";
import { Past, stateOf } from "../../../simulator/page/past.js";
import { agoWords } from "../../../simulator/page/happened.js";

const [bytes, samples] = [56, 10];
let service; // {first, count, marks}: samples from number first * 10 on, count of them in all
let asked;
const realFetch = globalThis.fetch;

/** The bytes of samples by their numbers; each has its number as time, in hundredths. */
function bytesOf(from, to) {
  const view = new DataView(new ArrayBuffer(Math.max(0, to - from) * bytes));
  for (let number = from; number < to; number += 1) view.setUint32((number - from) * bytes, number, true);
  return view.buffer;
}

beforeEach(() => {
  asked = [];
  service = { run: "1", first: 0, count: 0, taken: 0, fails: -1 };
  globalThis.fetch = async (path) => {
    asked.push(path);
    const { run, first, count } = service;
    if (path === "/history") {
      service.taken = count;
      const full = Math.floor(count / samples) - first;
      const json = { run, first, pieces: full, open: count % samples, bytes, samples, interval: 0.1, marks: [], faults: [], recording: null };
      return { ok: true, json: async () => json };
    }
    const number = Number(path.split("/")[2]);
    if (number === service.fails || number < first) return { ok: false, status: 404, json: async () => ({}) };
    return { ok: true, arrayBuffer: async () => bytesOf(number * samples, Math.min(service.taken, (number + 1) * samples)) };
  };
});
afterEach(() => { globalThis.fetch = realFetch; });

/** The times that are here, from the first to the last; each can be read. */
const times = (past) => Array.from({ length: past.to - past.from }, (_, i) => Math.round(past.timeOf(past.from + i) * 100));
const range = (from, to) => Array.from({ length: to - from }, (_, i) => from + i);

test("what is fetched at any moment is all that there was, and each full piece is fetched once", async () => {
  const seen = [];
  const past = new Past(() => seen.push(times(past)));
  for (const count of [0, 3, 9, 10, 11, 25, 25, 30, 41, 77]) {
    service.count = count;
    await past.refresh();
    assert.deepEqual(times(past), range(0, count), `${count}`);
  }
  // At no moment was there a gap, nor less than before.
  let least = 0;
  for (const each of seen) {
    assert.deepEqual(each, range(0, each.length));
    assert.ok(each.length >= least, `${each.length} after ${least}`);
    least = each.length;
  }
  const full = asked.filter((path) => path === "/history/0");
  assert.ok(full.length <= 4, "while it was not full, and once then");
});

test("a long history comes from its newest piece backwards", async () => {
  service.count = 57;
  const ends = [];
  const past = new Past(() => ends.push([past.from, past.to]));
  await past.refresh();
  assert.deepEqual(asked, ["/history", ...[5, 4, 3, 2, 1, 0].map((number) => `/history/${number}`)]);
  assert.deepEqual(ends.slice(1, -1), [[50, 57], [40, 57], [30, 57], [20, 57], [10, 57], [0, 57]]);
});

test("what the service has no more goes, and another run begins anew", async () => {
  const past = new Past(() => {});
  service.count = 57;
  await past.refresh();
  Object.assign(service, { first: 3, count: 99 });
  await past.refresh();
  assert.deepEqual(times(past), range(30, 99));
  Object.assign(service, { run: "2", first: 0, count: 5 });
  await past.refresh();
  assert.deepEqual(times(past), range(0, 5));
});

test("a piece that does not come leaves what is here", async () => {
  const past = new Past(() => {});
  service.count = 15;
  await past.refresh();
  Object.assign(service, { count: 38, fails: 2 });
  await past.refresh();
  assert.deepEqual(times(past), range(0, 20));
  service.fails = -1;
  await past.refresh();
  assert.deepEqual(times(past), range(0, 38));
});

test("a moment is the last sample at or before a time", async () => {
  const past = new Past(() => {});
  assert.equal(past.stateAt(1), null);
  service.count = 33;
  await past.refresh();
  for (const [time, number] of [[-1, 0], [0, 0], [0.005, 0], [0.01, 1], [0.159, 15], [0.32, 32], [99, 32]]) {
    assert.equal(past.numberAt(time), number, `${time}`);
  }
});

test("a sample becomes a state with signs, names and what is not there", () => {
  const view = new DataView(new ArrayBuffer(bytes));
  view.setUint32(0, 1234, true);
  view.setInt32(4, -1500, true);
  view.setUint16(12, 16384, true);
  view.setInt16(20, -2500, true);
  view.setInt32(28, -(2 ** 31), true);
  view.setUint16(48, 2 + 4 + 32, true);
  view.setUint8(50, 3);
  view.setUint32(52, 2, true);
  const state = stateOf(view, 0, ["a", "b", "c"]);
  assert.equal(state.time, 12.34);
  assert.equal(state.x, -1.5);
  assert.equal(state.heading, Math.PI / 2);
  assert.equal(state.speed, -2.5);
  assert.equal(state.cross_track_error, null);
  assert.equal(state.pass, null);
  assert.equal(state.aim_point, null);
  assert.deepEqual([state.engage_state_name, state.navigating, state.reverse, state.drives_against], ["engaged", true, false, true]);
  assert.deepEqual([state.fix, state.faults], ["a fix that floats", ["b"]]);
  view.setInt32(28, -123, true);
  assert.equal(stateOf(view, 0, []).cross_track_error, -0.0123);
});

test("how long ago something was is said in words", () => {
  assert.deepEqual([-1, 0.4, 59.4, 60, 133, 3600, 7325].map(agoWords),
    ["0 s ago", "0 s ago", "59 s ago", "1 min 0 s ago", "2 min 13 s ago", "1 h 0 min ago", "2 h 2 min ago"]);
});
