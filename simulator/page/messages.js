// What the page says of requests, each in the place beside the controls that made it.
import { done } from "./service.js";

/** What is said of a state, by its place: {holds, seen, since}. It ends with the state. */
const lasting = new Map();
/** For so long the state may be yet to come, milliseconds. */
const stateIsDue = 1000;

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

/** Has what a place says end as soon as `holds` of the newest state is false, which it may be at first. */
function untilNot(place, holds, before) {
  lasting.set(place, { holds, seen: before !== null && holds(before), since: performance.now() });
}

/** Takes a new state in: what was said of another one ends. */
export function endMessages(state) {
  for (const [place, said] of lasting) {
    const holds = said.holds(state);
    if (holds) said.seen = true;
    else if (said.seen || performance.now() - said.since > stateIsDue) say(place, "");
  }
}

const sameSteering = (before) => (state) =>
  state.engage_state_name === before.engage_state_name && state.navigating === before.navigating;

/** Says why a request failed, or who refused it. */
export function sayFailure(place, error, hint = "") {
  if (error.refused) say(place, `Refused: ${error.message}${hint}`, "bad");
  else say(place, `Failed: ${error.message}`, "bad", "unanswered");
}

/** Takes back what was said because the service was not there: it is again. */
export function forgetUnanswered() {
  document.querySelectorAll(".message.unanswered").forEach((place) => say(place, ""));
}

/**
 * Says in a place of the page what became of a request; `said` unless it was refused. `hint` follows the
 * reason of a request that cannot be understood. `holds` is whether a state is the one that `said` speaks of,
 * if it speaks of any; what is said of a refusal ends with the state `before` it.
 */
export async function report(place, request, said, { hint = "", holds = null, before = null } = {}) {
  try {
    const reply = await request;
    if (done(reply)) {
      say(place, said);
      if (holds !== null) untilNot(place, holds, before);
    } else {
      say(place, `Refused: ${reply.reasons.join("; ") || "the service gives no reason"}`, "bad");
      if (before !== null) untilNot(place, sameSteering(before), before);
    }
    return reply;
  } catch (error) {
    sayFailure(place, error, hint);
    return null;
  }
}
