// SPDX-License-Identifier: BSD-3-Clause
// files.mjs -- files that are opened, whole and damaged, and work that is kept
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { gzipSync } from "node:zlib";
import test from "node:test";
import { bench, example, kept, load_example, now, open_page, page_file, ready, shot, status, text_of, until } from "../browser.mjs";
import { own_folder } from "../own_folder.mjs";
import { tree } from "../start.mjs";

test("files come by the button, packed and with a sidecar; damaged ones leave the work alone", async () => {
  const folder = own_folder();
  const put = (name, bytes) => { writeFileSync(join(folder, name), bytes); return join(folder, name); };
  await now.page.setInputFiles("#file-input", [example("c13_kidney/c13_kidney.fid.f32"), example("c13_kidney/c13_kidney.fid.json"), example("c13_kidney/peaks.txt")]);
  await now.page.waitForFunction(() => window.varokel.bench.entries.length === 4);
  // what the import says aloud stands in the sidecar, too
  const told = await now.page.evaluate(() => {
    const app = window.varokel, { said } = app, { sidecar } = app.bench.about, { guessed } = sidecar;
    app.said = ["guessed dwell_time_s 0.0005: no unit", "a word of the import"];
    sidecar.guessed = [{ item: "dwell_time_s", value: 0.0005, reason: "no unit" }];
    app.show_spectrum();
    const all = [...document.querySelectorAll("#about li")].map((node) => node.textContent);
    app.said = said;
    sidecar.guessed = guessed;
    app.show_spectrum();
    return all;
  });
  assert.deepEqual([told.filter((text) => text.includes("dwell_time_s")).length, told.filter((text) => text === "a word of the import").length], [1, 1], told.join(" | "));
  const packed = put("xe.fid.f32.gz", gzipSync(readFileSync(example("xe129_lung/xe129_lung.fid.f32"))));
  const beside = put("xe.fid.json", readFileSync(example("xe129_lung/xe129_lung.fid.json")));
  await now.page.setInputFiles("#file-input", [packed, beside, example("xe129_lung/peaks.txt")]);
  await now.page.waitForFunction(() => window.varokel.bench.spectrum.name === "xe" && !window.varokel.bench.error);
  const whole = await text_of();
  for (const [name, bytes] of [["cut.nii", readFileSync(page_file.slice(7)).subarray(0, 500)], ["cut.nii.gz", gzipSync(Buffer.alloc(5000)).subarray(0, 30)],
    ["none.dcm", Buffer.from("DICM")], ["empty.f32", Buffer.alloc(0)], ["odd.f32", Buffer.alloc(13)], ["nan.f32", Buffer.alloc(64, 0xff)], ["alone.json", Buffer.from("{}")],
    ["deep.json", Buffer.from("[".repeat(100000))], ["words.txt", Buffer.from("hello\nworld\n")], ["x.rda", Buffer.from("<img src=x onerror=alert(1)>")]]) {
    await now.page.evaluate(() => window.varokel.say(""));
    await now.page.setInputFiles("#file-input", [put(name, bytes)]);
    await now.page.waitForFunction(() => document.getElementById("status").classList.contains("bad") && !window.varokel.busy, null, { timeout: 20000 });
    assert.ok((await status()).length > 10, name);
    assert.equal(await text_of(), whole);
  }
  await shot("damaged");
  assert.deepEqual(now.troubles, []);
});

test("a file that does not say enough waits for it under File, and what was shown stays until then", async () => {
  await load_example();
  const shown = await bench((b) => b.spectrum.name), field = (name) => `[data-option="${name}"]`;
  const text = Array.from({ length: 64 }, (_, i) => `${Math.exp(-i / 20) * Math.cos(i)} ${Math.exp(-i / 20) * Math.sin(i)}`).join("\n");
  const give = (name) => now.page.setInputFiles("#file-input", [{ name, mimeType: "", buffer: Buffer.from(text) }, { name: "peaks.txt", mimeType: "", buffer: Buffer.from("name  type  frequency  lorentz\nA  lorentz  1 Hz  5\n") }]);
  await give("points.txt");
  await now.page.waitForFunction(() => document.getElementById("status").classList.contains("bad") && !window.varokel.busy);
  assert.match(await status(), /^points\.txt: dwell time unknown; .*--bandwidth/); // no folder of the page's own
  assert.equal(await bench((b) => b.spectrum.name), shown);
  assert.ok(await now.page.isVisible(field("bandwidth")));
  assert.match(await now.page.locator("#option-fields label", { has: now.page.locator(field("bandwidth")) }).textContent(), /--bandwidth/); // as the message calls it
  await shot("unread");
  // given up, the fields are those of what is shown
  await now.page.click("#leave-unread");
  assert.equal(await now.page.locator("#leave-unread").count(), 0);
  await give("points.txt");
  await now.page.waitForSelector("#leave-unread");
  await now.page.fill(field("bandwidth"), "wide");
  await now.page.click("#import-again");
  assert.match(await status(), /Spectral width .*expected a number/);
  await now.page.fill(field("bandwidth"), "1000");
  await now.page.click("#import-again");
  await until((b) => b.spectrum.name === "points" && b.entries.length === 1);
  assert.equal(await now.page.inputValue(field("bandwidth")), "1000");
  assert.equal(await now.page.locator("#leave-unread").count(), 0);
  await now.page.click("#tab-save");
  assert.match(await now.page.textContent("#command"), /points\.txt .*--bandwidth 1000/);
  // and it can be the first that is opened
  const fresh = await open_page();
  await fresh.setInputFiles("#file-input", [{ name: "first.txt", mimeType: "", buffer: Buffer.from(text) }]);
  await fresh.waitForSelector("#leave-unread");
  await fresh.fill(field("dwell_time"), "0.001");
  await fresh.click("#import-again");
  await fresh.waitForFunction(() => window.varokel.bench.spectrum?.name === "first");
  await fresh.context().close();
  assert.deepEqual(now.troubles, []);
});

