// A service that says what a test tells it to, and when; the page and its files are the real ones.
import { basename, extname, join } from "node:path";
import { mkdtempSync, rmSync } from "node:fs";
import { createServer } from "node:http";
import { execFileSync } from "node:child_process";
import { fileURLToPath } from "node:url";
import { readFile } from "node:fs/promises";
import { text } from "node:stream/consumers";
import { tmpdir } from "node:os";
import { until } from "./programs.mjs";

const files = new URL("../../../simulator/page/", import.meta.url);
const bundling = new URL("../../../simulator/http/BundlePage.cmake", import.meta.url);
const types = { ".html": "text/html", ".js": "text/javascript", ".css": "text/css", ".svg": "image/svg+xml" };

/** The page's parts as one script, put together as for the program. */
const script = (() => {
  const folder = mkdtempSync(join(tmpdir(), "live-page-script-"));
  process.on("exit", () => rmSync(folder, { recursive: true }));
  const output = join(folder, "page.js");
  execFileSync("cmake", ["-D", `FOLDER=${fileURLToPath(files)}`, "-D", `OUTPUT=${output}`,
    "-P", fileURLToPath(bundling)]);
  return output;
})();

/** Has a page not count how long nothing has come: a machine that is busy may be silent for long. */
export function ignoreSilence() {
  window.setInterval = () => 0;
}

/** Has the page wait for answers without end: a machine that is busy may take longer for these tests. */
export function bePatient() {
  AbortSignal.timeout = () => new AbortController().signal;
}

/** A state with all that the page wants of it. */
const state = (time, [x, y], others) => ({
  time, x, y, heading: 0, speed: 2, velocity_set_point: 2, steering_angle: 0, desired_steering_angle: 0,
  wheelbase: 2.8, engage_state: 0, engage_state_name: "not ready", navigating: false, reverse: false,
  fed: false, cross_track_error: null, heading_error: null, drives_against: false, takes_nearest_pass: false, pass: null,
  commanded_curvature: 0, aim_point: null, nudge: 0, why_not_engaged: [], drop_reason: "", ...others,
});

/** An A-B line to the north through x = 0, without passes. */
export const line = {
  revision: 1, kind: 0, kind_name: "A-B line", complete: true, recording: false, length: 0, picture: 1, pass: 0,
  line: [[0, -2000], [0, 2000]], followed: { pass: 0, points: [[0, -2000], [0, 2000]] }, passes: [],
  labels: [{ text: "A", x: 0, y: 0 }, { text: "B", x: 0, y: 100 }], nudge: 0, field_offset: 0,
  implement_offset: 0, shift: 0, implement_width: 3,
};

export const settings = {
  tuning: ["sensitivity", "aggressiveness", "overshoot", "speed_adjust"].map((name, number) =>
    ({ number, name, value: 1, lowest: 0.2, start: 1, highest: 3 })),
  reverse_engage_enabled: false, reverse_engage_allowed: false, low_speed_engage_allowed: false,
  low_speed_engage_timeout: 2, lookahead_time: 1.6, velocity_set_point: 2, curve_filter_size: 11,
  implement_width: 3, implement_offset: 0, nudge: 0, field_offset: 0, splines_use_implement_offset: false,
};

/** Keeps what was asked for, the streams and the trails: a test writes them. Streams have heartbeats. */
class ScriptedService {
  /** @param remembers whether who connects anew is told the newest of each event, as by the real one. */
  constructor(remembers) {
    this.newest = remembers ? new Map() : null;
    this.isSilent = false;
    this.beats = setInterval(() => {
      if (!this.isSilent) this.streams.forEach((stream) => stream.write(": heartbeat\n\n"));
    }, 200);
    this.streams = [];
    this.trails = [];
    this.posted = [];
    this.server = createServer((request, response) => this.take(request, response));
  }

  async listen() {
    await new Promise((resolve) => { this.server.listen(0, "127.0.0.1", resolve); });
    this.page = `http://127.0.0.1:${this.server.address().port}/`;
    return this;
  }

  /** What is posted is kept, and has been done. */
  async take(request, response) {
    if (request.method !== "POST") return this.answer(request.url, response);
    const body = await text(request);
    this.posted.push(JSON.parse(body));
    response.writeHead(200, { "Content-Type": "application/json" });
    return response.end('{"result":1,"reasons":[]}');
  }

  async answer(url, response) {
    const asked = { "/trail": this.trails, "/events": this.streams }[url];
    if (asked === this.streams && this.isSilent) return; // who asks waits
    if (asked !== undefined) {
      const type = url === "/trail" ? "application/json" : "text/event-stream";
      // Its head goes at once: a browser asks no second time before it knows that it may not keep it.
      response.writeHead(200, { "Cache-Control": "no-store", "Content-Type": type }).flushHeaders();
      asked.push(response);
      if (asked === this.streams) this.newest?.forEach((event) => response.write(event));
    } else {
      const name = url === "/" ? "index.html" : basename(url);
      const path = name === "page.js" ? script : fileURLToPath(new URL(name, files));
      const file = await readFile(path).catch(() => null);
      response.writeHead(file === null ? 404 : 200, { "Content-Type": types[extname(name)] ?? "text/plain" });
      response.end(file);
    }
  }

  /** Waits until the page has asked for the stream and the trail so many times. */
  asked(times) {
    return until(() => this.streams.length >= times && this.trails.length >= times,
      `the page asks ${times} times for stream and trail`);
  }

  /** Sends an event down the newest stream. */
  send(event, value) {
    const text = `event: ${event}\ndata: ${JSON.stringify(value)}\n\n`;
    this.newest?.set(event, text);
    this.streams.at(-1).write(text);
  }

  /** Sends a state, with other values than the usual ones if wanted. */
  tell(time, place, others = {}) {
    this.send("state", state(time, place, others));
  }

  /** Sends no heartbeats and begins no stream any more, or does again. */
  fallSilent(on) { this.isSilent = on; }

  end() {
    clearInterval(this.beats);
    this.server.closeAllConnections();
    return new Promise((resolve) => { this.server.close(resolve); });
  }
}

export const startScriptedService = ({ remembers = false } = {}) => new ScriptedService(remembers).listen();
