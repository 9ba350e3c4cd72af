// The page's own modules for tests without a browser. They are loaded from a copy that is marked as
// modules, since older Node.js takes a .js file for a script otherwise.
import { cpSync, mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { fileURLToPath, pathToFileURL } from "node:url";
import { join } from "node:path";
import { tmpdir } from "node:os";

const page = fileURLToPath(new URL("../../../simulator/page", import.meta.url));
const copy = mkdtempSync(join(tmpdir(), "live-page-"));
cpSync(page, copy, { recursive: true });
writeFileSync(join(copy, "package.json"), '{"type": "module"}');
process.on("exit", () => rmSync(copy, { recursive: true }));

export const load = (name) => import(pathToFileURL(join(copy, name)));
