// SPDX-License-Identifier: BSD-3-Clause
// series.mjs -- grids and series: voxels, maps, tables, cancel; phases for the eye; patterns
import assert from "node:assert/strict";
import test from "node:test";
import { bench, example, fill, fit, grid_file, idle, load_example, now, open_files, saved, shot, status, text_of, until } from "../browser.mjs";

const colours = () => now.page.locator("#map button").evaluateAll((nodes) => nodes.map((node) => node.style.background));

test("a grid has a map by voxel, is fitted as a whole, and its tables are those of the command", async () => {
  await open_files(grid_file("grid.nii"), grid_file("peaks.txt"));
  await until((b) => b.spectra.length === 12 && !b.error);
  assert.equal(await now.page.locator("#map button").count(), 12);
  assert.match(await now.page.textContent("#map-tools"), /x 0 left, y 0 on top/);
  assert.equal(await now.page.locator(".map-row").count(), 3);
  assert.equal(await now.page.locator(".map-row >> nth=0").evaluate((node) => getComputedStyle(node).gridTemplateColumns.split(" ").length), 4);
  await now.page.click("#map button >> nth=5");
  assert.equal(await bench((b) => b.current), 5);
  assert.deepEqual(await bench((b) => b.spectrum.voxel), [1, 1, 0]);
  await now.page.selectOption("#spectrum", "7");
  assert.equal(await bench((b) => b.current), 7);
  await now.page.click("#fit-all");
  await now.page.waitForFunction(() => window.varokel.result.series && !window.varokel.busy, null, { timeout: 120000 });
  assert.equal(await now.page.locator("#series tbody tr").count(), 12);
  const areas = await colours();
  assert.ok(areas.every((colour) => colour.startsWith("rgb")) && new Set(areas).size > 1);
  await now.page.selectOption('select[aria-label="Map of"]', "quality");
  assert.equal(await now.page.textContent("#map-title"), "Quality");
  assert.notDeepEqual(await colours(), areas);
  await shot("grid");
  const results = (await saved("results.tsv")).toString().trim().split("\n"), quality = (await saved("quality.tsv")).toString().trim().split("\n");
  const entries = await bench((b) => b.entries.length);
  assert.equal(results.length, 1 + 12 * entries);
  assert.equal(quality.length, 13);
  for (const table of [results, quality]) assert.equal(new Set(table.map((line) => line.split("\t").length)).size, 1);
  assert.match((await saved("report.html")).toString(), /Content-Security-Policy/);
  // one of them as it was fitted
  await now.page.click("#tab-result");
  await now.page.click("#series tbody button >> nth=3");
  assert.equal(await bench((b) => b.current === 3 && b.fit.name === b.spectrum.name && b.fit_is_shown), true);
});

test("the map is one stop of the Tab key, and arrow keys go over it", async () => {
  await bench((b) => b.open(5));
  const stops = () => now.page.locator('#map button[tabindex="0"]').evaluateAll((nodes) => nodes.map((node) => Number(node.dataset.i)));
  assert.deepEqual(await stops(), [5]);
  await now.page.focus('#map button[tabindex="0"]');
  for (const [key, at] of [["ArrowRight", 6], ["ArrowDown", 10], ["ArrowDown", 10], ["ArrowLeft", 9], ["ArrowUp", 5], ["ArrowUp", 1]]) {
    await now.page.keyboard.press(key);
    assert.deepEqual(await stops(), [at], key);
    assert.equal(await now.page.evaluate(() => Number(document.activeElement.dataset.i)), at);
  }
  await now.page.keyboard.press("Enter");
  assert.equal(await bench((b) => b.current), 1);
  assert.equal(await now.page.evaluate(() => Number(document.activeElement.dataset.i)), 1, "the place keeps the focus");
});

test("of a long series a hundred are listed at once, and a grid of many is made by and by, whole", async () => {
  const { spectra, rows, places } = await now.page.evaluate(async () => {
    const { map, bench, result } = window.varokel, own = bench.spectra;
    const many = Array.from({ length: 1200 }, (_, i) => ({ name: `v${i}`, voxel: [i % 40, Math.floor(i / 40), 0] }));
    map.show(many, 7, many.map((_, i) => i), "many");
    await new Promise((done) => { const look = () => (document.querySelectorAll("#map button").length === 1200 ? done() : setTimeout(look, 5)); look(); });
    const places = [...document.querySelectorAll("#map button")].every((node, i) => Number(node.dataset.i) === i && node.style.background !== "");
    result.take_series(many.map(({ name }) => ({ name, error: "none" })), bench.text);
    result.show();
    document.querySelectorAll("#series-rows button")[1].click();
    const rows = [...document.querySelectorAll("#series tbody button")].map((node) => node.textContent);
    result.series = null;
    result.show();
    map.show(own, bench.current, null, null);
    return { spectra: own.length, rows, places };
  });
  assert.equal(spectra, 12);
  assert.equal(places, true);
  assert.deepEqual([rows.length, rows[0], rows[99]], [100, "v100", "v199"]);
});

