// The figures and the lightbar at the top.
import {
  errorFigure, errorParts, isToSteer, lightSteps, lightbar, lightbarWords, shiftWords, sideSteeredTo, sideToSteerTo,
} from "./guidance.js";
import { degrees } from "./geometry.js";

const element = (id) => document.getElementById(id);

/** Metres per second as kilometres per hour. */
export const kilometresPerHour = (speed) => speed * 3.6;

function setText(place, value) {
  if (place.textContent !== value) place.textContent = value;
}

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
    this.words = { now: "Lightbar: no line", isOld: false, when: "" };
  }

  show(state) {
    const { drives_against: against } = state;
    this.showError(state);
    const text = (id, value) => setText(element(id), value);
    const unsigned = (value) => signed(value, 1).replace("+", "");
    text("fact-speed", unsigned(state.speed));
    text("fact-kmh", unsigned(kilometresPerHour(state.speed)));
    text("fact-heading", `${String(Math.round(degrees(state.heading)) % 360).padStart(3, "0")}°`);
    text("fact-pass", state.pass === null ? "–" : signed(state.pass, 0));
    text("fact-nudge", shiftWords(state.nudge, against));
    text("fact-time", clock(state.time));
  }

  showError(state) {
    const { cross_track_error: error, drives_against: against } = state;
    const { side, lit, middle } = lightbar(error, against);
    for (const light of this.lights) {
      const place = Number(light.dataset.place);
      const burns = place === 0 ? middle : Math.sign(place) === side && Math.abs(place) <= lit;
      light.classList.toggle("lit", burns);
    }
    const engaged = state.engage_state_name === "engaged";
    const steering = { engaged, angle: state.steering_angle, speed: state.speed };
    this.words.now = lightbarWords(error, against, steering);
    this.showWords();
    const { text, unit } = errorFigure(error, against);
    setText(element("error-figure"), text);
    setText(element("error-unit"), unit);
    const { where, way, act } = errorParts(error, against, steering);
    [where, way, act].forEach((part, i) => setText(element("error-words").children[i], part));
    const toSteer = isToSteer(steering) ? sideToSteerTo(error, against) : 0;
    this.showArrows(engaged, engaged && error !== null ? sideSteeredTo(error, state.steering_angle) : toSteer);
  }

  /** Takes in whether what is shown is of now: who only hears the page is to know it too. */
  showAge(old) {
    this.words.isOld = old !== "";
    this.showWords();
  }

  /** Takes in when what is shown was, "2 s ago"; empty for the present. */
  showPast(when) {
    this.words.when = when;
    this.showWords();
  }

  showWords() {
    const { now, isOld, when } = this.words;
    element("lightbar").setAttribute("aria-label", when ? `${when}: ${now}` : isOld ? `Old: ${now}` : now);
  }

  /** The arrow is an order to the driver, or what the machine does while it steers by itself. */
  showArrows(engaged, side) {
    for (const [id, its, name] of [["steer-left", -1, "left"], ["steer-right", 1, "right"]]) {
      const place = element(id);
      place.classList.toggle("now", side === its);
      place.classList.toggle("machine", engaged);
      setText(place.lastElementChild, engaged ? `steers ${name}` : `steer ${name}`);
    }
  }
}
