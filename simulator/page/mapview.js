// What part of the world the map shows: the view, and how pointers and keys change it.
import { clamp, toWorld, zoomedAt } from "./geometry.js";

const leastScale = 0.02;
const greatestScale = 200;
const usualScale = 14; // pixels a metre
const clickPixels = 6;
const keyPixels = 60;

/** The view of the map. `changed` is called after each change, `clicked` with a place of the world. */
export class MapView {
  constructor(canvas, { changed, clicked }) {
    Object.assign(this, { canvas, changed, clicked });
    this.scale = usualScale;
    this.following = true;
    this.headingUp = true;
    this.centre = { x: 0, y: 0 };
    this.pointers = new Map();
    this.travelled = 0;
    this.machine = { x: 0, y: 0, heading: 0 };
    this.heldUp = null; // what points up for as long as the map stands still
    this.listen();
  }

  camera() {
    const [width, height] = [this.canvas.clientWidth, this.canvas.clientHeight];
    const up = this.heldUp ?? (this.headingUp ? this.machine.heading : 0);
    const centre = this.following ? this.machine : this.centre;
    const low = this.following && this.headingUp ? 0.7 : 0.5;
    return { x: centre.x, y: centre.y, up, scale: this.scale, width, height,
      anchorX: width / 2, anchorY: height * low };
  }

  /** The place in the middle of the picture, where the cross is. */
  middle() {
    const camera = this.camera();
    return toWorld(camera, camera.width / 2, camera.height / 2);
  }

  follow(on) {
    if (on && this.heldUp !== null) return; // it stands still
    if (!on && this.following) {
      const [x, y] = this.middle();
      this.centre = { x, y };
    }
    this.following = on;
    this.changed();
  }

  turn(headingUp) {
    this.headingUp = headingUp;
    if (this.heldUp !== null) this.heldUp = headingUp ? this.machine.heading : 0;
    this.changed();
  }

  /** Has the map stand still, whatever the machine does, or not any more. */
  still(on) {
    if (on) {
      this.follow(false);
      this.heldUp ??= this.headingUp ? this.machine.heading : 0;
    } else {
      this.heldUp = null;
    }
    this.changed();
  }

  /** Shows the machine as at first. */
  reset() {
    if (this.heldUp !== null) return; // points are being set
    Object.assign(this, { scale: usualScale, following: true, headingUp: true });
    this.changed();
  }

  /** Shows all of a box of the world, north up. */
  showAll({ left, right, bottom, top }) {
    const { clientWidth: width, clientHeight: height } = this.canvas;
    if (!(right >= left && top >= bottom) || width === 0 || height === 0) return;
    const room = (pixels, metres) => (0.9 * pixels) / Math.max(metres, 1);
    this.follow(false);
    this.turn(false);
    this.centre = { x: (left + right) / 2, y: (bottom + top) / 2 };
    this.scale = clamp(Math.min(room(width, right - left), room(height, top - bottom)), leastScale, usualScale);
    this.changed();
  }

  zoom(factor, x, y) {
    const camera = this.camera();
    const scale = clamp(this.scale * factor, leastScale, greatestScale);
    if (!this.following && x !== undefined) {
      const zoomed = zoomedAt(camera, scale, x, y);
      this.centre = { x: zoomed.x, y: zoomed.y };
    }
    this.scale = scale;
    this.changed();
  }

  pan(dx, dy) {
    this.follow(false);
    const camera = this.camera();
    const [x, y] = toWorld(camera, camera.anchorX - dx, camera.anchorY - dy);
    this.centre = { x, y };
    this.changed();
  }

  /** Takes a key that was pressed on the map; false when it is none of its own. */
  key(name) {
    const moves = { ArrowLeft: [1, 0], ArrowRight: [-1, 0], ArrowUp: [0, 1], ArrowDown: [0, -1] };
    if (!(name in moves)) return false;
    const [right, down] = moves[name];
    this.pan(right * keyPixels, down * keyPixels);
    return true;
  }

  listen() {
    const { canvas } = this;
    canvas.addEventListener("wheel", (event) => {
      event.preventDefault();
      this.zoom(Math.exp(-event.deltaY * 0.0015), event.offsetX, event.offsetY);
    }, { passive: false });
    canvas.addEventListener("pointerdown", (event) => this.press(event));
    canvas.addEventListener("pointermove", (event) => this.move(event));
    canvas.addEventListener("pointerup", (event) => this.release(event));
    canvas.addEventListener("pointercancel", (event) => this.pointers.delete(event.pointerId));
  }

  press(event) {
    if (event.button !== 0) return; // only the main button of a mouse drags and sets points
    this.canvas.setPointerCapture(event.pointerId);
    if (this.pointers.size === 0) this.travelled = 0;
    this.pointers.set(event.pointerId, [event.offsetX, event.offsetY]);
  }

  move(event) {
    const before = this.pointers.get(event.pointerId);
    if (before === undefined) return;
    const now = [event.offsetX, event.offsetY];
    const [dx, dy] = [now[0] - before[0], now[1] - before[1]];
    if (this.pointers.size === 1) {
      this.travelled += Math.hypot(dx, dy);
      if (this.travelled < clickPixels) return; // a hand that shakes does not drag
      this.pan(dx, dy);
    } else {
      this.travelled = Infinity;
      this.pinch(event.pointerId, before, now);
    }
    this.pointers.set(event.pointerId, now);
  }

  pinch(id, before, now) {
    const [, other] = [...this.pointers].find(([pointer]) => pointer !== id);
    const apart = (point) => Math.max(1, Math.hypot(point[0] - other[0], point[1] - other[1]));
    this.zoom(apart(now) / apart(before), (now[0] + other[0]) / 2, (now[1] + other[1]) / 2);
  }

  release(event) {
    if (!this.pointers.delete(event.pointerId)) return;
    if (this.pointers.size === 0 && this.travelled < clickPixels) {
      this.clicked(toWorld(this.camera(), event.offsetX, event.offsetY));
    }
  }
}
