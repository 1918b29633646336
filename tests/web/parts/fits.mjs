// SPDX-License-Identifier: BSD-3-Clause
// fits.mjs -- fits of one spectrum, and what is taken away
import assert from "node:assert/strict";
import { join } from "node:path";
import test from "node:test";
import { bench, fit, idle, kept, load_example, now, open_files, ready, saved, shot, text_of, until } from "../browser.mjs";
import { tree } from "../start.mjs";

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

test("amounts come with a water that is named under File, and their rows count when it is read", async () => {
  const data = (name) => join(tree, "tests/tools/data", name), water = "brain_press30_water.SDAT";
  await open_files(...["brain_press30.SDAT", "brain_press30.SPAR", water, "brain_press30_water.SPAR"].map(data));
  await until((b) => b.spectra.length === 2 && b.spectrum.name.startsWith("brain_press30"));
  await idle();
  await bench((b) => b.set_text("name  type  area  frequency  lorentz  phase\nNAA  lorentz  ?  2 ppm  6  ?\ninterval: 1.9 to 2.1 ppm\nwater: tissue, content=0.78 kg/kg\namount: NAA, protons=3\n"));
  await now.page.click("#tab-file");
  await now.page.evaluate(() => { document.getElementById("options").open = true; });
  await now.page.fill('[data-option="water"]', water);
  await now.page.click("#import-again");
  await until((b) => b.spectra.length === 1); // the water is none of the spectra
  await fit();
  assert.match(await now.page.textContent("#derived"), /mmol\/kg wet weight/);
  assert.match(await now.page.textContent("#about"), /water of brain_press30_water\.SDAT/);
  await bench((b) => b.set_text(b.text.replace("protons=3", "protons=9")));
  await now.page.click("#fit");
  await now.page.waitForFunction(() => /those of amounts count when a file is read: press Import again/.test(document.getElementById("status").textContent));
  await now.page.click("#tab-file");
  await now.page.click("#import-again");
  await idle();
  await fit();
  // they count for work that comes back, too, whose files are not there any more
  await kept(await text_of());
  await now.page.reload();
  await ready();
  await until((b) => b.entries.length === 1);
  await fit();
  await bench((b) => b.set_text(b.text.replace("protons=9", "protons=6")));
  await now.page.click("#fit");
  await now.page.waitForFunction(() => /those of amounts count when a file is read: open the files again/.test(document.getElementById("status").textContent));
  // nothing is left to fit where the water is all that was opened
  await open_files(...[water, "brain_press30_water.SPAR"].map(data));
  await until((b) => b.spectrum.name === "brain_press30_water");
  await idle();
  await now.page.click("#tab-file");
  await now.page.evaluate(() => { document.getElementById("options").open = true; });
  await now.page.fill('[data-option="water"]', water);
  await now.page.click("#import-again");
  await now.page.waitForFunction(() => /brain_press30_water\.SDAT: no data beside it/.test(document.getElementById("status").textContent));
  assert.deepEqual(now.troubles, []);
});

test("rows derive whose names mean something to a browser or a spreadsheet are shown as text", async () => {
  await load_example();
  const names = ["<script>document.write(1)</script>", "<img/src/onerror>", `<b onclick>"'&amp;`, "-1+1", "+1", "@SUM(A1)", `"quoted"`, "\u202eturned"];
  const title = await now.page.title(), elements = () => now.page.evaluate(() => document.querySelectorAll("img, script, b, [onclick], [onerror]").length);
  const before = await elements();
  await bench((b, names) => b.set_text(`${names.map((name) => `derive: ${name} = PCr/GATP\n`).join("")}${b.text}`), names);
  await fit();
  const shown = await now.page.locator("#derived tbody th").evaluateAll((nodes) => nodes.map((node) => node.textContent));
  assert.deepEqual(shown, names);
  assert.equal(await elements(), before);
  assert.equal(await now.page.title(), title);
  await shot("hostile_derived");
  // in the table a spreadsheet takes none of them for a formula
  const table = (await saved("derived.tsv")).toString().trim().split("\n").map((line) => line.split("\t"));
  const column = table[0].indexOf("name");
  assert.deepEqual(table.slice(1).map((row) => row[column]), names.map((name) => (/^[-+@"]/.test(name) ? `'${name}` : name)));
  for (const cell of table.flat()) assert.ok(!/^[=+@"]/.test(cell) && !/^-[^0-9.]/.test(cell), cell);
  const report = (await saved("report.html")).toString();
  for (const text of ["<script>document", "<img/src", "<b onclick", "\u202e"]) assert.ok(!report.includes(text), text);
  // a name that is none, and one twice
  for (const row of ["derive: =1+1 = PCr/GATP", `derive: ${names[0]} = PCr`]) {
    await bench((b, row) => b.set_text(`${row}\n${b.text}`), row);
    assert.ok((await now.page.textContent("#error")).length > 10, row);
    assert.equal(await elements(), before);
    await bench((b) => b.undo());
  }
  await bench((b) => b.undo());
  assert.deepEqual(now.troubles, []);
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
