// What the page says of requests, each in the place beside the controls that made it.
import { done } from "./service.js";

/**
 * Says something in a place of the page. `kinds` are "bad" for what went wrong, and "unanswered" beside it
 * for what did because the service was not there.
 */
export function say(place, text, ...kinds) {
  place.textContent = text;
  for (const kind of ["bad", "unanswered"]) place.classList.toggle(kind, kinds.includes(kind));
}

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
 * reason of a request that cannot be understood.
 */
export async function report(place, request, said, hint = "") {
  try {
    const reply = await request;
    if (done(reply)) say(place, said);
    else say(place, `Refused: ${reply.reasons.join("; ") || "the service gives no reason"}`, "bad");
    return reply;
  } catch (error) {
    sayFailure(place, error, hint);
    return null;
  }
}
