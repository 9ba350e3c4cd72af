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

/** Why a request failed, in words. */
function failure(error) {
  if (error.name === "TimeoutError") return new Error(`no answer within ${patience / 1000} s: given up`);
  return error instanceof TypeError ? new Error("the service does not answer") : error;
}

async function request(path, options) {
  try {
    return await answer(await fetch(path, { ...options, signal: AbortSignal.timeout(patience) }));
  } catch (error) {
    throw failure(error);
  }
}

async function post(path, value) {
  const headers = { "Content-Type": "application/json" };
  const { result, reasons } = await request(path, { method: "POST", headers, body: JSON.stringify(value) });
  return { result, reasons: reasons ?? [] };
}

/** Carries out an operation of the service under its own name. */
export const command = (operation, ...values) => post("/command", { operation, arguments: values });

/** Makes the line of a text form the service's line. */
export const setLine = (text) => post("/wayline", { text });

/** The text form of the service's line: {text}, empty without one. */
export const lineText = () => request("/wayline", {});

/** Where the machine has been: {interval, end, points}. */
export const loadTrail = () => request("/trail", {});

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
