// Zips: ISOXML as farmers' programs hand it on, KMZ, zipped Shapefiles.
import { FileProblem, limits } from "./fieldplaces.js";

const endMark = 0x06054b50;
const entryMark = 0x02014b50;
const localMark = 0x04034b50;
const mostEntries = 10000;

/** Where the list of entries is; it ends with a comment of up to 64 KiB. */
function endOf(view) {
  const first = Math.max(0, view.byteLength - 22 - 65535);
  for (let at = view.byteLength - 22; at >= first; at -= 1) {
    if (view.getUint32(at, true) === endMark) return at;
  }
  throw new FileProblem("the zip is broken: it ends before its end");
}

function checkPath(path) {
  const leadsOut = path.startsWith("/") || /\\|^[A-Za-z]:/.test(path) || path.split("/").includes("..");
  if (leadsOut) throw new FileProblem(`the path “${path.slice(0, 80)}” in the zip leads out of it`);
}

/** The files in a zip, each {path, method, at, packed}. Folders and what macOS adds are passed over. */
function entriesOf(bytes) {
  const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
  const end = endOf(view);
  const count = view.getUint16(end + 10, true);
  let at = view.getUint32(end + 16, true);
  if (count > mostEntries) throw new FileProblem("the zip has more files than are read");
  const entries = [];
  for (let i = 0; i < count; i += 1) {
    if (at + 46 > bytes.length || view.getUint32(at, true) !== entryMark) throw new FileProblem("the zip is broken");
    const [name, extra, comment] = [28, 30, 32].map((place) => view.getUint16(at + place, true));
    const path = new TextDecoder().decode(bytes.subarray(at + 46, at + 46 + name));
    checkPath(path);
    const isExtra = path.endsWith("/") || path.split("/").at(-1).startsWith("._") || path.startsWith("__MACOSX/");
    if (!isExtra) {
      entries.push({ path, isLocked: (view.getUint16(at + 8, true) & 1) === 1, method: view.getUint16(at + 10, true),
        packed: view.getUint32(at + 20, true), at: view.getUint32(at + 42, true) });
    }
    at += 46 + name + extra + comment;
  }
  return entries;
}

/** Takes the pieces of a stream, and no more than `room` bytes of them. */
async function gathered(stream, room) {
  const pieces = [];
  let length = 0;
  const reader = stream.getReader();
  for (;;) {
    const { done, value } = await reader.read();
    if (done) break;
    length += value.length;
    if (length > room) {
      await reader.cancel();
      throw new FileProblem(`the zip unpacks to more than the ${limits.bytes >> 20} MiB that are read`);
    }
    pieces.push(value);
  }
  const bytes = new Uint8Array(length);
  let at = 0;
  for (const piece of pieces) {
    bytes.set(piece, at);
    at += piece.length;
  }
  return bytes;
}

/** A zip; what it announces of lengths does not count. */
export class Zip {
  constructor(bytes) {
    this.bytes = bytes;
    this.entries = entriesOf(bytes);
    this.byPath = new Map(this.entries.map((entry) => [entry.path.toLowerCase(), entry]));
    this.room = limits.bytes;
  }

  packedBytes({ at, packed }) {
    const view = new DataView(this.bytes.buffer, this.bytes.byteOffset, this.bytes.byteLength);
    if (at + 30 > this.bytes.length || view.getUint32(at, true) !== localMark) throw new FileProblem("the zip is broken");
    const begin = at + 30 + view.getUint16(at + 26, true) + view.getUint16(at + 28, true);
    return this.bytes.subarray(begin, begin + packed);
  }

  async unpack(entry) {
    if (entry.isLocked) throw new FileProblem("the zip is locked with a password");
    const packed = this.packedBytes(entry);
    if (entry.method !== 0 && entry.method !== 8) throw new FileProblem("the zip is packed in a way that is not read");
    const stream = new Blob([packed]).stream();
    const unpacked = entry.method === 0 ? stream : stream.pipeThrough(new DecompressionStream("deflate-raw"));
    try {
      const bytes = await gathered(unpacked, this.room);
      this.room -= bytes.length;
      return bytes;
    } catch (error) {
      throw error instanceof FileProblem ? error : new FileProblem(`the zip is broken: ${entry.path}`);
    }
  }

  /** The entry with the fewest folders around it for which `wanted` holds; one called `best` before all others. */
  shallowest(wanted, best) {
    const depth = ({ path }) => (path.toLowerCase() === best ? -1 : path.split("/").length);
    return this.entries.filter(({ path }) => wanted(path.toLowerCase())).sort((a, b) => depth(a) - depth(b))[0];
  }

  /** The entry of a name in any case, in the folder of another one. */
  beside({ path }, name) {
    const wanted = (path.slice(0, path.lastIndexOf("/") + 1) + name).toLowerCase();
    return this.byPath.get(wanted);
  }
}
