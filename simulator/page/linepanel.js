// The forms for a new line: from points, set on the map or typed, and from a text form.
import { clickPrompt, clickedHeading, clicksOf, kinds, textForm, textFormHint } from "./lines.js";
import { command, lineText, setLine } from "./service.js";
import { report, say, sayFailure, whileThisLine } from "./messages.js";
import { nudgeNote } from "./guidance.js";
import { newLine } from "./moves.js";

const element = (id) => document.getElementById(id);
const tell = (text, ...kinds) => say(element("line-status"), text, ...kinds);
/** Clicks nearer to the one before are its second half, or a hand that shakes. */
const samePlacePixels = 6;
const toCentimetre = (value) => Math.round(value * 100) / 100;

function numberField(id, title, unit) {
  const label = document.createElement("label");
  label.className = "field";
  const small = document.createElement("small");
  small.textContent = unit;
  const input = document.createElement("input");
  Object.assign(input, { type: "number", id, step: "any", required: true });
  label.append(`${title} `, small, input);
  return label;
}

/** The panel of new lines. */
export class LinePanel {
  constructor(model, map, question, redraw) {
    Object.assign(this, { model, map, question, redraw });
    this.followed = true; // whether the map followed the machine before points were set on it
    this.clicks = null; // how many points have been set on the map; null unless setting them
    this.lastPlace = null; // where the last of them was set
    this.looking = false; // whether they are all set, and the map still stands where they are
    element("line-form").addEventListener("submit", (event) => {
      event.preventDefault();
      this.submit();
    });
    element("line-form").addEventListener("input", () => this.showMarks());
    document.querySelectorAll("input[name=kind]").forEach((radio) => {
      // Before the form hears of it, which then has the fields of the new kind.
      radio.addEventListener("input", () => this.showFields());
    });
    element("pick").addEventListener("click", () => this.togglePicking());
    element("clear-line").addEventListener("click", () =>
      this.drop("Drop the line", "The line goes", () => command("clear_wayline"), "The line was dropped."));
    element("clear-all").addEventListener("click", () =>
      this.drop("Clear all", "Line, points, nudge and field offset go", () => command("ClearNavigation"), "All was cleared."));
    this.listenToText();
    this.showFields();
  }

  /** Drops the line; an engaged machine is steered no more then. */
  drop(name, what, request, said) {
    const place = element("line-status");
    this.question.before(place, () => ({ by: null, text: `${what}, and steering ends. You steer then.` }), name,
      () => report(place, request(), said, { holds: ({ line }) => !line?.complete }));
  }

  listenToText() {
    element("text-form").addEventListener("submit", (event) => {
      event.preventDefault();
      const text = element("text").value.trim();
      this.send(text, "The line was loaded.", { name: "Load the line", hint: textFormHint(text) });
    });
    element("file").addEventListener("change", async ({ target }) => {
      if (target.files.length > 0) element("text").value = (await target.files[0].text()).trim();
    });
    element("present-line").addEventListener("click", async () => {
      try {
        element("text").value = (await lineText()).text;
      } catch (error) {
        sayFailure(element("line-status"), error);
      }
    });
  }

  kind() {
    return Number(document.querySelector("input[name=kind]:checked").value);
  }

  showFields() {
    const kind = this.kind();
    const rows = kinds[kind].points.map((name, i) => {
      const row = document.createElement("fieldset");
      const legend = document.createElement("legend");
      legend.textContent = `Point ${name}`;
      const here = document.createElement("button");
      Object.assign(here, { type: "button", textContent: "Here", title: "Where the machine is" });
      here.setAttribute("aria-label", `Here: point ${name} where the machine is`);
      here.addEventListener("click", () => this.here(i));
      row.append(legend, numberField(`x${i}`, "East", "m"), numberField(`y${i}`, "North", "m"), here);
      return row;
    });
    if (kinds[kind].heading) rows.push(numberField("line-heading", "Heading", "degrees, 0 is north"));
    element("points").replaceChildren(...rows);
    this.leavePicking();
    this.showMarks();
  }

  here(i) {
    if (this.model.state === null) return;
    this.setPoint(i, [this.model.state.x, this.model.state.y]);
    this.showMarks();
  }

