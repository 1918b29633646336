// SPDX-License-Identifier: BSD-3-Clause
// tasks.js -- the long work, which a worker does with a module of its own: import, fit, report
//
// A task takes everything that it needs and keeps nothing, so a worker may be ended at any time.

import { pack_spectra } from "./spectra.js";

const GZIP = [0x1f, 0x8b];

// File name without folders; one that would lead elsewhere is none.
export function plain_name(name) {
  const last = name.split(/[/\\]/).pop();
  return last === "" || last === "." || last === ".." ? "unnamed" : last;
}

// Written and read by hand: of a pipe, Firefox reports damage a second time, to nobody.
async function gunzip(bytes) {
  const { writable, readable } = new DecompressionStream("gzip");
  const writer = writable.getWriter(), reader = readable.getReader();
  writer.write(bytes).then(() => writer.close()).catch(() => {}); // the reader hears of it
  const parts = [];
  for (let part = await reader.read(); !part.done; part = await reader.read()) parts.push(part.value);
  return new Uint8Array(await new Blob(parts).arrayBuffer());
}

// The worker reads a file by itself: the page's thread has its name and a handle, never its bytes.
async function bytes_of(file) {
  try {
    return new Uint8Array(await file.content.arrayBuffer());
  } catch (error) {
    throw new Error(`${file.name}: cannot be read (${error.message}); was it moved or changed since it was opened?`);
  }
}

async function unpacked(file) {
  const bytes = await bytes_of(file);
  if (bytes[0] !== GZIP[0] || bytes[1] !== GZIP[1]) return { name: plain_name(file.name), bytes };
  let whole;
  try {
    whole = await gunzip(bytes);
  } catch {
    throw new Error(`${file.name}: is packed by gzip, and ends too early or is damaged`);
  }
  return { name: plain_name(file.name).replace(/\.gz$/i, ""), bytes: whole };
}

const SOON = 60; // milliseconds between two words about progress

// Hands on what a call of the module tells, not more often than can be read.
function listen(client, tell) {
  let last = 0;
  client.module.progress = (done, of) => {
    if (performance.now() - last < SOON) return;
    last = performance.now();
    tell(done, of);
  };
}

// What is taken of a file with several FIDs: as asked, and all along the dimensions of which nobody says
// anything. What names a dimension that is combined or averaged is left out: it was of an import before.
// dimensions: {name: size}.
export function index_of(options, dimensions) {
  if ((options.average ?? []).some((name) => !(name in dimensions))) return options.index ?? []; // by another name
  const gone = new Set([...(options.average ?? []), options.combine_coils && "DIM_COIL", options.align_averages && "DIM_DYN"]);
  const left = Object.keys(dimensions).filter((name) => !gone.has(name));
  const named = (text) => text.split("=")[0];
  const asked = (options.index ?? []).filter((text) => !gone.has(named(text)) && !(text === "all" && left.length !== 1));
  if (asked.some((text) => !text.includes("="))) return asked;
  const free = left.filter((name) => !asked.some((text) => named(text) === name));
  return free.length === 1 && left.length === 1 ? [...asked, "all"] : [...asked, ...free.map((name) => `${name}=all`)];
}

