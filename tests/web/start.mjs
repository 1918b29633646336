// SPDX-License-Identifier: BSD-3-Clause
// start.mjs -- the module under node, from the build folder that WEB_BUILD names
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { start_module } from "../../web/page/module_client.js";
import { spectra_of } from "../../web/page/spectra.js";
import { run_task } from "../../web/page/tasks.js";

export const tree = new URL("../..", import.meta.url).pathname;
const folder = process.env.WEB_BUILD ?? `${tree}/build/web`;

// which: "varokel", with vector instructions, or "plain"
export const module_file = (which = "varokel") => `${folder}/web/${which}_module.wasm`;
export async function module_of_build(which = "varokel") {
  return start_module(createRequire(import.meta.url)(`${folder}/web/${which}_module.js`), readFileSync(module_file(which)));
}
// The task of an import of files {name, bytes}, with its spectra one by one.
export async function import_files(client, task, progress = () => {}) {
  const files = task.files.map(({ name, bytes }) => ({ name, content: new Blob([bytes]) }));
  const { packed, ...others } = await run_task(client, { kind: "import", options: {}, ...task, files }, progress);
  return { spectra: spectra_of(packed), packed, ...others };
}
// The task of a fit, with all its fits.
export async function fit_spectra(client, task, progress = () => {}) {
  const fits = [];
  const answer = await run_task(client, { kind: "fit", patterns: [], ...task }, (done, of, more) => {
    if (more.fit) fits.push(more.fit);
    progress(done, of, more);
  });
  return { fits: answer.fits ?? fits, report: answer.report };
}
export const file_of = (name, as = name.split("/").pop()) => ({ name: as, bytes: new Uint8Array(readFileSync(name)) });
export const example_file = (name, as) => file_of(`${tree}/examples/${name}`, as);
