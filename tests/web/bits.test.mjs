// SPDX-License-Identifier: BSD-3-Clause
// bits.test.mjs -- what the page fits is what varokel-fit fits, to the last bit, on every example
//
// PROGRAMS names the folder of varokel-fit. Values as they stand in optimum.json have all digits of
// a double, so equal files are equal numbers.
import assert from "node:assert/strict";
import { execFileSync, spawnSync } from "node:child_process";
import { copyFileSync, existsSync, mkdirSync, mkdtempSync, readdirSync, readFileSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import test from "node:test";
import { file_of, fit_spectra, import_files, module_file, module_of_build, tree } from "./start.mjs";

const programs = process.env.PROGRAMS;
const with_vectors = await module_of_build(), plain = await module_of_build("plain");
const run = (program, words, folder) => execFileSync(join(programs, program), words, { cwd: folder, encoding: "utf8", stdio: ["ignore", "pipe", "pipe"] });

// Files of an example in a folder of their own: measured ones with the table, and where the example
// has a start file only, decays of its model and the table of that start file.
function prepared(name) {
  const folder = mkdtempSync(join(tmpdir(), "varokel-bits-"));
  const from = join(tree, "examples", name);
  for (const file of readdirSync(from))
    if (/\.(f32|json|pat|txt|par)$/.test(file)) copyFileSync(join(from, file), join(folder, file));
  const input = `${name}.fid.f32`;
  if (!existsSync(join(folder, input)))
    run("varokel-simulate", [join(from, "truth.par"), "-o", input, "--noise", "0.005", "--seed", "3", "--frequency", "100", "--nucleus", "31P", "--ppm-at-carrier", "0"], folder);
  for (const pattern of readdirSync(from).filter((file) => file === "creatine.bin")) copyFileSync(join(from, pattern), join(folder, pattern));
  if (!existsSync(join(folder, "peaks.txt"))) {
    const text = run("varokel-start", ["--from", "start.par"], folder);
    writeFileSync(join(folder, "peaks.txt"), text.includes("name") ? text : readFileSync(join(folder, "peaks.txt"), "utf8"));
  }
  return { folder, input };
}

async function page_fit(folder, input, client = with_vectors) {
  const names = readdirSync(folder).filter((file) => file.startsWith(input.split(".")[0]) && /\.(f32|json)$/.test(file));
  const { spectra } = await import_files(client, { files: names.map((name) => file_of(join(folder, name))), inputs: [input] });
  const patterns = readdirSync(folder).filter((name) => /\.pat$|^creatine\.bin$/.test(name)).map((name) => file_of(join(folder, name)));
  const text = readFileSync(join(folder, "peaks.txt"), "utf8");
  const { fits, report } = await fit_spectra(client, { spectra, text, patterns, report: true });
  return { spectra, fit: fits[0], report };
}

const examples = readdirSync(join(tree, "examples"), { withFileTypes: true }).filter((each) => each.isDirectory()).map((each) => each.name);
assert.ok(examples.length >= 7, "examples are there");

for (const name of examples) {
  test(`${name}: the page and varokel-fit have the same bits`, async () => {
    const { folder, input } = prepared(name);
    const ended = spawnSync(join(programs, "varokel-fit"), [input, "peaks.txt", "-o", "run", "--method", "exact", "--no-report"], { cwd: folder, encoding: "utf8" });
    assert.equal(ended.status, 0, ended.stderr);
    const { spectra, fit, report } = await page_fit(folder, input);
    assert.equal(fit.error, undefined);
    const theirs = (file) => readFileSync(join(folder, "run", file), "utf8");
    assert.equal(Buffer.compare(Buffer.from(spectra[0].bin), readFileSync(join(folder, "run", `${spectra[0].name}.bin`))), 0, "imported points");
    assert.equal(fit.files["start.par"], theirs("start.par"));
    assert.equal(fit.files["optimum.json"], theirs("optimum.json"));
    assert.equal(fit.files["result.par"], theirs("result.par"));
    assert.equal(report.results, theirs("results.tsv"));
    assert.equal(report.quality, theirs("quality.tsv"));
    const again = (await page_fit(folder, input, plain)).fit;
    assert.equal(again.files["optimum.json"], theirs("optimum.json"), "without vectors");
    assert.ok(JSON.parse(theirs("optimum.json")).values_in_points.length > 0);
  });
}

test("a series and its single spectra have the same bits", async () => {
  const folder = mkdtempSync(join(tmpdir(), "varokel-bits-"));
  mkdirSync(join(folder, "in"));
  run("varokel-simulate", [join(tree, "examples/single_line/start.par"), "-o", "in/series.nii", "--noise", "0.01", "--seed", "1", "--grid", "3,2,1", "--frequency", "123.2", "--nucleus", "1H", "--ppm-at-carrier", "4.7"], folder);
  const text = run("varokel-start", ["--from", join(tree, "examples/single_line/start.par")], folder);
  writeFileSync(join(folder, "peaks.txt"), text);
  run("varokel-fit", ["in/series.nii", "peaks.txt", "-o", "run", "--method", "exact", "--no-report"], folder);
  const { spectra } = await import_files(with_vectors, { files: [file_of(join(folder, "in/series.nii"))], inputs: ["series.nii"] });
  assert.equal(spectra.length, 6);
  const seen = [];
  const { fits, report } = await fit_spectra(with_vectors, { spectra, text, report: true }, (done, of) => seen.push([done, of]));
  assert.deepEqual(seen.at(-1), [6, 6]);
  assert.equal(report.results, readFileSync(join(folder, "run/results.tsv"), "utf8"));
  for (const fit of fits) assert.equal(fit.files["optimum.json"], readFileSync(join(folder, "run", fit.name, "optimum.json"), "utf8"));
});

test("the plain module has no vector instruction, the other has", () => {
  const text = (which) => execFileSync("wasm-dis", [module_file(which)], { encoding: "latin1", maxBuffer: 2 ** 29 });
  assert.doesNotMatch(text("plain"), /v128|f64x2/);
  assert.match(text("varokel"), /f64x2\.mul/);
});
