// SPDX-License-Identifier: BSD-3-Clause
// browser.test.mjs -- the page in one browser, part by part
import { after, before } from "node:test";
import { begin, end } from "./browser.mjs";

before(begin);
after(end);
await import("./parts/opening.mjs");
await import("./parts/table.mjs");
await import("./parts/hands.mjs");
await import("./parts/fits.mjs");
await import("./parts/series.mjs");
await import("./parts/files.mjs");
await import("./parts/looks.mjs");
await import("./parts/walks.mjs");
