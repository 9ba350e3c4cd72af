// The ground of the map: grid, lines, trail, scale.
import { font, letterScale, palette } from "./palette.js";
import { nearestOn, roundDistance, shownBox, toScreen, visibleRuns } from "./geometry.js";

function strokePolyline(context, camera, points, margin) {
  const pixels = points.map(([x, y]) => toScreen(camera, x, y));
  for (const run of visibleRuns(pixels, camera.width, camera.height, margin)) {
    context.lineDashOffset = run.start;
    context.beginPath();
    context.moveTo(...run.points[0]);
    for (let i = 1; i < run.points.length; i += 1) context.lineTo(...run.points[i]);
    context.stroke();
  }
}

function gridLines(context, camera, box, distance) {
  context.beginPath();
  const line = (from, to) => {
    context.moveTo(...toScreen(camera, ...from));
    context.lineTo(...toScreen(camera, ...to));
  };
  for (let i = Math.ceil(box.left / distance); i * distance <= box.right; i += 1) {
    line([i * distance, box.bottom], [i * distance, box.top]);
  }
  for (let i = Math.ceil(box.bottom / distance); i * distance <= box.top; i += 1) {
    line([box.left, i * distance], [box.right, i * distance]);
  }
  context.stroke();
}

/** Draws paper and grid. */
export function drawGround(context, camera) {
  context.fillStyle = palette.paper;
  context.fillRect(0, 0, camera.width, camera.height);
  context.setLineDash([]);
  context.lineWidth = 1;
  const distance = roundDistance(28 / camera.scale);
  const box = shownBox(camera);
  context.strokeStyle = palette.grid;
  gridLines(context, camera, box, distance);
  context.strokeStyle = palette["grid-strong"];
  gridLines(context, camera, box, distance * 10);
}

function styled(context, colour, width, dashes) {
  context.strokeStyle = colour;
  context.lineWidth = width;
  context.lineJoin = "round";
  context.setLineDash(dashes);
}

/** Draws the number of a pass, unless it would cover one of the boxes that are `taken`, to which its own comes. */
function drawPassNumber(context, camera, pass, place, taken) {
  const nearest = nearestOn(pass.points, ...place);
  if (nearest === null) return;
  const [x, y] = toScreen(camera, nearest.x, nearest.y);
  const text = pass.pass > 0 ? `+${pass.pass}` : `${pass.pass}`.replace("-", "−");
  context.font = font(16, 700);
  context.textAlign = "center";
  context.textBaseline = "middle";
  const [width, height] = [context.measureText(text).width + 8, 22 * letterScale()];
  const box = { left: x - width / 2, top: y - height / 2, right: x + width / 2, bottom: y + height / 2 };
  const covers = (other) => box.left < other.right && other.left < box.right && box.top < other.bottom && other.top < box.bottom;
  if (taken.some(covers)) return;
  taken.push(box);
  context.fillStyle = palette.paper;
  context.fillRect(box.left, box.top, width, height);
  context.fillStyle = palette.ink;
  context.fillText(text, x, y);
}

/** Draws the numbers of passes, those nearest to the followed one first, where there is room beside the compass. */
function drawPassNumbers(context, camera, line, place) {
  const size = letterScale();
  const taken = [{ left: 0, top: 0, right: 60 * size, bottom: 62 * size }];
  [...line.passes].sort((a, b) => Math.abs(a.pass - line.pass) - Math.abs(b.pass - line.pass))
    .forEach((pass) => drawPassNumber(context, camera, pass, place, taken));
}

/** Draws the passes; their numbers stand near a place of the world, unless that is null. */
export function drawLines(context, camera, line, place) {
  const swathPixels = line.implement_width * camera.scale;
  if (line.followed) {
    styled(context, palette.swath, swathPixels, []);
    strokePolyline(context, camera, line.followed.points, swathPixels);
  }
  const numbered = place !== null && swathPixels > 24;
  styled(context, palette.passes, 1.5, [10, 7]);
  for (const pass of line.passes) strokePolyline(context, camera, pass.points, 20);
  styled(context, palette.original, 2, [3, 5]);
  if (line.line.length > 1) strokePolyline(context, camera, line.line, 20);
  if (line.followed) {
    styled(context, palette.followed, 3.5, []);
    strokePolyline(context, camera, line.followed.points, 20);
  }
  context.setLineDash([]);
  if (numbered) drawPassNumbers(context, camera, line, place);
}

/**
 * Draws the way that the machine has driven. It ends at `pose`, where the machine is drawn: the last `unreached`
 * points are still before it.
 */
export function drawTrail(context, camera, trail, pose, unreached) {
  styled(context, palette.driven, 2.5, []);
  context.beginPath();
  const pieces = trail.within(shownBox(camera), camera.scale);
  if (unreached > 0) {
    const open = pieces.pop();
    pieces.push([...open.slice(0, Math.max(0, open.length - unreached)), [pose.x, pose.y]]);
  }
  for (const points of pieces) {
    points.forEach(([x, y], i) => {
      const pixel = toScreen(camera, x, y);
      if (i === 0) context.moveTo(...pixel);
      else context.lineTo(...pixel);
    });
  }
  context.stroke();
}

/** Draws the bar of the scale and the arrow to the north. */
export function drawScale(context, camera) {
  const metres = roundDistance(60 / camera.scale);
  const size = letterScale();
  const [length, x, y] = [metres * camera.scale, 16, camera.height - 18];
  styled(context, palette.ink, 2, []);
  context.beginPath();
  context.moveTo(x, y - 6);
  context.lineTo(x, y);
  context.lineTo(x + length, y);
  context.lineTo(x + length, y - 6);
  context.stroke();
  context.fillStyle = palette.ink;
  context.font = font(16);
  context.textAlign = "left";
  context.textBaseline = "bottom";
  context.fillText(metres < 1000 ? `${metres} m` : `${metres / 1000} km`, x + 5, y - 3);
  context.save();
  context.translate(30 * size, 34 * size);
  context.scale(size, size);
  context.rotate(-camera.up);
  context.beginPath();
  context.moveTo(0, -20);
  context.lineTo(7, 4);
  context.lineTo(0, 0);
  context.lineTo(-7, 4);
  context.closePath();
  context.fill();
  context.textAlign = "center";
  context.textBaseline = "top";
  context.font = "600 16px system-ui, sans-serif";
  context.fillText("N", 0, 4);
  context.restore();
}

/** Draws the cross where Enter sets a point. */
export function drawCross(context, camera) {
  const [x, y] = [camera.width / 2, camera.height / 2];
  styled(context, palette.ink, 2, []);
  context.beginPath();
  for (const [dx, dy] of [[1, 0], [-1, 0], [0, 1], [0, -1]]) {
    context.moveTo(x + 5 * dx, y + 5 * dy);
    context.lineTo(x + 20 * dx, y + 20 * dy);
  }
  context.stroke();
}

/** Says across the map that what it shows is old. */
export function drawOld(context, camera, why) {
  context.save();
  context.globalAlpha = 0.55;
  context.fillStyle = palette.paper;
  context.fillRect(0, 0, camera.width, camera.height);
  context.globalAlpha = 1;
  context.fillStyle = palette.ink;
  context.font = font(22, 700);
  context.textAlign = "center";
  context.textBaseline = "middle";
  context.fillText(`${why} – old picture`, camera.width / 2, camera.height / 4, camera.width * 0.95);
  context.restore();
}
