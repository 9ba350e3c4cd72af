// Engaging, navigation, nudging, the machine's settings: what the driver does.
import { Disengaging } from "./disengaging.js";
import { command, done, endWasAsked } from "./service.js";
import { report, say } from "./messages.js";
import { lengthWords, shiftTo, shiftWords } from "./guidance.js";
import { kilometresPerHour } from "./readings.js";
import { isEnd, isMuch, otherPass, otherSpeed, otherWidth, shifted } from "./moves.js";

const element = (id) => document.getElementById(id);

const marks = { engaged: "●", ready: "○", "not ready": "✕", dropped: "▲" };

/** A reason whatever its figures are, which change as the machine goes on. */
const withoutNumbers = (text) => text.replace(/[\d.]+/g, "0");

/** What the buttons do; the keys do the same. */
export class DrivePanel {
  /**
   * @param ended is called when steering has ended while the page looked on, and not by the page.
   * @param note takes a line for the log.
   */
  constructor(model, question, { ended, note }) {
    Object.assign(this, { model, question, ended, note });
    this.disengaging = new Disengaging(model, note);
    this.ending = null; // why steering has ended: {text, obstacles}, with those that there were then
    this.edited = new Set(); // the fields that hold what has not been sent
    this.shown = null; // the state of steering that is shown
    for (const name of ["engage", "disengage", "start", "stop", "snap", "unnudge"]) {
      element(name).addEventListener("click", () => this[name]());
    }
    element("nudge-left").addEventListener("click", () => this.nudge(-1));
    element("nudge-right").addEventListener("click", () => this.nudge(1));
    element("nearest-pass").addEventListener("click", () => this.follow(true));
    element("line-itself").addEventListener("click", () => this.follow(false));
    this.listenToMachine();
  }

  tell(request, said, holds = null) {
    return report(element("message"), request, said, { holds });
  }

  listenToMachine() {
    const form = element("machine-form");
    form.addEventListener("submit", (event) => {
      event.preventDefault();
      this.setMachine();
    });
    form.addEventListener("input", ({ target }) => {
      this.edited.add(target.id);
      this.showEdited();
    });
    form.addEventListener("keydown", (event) => {
      if (event.key === "Escape") this.forgetEdited("speed", "width");
    });
    const conditions = {
      "low-speed": "set_low_speed_engage_allowed",
      "reverse-enabled": "set_reverse_engage_enabled",
      "reverse-allowed": "set_reverse_engage_allowed",
    };
    for (const [id, operation] of Object.entries(conditions)) {
      element(id).addEventListener("change", ({ target }) => this.setCondition(operation, target.checked));
    }
  }

  async setCondition(operation, on) {
    const reply = await this.tell(command(operation, on, false), "Condition set.");
    // What was not done is not shown as done; what was comes back with the settings.
    if (reply === null || !done(reply)) this.showSettings(this.model.settings);
  }

  engage() {
    this.disengaging.forget();
    say(element("message"), "Asked to engage …"); // so that the same answer as before is seen to come
    return this.tell(this.model.engaging.follow(command("EngageSteering", 1), done), "Steering is engaged.",
      ({ state }) => state.engage_state_name === "engaged");
  }

  disengage() {
    if (this.shown !== "dropped") this.ending = null; // who presses this knows
    this.model.engaging.forget();
    return this.tell(this.disengaging.ask().then((reply) => reply ?? { result: 1, reasons: [] }),
      "Steering is yours.", ({ state }) => state.engage_state_name !== "engaged");
  }

  start() { this.follow(element("nearest").checked); }

  /** Starts navigation, or goes on with it, along the nearest pass or the line itself. */
  follow(nearest) {
    this.question.before(element("follow-status"), () => otherPass(nearest, this.model),
      nearest ? "Follow the nearest pass" : "Follow the line itself",
      () => this.tell(command("StartNavigation", 1, nearest), "Navigation is active.", ({ state }) => state.navigating));
  }

  stop() {
    return this.tell(command("StopNavigation", 1), "Navigation is ended.", ({ state }) => !state.navigating);
  }

