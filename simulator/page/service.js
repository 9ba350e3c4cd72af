// Requests to the service. Each gives {result, reasons}, or throws an Error with the reason; `refused` of
// that tells a refusal from an answer that did not come.

/** How long an answer is waited for, milliseconds. What has not been carried out by then is not. */
const patience = 3000;

async function answer(response) {
  if (response.ok) return response.json();
  const value = await response.json().catch(() => ({}));
  const error = new Error(value.error ?? `the service answers with ${response.status}`);
  throw Object.assign(error, { refused: response.status < 500 });
}

/** What the driver asks for when the way out is meant: it is never too late. */
const alwaysDue = "DisengageSteering";
/** What ends steering by its own nature. */
const endings = new Set([alwaysDue, "StopNavigation", "ClearNavigation", "clear_wayline", "start_wayline"]);
/** An end that comes within this time after such a request was answered is its doing, milliseconds. */
const endIsDue = 1000;
const endsAsked = { underWay: 0, last: -Infinity };

/** Whether the page itself has just asked for what ends steering. */
export const endWasAsked = () => endsAsked.underWay > 0 || performance.now() - endsAsked.last < endIsDue;

/** Why nothing is sent; what is said of it while nothing may be. */
let whyNot = "nothing comes from the service";

/** Says that steering is about to end as was agreed: with the drive to look at. */
export const expectEnd = () => { endsAsked.last = performance.now(); };

/** What gives up the requests that are under way; null while the page shows what is old. */
let present = new AbortController();

/**
 * Takes in whether what the page shows is of now. Who acts by an old picture wants something else than who
 * acts by the new one: what is under way then is given up, and nothing is begun.
 */
export function showsPresent(on, why = "nothing comes from the service") {
  whyNot = why;
  if (on) present ??= new AbortController();
  else present?.abort(Error(`${why}: given up`));
  if (!on) present = null;
}

/** Why a request failed, in words. */
function failure(error) {
  if (error.name === "TimeoutError") return new Error(`no answer within ${patience / 1000} s: given up`);
  return error instanceof TypeError ? new Error("the service does not answer") : error;
}

async function request(path, options, ...signals) {
  try {
    const signal = AbortSignal.any([AbortSignal.timeout(patience), ...signals]);
    return await answer(await fetch(path, { ...options, signal }));
  } catch (error) {
    throw failure(error);
  }
}

async function send(path, value) {
  const isAlwaysDue = value.operation === alwaysDue;
  if (present === null && !isAlwaysDue) throw new Error(`not sent: ${whyNot}`);
  const headers = { "Content-Type": "application/json" };
  const { result, reasons } = await request(path, { method: "POST", headers, body: JSON.stringify(value) },
    ...(isAlwaysDue ? [] : [present.signal]));
  return { result, reasons: reasons ?? [] };
}

async function post(path, value) {
  if (!endings.has(value.operation)) return send(path, value);
  endsAsked.underWay += 1;
  try {
    const reply = await send(path, value);
    endsAsked.last = performance.now();
    return reply;
  } finally {
    endsAsked.underWay -= 1;
  }
}

/** Carries out an operation of the service under its own name. */
export const command = (operation, ...values) => post("/command", { operation, arguments: values });

/** Makes the line of a text form the service's line. */
export const setLine = (text) => post("/wayline", { text });

/** The text form of the service's line: {text}, empty without one. */
export const lineText = () => request("/wayline", {});

/** Where the machine has been: {interval, end, points}. */
export const loadTrail = () => request("/trail", {});

/** What there is of the last hour, or of a recording: {run, first, pieces, open, marks, recording, …}. */
export const loadHistory = () => request("/history", {});

/** Has the drive to look at begin, or end. */
export const askShow = (run) => request("/show", { method: "POST", headers: { "Content-Type": "application/json" },
  body: JSON.stringify({ run }) });

/** The samples of a piece of that, as they are kept. */
export async function loadPiece(number) {
  const response = await fetch(`/history/${number}`, { signal: AbortSignal.timeout(patience) });
  if (!response.ok) throw new Error(`the service answers with ${response.status}`);
  return response.arrayBuffer();
}

/**
 * Whether a reply says that something was done. The status leads lists; an operation without a reply of its
 * own was done unless the service has told a reason against it.
 */
export function done({ result, reasons }) {
  if (result === null || result === undefined) return reasons.length === 0;
  return (Array.isArray(result) ? result[0] : result) !== 0;
}

/**
 * Sends the newest of many values, one at a time: a slider that is drawn makes more of them than the
 * service needs.
 */
export function newestOnly(send) {
  let waiting = null;
  let busy = false;
  return async (...values) => {
    waiting = values;
    if (busy) return;
    busy = true;
    try {
      while (waiting !== null) {
        const next = waiting;
        waiting = null;
        await send(...next);
      }
    } finally {
      busy = false;
    }
  };
}
