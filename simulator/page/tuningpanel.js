// The sliders of the tuning parameters and the look-ahead time.
import { command, newestOnly } from "./service.js";
import { report } from "./messages.js";
import { roundDistance } from "./geometry.js";

const element = (id) => document.getElementById(id);

const titles = {
  sensitivity: "Sensitivity", aggressiveness: "Aggressiveness", overshoot: "Overshoot",
  speed_adjust: "Speed adjustment",
};
const lookAhead = { lowest: 0.2, start: 1.6, highest: 10 };
const stillMilliseconds = 600;

/** A number as short as it is told: at most two decimals. */
export const short = (value) => String(Math.round(value * 100) / 100);

/** One slider with its limits and its value in figures. */
class Slider {
  constructor(title, send) {
    this.send = newestOnly(send);
    this.told = null;
    this.moving = null; // the timer that runs until it has been still, null when it has been
    this.range = document.createElement("input");
    Object.assign(this.range, { type: "range", step: "any", min: 0, max: 100 });
    this.name = document.createElement("span");
    this.name.textContent = title;
    // No output element: it would take the label.
    this.figure = document.createElement("b");
    this.lowest = document.createElement("small");
    this.highest = document.createElement("small");
    this.node = document.createElement("label");
    this.node.className = "slider";
    this.node.append(this.name, this.figure, this.lowest, this.range, this.highest);
    this.range.setAttribute("aria-label", title);
    this.range.addEventListener("input", () => this.input());
  }

  input() {
    this.showValue(this.range.valueAsNumber);
    clearTimeout(this.moving);
    // The timer alone tells when that is over: it may run before a clock has come so far.
    this.moving = setTimeout(() => {
      this.moving = null;
      this.showTold();
    }, stillMilliseconds);
    this.send(Math.round(this.range.valueAsNumber * 1000) / 1000).then(() => this.showTold());
  }

  showValue(value) {
    this.figure.textContent = short(value);
    this.range.setAttribute("aria-valuetext", short(value));
  }

  /** Takes in what the service tells of the value and its limits. */
  show(told) {
    this.told = told;
    this.showTold();
  }

  /** Shows that, but leaves a slider alone that is being moved: it is shown when that is over. */
  showTold() {
    const { value, lowest, highest } = this.told;
    this.lowest.textContent = short(lowest);
    this.highest.textContent = short(highest);
    if (this.moving !== null) return;
    const step = highest > lowest ? roundDistance((highest - lowest) / 100) : 0.01;
    Object.assign(this.range, { min: lowest, max: highest, step });
    this.range.value = value;
    this.showValue(value);
  }
}

/** The panel of the sliders. */
export class TuningPanel {
  constructor() {
    this.sliders = new Map();
    this.settings = null;
    element("tuning-start").addEventListener("click", () => this.restore());
    element("integral").addEventListener("click", () =>
      report(element("message"), command("reset_integral"), "The integral is cleared."));
  }

  set(operation, ...values) {
    return report(element("message"), command(operation, ...values), "Tuning set.");
  }

  slider(key, title, send) {
    if (!this.sliders.has(key)) {
      const slider = new Slider(title, send);
      this.sliders.set(key, slider);
      element("sliders").append(slider.node);
    }
    return this.sliders.get(key);
  }

  async restore() {
    if (this.settings === null) return;
    for (const { number, start } of this.settings.tuning) {
      await this.set("set_tuning_parameter", number, start, false);
    }
    await this.set("set_lookahead_time", lookAhead.start, false);
  }

  showSettings(settings) {
    this.settings = settings;
    for (const parameter of settings.tuning) {
      const title = titles[parameter.name] ?? parameter.name;
      this.slider(parameter.name, title,
        (value) => this.set("set_tuning_parameter", parameter.number, value, false)).show(parameter);
    }
    this.slider("lookahead_time", "Look-ahead time, s",
      (value) => this.set("set_lookahead_time", value, false))
      .show({ ...lookAhead, value: settings.lookahead_time });
  }
}
