// SPDX-License-Identifier: BSD-3-Clause
// main.js -- where the script begins: as a page, or as the worker of one
import { App } from "./app.js";
import { bytes_of_text } from "./autosave.js";
import { bytes_of_85 } from "./base85.js";
import { by_id } from "./dom.js";
import { start_module } from "./module_client.js";
import { serve_tasks, TaskRunner } from "./worker.js";

// A function that returns a vector: what has no vector instructions refuses it.
const VECTORS = [0, 97, 115, 109, 1, 0, 0, 0, 1, 5, 1, 96, 0, 1, 123, 3, 2, 1, 0, 10, 10, 1, 8, 0, 65, 0, 253, 15, 253, 98, 11];

async function module_bytes() {
  const has_vectors = WebAssembly.validate(new Uint8Array(VECTORS));
  document.documentElement.dataset.module = has_vectors ? "vectors" : "plain";
  const packed = new Blob([bytes_of_85(by_id(has_vectors ? "module" : "plain-module").textContent)]);
  return new Response(packed.stream().pipeThrough(new DecompressionStream("gzip"))).arrayBuffer();
}

function example_files() {
  const files = JSON.parse(by_id("example-files").textContent);
  const text = new TextDecoder().decode(bytes_of_text(files.pop().bytes));
  return { text, files: files.map((file) => ({ name: file.name, content: new Blob([bytes_of_text(file.bytes)]) })) };
}

// A browser may refuse storage to a file that was opened from disk.
function page_storage() {
  try {
    return window.localStorage;
  } catch {
    return { getItem: () => null, removeItem() {}, setItem() { throw new Error("no storage"); } };
  }
}

export async function run_page(make) {
  if (typeof document === "undefined") {
    serve_tasks(self, make);
    return;
  }
  const own = document.currentScript.textContent;
  try {
    const bytes = await module_bytes();
    const client = await start_module(make, bytes);
    const url = URL.createObjectURL(new Blob([own], { type: "text/javascript" }));
    const runner = new TaskRunner(() => new Worker(url), bytes);
    window.varokel = new App(client, runner, example_files, page_storage());
    document.documentElement.dataset.ready = "yes";
  } catch (error) {
    by_id("status").textContent = `This browser cannot run the page (${error.message}). It needs WebAssembly with ` +
      "exceptions, and unpacks by itself: Chromium 95, Firefox 113, Safari 16.4 or later.";
    by_id("status").classList.add("bad");
  }
}
