// Step tests to compare: their curves, what makes one differ from another in words, and the file they are saved in.

/** So many points of a curve are kept: enough for what a chart can show. */
export const mostCurvePoints = 160;
/** So many tests may lie over one another. */
export const mostCompared = 6;
export const mostFileBytes = 1024 * 1024;
const form = "kestrove step tests";
const version = 1;
const [farthestMetres, largestError, largestValue, longestName] = [1000, 100, 1e6, 60];
// What looks alike in words is the same.
const [sameWay, sameOvershoot, sameSpeed] = [0.05, 0.0005, 0.05];

const round = (value) => Math.round(value * 1000) / 1000;
const isNumber = (value, most) => Number.isFinite(value) && Math.abs(value) <= most;

/**
 * The curve of samples {distance, error}, as [way, error] with the side on which the machine began as the positive one;
 * of many samples some.
 */
export function curveOf(samples) {
  if (samples.length === 0) return [];
  const side = Math.sign(samples[0].error) || 1;
  const every = Math.max(1, Math.ceil((samples.length - 1) / (mostCurvePoints - 1)));
  const isKept = (_, i) => i % every === 0 || i === samples.length - 1;
  return samples.filter(isKept).slice(0, mostCurvePoints)
    .map(({ distance, error }) => [round(distance), round(error * side)]);
}

/** Whether a value is a curve: points whose ways do not go back. */
export function isCurve(value) {
  if (!Array.isArray(value) || value.length < 2 || value.length > mostCurvePoints) return false;
  return value.every((point, i) => Array.isArray(point) && point.length === 2
    && isNumber(point[0], farthestMetres) && isNumber(point[1], largestError) && point[0] >= 0
    && (i === 0 || point[0] >= value[i - 1][0]));
}

/** What a test is called: its number, and the file that it comes from. */
export const nameOf = ({ number, from }) => (from ? `No. ${number} of ${from}` : `No. ${number}`);

const metres = (value) => `${value.toFixed(1)} m`;
const centimetres = (value) => `${(value * 100).toFixed(1)} cm`;

function settlingWords(test, other) {
  const name = nameOf(other);
  if (test.settled === null && other.settled === null) return "does not settle either";
  if (test.settled === null) return `does not settle, ${name} does after ${metres(other.settled)}`;
  if (other.settled === null) return `settles after ${metres(test.settled)}, ${name} does not`;
  const later = test.settled - other.settled;
  if (Math.abs(later) < sameWay) return "settles after the same way";
  return `settles ${metres(Math.abs(later))} ${later < 0 ? "earlier" : "later"}`;
}

/** With what it is compared, at its end. */
function overshootWords(test, other) {
  const more = test.overshoot - other.overshoot;
  if (Math.abs(more) < sameOvershoot) return `overshoots as much as ${nameOf(other)}`;
  return `overshoots ${centimetres(Math.abs(more))} ${more < 0 ? "less" : "more"} than ${nameOf(other)}`;
}

/** By what a test differs from another one, in a sentence. */
export function differenceWords(test, other) {
  const notes = [];
  if (Math.abs(test.speed - other.speed) > sameSpeed) {
    notes.push(`at ${test.speed.toFixed(1)} m/s in place of ${other.speed.toFixed(1)}`);
  }
  if (test.coarse || other.coarse) notes.push("roughly");
  const noted = notes.length > 0 ? ` (${notes.join(", ")})` : "";
  return `${nameOf(test)} ${settlingWords(test, other)}, ${overshootWords(test, other)}${noted}.`;
}

/** The text of a file with tests; `names` are those of their parameters. */
export function fileOf(tests, names) {
  const written = tests.map(({ number, settled, overshoot, coarse, parameters, lookAhead, speed, curve }) =>
    ({ number, settled, overshoot, coarse: coarse === true, parameters, lookAhead, speed, curve }));
  return `${JSON.stringify({ form, version, names, tests: written }, null, 1)}\n`;
}

/** What is wrong with a test of a file; empty when nothing is. */
function faultOf(test, names) {
  if (test === null || typeof test !== "object" || Array.isArray(test)) return "it is not a test";
  const { settled, overshoot, parameters, lookAhead, speed, curve } = test;
  if (settled !== null && !(isNumber(settled, farthestMetres) && settled >= 0)) return "the way until it settled is no way";
  if (!(isNumber(overshoot, largestError) && overshoot >= 0)) return "the overshoot is not a length";
  if (!Array.isArray(parameters) || parameters.length !== names.length
    || !parameters.every((value) => isNumber(value, largestValue))) return `it has not ${names.length} parameters`;
  if (!isNumber(lookAhead, largestValue) || !isNumber(speed, largestValue)) return "look-ahead time or speed is not a number";
  return isCurve(curve) ? "" : "its curve is not one";
}

/**
 * The tests of a file that may be a stranger's: nothing of it is used that has not been looked at. `names` are the
 * parameters that there are. Throws an Error with the reason.
 */
export function testsOf(text, names, fileName) {
  let file = null;
  try {
    file = JSON.parse(text);
  } catch {
    throw new Error("it is not JSON, or cut");
  }
  if (file === null || typeof file !== "object" || file.form !== form) throw new Error("it is not a file of step tests");
  if (file.version !== version) throw new Error(`its version is not ${version}, the one that this page knows`);
  if (JSON.stringify(file.names) !== JSON.stringify(names)) throw new Error("its tuning has other parameters than this service");
  if (!Array.isArray(file.tests) || file.tests.length === 0) throw new Error("there is no test in it");
  return file.tests.map((test, i) => {
    const fault = faultOf(test, names);
    if (fault !== "") throw new Error(`test ${i + 1}: ${fault}`);
    const { settled, overshoot, coarse, parameters, lookAhead, speed, curve } = test;
    return { settled, overshoot, coarse: coarse === true, parameters, lookAhead, speed, curve,
      from: fileName.slice(0, longestName) };
  });
}

/** What of a test's tuning the service would not take, in words; empty when it takes all. */
export function tuningFault({ parameters, lookAhead }, tuning, longest = { lowest: 0.2, highest: 10 }) {
  if (parameters.length !== tuning.length) return "this service has other parameters";
  const bad = tuning.find(({ lowest, highest }, i) => !(parameters[i] >= lowest && parameters[i] <= highest));
  if (bad !== undefined) return `${bad.name.replaceAll("_", " ")} is not from ${bad.lowest} to ${bad.highest}`;
  const isTaken = lookAhead >= longest.lowest && lookAhead <= longest.highest;
  return isTaken ? "" : `the look-ahead time is not from ${longest.lowest} to ${longest.highest} s`;
}
