// The figures and the lightbar at the top.
import {
  errorFigure, errorWords, lightSteps, lightbar, lightbarWords, shiftWords, sideToSteerTo,
} from "./guidance.js";
import { degrees } from "./geometry.js";

const element = (id) => document.getElementById(id);

/** Seconds as hours, minutes and seconds. */
export function clock(seconds) {
  const whole = Math.floor(seconds);
  const two = (value) => String(value).padStart(2, "0");
  const [hours, minutes] = [Math.floor(whole / 3600), Math.floor(whole / 60) % 60];
  return `${hours > 0 ? `${hours}:` : ""}${two(minutes)}:${two(whole % 60)}`;
}

/** A number that shows on which side of 0 it is. */
const signed = (value, decimals) => {
  const text = Math.abs(value).toFixed(decimals);
  if (Number(text) === 0) return text;
  return (value > 0 ? "+" : "−") + text;
};

/** Builds the lights: left ones, the middle, right ones. */
function lights() {
  const bar = element("lightbar");
  const count = lightSteps.length;
  for (let place = -count; place <= count; place += 1) {
    const light = document.createElement("i");
    light.dataset.place = place;
    if (place === 0) light.className = "middle";
    bar.append(light);
  }
  return [...bar.children];
}

/** The readings; `show` is called with each state. */
export class Readings {
  constructor() {
    this.lights = lights();
  }

  show(state) {
    const { drives_against: against } = state;
    this.showError(state.cross_track_error, against);
    const text = (id, value) => {
      const place = element(id);
      if (place.textContent !== value) place.textContent = value;
    };
    text("fact-speed", signed(state.speed, 1).replace("+", ""));
    text("fact-heading", `${String(Math.round(degrees(state.heading)) % 360).padStart(3, "0")}°`);
    text("fact-pass", state.pass === null ? "–" : signed(state.pass, 0));
    text("fact-nudge", shiftWords(state.nudge, against));
    text("fact-time", clock(state.time));
  }

  showError(error, against) {
    const { side, lit, middle } = lightbar(error, against);
    for (const light of this.lights) {
      const place = Number(light.dataset.place);
      const burns = place === 0 ? middle : Math.sign(place) === side && Math.abs(place) <= lit;
      light.classList.toggle("lit", burns);
    }
    element("lightbar").setAttribute("aria-label", lightbarWords(error, against));
    element("error-figure").textContent = errorFigure(error, against);
    element("error-words").textContent = errorWords(error, against);
    const steer = sideToSteerTo(error, against);
    element("steer-left").classList.toggle("now", steer < 0);
    element("steer-right").classList.toggle("now", steer > 0);
  }
}