test("names of files and texts of headers that mean something to a browser are shown as text", async () => {
  await load_example();
  const markup = "<img src=x onerror=document.title='taken'>", title = await now.page.title();
  const points = Array.from({ length: 64 }, (_, i) => `${Math.exp(-i / 20) * Math.cos(i)} ${Math.exp(-i / 20) * Math.sin(i)}`).join("\n");
  const measured = (json) => execFileSync("perl", [join(tree, "tests/tools/fid_file.pl"), "nifti", "dims=1,1,1,64", "dwell=0.001", `json=${JSON.stringify(json)}`], { input: points });
  const known = { SpectrometerFrequency: [51.7], ResonantNucleus: ["31P"] };
  const elements = () => now.page.evaluate(() => document.querySelectorAll("img, script, iframe, [onerror], [onload]").length);
  const before = await elements();
  const shown = async (files, wanted) => {
    await now.page.setInputFiles("#file-input", files.map(([name, bytes]) => ({ name, mimeType: "", buffer: Buffer.from(bytes) })));
    await now.page.waitForFunction(() => !window.varokel.busy);
    if (wanted !== null) await until((b, name) => b.spectrum?.name.includes(name), wanted);
    await now.page.waitForTimeout(200);
    if (wanted !== null) assert.equal(await now.page.textContent("#about h2"), await bench((b) => b.spectrum.name)); // the text that it is
    assert.equal(await now.page.title(), title);
    assert.equal(await elements(), before);
  };
  for (const name of [`${markup}.nii`, "=1+1.nii", "$(x)`y`'\".nii", "\u202egnp.nii"]) await shown([[name, measured(known)]], name.slice(1, 4));
  for (const json of [{ ...known, ResonantNucleus: [markup] }, { ...known, dim_5: markup, PatientName: markup }, { ...known, ResonantNucleus: ["31P\u0007\u202e"] }])
    await shown([["header.nii", measured(json)]], "header");
  // a sidecar says in words what was guessed, and its words are shown
  const sidecar = { dwell_time_s: 0.001, spectrometer_mhz: 51.7, ppm_at_carrier: 0, nucleus: "31P", warnings: [markup], guessed: [{ item: markup, value: 1, reason: markup }], source: { file: markup } };
  await shown([["beside.fid.f32", new Uint8Array(new Float32Array(128).map((_, i) => Math.cos(i)).buffer)], ["beside.fid.json", JSON.stringify(sidecar)]], "beside");
  // refused, with the markup as text
  await shown([["table.txt", `name type area frequency lorentz\n${markup} lorentz 1 0 5\n`]], null);
  await shown([[`${markup}.rda`, markup]], null);
  await shown([["latin.nii", Buffer.concat([Buffer.from(measured(known)).subarray(0, 552), Buffer.from([0xff, 0xfe, 0x1b]), Buffer.from(measured(known)).subarray(555)])]], null);
  await shot("hostile");
  assert.deepEqual(now.troubles, []);
});

test("the work comes back after a crash, and is gone once it is erased", async () => {
  await load_example();
  await bench((b) => b.edit({ edit: "key", key: "strategy", value: "quick" }));
  const whole = await text_of();
  await kept(whole);
  const ready = () => now.page.waitForFunction(() => document.documentElement.dataset.ready === "yes", null, { timeout: 60000 });
  await now.page.reload();
  await ready();
  assert.equal(await text_of(), whole);
  assert.equal(await bench((b) => b.entries.length), 16);
  await now.page.click("#tab-save");
  await now.page.click("#erase");
  await now.page.reload();
  await ready();
  assert.equal(await bench((b) => b.spectra.length), 0);
});

test("a browser that is out of storage says what is kept, and the work goes on", async () => {
  await load_example();
  await now.page.evaluate(() => {
    const { storage } = window.varokel;
    window.varokel.storage = { getItem: (key) => storage.getItem(key), removeItem: (key) => storage.removeItem(key), setItem(key, text) { if (text.length > 3000) throw new DOMException("full", "QuotaExceededError"); storage.setItem(key, text); } };
  });
  await bench((b) => b.edit({ edit: "key", key: "strategy", value: "quick" }));
  await now.page.waitForFunction(() => /table alone is kept/.test(document.getElementById("status").textContent));
  const whole = await text_of();
  await now.page.reload();
  await ready();
  assert.equal(await text_of(), whole);
  assert.equal(await bench((b) => b.spectra.length), 0);
  await load_example();
});

test("a page whose storage was damaged begins empty, and one that crashed has its work", async () => {
  await kept(await text_of());
  const all = await now.page.evaluate(() => JSON.stringify({ ...localStorage }));
  assert.match(all, /p31_brain/);
  for (const damaged of ["{", "null", '{"form":1}', '{"form":1,"text":"x","spectra":[{"name":"a","bin":"!","json":"{}"}],"patterns":[],"current":0}', '{"form":1,"text":"x","spectra":[{"name":"a","bin":"AAAA","json":"{}"}],"patterns":[],"current":0}']) {
    await now.page.evaluate((damaged) => { for (const key of Object.keys(localStorage)) localStorage.setItem(key, damaged); }, damaged);
    await now.page.reload();
    await ready();
    assert.equal(await bench((b) => b.table), null, damaged);
    await load_example();
    await kept(await text_of());
  }
  now.troubles.length = 0;
});
