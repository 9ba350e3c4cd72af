// The short sound of a drop, which draws attention without a look.
import { keep, kept } from "./kept.js";

const element = (id) => document.getElementById(id);
const choice = "sound-of-drops";
const notes = [880, 622, 880, 622]; // hertz
const noteSeconds = 0.14;
/** A sound that could not be made within that time would speak of something past, milliseconds. */
const stillDue = 1000;

/** The alarm with its switch. A browser lets a page sound once somebody has touched it. */
export class Alarm {
  constructor() {
    this.context = null;
    this.toggle = element("sound-on");
    this.toggle.checked = kept("localStorage", choice, "on") !== "off";
    this.toggle.addEventListener("change", () => {
      keep("localStorage", choice, this.toggle.checked ? "on" : "off");
      if (this.toggle.checked) this.sound(); // so it sounds
      this.showNote();
    });
    for (const touch of ["pointerup", "keydown"]) addEventListener(touch, () => this.wake(), { capture: true });
    this.showNote();
  }

  /** Makes ready, while the browser allows it because of what somebody has just done; waits for that. */
  async wake() {
    if (typeof AudioContext !== "function") return;
    this.context ??= new AudioContext();
    if (this.context.state !== "running") await this.context.resume().catch(() => {});
    this.showNote();
  }

  showNote() {
    // Its room stays: this comes of a touch, and what is below must not move under the finger.
    element("sound-note").classList.toggle("silent", !this.toggle.checked || this.context?.state === "running");
  }

  /** Sounds, unless that is switched off; not at all where the browser allows it only later. */
  async sound() {
    if (!this.toggle.checked) return;
    const since = performance.now();
    await this.wake();
    const { context } = this;
    if (context?.state !== "running" || performance.now() - since > stillDue) return;
    notes.forEach((hertz, i) => {
      const begin = context.currentTime + i * noteSeconds;
      const [tone, volume] = [context.createOscillator(), context.createGain()];
      tone.type = "square";
      tone.frequency.value = hertz;
      volume.gain.value = 0.2;
      tone.connect(volume).connect(context.destination);
      tone.start(begin);
      tone.stop(begin + noteSeconds * 0.9);
    });
  }
}
