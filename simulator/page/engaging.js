// Whether steering is engaged, by what the service has answered too: its state comes a little later.

/** A state that was sent before the answer has come by then, milliseconds. */
const dueMilliseconds = 1000;

/** What the page knows of steering that it has asked to engage. */
export class Engaging {
  constructor(model) {
    Object.assign(this, { model, underWay: 0, until: -Infinity });
  }

  /** Takes in a request to engage, a promise of the service's reply; `isDone` judges that. Gives the promise. */
  async follow(request, isDone) {
    this.underWay += 1;
    try {
      const reply = await request;
      if (isDone(reply)) this.until = performance.now() + dueMilliseconds;
      return reply;
    } finally {
      this.underWay -= 1;
    }
  }

  /** Takes a new state in: from the first that is engaged on, states alone count. */
  showState(state) {
    if (state.engage_state_name === "engaged") this.forget();
  }

  /** The driver has asked for the end of steering. */
  forget() { this.until = -Infinity; }

  /** Whether steering is engaged, or may be by now. */
  isEngaged() {
    const { state } = this.model;
    if (state === null) return false;
    return state.engage_state_name === "engaged" || this.underWay > 0 || performance.now() < this.until;
  }
}
