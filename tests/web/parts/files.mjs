// SPDX-License-Identifier: BSD-3-Clause
// files.mjs -- files that are opened, whole and damaged, and work that is kept
import assert from "node:assert/strict";
import { mkdtempSync, readFileSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { gzipSync } from "node:zlib";
import test from "node:test";
import { bench, example, load_example, now, page_file, ready, shot, status, text_of } from "../browser.mjs";

// Waits until the browser's storage has this text of the table, and a spectrum.
const kept = (text) => now.page.waitForFunction((text) => Object.keys(localStorage).some((key) => {
  try {
    const own = JSON.parse(localStorage.getItem(key));
    return own.text === text && own.spectra.length > 0;
  } catch { return false; }
}), text);

test("files come by the button, packed and with a sidecar; damaged ones leave the work alone", async () => {
  const folder = mkdtempSync(join(tmpdir(), "varokel-web-"));
  const put = (name, bytes) => { writeFileSync(join(folder, name), bytes); return join(folder, name); };
  await now.page.setInputFiles("#file-input", [example("c13_kidney/c13_kidney.fid.f32"), example("c13_kidney/c13_kidney.fid.json"), example("c13_kidney/peaks.txt")]);
  await now.page.waitForFunction(() => window.varokel.bench.entries.length === 4);
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
