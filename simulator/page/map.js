// The map: puts the view, the drawing and its buttons together.
import { drawCross, drawGround, drawLines, drawOld, drawScale, drawTrail } from "./mapdraw.js";
import { drawAim, drawMachine, drawMachineBeyond, drawMark } from "./mapmachine.js";
import { fitted, palette } from "./palette.js";
import { MapView } from "./mapview.js";
import { clamp, edgePlace, poseBetween, toWorld } from "./geometry.js";

const element = (id) => document.getElementById(id);

/** The map. `model` holds what is shown: state, line, trail, and whether and why that is old. */
export class DriveMap {
  constructor(model, redraw) {
    this.model = model;
    this.canvas = element("map");
    this.marks = [];
    this.ground = null; // draws between the ground and the lines
    this.below = null; // draws between the lines and the trail
    this.picking = null;
    this.before = null;
    this.unreached = 0; // how many of the trail's last points the machine, as it is drawn, has not come to
    this.view = new MapView(this.canvas, {
      changed: () => { this.showView(); redraw(); },
      clicked: (place) => this.picking?.(place),
    });
    this.listen();
    new ResizeObserver(redraw).observe(this.canvas);
  }

  listen() {
    element("zoom-in").addEventListener("click", () => this.view.zoom(1.4));
    element("zoom-out").addEventListener("click", () => this.view.zoom(1 / 1.4));
    element("whole-drive").addEventListener("click", () => this.showDrive());
    element("follow").addEventListener("click", () => this.view.follow(!this.view.following));
    element("heading-up").addEventListener("click", () => this.view.turn(!this.view.headingUp));
    this.canvas.addEventListener("keydown", (event) => {
      if (event.ctrlKey || event.metaKey || event.altKey) return;
      const taken = event.key === "Enter" && this.picking ? this.pickMiddle() : this.view.key(event.key);
      if (taken) event.preventDefault();
    });
  }

  /** Shows all of the way that has been driven. */
  showDrive() {
    const box = this.model.trail.box();
    if (box !== null) this.view.showAll(box);
  }

  pickMiddle() {
    this.picking(this.view.middle());
    return true;
  }

  showView() {
    element("follow").setAttribute("aria-pressed", this.view.following);
    element("heading-up").setAttribute("aria-pressed", this.view.headingUp);
  }

  /** Clicks and Enter on the map call `place` from now on; null ends that. */
  pick(place) {
    this.picking = place;
    element("follow").disabled = place !== null; // the map stands still
    this.canvas.classList.toggle("picking", place !== null);
  }

  /** Takes a new state in; the machine is drawn on its way from the one before. */
  moved() {
    const { state } = this.model;
    const now = performance.now();
    this.before = this.pose ?? state;
    const interval = this.arrived === undefined ? 100 : now - this.arrived;
    this.interval = clamp(interval, 20, 300);
    // A machine that is somewhere else at once has not driven there.
    const hasJumped = Math.hypot(state.x - this.before.x, state.y - this.before.y) > 20;
    if (hasJumped) this.before = state;
    this.unreached = hasJumped ? 0 : this.unreached + 1;
    this.arrived = now;
    this.isThere = false;
  }

  /** Whether the machine, as it was drawn last, is still on its way to the newest state. */
  moving() {
    return this.before !== null && !this.isThere;
  }

  draw() {
    const { model } = this;
    const { context, width, height } = fitted(this.canvas);
    this.isThere = width === 0;
    if (width === 0) return;
    if (model.state !== null) {
      const part = clamp((performance.now() - this.arrived) / this.interval, 0, 1);
      this.pose = poseBetween(this.before, model.state, part);
      this.view.machine = this.pose;
      this.isThere = part === 1;
      if (this.isThere) this.unreached = 0;
    }
    const camera = this.view.camera();
    drawGround(context, camera);
    this.ground?.(context, camera);
    if (model.line !== null) drawLines(context, camera, model.line,
      model.old === "" ? toWorld(camera, width / 2, height / 4) : null);
    this.below?.(context, camera);
    drawTrail(context, camera, model.trail, this.pose, this.unreached);
    this.drawMarks(context, camera);
    if (model.state !== null) this.drawState(context, camera);
    drawScale(context, camera);
    if (this.picking) drawCross(context, camera);
    if (model.old) drawOld(context, camera, model.old.slice(2));
  }

  drawState(context, camera) {
    const { state, line, settings, old } = this.model;
    if (state.aim_point !== null) drawAim(context, camera, this.pose, state.aim_point);
    const edge = edgePlace(camera, this.pose);
    if (edge !== null) drawMachineBeyond(context, camera, edge);
    drawMachine(context, camera, this.pose, state,
      { width: line?.implement_width ?? 3, offset: settings?.implement_offset ?? 0, isOld: old !== "" });
  }

  drawMarks(context, camera) {
    const { line } = this.model;
    const taken = [];
    line?.labels.forEach((label) => drawMark(context, camera, label, palette.original, taken));
    this.marks.forEach((mark) => drawMark(context, camera, mark, palette.ink, taken));
  }
}
