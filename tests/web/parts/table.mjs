// SPDX-License-Identifier: BSD-3-Clause
// table.mjs -- a table built by hand
import assert from "node:assert/strict";
import test from "node:test";
import { bench, double_click, drag, fill, fit, handle, load_example, now, row_of, shot, status, text_of, until } from "../browser.mjs";

test("a dot is dragged: the text follows when the hand lets go, and undo takes it back", async () => {
  await load_example();
  const whole = await text_of();
  const from = await handle("PCr");
  await now.page.mouse.move(from.x, from.y);
  await now.page.mouse.down();
  await now.page.mouse.move(from.x + 25, from.y + 60, { steps: 8 });
  assert.equal(await text_of(), whole);
  await shot("dragged");
  await now.page.mouse.up();
  const [, , area, frequency] = (await row_of("PCr")).split(/\s{2,}/);
  assert.ok(Number(area) < 4 && Number(area) > 1, area);
  assert.ok(Number(frequency) < -0.3, frequency);
  const ring = await handle("PCr", "width");
  await drag(ring, (await handle("PCr")).x < ring.x ? 30 : -30, 0);
  const width = (await row_of("PCr")).split(/\s{2,}/)[4];
  assert.ok(Number(width) > 20, width);
  await now.page.focus("#plot");
  for (let i = 0; i < 4 && (await text_of()) !== whole; ++i) await now.page.keyboard.press("Control+z");
  assert.equal(await text_of(), whole);
  await now.page.keyboard.press("Control+Shift+z");
  assert.notEqual(await text_of(), whole);
  await now.page.keyboard.press("Control+z");
});

test("lines are added by double click, made a multiplet, tied by picking, and removed", async () => {
  await now.page.click("#tab-text");
  await fill("#text", "");
  await now.page.click("#tab-lines");
  await now.page.click("#whole");
  const box = await now.page.locator("#plot").boundingBox();
  await double_click(box.x + box.width * 0.5, box.y + 120);
  await now.page.waitForFunction(() => window.varokel.bench.entries.length === 1);
  await now.page.click("#mode-add");
  await now.page.mouse.click(box.x + box.width * 0.6, box.y + 150);
  await now.page.waitForFunction(() => window.varokel.bench.entries.length === 2);
  await now.page.selectOption("#multi-n", "3");
  await fill("#multi-j", "17.5");
  await now.page.click("#multiplet");
  await now.page.waitForFunction(() => window.varokel.bench.entries.length === 4);
  assert.match(await text_of(), /L2_3 .*=L2 - 35 Hz/);
  await now.page.selectOption("#tie-column", "width");
  await now.page.selectOption("#tie-how", "equal");
  await now.page.click("#tie");
  const at = await handle("L1");
  await now.page.mouse.click(at.x, at.y);
  await now.page.waitForFunction(() => window.varokel.bench.entries[1].of.lorentz.state === "tied");
  await shot("built");
  assert.equal(await now.page.locator("#error").isVisible(), false);
  await now.page.focus("#plot");
  const before = await text_of();
  await now.page.keyboard.press("p");
  await now.page.keyboard.press("Alt+ArrowLeft");
  await until((b, before) => b.text !== before, before); // soon after the last key
  await now.page.keyboard.press("Delete");
  await now.page.waitForFunction(() => window.varokel.bench.entries.length === 3);
  await fit();
  assert.match(await now.page.textContent("#pane-result"), /quality/);
});

test("edges of noise window and interval are dragged into the table", async () => {
  await load_example();
  await now.page.click("#whole");
  const edge = await now.page.evaluate(() => {
    const { screen, bench } = window.varokel;
    const scene = screen.scene(), box = screen.canvas.getBoundingClientRect();
    return { noise: box.x + scene.axis.x(bench.table.noise[0]), interval: box.x + scene.axis.x(bench.table.intervals[0][1]), y: box.y + scene.layout.top + 5 };
  });
  await drag({ x: edge.noise, y: edge.y }, 20, 0);
  assert.match(await text_of(), /noise: \d+ to 829 points/);
  await drag({ x: edge.interval, y: edge.y }, 15, 0);
  assert.match(await text_of(), /interval: 266 to \d+ points/);
  await bench((b) => { b.undo(); b.undo(); });
});

test("a mistake in the text is named with its place, and what was drawn stays in reach", async () => {
  await now.page.click("#tab-text");
  const whole = await text_of();
  await fill("#text", whole.replace("4.37", "4,37"));
  assert.match(await now.page.textContent("#error"), /^Line \d+, column \d+: found ",37"/);
  await shot("mistake");
  await now.page.click("#fit");
  assert.match(await status(), /table has an error/);
  await fill("#text", whole);
  assert.equal(await now.page.locator("#error").isVisible(), false);
});
