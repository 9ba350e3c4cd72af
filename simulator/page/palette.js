// The colours of the canvases, which are those of the style sheet in its present scheme.

const names = ["paper", "grid", "grid-strong", "ink", "muted", "followed", "original", "passes",
  "driven", "machine", "machine-fill", "implement", "aim", "band", "actual", "desired", "panel", "swath"];

const readPalette = () => {
  const style = getComputedStyle(document.documentElement);
  return Object.fromEntries(names.map((name) => [name, style.getPropertyValue(`--${name}`).trim()]));
};

export let palette = readPalette();

/** Calls back when the scheme changes between light and dark. */
export function whenPaletteChanges(callback) {
  matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => {
    palette = readPalette();
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

export const font = (pixels, weight = 600) => `${weight} ${pixels}px system-ui, sans-serif`;
