// The programs under test as processes, which end with the test that started them.
import { after } from "node:test";
import { createInterface } from "node:readline";
import { spawn } from "node:child_process";

export const deadlineMilliseconds = 30000;
const started = [];

// A test that fails leaves its programs, and would not end while they run.
after(() => Promise.all(started.map((program) => program.end("SIGKILL"))));

/** Waits until `condition` gives something, and gives that. */
export async function until(condition, what) {
  const end = Date.now() + deadlineMilliseconds;
  for (;;) {
    const value = await condition();
    if (value) return value;
    if (Date.now() > end) throw new Error(`waited ${deadlineMilliseconds} ms in vain for: ${what}`);
    await new Promise((resolve) => { setTimeout(resolve, 50); });
  }
}

/** A running program whose lines of standard output are kept. */
class Program {
  constructor(path, values) {
    this.process = spawn(path, values, { stdio: ["ignore", "pipe", "pipe"] });
    this.lines = [];
    this.errors = "";
    this.ended = new Promise((resolve) => { this.process.once("close", resolve); });
    started.push(this);
    createInterface({ input: this.process.stdout }).on("line", (line) => this.lines.push(line));
    this.process.stderr.on("data", (data) => { this.errors += data; });
  }

  get pid() {
    return this.process.pid;
  }

  /** The first line for which `wanted` holds. */
  line(wanted, what) {
    return until(() => {
      const found = this.lines.find(wanted);
      if (found === undefined && this.process.exitCode !== null) {
        throw new Error(`ended before: ${what}: ${this.errors}`);
      }
      return found;
    }, what);
  }

  /** Ends the program and gives its exit code. */
  end(signal = "SIGTERM") {
    if (this.process.exitCode === null && this.process.signalCode === null) this.process.kill(signal);
    return this.ended;
  }
}

/** Starts the simulator with a live page; `page` is its address. */
export async function startSimulator(...values) {
  const http = values.includes("--http") ? [] : ["--http", "0"];
  const simulator = new Program(process.env.NAVIGATION_SIMULATOR, [...http, ...values]);
  try {
    const line = await simulator.line((text) => text.includes("live page"), "the page's address");
    [simulator.page] = /http:\S+/.exec(line);
    await simulator.line((text) => !text.includes("live page"), "the service's address");
  } catch (error) {
    await simulator.end("SIGKILL");
    throw error;
  }
  return simulator;
}

/** Starts the command-line client, which looks for the service where all clients do. */
export const startNavctl = (...values) => new Program(process.env.NAVCTL, values);

/** Runs the command-line client to its end and gives its standard output. */
export async function navctl(...values) {
  const client = startNavctl(...values);
  const code = await client.end(0);
  if (code !== 0) throw new Error(`navctl ${values.join(" ")} ended with ${code}: ${client.errors}`);
  return client.lines.join("\n");
}
