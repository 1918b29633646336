// SPDX-License-Identifier: BSD-3-Clause
// module_client.js -- questions to the WebAssembly module, and its storage of files

// make: the function that emscripten's file defines; bytes: of the module.
export async function start_module(make, bytes) {
  return new ModuleClient(await make({ wasmBinary: bytes, print() {}, printErr() {} }));
}

export class ModuleClient {
  constructor(module) {
    this.module = module;
    this.folders = 0;
  }

  // The answer, or an Error with the module's sentence, without the folders of this storage.
  ask(name, about = {}) {
    const text = this.module.ccall("varokel_ask", "string", ["string", "string"],
      [name, JSON.stringify(about)]);
    const answer = JSON.parse(text);
    if (answer.error !== undefined) throw new Error(answer.error.replaceAll(/\/work\d+\//g, ""));
    return answer.value;
  }

  // A copy of an array that an answer names.
  array(named) {
    return named ? this.module.HEAPF64.slice(named.at / 8, named.at / 8 + named.length) : null;
  }

  new_folder() {
    const folder = `/work${++this.folders}`;
    this.module.FS.mkdir(folder);
    return folder;
  }
  write(file, content) { this.module.FS.writeFile(file, content, { canOwn: true }); }
  read(file) { return this.module.FS.readFile(file); }
  has(file) { return this.module.FS.analyzePath(file).exists; }
  size(file) { return this.has(file) ? this.module.FS.stat(file).size : 0; }
  // Its content, once; null when there is none.
  take(file) {
    if (!this.has(file)) return null;
    const content = this.read(file);
    this.module.FS.unlink(file);
    return content;
  }
  list(folder) { return this.module.FS.readdir(folder).filter((name) => name !== "." && name !== ".."); }

  remove_folder(folder) {
    const fs = this.module.FS;
    for (const name of this.list(folder)) {
      const path = `${folder}/${name}`;
      if (fs.isDir(fs.stat(path).mode)) this.remove_folder(path);
      else fs.unlink(path);
    }
    fs.rmdir(folder);
  }
}

// {text, line, column} of "peaks.txt:LINE:COLUMN: text"; line 0 where none is named.
export function place_of_error(message) {
  const found = /^peaks\.txt(?::(\d+))?(?::(\d+))?: (.*)$/s.exec(message);
  if (!found) return { text: message, line: 0, column: 0 };
  return { text: found[3], line: Number(found[1] ?? 0), column: Number(found[2] ?? 0) };
}
