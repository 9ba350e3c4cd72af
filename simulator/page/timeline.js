// The timeline below the map: a slider over the time that is kept. Drawn, or moved by keys, it has the page show
// the moment there.
import { drawTimeline, signs } from "./timelinedraw.js";
import { clock } from "./readings.js";
import { placeWords } from "./happened.js";
import { seenByDriver } from "./guidance.js";

const element = (id) => document.getElementById(id);
const mostTail = 1500; // states that have come since the history was fetched
const steadyMilliseconds = 60000; // after that it is fetched again, whatever happens
const leastMilliseconds = 1500; // and no sooner
const drawMilliseconds = 500; // between two pictures while nothing but time goes on
const nearPixels = 7; // of a mark, which a hand that comes so near is drawn to
const edgePixels = 4; // of the end, which is the present
const steps = { ArrowLeft: -1, ArrowDown: -1, ArrowRight: 1, ArrowUp: 1, PageDown: -10, PageUp: 10 };
const setAttribute = (node, name, value) => { if (node.getAttribute(name) !== String(value)) node.setAttribute(name, value); };

/** The strip with its buttons. */
export class Timeline {
  constructor(model, past, look) {
    Object.assign(this, { model, past, look, tail: [], wanted: null, asked: -Infinity, due: null, drawn: -Infinity, frame: null });
    this.slider = element("timeline");
    this.canvas = element("timeline-picture");
    this.end = 0; // of the window that is shown
    this.seen = null;
    this.listen();
    new ResizeObserver(() => this.draw()).observe(this.canvas);
  }

  listen() {
    const { slider } = this;
    slider.addEventListener("keydown", (event) => this.key(event));
    slider.addEventListener("pointerdown", (event) => {
      if (event.button !== 0) return;
      slider.setPointerCapture(event.pointerId);
      this.past.refresh();
      this.drawTo(event);
    });
    slider.addEventListener("pointermove", (event) => { if (slider.hasPointerCapture(event.pointerId)) this.drawTo(event); });
    slider.addEventListener("pointerup", () => this.comeIntoView());
    element("timeline-span").addEventListener("change", () => this.draw());
    element("mark-before").addEventListener("click", () => this.goToMark(-1));
    element("mark-after").addEventListener("click", () => this.goToMark(1));
  }

  /** The newest time that is known. */
  get now() { return Math.max(this.past.end, this.tail.at(-1)?.time ?? 0); }

  get begin() { return this.past.isEmpty ? this.tail[0]?.time ?? 0 : this.past.begin; }

  /** How many seconds the strip shows. */
  get span() {
    const chosen = Number(element("timeline-span").value);
    return chosen > 0 ? chosen : Math.max(10, this.now - this.begin);
  }

  /** The part of time that is shown: it has the moment that is looked at in it. */
  get window() {
    const { moment } = this;
    if (moment === null) this.end = this.now;
    else if (moment > this.end) this.end = moment;
    else if (moment < this.end - this.span) this.end = moment + this.span;
    this.end = Math.min(Math.max(this.end, Math.min(this.now, this.begin + this.span)), Math.max(this.now, this.begin + this.span));
    return { from: this.end - this.span, to: this.end };
  }

  get moment() { return this.model.past?.time ?? null; }

  /** Takes a new state in. */
  addState(state) {
    if (state.time < (this.tail.at(-1)?.time ?? 0)) this.tail = []; // another run
    this.tail.push({ time: state.time, error: seenByDriver(state.cross_track_error, state.drives_against), state: state.engage_state_name });
    if (this.tail.length > mostTail) this.tail.shift();
    const seen = [state.engage_state_name, state.nudge].join();
    const isNew = seen !== this.seen;
    this.seen = seen;
    if (isNew || performance.now() - this.asked > steadyMilliseconds) this.fetchSoon();
    if (performance.now() - this.drawn > drawMilliseconds) this.draw();
    this.look.showNow();
  }

  /** Something has happened that the service marks, such as a new line. */
  fetchSoon() {
    this.due ??= setTimeout(() => {
      this.due = null;
      this.fetch();
    }, Math.max(200, leastMilliseconds - (performance.now() - this.asked)));
  }

