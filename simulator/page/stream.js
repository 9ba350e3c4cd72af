// The stream of events. It is read with fetch() and not with EventSource, which neither tells of
// heartbeats nor of the reason of a refusal.

/** After this long without anything, heartbeats included, what is shown counts as old. */
export const quietMilliseconds = 700;
/** After this long the service counts as lost. */
export const silenceMilliseconds = 2000;
/** So often that is looked at. */
export const watchMilliseconds = 100;
const retryMilliseconds = 1000;

/** Takes server-sent events apart as they arrive, in pieces of any length. */
export class EventParser {
  constructor() {
    this.rest = "";
  }

  /** The events that a piece completes, each {event, data}. */
  take(piece) {
    const blocks = (this.rest + piece).split("\n\n");
    this.rest = blocks.pop();
    return blocks.map(EventParser.read).filter(({ data }) => data !== "");
  }

  static read(block) {
    const fields = { event: "message", data: [] };
    for (const line of block.split("\n")) {
      const [, name, value] = /^([^:]*):? ?(.*)$/.exec(line);
      if (name === "data") fields.data.push(value);
      if (name === "event") fields.event = value;
    }
    return { event: fields.event, data: fields.data.join("\n") };
  }
}

async function refusal(response) {
  try {
    return (await response.json()).error;
  } catch {
    return `the service answers with ${response.status}`;
  }
}

const pause = (milliseconds) => new Promise((resolve) => { setTimeout(resolve, milliseconds); });

/** Waits until somebody looks at the page. */
const seen = () => new Promise((resolve) => {
  const look = () => {
    if (document.hidden) return;
    document.removeEventListener("visibilitychange", look);
    resolve();
  };
  document.addEventListener("visibilitychange", look);
  look();
});

/** Calls a handler whose faults are the page's own: they are reported as such and end no stream. */
function attempt(handler, ...values) {
  try {
    handler(...values);
  } catch (error) {
    reportError(error);
  }
}

/**
 * Keeps the stream open for as long as the page is seen. A browser has six connections for all pages
 * of one address: were the stream of a hidden page to hold one, the buttons of the one that is seen
 * would wait for it.
 *
 * `heard` is called with the name and the value of each event, `connected` when a stream begins, `quiet` with
 * true when nothing comes any more and with false when something does again, `lost` with the reason when it
 * ends or stays silent, `rested` when it ends because the page is hidden.
 */
export class Stream {
  constructor({ heard, connected, quiet, lost, rested }) {
    Object.assign(this, { heard, connected, quiet, lost, rested });
    this.lastHeard = 0;
    this.isQuiet = false;
    this.isConnected = false;
    this.opening = null;
    this.resting = false;
    setInterval(() => this.watch(), watchMilliseconds);
    document.addEventListener("visibilitychange", () => this.rest());
    this.run();
  }

  /** How long nothing has come, milliseconds. */
  silence() {
    return performance.now() - this.lastHeard;
  }

  watch() {
    if (this.isConnected && !this.isQuiet && this.silence() > quietMilliseconds) this.setQuiet(true);
    if (this.opening !== null && this.silence() > silenceMilliseconds) {
      this.reason = "Nothing has come for 2 s.";
      this.opening.abort();
    }
  }

  setQuiet(on) {
    this.isQuiet = on;
    attempt(this.quiet, on);
  }

  /** Gives the connection back when the page is hidden. */
  rest() {
    if (!document.hidden || this.opening === null) return;
    this.resting = true;
    this.opening.abort();
  }

  async run() {
    for (;;) {
      await seen();
      this.reason = null;
      this.resting = false;
      this.opening = new AbortController();
      this.lastHeard = performance.now();
      const ended = await this.read(this.opening.signal).catch((error) => (error instanceof SyntaxError
        ? "What the service tells cannot be read." : "The service does not answer."));
      this.opening.abort(); // whatever is left of it holds the connection no longer
      this.opening = null;
      this.isConnected = false;
      if (this.resting) {
        attempt(this.rested);
      } else {
        attempt(this.lost, this.reason ?? ended);
        await pause(retryMilliseconds);
      }
    }
  }

  /** Reads one stream to its end and gives the reason of that. */
  async read(signal) {
    const response = await fetch("/events", { signal, headers: { Accept: "text/event-stream" } });
    if (!response.ok) return `Refused: ${await refusal(response)}.`;
    const reader = response.body.pipeThrough(new TextDecoderStream()).getReader();
    const parser = new EventParser();
    this.isConnected = true;
    this.isQuiet = false;
    attempt(this.connected);
    for (;;) {
      const { done, value } = await reader.read();
      if (done) return "The service has closed the connection.";
      this.lastHeard = performance.now();
      if (this.isQuiet) this.setQuiet(false);
      parser.take(value).forEach(({ event, data }) => attempt(this.heard, event, JSON.parse(data)));
    }
  }
}
