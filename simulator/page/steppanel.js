// The step test: shifts the line, watches the answer, keeps the scores.
import { Steadiness, bestScore, isScore, scoreStep, steadyMetres, stepMetres } from "./scoring.js";
import { command, done } from "./service.js";
import { keep, kept } from "./kept.js";
import { lengthWords, seenByDriver, shiftWords } from "./guidance.js";
import { refusalOf, say, sayFailure } from "./messages.js";
import { curveOf } from "./steptests.js";
import { short } from "./tuningpanel.js";

const element = (id) => document.getElementById(id);
const keptScores = "step-test-scores";
const mostScores = 30;
/** A shift of more than half a width drops steering; a bit of room is left for where the machine is. */
const leastWidth = 2 * stepMetres + 0.1;
const shiftMilliseconds = 3000;
const steady = "Steady: the step test can be run.";

/** The scores that the browser keeps for all pages of this address. */
function loadScores() {
  const scores = kept("localStorage", keptScores, []);
  return Array.isArray(scores) ? scores.filter(isScore).slice(-mostScores) : [];
}

/** An error with the side on which the driver sees the machine. */
function errorText({ cross_track_error: error, drives_against: against }) {
  if (error === null) return "no line";
  return `${lengthWords(error)} ${seenByDriver(error, against) < 0 ? "left" : "right"} of the line`;
}

/** The tuning that a test was run with. */
const tuningOf = (settings, state) => ({
  parameters: settings.tuning.map(({ value }) => value),
  lookAhead: settings.lookahead_time,
  speed: state.speed,
});

/** What must stay as it is during a test; the nudge is what the test itself changes. */
const conditionsOf = ({ state, line, settings }) =>
  JSON.stringify([state.pass, line.text, { ...settings, nudge: 0 }]);

/** The panel of the step test. */
export class StepPanel {
  constructor(model) {
    this.model = model;
    this.scores = loadScores();
    this.saved = true; // whether the browser keeps what is shown
    this.obstacleSaid = "";
    this.test = null;
    this.onScores = () => {}; // who else shows them
    this.steadiness = new Steadiness();
    element("step-run").addEventListener("click", () => this.run());
    element("step-clear").addEventListener("click", () => this.keep([]));
    addEventListener("storage", ({ key }) => {
      if (key !== null && key !== keptScores) return;
      this.reload(); // another page has scored or cleared
      this.showScores();
    });
    this.showScores();
  }

  say(text, bad = false) {
    this.obstacleSaid = "";
    const place = element("step-status");
    say(place, text, ...(bad ? ["bad"] : []));
    place.classList.toggle("of-now", this.test !== null);
  }

  /** Takes in that what is shown is of now, or is not any more. */
  showAge() {
    if (this.test === null) this.followObstacle();
  }

  /** Says why no test can be run, for as long as that is so, and when it is so no more. */
  sayObstacle(obstacle) {
    this.say(obstacle || steady, obstacle !== "");
    this.obstacleSaid = obstacle || steady;
  }

  /** Why no test can be run now; empty when one can. */
  obstacle() {
    const { state, line, settings, old } = this.model;
    if (this.test !== null) return "A test is running.";
    if (old !== "" || state === null || line === null || settings === null) return "Nothing comes from the service.";
    if (state.engage_state_name !== "engaged") return "Engage first: steering is not engaged.";
    if (line.implement_width < leastWidth) {
      return `The implement is narrower than ${leastWidth} m: a shift of ${stepMetres} m would end steering.`;
    }
    if (this.steadiness.metres < steadyMetres) {
      return `Not steady yet: ${this.steadiness.metres.toFixed(0)} m of ${steadyMetres} m within 2.5 cm of the line.`;
    }
    return "";
  }

  async run() {
    const obstacle = this.obstacle();
    if (obstacle !== "") {
      if (this.test === null) this.sayObstacle(obstacle);
      return;
    }
    const { state, settings } = this.model;
    // To and fro, so that many tests do not lead away from the line.
    const side = state.nudge > stepMetres / 2 ? -1 : 1;
    const test = { samples: [], nudge: state.nudge, last: null, tuning: tuningOf(settings, state),
      conditions: conditionsOf(this.model) };
    this.test = test;
    this.say("Shifting the line …");
    setTimeout(() => this.expectShift(test), shiftMilliseconds);
    try {
      const reply = await command("Nudge", 1, 1, side * stepMetres);
      if (!done(reply)) this.fail(test, `Refused: ${refusalOf(reply)}`);
    } catch (error) {
      if (this.test !== test) return;
      this.end("");
      sayFailure(element("step-status"), error);
    }
  }

