// The live page: what comes from the service goes into the model, and from there to the panels.
import { Alarm } from "./alarm.js";
import { Boundary } from "./boundary.js";
import { CoveragePanel } from "./coveragepanel.js";
import { History, drawErrors, drawSteering } from "./charts.js";
import { ComparePanel } from "./comparepanel.js";
import { DrivePanel } from "./drivepanel.js";
import { DriveMap } from "./map.js";
import { Engaging } from "./engaging.js";
import { FieldPanel } from "./fieldpanel.js";
import { Journal } from "./journal.js";
import { LinePanel } from "./linepanel.js";
import { LookBack, shownModel } from "./lookback.js";
import { Passes } from "./passes.js";
import { Past } from "./past.js";
import { Question } from "./question.js";
import { Readings } from "./readings.js";
import { Recorded } from "./recorded.js";
import { RecordPanel } from "./recordpanel.js";
import { ShowMe } from "./showme.js";
import { StepPanel } from "./steppanel.js";
import { Saying } from "./saying.js";
import { Stream } from "./stream.js";
import { Timeline } from "./timeline.js";
import { Trail } from "./trail.js";
import { TuningPanel } from "./tuningpanel.js";
import { degrees } from "./geometry.js";
import { endMessages, forgetUnanswered, judgeBy, say } from "./messages.js";
import { keep, kept } from "./kept.js";
import { listenToKeys } from "./keys.js";
import { offerReport } from "./accuracy.js";
import { loadTrail, showsPresent } from "./service.js";
import { whenPaletteChanges } from "./palette.js";

const element = (id) => document.getElementById(id);
const keptHistory = "last-minute";
const trailPauseMilliseconds = 1000; // before it is asked for again
const pause = (milliseconds) => new Promise((resolve) => { setTimeout(resolve, milliseconds); });

/** What the page knows; null until the service has told. `old` says why that is not of now; empty when it is. */
const model = { state: null, line: null, settings: null, trail: new Trail(), run: null, lost: false,
  old: "… connecting", past: null, recording: null };
model.engaging = new Engaging(model);
judgeBy(model);
const noStateYet = "… no state yet";
const history = new History();
const passes = new Passes();
let connection = null; // the present one, another object each time
let stateOf = null; // the one that the last state came by
let arriving = null; // the states that come while the trail before them is loaded
let frame = null;
let chartsOld = true;

/** Draws once, with the next frame; goes on while the machine moves. */
function redraw() {
  frame ??= requestAnimationFrame(() => {
    frame = null;
    map.draw();
    if (chartsOld) {
      drawErrors(element("history"), look.isOn ? look.history : history);
      drawSteering(element("steering"), look.isOn ? look.history : history);
      chartsOld = false;
    }
    if (map.moving()) redraw();
  });
}

const map = new DriveMap(shownModel(model, () => look), redraw);
const question = new Question(model);
const alarm = new Alarm();
const drive = new DrivePanel(model, question, { ended: () => alarm.sound(), note: (text) => journal.note(text) });
const tuning = new TuningPanel();
const step = new StepPanel(model);
const compare = new ComparePanel(model, step);
const lines = new LinePanel(model, map, question, redraw);
const recording = new RecordPanel(model, question);
const readings = new Readings();
new Saying();
const boundary = new Boundary();
const coverage = new CoveragePanel(model, map, question, boundary, redraw);
new FieldPanel(model, map, question, boundary, { redraw, moved: () => coverage.clear() });
const journal = new Journal(model);
offerReport();
const past = new Past(() => {
  timeline.changed();
  recorded.changed();
  if (recorded.isOpen && model.old === noStateYet) showAge("");
});
const look = new LookBack(model, past, {
  shown: (state) => {
    readings.showPast(look.whenWords());
    readings.show(state);
    showInBand();
    map.moved();
    map.unreached = 0;
    redraw();
  },
  toggled: (on) => {
    question.leave();
    lines.leavePicking();
    if (!on) showPresent();
    showUsable();
    showAge(model.old);
  },
});
const timeline = new Timeline(model, past, look);
const showme = new ShowMe(model);

const recorded = new Recorded(model, past, timeline, () => {
  const way = Array.from({ length: past.to - past.from }, (_, i) => past.place(past.from + i));
  model.trail.replace(way);
  look.look(past.begin);
  timeline.draw();
});

/** Shows what is of now, where the page has looked back. */
function showPresent() {
  readings.showPast("");
  if (model.state !== null) readings.show(model.state);
  showInBand();
  map.moved();
  timeline.draw();
}

function showInBand() {
  chartsOld = true;
  element("history-words").textContent = look.isOn ? "the minute before" : history.inBandWords();
}

function showHistory(state) {
  history.add(state);
  if (look.isOn) return;
  showInBand();
  const side = (angle) => `${Math.abs(degrees(angle)).toFixed(1)}° ${angle < 0 ? "left" : "right"}`;
  element("steering-words").textContent =
    `${side(state.steering_angle)}, desired ${side(state.desired_steering_angle)}`;
}

const hear = {
  state(state) {
    model.state = state;
    model.trail.add([state.x, state.y]);
    arriving?.push(state);
    stateOf = connection;
    if (model.old === noStateYet) showAge("");
    if (!look.isOn) readings.show(state);
    drive.showState(state);
    model.engaging.showState(state);
    step.showState(state);
    question.showState(state);
    journal.showState(state);
    recording.showState(state);
    coverage.showState(state);
    showHistory(state);
    if (!look.isOn) map.moved();
    timeline.addState(state);
    showme.showTime();
  },
  show: (show) => showme.take(show),
  line(line) {
    model.line = passes.whole(line);
    recording.showLine(line);
    journal.showLine(line);
    timeline.fetchSoon();
  },
  settings(settings) {
    model.settings = settings;
    drive.showSettings(settings);
    tuning.showSettings(settings);
  },
};

