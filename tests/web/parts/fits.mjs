// SPDX-License-Identifier: BSD-3-Clause
// fits.mjs -- fits of one spectrum, and what is taken away
import assert from "node:assert/strict";
import test from "node:test";
import { bench, fit, load_example, now, saved, text_of } from "../browser.mjs";

test("an accepted fit is in the table; going back leaves it alone", async () => {
  await load_example();
  const whole = await text_of();
  await fit();
  await now.page.click("#pane-result button:has-text('Go back')");
  assert.equal(await text_of(), whole);
  await fit();
  await now.page.click("#pane-result button:has-text('Accept')");
  assert.notEqual(await text_of(), whole);
  assert.ok((await bench((b) => b.curves.quality)) < 1.2);
  await bench((b) => b.undo());
});

test("everything can be taken away", async () => {
  await load_example();
  await fit();
  assert.equal((await saved("peaks.txt")).toString(), await text_of());
  assert.match((await saved("start.par")).toString(), /entry 10 PCr/);
  assert.match((await saved("result.par")).toString(), /entry 10 PCr/);
  assert.equal((await saved("results.tsv")).toString().split("\n").length, 18);
  const svg = (await saved("picture.svg")).toString();
  assert.match(svg, /^<svg [\s\S]*<polyline[\s\S]*<\/svg>\n$/);
  const png = await saved("picture.png");
  assert.equal(png.subarray(1, 4).toString(), "PNG");
  assert.match((await saved("report.html")).toString(), /Content-Security-Policy[\s\S]*PCr/);
  assert.equal(await now.page.textContent("#command"), "varokel-fit p31_brain.fid.f32 peaks.txt -o run --method exact");
});
