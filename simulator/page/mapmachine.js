// The machine on the map, drawn in its own frame: metres, x to its right, y ahead, from the middle
// of the rear axle.
import { font, letterScale, palette } from "./palette.js";
import { clamp, toScreen } from "./geometry.js";
import { lengthWords } from "./guidance.js";

const implementBehind = 2; // metres behind the rear axle

function wheel(context, x, y, length, width, angle) {
  context.save();
  context.translate(x, y);
  context.rotate(-angle); // this frame's y points ahead, so that angles turn the other way round
  context.beginPath();
  context.rect(-width / 2, -length / 2, width, length);
  context.fillStyle = palette.ink;
  context.fill();
  context.restore();
}

/** Where the machine was: paper and a broken edge in place of its colour. */
function colours(context, isOld, pixel) {
  context.fillStyle = isOld ? palette.paper : palette["machine-fill"];
  context.strokeStyle = isOld ? palette.muted : palette.machine;
  context.lineWidth = 2 * pixel;
  context.setLineDash(isOld ? [4 * pixel, 4 * pixel] : []);
}

function body(context, wheelbase, pixel) {
  context.beginPath();
  context.moveTo(-0.55, -0.7);
  context.lineTo(0.55, -0.7);
  context.lineTo(0.55, 1.1);
  context.lineTo(0.42, wheelbase + 0.5);
  context.lineTo(0, wheelbase + 1.1);
  context.lineTo(-0.42, wheelbase + 0.5);
  context.lineTo(-0.55, 1.1);
  context.closePath();
  context.fill();
  context.stroke();
  context.strokeRect(-0.4, -0.4, 0.8, 1.2);
}

function implement(context, width, offset, pixel) {
  context.beginPath();
  context.moveTo(0, -0.7);
  context.lineTo(-offset, -implementBehind);
  context.moveTo(-offset - width / 2, -implementBehind);
  context.lineTo(-offset + width / 2, -implementBehind);
  const tines = Math.max(2, Math.round(width / 0.5));
  for (let i = 0; i <= tines; i += 1) {
    const x = -offset - width / 2 + (i * width) / tines;
    context.moveTo(x, -implementBehind);
    context.lineTo(x, -implementBehind - 0.45);
  }
  context.lineWidth = Math.max(2 * pixel, 0.1);
  context.strokeStyle = palette.implement;
  context.stroke();
}

/** Where the machine is when it is too small to be seen as itself: an arrow as large as letters. */
function arrow(context) {
  context.beginPath();
  context.moveTo(0, 13);
  context.lineTo(9, -10);
  context.lineTo(0, -5);
  context.lineTo(-9, -10);
  context.closePath();
  context.fill();
  context.stroke();
}

/** Draws the machine at a pose {x, y, heading}; where it was, when that is old. */
export function drawMachine(context, camera, pose, state, { width, offset, isOld }) {
  const [x, y] = toScreen(camera, pose.x, pose.y);
  const small = camera.scale * state.wheelbase < 16;
  const scale = small ? letterScale() : camera.scale;
  context.save();
  context.translate(x, y);
  context.rotate(pose.heading - camera.up);
  context.scale(scale, -scale);
  if (small) {
    colours(context, isOld, 1);
    arrow(context);
  } else {
    const pixel = 1 / scale;
    implement(context, width, offset, pixel);
    wheel(context, -0.85, 0, 1.5, 0.45, 0);
    wheel(context, 0.85, 0, 1.5, 0.45, 0);
    colours(context, isOld, pixel);
    body(context, state.wheelbase, pixel);
    context.setLineDash([]);
    wheel(context, -0.8, state.wheelbase, 0.95, 0.3, state.steering_angle);
    wheel(context, 0.8, state.wheelbase, 0.95, 0.3, state.steering_angle);
  }
  context.restore();
}

/** Draws where the machine is that the picture does not show, from edgePlace(): the way to it, and how far. */
export function drawMachineBeyond(context, camera, { x, y, turn, metres }) {
  context.save();
  context.translate(x, y);
  context.rotate(turn);
  context.scale(1.4 * letterScale(), -1.4 * letterScale());
  colours(context, false, 1);
  arrow(context);
  context.restore();
  const text = `machine ${lengthWords(metres)} on`;
  context.font = font(16, 700);
  context.textAlign = "center";
  context.textBaseline = "middle";
  const [width, height] = [context.measureText(text).width + 12, 24 * letterScale()];
  const left = clamp(x - width / 2, 0, Math.max(0, camera.width - width));
  const away = 24 * letterScale();
  const top = y < camera.height / 2 ? y + away : y - away - height;
  context.fillStyle = palette.machine;
  context.fillRect(left, top, width, height);
  context.fillStyle = palette.paper;
  context.fillText(text, left + width / 2, top + height / 2);
}

/** Draws the point that the controller aims at, and the way that it looks there. */
export function drawAim(context, camera, pose, aim) {
  const [fromX, fromY] = toScreen(camera, pose.x, pose.y);
  const [x, y] = toScreen(camera, aim[0], aim[1]);
  context.strokeStyle = palette.aim;
  context.lineWidth = 2;
  context.setLineDash([2, 5]);
  context.beginPath();
  context.moveTo(fromX, fromY);
  context.lineTo(x, y);
  context.stroke();
  context.setLineDash([]);
  context.beginPath();
  const size = letterScale();
  context.arc(x, y, 9 * size, 0, 2 * Math.PI);
  for (const [dx, dy] of [[1, 0], [-1, 0], [0, 1], [0, -1]]) {
    context.moveTo(x + 4 * size * dx, y + 4 * size * dy);
    context.lineTo(x + 14 * size * dx, y + 14 * size * dy);
  }
  context.stroke();
}

const overlap = (a, b) => a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;

/** A box of a size beside a place of the picture: above to its right, or where it covers none of those `taken`. */
function boxBeside(x, y, width, height, taken) {
  const gap = 8 * letterScale();
  const boxes = [[gap, -height - 2], [-gap - width, -height - 2], [gap, 2], [-gap - width, 2]].map(([dx, dy]) =>
    ({ left: x + dx, top: y + dy, right: x + dx + width, bottom: y + dy + height }));
  const free = boxes.find((box) => !taken.some((other) => overlap(box, other))) ?? boxes[0];
  taken.push(free);
  return free;
}

/**
 * Draws a mark with a text at a place of the world, for A, B and the points that are being set. The text covers none
 * of the boxes that are `taken`, to which its own comes, where there is room for that beside the mark.
 */
export function drawMark(context, camera, { text, x, y }, colour, taken) {
  const [screenX, screenY] = toScreen(camera, x, y);
  context.beginPath();
  context.arc(screenX, screenY, 4 * letterScale(), 0, 2 * Math.PI);
  context.fillStyle = colour;
  context.fill();
  context.beginPath();
  context.font = font(16, 700);
  const [width, height] = [context.measureText(text).width + 12, 24 * letterScale()];
  const { left, top } = boxBeside(screenX, screenY, width, height, taken);
  context.roundRect(left, top, width, height, 5);
  context.fill();
  context.fillStyle = palette.paper;
  context.textAlign = "center";
  context.textBaseline = "middle";
  context.fillText(text, left + width / 2, top + height / 2);
}
