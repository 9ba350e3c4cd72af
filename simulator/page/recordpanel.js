// Recording a drive as a line, by buttons: it begins where the machine is and ends where it is then.
import { command, done } from "./service.js";
import { report } from "./messages.js";
import { lengthWords } from "./guidance.js";

const element = (id) => document.getElementById(id);
const kinds = { curve: { code: 4, name: "A-B curve" }, path: { code: 5, name: "path" } };

/** The panel of recording. */
export class RecordPanel {
  constructor(model, question) {
    Object.assign(this, { model, question });
    element("record-curve").addEventListener("click", () => this.ask(kinds.curve));
    element("record-path").addEventListener("click", () => this.ask(kinds.path));
    element("record-end").addEventListener("click", () => this.end());
  }

  tell(request, said) { return report(element("record-status"), request, said); }

  ask(kind) {
    this.question.before(element("record-status"),
      () => "To record another line, the present one goes, and steering ends. You steer then.",
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
    await this.tell(this.setPoint(0), `Recording the ${kind.name}: drive it, then end it.`);
  }

  async end() {
    if (this.model.state === null) return;
    await this.tell(this.setPoint(1), "The drive was recorded.");
  }

  /** Takes a new line in. */
  showLine(line) {
    const words = element("record-words");
    words.textContent = line.recording ? `${line.kind_name}, ${lengthWords(line.length)} so far` : "";
  }
}
