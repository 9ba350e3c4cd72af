// Lines and areas that cross the 180th meridian: files of maps cut them there.
import { eastOf, samePlace } from "./fieldplaces.js";

const isOnDateLine = ([east]) => Math.abs(east) > 180 - 1e-9;

/**
 * Whether a place on the 180th meridian lies on the straight between its neighbours on a map, so that it may have been
 * put there to cut the line.
 */
function isCut(before, place, after) {
  const [eastBefore, eastAfter] = [eastOf(place[0], before[0]), eastOf(after[0], place[0])];
  const east = eastBefore + eastAfter;
  return east !== 0 && Math.abs(place[1] - before[1] - (after[1] - before[1]) * (eastBefore / east)) <= 1e-8;
}

/** Lines that are cut at the 180th meridian are put together again, without the place of the cut. */
export function joinedLines(parts) {
  const lines = [];
  for (const part of parts) {
    const last = lines.at(-1);
    const goesOn = last !== undefined && last.length > 0 && part.length > 1 && isOnDateLine(part[0])
      && samePlace(last.at(-1), part[0]);
    if (!goesOn) {
      lines.push([...part]);
      continue;
    }
    if (last.length > 1 && isCut(last.at(-2), last.at(-1), part[1])) last.pop();
    part.slice(1).forEach((place) => last.push(place));
  }
  return lines;
}

/** Twice the area of a ring in square degrees; positive when it runs counter-clockwise. */
export function turn(ring) {
  return ring.reduce((sum, [east, north], i) => {
    const [nextEast, nextNorth] = ring[(i + 1) % ring.length];
    const [here, there] = [eastOf(east, ring[0][0]), eastOf(nextEast, ring[0][0])];
    return sum + here * (nextNorth - ring[0][1]) - there * (north - ring[0][1]);
  }, 0);
}

/** Whether a place lies within a ring. */
export function isWithin([east, north], ring) {
  return ring.reduce((inside, [fromEast, fromNorth], i) => {
    const [toEast, toNorth] = ring[(i + 1) % ring.length];
    // Seen from the place, so that the 180th meridian is one as all others.
    const [from, to] = [eastOf(fromEast, east), eastOf(toEast, east)];
    const crosses = (fromNorth > north) !== (toNorth > north)
      && from + ((north - fromNorth) / (toNorth - fromNorth)) * (to - from) > 0;
    return crosses ? !inside : inside;
  }, false);
}

/** The edges of rings that run with the area on their left; `other` is the edge along the cut that runs against one. */
function edgesOf(areas) {
  const edges = [];
  const single = new Map();
  for (const rings of areas) {
    for (const [i, ring] of rings.entries()) {
      const places = (turn(ring) > 0) === (i > 0) ? [...ring].reverse() : ring;
      const own = places.map((place) => ({ place }));
      own.forEach((edge, at) => { edge.next = own[(at + 1) % own.length]; });
      own.forEach((edge) => edges.push(edge));
    }
  }
  const north = ({ place }) => Math.round(place[1] * 1e9);
  for (const edge of edges) {
    if (!isOnDateLine(edge.place) || !isOnDateLine(edge.next.place)) continue;
    const [from, to] = [north(edge), north(edge.next)];
    const other = single.get(`${to} ${from}`);
    if (other === undefined) single.set(`${from} ${to}`, edge);
    else {
      Object.assign(edge, { other });
      other.other = edge;
      single.delete(`${to} ${from}`);
    }
  }
  return edges;
}

/** The edge behind another one: at a cut, that of the other side. None when all edges there are along cuts. */
function behind(edge) {
  let { next } = edge;
  for (let i = 0; i < 8; i += 1) {
    if (next.other === undefined) return next;
    next = next.other.next;
  }
  return undefined;
}

/** The places where edges begin, but for those that a cut has put there. */
const placesOf = (edges) => edges.filter((edge, i) => {
  const [before, after] = [edges.at(i - 1), edges[(i + 1) % edges.length]];
  return before.next === edge || !isCut(before.place, edge.place, after.place);
}).map(({ place }) => place);

/** The rings without the edges along the cut; null when that leaves no rings. */
function ringsOf(edges) {
  const rings = [];
  for (const first of edges) {
    if (first.isDone || first.other !== undefined) continue;
    const own = [];
    for (let edge = first; edge !== undefined && !edge.isDone; edge = behind(edge)) {
      edge.isDone = true;
      own.push(edge);
    }
    rings.push(placesOf(own));
    if (behind(own.at(-1)) !== first || rings.at(-1).length < 3) return null;
  }
  return rings;
}

/**
 * The areas of a feature, each an exterior ring and its holes, not closed. Areas that cross the 180th meridian are cut
 * there into several: those are put together again, without the edges along the cut. An area whose pieces do not meet
 * along it stays as it is.
 */
export function joinedAreas(areas) {
  if (areas.filter((rings) => rings.some((ring) => ring.some(isOnDateLine))).length < 2) return areas;
  const edges = edgesOf(areas);
  const rings = edges.some(({ other }) => other !== undefined) ? ringsOf(edges) : null;
  if (rings === null) return areas;
  const joined = rings.filter((ring) => turn(ring) > 0).map((ring) => [ring]);
  for (const hole of rings.filter((ring) => turn(ring) <= 0)) {
    const around = joined.find(([exterior]) => isWithin(hole[0], exterior));
    if (around === undefined) return areas;
    around.push(hole);
  }
  return joined;
}
