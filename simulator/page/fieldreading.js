// Gathers what a file has of fields: their lines and boundaries, and what cannot be used of it.
import { FileProblem, FileTooLarge, LocalFrame, limits, samePlace } from "./fieldplaces.js";
import { joinedAreas, joinedLines } from "./fielddateline.js";
import { degrees, headingTo } from "./geometry.js";

/** The kinds of lines by their words in files of maps; their codes are those of text forms. */
const kindsOfWords = { ab: 0, "a-heading": 1, circle: 2, spline: 3, "ab-curve": 4 };

/** Heights that are all 0 are what programs write that know none. */
function withoutFalseHeights(parts) {
  const known = parts.some((part) => part.some(([, , height]) => (height ?? 0) !== 0));
  return known ? parts : parts.map((part) => part.map(([east, north]) => [east, north, null]));
}

function withoutRepetition(places) {
  return places.filter((place, i) => i === 0 || !samePlace(place, places[i - 1]));
}

/** The three points of a circle whose outline, all the way round, has more. */
function ofCircle(places) {
  const round = places.length > 3 && samePlace(places[0], places.at(-1)) ? places.slice(0, -1) : places;
  if (round.length < 3) throw new FileProblem("a circle needs three points");
  const third = Math.floor(round.length / 3);
  return [round[0], round[third], round[2 * third]];
}

function headingAlong(places) {
  if (places.length < 2) throw new FileProblem("an A-plus-heading line needs a heading");
  const [x, y] = new LocalFrame(places[0]).local(places[1]);
  return degrees(headingTo([0, 0], [x, y]));
}

/** A line of a kind through places; what a kind does not need of them is left out. */
function lineOf(kind, places, heading) {
  const distinct = withoutRepetition(places);
  if (kind === 1) {
    if (places.length === 0) throw new FileProblem("it has no points");
    return { kind, places: [places[0]], heading: heading ?? headingAlong(distinct) };
  }
  if (kind === 2) return { kind, places: ofCircle(distinct) };
  if (distinct.length < 2) throw new FileProblem("a line needs two points apart");
  return { kind, places: kind === 0 ? [distinct[0], distinct.at(-1)] : distinct };
}

function openRing(ring) {
  let length = ring.length;
  while (length > 1 && samePlace(ring[length - 1], ring[0])) length -= 1;
  if (length < 3) throw new FileProblem("a ring needs three places apart");
  return ring.slice(0, length);
}

const longestSlice = 20; // milliseconds
let latest = null; // the reading that was begun last

/**
 * What is read of a file. It is read in slices, between which the page does what else is to be done: somebody may want
 * to disengage. A reading ends when another one begins.
 */
export class FieldReading {
  constructor() {
    this.fields = [];
    this.fieldsByName = new Map();
    this.timesTaken = new Map();
    this.left = []; // sentences about what cannot be used
    this.places = 0;
    this.features = 0;
    this.sliceBegan = performance.now();
    latest = this;
  }

  /** Lets the page go on when the slice is over. To be called between all that is not short. */
  async rest() {
    if (performance.now() - this.sliceBegan < longestSlice) return;
    await new Promise((resolve) => { setTimeout(resolve); });
    if (latest !== this) throw new FileTooLarge("another file was opened before it was read");
    this.sliceBegan = performance.now();
  }

  field(name) {
    let field = this.fieldsByName.get(name);
    if (field === undefined) {
      field = { name, lines: [], boundaries: [] };
      this.fields.push(field);
      this.fieldsByName.set(name, field);
    }
    return field;
  }

  /** A name for one more field where several may have one: a further one has a number behind it. */
  ownName(name) {
    let own = name;
    let times = this.timesTaken.get(name) ?? 0;
    for (; this.timesTaken.has(own); own = `${name} (${times})`) times += 1;
    this.timesTaken.set(name, Math.max(times, 1));
    if (own !== name) this.timesTaken.set(own, 1);
    return own;
  }

  leave(text) {
    if (this.left.length < 20) this.left.push(text);
  }

  count(parts) {
    this.features += 1;
    this.places += parts.reduce((sum, part) => sum + part.length, 0);
    if (this.features > limits.features) throw new FileTooLarge("it has more lines and boundaries than are read");
    if (this.places > limits.places) throw new FileTooLarge("it has more points than are read");
  }

  /** Does something with a line or boundary; when that cannot be used, it is left out by its name. */
  async attempt(what, name, act) {
    await this.rest();
    try {
      await act();
    } catch (error) {
      if (!(error instanceof FileProblem)) throw error;
      this.leave(`${what} “${name || "without a name"}”: ${error.message}`);
    }
  }

  /** Adds a line that is complete. */
  async line(field, name, act) {
    await this.attempt("line", name, () => {
      const line = act();
      this.count([line.places]);
      this.field(field).lines.push({ name, ...line });
    });
  }

  /** Adds the lines of a feature of a map; `word` is that of its kind. */
  async lines(field, name, parts, { word = "", heading = null } = {}) {
    this.count(parts);
    const lines = joinedLines(withoutFalseHeights(parts));
    for (const [i, places] of lines.entries()) {
      const part = lines.length > 1 ? `${name}${name && ", "}part ${i + 1}` : name;
      await this.attempt("line", part, () => {
        const kind = word === "" ? (places.length === 2 ? 0 : 4) : kindsOfWords[word];
        if (kind === undefined) throw new FileProblem(`“${word.slice(0, 40)}” is no kind of line`);
        this.field(field).lines.push({ name: part, ...lineOf(kind, places, heading) });
      });
    }
  }

  /** Adds the areas of a feature, each its exterior ring and its holes. */
  async areas(field, name, areas) {
    const open = [];
    for (const rings of areas) {
      await this.attempt("boundary", name, () => {
        if (rings.length === 0) throw new FileProblem("it has no exterior ring");
        this.count(rings);
        open.push(withoutFalseHeights(rings).map(openRing));
      });
    }
    joinedAreas(open).forEach((rings) => this.field(field).boundaries.push({ name, rings }));
  }

  /** What has been read. */
  result() {
    const fields = this.fields.filter(({ lines, boundaries }) => lines.length + boundaries.length > 0);
    if (fields.length === 0) {
      throw new FileProblem(["there is neither a line nor a boundary in it", ...this.left].join("; "));
    }
    return { fields, left: this.left };
  }
}

/** Lines as formats with kinds of their own have them. */
export const makeLine = lineOf;
