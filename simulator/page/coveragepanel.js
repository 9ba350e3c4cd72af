// The panel of what has been worked: when the implement counts as working, the figures, and the field's boundary as it
// was driven around.
import { Coverage, areaOf } from "./coverage.js";
import { CoverageMap } from "./coveragemap.js";
import { keep, kept } from "./kept.js";
import { say } from "./messages.js";
import { simplified } from "./trail.js";
import { toScreen } from "./geometry.js";
import { palette } from "./palette.js";

const [keptWork, keptChoice] = ["worked", "working-when"];
const mostKept = 50000; // positions
const valuesEach = 6;
const workMilliseconds = 1.5; // of a slice
const sliceEvery = 16; // milliseconds
const longestBreak = 10; // seconds that are not seen, over which the strip goes on
const mostEarly = 600; // states before it is known of which run of the service they are
const leastStep = 0.05; // metres: who stands works nothing
const [ringStep, ringTolerance, mostOfRing] = [0.5, 0.05, 20000];

const element = (id) => document.getElementById(id);
const hectares = (square) => `${(square / 10000).toFixed(square < 1e5 ? 3 : 2)} ha`;
const percent = (part, of) => (of > 0 ? `${((100 * part) / of).toFixed(1)} %` : "–");

/** When the implement counts as working, by the name of the choice. */
const whens = {
  engaged: (state) => state.engage_state_name === "engaged",
  moving: () => true,
  never: () => false,
};

const contents = `
  <h2 id="coverage-title">Worked</h2>
  <label class="field">The implement works <select id="coverage-when"><option value="engaged">while steering is engaged</option>
    <option value="moving">whenever the machine moves</option><option value="never">not now</option></select></label>
  <dl class="keys" id="coverage-figures" aria-label="Figures of what was worked">
    <div><dt>Worked</dt><dd id="coverage-worked">–</dd></div>
    <div><dt>Overlap</dt><dd id="coverage-again">–</dd></div>
    <div><dt>Skipped</dt><dd id="coverage-gap">–</dd></div>
    <div><dt>Field</dt><dd id="coverage-field">no boundary</dd></div>
  </dl>
  <ul class="legend plain" aria-label="Legend of what was worked">
    <li><i class="mark worked"></i>worked</li><li><i class="mark again"></i>overlap, striped</li><li><i class="mark gap"></i>skipped, dotted</li>
  </ul>
  <label class="field">The boundary goes along the implement's <select id="boundary-side"><option value="-1">left end</option>
    <option value="0" selected>middle</option><option value="1">right end</option></select></label>
  <div class="row"><button type="button" id="boundary-record">Record boundary</button>
    <button type="button" id="boundary-end" data-local disabled>Close it here</button>
    <button type="button" id="coverage-clear" data-local>Clear what was worked</button></div>
  <p id="coverage-status" class="message" role="status"></p>`;

/** The panel, which stands below the one of recording. */
export class CoveragePanel {
  constructor(model, map, question, boundary, redraw) {
    Object.assign(this, { model, map, question, boundary, redraw, records: [], waiting: 0, station: 0, last: null, ring: null, early: [], timer: null });
    this.coverage = new Coverage();
    this.pictures = new CoverageMap(this.coverage);
    const panel = Object.assign(document.createElement("section"), { className: "panel", innerHTML: contents });
    panel.setAttribute("aria-labelledby", "coverage-title");
    element("record-title").closest("section").after(panel);
    this.when = element("coverage-when");
    this.when.value = kept("localStorage", keptChoice, "engaged");
    if (this.when.selectedIndex < 0) this.when.value = "engaged";
    this.when.addEventListener("change", () => keep("localStorage", keptChoice, this.when.value));
    element("boundary-record").addEventListener("click", () => this.record());
    element("boundary-end").addEventListener("click", () => this.endRecording());
    element("coverage-clear").addEventListener("click", () => question.ask(element("coverage-status"),
      () => ({ by: 0, text: "What was worked is forgotten; the boundary stays." }), "Clear it", () => this.clear()));
    boundary.heard = (rings) => { this.coverage.bound(rings); this.redraw(); };
    map.ground = (context, camera) => this.draw(context, camera);
    addEventListener("pagehide", () => this.keep());
  }

  clear() {
    Object.assign(this, { records: [], waiting: 0, last: null });
    this.coverage.clear();
    this.pictures.large.clear();
    say(element("coverage-status"), "Nothing is worked.");
    this.showFigures();
    this.redraw();
  }

  /** What is kept is of one run of the service. */
  keep() {
    const { run } = this.model;
    if (run !== null) keep("sessionStorage", keptWork, { run, records: this.records, last: this.last, station: this.station, rings: this.boundary.rings });
  }

  /** The service's run is known: goes on with what was kept of it, then with what has come meanwhile. */
  takeRun(run, isAnother) {
    if (isAnother) this.clear();
    const before = this.early === null ? {} : kept("sessionStorage", keptWork, {});
    if (before.run === run && Array.isArray(before.records)) {
      Object.assign(this, { records: before.records, last: before.last, station: before.station });
      if (before.rings.length > 0) this.boundary.set(before.rings);
    }
    const early = this.early ?? [];
    this.early = null;
    early.forEach((state) => this.showState(state));
  }

