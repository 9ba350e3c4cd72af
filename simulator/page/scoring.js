// The score of a step test, from the samples that follow the step.
import { bandMetres } from "./guidance.js";

/** By how much a step test shifts the line, metres. */
export const stepMetres = 0.5;
/** How long the machine must stay in the band to have settled, metres of way. */
export const stayMetres = 10;
/** After this way a test ends without having settled, metres. */
export const limitMetres = 80;

/**
 * Scores samples {distance, error}: metres driven since the step, and cross-track error in metres;
 * the first is the one right after the step.
 *
 * Gives {outcome, settled, overshoot}. The outcome is "running" until the machine has stayed within
 * the band for stayMetres ("settled") or has driven limitMetres ("unsettled"). `settled` is the way
 * to the sample from which on it stayed, null unless settled; `overshoot` how far it went past the
 * line, metres, 0 when it did not.
 */
export function scoreStep(samples) {
  if (samples.length === 0) return { outcome: "running", settled: null, overshoot: 0 };
  const side = Math.sign(samples[0].error);
  const overshoot = samples.reduce((most, { error }) => Math.max(most, -error * side), 0);
  let entered = null;
  for (const { distance, error } of samples) {
    if (Math.abs(error) > bandMetres) entered = null;
    else if (entered === null) entered = distance;
    if (entered !== null && distance - entered >= stayMetres) {
      return { outcome: "settled", settled: entered, overshoot };
    }
  }
  const { distance } = samples[samples.length - 1];
  return { outcome: distance >= limitMetres ? "unsettled" : "running", settled: null, overshoot };
}

/** Whether one score is better than another: settled sooner, then less overshoot. */
export function isBetter(score, other) {
  if ((score.settled === null) !== (other.settled === null)) return score.settled !== null;
  if (score.settled !== other.settled) return score.settled < other.settled;
  return score.overshoot < other.overshoot;
}

/** The number of the best score; -1 when none has settled. */
export function bestScore(scores) {
  return scores.reduce((best, score, index) => {
    if (score.settled === null) return best;
    return best < 0 || isBetter(score, scores[best]) ? index : best;
  }, -1);
}
