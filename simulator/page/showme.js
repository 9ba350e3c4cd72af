// A drive of a minute for who sees the page for the first time: what is seen is explained step by step. The service
// drives it, and ends it before anything else that is asked for.
import { askShow, expectEnd } from "./service.js";
import { clock } from "./readings.js";
import { say } from "./messages.js";

const element = (id) => document.getElementById(id);
const setText = (place, text) => { if (place.textContent !== text) place.textContent = text; };

/** What is said of each step: its title, and what is seen. */
export const steps = [
  ["A line", "A line to drive along has been set: on the map it is blue, its passes are dashed. The machine drives beside it. "
    + "Nobody steers it yet: the lights and the figure say how far it is from the line, and to which side to steer."],
  ["Steering is engaged", "The machine steers itself now: word and frame are green, and Disengage ends it at any time. "
    + "It comes to the line and keeps to it; the figure counts centimetres."],
  ["No positions, for a moment", "The receiver sees no satellite. For up to 5 seconds steering goes on by speed and steering "
    + "angle alone."],
  ["Positions again", "The positions are back: the receiver's fix floats for some seconds and is then exact again. Small "
    + "jumps of the figure come from that."],
  ["No positions, for longer", "Again no satellite is seen. This time it takes too long to steer on blindly."],
  ["Steering is dropped", "The service has dropped steering, and says why: frame, word and title turn red, and a sound is "
    + "made. In a real cab you would steer now. Here the wheels go straight on."],
  ["Engaged again", "Positions are back, and steering has been engaged again. The machine comes back to the line."],
  ["That was it", "On the timeline below the map are the marks of all that: draw it, or press What happened here, "
    + "to see why steering was dropped. In a moment all is as it was before."],
];

/** The offer, and the text while it is shown. */
export class ShowMe {
  constructor(model) {
    Object.assign(this, { model, show: null });
    element("show-begin").addEventListener("click", () => this.ask(true));
    element("show-end").addEventListener("click", () => this.leave());
  }

  get isOn() { return this.show?.running === true; }

  async ask(on) {
    const place = element("message");
    try {
      await askShow(on);
      if (on) element("show-sheet").focus({ preventScroll: true });
    } catch (error) {
      say(place, `${on ? "Not shown" : "Not ended"}: ${error.message}`, "bad");
    }
  }

  /** Ends it. Gives whether there was anything to end. */
  leave() {
    if (!this.isOn) return false;
    this.ask(false);
    return true;
  }

  /** Takes in what the service says of it. */
  take(show) {
    const was = this.isOn;
    this.show = show;
    const offer = element("show-offer");
    // Its place stays: nothing moves under a finger.
    if (show.offered) offer.hidden = false;
    offer.classList.toggle("gone", !show.offered);
    element("show-begin").disabled = !show.offered;
    element("show-sheet").hidden = !show.running;
    document.body.classList.toggle("showing", show.running);
    if (show.running) this.showStep();
    else if (was) this.end();
  }

  end() {
    const { ended } = this.show;
    expectEnd();
    setText(element("show-title"), "");
    setText(element("show-text"), "");
    say(element("message"), `The drive to look at is over. ${ended} Line and speed are as they were before.`);
  }

  showStep() {
    const { step } = this.show;
    const [title, text] = steps[Math.min(step, steps.length - 1)];
    setText(element("show-title"), `${step + 1} of ${steps.length}: ${title}.`);
    setText(element("show-text"), text);
    this.showTime();
  }

  showTime() {
    if (!this.isOn) return;
    const { begin, seconds } = this.show;
    const since = Math.min(seconds, Math.max(0, (this.model.state?.time ?? begin) - begin));
    setText(element("show-time"), `${clock(since)} of ${clock(seconds)}`);
  }
}