/** Shows whether all that is shown is of now; `old` says why not. */
function showAge(old) {
  model.old = old;
  showsPresent(old === "" && !look.isOn, look.isOn && old === "" ? look.whyNothingIsSent : undefined);
  document.body.classList.toggle("old", old !== "");
  element("connection").textContent = old || "● connected";
  drive.showTitle();
  readings.showAge(old);
  step.showAge();
  question.showAge();
  redraw();
}

/** What asks something of the service can be used while that hears it, and who asks sees the present. */
function showUsable() {
  document.querySelectorAll("main button, #sliders input, .condition").forEach((control) => {
    if (control.closest("[data-local]") === null) control.disabled = model.lost || look.isOn || model.recording !== null;
  });
}

function showConnection(lost, reason = "") {
  model.lost = lost;
  element("lost").hidden = !lost;
  element("lost-reason").textContent = reason;
  if (lost) drive.disengaging.lost();
  else forgetUnanswered();
  showUsable();
  // A connection alone brings nothing of now.
  showAge(lost ? "✕ no connection" : recorded.isOpen ? "" : noStateYet);
}

/** Goes on with what was kept of this run of the service; begins anew with another one. */
function takeRun(run) {
  if (run === undefined || run === model.run) return;
  const before = kept("sessionStorage", keptHistory, {});
  const beforeRun = model.run ?? before.run ?? run;
  if (beforeRun !== run) {
    if (model.run !== null) history.clear();
    journal.note("the service has been started anew");
    say(element("message"), "The service has been started anew: look at line and settings.");
    map.view.reset();
  } else if (model.run === null) {
    history.restore(before.samples);
  }
  coverage.takeRun(run, beforeRun !== run);
  model.run = run;
  timeline.fetch();
  showInBand();
}

/** What is kept of a run that is not known yet is what was kept before. */
addEventListener("pagehide", () => {
  if (model.run !== null) keep("sessionStorage", keptHistory, { run: model.run, samples: history.samples });
});

/** Takes in the trail, and what has come while it was loaded. Gives whether there was an answer: without it, what comes. */
async function takeTrail(isFirst) {
  const meanwhile = [];
  arriving = meanwhile;
  const trail = await loadTrail().catch(() => null);
  if (arriving !== meanwhile) return true; // connected anew since
  arriving = null;
  if (trail === null) {
    if (isFirst) model.trail.replace(meanwhile.map(({ x, y }) => [x, y])); // what was driven before is not known
    return false;
  }
  takeRun(trail.run);
  if (model.recording === null) model.trail.replace(trail.points);
  meanwhile.filter(({ time }) => time > trail.end).forEach(({ x, y }) => model.trail.add([x, y]));
  redraw();
  return true;
}

async function connected() {
  const own = {};
  connection = own;
  showConnection(false);
  passes.begin();
  recording.connected();
  journal.connected();
  for (let isFirst = true; connection === own && !await takeTrail(isFirst); isFirst = false) await pause(trailPauseMilliseconds);
}

/** What a key asks of the service is not sent while that is lost, as little as by the button. */
const whileConnected = (act) => () => {
  if (model.lost) say(element("message"), "Not sent: there is no connection.", "bad", "unanswered");
  else if (look.isOn) say(element("message"), `Not sent: ${look.whyNothingIsSent}`, "bad", "unanswered");
  else act();
};

listenToKeys({
  e: whileConnected(() => drive.engage()),
  d: () => drive.disengage(),
  g: whileConnected(() => drive.start()),
  x: whileConnected(() => drive.stop()),
  s: whileConnected(() => drive.snap()),
  ",": whileConnected(() => drive.nudge(-1)),
  ".": whileConnected(() => drive.nudge(1)),
  t: () => step.run(),
  p: () => lines.togglePicking(),
  escape: () => { if (!question.leave() && !look.leave() && !showme.leave()) lines.leavePicking(); },
  l: () => element("timeline").focus(),
  m: () => map.canvas.focus(),
  f: () => map.view.follow(!map.view.following),
  h: () => map.view.turn(!map.view.headingUp),
  w: () => map.showDrive(),
  "+": () => map.view.zoom(1.4),
  "=": () => map.view.zoom(1.4),
  "-": () => map.view.zoom(1 / 1.4),
});

whenPaletteChanges(() => {
  coverage.pictures.repaint();
  chartsOld = true;
  compare.draw();
  redraw();
});
addEventListener("resize", () => {
  chartsOld = true;
  compare.draw();
  redraw();
});

new Stream({
  connected,
  heard: (name, value) => {
    hear[name]?.(value);
    endMessages();
    redraw();
  },
  quiet: (on) => {
    if (on) showAge("… no news");
    else showAge(stateOf === connection || recorded.isOpen ? "" : noStateYet);
  },
  lost: (reason) => {
    connection = null;
    journal.lost();
    showConnection(true, reason);
    step.abandon("the connection was lost.");
  },
  rested: () => {
    connection = null;
    step.abandon("the page was hidden.");
    journal.lost("the page was hidden: what happened meanwhile is not here");
    showAge("… paused");
  },
});

/** What never leaves the view takes this much of it: what is scrolled to comes to lie below, a question below Disengage. */
new ResizeObserver(() => {
  const setHeight = (name, pixels) => document.documentElement.style.setProperty(name, `${pixels + 8}px`);
  setHeight("--watch-height", element("watch").getBoundingClientRect().height);
  setHeight("--out-height", element("disengage").getBoundingClientRect().bottom);
}).observe(element("watch"));
