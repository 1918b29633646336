// SPDX-License-Identifier: BSD-3-Clause
// looks.mjs -- the empty page, the tour, names for screen readers, narrow and dark pages
import assert from "node:assert/strict";
import test from "node:test";
import { bench, fit, load_example, now, open_page, shot } from "../browser.mjs";

test("without a spectrum the page says what to do, and what cannot do anything looks so", async () => {
  const fresh = await open_page();
  await shot("empty", fresh);
  assert.ok(await fresh.isVisible("#empty"));
  const state = (ids) => fresh.evaluate((ids) => ids.map((id) => document.getElementById(id).disabled), ids);
  assert.ok((await state(["fit", "fit-all", "undo", "redo", "mode-add", "whole", "fitted", "in", "out", "taller", "lower", "unit", "part", "phase-1", "eye-model", "import-again"])).every(Boolean));
  assert.deepEqual(await state(["open", "example", "tour", "help-open", "empty-open", "empty-example"]), Array(6).fill(false));
  assert.ok(await fresh.locator("[data-save]").evaluateAll((nodes) => nodes.length === 10 && nodes.every((node) => node.disabled)));
  await fresh.focus("#plot");
  for (const key of ["a", "n", "e", "w", ".", "Delete", "Enter", "Alt+ArrowLeft", "Control+Enter"]) await fresh.keyboard.press(key);
  await fresh.mouse.move(300, 400);
  await fresh.mouse.wheel(0, 100);
  await fresh.click("#empty-example");
  await fresh.waitForFunction(() => window.varokel.bench.entries.length === 16 && !window.varokel.busy);
  assert.equal(await fresh.isVisible("#empty"), false);
  assert.deepEqual(await state(["fit", "mode-add", "whole", "unit", "eye-model"]), Array(5).fill(false));
  assert.deepEqual(await fresh.locator("[data-save]:disabled").evaluateAll((nodes) => nodes.map((node) => node.dataset.save)), ["result.par", "optimum.json", "results.tsv", "quality.tsv", "derived.tsv", "report.html"]);
  await fresh.context().close();
  assert.deepEqual(now.troubles, []);
});

test("at 1280 pixels no column of Voigt lines is cut, in the list and in the result", async () => {
  await load_example();
  await bench((b) => b.edit(...b.entries.flatMap(({ row }) => [{ edit: "cell", row, column: "gauss", cell: "5" }, { edit: "cell", row, column: "type", cell: "voigt" }])));
  assert.equal(await bench((b) => b.error), null);
  const cut = () => now.page.evaluate(() => [...document.querySelectorAll(".wide")].filter((each) => each.checkVisibility()).map((each) => each.scrollWidth - each.clientWidth));
  await now.page.click("#tab-lines");
  assert.deepEqual(await cut(), [0]);
  await fit();
  assert.deepEqual(await cut(), [0]);
});

test("the help begins at its top, at 400 pixels too", async () => {
  await now.page.setViewportSize({ width: 400, height: 600 });
  await now.page.click("#help-open");
  assert.equal(await now.page.locator("#help").evaluate((node) => node.scrollHeight > node.clientHeight && node.scrollTop), 0);
  await now.page.keyboard.press("Escape");
  assert.equal(await now.page.locator("#help").isVisible(), false);
  await now.page.setViewportSize({ width: 1280, height: 900 });
});

// Names as a screen reader has them, and roles that need others.
test("every control has a name, tables and regions too, and panels are where their tabs say", async () => {
  await load_example();
  await fit();
  const wrong = await now.page.evaluate(() => {
    const out = [];
    const name = (node) => node.getAttribute("aria-label") || (node.getAttribute("aria-labelledby") ?? "").split(" ").map((id) => document.getElementById(id)?.textContent ?? "").join("").trim() ||
      [...(node.labels ?? [])].map((label) => label.textContent.trim()).join("") || node.textContent.trim() || node.title;
    for (const node of document.querySelectorAll("button, input, select, textarea, canvas, progress, [role=dialog], [role=region], [role=group], [role=toolbar], [role=tabpanel], [role=tablist], #lines, section"))
      if (!name(node)) out.push(`no name: ${node.id || node.outerHTML.slice(0, 80)}`);
    for (const node of document.querySelectorAll("[aria-controls], [aria-labelledby], [aria-describedby]"))
      for (const attribute of ["aria-controls", "aria-labelledby", "aria-describedby"])
        for (const id of (node.getAttribute(attribute) ?? "").split(" ").filter(Boolean)) if (!document.getElementById(id)) out.push(`${node.id}: ${attribute} ${id}`);
    for (const list of document.querySelectorAll("[role=tablist]")) if (list.querySelectorAll("[aria-selected=true]").length !== 1) out.push("tabs");
    for (const cell of document.querySelectorAll("#values th, #series th")) if (!cell.scope) out.push("a heading of no row or column");
    if (document.getElementById("status").getAttribute("aria-live") !== "polite") out.push("status is not heard");
    const ids = [...document.querySelectorAll("[id]")].map((node) => node.id);
    if (new Set(ids).size !== ids.length) out.push("an id twice");
    return out;
  });
  assert.deepEqual(wrong, []);
});

test("the tour ends where it should, and the page reads at 400 pixels, dark and light", async () => {
  await now.page.click("#tour");
  for (let step = 0; step < 7; ++step) {
    await now.page.waitForFunction((step) => document.getElementById("guide-text").textContent.startsWith(`${step + 1} of 7`) && !window.varokel.busy, step);
    await now.page.click("#guide-next");
  }
  await now.page.waitForFunction(() => document.getElementById("guide").hidden);
  for (const colorScheme of ["light", "dark"]) {
    await now.page.emulateMedia({ colorScheme });
    for (const width of [1280, 400]) {
      await now.page.setViewportSize({ width, height: 900 });
      for (const tab of ["lines", "text", "result", "file", "save"]) {
        await now.page.click(`#tab-${tab}`);
        assert.ok(await now.page.evaluate(() => document.documentElement.scrollWidth <= innerWidth), `${tab} fits ${width} pixels`);
        const cut = await now.page.evaluate(() => [...document.querySelectorAll(".wide")].filter((each) => each.scrollWidth > each.clientWidth + 1).length);
        if (width === 1280) assert.equal(cut, 0, `no table of ${tab} is cut`);
        await now.page.evaluate(() => new Promise(requestAnimationFrame));
        await shot(`${tab}-${width}-${colorScheme}`);
      }
    }
  }
  await now.page.setViewportSize({ width: 1280, height: 900 });
  const nameless = await now.page.evaluate(() => [...document.querySelectorAll("button, input, select, textarea, canvas")]
    .filter((each) => !(each.getAttribute("aria-label") || each.textContent.trim() || each.labels?.length || each.title)).map((each) => each.id || each.outerHTML));
  assert.deepEqual(nameless, []);
  assert.deepEqual(now.troubles, []);
});
