// Files of fields on the page, with navctl as the witness of what the service holds.
import { after, afterEach, before, beforeEach, test } from "node:test";
import assert from "node:assert/strict";
import { mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { tmpdir } from "node:os";
import { engage, openPage, startBrowser } from "./browser.mjs";
import { bePatient, ignoreSilence } from "./scripted_service.mjs";
import { navctl, startSimulator, until } from "./programs.mjs";

const seed = (name) => readFileSync(new URL(`../../fuzz/field_seeds/${name}`, import.meta.url));
const ring = (corners) => `<LinearRing><coordinates>${corners}</coordinates></LinearRing>`;
const field = (name, east) => `<Folder><name>${name}</name><Placemark><name>Road</name><LineString><coordinates>
  ${east},48 ${east},48.001</coordinates></LineString></Placemark><Placemark><name>Bend</name><LineString><coordinates>
  ${east},48 ${east + 0.001},48 ${east + 0.0013},48.0007</coordinates></LineString></Placemark><Placemark><name>All</name>
  <Polygon><outerBoundaryIs>${ring(`${east},48 ${east + 0.0002},48 ${east + 0.0001},48.0002`)}</outerBoundaryIs></Polygon>
  </Placemark></Folder>`;
const fields = Buffer.from(`<?xml version="1.0"?><kml xmlns="http://www.opengis.net/kml/2.2"><Document>
  ${field("North", 11)}${field("South", 11.5)}</Document></kml>`);

let browser;
let simulator;
let page;

before(async () => { browser = await startBrowser(); });
after(() => browser.close());

beforeEach(async () => {
  simulator = await startSimulator("--speed", "0", "--receiver", "ideal", "--start", "0,0,0");
  page = await openPage(browser, simulator.page, {}, [ignoreSilence, bePatient]);
});

afterEach(async () => {
  // What the browser makes of broken XML has a style of its own, which the page's policy refuses.
  const faults = page.faults.filter((fault) => !fault.startsWith("Applying inline style"));
  await page.context().close();
  await simulator.end();
  assert.deepEqual(faults, []);
});

const status = (text) => page.locator("#field-status", { hasText: text }).waitFor();
const open = (...files) => page.locator("#field-file").setInputFiles(
  files.map(([name, buffer]) => ({ name, mimeType: "application/octet-stream", buffer })));

/** Drops a file on the page as a viewer does. */
async function drop(name, buffer) {
  const transfer = await page.evaluateHandle(({ title, content }) => {
    const data = new DataTransfer();
    data.items.add(new File([Uint8Array.from(content)], title));
    return data;
  }, { title: name, content: [...buffer] });
  await page.dispatchEvent("main", "drop", { dataTransfer: transfer });
}

const held = async () => JSON.parse(await navctl("wayline", "get", "--json"));

test("a dropped file's line is set, and the boundary is drawn", async () => {
  const picture = async () => (await page.locator("#map").screenshot()).toString("base64");
  await drop("fields.bin", fields);
  await status("fields.bin is open");
  await page.locator("#field-choice").selectOption({ label: "South" });
  await page.locator("#field-line").selectOption({ label: "Bend (A-B curve)" });
  await page.locator("#field-set").click();
  await status("“Bend” is set");
  const bend = await held();
  assert.deepEqual([bend.kind, bend.points], ["ab-curve", 3]);
  // The judge: what navctl itself makes of the file.
  const folder = mkdtempSync(join(tmpdir(), "field-"));
  writeFileSync(join(folder, "fields.kml"), fields);
  const own = await navctl("wayline", "convert", join(folder, "fields.kml"), "--field", "South", "--line", "Bend", "--to", "text");
  rmSync(folder, { recursive: true });
  const values = (text) => text.trim().split(" ").map(Number);
  assert.equal(values(bend.text).length, values(own).length);
  values(bend.text).forEach((value, i) => assert.ok(Math.abs(value - values(own)[i]) < 1e-3, `${bend.text} | ${own}`));
  await navctl("wayline", "clear");
  const before = await picture();
  await open(["area.kml", seed("kml/a")]);
  await page.locator("#field-set", { hasText: "Show boundary" }).click();
  await status("The boundary is drawn");
  await until(async () => await picture() !== before, "another boundary on the map");
});

test("each format is read by the browser itself", async () => {
  for (const name of ["kml/s", "geopackage/s", "field_file/kmz", "field_file/shapes_s", "isoxml/four", "isoxml/three",
    "field_file/isoxml_zip", "geojson/areas"]) {
    await open([name, seed(name)]);
    await status(`${name} is open`);
    await page.locator("#field-set").click();
    await status("is set");
  }
});

test("a file that cannot be used is refused with the reason, and the page goes on", async () => {
  await open(["x.kml", Buffer.from('<!DOCTYPE kml [<!ENTITY a "aaaa">]><kml>&a;</kml>')]);
  await status("document type");
  await open(["x.kml", Buffer.from("<kml><Document></kml>")]);
  await status("the XML is broken");
  await open(["x.pdf", Buffer.from("%PDF-1.4")]);
  await status("read are ISOXML");
  assert.equal(await page.locator("#field-set").isVisible(), false);
});

test("while steering is engaged a field asks first, and steering ends before the frame moves", async () => {
  await open(["fields.kml", fields]);
  await page.locator("#field-set").click();
  await status("“Road” is set");
  await page.locator("#speed").fill("2");
  await page.locator("#machine-form [type=submit]").click();
  await page.locator("#start").click();
  await page.locator("#engage-state[data-state=ready]").waitFor();
  await engage(page);
  await page.locator("#field-line").selectOption({ label: "Bend (A-B curve)" });
  await page.locator("#field-set").click();
  await page.locator("#question", { hasText: "steering ends first" }).waitFor();
  await page.locator("#question-no").click();
  assert.equal((await held()).kind, "ab");
  assert.equal(await page.locator("#engage-state").getAttribute("data-state"), "engaged");
  await page.locator("#field-set").click();
  await page.locator("#question-yes").click();
  await status("“Bend” is set");
  assert.equal((await held()).kind, "ab-curve");
  assert.notEqual(await page.locator("#engage-state").getAttribute("data-state"), "engaged");
});

/** Drops files and folders of the disk on the page. */
async function dropPaths(...paths) {
  const session = await page.context().newCDPSession(page);
  const data = { items: [], files: paths, dragOperationsMask: 1 };
  for (const type of ["dragEnter", "dragOver", "drop"]) await session.send("Input.dispatchDragEvent", { type, x: 300, y: 300, data });
}

test("of a folder that is dropped the files in it are read, those of a field's folder together", async () => {
  const folder = mkdtempSync(join(tmpdir(), "fields-"));
  try {
    mkdirSync(join(folder, "own", "deeper"), { recursive: true });
    writeFileSync(join(folder, "own", "a.kml"), fields);
    writeFileSync(join(folder, "own", "deeper", "b.geojson"), seed("geojson/areas"));
    writeFileSync(join(folder, "own", "broken.kml"), "<kml><Document></kml>");
    writeFileSync(join(folder, "own", "notes.txt"), "no field");
    await dropPaths(join(folder, "own"));
    await status("own is open. Left out: broken.kml: the XML is broken");
    assert.deepEqual(await page.locator("#field-choice option").allTextContents(), ["North", "South"]);
    const lines = await page.locator("#field-line option").allTextContents(); // of what lies deeper too
    assert.deepEqual(lines, ["Road (A-B line)", "Bend (A-B curve)", "Road (spline)"]);
    mkdirSync(join(folder, "empty"));
    await dropPaths(join(folder, "empty"));
    await status("empty: there is no file in it");
    assert.equal(await page.locator("#field-set").isVisible(), false);
  } finally {
    rmSync(folder, { recursive: true });
  }
});
