// SPDX-License-Identifier: BSD-3-Clause
// check_copy.mjs -- whether docs/workbench.html is what the tree makes
//
//   node check_copy.mjs TREE [BUILT.html]
//
// Ends with 1 when the copy is not of one piece (its policy does not name its own style and script),
// when it claims to be of these sources and BUILT, of the same sources, is another page, and, with
// VAROKEL_RELEASE=1, when it is of other sources. Without that, a copy of other sources ends with
// 77: a page of 1 MB is not renewed with every change of a reader.
import { createHash } from "node:crypto";
import { existsSync, readFileSync } from "node:fs";
import { join } from "node:path";
import { digest_of_sources } from "./bundle.mjs";

const sha = (text) => `'sha256-${createHash("sha256").update(text).digest("base64")}'`;
const sources_of = (page) => /<meta name="varokel-sources" content="([0-9a-f]{64})">/.exec(page)?.[1];

// What is wrong with a page itself; empty: nothing.
export function faults_of(page) {
  const faults = [];
  const policy = /Content-Security-Policy" content="([^"]*)"/.exec(page)?.[1] ?? "";
  const style = /<style>([\s\S]*?)<\/style>/.exec(page)?.[1] ?? "";
  const script = /<script>([\s\S]*?)<\/script>/.exec(page)?.[1] ?? "";
  if (!policy.startsWith("default-src 'none';")) faults.push("its policy does not begin with default-src 'none'");
  if (!policy.includes(`script-src ${sha(script)} 'wasm-unsafe-eval'`)) faults.push("its policy names another script");
  if (!policy.includes(`style-src ${sha(style)}`)) faults.push("its policy names another style");
  if (/connect-src|https?:/.test(policy)) faults.push("its policy lets requests out");
  if (!sources_of(page)) faults.push("it does not say which sources it is of");
  return faults;
}

if (process.argv[1] === new URL(import.meta.url).pathname) {
  const [, , tree, built] = process.argv;
  const copy = readFileSync(join(tree, "docs", "workbench.html"), "utf8");
  const faults = faults_of(copy);
  const now = digest_of_sources(tree);
  const current = sources_of(copy) === now;
  if (current && built && existsSync(built)) {
    const fresh = readFileSync(built, "utf8");
    if (sources_of(fresh) === now && fresh !== copy) faults.push("a page built from the same sources is another one");
  }
  if (!current && process.env.VAROKEL_RELEASE === "1") faults.push("it is of other sources; copy build/web/varokel.html there");
  for (const fault of faults) console.log(`docs/workbench.html: ${fault}`);
  if (faults.length > 0) process.exit(1);
  if (!current) {
    console.log("skipped: docs/workbench.html is of other sources than these; a release needs build/web/varokel.html there");
    process.exit(77);
  }
  console.log("docs/workbench.html is of these sources");
}
