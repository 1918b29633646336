// SPDX-License-Identifier: BSD-3-Clause
// start.mjs -- the module under node, from the build folder that WEB_BUILD names
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { start_module } from "../../web/page/module_client.js";

export const tree = new URL("../..", import.meta.url).pathname;
const folder = process.env.WEB_BUILD ?? `${tree}/build/web`;

export async function module_of_build() {
  const make = createRequire(import.meta.url)(`${folder}/web/varokel_module.js`);
  return start_module(make, readFileSync(`${folder}/web/varokel_module.wasm`));
}
export const file_of = (name, as = name.split("/").pop()) => ({ name: as, bytes: new Uint8Array(readFileSync(name)) });
export const example_file = (name, as) => file_of(`${tree}/examples/${name}`, as);