  /** Puts the line under the machine; asks first where that is so far that it is hardly meant. */
  snap() {
    const { model } = this;
    const far = () => Math.abs(model.state?.cross_track_error ?? 0);
    const act = () => this.tell(command("AutoSetNudge", 1), "The line was put under the machine.",
      ({ state }) => Math.abs(state.cross_track_error ?? Infinity) < 0.05);
    if (far() <= (model.settings?.implement_width ?? Infinity) / 2) return act();
    return this.question.ask(element("nudge-status"),
      () => ({ by: far(), text: `The line moves by ${lengthWords(far())}, to where the machine is.` }), "Snap", act);
  }

  /** Does something that moves an engaged machine or ends its steering; asks first where `asks` of that is true. */
  moving(happens, asks, place, name, act) {
    if (this.model.engaging.isEngaged() && asks(happens())) this.question.before(element(place), happens, name, act);
    else act();
  }

  unnudge() {
    const { model } = this;
    const happens = () => shifted(-model.state.nudge, model);
    this.moving(happens, isMuch, "nudge-status", "Put the nudge back to 0", () =>
      this.tell(command("Nudge", 1, 0, 0), "The nudge is 0.", ({ state }) => state.nudge === 0));
  }

  /** Nudges to the driver's right (1) or left (-1). */
  nudge(side) {
    const against = this.model.state?.drives_against ?? false;
    const amount = Number(element("nudge-step").value);
    const metres = shiftTo(side, amount, against);
    const name = `${Math.round(amount * 100)} cm to the ${side < 0 ? "left" : "right"}`;
    this.moving(() => shifted(metres, this.model), isEnd, "nudge-status", `Nudge ${name}`, () => {
      const nudge = (this.model.state?.nudge ?? 0) + metres;
      this.tell(command("Nudge", 1, 1, metres), `Nudged ${name}.`, ({ state }) => Math.abs(state.nudge - nudge) < 0.001);
    });
  }

  /** Sends what a field of the machine holds; asks first where that ends steering or moves the machine. */
  setValue(id, request, said, holds, happens, name) {
    return new Promise((sent) => {
      this.moving(happens, isMuch, "machine-status", name, async () => {
        const reply = await this.tell(request(), said, holds);
        if (reply !== null && done(reply)) this.edited.delete(id);
        this.showEdited();
        sent(!this.edited.has(id));
      });
    });
  }

  async setMachine() {
    const [speed, width] = [element("speed").valueAsNumber, element("width").valueAsNumber];
    const widthIsNew = this.edited.has("width");
    if (this.edited.has("speed") || !widthIsNew) {
      const sent = await this.setValue("speed", () => command("SetVelocitySetPoint", speed), `Speed set to ${speed} m/s.`,
        ({ state }) => state.velocity_set_point === speed, () => otherSpeed(speed, this.model), `Set ${speed} m/s`);
      if (!sent) return;
    }
    if (!widthIsNew) return;
    await this.setValue("width", () => command("SetImplementWidth", 1, width), `Implement set to ${width} m.`,
      ({ settings }) => settings?.implement_width === width, () => otherWidth(width, this.model), `Set ${width} m`);
  }

  /** Puts back into fields what the service has told. */
  forgetEdited(...ids) {
    ids.forEach((id) => this.edited.delete(id));
    this.showSettings(this.model.settings);
  }

  /** Shows new settings, but for what is being edited. */
  showSettings(settings) {
    if (settings === null) return;
    const show = (id, value) => {
      if (!this.edited.has(id)) element(id).value = Number(value.toFixed(3));
    };
    show("speed", settings.velocity_set_point);
    show("width", settings.implement_width);
    this.showEdited();
    element("low-speed").checked = settings.low_speed_engage_allowed;
    element("reverse-enabled").checked = settings.reverse_engage_enabled;
    element("reverse-allowed").checked = settings.reverse_engage_allowed;
  }

