// The log of what has happened, as this page has seen it, and the track as a file.
import { keep, kept } from "./kept.js";
import { say, sayFailure } from "./messages.js";
import { clock } from "./readings.js";
import { shiftWords } from "./guidance.js";
import { loadTrail } from "./service.js";

const element = (id) => document.getElementById(id);
const keptEntries = "what-has-happened";
const keptSeen = "last-seen";
const mostEntries = 200;
const isEntry = (value) => value !== null && typeof value === "object"
  && [value.at, value.time, value.text].every((text) => typeof text === "string");

/** What of a line makes it another one. */
const lineKey = ({ complete, recording, kind, labels, length }) =>
  JSON.stringify([complete, recording, kind, labels, complete ? length : 0]);

function lineText({ complete, recording, kind, kind_name: name }) {
  if (complete) return `line set: ${name}`;
  if (recording) return `recording: ${name}`;
  return kind < 0 ? "line dropped" : `line begun: ${name}`;
}

const steeringText = (state) => ({ engaged: "engaged", dropped: `dropped: ${state.drop_reason}` })[
  state.engage_state_name] ?? "disengaged";

/** What of a state is worth a line in the log, by what it was before. */
function changes(before, state) {
  const texts = [];
  const steering = ({ engage_state_name: name }) => (["engaged", "dropped"].includes(name) ? name : "");
  if (steering(before) !== steering(state)) texts.push(steeringText(state));
  if (before.navigating !== state.navigating) texts.push(`navigation ${state.navigating ? "started" : "ended"}`);
  if (before.nudge !== state.nudge) texts.push(`nudged: ${shiftWords(state.nudge, state.drives_against)}`);
  return texts;
}

/** Has the browser save a text under a name. */
export function save(name, type, text) {
  const link = document.createElement("a");
  link.href = URL.createObjectURL(new Blob([text], { type }));
  link.download = name;
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 60000);
}

/** The track as a table: seconds, metres east and north. */
export function trackTable({ interval, end, points }) {
  const timeOf = (i) => (end - (points.length - 1 - i) * interval).toFixed(1);
  const rows = points.map(([x, y], i) => `${timeOf(i)},${x},${y}`);
  return ["time_s,east_m,north_m", ...rows, ""].join("\n");
}

/** The log; it is kept over a reload of the page. */
export class Journal {
  constructor(model) {
    this.model = model;
    const entries = kept("sessionStorage", keptEntries, []);
    this.entries = Array.isArray(entries) ? entries.filter(isEntry).slice(-mostEntries) : [];
    // What was there when the page was left, so that what has changed since is in the log too.
    const seen = kept("sessionStorage", keptSeen, {});
    this.state = seen.state ?? null;
    this.line = seen.line ?? null;
    this.wasLost = false;
    addEventListener("pagehide", () => this.keepSeen());
    element("save-log").addEventListener("click", () => save("log.txt", "text/plain", this.text()));
    element("save-track").addEventListener("click", () => this.saveTrack());
    element("log").replaceChildren(...this.entries.map((entry) => Journal.item(entry)).reverse());
  }

  static item({ at, time, text }) {
    const item = document.createElement("li");
    const moment = document.createElement("time");
    moment.textContent = `${at} (${time})`;
    item.append(moment, text);
    return item;
  }

  text() {
    return [...this.entries.map(({ at, time, text }) => `${at}\t${time}\t${text}`), ""].join("\n");
  }

  /** Adds a line: the time of day, and in brackets that of the simulation. */
  note(text) {
    const { state } = this.model;
    const entry = { at: new Date().toTimeString().slice(0, 8), time: state === null ? "–" : clock(state.time), text };
    this.entries.push(entry);
    const list = element("log");
    list.prepend(Journal.item(entry));
    if (this.entries.length > mostEntries) {
      this.entries.shift();
      list.lastElementChild.remove();
    }
    keep("sessionStorage", keptEntries, this.entries);
  }

  keepSeen() {
    if (this.state === null) return;
    const { engage_state_name, navigating, nudge } = this.state;
    keep("sessionStorage", keptSeen, { state: { engage_state_name, navigating, nudge }, line: this.line });
  }

  showState(state) {
    if (this.state !== null) changes(this.state, state).forEach((text) => this.note(text));
    this.state = state;
  }

  showLine(line) {
    const key = lineKey(line);
    if (this.line !== null && this.line !== key) this.note(lineText(line));
    this.line = key;
  }

  lost(text = "connection lost") {
    if (!this.wasLost) this.note(text);
    this.wasLost = true;
  }

  connected() {
    if (this.wasLost) this.note("connected again");
    this.wasLost = false;
  }

  async saveTrack() {
    const place = element("log-status");
    try {
      const track = await loadTrail();
      save("track.csv", "text/csv", trackTable(track));
      say(place, `The track has ${track.points.length} positions.`);
    } catch (error) {
      sayFailure(place, error);
    }
  }
}
