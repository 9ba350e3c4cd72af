// Which reference systems of coordinates are read: WGS 84 in degrees alone.
import { FileProblem } from "./fieldplaces.js";

const bare = (text) => text.toLowerCase().replace(/[^a-z0-9]/g, "");

/** Refuses another one by its name; `text` is its well-known text. */
export function checkSystem(text) {
  const name = /"([^"]*)"/.exec(text)?.[1] ?? "";
  const all = bare(text.slice(0, 65536));
  const isWorld = /wgs(19)?84/.test(bare(name)) && all.startsWith("geog");
  const fromGreenwich = !all.includes("primem") || all.includes("primemgreenwich");
  if (isWorld && fromGreenwich && all.includes("degree")) return;
  throw new FileProblem(`its reference system is “${(name || text).slice(0, 200)}”; only WGS 84 in degrees `
    + "(EPSG:4326) is read");
}
