// SPDX-License-Identifier: BSD-3-Clause
// bundle.mjs -- one HTML file of module, page and example
//
//   node bundle.mjs SOURCE_TREE MODULES OUTPUT.html
//
// MODULES is a folder with varokel_module.js and .wasm, and plain_module.js and .wasm, which are the
// same without vector instructions.
//
// The modules of page/ are joined in the order in which they need each other; their names are all
// different, so that "import" and "export" can be left out; so are lines that
// are comments. The policy of the page names style and script by their digests and forbids everything else.
import { createHash } from "node:crypto";
import { readdirSync, readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { gzipSync } from "node:zlib";
import { text_of_85 } from "./page/base85.js";

const ENTRY = "main.js";

export function joined_modules(folder) {
  const texts = new Map(readdirSync(folder).filter((name) => name.endsWith(".js"))
    .map((name) => [name, readFileSync(join(folder, name), "utf8")]));
  const done = [], names = new Map();
  const visit = (name) => {
    if (done.some((each) => each.name === name)) return;
    const text = texts.get(name);
    if (text === undefined) throw new Error(`${name}: no such module`);
    const needs = [...text.matchAll(/^import \{[^}]*\} from "\.\/([\w.]+)";$/gm)].map((found) => found[1]);
    for (const need of needs) visit(need);
    for (const [, own] of text.matchAll(/^(?:export )?(?:async )?(?:function|class|const|let) (\w+)/gm)) {
      if (names.has(own)) throw new Error(`${name}: ${own} is also in ${names.get(own)}`);
      names.set(own, name);
    }
    done.push({ name, text });
  };
  visit(ENTRY);
  const unused = [...texts.keys()].filter((name) => !done.some((each) => each.name === name));
  if (unused.length > 0) throw new Error(`nothing needs ${unused.join(", ")}`);
  return done.map(({ name, text }) => `// ---- ${name}\n` + text.replace(/^ *\/\/.*\n/gm, "")
    .replace(/^import .*;\n/gm, "").replace(/^export /gm, "")).join("\n");
}

// Of everything that the page is made of, name by name.
export function digest_of_sources(tree) {
  const hash = createHash("sha256");
  const walk = (folder) => {
    for (const entry of readdirSync(join(tree, folder), { withFileTypes: true }).sort((a, b) => (a.name < b.name ? -1 : 1))) {
      const path = `${folder}/${entry.name}`;
      if (entry.isDirectory()) walk(path);
      else if (!entry.name.endsWith(".md")) hash.update(path + "\0").update(readFileSync(join(tree, path))).update("\0");
    }
  };
  for (const folder of ["engine", "files", "kernel", "third_party/musl_math", "third_party/uplot", "web"]) walk(folder);
  for (const file of EXAMPLE) hash.update(readFileSync(join(tree, file)));
  const version = /project\(varokel VERSION ([\d.]+)/.exec(readFileSync(join(tree, "CMakeLists.txt"), "utf8"))[1];
  return hash.update(version).digest("hex");
}

const EXAMPLE = ["examples/p31_brain/p31_brain.fid.f32", "examples/p31_brain/p31_brain.fid.json", "examples/p31_brain/peaks.txt"];
const sha = (text) => `'sha256-${createHash("sha256").update(text).digest("base64")}'`;
const block = (id, type, text) => `<script type="${type}" id="${id}">${text}</script>\n`;

export function page_text(tree, glue, wasm, plain_wasm) {
  const folder = join(tree, "web", "page");
  const script = `"use strict";\n${glue}\n(() => {\n${joined_modules(folder)}\nrun_page(make_varokel);\n})();\n`;
  if (/<\/script/i.test(script)) throw new Error("the script ends its own element");
  const style = readFileSync(join(tree, "files", "pages", "report.css"), "utf8") + readFileSync(join(folder, "style.css"), "utf8");
  const example = EXAMPLE.map((file) => ({ name: file.split("/").pop(), bytes: readFileSync(join(tree, file)).toString("base64") }));
  const policy = `default-src 'none'; script-src ${sha(script)} 'wasm-unsafe-eval'; style-src ${sha(style)}; ` +
    "worker-src blob:; img-src blob: data:; base-uri 'none'; form-action 'none'";
  return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n" +
    `<meta http-equiv="Content-Security-Policy" content="${policy}">\n` +
    "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n" +
    `<meta name="varokel-sources" content="${digest_of_sources(tree)}">\n` +
    `<title>varokel workbench</title>\n<style>${style}</style>\n</head>\n<body>\n` +
    readFileSync(join(folder, "page.html"), "utf8") +
    block("module", "application/gzip", text_of_85(gzipSync(wasm, { level: 9 }))) +
    block("plain-module", "application/gzip", text_of_85(gzipSync(plain_wasm, { level: 9 }))) +
    block("example-files", "application/json", JSON.stringify(example)) +
    `<script>${script}</script>\n</body>\n</html>\n`;
}

if (process.argv[1] === new URL(import.meta.url).pathname) {
  const [, , tree, modules, output] = process.argv;
  const glue = (name) => readFileSync(join(modules, `${name}_module.js`), "utf8").replaceAll(`${name}_module`, "module");
  if (glue("varokel") !== glue("plain")) throw new Error("the modules are called in different ways");
  const wasm = ["varokel", "plain"].map((name) => readFileSync(join(modules, `${name}_module.wasm`)));
  writeFileSync(output, page_text(tree, glue("varokel"), ...wasm));
}
