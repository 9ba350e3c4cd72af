// Recording a drive as a line, by buttons: it begins where the machine is and ends where it is then.
import { command, done } from "./service.js";
import { report, sayWhile, whileThisLine } from "./messages.js";
import { lengthWords, nudgeNote } from "./guidance.js";

const element = (id) => document.getElementById(id);
const kinds = { curve: { code: 4, name: "A-B curve" }, path: { code: 5, name: "path" } };

/** The panel of recording. */
export class RecordPanel {
  constructor(model, question) {
    Object.assign(this, { model, question });
    this.isRecording = null; // whether the service does; null until it has told
    this.driven = null; // metres since it began; null when this page has not seen that
    this.last = null; // the state before
    element("record-curve").addEventListener("click", () => this.ask(kinds.curve));
    element("record-path").addEventListener("click", () => this.ask(kinds.path));
    element("record-end").addEventListener("click", () => this.end());
  }

  tell(request, said, holds = null) { return report(element("record-status"), request, said, { holds }); }

  ask(kind) {
    this.question.before(element("record-status"),
      () => ({ by: null, text: "To record another line, the present one goes, and steering ends. You steer then." }),
      `Record the ${kind.name}`, () => this.begin(kind));
  }

  setPoint(number) {
    const { x, y, heading } = this.model.state;
    return command("set_waypoint", number, x, y, 0, heading);
  }

  async begin(kind) {
    if (this.model.state === null) return;
    const started = await this.tell(command("start_wayline", kind.code), "");
    if (started === null || !done(started)) return;
    this.isRecording = false; // what was recorded before has gone
    await this.tell(this.setPoint(0), `Recording the ${kind.name}: drive it, then end it.`, ({ line }) => line?.recording ?? false);
  }

  async end() {
    if (this.isRecording) await this.tell(this.setPoint(1), `The drive was recorded.${nudgeNote(this.model.state)}`, whileThisLine(this.model.line.kind));
    else sayWhile(({ line }) => !line?.recording, element("record-status"), "Nothing is being recorded.", "bad");
  }

  /** Takes a new line in. */
  showLine(line) {
    if (!line.recording) this.driven = null;
    else if (this.isRecording === false) this.driven = 0;
    this.isRecording = line.recording;
    this.kindName = line.kind_name;
    this.showWords();
  }

  /** Forgets how far was driven: what happened without a connection is not known. */
  connected() {
    Object.assign(this, { isRecording: null, driven: null, last: null });
  }

  /** Takes a new state in. */
  showState(state) {
    if (this.driven !== null && this.last !== null) {
      this.driven += Math.hypot(state.x - this.last.x, state.y - this.last.y);
      this.showWords();
    }
    this.last = state;
  }

  showWords() {
    const far = this.driven === null ? "" : `, ${lengthWords(this.driven)} so far`;
    const text = this.isRecording ? `recording: ${this.kindName}${far}` : "";
    for (const place of [element("record-words"), element("recording")]) {
      if (place.textContent !== text) place.textContent = text;
    }
    element("recording").hidden = text === "";
  }
}
