// What happened, in words: why steering was dropped, and what was before it.
import { errorFigure, lengthWords, seenByDriver } from "./guidance.js";
import { clock } from "./readings.js";

/** So long before a drop is looked for what may have led to it, seconds. */
const beforeSeconds = 30;
/** Over so long before it the error is looked at. */
const errorSeconds = 10;
const most = 6; // things that are named

const sentence = (text) => `${text.charAt(0).toUpperCase()}${text.slice(1)}.`;
const secondsWords = (seconds) => (seconds < 9.95 ? `${seconds.toFixed(1)} s` : `${Math.round(seconds)} s`);

const whenBefore = (seconds) => (seconds < 0.05 ? "at that moment" : `${secondsWords(seconds)} before`);

/** How long ago something was, in words. */
export function agoWords(seconds) {
  const whole = Math.max(0, Math.round(seconds));
  if (whole < 60) return `${whole} s ago`;
  const minutes = Math.floor(whole / 60);
  return minutes < 60 ? `${minutes} min ${whole % 60} s ago` : `${Math.floor(minutes / 60)} h ${minutes % 60} min ago`;
}

/** Where a machine was in words: "3.2 cm right of the line". */
export function placeWords({ cross_track_error: error, drives_against: against }) {
  if (error === null) return "no line";
  const { text, unit } = errorFigure(error, against);
  if (Number(text.replace("−", "-")) === 0) return "on the line";
  return `${lengthWords(error)} ${seenByDriver(error, against) > 0 ? "right" : "left"} of the line`;
}

/** What was at a moment in sentences: place and speed, the fix, the faults. */
function situation(state) {
  const place = state.cross_track_error === null ? "there was no line" : `the machine was ${placeWords(state)}`;
  const isCorrected = /resolved|floats|correction/.test(state.fix);
  const age = isCorrected && state.correction_age > 1 ? `, its correction ${state.correction_age} s old` : "";
  return [
    sentence(`${place}, at ${Math.abs(state.speed).toFixed(1)} m/s${state.reverse ? " backwards" : ""}`),
    state.fed ? "Its positions were fed from outside." : sentence(`the receiver had ${state.fix}${age}`),
    state.faults.length === 0 ? "No fault was active." : sentence(`active: ${state.faults.join(", ")}`),
  ];
}

/** What was in the seconds before a time: the greatest error, and what happened. */
function before(past, time) {
  const [first, last] = [past.numberAt(time - errorSeconds), past.numberAt(time)];
  let [greatest, span] = [null, 0];
  for (let number = first; number <= last; number += 1) {
    const { error, time: at } = past.glance(number);
    if (error !== null && Math.abs(error) >= Math.abs(greatest ?? 0)) greatest = error;
    span = Math.max(span, time - at);
  }
  const words = [];
  if (greatest !== null && span > 0) {
    words.push(sentence(`in the ${secondsWords(span)} before it was at most ${lengthWords(greatest)} off the line`));
  }
  const marks = past.marks.filter((mark) => mark.time <= time && mark.time >= time - beforeSeconds && mark.kind !== "dropped");
  for (const mark of marks.slice(-most)) words.push(sentence(`${whenBefore(time - mark.time)}: ${mark.text}`));
  if (marks.length === 0) words.push(`Nothing else happened in the ${beforeSeconds} s before.`);
  return words;
}

/** The drop that a moment lies behind, before steering was engaged again; null without one. */
export function dropAt(past, time) {
  const steering = past.marks.filter(({ kind, time: at }) => ["engaged", "dropped", "ended"].includes(kind) && at <= time + 0.05);
  const last = steering.at(-1);
  if (last?.kind === "dropped") return last;
  const isAtOnce = last?.kind === "ended" && steering.at(-2)?.kind === "dropped";
  return isAtOnce ? steering.at(-2) : null;
}

/** What happened at a moment, as sentences. */
export function happenedWords(past, time) {
  const drop = dropAt(past, time);
  if (drop === null) {
    const state = past.stateAt(time);
    const next = past.marks.find((mark) => mark.kind === "dropped" && mark.time > time);
    const ahead = next === undefined ? "" : ` The next drop is at ${clock(next.time)}.`;
    return [`Steering was ${state.engage_state_name} here: nothing was dropped.${ahead}`, ...situation(state), ...before(past, time)];
  }
  const again = past.marks.find((mark) => mark.kind === "engaged" && mark.time > drop.time);
  const after = again === undefined ? [] : [`Engaged again ${secondsWords(again.time - drop.time)} later.`];
  return [`Steering was dropped at ${clock(drop.time)}: ${drop.text || "the reason is not in the recording"}.`,
    ...situation(past.stateAt(drop.time)), ...before(past, drop.time), ...after];
}
