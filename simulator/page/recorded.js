// A recording in place of a service: nothing drives, and the page is always at a moment of it. A part of it can be
// saved as a recording.
import { clock } from "./readings.js";
import { say } from "./messages.js";

const element = (id) => document.getElementById(id);
const pollMilliseconds = 500; // while the recording is being read
const leastPart = 0.1; // seconds
const save = (blob, name) => {
  const link = document.createElement("a");
  link.href = URL.createObjectURL(blob);
  link.download = name;
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 60000);
};

/** What the page does with a recording. */
export class Recorded {
  /** @param opened is called once it has been read. */
  constructor(model, past, timeline, opened) {
    Object.assign(this, { model, past, timeline, opened, isOpen: false, part: { from: null, to: null } });
    element("part-from").addEventListener("click", () => this.setPart("from"));
    element("part-to").addEventListener("click", () => this.setPart("to"));
    element("part-save").addEventListener("click", () => this.savePart());
  }

  /** Takes in what was fetched, of a service too. */
  changed() {
    const { recording } = this.past;
    if (recording === null) return;
    if (this.model.recording === null) this.begin(recording);
    if (this.isOpen || !this.past.isWhole) return;
    if (recording.read < 1) this.sayReading(recording);
    else this.open(recording);
  }

  begin({ name }) {
    this.model.recording = name;
    document.body.classList.add("recorded");
    document.body.dataset.state = "recording";
    const place = element("engage-state");
    place.dataset.state = "recording";
    place.firstElementChild.textContent = "◷";
    const beside = document.createElement("small");
    beside.textContent = "nothing is driven";
    place.lastElementChild.replaceChildren("recording", beside);
    element("past-title").textContent = "Recording";
    element("part").hidden = false;
  }

  sayReading({ name, read }) {
    say(element("message"), `Reading ${name}: ${Math.floor(read * 100)} %`);
    setTimeout(() => this.past.refresh(), pollMilliseconds);
  }

  open({ name, problem, start }) {
    this.isOpen = true;
    const since = start === "" ? "" : `, begun ${start}`;
    if (problem === "") say(element("message"), `${name}${since}.`);
    else say(element("message"), `${name}: ${problem}.${this.past.isEmpty ? "" : " What could be read is shown."}`, "bad");
    if (!this.past.isEmpty) this.opened();
  }

  setPart(end) {
    const { past } = this.model;
    if (past === null) return;
    this.part[end] = past.time;
    const { from, to } = this.part;
    if (from !== null && to !== null && to - from < leastPart) this.part[end === "from" ? "to" : "from"] = null;
    this.showPart();
  }

  /** The part that is chosen: what is not chosen of it is the recording's own end. */
  get span() { return { from: this.part.from ?? this.past.begin, to: this.part.to ?? this.past.end }; }

  showPart() {
    const { from, to } = this.span;
    say(element("part-said"), `The part from ${clock(from)} to ${clock(to)}, ${(to - from).toFixed(1)} s.`);
    this.timeline.draw();
  }

  async savePart() {
    const { from, to } = this.span;
    const said = element("part-said");
    const name = `${this.model.recording.replace(/\.[^.]*$/, "")}-part.mcap`;
    element("part-save").disabled = true;
    say(said, `Cutting from ${clock(from)} to ${clock(to)} …`);
    try {
      const response = await fetch(`/recording/${Math.floor(from * 1000)}-${Math.ceil(to * 1000)}`);
      if (!response.ok) throw new Error((await response.json().catch(() => ({}))).error ?? `the answer is ${response.status}`);
      const blob = await response.blob();
      save(blob, name);
      say(said, `Saved ${name}: ${clock(from)} to ${clock(to)}, ${(blob.size / 1e6).toFixed(2)} MB.`);
    } catch (error) {
      say(said, `Not saved: ${error instanceof TypeError ? "the program does not answer" : error.message}.`, "bad");
    } finally {
      element("part-save").disabled = false;
    }
  }
}