  /** Shows which fields hold what has not been sent, and the speed in the other unit. */
  showEdited() {
    for (const id of ["speed", "width"]) element(id).classList.toggle("edited", this.edited.has(id));
    const speed = element("speed").valueAsNumber;
    element("speed-kmh").textContent = Number.isFinite(speed) ? `${kilometresPerHour(speed).toFixed(1)} km/h` : "";
  }

  showState(state) {
    const name = state.engage_state_name;
    this.noteEnd(state, name);
    this.disengaging.showState(state);
    element("nudge-words").textContent = shiftWords(state.nudge, state.drives_against);
    this.showReasons(state);
    const place = element("engage-state");
    const beside = document.createElement("small");
    const more = name === "dropped" ? "you steer" : state.navigating && name !== "engaged" && "navigating";
    if (more) beside.append(Object.assign(document.createElement("i"), { className: "unseen", textContent: ", " }), more);
    if (this.shown === name && place.lastElementChild.textContent === name + beside.textContent) return;
    if (this.shown !== name) {
      element("announcer").textContent = `Steering: ${name}${this.ending === null ? "" : `; ${this.ending.text}`}`;
    }
    this.shown = name;
    document.body.dataset.state = name;
    place.dataset.state = name;
    place.firstElementChild.textContent = marks[name] ?? "?";
    place.lastElementChild.replaceChildren(name, beside);
    this.showTitle();
  }

  /** The title of the window tells the state too, and whether that is one of now. */
  showTitle() {
    const { recording } = this.model;
    const steering = this.shown === null ? "Live view" : `${marks[this.shown] ?? "?"} ${this.shown}`;
    const name = recording === null ? steering : `◷ recording ${recording}`;
    const present = this.shown === "dropped" ? name.toUpperCase() : name;
    const now = this.model.old || present;
    const title = `${this.model.past && recording === null ? `◷ looking back, now: ${now}` : now} – navigation simulator`;
    if (document.title !== title) document.title = title;
  }

  /** Keeps why steering has ended, until it is engaged again or the driver has it end. */
  noteEnd(state, name) {
    const obstacles = state.why_not_engaged;
    const unasked = this.shown === "engaged" && !endWasAsked() && this.disengaging.wanted === null;
    if (name === "dropped") {
      const text = `dropped: ${state.drop_reason || "the service gives no reason"}`;
      if (this.shown === name && this.ending?.text === text) return;
      this.ending = { text, obstacles, reason: state.drop_reason };
      if (this.shown !== null) this.ended();
    } else if (name === "engaged" || this.shown === "dropped") {
      this.ending = null;
    } else if (unasked) {
      this.ending = { text: "Steering was ended, not by you: you steer.", obstacles, reason: "" };
      this.note("steering was ended, not by this page");
      this.ended();
    }
  }

  /** What stands in the way, and why steering has ended; what is newest first, since there is little room. */
  reasons(state) {
    const isWithoutLine = this.model.line !== null && !this.model.line.complete;
    const standing = [...isWithoutLine ? ["there is no line: set or record one"] : [], ...state.why_not_engaged];
    if (this.ending === null) return standing.map((text) => ({ text, ended: false }));
    const { text, obstacles, reason } = this.ending;
    const known = new Set(obstacles.map(withoutNumbers));
    const [before, since] = [[], []];
    for (const obstacle of standing) {
      if (withoutNumbers(obstacle) === withoutNumbers(reason)) continue; // it is said already
      (known.has(withoutNumbers(obstacle)) ? before : since).push({ text: obstacle, ended: false });
    }
    return [...since, { text, ended: true }, ...before];
  }

  showReasons(state) {
    const reasons = this.reasons(state);
    element("why").hidden = reasons.length === 0;
    const list = element("why-list");
    if (list.childElementCount === reasons.length
      && reasons.every(({ text }, i) => list.children[i].textContent === text)) return;
    list.replaceChildren(...reasons.map(({ text, ended }) => {
      const item = document.createElement("li");
      item.textContent = text;
      item.classList.toggle("ended", ended);
      return item;
    }));
  }
}