  expectShift(test) {
    if (test.samples.length === 0) this.fail(test, "No score: the line did not move.");
  }

  /** Ends a test unless it has ended before. */
  fail(test, text) {
    if (this.test === test) this.end(text);
  }

  end(text, bad = true) {
    const { state } = this.model;
    const isMoved = state !== null && Math.abs(state.nudge - this.test.nudge) > 0.001;
    this.test = null;
    this.say(isMoved ? `${text} The line stays nudged ${shiftWords(state.nudge, state.drives_against)}.` : text, bad);
  }

  /** Ends a test that cannot be scored any more. */
  abandon(reason) {
    if (this.test !== null) this.end(`No score: ${reason}`);
    else this.followObstacle();
  }

  /** Takes a new state in. */
  showState(state) {
    const { test } = this;
    this.steadiness.take({ x: state.x, y: state.y, engaged: state.engage_state_name === "engaged",
      error: state.cross_track_error });
    if (test === null) return this.followObstacle();
    if (state.engage_state_name !== "engaged") return this.abandon("steering was disengaged.");
    if (conditionsOf(this.model) !== test.conditions) {
      return this.abandon("the tuning, the speed, the pass or something else was changed meanwhile.");
    }
    const shifted = Math.abs(Math.abs(state.nudge - test.nudge) - stepMetres) < 0.001;
    if (!shifted) {
      if (test.samples.length > 0) return this.abandon("the line was moved meanwhile.");
      return undefined;
    }
    return this.sample(state);
  }

  followObstacle() {
    if (this.obstacleSaid === "") return;
    const obstacle = this.obstacle();
    if ((obstacle || steady) !== this.obstacleSaid) this.sayObstacle(obstacle);
  }

  sample(state) {
    const { test } = this;
    const before = test.last;
    const distance = before === null ? 0
      : before.distance + Math.hypot(state.x - before.x, state.y - before.y);
    test.last = { x: state.x, y: state.y, distance };
    test.samples.push({ distance, error: state.cross_track_error });
    const score = scoreStep(test.samples);
    if (score.outcome === "running") {
      this.say(`Running: ${distance.toFixed(0)} m driven, ${errorText(state)}`);
      return;
    }
    const settled = score.settled === null ? "did not settle" : `settled after ${score.settled.toFixed(1)} m`;
    const { tuning } = test;
    const curve = curveOf(test.samples);
    this.end(`Scored: ${settled}, overshoot ${(score.overshoot * 100).toFixed(1)} cm${
      score.coarse ? ", roughly: the states come more than 1 m apart" : ""}.`, false);
    this.reload();
    this.keep([...this.scores, { ...score, ...tuning, number: this.nextNumber(), curve }].slice(-mostScores));
  }

  nextNumber() {
    return 1 + this.scores.reduce((most, { number }) => Math.max(most, number), 0);
  }

  /** Takes over what other pages of this browser have scored, unless this one's own could not be kept. */
  reload() {
    if (this.saved) this.scores = loadScores();
  }

  keep(scores) {
    this.scores = scores;
    this.saved = keep("localStorage", keptScores, scores);
    this.showScores();
  }

  showScores() {
    const best = bestScore(this.scores);
    const rows = this.scores.map((score, index) => this.row(score, index === best)).reverse();
    element("scores").tBodies[0].replaceChildren(...rows);
    element("scores").parentElement.hidden = rows.length === 0;
    this.onScores();
  }

  row(score, best) {
    const row = document.createElement("tr");
    row.classList.toggle("best", best);
    const head = document.createElement("th");
    head.scope = "row";
    head.textContent = best ? `${score.number} ★` : score.number;
    if (best) head.setAttribute("aria-label", `${score.number} ★, the best`);
    row.append(head);
    const values = [
      score.settled === null ? "no" : `${score.coarse ? "≈ " : ""}${score.settled.toFixed(1)}`, (score.overshoot * 100).toFixed(1),
      ...score.parameters.map(short), short(score.lookAhead), score.speed.toFixed(1),
    ];
    values.forEach((value) => { row.insertCell().textContent = value; });
    return row;
  }
}