// {files: [{name, content: Blob}], inputs: [name], options, table}
//   -> {packed, said, dimensions, options}
// packed as spectra.js has it, dimensions of the files in which they have several FIDs, options as they
// were used; the table may name a line that sets the ppm axis.
async function import_task(client, task, progress) {
  const folder = client.new_folder();
  const renamed = new Map();
  for (const file of task.files) {
    const plain = await unpacked(file);
    renamed.set(file.name, plain.name);
    client.write(`${folder}/${plain.name}`, plain.bytes);
  }
  const made_files = [], said = [], outs = [], dimensions = {};
  const { index: _, ...used } = task.options;
  for (const [i, input] of task.inputs.entries()) {
    progress(i, task.inputs.length);
    listen(client, (done) => progress(i, task.inputs.length, { spectra: made_files.length + done }));
    const out = client.new_folder();
    outs.push(out);
    const of_input = client.ask("dimensions", { ...task.options, input: `${folder}/${renamed.get(input)}` });
    for (const [name, size] of Object.entries(of_input)) dimensions[name] = Math.max(size, dimensions[name] ?? 1);
    const options = { ...task.options, index: index_of(task.options, of_input) };
    if (options.index.length > 0) used.index = options.index;
    for (const name of ["reference", "water"]) if (options[name]) options[name] = `${folder}/${renamed.get(options[name]) ?? options[name]}`;
    const about = { ...options, input: `${folder}/${renamed.get(input)}`, folder: out };
    if (task.table) about.table = task.table;
    const made = client.ask("import", about);
    said.push(...made.said.map((text) => text.replaceAll(`${folder}/`, "").replaceAll(`${out}/`, "")));
    for (const name of made.names) {
      const files = [`${out}/${name}.bin`, `${out}/${name}.json`, `${out}/${name}.bin.ref`];
      made_files.push({ name, input, bytes: files.map((file) => client.size(file)), read: () => files.map((file) => client.take(file)) });
    }
  }
  client.remove_folder(folder);
  const packed = pack_spectra(made_files);
  for (const out of outs) client.remove_folder(out);
  return { packed, said, dimensions, options: used };
}

export function put_spectrum(client, folder, spectrum) {
  client.write(`${folder}/${spectrum.name}.bin`, spectrum.bin.slice());
  client.write(`${folder}/${spectrum.name}.json`, new TextEncoder().encode(spectrum.json));
  if (spectrum.reference) client.write(`${folder}/${spectrum.name}.bin.ref`, spectrum.reference.slice());
}

// A folder with the table and its patterns.
export function table_folder(client, text, patterns) {
  const folder = client.new_folder();
  client.write(`${folder}/peaks.txt`, new TextEncoder().encode(text));
  for (const pattern of patterns) client.write(`${folder}/${pattern.name}`, pattern.bytes.slice());
  return folder;
}

// {spectra, text, patterns, starts, report, slim}
//   -> {fits: [{name, ...} or {name, error}], report}; slim leaves out what files a fit has.
// Every fit is told when it is there: what is cancelled has those before.
async function fit_task(client, task, progress) {
  const { spectra } = task;
  const peaks = table_folder(client, task.text, task.patterns);
  const all = client.new_folder();
  const alone = spectra.length === 1;
  const fits = [];
  for (const [i, spectrum] of spectra.entries()) {
    const folder = alone ? all : `${all}/${spectrum.name}`;
    if (!alone) client.module.FS.mkdir(folder);
    put_spectrum(client, folder, spectrum);
    listen(client, (searches, linearizations) => progress(i, spectra.length, { searches, linearizations }));
    let fit;
    try {
      fit = { name: spectrum.name, ...client.ask("fit", { folder, name: spectrum.name, peaks: `${peaks}/peaks.txt`, starts: task.starts ?? 0 }) };
      if (task.slim) delete fit.files;
    } catch (error) {
      const text = error.message.replaceAll(`${peaks}/`, "").replaceAll(`${folder}/`, "");
      fit = { name: spectrum.name, error: text, ...rows_of_none(client, folder, spectrum.name) };
    }
    fits.push(fit);
    if (!alone && !task.report) client.remove_folder(folder);
    progress(i + 1, spectra.length, alone ? {} : { fit });
  }
  client.module.progress = null;
  const report = task.report ? client.ask("report", { folder: all, names: spectra.map((each) => each.name), peaks: `${peaks}/peaks.txt` }) : null;
  client.remove_folder(all);
  client.remove_folder(peaks);
  // of many, each was told when it was there
  return { fits: alone ? fits : null, report };
}

// The rows of both tables for a spectrum that could not be fitted.
function rows_of_none(client, folder, name) {
  const { results, quality } = client.ask("report", { folder, names: [name], page: false });
  const body = (table) => table.slice(table.indexOf("\n") + 1);
  return { results: body(results), quality_row: body(quality) };
}

const KINDS = { import: import_task, fit: fit_task };

export function run_task(client, task, progress) {
  return KINDS[task.kind](client, task, progress);
}
