// What is dropped on the page: files, and folders with the files in them.
import { FileProblem } from "./fieldplaces.js";

const mostFiles = 1000;
const deepest = 8;

/** What was dropped, files and folders; while the event of that lasts. */
export const droppedEntries = ({ items, files }) => {
  const entries = [...items].filter(({ kind }) => kind === "file").map((item) => item.webkitGetAsEntry?.() ?? item.getAsFile());
  return entries.length > 0 ? entries : [...files];
};

/** What a folder has, all of it: it is read by portions. */
async function read(folder) {
  const reader = folder.createReader();
  const all = [];
  for (;;) {
    const portion = await new Promise((resolve, reject) => { reader.readEntries(resolve, reject); });
    if (portion.length === 0) return all;
    all.push(...portion);
    if (all.length > mostFiles) throw new FileProblem(`it has more than the ${mostFiles} files that are read`);
  }
}

/** The files of what was dropped, those of folders with `path`, where in it they lie. */
export async function filesOf(entries) {
  const files = [];
  const take = async (entry, path, depth) => {
    if (entry instanceof File) files.push(entry);
    else if (entry.isFile) {
      const file = await new Promise((resolve, reject) => { entry.file(resolve, reject); });
      files.push(Object.assign(file, { path: path + entry.name }));
    } else if (depth < deepest) {
      for (const each of await read(entry)) await take(each, `${path}${entry.name}/`, depth + 1);
    }
    if (files.length > mostFiles) throw new FileProblem(`it has more than the ${mostFiles} files that are read`);
  };
  for (const entry of entries) await take(entry, "", 0);
  if (files.length === 0) throw new FileProblem("there is no file in it");
  return files;
}
