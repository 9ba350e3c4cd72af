// Requests to the service. Each gives {result, reasons}, or throws an Error with the reason.

async function answer(response) {
  const value = await response.json().catch(() => ({}));
  if (!response.ok) throw new Error(value.error ?? `the service answers with ${response.status}`);
  return { result: value.result, reasons: value.reasons ?? [] };
}

async function request(path, type, body) {
  let response;
  try {
    response = await fetch(path, { method: "POST", headers: { "Content-Type": type }, body });
  } catch {
    throw new Error("the service does not answer");
  }
  return answer(response);
}

/** Carries out an operation of the service under its own name. */
export const command = (operation, ...values) =>
  request("/command", "application/json", JSON.stringify({ operation, arguments: values }));

/** Makes the line of a text form the service's line. */
export const setLine = (text) => request("/wayline", "text/plain", text);

/** Where the machine has been: {interval, end, points}. */
export async function trail() {
  const response = await fetch("/trail");
  if (!response.ok) throw new Error(`the service answers with ${response.status}`);
  return response.json();
}

/** Whether a reply says that something was done; the status leads lists. */
export const done = ({ result }) => (Array.isArray(result) ? result[0] : result) !== 0;

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
