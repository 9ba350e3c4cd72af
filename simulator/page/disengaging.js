// A Disengage is asked for until it is carried out, or steering has ended in another way.
import { command } from "./service.js";

const element = (id) => document.getElementById(id);
/** Before it is asked for again when there was nobody to hear it, milliseconds. */
const pauseMilliseconds = 250;
const pause = () => new Promise((resolve) => { setTimeout(resolve, pauseMilliseconds); });

export class Disengaging {
  /** @param note takes a line for the log. */
  constructor(model, note) {
    Object.assign(this, { model, note, wanted: null });
    this.place = element("undone");
  }

  /**
   * Has steering end. Gives the service's reply, of a refusal too, or null when steering has ended meanwhile
   * or the driver has asked for the contrary. Until then the page says that it was not carried out.
   */
  async ask() {
    if (this.wanted !== null) return this.wanted;
    this.wanted = this.insist();
    return this.wanted;
  }

  async insist() {
    await null; // so that `wanted` is known
    const own = this.wanted;
    if (this.model.lost) this.show("there is no connection");
    while (this.wanted === own) {
      try {
        const reply = await command("DisengageSteering", 1);
        if (this.wanted === own) this.forget();
        return reply;
      } catch (error) {
        if (this.wanted !== own) break;
        this.show(error.message);
        if (error.refused) {
          this.wanted = null;
          throw error;
        }
        await pause();
      }
    }
    return null;
  }

  show(reason) {
    if (!this.place.hidden) return;
    this.place.hidden = false;
    this.place.parentElement.scrollTop = 0;
    this.note(`Disengage was not carried out: ${reason}`);
  }

  /** The connection is lost: what is under way has not been heard. */
  lost() {
    if (this.wanted !== null) this.show("the connection was lost");
  }

  /** Takes a new state in: there is nothing to end any more. */
  showState(state) {
    if (state.engage_state_name !== "engaged") this.forget();
  }

  forget() {
    this.wanted = null;
    this.place.hidden = true;
  }
}
