// What was worked, worked again and skipped has colours that people tell apart who lack one of the three kinds of cones.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import test from "node:test";

const style = readFileSync(new URL("../../../simulator/page/page.css", import.meta.url), "utf8");
const leastDifference = 20; // CIE 1976; 2 is just seen
const names = ["paper", "worked", "again", "gap"];

/** Method: Machado, Oliveira and Fernandes, "A Physiologically-based Model for Simulation of Color Vision Deficiency", 2009. */
const visions = {
  "all three": [[1, 0, 0], [0, 1, 0], [0, 0, 1]],
  "no long": [[0.152286, 1.052583, -0.204868], [0.114503, 0.786281, 0.099216], [-0.003882, -0.048116, 1.051998]],
  "no middle": [[0.367322, 0.860646, -0.227968], [0.280085, 0.672501, 0.047413], [-0.01182, 0.04294, 0.968881]],
  "no short": [[1.255528, -0.076749, -0.178779], [-0.078411, 0.930809, 0.147602], [0.004733, 0.691367, 0.3039]],
};

const linear = (colour) => [1, 3, 5].map((at) => Number.parseInt(colour.slice(at, at + 2), 16) / 255)
  .map((value) => (value <= 0.04045 ? value / 12.92 : ((value + 0.055) / 1.055) ** 2.4));
const times = (matrix, values) => matrix.map((row) => row.reduce((sum, weight, i) => sum + weight * values[i], 0));

/** Lightness and the two axes of colour. */
function lab(rgb) {
  const xyz = times([[0.4124, 0.3576, 0.1805], [0.2126, 0.7152, 0.0722], [0.0193, 0.1192, 0.9505]],
    rgb.map((value) => Math.min(1, Math.max(0, value))));
  const [x, y, z] = xyz.map((value, i) => value / [0.9505, 1, 1.089][i])
    .map((value) => (value > 0.008856 ? Math.cbrt(value) : 7.787 * value + 16 / 116));
  return [116 * y - 16, 500 * (x - y), 200 * (y - z)];
}

const [light, dark] = style.split("@media (prefers-color-scheme: dark)");
for (const [scheme, rules] of [["light", light], ["dark", dark]]) {
  for (const [vision, matrix] of Object.entries(visions)) {
    test(`in the ${scheme} scheme they are told apart by who has ${vision} of the cones`, () => {
      const seen = names.map((name) => lab(times(matrix, linear(new RegExp(`--${name}: (#\\w{6});`).exec(rules)[1]))));
      seen.forEach((one, i) => seen.slice(0, i).forEach((other, j) => {
        const difference = Math.hypot(...one.map((value, axis) => value - other[axis]));
        assert.ok(difference >= leastDifference, `${names[i]} and ${names[j]}: ${difference.toFixed(1)}`);
      }));
    });
  }
}
