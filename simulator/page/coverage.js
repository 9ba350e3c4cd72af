// What the implement has worked: a raster of cells, and from that hectares, overlap and what was skipped.

/** A tile has as many cells to each side. */
export const tileCells = 256;
/** What a cell may be. */
export const worked = 1;
export const again = 2;
export const gap = 4;
export const inside = 8;
const shift = 8; // of tileCells
const mostTiles = 512; // 100 MB
const leastCell = 0.1; // metres
const cellsAcross = 60; // of an implement, at most
/**
 * The raster is turned against the first pass by the angle whose tangent is the golden section: rows cut the edges of
 * passes at places that are spread evenly, so that errors of single cells cancel out, however narrow an overlap is.
 */
const turn = Math.atan((Math.sqrt(5) - 1) / 2);
const stationMetres = 0.5;
const stationMask = 0xffff;
/** In this part of the implement's width, along rows and columns of the raster, an unworked strip counts as skipped. */
const skippedPart = 0.6;

const keyOf = (column, row) => `${column} ${row}`;

/** The area of rings, of which those that lie in an odd number of others are holes; square metres. */
export function areaOf(rings) {
  return rings.reduce((sum, ring, i) => {
    const others = rings.filter((other, j) => j !== i && isInside([other], ring[0]));
    return sum + (others.length % 2 === 0 ? 1 : -1) * Math.abs(ringArea(ring));
  }, 0);
}

function ringArea(ring) {
  const [[x0, y0]] = ring; // from there, so that far away nothing is lost
  return ring.reduce((sum, [ax, ay], i) => {
    const [bx, by] = ring[(i + 1) % ring.length];
    return sum + ((ax - x0) * (by - y0) - (bx - x0) * (ay - y0)) / 2;
  }, 0);
}

/** Where a polygon's edges cross a row, in order. */
function crossings(rings, y) {
  const found = [];
  for (const ring of rings) {
    for (let i = 0, j = ring.length - 1; i < ring.length; j = i, i += 1) {
      const [[x0, y0], [x1, y1]] = [ring[j], ring[i]];
      if ((y0 <= y) !== (y1 <= y)) found.push(x0 + ((y - y0) / (y1 - y0)) * (x1 - x0));
    }
  }
  return found.sort((a, b) => a - b);
}

const isInside = (rings, [x, y]) => crossings(rings, y).filter((place) => place <= x).length % 2 === 1;

/** Calls `span` with each run of cells [from, to) of a row whose middles lie in the rings, which are in cells. */
function fill(rings, firstRow, lastRow, span) {
  for (let row = firstRow; row <= lastRow; row += 1) {
    const places = crossings(rings, row + 0.5);
    for (let i = 1; i < places.length; i += 2) {
      const [from, to] = [Math.ceil(places[i - 1] - 0.5), Math.ceil(places[i] - 0.5)];
      if (from < to) span(row, from, to);
    }
  }
}

/** Calls `put` for the cells of unworked runs, `reach` long at most, from worked to worked or outside: 0, 1 and 2. */
function markRuns(kinds, reach, put) {
  let begin = -1; // behind the last cell that is worked or outside
  let before = 0;
  for (let i = 0; i < kinds.length; i += 1) {
    const kind = kinds[i];
    if (kind === 0) continue;
    const isRun = begin >= 0 && i > begin && i - begin <= reach && (kind === 1 || before === 1);
    for (let j = begin; isRun && j < i; j += 1) put(j);
    begin = i + 1;
    before = kind;
  }
}

/** The raster; it begins with the first position. */
export class Coverage {
  constructor() {
    this.rings = [];
    this.clear();
  }

  clear() {
    this.tiles = new Map();
    this.cell = null;
    this.before = null;
    this.reach = 0;
    this.isFull = false;
    this.old = new Set(); // tiles that are to be settled
  }

  /** Takes rings in as the boundary of the field, metres; none for no boundary. */
  bound(rings) {
    this.rings = rings;
    this.inCells = null;
    for (const tile of this.tiles.values()) {
      tile.isBound = false;
      this.old.add(tile);
    }
  }

  begin({ heading, width }) {
    this.cell = leastCell * Math.max(1, Math.ceil(width / cellsAcross / leastCell - 1e-9));
    this.cosine = Math.cos(heading + turn) / this.cell;
    this.sine = Math.sin(heading + turn) / this.cell;
    this.inCells = null;
  }

  /** A place of the world in cells. */
  toCells([x, y]) {
    return [x * this.cosine - y * this.sine, x * this.sine + y * this.cosine];
  }

  /** A place in cells in the world. */
  toWorld(u, v) {
    const square = this.cell * this.cell;
    return [(u * this.cosine + v * this.sine) * square, (v * this.cosine - u * this.sine) * square];
  }

  /**
   * Takes in where the implement is: {x, y, heading, width, station, joined}, its middle, how far it has come in all,
   * and whether it has worked on the way there from the place before.
   */
  work(bar) {
    if (this.cell === null) this.begin(bar);
    const { x, y, heading, width, station, joined } = bar;
    const [right, ahead] = [Math.cos(heading) * width / 2, -Math.sin(heading) * width / 2];
    const ends = [this.toCells([x - right, y - ahead]), this.toCells([x + right, y + ahead])];
    this.reach = Math.max(this.reach, Math.min(tileCells - 1, Math.ceil(skippedPart * width / this.cell)));
    if (joined && this.before !== null) {
      const ring = [this.before[0], this.before[1], ends[1], ends[0]];
      const rows = ring.map(([, v]) => v);
      this.station = Math.round(station / stationMetres) & stationMask;
      this.apart = Math.ceil(width / stationMetres);
      fill([ring], Math.floor(Math.min(...rows)), Math.ceil(Math.max(...rows)), (...span) => this.mark(...span));
    }
    this.before = ends;
  }

