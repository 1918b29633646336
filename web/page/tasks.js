// SPDX-License-Identifier: BSD-3-Clause
// tasks.js -- the long work, which a worker does with a module of its own: import, fit, report
//
// A task takes everything that it needs and keeps nothing, so a worker may be ended at any time.

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

async function unpacked(file) {
  const bytes = new Uint8Array(file.bytes);
  if (bytes[0] !== GZIP[0] || bytes[1] !== GZIP[1]) return { name: plain_name(file.name), bytes };
  let whole;
  try {
    whole = await gunzip(bytes);
  } catch {
    throw new Error(`${file.name}: is packed by gzip, and ends too early or is damaged`);
  }
  return { name: plain_name(file.name).replace(/\.gz$/i, ""), bytes: whole };
}

// {files: [{name, bytes}], inputs: [name], options, table} -> {spectra, said}; the table may name a
// line that sets the ppm axis
async function import_task(client, task, progress) {
  const folder = client.new_folder();
  const renamed = new Map();
  for (const file of task.files) {
    const plain = await unpacked(file);
    renamed.set(file.name, plain.name);
    client.write(`${folder}/${plain.name}`, plain.bytes);
  }
  const spectra = [], said = [];
  for (const [i, input] of task.inputs.entries()) {
    progress(i, task.inputs.length);
    const out = client.new_folder();
    const options = { ...task.options };
    if (options.reference) options.reference = `${folder}/${renamed.get(options.reference) ?? options.reference}`;
    const about = { ...options, input: `${folder}/${renamed.get(input)}`, folder: out };
    if (task.table) about.table = task.table;
    const made = client.ask("import", about);
    said.push(...made.said.map((text) => text.replaceAll(`${folder}/`, "").replaceAll(`${out}/`, "")));
    for (const name of made.names) {
      const reference = `${out}/${name}.bin.ref`;
      spectra.push({
        name, input,
        bin: client.read(`${out}/${name}.bin`),
        json: new TextDecoder().decode(client.read(`${out}/${name}.json`)),
        reference: client.has(reference) ? client.read(reference) : null,
      });
    }
    client.remove_folder(out);
  }
  client.remove_folder(folder);
  return { spectra, said };
}

function put_spectrum(client, folder, spectrum) {
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

// {spectra, text, patterns, starts, report} -> {fits: [{name, ...} or {name, error}], report}
async function fit_task(client, task, progress) {
  const peaks = table_folder(client, task.text, task.patterns);
  const all = client.new_folder();
  const alone = task.spectra.length === 1;
  const fits = [];
  for (const [i, spectrum] of task.spectra.entries()) {
    const folder = alone ? all : `${all}/${spectrum.name}`;
    if (!alone) client.module.FS.mkdir(folder);
    put_spectrum(client, folder, spectrum);
    try {
      fits.push({ name: spectrum.name, ...client.ask("fit",
        { folder, name: spectrum.name, peaks: `${peaks}/peaks.txt`, starts: task.starts ?? 0 }) });
    } catch (error) {
      const text = error.message.replaceAll(`${peaks}/`, "").replaceAll(`${folder}/`, "");
      fits.push({ name: spectrum.name, error: text });
    }
    progress(i + 1, task.spectra.length);
  }
  const report = task.report
    ? client.ask("report", { folder: all, names: task.spectra.map((each) => each.name) }) : null;
  client.remove_folder(all);
  client.remove_folder(peaks);
  return { fits, report };
}

const KINDS = { import: import_task, fit: fit_task };

export function run_task(client, task, progress) {
  return KINDS[task.kind](client, task, progress);
}
