// The points of the line and its passes: each comes once, and is kept for when it is drawn again.

/** How far from the chosen pass, in passes, points are kept; the service counts on it. */
const keptPasses = 32;

/** Puts together what comes in the events "line" of one stream. */
export class Passes {
  constructor() {
    this.begin();
  }

  /** Forgets all: another stream begins. */
  begin() {
    this.picture = null;
    this.line = [];
    this.points = new Map();
  }

  /** The line of an event, with the points that came before it. */
  whole(event) {
    if (event.picture !== this.picture) {
      this.begin();
      this.picture = event.picture;
    }
    this.line = event.line ?? this.line;
    for (const pass of this.points.keys()) {
      if (Math.abs(pass - event.pass) > keptPasses) this.points.delete(pass);
    }
    const whole = ({ pass, points }) => {
      if (points !== undefined) this.points.set(pass, points);
      return { pass, points: this.points.get(pass) };
    };
    return {
      ...event,
      line: this.line,
      followed: event.followed && whole(event.followed),
      passes: event.passes.map(whole),
    };
  }
}
