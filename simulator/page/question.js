// What moves an engaged machine, or ends its steering, asks first.
import { say, sayWhile } from "./messages.js";

const element = (id) => document.getElementById(id);
const holdMilliseconds = 700; // nothing that has become another thing is agreed to sooner
const setText = (place, text) => { if (place.textContent !== text) place.textContent = text; };

const nothing = { by: 0, text: "The machine stays on its way." };
const wordsOf = ({ text }) => text.replace(/\d+(\.\d+)?/g, "").replace(/ c?m\b/g, "");

/** Whether something else happens than what was read; a little more or less of the same is not. */
function isOther(read, now) {
  if (read.by === null || now.by === null) return wordsOf(read) !== wordsOf(now);
  const isToPass = ({ text }) => text.endsWith("to the pass nearest to it.");
  return isToPass(read) !== isToPass(now) || Math.abs(now.by - read.by) > Math.max(0.05, Math.abs(read.by) / 4);
}

/**
 * The question, beside the controls that it belongs to. It is none of the browser's dialogs: those would
 * keep the button that ends steering from being pressed.
 */
export class Question {
  constructor(model) {
    this.model = model;
    this.asked = null;
    this.held = null; // the timer while it cannot be agreed to
    this.node = element("question");
    element("question-no").addEventListener("click", () => this.leave());
    element("question-yes").addEventListener("click", () => {
      const { act } = this.asked;
      this.close();
      act();
    });
  }

  /**
   * Does something at once, or while steering is engaged once that is agreed to.
   *
   * @param place where messages of it stand, which the question follows.
   * @param happens gives what it will do to the machine, as it is now: {by, text}, or null for nothing.
   * @param name of the button that agrees.
   */
  before(place, happens, name, act) {
    if (this.asked !== null) this.close();
    const holds = () => this.model.engaging.isEngaged();
    if (holds()) this.ask(place, happens, name, act, holds);
    else act();
  }

  /** Does something once that is agreed to; `holds` is whether it is still to be asked. */
  ask(place, happens, name, act, holds = () => true) {
    if (this.asked !== null) this.close();
    say(place, "");
    this.asked = { place, happens, act, holds, read: null, before: document.activeElement };
    place.after(this.node);
    this.node.hidden = false;
    element("question-yes").textContent = name;
    this.showWords();
    element("question-no").focus({ preventScroll: true });
  }

  showWords() {
    const { asked } = this;
    const now = asked.happens() ?? nothing;
    if (asked.read !== null && isOther(asked.read, now)) this.hold();
    if (asked.read === null || isOther(asked.read, now)) asked.read = now;
    setText(element("question-text"), now.text);
    this.showAge();
  }

  /** Lets nobody agree for a moment: what was read is so no more. */
  hold() {
    clearTimeout(this.held);
    this.held = setTimeout(() => {
      this.held = null;
      this.showAge();
    }, holdMilliseconds);
  }

  /** It can be agreed to while what it says is of now. */
  showAge() {
    element("question-yes").disabled = this.held !== null || this.model.old !== "";
  }

  /** Takes a new state in: the machine goes on, and what the question says has to stay true. */
  showState() {
    if (this.asked === null) return;
    if (this.asked.holds()) {
      this.showWords();
      return;
    }
    const { place } = this.asked;
    this.leave();
    sayWhile(({ state: now }) => now.engage_state_name !== "engaged", place,
      "Nothing was changed: steering is not engaged any more.", "bad");
  }

  /** Leaves all as it is. Gives whether there was a question. */
  leave() {
    if (this.asked === null) return false;
    const { before } = this.asked;
    this.close();
    before?.focus();
    return true;
  }

  close() {
    clearTimeout(this.held);
    this.held = null;
    this.asked = null;
    this.node.hidden = true;
  }
}
