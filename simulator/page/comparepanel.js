// The panel that lays step tests over one another, says by what they differ, and sets the tuning of one again.
import { command, done } from "./service.js";
import { differenceWords, fileOf, isCurve, mostCompared, mostFileBytes, nameOf, testsOf, tuningFault } from "./steptests.js";
import { drawSample, drawTests } from "./comparechart.js";
import { keep, kept } from "./kept.js";
import { refusalOf, say, sayFailure } from "./messages.js";
import { save } from "./journal.js";
import { short } from "./tuningpanel.js";

const element = (id) => document.getElementById(id);
const keptChoice = "step-tests-compared";
/** So many tests are kept, those of files too. */
const mostTests = 30;

const resultWords = ({ settled, overshoot, coarse }) =>
  `${coarse ? "≈ " : ""}${settled === null ? "not settled" : `settled ${settled.toFixed(1)} m`}, past ${(overshoot * 100).toFixed(1)} cm`;
/** As the columns of the scores are called. */
const valueNames = ["Sens.", "Aggr.", "Over.", "Adj."];
const tuningWords = ({ parameters, lookAhead, speed }) => [
  ...parameters.map((value, i) => `${valueNames[i] ?? "and"} ${short(value)}`),
  `Ahead ${short(lookAhead)} s`, `${speed.toFixed(1)} m/s`].join(", ");

function make(tag, properties = {}, ...children) {
  const node = Object.assign(document.createElement(tag), properties);
  node.append(...children);
  return node;
}

/** The panel; `step` is the one of the step test, which keeps the tests. */
export class ComparePanel {
  constructor(model, step) {
    this.model = model;
    this.step = step;
    const chosen = kept("sessionStorage", keptChoice, null);
    this.chosen = Array.isArray(chosen) ? chosen.filter(Number.isInteger) : null; // null: the newest two
    element("compare-save").addEventListener("click", () => this.save());
    element("compare-file").addEventListener("change", ({ target }) => this.open(target));
    step.onScores = () => this.show();
    this.show();
  }

  say(text, ...kinds) { say(element("compare-status"), text, ...kinds); }

  /** The tests that have a curve, the newest first. */
  tests() { return this.step.scores.filter(({ curve }) => isCurve(curve)).reverse(); }

  numbers() {
    const numbers = this.tests().map(({ number }) => number);
    return (this.chosen ?? numbers.slice(0, 2)).filter((number) => numbers.includes(number)).slice(0, mostCompared);
  }

  /** The tests that lie over one another, the oldest first: the others are compared with it. */
  compared() {
    const numbers = this.numbers();
    return this.tests().filter(({ number }) => numbers.includes(number)).reverse();
  }

  choose(box, number) {
    const before = this.numbers();
    if (box.checked && before.length >= mostCompared) {
      box.checked = false;
      this.say(`${mostCompared} lie over one another at most: leave one out first.`, "bad");
      return;
    }
    this.chosen = box.checked ? [...before, number] : before.filter((each) => each !== number);
    keep("sessionStorage", keptChoice, this.chosen);
    this.say("");
    this.show();
  }

  /** Shows the tests that there are. Who is at a control of one stays there. */
  show() {
    const tests = this.tests();
    const compared = this.compared();
    const focus = document.activeElement?.dataset?.test;
    element("compare-none").hidden = tests.length > 1;
    element("compare-save").disabled = tests.length === 0;
    element("compare-list").replaceChildren(...tests.map((test) => this.item(test, compared.indexOf(test))));
    if (focus !== undefined) document.querySelector(`[data-test="${CSS.escape(focus)}"]`)?.focus();
    const [first, ...others] = compared;
    const words = others.map((test) => differenceWords(test, first));
    element("compare-words").replaceChildren(...words.map((text) => make("li", { textContent: text })));
    element("compare-chart").hidden = compared.length === 0;
    element("compare-chart").setAttribute("aria-label", compared.length === 0 ? "No curve"
      : `Way to the line after a step of ${compared.map((test) => `${nameOf(test)}: ${resultWords(test)}`).join("; ")}`);
    this.draw();
  }

  draw() {
    const compared = this.compared();
    drawTests(element("compare-chart"), compared);
    document.querySelectorAll("#compare-list canvas").forEach((canvas) => drawSample(canvas, Number(canvas.dataset.place)));
  }

