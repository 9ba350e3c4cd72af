// Looking back: the page shows a moment that was, and says so. What is true of steering now stays said, and
// Disengage goes on to work; nothing else is sent.
import { History } from "./charts.js";
import { agoWords, happenedWords, placeWords } from "./happened.js";
import { clock } from "./readings.js";

const element = (id) => document.getElementById(id);
const marks = { engaged: "●", ready: "○", "not ready": "✕", dropped: "▲" };
const chartSeconds = 60;
const setText = (place, text) => { if (place.textContent !== text) place.textContent = text; };

/** What the map is to show: the present, or the moment that is looked back at. */
export function shownModel(model, look) {
  return {
    get state() { return model.past ?? model.state; },
    get line() { return model.past === null ? model.line : look().lineThen(); },
    get settings() { return model.settings; },
    get trail() { return model.trail; },
    get old() { return model.past === null ? model.old : ""; },
  };
}

/** The moment that is looked back at, in place of the present; model.past has its state, null for the present. */
export class LookBack {
  /** `shown` is called when what is shown has become another moment, `toggled` when looking back begins or ends. */
  constructor(model, past, { shown, toggled }) {
    Object.assign(this, { model, past, shown, toggled });
    this.history = new History();
    element("past-leave").addEventListener("click", () => this.leave());
    element("happened").addEventListener("click", () => this.sayWhatHappened());
    // What lies over the page has room below all of it.
    const sheets = [element("past"), element("show-sheet")];
    const observer = new ResizeObserver(() => {
      const height = Math.max(...sheets.map((sheet) => sheet.getBoundingClientRect().height));
      document.documentElement.style.setProperty("--past-height", `${height}px`);
    });
    sheets.forEach((sheet) => observer.observe(sheet));
  }

  get isOn() { return this.model.past !== null; }

  /** Whether it is a recording that is looked at, of which nothing is of now. */
  get isRecording() { return this.past.recording !== null; }

  get whyNothingIsSent() {
    return this.isRecording ? "this is a recording: nothing is driven here." : "what is shown is not of now. Escape returns to live.";
  }

  /** Shows the moment of a time. */
  look(time) {
    const state = this.past.stateAt(time);
    if (state === null) return;
    const begins = !this.isOn;
    this.model.past = state;
    if (begins) this.begin();
    element("happened-words").replaceChildren();
    this.showWords();
    this.showChart(state.time);
    this.shown(state);
  }

  begin() {
    document.body.classList.add("past");
    element("past").hidden = false;
    element("past-leave").hidden = this.isRecording;
    element("past-now").hidden = this.isRecording;
    setText(element("past-said"), this.isRecording ? "A recording: nothing is driven here."
      : "Looking back: what is shown is not of now. Escape returns to live.");
    this.toggled(true);
  }

  /** Returns to the present. Gives whether the page was looking back. */
  leave() {
    if (!this.isOn || this.isRecording) return false;
    this.model.past = null;
    document.body.classList.remove("past");
    const hadFocus = element("past").contains(document.activeElement);
    element("past").hidden = true;
    element("happened-words").replaceChildren();
    setText(element("past-said"), "Live again.");
    if (hadFocus) element("timeline").focus({ preventScroll: true });
    this.toggled(false);
    return true;
  }

  /** How long ago the moment was, and in a recording when. */
  whenWords() {
    const { past, state } = this.model;
    if (this.isRecording) return `at ${clock(past.time)}`;
    return `${agoWords((state?.time ?? this.past.end) - past.time)}, at ${clock(past.time)}`;
  }

  showWords() {
    const { past } = this.model;
    const name = past.engage_state_name;
    setText(element("past-when"), this.whenWords());
    setText(element("past-then"), `${marks[name]} ${name}, ${placeWords(past)}`);
    this.showNow();
  }

  /** What is true of steering now is said here as well, whatever is looked at. */
  showNow() {
    if (!this.isOn || this.isRecording) return;
    const { state, old } = this.model;
    const name = state === null ? "unknown" : state.engage_state_name;
    setText(element("past-now"), `Now: ${marks[name] ?? "?"} ${name}${old === "" ? "" : " (old)"}`);
    setText(element("past-when"), this.whenWords());
    element("past").dataset.now = name;
  }

  /** The minute before the moment. */
  showChart(time) {
    const { past, history } = this;
    history.clear();
    history.endWords = clock(time);
    const last = past.numberAt(time);
    for (let number = past.numberAt(time - chartSeconds); number <= last; number += 1) history.add(past.state(number));
  }

  sayWhatHappened() {
    const items = happenedWords(this.past, this.model.past.time).map((text) => {
      const item = document.createElement("li");
      item.textContent = text;
      return item;
    });
    element("happened-words").replaceChildren(...items);
    element("past").scrollTop = 0;
  }

  /** The line of the moment, as far as it is the present one still; null where it was another one. */
  lineThen() {
    const { model: { line, past: then }, past } = this;
    if (line === null || past.marks.some(({ kind, time }) => kind === "line" && time > then.time)) return null;
    const isAside = Math.abs(line.nudge - then.nudge) > 0.0005 || line.pass !== (then.pass ?? line.pass);
    return isAside ? { ...line, followed: null, passes: [], nudge: then.nudge } : line;
  }
}
