// What was: the samples and marks that the service keeps of the last hour, or of a recording. They are fetched in
// pieces, each once, the newest first.
import { loadHistory, loadPiece } from "./service.js";

const stateNames = ["not ready", "ready", "engaged", "dropped"];
const fixNames = ["no position", "satellites alone", "a wide-area correction", "a fix that floats", "a resolved fix"];
const noError = -(2 ** 31);

/** Where the values of a sample lie in its bytes; docs/live-page.md has them. */
const places = { time: 0, x: 4, y: 8, heading: 12, implementHeading: 14, implement: 16, speed: 20, setPoint: 22,
  angle: 24, desired: 26, error: 28, implementError: 32, headingError: 36, pass: 38, nudge: 40, aim: 44, flags: 48,
  fix: 50, age: 51, faults: 52 };

const metresAt = (view, at) => {
  const value = view.getInt32(at, true);
  return value === noError ? null : value / 10000;
};
const besideAt = (view, at, [x, y]) => [x + view.getInt16(at, true) / 100, y + view.getInt16(at + 2, true) / 100];
const headingAt = (view, at) => (view.getUint16(at, true) / 65536) * 2 * Math.PI;

/** A sample as the service tells a state, with the receiver's fix and the faults beside it. */
export function stateOf(view, at, faultNames) {
  const whole = (place) => view.getInt16(at + places[place], true);
  const [x, y] = [view.getInt32(at + places.x, true) / 1000, view.getInt32(at + places.y, true) / 1000];
  const flags = view.getUint16(at + places.flags, true);
  const has = (bit) => Math.floor(flags / bit) % 2 === 1;
  const faults = view.getUint32(at + places.faults, true);
  const error = metresAt(view, at + places.error);
  return {
    time: view.getUint32(at, true) / 100, x, y, heading: headingAt(view, at + places.heading),
    speed: whole("speed") / 1000, velocity_set_point: whole("setPoint") / 1000,
    steering_angle: whole("angle") / 10000, desired_steering_angle: whole("desired") / 10000, wheelbase: 2.8,
    engage_state: flags % 4, engage_state_name: stateNames[flags % 4],
    navigating: has(4), reverse: has(8), fed: has(16), drives_against: has(32), takes_nearest_pass: has(64),
    guide: has(256) ? "implement" : "machine",
    cross_track_error: error, implement_cross_track_error: metresAt(view, at + places.implementError),
    heading_error: error === null ? null : whole("headingError") / 10000,
    pass: error === null ? null : whole("pass"), nudge: metresAt(view, at + places.nudge) ?? 0,
    aim_point: has(128) ? besideAt(view, at + places.aim, [x, y]) : null,
    implement_place: besideAt(view, at + places.implement, [x, y]),
    implement_heading: headingAt(view, at + places.implementHeading),
    commanded_curvature: 0, why_not_engaged: [], drop_reason: "",
    fix: fixNames[view.getUint8(at + places.fix)] ?? "an unknown fix", correction_age: view.getUint8(at + places.age),
    faults: faultNames.filter((_, bit) => Math.floor(faults / 2 ** bit) % 2 === 1),
  };
}

/** Samples are numbered from the first that the service ever had; `from` is the first that is here, `to` behind the last. */
export class Past {
  /** @param changed is called when there is more. */
  constructor(changed) {
    this.changed = changed;
    this.busy = null;
    this.forget();
  }

  forget() {
    Object.assign(this, { run: null, pieces: new Map(), marks: [], faults: [], recording: null, isWhole: false, bytes: 56,
      samples: 600, from: 0, to: 0, interval: 0.1 });
  }

  /** Fetches what is not here yet. One at a time: who asks meanwhile waits for the one under way. */
  refresh() {
    this.busy ??= this.fetch().catch(() => null).finally(() => { this.busy = null; });
    return this.busy;
  }

  async fetch() {
    const index = await loadHistory();
    if (index.run !== this.run) this.forget();
    this.isWhole = false;
    const { run, marks, faults, recording, bytes, samples, interval, first, pieces, open } = index;
    Object.assign(this, { run, marks, faults, recording, bytes, samples, interval });
    for (const number of this.pieces.keys()) if (number < first) this.pieces.delete(number);
    const last = open > 0 ? first + pieces : first + pieces - 1;
    const missing = [];
    for (let number = first; number <= last; number += 1) {
      if (number === first + pieces || !this.isFull(number)) missing.push(number);
    }
    // At first the newest comes first; what is here goes on without a gap.
    if (this.pieces.size === 0) missing.reverse();
    this.count();
    for (const number of missing) {
      this.pieces.set(number, new DataView(await loadPiece(number)));
      this.count();
    }
    this.isWhole = true;
    this.changed();
  }

  isFull(number) { return this.pieces.get(number)?.byteLength === this.samples * this.bytes; }

  /** Takes in which pieces are here: those up to the newest without a gap. */
  count() {
    const newest = Math.max(...this.pieces.keys());
    let first = newest;
    while (this.isFull(first - 1)) first -= 1;
    const isThere = newest >= 0;
    this.from = isThere ? first * this.samples : 0;
    this.to = isThere ? newest * this.samples + Math.floor(this.pieces.get(newest).byteLength / this.bytes) : 0;
    this.changed();
  }

  get isEmpty() { return this.to <= this.from; }

  at(number) {
    const view = this.pieces.get(Math.floor(number / this.samples));
    return [view, (number % this.samples) * this.bytes];
  }

  timeOf(number) {
    const [view, at] = this.at(number);
    return view.getUint32(at, true) / 100;
  }

  place(number) {
    const [view, at] = this.at(number);
    return [view.getInt32(at + places.x, true) / 1000, view.getInt32(at + places.y, true) / 1000];
  }

  /** What a chart needs of a sample: {time, error, state}, the error as the driver sees it. */
  glance(number) {
    const [view, at] = this.at(number);
    const flags = view.getUint16(at + places.flags, true);
    const error = metresAt(view, at + places.error);
    return { time: view.getUint32(at, true) / 100, error: error !== null && Math.floor(flags / 32) % 2 === 1 ? -error : error,
      state: stateNames[flags % 4] };
  }

  state(number) { return stateOf(...this.at(number), this.faults); }

  /** The number of the sample at a time or the last one before it; the first where there is none before. */
  numberAt(time) {
    let [low, high] = [this.from, this.to - 1];
    while (low < high) {
      const middle = Math.ceil((low + high) / 2);
      if (this.timeOf(middle) <= time) low = middle;
      else high = middle - 1;
    }
    return low;
  }

  /** What was at a time; null where nothing is kept. */
  stateAt(time) { return this.isEmpty ? null : this.state(this.numberAt(time)); }

  get begin() { return this.isEmpty ? 0 : this.timeOf(this.from); }

  get end() { return this.isEmpty ? 0 : this.timeOf(this.to - 1); }
}