  item(test, place) {
    const name = nameOf(test);
    const box = make("input", { type: "checkbox", checked: place >= 0 });
    box.dataset.test = `compare ${test.number}`;
    box.addEventListener("change", () => this.choose(box, test.number));
    const words = make("span", {}, make("b", { textContent: name }), ` ${resultWords(test)}`,
      make("small", { textContent: tuningWords(test) }));
    const label = make("label", { className: "check" }, box, words);
    if (place >= 0) {
      const sample = make("canvas", { className: "sample" });
      sample.dataset.place = place;
      sample.setAttribute("aria-hidden", "true");
      label.append(sample);
    }
    return make("li", {}, label, make("div", { className: "row" },
      this.button("Use this one", name, `use ${test.number}`, () => this.use(test)),
      this.button("Remove", name, `remove ${test.number}`, () => this.remove(test), true)));
  }

  button(text, name, key, act, isLocal = false) {
    const button = make("button", { type: "button", textContent: text });
    button.setAttribute("aria-label", `${text}: ${name}`);
    button.dataset.test = key;
    if (isLocal) button.dataset.local = "";
    else button.disabled = this.model.lost;
    button.addEventListener("click", act);
    return button;
  }

  /** Sets the tuning that a test was taken with. */
  async use(test) {
    const { settings } = this.model;
    const fault = settings === null ? "nothing comes from the service" : tuningFault(test, settings.tuning);
    if (fault !== "") {
      this.say(`Not set: ${fault}.`, "bad");
      return;
    }
    const calls = settings.tuning.map(({ number }, i) => ["set_tuning_parameter", number, test.parameters[i], false]);
    let set = 0;
    const half = () => (set > 0 ? ` ${set} of ${calls.length} values are set.` : "");
    calls.push(["set_lookahead_time", test.lookAhead, false]);
    try {
      for (const call of calls) {
        const reply = await command(...call);
        if (!done(reply)) {
          this.say(`Refused: ${refusalOf(reply)}.${half()}`, "bad");
          return;
        }
        set += 1;
      }
      this.say(`The tuning of ${nameOf(test)} is set.`);
    } catch (error) {
      sayFailure(element("compare-status"), error, half());
    }
  }

  remove(test) {
    const tests = this.tests();
    const next = tests[tests.indexOf(test) + 1] ?? tests[tests.indexOf(test) - 1];
    this.step.reload();
    this.step.keep(this.step.scores.filter(({ number }) => number !== test.number));
    this.say(`${nameOf(test)} is removed.`);
    const place = next === undefined ? null : document.querySelector(`[data-test="remove ${next.number}"]`);
    (place ?? element("compare-title")).focus();
  }

  names() { return this.model.settings?.tuning.map(({ name }) => name) ?? null; }

  /** Saves the tests that are compared, or all where none is. */
  save() {
    const names = this.names();
    if (names === null) {
      this.say("Not saved: nothing has come from the service yet.", "bad");
      return;
    }
    const compared = this.compared();
    const tests = compared.length > 0 ? compared : this.tests();
    save("step-tests.json", "application/json", fileOf(tests, names));
    this.say(`${tests.length} ${tests.length === 1 ? "test is" : "tests are"} saved.`);
  }

  async open(input) {
    const [file] = input.files;
    if (file === undefined) return;
    try {
      if (file.size > mostFileBytes) throw new Error("it is larger than 1 MiB");
      const names = this.names();
      if (names === null) throw new Error("nothing has come from the service yet");
      this.add(testsOf(await file.text(), names, file.name));
    } catch (error) {
      this.say(`${file.name} is not opened: ${error.message}.`, "bad");
    }
    input.value = ""; // so that the same file can be chosen again
  }

  /** Adds the tests of a file to the others, and lays them over the newest. */
  add(tests) {
    this.step.reload();
    const { scores } = this.step;
    const tooMany = scores.length + tests.length - mostTests;
    if (tooMany > 0) throw new Error(`there is room for ${mostTests} tests; remove ${tooMany} first`);
    const first = this.step.nextNumber();
    const added = tests.map((test, i) => ({ ...test, number: first + i }));
    this.chosen = [...added.map(({ number }) => number), ...this.numbers()].slice(0, mostCompared);
    keep("sessionStorage", keptChoice, this.chosen);
    this.step.keep([...scores, ...added]);
    this.say(`${tests.length} ${tests.length === 1 ? "test is" : "tests are"} opened.`);
  }
}
