// A service that says what a test tells it to, and when; the page and its files are the real ones.
import { basename, extname } from "node:path";
import { createServer } from "node:http";
import { fileURLToPath } from "node:url";
import { readFile } from "node:fs/promises";
import { until } from "./programs.mjs";

const files = new URL("../../../simulator/page/", import.meta.url);
const types = { ".html": "text/html", ".js": "text/javascript", ".css": "text/css", ".svg": "image/svg+xml" };

/** A state with all that the page wants of it. */
const state = (time, [x, y]) => ({
  time, x, y, heading: 0, speed: 2, velocity_set_point: 2, steering_angle: 0, desired_steering_angle: 0,
  wheelbase: 2.8, engage_state: 0, engage_state_name: "not ready", navigating: false, reverse: false,
  fed: false, cross_track_error: null, heading_error: null, drives_against: false, pass: null,
  commanded_curvature: 0, aim_point: null, nudge: 0, why_not_engaged: [], drop_reason: "",
});

/** Keeps the answers that were asked for, the streams and the trails: a test writes them. */
class ScriptedService {
  constructor() {
    this.streams = [];
    this.trails = [];
    this.server = createServer((request, response) => this.answer(request.url, response));
  }

  async listen() {
    await new Promise((resolve) => { this.server.listen(0, "127.0.0.1", resolve); });
    this.page = `http://127.0.0.1:${this.server.address().port}/`;
    return this;
  }

  async answer(path, response) {
    const asked = { "/trail": this.trails, "/events": this.streams }[path];
    if (asked !== undefined) {
      const type = path === "/trail" ? "application/json" : "text/event-stream";
      // Its head goes at once: a browser asks no second time before it knows that it may not keep it.
      response.writeHead(200, { "Cache-Control": "no-store", "Content-Type": type }).flushHeaders();
      asked.push(response);
    } else {
      const name = path === "/" ? "index.html" : basename(path);
      const file = await readFile(fileURLToPath(new URL(name, files))).catch(() => null);
      response.writeHead(file === null ? 404 : 200, { "Content-Type": types[extname(name)] ?? "text/plain" });
      response.end(file);
    }
  }

  /** Waits until the page has asked for the stream and the trail so many times. */
  asked(times) {
    return until(() => this.streams.length >= times && this.trails.length >= times,
      `the page asks ${times} times for stream and trail`);
  }

  /** Sends a state down the newest stream. */
  tell(time, place) {
    this.streams.at(-1).write(`event: state\ndata: ${JSON.stringify(state(time, place))}\n\n`);
  }

  end() {
    this.server.closeAllConnections();
    return new Promise((resolve) => { this.server.close(resolve); });
  }
}

export const startScriptedService = () => new ScriptedService().listen();
