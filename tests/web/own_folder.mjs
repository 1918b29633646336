// SPDX-License-Identifier: BSD-3-Clause
// own_folder.mjs -- folders for a test's files, which go with its process
import { mkdtempSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";

const made = [];
process.on("exit", () => made.forEach((folder) => rmSync(folder, { recursive: true, force: true })));

// A new empty folder, removed when this process ends.
export function own_folder() {
  const folder = mkdtempSync(join(tmpdir(), "varokel-web-"));
  made.push(folder);
  return folder;
}
