// The score of a step test, from the samples that follow the step.
import { bandMetres } from "./guidance.js";

/** By how much a step test shifts the line, metres. */
export const stepMetres = 0.5;
/** How long the machine must stay in the band to have settled, metres of way. */
export const stayMetres = 10;
/** How far the machine must have driven within the band before a test, metres of way. */
export const steadyMetres = 5;
/** A score of samples farther apart than that is rough, metres. */
const coarseMetres = 1;
/** After this way a test ends without having settled, metres. */
export const limitMetres = 80;

/**
 * Scores samples {distance, error}: metres driven since the step, and cross-track error in metres;
 * the first is the one right after the step.
 *
 * Gives {outcome, settled, overshoot, coarse}. The outcome is "running" until the machine has stayed within
 * the band for stayMetres ("settled") or has driven limitMetres ("unsettled"). `settled` is the way
 * to the sample from which on it stayed, null unless settled; `overshoot` how far it went past the
 * line, metres, 0 when it did not; `coarse` whether samples are so far apart that both are rough.
 */
export function scoreStep(samples) {
  if (samples.length === 0) return { outcome: "running", settled: null, overshoot: 0, coarse: false };
  const side = Math.sign(samples[0].error);
  const overshoot = samples.reduce((most, { error }) => Math.max(most, -error * side), 0);
  const coarse = samples.some(({ distance }, i) => i > 0 && distance - samples[i - 1].distance > coarseMetres);
  let entered = null;
  for (const { distance, error } of samples) {
    if (Math.abs(error) > bandMetres) entered = null;
    else if (entered === null) entered = distance;
    if (entered !== null && distance - entered >= stayMetres) {
      return { outcome: "settled", settled: entered, overshoot, coarse };
    }
  }
  const { distance } = samples[samples.length - 1];
  return { outcome: distance >= limitMetres ? "unsettled" : "running", settled: null, overshoot, coarse };
}

/** Whether one score is better than another: settled sooner, then less overshoot. */
export function isBetter(score, other) {
  if ((score.settled === null) !== (other.settled === null)) return score.settled !== null;
  if (score.settled !== other.settled) return score.settled < other.settled;
  return score.overshoot < other.overshoot;
}

/** The number of the best score; -1 when none has settled. Rough ones do not count. */
export function bestScore(scores) {
  return scores.reduce((best, score, index) => {
    if (score.settled === null || score.coarse) return best;
    return best < 0 || isBetter(score, scores[best]) ? index : best;
  }, -1);
}

/** Whether a value that was kept by the browser is a score, with the tuning that it belongs to. */
export function isScore(value) {
  if (value === null || typeof value !== "object" || !Array.isArray(value.parameters)) return false;
  const numbers = [value.number, value.overshoot, value.lookAhead, value.speed, ...value.parameters];
  return numbers.every(Number.isFinite) && (value.settled === null || Number.isFinite(value.settled));
}

/** How far the machine has driven within the band without a break, from one state to the next. */
export class Steadiness {
  constructor() {
    this.metres = 0;
    this.last = null;
  }

  take({ x, y, engaged, error }) {
    const within = engaged && error !== null && Math.abs(error) <= bandMetres;
    this.metres = within && this.last !== null ? this.metres + Math.hypot(x - this.last.x, y - this.last.y) : 0;
    this.last = within ? { x, y } : null;
  }
}