  setPoint(i, [x, y]) {
    element(`x${i}`).value = toCentimetre(x);
    element(`y${i}`).value = toCentimetre(y);
  }

  point(i) {
    return [element(`x${i}`).valueAsNumber, element(`y${i}`).valueAsNumber];
  }

  points() {
    return kinds[this.kind()].points.map((_, i) => this.point(i));
  }

  /** Ends the setting of points, or the look at those that are set, and has the map follow the machine if it did before. */
  leavePicking() {
    if (this.clicks !== null) this.pick(false);
    else if (!this.looking) return;
    this.looking = false;
    this.map.view.follow(this.followed);
  }

  /** Begins or ends the setting of points on the map, which stands still meanwhile. */
  pick(on) {
    if (this.clicks !== null) tell(""); // what asked for the next point
    if (on && this.clicks === null && !this.looking) this.followed = this.map.view.following;
    this.looking = false;
    this.clicks = on ? 0 : null;
    this.lastPlace = null;
    this.map.pick(on ? (place) => this.clicked(place) : null);
    element("pick").setAttribute("aria-pressed", on);
    this.showHint();
    this.redraw();
    this.map.view.still(on); // a map that moves is hard to hit
    if (!on) return;
    this.map.canvas.focus();
  }

  showHint() {
    const hint = element("pick-hint");
    hint.hidden = this.clicks === null;
    if (this.clicks === null) return;
    const how = matchMedia("(pointer: coarse)").matches ? "touch the map there. The button below that began it ends it."
      : "click, or move the map and press Enter. Esc ends.";
    hint.textContent = `${clickPrompt(this.kind(), this.clicks)}: ${how}`;
    tell(clickPrompt(this.kind(), this.clicks));
  }

  /** Whether a place is that of the point before, as near as the map can show it. */
  isLastPlace([x, y]) {
    if (this.lastPlace === null) return false;
    return Math.hypot(x - this.lastPlace[0], y - this.lastPlace[1]) * this.map.view.scale < samePlacePixels;
  }

  clicked(place) {
    const kind = this.kind();
    if (this.isLastPlace(place)) {
      const problem = `That is where the point before is. ${clickPrompt(kind, this.clicks)} elsewhere.`;
      tell(problem, "bad");
      element("pick-hint").textContent = problem; // on a small screen the status is out of sight
      return;
    }
    this.lastPlace = place;
    if (this.clicks < kinds[kind].points.length) this.setPoint(this.clicks, place);
    else element("line-heading").value = clickedHeading(this.point(0), place);
    this.clicks += 1;
    this.showMarks();
    if (this.clicks < clicksOf(kind)) {
      this.showHint();
      return;
    }
    this.pick(false);
    this.looking = true;
    tell("All points are set: check them and set the line.");
    element("line-form").querySelector("[type=submit]").focus();
  }

  showMarks() {
    const { points: names } = kinds[this.kind()];
    this.map.marks = this.points().map(([x, y], i) => ({ text: `${names[i]} new`, x, y }))
      .filter(({ x, y }) => Number.isFinite(x) && Number.isFinite(y));
    this.redraw();
  }

  togglePicking() {
    if (this.clicks === null) this.pick(true);
    else this.leavePicking();
  }

  submit() {
    const heading = element("line-heading")?.valueAsNumber ?? 0;
    const kind = this.kind();
    this.send(textForm(kind, this.points(), heading), `The ${kinds[kind].title} is set.`, {
      name: "Set the line",
      isSet: () => {
        this.map.marks = [];
        this.looking = false;
        this.map.view.follow(true);
      },
    });
  }

  /** Makes a text form the service's line; an engaged machine moves to it, which is asked first. */
  send(text, said, { name, hint = "", isSet = () => {} }) {
    const place = element("line-status");
    this.question.before(place, () => newLine(text, this.model), name, async () => {
      const reply = await report(place, setLine(text), said + nudgeNote(this.model.state), { hint, holds: whileThisLine(Number(text.split(/\s+/)[0])) });
      if (reply?.result === 1) isSet();
    });
  }
}
