// The live page: what comes from the service goes into the model, and from there to the panels.
import { History, drawErrors, drawSteering } from "./charts.js";
import { DrivePanel } from "./drivepanel.js";
import { DriveMap } from "./map.js";
import { FieldPanel } from "./fieldpanel.js";
import { LinePanel } from "./linepanel.js";
import { Passes } from "./passes.js";
import { Readings } from "./readings.js";
import { StepPanel } from "./steppanel.js";
import { Stream } from "./stream.js";
import { Trail } from "./trail.js";
import { TuningPanel } from "./tuningpanel.js";
import { degrees } from "./geometry.js";
import { forgetUnanswered, say } from "./messages.js";
import { listenToKeys } from "./keys.js";
import { trail as loadTrail } from "./service.js";
import { whenPaletteChanges } from "./palette.js";

const element = (id) => document.getElementById(id);

/** What the page knows; null until the service has told. */
const model = { state: null, line: null, settings: null, trail: new Trail(), lost: false };
const history = new History();
const passes = new Passes();
let arriving = null; // the states that come while the trail before them is loaded
let frame = null;
let chartsOld = true;

/** Draws once, with the next frame; goes on while the machine moves. */
function redraw() {
  frame ??= requestAnimationFrame(() => {
    frame = null;
    map.draw();
    if (chartsOld) {
      drawErrors(element("history"), history);
      drawSteering(element("steering"), history);
      chartsOld = false;
    }
    if (map.moving()) redraw();
  });
}

const map = new DriveMap(model, redraw);
const drive = new DrivePanel(model);
const tuning = new TuningPanel();
const step = new StepPanel(model);
const lines = new LinePanel(model, map, redraw);
const readings = new Readings();
new FieldPanel(model, map, redraw);

function showHistory(state) {
  history.add(state);
  chartsOld = true;
  const part = history.partInBand();
  element("history-words").textContent = part === null ? "–" : `${Math.round(part * 100)} % within 2.5 cm`;
  const side = (angle) => `${Math.abs(degrees(angle)).toFixed(1)}° ${angle < 0 ? "left" : "right"}`;
  element("steering-words").textContent =
    `${side(state.steering_angle)}, desired ${side(state.desired_steering_angle)}`;
}

const hear = {
  state(state) {
    model.state = state;
    model.trail.add([state.x, state.y]);
    arriving?.push(state);
    readings.show(state);
    drive.showState(state);
    step.showState(state);
    showHistory(state);
    map.moved();
  },
  line(line) {
    model.line = passes.whole(line);
  },
  settings(settings) {
    model.settings = settings;
    drive.showSettings(settings);
    tuning.showSettings(settings);
  },
};

function showConnection(lost, reason = "") {
  model.lost = lost;
  document.body.classList.toggle("old", lost);
  element("lost").hidden = !lost;
  element("lost-reason").textContent = reason;
  element("connection").textContent = lost ? "✕ no connection" : "● connected";
  if (!lost) forgetUnanswered();
  document.querySelectorAll("main button, #sliders input, .condition").forEach((control) => {
    if (control.closest("[data-local]") === null) control.disabled = lost;
  });
}

async function connected() {
  showConnection(false);
  passes.begin();
  const meanwhile = [];
  arriving = meanwhile;
  // Without an answer the trail begins here: what was driven before is not known, what comes is.
  const { end, points } = await loadTrail().catch(() => ({ end: -Infinity, points: [] }));
  if (arriving !== meanwhile) return; // connected anew since
  arriving = null;
  model.trail.replace(points);
  meanwhile.filter(({ time }) => time > end).forEach(({ x, y }) => model.trail.add([x, y]));
  redraw();
}

/** What a key asks of the service is not sent while that is lost, as little as by the button. */
const whileConnected = (act) => () => {
  if (model.lost) say(element("message"), "Not sent: there is no connection.", "bad", "unanswered");
  else act();
};

listenToKeys({
  e: whileConnected(() => drive.engage()),
  d: whileConnected(() => drive.disengage()),
  g: whileConnected(() => drive.start()),
  x: whileConnected(() => drive.stop()),
  s: whileConnected(() => drive.snap()),
  ",": whileConnected(() => drive.nudge(-1)),
  ".": whileConnected(() => drive.nudge(1)),
  t: () => step.run(),
  p: () => lines.pick(lines.clicks === null),
  escape: () => lines.pick(false),
  m: () => map.canvas.focus(),
  f: () => map.view.follow(!map.view.following),
  h: () => map.view.turn(!map.view.headingUp),
  "+": () => map.view.zoom(1.4),
  "=": () => map.view.zoom(1.4),
  "-": () => map.view.zoom(1 / 1.4),
});

whenPaletteChanges(() => {
  chartsOld = true;
  redraw();
});
addEventListener("resize", () => {
  chartsOld = true;
  redraw();
});

new Stream({
  connected,
  heard: (name, value) => {
    hear[name]?.(value);
    redraw();
  },
  lost: (reason) => {
    step.abandon("the connection was lost.");
    showConnection(true, reason);
    redraw();
  },
  rested: () => step.abandon("the page was hidden."),
});
