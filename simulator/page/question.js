// What moves an engaged machine, or ends its steering, asks first.
import { say } from "./messages.js";

const element = (id) => document.getElementById(id);
const setText = (place, text) => { if (place.textContent !== text) place.textContent = text; };

/**
 * The question, beside the controls that it belongs to. It is none of the browser's dialogs: those would
 * keep the button that ends steering from being pressed.
 */
export class Question {
  constructor(model) {
    this.model = model;
    this.asked = null;
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
   * @param words gives what it will do to the machine, as it is now.
   * @param name of the button that agrees.
   */
  before(place, words, name, act) {
    if (this.asked !== null) this.close();
    if (this.model.state?.engage_state_name !== "engaged") {
      act();
      return;
    }
    say(place, "");
    this.asked = { place, words, act, before: document.activeElement };
    place.after(this.node);
    this.node.hidden = false;
    element("question-yes").textContent = name;
    this.showWords();
    element("question-no").focus({ preventScroll: true });
    this.node.scrollIntoView({ block: "nearest" });
    element("question-text").scrollIntoView({ block: "nearest" }); // before its buttons where there is little room
  }

  showWords() {
    setText(element("question-text"), this.asked.words());
  }

  /** Takes a new state in: the machine goes on, and what the question says has to stay true. */
  showState(state) {
    if (this.asked === null) return;
    if (state.engage_state_name === "engaged") {
      this.showWords();
      return;
    }
    const { place } = this.asked;
    this.leave();
    say(place, "Nothing was changed: steering is not engaged any more.", "bad");
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
    this.asked = null;
    this.node.hidden = true;
  }
}
