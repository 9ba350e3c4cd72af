// That the page can be read and used by whoever sits before it, by the rules of axe.
import { test } from "node:test";
import assert from "node:assert/strict";
import { createRequire } from "node:module";
import { join } from "node:path";
import { readFile } from "node:fs/promises";
import { open, service, states } from "./whole_page.mjs";

const axe = createRequire(join(process.env.NODE_MODULES, "axe-core/"))
  .resolve("axe-core/axe.min.js");

for (const colorScheme of ["light", "dark"]) {
  for (const [state, isLost] of [...Object.keys(states).map((each) => [each, false]), ["dropped", true]]) {
    test(`axe finds nothing while ${state}, ${colorScheme}${isLost ? ", without a connection" : ""}`, async () => {
      const page = await open(state, { colorScheme });
      if (isLost) {
        await page.route("**/events", (route) => route.abort());
        service.streams.at(-1).destroy();
        await page.locator("body.old #lost").waitFor();
      }
      await page.addScriptTag({ content: await readFile(axe, "utf8") });
      const found = await page.evaluate(async () => {
        const options = { rules: { "label-content-name-mismatch": { enabled: true }, "target-size": { enabled: true } } };
        const { violations } = await window.axe.run(document, options);
        return violations.map(({ id, impact, nodes }) => `${impact} ${id}: ${nodes.map(({ html }) => html.slice(0, 100))}`);
      });
      assert.deepEqual(found, []);
      await page.context().close();
    });
  }
}
