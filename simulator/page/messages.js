// What the page says of requests, each in the place beside the controls that made it.
import { done } from "./service.js";

/** What is said of the present, by its place: {holds, seen, since}. It ends when `holds` of the model is false. */
const lasting = new Map();
/** For so long what is said may be yet to come, milliseconds. */
const due = 1000;
/** What the page knows: state, line and settings. */
let model = { state: null, line: null, settings: null };

/** Has messages be judged by `known`, which holds what comes. */
export function judgeBy(known) { model = known; }

/**
 * Says something in a place of the page. `kinds` are "bad" for what went wrong, and "unanswered" beside it
 * for what did because the service was not there.
 */
export function say(place, text, ...kinds) {
  lasting.delete(place);
  place.textContent = text;
  if (place.parentElement) place.parentElement.scrollTop = 0; // where it may be out of sight
  for (const kind of ["bad", "unanswered"]) place.classList.toggle(kind, kinds.includes(kind));
}

/**
 * Says something that ends as soon as `holds` of the model is false, which it may be at first.
 */
export function sayWhile(holds, place, text, ...kinds) {
  say(place, text, ...kinds);
  lasting.set(place, { holds, seen: holds(model), since: performance.now() });
}

/** Takes in that the model is new: what was said of another one ends. */
export function endMessages() {
  for (const [place, said] of lasting) {
    const holds = said.holds(model);
    if (holds) said.seen = true;
    else if (said.seen || performance.now() - said.since > due) say(place, "");
  }
}

/** Which line there is, wherever it is shifted to. */
function nameOf(line) {
  if (line === null) return "";
  const [[ax, ay] = [], [bx, by] = []] = line.line;
  const heading = line.line.length === 2 ? Math.atan2(bx - ax, by - ay).toFixed(6) : "";
  return JSON.stringify([line.kind, line.complete, line.recording, line.labels, heading]);
}

/** Whether the line is the one of a kind that a request has made, or still is that from before it if that was the same. */
export function whileThisLine(kind) {
  const [before, since] = [nameOf(model.line), performance.now()];
  let made = null;
  return ({ line }) => {
    const now = nameOf(line);
    if (made === null && now !== before && line.kind !== kind) return false;
    if (made === null && (now !== before || performance.now() - since > due)) made = now;
    return made === null || made === now;
  };
}

/** Why a reply refuses, in words, without the operation's name, which nobody has pressed. */
export const refusalOf = ({ reasons }) =>
  reasons.map((reason) => reason.replace(/^\w+ refused: /, "")).join("; ") || "the service gives no reason";

/** Whether steering and line are as they are now: a refusal was made in that situation. */
function whileSo() {
  const of = ({ state, line }) => [state?.engage_state_name, state?.navigating, nameOf(line)].join();
  const before = of(model);
  return (now) => of(now) === before;
}

/** Says why a request failed, or who refused it. */
export function sayFailure(place, error, hint = "", holds = whileSo()) {
  if (error.refused) sayWhile(holds, place, `Refused: ${error.message}${hint}`, "bad");
  else say(place, `Failed: ${error.message}`, "bad", "unanswered");
}

/** Takes back what was said because the service was not there: it is again. */
export function forgetUnanswered() {
  document.querySelectorAll(".message.unanswered").forEach((place) => say(place, ""));
}

/**
 * Says in a place of the page what became of a request; `said` unless it was refused. `hint` follows the
 * reason of a request that cannot be understood. `holds` is whether the model is the one that `said` speaks of,
 * if it speaks of any; what is said of a refusal ends with the situation before it.
 */
export async function report(place, request, said, { hint = "", holds = null } = {}) {
  const refused = whileSo();
  try {
    const reply = await request;
    if (!done(reply)) {
      sayWhile(refused, place, `Refused: ${refusalOf(reply)}`, "bad");
    } else if (holds === null) {
      say(place, said);
    } else {
      sayWhile(holds, place, said);
    }
    return reply;
  } catch (error) {
    sayFailure(place, error, hint, refused);
    return null;
  }
}
