// SPDX-License-Identifier: BSD-3-Clause
// bits.test.mjs -- what the page fits is what varokel-fit fits, to the last bit, on every example
//
// PROGRAMS names the folder of varokel-fit. Values as they stand in optimum.json have all digits of
// a double, so equal files are equal numbers.
import assert from "node:assert/strict";
import { execFileSync, spawnSync } from "node:child_process";
import { copyFileSync, existsSync, mkdirSync, readdirSync, readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import test from "node:test";
import { Bench } from "../../web/page/bench.js";
import { fit_command } from "../../web/page/files.js";
import { own_folder } from "./own_folder.mjs";
import { file_of, fit_spectra, import_files, module_file, module_of_build, tree } from "./start.mjs";

const programs = process.env.PROGRAMS;
const with_vectors = await module_of_build(), plain = await module_of_build("plain");
const run = (program, words, folder) => execFileSync(join(programs, program), words, { cwd: folder, encoding: "utf8", stdio: ["ignore", "pipe", "pipe"] });

// Files of an example in a folder of their own: measured ones with the table, and where the example
// has a start file only, decays of its model and the table of that start file.
function prepared(name) {
  const folder = own_folder();
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
  const folder = own_folder();
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

test("derived values are those of varokel-fit, and a name that no line has is an error of the table", async () => {
  const { folder, input } = prepared("p31_brain");
  const rows = "derive: ratio = PCr/GATP\nderive: log10(PCr)\nderive: where = frequency(PCr) - frequency(Pin)\n";
  const table = readFileSync(join(folder, "peaks.txt"), "utf8");
  writeFileSync(join(folder, "peaks.txt"), rows + table);
  run("varokel-fit", [input, "peaks.txt", "-o", "run", "--method", "exact"], folder);
  const { fit, report } = await page_fit(folder, input);
  const theirs = readFileSync(join(folder, "run/derived.tsv"), "utf8");
  assert.equal(with_vectors.ask("heads").derived + fit.derived.map((each) => each.row).join(""), theirs);
  assert.deepEqual(fit.derived.map((each) => each.name), ["ratio", "log10(PCr)", "where"]);
  for (const each of fit.derived) assert.ok(each.error > 0 && Number.isFinite(each.value), each.name);
  assert.match(report.report, /ratio/);
  const bench = new Bench(with_vectors);
  bench.put_spectra((await import_files(with_vectors, { files: [input, "p31_brain.fid.json"].map((name) => file_of(join(folder, name))), inputs: [input] })).spectra);
  bench.set_text(rows.replace("PCr/GATP", "PCr/NAA") + table);
  assert.match(bench.error?.text ?? "", /what is to be derived, .*NAA/);
});

// A NIfTI-MRS file of one voxel with several coils and averages: a line at 4.7 ppm with water's size, one
// at 2 ppm, noise, and for each average another frequency.
function raw_file(points, coils, averages) {
  const header = Buffer.alloc(352), put = (at, value) => header.writeInt16LE(value, at);
  const extension = Buffer.from(JSON.stringify({ SpectrometerFrequency: [123.2], ResonantNucleus: ["1H"], dim_5: "DIM_COIL", dim_6: "DIM_DYN" }));
  const size = Math.ceil((8 + extension.length) / 16) * 16;
  header.writeInt32LE(348, 0);
  [6, 1, 1, 1, points, coils, averages, 1].forEach((value, i) => put(40 + 2 * i, value));
  put(70, 32); // complex64
  put(72, 64);
  [1, 20, 20, 20, 1 / 2000, 1, 1, 1].forEach((value, i) => header.writeFloatLE(value, 76 + 4 * i));
  header.writeFloatLE(352 + size, 108);
  header.write("mrs_v0_7\0", 328, "latin1");
  header.write("n+1\0", 344, "latin1");
  header[348] = 1;
  const extended = Buffer.alloc(size), values = Buffer.alloc(8 * points * coils * averages);
  extended.writeInt32LE(size, 0);
  extended.writeInt32LE(44, 4);
  extension.copy(extended, 8);
  let state = 1, at = 0;
  const noise = () => ((state = (Math.imul(state, 1664525) + 1013904223) >>> 0) / 2 ** 32) - 0.5;
  for (let average = 0; average < averages; ++average)
    for (let coil = 0; coil < coils; ++coil)
      for (let i = 0; i < points; ++i) {
        const t = i / 2000, moved = 2 * Math.PI * 2 * average * t + coil;
        const [water, naa] = [[0, 3], [332, 1]].map(([hz, size]) => ({ size: (size / (1 + coil)) * Math.exp(-Math.PI * 4 * t), turn: 2 * Math.PI * hz * t + moved }));
        values.writeFloatLE(water.size * Math.cos(water.turn) + naa.size * Math.cos(naa.turn) + 0.02 * noise(), at);
        values.writeFloatLE(water.size * Math.sin(water.turn) + naa.size * Math.sin(naa.turn) + 0.02 * noise(), at + 4);
        at += 8;
      }
  return Buffer.concat([header, extended, values]);
}

test("what is done to raw data is what the command does that the page writes", async () => {
  const folder = own_folder();
  writeFileSync(join(folder, "raw.nii"), raw_file(512, 3, 4));
  writeFileSync(join(folder, "peaks.txt"), "name  type  area  frequency  lorentz  phase\nNAA  lorentz  ?  2 ppm  4  ?\n");
  const options = { combine_coils: true, align_averages: true, remove_water: "4.2:5.2", water_order: 20, reference_peak: "NAA 2.01 ppm +- 0.3" };
  const imported = (own) => import_files(with_vectors, { files: [file_of(join(folder, "raw.nii"))], inputs: ["raw.nii"], options: own });
  const all = await imported({});
  assert.deepEqual([all.spectra.length, all.dimensions, all.options], [12, { DIM_COIL: 3, DIM_DYN: 4 }, { index: ["DIM_COIL=all", "DIM_DYN=all"] }]);
  const { spectra, dimensions } = await imported({ ...options, index: all.options.index });
  assert.deepEqual(dimensions, { DIM_COIL: 3, DIM_DYN: 4 });
  const command = fit_command("raw.nii", options, 0);
  assert.match(command, /--combine-coils --align-averages --remove-water 4\.2:5\.2 --water-order 20 --reference-peak 'NAA 2\.01 ppm \+- 0\.3'$/);
  execFileSync("sh", ["-c", `"$PROGRAMS"/${command} --no-report`], { cwd: folder, stdio: ["ignore", "pipe", "pipe"] });
  // The mean is aligned by sines of the platform, whose last bits are their own; all else is the same.
  const doubles = (bytes) => new Float64Array(new Uint8Array(bytes).buffer);
  const ours = doubles(spectra[0].bin), others = doubles(readFileSync(join(folder, "run", `${spectra[0].name}.bin`)));
  const highest = others.reduce((most, value) => Math.max(most, Math.abs(value)), 0);
  assert.equal(ours.length, others.length);
  assert.ok(highest > 0 && ours.every((value, i) => Math.abs(value - others[i]) <= 1e-14 * highest), "points");
  const plain = { ...options, align_averages: false, average: ["DIM_DYN"] };
  execFileSync("sh", ["-c", `"$PROGRAMS"/${fit_command("raw.nii", plain, 0).replace("-o run", "-o plain")} --no-report`], { cwd: folder, stdio: ["ignore", "pipe", "pipe"] });
  const mean = (await imported(plain)).spectra;
  assert.equal(Buffer.compare(Buffer.from(mean[0].bin), readFileSync(join(folder, "plain", `${mean[0].name}.bin`))), 0, "without alignment the same bits");
  const { fits } = await fit_spectra(with_vectors, { spectra: mean, text: readFileSync(join(folder, "peaks.txt"), "utf8") });
  assert.equal(fits[0].files["optimum.json"], readFileSync(join(folder, "plain", "optimum.json"), "utf8"));
  await assert.rejects(imported({ ...options, reference_peak: "two" }), /--reference-peak two/);
  await assert.rejects(imported({ ...options, combine_coils: false, align_averages: false, eddy: true }), /--reference/);
});

test("amounts by the water of the voxel are those of varokel-fit --water, and of the formula", async () => {
  const folder = own_folder(), names = ["brain_press30.SDAT", "brain_press30.SPAR", "brain_press30_water.SDAT", "brain_press30_water.SPAR"];
  for (const name of names) copyFileSync(join(tree, "tests/tools/data", name), join(folder, name));
  const table = `name  type  area  frequency  lorentz  phase
NAA  lorentz  ? > 0  2.0 ppm +- 0.1 ppm  6  ?
Cr  lorentz  ? > 0  3.0 ppm +- 0.1 ppm  =NAA  =NAA
interval: 1.9 to 2.1 ppm, 2.9 to 3.1 ppm
water: tissue, content=0.78 kg/kg, t1=1.1 s, t2=80 ms
amount: NAA, protons=3, t1=1.4 s, t2=280 ms
amount: both = NAA+Cr, protons=3
`;
  writeFileSync(join(folder, "peaks.txt"), table);
  const options = { water: names[2], water_scale: 0.5, echo_time: 0.04 };
  const command = fit_command(names[0], options, 0);
  assert.match(command, /--water brain_press30_water\.SDAT --water-scale 0\.5 --echo-time 0\.04$/);
  execFileSync("sh", ["-c", `"$PROGRAMS"/${command}`], { cwd: folder, stdio: ["ignore", "pipe", "pipe"] });
  const imported = (own, text = table) => import_files(with_vectors, { files: names.map((name) => file_of(join(folder, name))), inputs: [names[0]], options: own, table: text });
  const { spectra, said } = await imported(options);
  assert.ok(said.some((text) => /^water of brain_press30_water\.SDAT: area /.test(text)), said.join(" | "));
  const { fits } = await fit_spectra(with_vectors, { spectra, text: table });
  const theirs = (file) => readFileSync(join(folder, "run", file), "utf8");
  assert.equal(with_vectors.ask("heads").derived + fits[0].derived.map((each) => each.row).join(""), theirs("derived.tsv"));
  const [naa] = fits[0].derived, left = (t1, t2) => Math.exp(-0.04 / t2) * (1 - Math.exp(-2 / t1)); // the water's own echo time is 0.03 s
  const of_water = Math.exp(-0.03 / 0.08) * (1 - Math.exp(-2 / 1.1)), area = JSON.parse(spectra[0].json).water_reference.area;
  const wanted = (1e6 / 18.01528) * (2 / 3) * (fits[0].entries[0].area.value / (0.5 * area)) * ((0.78 * of_water) / left(1.4, 0.28));
  assert.equal(naa.unit, "mmol/kg wet weight");
  assert.ok(Math.abs(naa.value / wanted - 1) < 1e-9, `${naa.value} is not ${wanted}`);
  await assert.rejects(imported({ water_scale: 2 }), /--water-scale is of the file of --water/);
  await assert.rejects(imported({ ...options, water_scale: -1 }), /--water-scale: expected a number above 0/);
  await assert.rejects(imported(options, table.replaceAll(/^amount.*$/gm, "")), /no row "amount"/);
  await assert.rejects(imported({ water: "other.SDAT" }), /^Error: other\.SDAT: no such file/);
});
