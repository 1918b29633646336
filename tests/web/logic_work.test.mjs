// SPDX-License-Identifier: BSD-3-Clause
// logic_work.test.mjs -- the page without a screen: files, kept work, and what a worker does
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import test from "node:test";
import { gzipSync } from "node:zlib";
import { erase, restore, save } from "../../web/page/autosave.js";
import { pack_spectra, spectra_of } from "../../web/page/spectra.js";
import { bytes_of_85, text_of_85 } from "../../web/page/base85.js";
import { index_of, run_task } from "../../web/page/tasks.js";
import { TaskRunner } from "../../web/page/worker.js";
import { example_file, fit_spectra, import_files, module_of_build, tree } from "./start.mjs";

const client = await module_of_build();
const example = await import_files(client, { inputs: ["p31_brain.fid.f32"],
  files: [example_file("p31_brain/p31_brain.fid.f32"), example_file("p31_brain/p31_brain.fid.json")] });
const peaks = readFileSync(`${tree}/examples/p31_brain/peaks.txt`, "utf8");

test("work is kept, comes back, and is less where the storage is small", () => {
  const storage = (most) => ({ all: new Map(), getItem(key) { return this.all.get(key) ?? null; }, removeItem(key) { this.all.delete(key); },
    setItem(key, value) { if (value.length > most) throw new Error("quota"); this.all.set(key, value); } });
  const state = { text: peaks, spectra: [...example.spectra, ...example.spectra], current: 1, patterns: [{ name: "a.pat", bytes: new Uint8Array([1, 200]) }], options: { mhz: 1 } };
  const large = storage(1e9);
  assert.equal(save(large, state), "");
  const back = restore(large);
  assert.equal(back.text, peaks);
  assert.deepEqual(back.spectra[1].bin, example.spectra[0].bin);
  assert.deepEqual([...back.patterns[0].bytes], [1, 200]);
  const middle = storage(16000);
  assert.match(save(middle, state), /this spectrum are kept/);
  assert.equal(restore(middle).spectra.length, 1);
  const small = storage(3000);
  assert.match(save(small, state), /table alone/);
  assert.equal(restore(small).text, peaks);
  assert.match(save(storage(0), state), /keeps nothing/);
  assert.equal(restore({ getItem: () => "{ damaged" }), null);
  assert.equal(restore({ getItem: () => '{"form":1,"text":"a","spectra":[{"bin":5}],"patterns":[]}' }), null);
  erase(large);
  assert.equal(restore(large), null);
});

test("a worker that ends or is cancelled rejects what waits, and the next task gets another", async () => {
  let made = 0;
  const runner = new TaskRunner(() => { ++made; return { postMessage() {}, terminate() {} }; }, new ArrayBuffer(0));
  const first = runner.run({});
  runner.cancel();
  await assert.rejects(first, /cancelled/);
  const second = runner.run({});
  assert.equal(made, 2);
  runner.worker.onmessage({ data: { number: 2, value: 5 } });
  assert.equal(await second, 5);
  runner.rest();
  const third = runner.run({});
  assert.equal(made, 3);
  runner.rest(); // it has something to do
  assert.ok(runner.worker);
  runner.worker.onerror({ message: "out of memory" });
  await assert.rejects(third, /out of memory/);
});

