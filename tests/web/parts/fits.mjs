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

test("what the table derives is shown with errors, taken away, and amounts without water are said", async () => {
  await load_example();
  await bench((b) => b.set_text(`derive: ratio = PCr/GATP\nderive: log10(PCr)\namount: PCr, protons=1\n${b.text}`));
  await fit();
  const rows = await now.page.locator("#derived tbody tr").evaluateAll((nodes) => nodes.map((node) => [...node.children].map((each) => each.textContent)));
  assert.deepEqual(rows.map((row) => row[0]), ["ratio", "log10(PCr)"]);
  for (const [, value, percent] of rows) {
    assert.match(value, /^\d+\.\d+ ± 0\.\d+$/);
    assert.match(percent, /^\d+(\.\d+)? %$/);
  }
  // the ratio is that of the areas that are shown, to the digits they have
  const area = async (name) => Number((await now.page.locator(`#values tr:has(th:text-is("${name}")) td >> nth=0`).textContent()).split(" ")[0]);
  const ratio = (await area("PCr")) / (await area("GATP"));
  assert.ok(Math.abs(parseFloat(rows[0][1]) / ratio - 1) < 0.003, `${rows[0][1]} is not ${ratio}`);
  assert.match(await now.page.textContent("#pane-result"), /need the water/);
  const table = (await saved("derived.tsv")).toString().trim().split("\n");
  assert.equal(table.length, 3);
  await bench((b) => b.set_text(b.text.replace("PCr/GATP", "PCr/NAA")));
  assert.match(await now.page.textContent("#error"), /NAA/);
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
