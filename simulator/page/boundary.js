// The field's boundary: the page's own, from a file or driven around.

/** Holds the rings; `heard` is called with others. */
export class Boundary {
  constructor() {
    this.rings = [];
    this.heard = () => {};
  }

  set(rings) {
    this.rings = rings;
    this.heard(rings);
  }
}