test("base 85 gives back every byte, and refuses what is none", () => {
  const random = Uint8Array.from({ length: 1021 }, (_, i) => (i * i * 31 + 7 * i) % 256);
  for (const bytes of [new Uint8Array(0), new Uint8Array(4).fill(255), new Uint8Array(7), random, ...[1, 2, 3, 4, 5].map((n) => new Uint8Array(n).fill(255)), Uint8Array.of(0, 0, 1), Uint8Array.of(254)]) {
    const text = text_of_85(bytes);
    assert.deepEqual(bytes_of_85(text), bytes);
    assert.equal(text.length, Math.ceil((bytes.length * 5) / 4));
    assert.doesNotMatch(text, /[<>&"'`\\\s]/);
  }
  for (const odd of ["<0000", "00é00", "0000 ", "000000"]) assert.throws(() => bytes_of_85(odd), /85/);
});

test("of a file with several FIDs all are taken where nobody says otherwise", () => {
  const coils = { DIM_COIL: 8 }, both = { DIM_COIL: 8, DIM_DYN: 4 };
  for (const [options, dimensions, wanted] of [[{}, {}, []], [{}, coils, ["all"]], [{}, both, ["DIM_COIL=all", "DIM_DYN=all"]],
    [{ index: ["3"] }, coils, ["3"]], [{ index: ["DIM_DYN=1"] }, both, ["DIM_DYN=1", "DIM_COIL=all"]],
    [{ combine_coils: true, index: ["all"] }, coils, []], [{ combine_coils: true, index: ["DIM_COIL=all", "DIM_DYN=all"] }, both, ["DIM_DYN=all"]],
    [{ combine_coils: true }, both, ["all"]], [{ average: ["DIM_DYN"] }, both, ["all"]], [{ align_averages: true, combine_coils: true }, both, []],
    [{ average: ["averages"] }, coils, []], [{ index: ["DIM_EDIT=1"] }, both, ["DIM_EDIT=1", "DIM_COIL=all", "DIM_DYN=all"]]])
    assert.deepEqual(index_of(options, dimensions), wanted, JSON.stringify([options, dimensions]));
});

test("what no file is, is refused by a sentence", async () => {
  const task = (name, bytes) => import_files(client, { files: [{ name, bytes }], inputs: [name] });
  await assert.rejects(task("a.nii", new Uint8Array(1000)), /no NIfTI header/);
  await assert.rejects(task("a.dcm", new Uint8Array(10)), /not read here/);
  await assert.rejects(task("a.nii.gz", new Uint8Array([0x1f, 0x8b, 8, 0, 1, 2, 3])), /damaged/);
  await assert.rejects(task("a.f32", new Uint8Array(0)), /empty/);
  const gone = { name: "b.f32", content: { arrayBuffer: () => Promise.reject(new Error("not found")) } };
  await assert.rejects(run_task(client, { kind: "import", files: [gone], inputs: ["b.f32"], options: {} }, () => {}), /^Error: b\.f32: cannot be read \(not found\)/);
  const spectrum = { ...example.spectra[0].copy, json: "{}" };
  const { fits } = await run_task(client, { kind: "fit", spectra: [spectrum], text: peaks, patterns: [] }, () => {});
  assert.match(fits[0].error, /points/);
});

test("spectra of one pool are the bytes that were put in, and go alone to another thread", () => {
  const bytes = (...all) => new Uint8Array(all), json = (voxel) => new TextEncoder().encode(JSON.stringify({ source: { voxel } }));
  const parts = [[bytes(1, 2, 3), json([4, 5, 6]), null], [bytes(9), json(undefined), bytes(7, 7)]];
  const [a, b] = spectra_of(pack_spectra(parts.map((each, i) => ({ name: `s${i}`, input: "f", bytes: each.map((part) => part?.length ?? 0), read: () => each }))));
  assert.deepEqual([[...a.bin], a.voxel, a.reference, a.name], [[1, 2, 3], [4, 5, 6], null, "s0"]);
  assert.deepEqual([[...b.bin], b.voxel, [...b.reference], b.json], [[9], null, [7, 7], '{"source":{}}']);
  assert.equal(b.copy.bin.buffer.byteLength, 1);
});

test("correlations are of free parameters of any kind, and none is a line with what follows it", async () => {
  const { fits } = await fit_spectra(client, { spectra: example.spectra, text: peaks });
  const pairs = fits[0].correlations, entries = fits[0].entries;
  assert.ok(pairs.length > 0 && pairs.some((pair) => pair.of[0] !== pair.of[1]));
  for (const { entries: of, of: names, value } of pairs) {
    assert.ok(Math.abs(value) >= 0.7 && Math.abs(value) < 0.999, `${value}`);
    of.forEach((k, i) => assert.ok(entries[k][names[i]].free, `${entries[k].name} ${names[i]}`));
  }
});

test("a fit tells how far it is, and fits of many come one by one, those that fail with their rows", async () => {
  const seen = [];
  await fit_spectra(client, { spectra: example.spectra, text: peaks }, (done, of, more) => seen.push(more));
  const steps = seen.filter((more) => more.searches);
  assert.ok(steps.length > 0);
  assert.ok(steps.every((more, i) => more.linearizations > 0 && (i === 0 || more.linearizations > steps[i - 1].linearizations)));
  const copies = ["a", "b"].map((name) => ({ ...example.spectra[0].copy, name }));
  copies[1].json = "{}";
  const order = [];
  const { fits } = await fit_spectra(client, { spectra: copies, text: peaks, slim: true }, (done, of, more) => more.fit && order.push([done, of, more.fit.name]));
  assert.deepEqual(order, [[1, 2, "a"], [2, 2, "b"]]);
  assert.equal(fits[0].files, undefined);
  assert.match(fits[0].results, /PCr/);
  assert.match(fits[1].error, /points/);
  assert.equal(fits[1].quality_row.trim().split("\n").length, 1);
  assert.equal(fits[1].quality_row.split("\t").length, client.ask("heads").quality.split("\t").length);
});

test("gzip that is whole is unpacked, whatever its size", async () => {
  const points = Buffer.from(example_file("p31_brain/p31_brain.fid.f32").bytes);
  const packed = new Uint8Array(gzipSync(points));
  const { spectra } = await import_files(client, { inputs: ["p31_brain.fid.f32.gz"], files: [{ name: "p31_brain.fid.f32.gz", bytes: packed }, example_file("p31_brain/p31_brain.fid.json")] });
  assert.deepEqual(spectra[0].bin, example.spectra[0].bin);
});