test("cancelled in the middle, a series keeps the fits that are done, and one fit ends at once", async () => {
  await bench((b) => b.forget_fit());
  await now.page.evaluate(() => {
    const { work, result } = window.varokel;
    result.series = null;
    let done = 0;
    const own = work.run_parts.bind(work);
    work.run_parts = (next, count, words, { each }) => own(next, count, words, { each: (fit, i) => { each(fit, i); if (++done === 3) work.runner.cancel(); } });
    window.varokel.guard(() => window.varokel.fit_all()).finally(() => { work.run_parts = own; });
  });
  await idle();
  assert.match(await status(), /Cancelled/);
  const fitted = await now.page.evaluate(() => window.varokel.result.series.fits.map((fit) => Boolean(fit.fitted)));
  assert.deepEqual(fitted.slice(0, 3), [true, true, true]);
  assert.equal(fitted.at(-1), false);
  // begun and cancelled in one go: the fit may be done before a driver's click arrives
  const shown = await now.page.evaluate(() => {
    window.varokel.guard(() => window.varokel.fit());
    const visible = document.getElementById("progress").checkVisibility();
    document.getElementById("cancel").click();
    return visible;
  });
  assert.equal(shown, true);
  await idle();
  assert.match(await status(), /Cancelled/);
  await fit();
});

test("one long fit says how far it is", async () => {
  await load_example();
  await now.page.evaluate(() => {
    window.said = [];
    new MutationObserver(() => window.said.push(document.getElementById("status").textContent)).observe(document.getElementById("status"), { childList: true, characterData: true, subtree: true });
  });
  await now.page.evaluate(() => window.varokel.work.run(window.varokel.bench.fit_job(false, 6), "Fitting"));
  const said = await now.page.evaluate(() => window.said);
  assert.ok(said.some((text) => /^Fitting: start \d+, \d+ steps$/.test(text)), said.join(" | "));
});

test("phases, first order among them, and broadening change the picture and nothing else", async () => {
  await load_example();
  await now.page.click("#eye summary");
  const whole = await text_of(), before = await bench((b) => Array.from(b.curves.data));
  const slide = (id, value) => now.page.locator(`#${id}`).evaluate((node, value) => { node.value = value; node.dispatchEvent(new Event("input")); }, value);
  await now.page.click("#eye-reset");
  const flat = await bench((b) => Array.from(b.curves.data));
  assert.notDeepEqual(flat, before);
  await slide("phase-1", 360);
  const turned = await bench((b) => Array.from(b.curves.data));
  const far = (a, b, i) => Math.abs(a[i] - b[i]);
  assert.ok(turned.some((_, i) => far(turned, flat, i) > 1e-9), "first order turns");
  assert.equal(await now.page.textContent("#phase-1-text"), "360°");
  await slide("phase-1", 0);
  await slide("broaden", 30);
  const broad = await bench((b) => Array.from(b.curves.data));
  const highest = (all) => all.reduce((most, value) => Math.max(most, Math.abs(value)), 0);
  assert.ok(highest(broad) < 0.8 * highest(flat));
  await shot("eye");
  await now.page.click("#eye-model");
  await now.page.click("#eye summary");
  assert.equal(await text_of(), whole);
});

test("a pattern comes from a file as one entry, and a table with its pattern is fitted", async () => {
  const of = (name) => example(`h1_patterns/${name}`);
  await now.page.setInputFiles("#pattern-input", [of("naa.pat"), of("creatine.bin"), of("macromolecules.pat")]);
  await open_files(of("h1_patterns.fid.f32"), of("h1_patterns.fid.json"), grid_file("patterns.txt"));
  await until((b) => b.entries.filter((entry) => entry.pattern).length === 3 && !b.error);
  const count = await bench((b) => b.entries.length);
  await now.page.click("#tab-lines");
  await now.page.click("#pattern-add");
  await until((b, n) => b.entries.length === n + 1, count);
  assert.equal(await bench((b) => b.error), null);
  await shot("pattern");
  await bench((b) => b.undo());
  await fit();
  assert.match(await now.page.textContent("#pane-result"), /quality/);
});

test("undo takes back every kind of change one by one, and redo brings them again", async () => {
  await load_example();
  const states = [await text_of()];
  const change = async (act) => { await act(); states.push(await text_of()); assert.notEqual(states.at(-1), states.at(-2)); };
  await now.page.click("#tab-lines");
  await bench((b) => b.select(9));
  await change(() => now.page.click("#window"));
  await change(() => now.page.click("#fix"));
  await change(async () => { await now.page.selectOption("#multi-n", "3"); await fill("#multi-kind", "1:2:1"); await now.page.click("#multiplet"); });
  assert.match(states.at(-1), /PCr_2 .*=PCr\*2/);
  await change(() => bench((b) => b.select(0)).then(() => now.page.click("#remove")));
  for (let i = states.length - 2; i >= 0; --i) {
    await now.page.click("#undo");
    assert.equal(await text_of(), states[i]);
  }
  for (let i = 1; i < states.length; ++i) {
    await now.page.click("#redo");
    assert.equal(await text_of(), states[i]);
  }
});
