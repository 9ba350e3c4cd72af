// What was worked, as a picture: each tile of the raster is drawn once, until something in it changes.
import { again, gap, inside, tileCells, worked } from "./coverage.js";
import { palette } from "./palette.js";
import { shownBox, toScreen } from "./geometry.js";

const smallCells = tileCells / 4; // pixels of a tile's picture that is seen from afar
const leastPixels = 0.5; // of a cell, for the large picture
const mostLarge = 150;
/** Cells of the pattern: stripes where it was worked again, dots where it was skipped. */
const [stripe, stripeCells, dots, dotCells] = [8, 2, 5, 2];
const outsidePart = 0.5; // of the colour

/** A colour #rrggbb as a pixel of image data. */
function pixelOf(colour, part = 1) {
  const [red, green, blue] = [1, 3, 5].map((at) => Number.parseInt(colour.slice(at, at + 2), 16));
  return new Uint32Array(Uint8Array.of(red, green, blue, Math.round(255 * part)).buffer)[0];
}

const canvasOf = (size) => Object.assign(document.createElement("canvas"), { width: size, height: size });

/** Draws the raster of a `coverage`. */
export class CoverageMap {
  constructor(coverage) {
    this.coverage = coverage;
    this.image = new ImageData(tileCells, tileCells);
    this.pixels = new Uint32Array(this.image.data.buffer);
    this.large = new Set(); // tiles that have a large picture, the one longest unused first
    this.scratch = canvasOf(tileCells);
    this.takeColours();
  }

  takeColours() {
    this.colours = { worked: pixelOf(palette.worked), outside: pixelOf(palette.worked, outsidePart),
      again: pixelOf(palette.again), gap: pixelOf(palette.gap), dot: pixelOf(palette["gap-dot"]) };
  }

  /** The scheme of colours is another. */
  repaint() {
    this.takeColours();
    for (const tile of this.coverage.tiles.values()) this.coverage.old.add(tile);
  }

  colourOf(cell, column, row) {
    const { colours } = this;
    if ((cell & gap) !== 0) return column % dots < dotCells && row % dots < dotCells ? colours.dot : colours.gap;
    if ((cell & worked) === 0) return 0;
    if ((cell & inside) === 0) return colours.outside;
    return (cell & again) !== 0 && (column + row) % stripe >= stripeCells ? colours.again : colours.worked;
  }

  paint(tile, context) {
    for (let row = 0, i = 0; row < tileCells; row += 1) {
      for (let column = 0; column < tileCells; column += 1, i += 1) {
        this.pixels[i] = this.colourOf(tile.cells[i], column, row);
      }
    }
    context.putImageData(this.image, 0, 0);
  }

  /** Takes in that a tile has been settled. */
  settled(tile) {
    const source = tile.largePicture ?? this.scratch;
    this.paint(tile, source.getContext("2d"));
    tile.picture ??= canvasOf(smallCells);
    const context = tile.picture.getContext("2d");
    context.clearRect(0, 0, smallCells, smallCells);
    context.drawImage(source, 0, 0, smallCells, smallCells);
  }

  /** The large picture of a tile; those that are longest unused make room. */
  largeOf(tile) {
    this.large.delete(tile);
    this.large.add(tile);
    if (tile.largePicture === undefined) {
      tile.largePicture = canvasOf(tileCells);
      this.paint(tile, tile.largePicture.getContext("2d"));
    }
    if (this.large.size > mostLarge) {
      const [oldest] = this.large;
      this.large.delete(oldest);
      oldest.largePicture = undefined;
    }
    return tile.largePicture;
  }

  /** Draws what of the raster the map shows; `milliseconds` for pictures that are not there yet. Gives whether all are. */
  draw(context, camera, milliseconds) {
    const { coverage } = this;
    if (coverage.cell === null) return true;
    const end = performance.now() + milliseconds;
    const isNear = camera.scale * coverage.cell >= leastPixels;
    const { left, right, bottom, top } = shownBox(camera);
    const corners = [[left, bottom], [right, bottom], [left, top], [right, top]].map((place) => coverage.toCells(place));
    const isShown = (at, axis) => corners.some((corner) => corner[axis] >= at * tileCells)
      && corners.some((corner) => corner[axis] <= (at + 1) * tileCells);
    context.save();
    const [[x, y], [ux, uy], [vx, vy]] = [[0, 0], [1, 0], [0, 1]].map((cell) => toScreen(camera, ...coverage.toWorld(...cell)));
    context.transform(ux - x, uy - y, vx - x, vy - y, x, y);
    let isWhole = true;
    for (const tile of coverage.tiles.values()) {
      if (tile.picture === undefined || !isShown(tile.column, 0) || !isShown(tile.row, 1)) continue;
      const isReady = isNear && (tile.largePicture !== undefined || performance.now() < end);
      isWhole &&= isReady || !isNear;
      context.drawImage(isReady ? this.largeOf(tile) : tile.picture, tile.column * tileCells, tile.row * tileCells, tileCells, tileCells);
    }
    context.restore();
    return isWhole;
  }
}
