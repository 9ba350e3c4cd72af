// Files of fields as farmers' programs have them: ISOXML, Shapefile, GeoPackage, KML, KMZ and GeoJSON. They are read
// here, by the browser, and never by the service.
import { FieldReading } from "./fieldreading.js";
import { FileProblem, UnknownFile, limits } from "./fieldplaces.js";
import { Zip } from "./fieldzip.js";
import { readGeoJson } from "./fieldmaps.js";
import { readPackage } from "./fieldtables.js";
import { readShapes } from "./fieldshapes.js";
import { readXml, rootOf } from "./fieldxml.js";


const stemOf = (name) => name.slice(name.lastIndexOf("/") + 1).replace(/\.[^.]*$/, "");
const startsWith = (bytes, text) => [...text].every((letter, i) => bytes[i] === letter.charCodeAt(0));

async function readZip(bytes, reading) {
  const zip = new Zip(bytes);
  const main = zip.shallowest((path) => /(^|\/)taskdata\.xml$/.test(path), "taskdata/taskdata.xml")
    ?? zip.shallowest((path) => path.endsWith(".kml"), "doc.kml");
  if (main !== undefined) {
    const read = [main];
    const beside = async (name) => {
      const entry = zip.beside(main, name);
      read.push(entry);
      return entry === undefined ? undefined : zip.unpack(entry);
    };
    await readXml(rootOf(await zip.unpack(main)), reading, beside);
    const others = zip.entries.filter((entry) => /\.kml$|\.shp$|(^|\/)taskdata\.xml$/i.test(entry.path) && !read.includes(entry));
    others.forEach(({ path }) => reading.leave(`${path}, as of a zip one file is read, here ${main.path}`));
    return;
  }
  const shapes = zip.entries.filter(({ path }) => path.toLowerCase().endsWith(".shp"));
  if (shapes.length === 0) throw new UnknownFile("the zip has none of what is read");
  for (const entry of shapes) {
    const parts = {};
    for (const ending of ["shp", "shx", "dbf", "prj", "cpg"]) {
      const part = zip.beside(entry, `${stemOf(entry.path)}.${ending}`);
      if (part !== undefined) parts[ending] = await zip.unpack(part);
    }
    await readShapes(parts, stemOf(entry.path), reading);
  }
}

/** Reads what a file is by its beginning; `beside` gives the bytes of a file that was chosen with it. */
async function readContent({ name, bytes }, reading, beside) {
  const text = new TextDecoder().decode(bytes.subarray(0, 512)).trimStart();
  const isWide = (bytes[0] === 0xff && bytes[1] === 0xfe) || (bytes[0] === 0xfe && bytes[1] === 0xff);
  if (startsWith(bytes, "PK\x03\x04") || startsWith(bytes, "PK\x05\x06")) await readZip(bytes, reading);
  else if (startsWith(bytes, "SQLite format 3\0")) await readPackage(bytes, reading);
  else if (startsWith(bytes, "\0\0\x27\x0a")) {
    const parts = { shp: bytes };
    for (const ending of ["shx", "dbf", "prj", "cpg"]) parts[ending] = await beside(`${stemOf(name)}.${ending}`);
    await readShapes(parts, stemOf(name), reading);
  } else if (text.startsWith("<") || isWide) await readXml(rootOf(bytes), reading, beside);
  else if (text.startsWith("{")) {
    if (bytes.length > limits.text) throw new FileProblem(`longer than the ${limits.text >> 20} MiB of GeoJSON that are read`);
    await readGeoJson(new TextDecoder().decode(bytes), reading);
  } else throw new UnknownFile("its format is not known");
}

const partsOfPath = (path) => [path.slice(0, path.lastIndexOf("/") + 1), path.slice(path.lastIndexOf("/") + 1)];
const depthOf = (name) => name.split("/").length;

/** Which of several files are those that the others belong to. */
function mainsOf(files) {
  const called = (pattern) => files.filter(({ name }) => pattern.test(partsOfPath(name)[1]));
  const tasks = called(/^taskdata\.xml$/i).sort((a, b) => depthOf(a.name) - depthOf(b.name));
  if (tasks.length > 0) return [tasks[0]];
  const known = called(/\.(shp|gpkg|kml|kmz|geojson|json|zip)$/i);
  return known.length > 0 ? known : [files[0]];
}

/** The other files of a file's folder by their names. */
const besideOf = (main, files) => async (wanted) => {
  const [folder] = partsOfPath(main.name);
  return files.find(({ name }) => name.toLowerCase() === (folder + wanted).toLowerCase())?.bytes;
};

/**
 * Reads a file of fields, with those that were chosen together with it.
 *
 * @param {{name: string, bytes: Uint8Array}[]} files
 * @returns {{fields: object[], left: string[]}} fields {name, lines, boundaries}; what is left out, in words.
 * Throws an Error with the reason when there is nothing that can be used.
 */
export async function readFields(files) {
  if (files.reduce((sum, { bytes }) => sum + bytes.length, 0) > limits.bytes) {
    throw new FileProblem(`more than the ${limits.bytes >> 20} MiB that are read`);
  }
  const reading = new FieldReading();
  const mains = mainsOf(files);
  for (const main of mains) {
    try {
      await readContent(main, reading, besideOf(main, files));
    } catch (error) {
      // What a part announces lies beyond the file's end.
      const problem = error instanceof RangeError ? new FileProblem("the file is broken") : error;
      if (mains.length === 1 || !(problem instanceof FileProblem)) throw problem;
      reading.leave(`${partsOfPath(main.name)[1]}: ${problem.message}`);
    }
  }
  return reading.result();
}
