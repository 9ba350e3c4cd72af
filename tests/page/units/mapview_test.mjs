import assert from "node:assert/strict";
import test from "node:test";
import { load } from "./page_modules.mjs";

const { MapView } = await load("mapview.js");
const { toWorld } = await load("geometry.js");
const [main, middle, right] = [0, 1, 2];

/** A map of 800 by 600 pixels; `clicks` are the places that it tells. */
function openMap() {
  const captured = [];
  const canvas = Object.assign(new EventTarget(), {
    clientWidth: 800, clientHeight: 600, setPointerCapture: (id) => captured.push(id),
  });
  const clicks = [];
  const view = new MapView(canvas, { changed: () => {}, clicked: (place) => clicks.push(place) });
  const point = (type, [offsetX, offsetY], { button = main, pointerId = 1 } = {}) =>
    canvas.dispatchEvent(Object.assign(new Event(type), { button, pointerId, offsetX, offsetY }));
  return { view, clicks, captured, point };
}

/** Presses a button at the first place, moves to each of the others, and lets go at the last. */
function drag({ point }, button, [first, ...others]) {
  point("pointerdown", first, { button });
  for (const place of others) point("pointermove", place, { button: -1 });
  point("pointerup", others.at(-1) ?? first, { button });
}

const near = (actual, expected) => {
  for (const i of [0, 1]) assert.ok(Math.abs(actual[i] - expected[i]) < 1e-9, `${actual} is not ${expected}`);
};

test("a click of the main button tells its place", () => {
  const map = openMap();
  const wanted = toWorld(map.view.camera(), 100, 200);
  drag(map, main, [[100, 200]]);
  assert.deepEqual(map.clicks, [wanted]);
});

test("a hand that shakes clicks and does not drag", () => {
  const map = openMap();
  const before = map.view.camera();
  drag(map, main, [[100, 200], [102, 200], [102, 203]]);
  assert.equal(map.clicks.length, 1);
  assert.deepEqual(map.view.camera(), before);
});

test("dragging by the main button takes the place under the pointer along", () => {
  const map = openMap();
  const taken = toWorld(map.view.camera(), 100, 200);
  drag(map, main, [[100, 200], [140, 230], [300, 90]]);
  near(toWorld(map.view.camera(), 300, 90), taken);
  assert.deepEqual([map.view.following, map.clicks, map.captured], [false, [], [1]]);
});

for (const [name, button] of [["middle", middle], ["right", right], ["fourth", 3]]) {
  test(`the ${name} button neither tells a place nor drags`, () => {
    const map = openMap();
    const before = map.view.camera();
    drag(map, button, [[100, 200]]);
    drag(map, button, [[100, 200], [140, 230], [300, 90]]);
    assert.deepEqual([map.clicks, map.captured, map.view.following], [[], [], true]);
    assert.deepEqual(map.view.camera(), before);
  });
}

test("a pointer that nothing presses does not drag", () => {
  const { view, point } = openMap();
  const before = view.camera();
  point("pointermove", [100, 200], { button: -1 });
  point("pointermove", [300, 90], { button: -1 });
  assert.deepEqual(view.camera(), before);
});

test("a drag that the system ends tells no place and goes on no more", () => {
  const { view, clicks, point } = openMap();
  const before = view.camera();
  point("pointerdown", [100, 200]);
  point("pointercancel", [100, 200]);
  point("pointermove", [300, 90], { button: -1 });
  point("pointerup", [300, 90]);
  assert.deepEqual([view.camera(), clicks], [before, []]);
});

test("two fingers zoom by as much as they go apart, and tell no place", () => {
  const { view, clicks, point } = openMap();
  const before = view.scale;
  point("pointerdown", [300, 300], { pointerId: 1 });
  point("pointerdown", [400, 300], { pointerId: 2 });
  point("pointermove", [600, 300], { button: -1, pointerId: 2 });
  point("pointerup", [600, 300], { pointerId: 2 });
  point("pointerup", [300, 300], { pointerId: 1 });
  assert.ok(Math.abs(view.scale / before - 3) < 1e-9, `${view.scale / before} times as large`);
  assert.deepEqual(clicks, []);
});