  fetch() {
    this.asked = performance.now();
    return this.past.refresh();
  }

  /** Takes in what was fetched: the tail is what has come since. */
  changed() {
    this.tail = this.tail.filter(({ time }) => time > this.past.end);
    this.draw();
  }

  key(event) {
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    const now = this.moment ?? this.now;
    if (event.key in steps) this.goTo(now + steps[event.key]);
    else if (event.key === "Home") this.goTo(this.begin);
    else if (event.key === "End") this.goTo(Infinity);
    else if (event.key === "Enter" && this.look.isOn) this.look.sayWhatHappened();
    else return;
    event.preventDefault();
    this.comeIntoView();
  }

  /** What lies over the page when it looks back is not to hide the strip. Not under a finger, which would move it. */
  comeIntoView() {
    // In the frame after the next one what lies over the page has its new height.
    requestAnimationFrame(() => requestAnimationFrame(() => this.slider.scrollIntoView({ block: "nearest" })));
  }

  drawTo({ clientX }) {
    const { left, width } = this.canvas.getBoundingClientRect();
    const { from, to } = this.window;
    const x = clientX - left;
    const time = from + (x / width) * (to - from);
    const seconds = ((to - from) / width) * nearPixels;
    const near = this.past.marks.filter((mark) => Math.abs(mark.time - time) < seconds)
      .sort((a, b) => Math.abs(a.time - time) - Math.abs(b.time - time))[0];
    const isPresent = x > width - edgePixels && to >= this.now;
    this.goTo(isPresent ? Infinity : near?.time ?? time);
  }

  /** Shows the moment of a time; beyond the end that is the present, where there is one. */
  goTo(time) {
    if (this.past.isEmpty) {
      this.fetch().then(() => { if (!this.past.isEmpty) this.goTo(time); });
      return;
    }
    if (time >= this.now && !this.look.isRecording) {
      this.look.leave();
    } else {
      this.wanted = Math.max(this.begin, Math.min(time, this.past.end));
      if (!this.look.isOn) this.fetch(); // what has come since is to be there too
      this.look.look(this.wanted);
    }
    this.draw();
  }

  /** Goes to the mark before (-1) or after (1) the moment. */
  goToMark(side) {
    const now = this.moment ?? this.now;
    const marks = this.past.marks.filter(({ time }) => (time - now) * side > 0.05 && time >= this.past.begin);
    const mark = side < 0 ? marks.at(-1) : marks[0];
    if (mark !== undefined) this.goTo(mark.time);
    else this.goTo(side < 0 ? this.begin : Infinity);
  }

  /** What is at a moment, to be heard. */
  words() {
    const { moment, model, look } = this;
    if (moment === null) return "live";
    const mark = this.past.marks.find(({ time }) => Math.abs(time - moment) < 0.3);
    const what = mark === undefined ? "" : `, ${mark.kind === "dropped" ? "dropped: " : ""}${mark.text}`;
    return `${look.whenWords()}, ${model.past.engage_state_name}, ${placeWords(model.past)}${what}`;
  }

  show() {
    const { slider } = this;
    setAttribute(slider, "aria-valuemin", Math.floor(this.begin));
    setAttribute(slider, "aria-valuemax", Math.max(Math.floor(this.begin) + 1, Math.ceil(this.now)));
    setAttribute(slider, "aria-valuenow", Math.round(this.moment ?? this.now));
    setAttribute(slider, "aria-valuetext", this.words());
    const isBare = this.past.marks.length === 0;
    for (const id of ["mark-before", "mark-after"]) setAttribute(element(id), "aria-disabled", isBare);
  }

  draw() {
    this.frame ??= requestAnimationFrame(() => {
      this.frame = null;
      this.drawn = performance.now();
      const { from, to } = this.window;
      const marks = this.past.marks.filter(({ time, kind }) => time >= from && time <= to && kind in signs);
      drawTimeline(this.canvas, { past: this.past, tail: this.tail, from, to, marks, moment: this.moment });
      element("timeline-from").textContent = clock(Math.max(0, from));
      element("timeline-to").textContent = this.look.isRecording ? clock(to) : to >= this.now ? "now" : clock(to);
      this.show();
    });
  }
}