  /** Takes a state in: where the implement is now, and whether it works. */
  showState(state) {
    if (this.early !== null) {
      this.early.push(state);
      if (this.early.length > mostEarly) this.early.shift();
      return;
    }
    const { implement_place: place, implement_heading: heading, time, speed } = state;
    const width = this.model.line?.implement_width;
    if (!place || !Number.isFinite(heading) || !Number.isFinite(width)) return;
    if (this.ring !== null) this.goOnRecording(place, heading, width);
    if (!whens[this.when.value](state)) {
      this.last = null;
      return;
    }
    const { last } = this;
    const way = last === null ? 0 : Math.hypot(place[0] - last.place[0], place[1] - last.place[1]);
    const passed = last === null ? 0 : time - last.time;
    if (last !== null && passed >= 0 && way < leastStep) return;
    // A machine that is somewhere else at once, or that nobody has seen for long, has not worked on its way there.
    const joined = last !== null && passed > 0 && passed <= longestBreak && way <= 2 * Math.abs(speed) * passed + 1;
    this.station += way;
    this.last = { place, time };
    const values = [place[0] * 100, place[1] * 100, heading * 10000, width * 100, this.station * 10, joined ? 1 : 0];
    this.records.push(...values.map(Math.round));
    this.goOn();
    if (this.records.length > (mostKept + 1000) * valuesEach) this.forgetOldest();
  }

  /** The raster stays; a reload goes on with what is kept. */
  forgetOldest() {
    const gone = 1000 * valuesEach;
    if (this.waiting < gone) return;
    this.records.splice(0, gone);
    this.records[5] = 0;
    this.waiting -= gone;
  }

  /** Works off what waits, a slice in the time of a frame, however seldom frames are drawn. */
  goOn() {
    const { records, coverage } = this;
    if (this.timer !== null || (this.waiting >= records.length && coverage.old.size === 0)) return;
    this.timer = setTimeout(() => {
      this.timer = null;
      this.workOff();
      this.goOn();
    }, sliceEvery);
  }

  workOff() {
    const end = performance.now() + workMilliseconds;
    const { records, coverage } = this;
    while (this.waiting < records.length && performance.now() < end) {
      const [x, y, heading, width, station, joined] = records.slice(this.waiting, this.waiting + valuesEach);
      coverage.work({ x: x / 100, y: y / 100, heading: heading / 10000, width: width / 100, station: station / 10, joined: joined === 1 });
      this.waiting += valuesEach;
    }
    if (coverage.old.size === 0 || performance.now() >= end) return;
    this.pictures.settled(coverage.settleNext());
    this.showFigures();
    this.redraw();
  }

  draw(context, camera) {
    const isWhole = this.pictures.draw(context, camera, 0.5);
    this.drawRing(context, camera);
    this.goOn();
    if (!isWhole) setTimeout(this.redraw);
  }

  drawRing(context, camera) {
    if (this.ring === null) return;
    context.strokeStyle = palette.ink;
    context.lineWidth = 3;
    context.setLineDash([3, 6]);
    context.beginPath();
    this.ring.forEach((place) => context.lineTo(...toScreen(camera, ...place)));
    context.stroke();
    context.setLineDash([]);
  }

  showFigures() {
    const { worked, again, gap, outside, field } = this.coverage.figures();
    const show = (id, text) => { if (element(id).textContent !== text) element(id).textContent = text; };
    const beyond = field !== null && outside >= 0.5 ? `, and ${hectares(outside)} outside` : "";
    show("coverage-worked", `${hectares(worked)}${beyond}${this.coverage.isFull ? "; no room for more" : ""}`);
    show("coverage-again", `${percent(again, worked)} of it`);
    show("coverage-gap", percent(gap, worked + gap));
    show("coverage-field", field === null ? "no boundary" : `${hectares(field)}, ${percent(worked, field)} worked`);
  }

  record() {
    this.ring = [];
    this.showRecording(true);
    say(element("coverage-status"), "Drive around the field, then close the boundary.");
  }

  showRecording(on) {
    element("boundary-record").textContent = on ? "Begin the boundary anew" : "Record boundary";
    element("boundary-end").disabled = !on;
    element("boundary-side").disabled = on;
  }

  goOnRecording(place, heading, width) {
    const aside = (Number(element("boundary-side").value) * width) / 2;
    const corner = [place[0] + aside * Math.cos(heading), place[1] - aside * Math.sin(heading)];
    const before = this.ring.at(-1);
    if (before !== undefined && Math.hypot(corner[0] - before[0], corner[1] - before[1]) < ringStep) return;
    if (this.ring.length < mostOfRing) this.ring.push(corner);
    else say(element("coverage-status"), `The boundary has ${mostOfRing} points: no more are recorded. Close it.`, "bad");
  }

  endRecording() {
    const ring = simplified(this.ring, ringTolerance);
    const area = ring.length < 3 ? 0 : areaOf([ring]);
    if (area < 1) {
      say(element("coverage-status"), "That is no field yet: drive on around it, then close it.", "bad");
      return;
    }
    this.ring = null;
    this.showRecording(false);
    this.boundary.set([ring]);
    say(element("coverage-status"), `The boundary is closed: ${hectares(area)}.`);
  }
}
