// The panel of files of fields: one is opened by dropping it on the page; its lines can be set and its boundaries
// are drawn.
import { FileProblem, LocalFrame, limits } from "./fieldplaces.js";
import { command, done, setLine } from "./service.js";
import { radians, toScreen } from "./geometry.js";
import { palette } from "./palette.js";
import { droppedEntries, filesOf } from "./fieldfolder.js";
import { nudgeNote } from "./guidance.js";
import { readFields } from "./fieldfile.js";
import { report, say } from "./messages.js";

const titles = ["A-B line", "A-plus-heading line", "circle", "spline", "A-B curve"];
const number = (value) => value.toFixed(6);

/** The text form of a line of a file in a local frame at its first place. */
export function textFormIn(frame, { kind, places, heading }) {
  const points = places.map((place) => frame.local(place).map(number).join(" "));
  if (kind === 1) points.push(number(radians(heading)));
  return [kind, ...(kind >= 3 ? [points.length] : []), ...points].join(" ");
}

function made(tag, members, ...children) {
  const node = Object.assign(document.createElement(tag), members);
  node.append(...children);
  return node;
}

const choice = (title, select) => made("label", { className: "field" }, title, select);

/** Strokes the rings of boundaries. */
export function drawBoundaries(context, camera, rings) {
  context.strokeStyle = palette.ink;
  context.lineWidth = 3; // passes are thin and dashed
  context.setLineDash([]);
  for (const ring of rings) {
    context.beginPath();
    ring.forEach(([x, y]) => context.lineTo(...toScreen(camera, x, y)));
    context.closePath();
    context.stroke();
  }
}

/** The panel, which stands below the one of new lines. */
export class FieldPanel {
  constructor(model, map, question, boundary, { redraw, moved }) {
    Object.assign(this, { model, map, question, boundary, redraw, moved, fields: [] });
    this.build();
    map.below = (context, camera) => drawBoundaries(context, camera, boundary.rings);
    addEventListener("dragover", (event) => {
      if (event.dataTransfer.types.includes("Files")) event.preventDefault();
    });
    addEventListener("drop", (event) => {
      if (event.dataTransfer.files.length === 0) return;
      event.preventDefault();
      this.openDropped(droppedEntries(event.dataTransfer));
    });
  }

  build() {
    this.file = made("input", { type: "file", multiple: true, id: "field-file" });
    this.field = made("select", { id: "field-choice" });
    this.line = made("select", { id: "field-line" });
    this.button = made("button", { type: "button", textContent: "Set line and boundary", id: "field-set" });
    this.status = made("p", { className: "message", id: "field-status" });
    this.status.setAttribute("role", "status");
    this.chosen = made("div", { hidden: true }, choice("Field ", this.field), choice("Line ", this.line),
      made("div", { className: "row" }, this.button));
    const panel = made("section", { className: "panel" }, made("h2", { textContent: "Field's file", id: "field-title" }),
      made("label", { className: "file" }, "Drop it on the page, or choose it ", this.file), this.chosen, this.status);
    panel.setAttribute("aria-labelledby", "field-title");
    document.getElementById("line-title").closest("section").after(panel);
    this.file.addEventListener("change", () => this.open([...this.file.files]));
    this.field.addEventListener("change", () => this.showLines());
    this.button.addEventListener("click", () => this.set());
  }

  /** Opens what was dropped; of folders the files in them. */
  async openDropped(entries) {
    const title = entries.map(({ name }) => name).join(", ");
    try {
      this.open(await filesOf(entries), title);
    } catch (error) {
      this.chosen.hidden = true;
      say(this.status, `${title}: ${error.message}`, "bad");
    }
  }

  async open(chosen, title = chosen.map(({ name }) => name).join(", ")) {
    this.chosen.hidden = true;
    say(this.status, `Reading ${title} …`);
    const opening = this.opening = Symbol(title); // one that is opened meanwhile ends this one
    try {
      if (chosen.reduce((sum, { size }) => sum + size, 0) > limits.bytes) {
        throw new FileProblem(`longer than the ${limits.bytes >> 20} MiB that are read`);
      }
      const files = await Promise.all(chosen.map(async (file) =>
        ({ name: file.path ?? file.name, bytes: new Uint8Array(await file.arrayBuffer()) })));
      const { fields, left } = await readFields(files);
      this.show(fields);
      say(this.status, [`${title} is open.`, ...left.map((text) => `Left out: ${text}.`)].join(" "));
    } catch (error) {
      if (this.opening === opening) say(this.status, `${title}: ${error.message}`, "bad");
    }
  }

  show(fields) {
    this.fields = fields;
    this.field.replaceChildren(...fields.map(({ name }, i) => new Option(name || `Field ${i + 1}`, i)));
    this.chosen.hidden = false;
    this.showLines();
  }

  showLines() {
    const { lines } = this.fields[Number(this.field.value)];
    this.line.replaceChildren(...lines.map(({ name, kind }, i) =>
      new Option(`${name || `Line ${i + 1}`} (${titles[kind]})`, i)));
    this.line.disabled = lines.length === 0;
    this.button.textContent = lines.length === 0 ? "Show boundary" : "Set line and boundary";
  }

  /** Sets the line and the boundary; the frame of lines moves, in which an engaged machine is steered: that ends first. */
  set() {
    this.question.before(this.status,
      () => ({ by: null, text: "The frame of lines moves to the field, and steering ends first. You steer then." }),
      this.button.textContent, () => this.setNow());
  }

  /** Moves the local frame to the line's first place, as its numbers are exact there, and sets the line. */
  async setNow() {
    if (this.model.engaging.isEngaged()) {
      this.model.engaging.forget();
      const ended = await report(this.status, command("DisengageSteering", 1), "");
      if (ended === null || !done(ended)) return;
    }
    const { lines, boundaries } = this.fields[Number(this.field.value)];
    const line = lines[Number(this.line.value)];
    const frame = new LocalFrame(line === undefined ? boundaries[0].rings[0][0] : line.places[0]);
    const [longitude, latitude, height] = frame.origin;
    const moved = await report(this.status, command("set_wayline_origin", latitude, longitude, height), "");
    if (moved === null || moved.reasons.length > 0) return;
    this.moved(); // what was worked lay in the frame before
    this.boundary.set(boundaries.flatMap(({ rings }) => rings.map((ring) => ring.map((place) => frame.local(place)))));
    this.redraw();
    if (line === undefined) say(this.status, "The boundary is drawn.");
    else await report(this.status, setLine(textFormIn(frame, line)), `“${line.name}” is set.${nudgeNote(this.model.state)}`);
  }
}
