// Takes the README's pictures of the live page: node pictures.mjs FOLDER
import { join } from "node:path";
import { bePatient, ignoreSilence } from "./scripted_service.mjs";
import { engage, openPage, setLine, startBrowser } from "./browser.mjs";
import { startSimulator, until } from "./programs.mjs";

const [folder] = process.argv.slice(2);

/** Engages the machine and scores a step test with each of three sensitivities. */
async function scoreTunings(page) {
  await engage(page);
  const status = page.locator("#step-status");
  for (const sensitivity of ["0.7", "1.6", "1"]) {
    await page.getByLabel("Sensitivity").fill(sensitivity);
    await until(async () => {
      await page.locator("#step-run").click();
      return /^(Shifting|Running)/.test(await status.textContent());
    }, "a machine that is steady");
    await status.filter({ hasText: "Scored" }).waitFor({ timeout: 60000 });
  }
}

/** Takes a picture of a machine that a nudge has put left of a line to the north. */
async function takePicture(browser, simulator, name, prepare, options) {
  const page = await openPage(browser, simulator.page, options, [ignoreSilence, bePatient]);
  await setLine(page, [0, 0], [0, 100]);
  await page.locator("#start").click();
  await prepare(page);
  await page.locator("#snap").click();
  await page.locator("#nudge-step").selectOption("0.1");
  await page.locator("#nudge-right").click();
  await page.locator("#message", { hasText: "Nudged 10 cm to the right." }).waitFor();
  await page.locator("#error-figure", { hasText: /^−/ }).waitFor();
  await page.evaluate(() => scrollTo(0, 0));
  await page.screenshot({ path: join(folder, name) });
  await page.locator("#disengage").click();
  await page.locator("#engage-state:not([data-state=engaged])").waitFor();
  await page.context().close();
}

const browser = await startBrowser();
const simulator = await startSimulator("--port", "0", "--speed", "2.5", "--start", "0.6,-10,0");
await takePicture(browser, simulator, "live-page-light.png", scoreTunings,
  { viewport: { width: 1920, height: 1080 }, colorScheme: "light" });
await takePicture(browser, simulator, "live-page-dark-360.png", () => {},
  { viewport: { width: 360, height: 740 }, colorScheme: "dark", deviceScaleFactor: 1.5 });
await simulator.end();
await browser.close();
