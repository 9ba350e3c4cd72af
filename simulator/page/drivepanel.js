// Engaging, navigation, nudging, the machine's settings: what the driver does.
import { command, done } from "./service.js";
import { report } from "./messages.js";
import { shiftTo, shiftWords } from "./guidance.js";

const element = (id) => document.getElementById(id);

const marks = { engaged: "●", ready: "○", "not ready": "✕", dropped: "▲" };

const tell = (request, said) => report(element("message"), request, said);

/** What the buttons do; the keys do the same. */
export class DrivePanel {
  constructor(model) {
    this.model = model;
    this.edited = new Set(); // the fields that hold what has not been sent
    for (const name of ["engage", "disengage", "start", "stop", "snap", "unnudge"]) {
      element(name).addEventListener("click", () => this[name]());
    }
    element("nudge-left").addEventListener("click", () => this.nudge(-1));
    element("nudge-right").addEventListener("click", () => this.nudge(1));
    this.listenToMachine();
  }

  listenToMachine() {
    const form = element("machine-form");
    form.addEventListener("submit", (event) => {
      event.preventDefault();
      this.setMachine();
    });
    form.addEventListener("input", ({ target }) => this.edited.add(target.id));
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
    const reply = await tell(command(operation, on, false), "Condition set.");
    // What was not done is not shown as done; what was comes back with the settings.
    if (reply === null || !done(reply)) this.showSettings(this.model.settings);
  }

  engage() { return tell(command("EngageSteering", 1), "Steering is engaged."); }

  disengage() { return tell(command("DisengageSteering", 1), "Steering is yours."); }

  start() {
    const nearest = element("nearest").checked;
    return tell(command("StartNavigation", 1, nearest), "Navigation is active.");
  }

  stop() { return tell(command("StopNavigation", 1), "Navigation is ended."); }

  snap() { return tell(command("AutoSetNudge", 1), "The line is under the machine."); }

  unnudge() { return tell(command("Nudge", 1, 0, 0), "The nudge is 0."); }

  /** Nudges to the driver's right (1) or left (-1). */
  nudge(side) {
    const against = this.model.state?.drives_against ?? false;
    const amount = Number(element("nudge-step").value);
    const name = `${Math.round(amount * 100)} cm to the ${side < 0 ? "left" : "right"}`;
    return tell(command("Nudge", 1, 1, shiftTo(side, amount, against)), `Nudged ${name}.`);
  }

  async setMachine() {
    const [speed, width] = [element("speed").valueAsNumber, element("width").valueAsNumber];
    const send = async (id, request, said) => {
      const reply = await tell(request, said);
      if (reply !== null && done(reply)) this.edited.delete(id);
      return !this.edited.has(id);
    };
    const widthIsNew = this.edited.has("width");
    if (this.edited.has("speed") || !widthIsNew) {
      const sent = await send("speed", command("SetVelocitySetPoint", speed), `Speed ${speed} m/s.`);
      if (!sent) return;
    }
    if (widthIsNew) await send("width", command("SetImplementWidth", 1, width), `Implement ${width} m wide.`);
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
    element("low-speed").checked = settings.low_speed_engage_allowed;
    element("reverse-enabled").checked = settings.reverse_engage_enabled;
    element("reverse-allowed").checked = settings.reverse_engage_allowed;
  }

  showState(state) {
    const name = state.engage_state_name;
    element("nudge-words").textContent = shiftWords(state.nudge, state.drives_against);
    this.showReasons(state, name);
    const place = element("engage-state");
    const text = name + (name === "engaged" ? "" : state.navigating ? ", navigating" : "");
    if (place.dataset.state === name && place.lastElementChild.textContent === text) return;
    if (place.dataset.state !== name) {
      const why = name === "dropped" ? `: ${state.drop_reason}` : "";
      element("announcer").textContent = `Steering: ${name}${why}`;
    }
    place.dataset.state = name;
    place.firstElementChild.textContent = marks[name] ?? "?";
    place.lastElementChild.textContent = text;
  }

  showReasons(state, name) {
    const reasons = [...state.why_not_engaged];
    if (name === "dropped") reasons.unshift(`dropped by the service: ${state.drop_reason}`);
    element("why").hidden = reasons.length === 0;
    const list = element("why-list");
    if (list.childElementCount === reasons.length
      && reasons.every((reason, i) => list.children[i].textContent === reason)) return;
    list.replaceChildren(...reasons.map((reason) => {
      const item = document.createElement("li");
      item.textContent = reason;
      return item;
    }));
  }
}