  mark(row, from, to) {
    for (let column = from; column < to;) {
      const end = Math.min(to, ((column >> shift) + 1) << shift);
      const tile = this.tileAt(column >> shift, row >> shift);
      if (tile !== null) this.markIn(tile, (row & (tileCells - 1)) << shift, column & (tileCells - 1), end - column);
      column = end;
    }
  }

  markIn(tile, start, first, count) {
    const { cells, stations } = tile;
    for (let i = start + first; i < start + first + count; i += 1) {
      if ((cells[i] & worked) !== 0 && ((this.station - stations[i]) & stationMask) > this.apart) cells[i] |= again;
      cells[i] |= worked;
      stations[i] = this.station;
    }
    this.old.add(tile);
    const row = start >> shift;
    const [left, right] = [first < this.reach ? -1 : 0, first + count > tileCells - this.reach ? 1 : 0];
    const [low, high] = [row < this.reach ? -1 : 0, row >= tileCells - this.reach ? 1 : 0];
    for (let across = left; across <= right; across += 1) {
      for (let up = low; up <= high; up += 1) {
        const other = this.rings.length > 0 ? this.tileAt(tile.column + across, tile.row + up)
          : this.tiles.get(keyOf(tile.column + across, tile.row + up));
        if (other) this.old.add(other);
      }
    }
  }

  /** The tile of a place in the raster of tiles; null when there are too many. */
  tileAt(column, row) {
    if (this.last?.column === column && this.last.row === row && this.tiles.has(this.last.key)) return this.last;
    const key = keyOf(column, row);
    let tile = this.tiles.get(key);
    if (tile === undefined) {
      if (this.tiles.size >= mostTiles) {
        this.isFull = true;
        return null;
      }
      tile = { key, column, row, cells: new Uint8Array(tileCells ** 2), stations: new Uint16Array(tileCells ** 2),
        isBound: false, counts: { worked: 0, again: 0, gap: 0, outside: 0 } };
      this.tiles.set(key, tile);
    }
    this.last = tile;
    return tile;
  }

  /** Finds out which cells of a tile lie in the boundary. */
  bind(tile) {
    tile.isBound = true;
    const { cells } = tile;
    const isAll = this.rings.length === 0;
    for (let i = 0; i < cells.length; i += 1) cells[i] = isAll ? cells[i] | inside : cells[i] & ~inside;
    if (isAll) return;
    this.inCells ??= this.rings.map((ring) => ring.map((place) => this.toCells(place)));
    const [left, low] = [tile.column << shift, tile.row << shift];
    fill(this.inCells, low, low + tileCells - 1, (row, from, to) => {
      const start = (row - low) << shift;
      for (let i = Math.max(from - left, 0); i < Math.min(to - left, tileCells); i += 1) cells[start + i] |= inside;
    });
  }

  /** Finds out what of a tile was skipped, and counts. */
  settle(tile) {
    this.old.delete(tile);
    if (!tile.isBound) this.bind(tile);
    const { cells, column, row } = tile;
    for (let i = 0; i < cells.length; i += 1) cells[i] &= ~gap;
    for (let i = 0; i < tileCells; i += 1) {
      this.markLine(i << shift, 1, [[column - 1, row], [column, row], [column + 1, row]]);
      this.markLine(i, tileCells, [[column, row - 1], [column, row], [column, row + 1]]);
    }
    const counts = { worked: 0, again: 0, gap: 0, outside: 0 };
    for (const cell of cells) {
      if ((cell & inside) === 0) counts.outside += cell & worked;
      else {
        counts.worked += cell & worked;
        counts.again += (cell & again) >> 1;
        counts.gap += (cell & gap) >> 2;
      }
    }
    tile.counts = counts;
  }

  /** Marks what was skipped on a line of cells through the middle one of three tiles, as far as their cells matter. */
  markLine(start, step, places) {
    const { reach } = this;
    const kinds = new Uint8Array(tileCells + 2 * reach);
    let at = 0;
    places.forEach((place, i) => {
      const tile = this.tiles.get(keyOf(...place));
      if (tile && !tile.isBound) this.bind(tile);
      const first = i === 0 ? tileCells - reach : 0;
      for (let j = first; j < (i === 2 ? reach : tileCells); j += 1, at += 1) {
        const cell = tile ? tile.cells[start + j * step] : inside;
        kinds[at] = (cell & inside) === 0 ? 2 : cell & worked;
      }
    });
    const { cells } = this.tiles.get(keyOf(...places[1]));
    markRuns(kinds, reach, (j) => {
      if (j >= reach && j < reach + tileCells) cells[start + (j - reach) * step] |= gap;
    });
  }

  /** Settles the tile that waits longest, and gives it. */
  settleNext() {
    const [tile] = this.old;
    this.settle(tile);
    return tile;
  }

  /**
   * What was worked in the field, or anywhere without a boundary: {worked, again, gap, outside, field}, square metres;
   * `field` is null without a boundary.
   */
  figures() {
    const sum = { worked: 0, again: 0, gap: 0, outside: 0 };
    const square = (this.cell ?? 0) ** 2;
    for (const { counts } of this.tiles.values()) for (const name in sum) sum[name] += counts[name] * square;
    return { ...sum, field: this.rings.length === 0 ? null : areaOf(this.rings) };
  }
}
