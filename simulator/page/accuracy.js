// The accuracy report of the drive so far, as a file that the service makes.
import { say } from "./messages.js";
import { save } from "./journal.js";

const element = (id) => document.getElementById(id);
/** A report of an hour is made in a part of a second; others may wait before it. */
const patience = 15000;

async function load() {
  const response = await fetch("/report", { signal: AbortSignal.timeout(patience) });
  if (response.ok) return response.text();
  const { error } = await response.json().catch(() => ({}));
  throw new Error(error ?? `the service answers with ${response.status}`);
}

function reasonOf(error) {
  if (error.name === "TimeoutError") return `no answer within ${patience / 1000} s`;
  return error instanceof TypeError ? "the service does not answer" : error.message;
}

/** Has the button save the report. */
export function offerReport() {
  const place = element("log-status");
  element("save-report").addEventListener("click", async () => {
    say(place, "The report is being made …");
    try {
      save("accuracy-report.html", "text/html", await load());
      say(place, "The report is saved.");
    } catch (error) {
      say(place, `No report: ${reasonOf(error)}.`, "bad");
    }
  });
}
