// The colours of the canvases, which are those of the style sheet in its present scheme.

const names = ["paper", "grid", "grid-strong", "ink", "muted", "followed", "original", "passes",
  "driven", "worked", "again", "gap", "gap-dot", "machine", "machine-fill", "implement", "aim", "band", "actual", "desired", "panel", "swath"];

const readPalette = () => {
  const style = getComputedStyle(document.documentElement);
  return Object.fromEntries(names.map((name) => [name, style.getPropertyValue(`--${name}`).trim()]));
};

export const palette = readPalette();

/** Calls back when the scheme changes between light and dark. */
export function whenPaletteChanges(callback) {
  matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => {
    Object.assign(palette, readPalette());
    callback();
  });
}

/** Gives a canvas as many pixels as it is shown with; its context draws in CSS pixels. */
export function fitted(canvas) {
  const ratio = window.devicePixelRatio || 1;
  const width = Math.round(canvas.clientWidth * ratio);
  const height = Math.round(canvas.clientHeight * ratio);
  if (canvas.width !== width || canvas.height !== height) Object.assign(canvas, { width, height });
  const context = canvas.getContext("2d");
  context.setTransform(ratio, 0, 0, ratio, 0, 0);
  return { context, width: canvas.clientWidth, height: canvas.clientHeight };
}

/** How much larger letters are than a browser's usual ones, by the viewer's own setting. */
export const letterScale = () =>
  (Number.parseFloat(getComputedStyle(document.documentElement).fontSize) || 16) / 16;

/** A font whose height counts in usual letters, of 16 pixels. */
export const font = (pixels, weight = 600) => `${weight} ${pixels * letterScale()}px system-ui, sans-serif`;
