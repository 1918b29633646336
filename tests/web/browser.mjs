// SPDX-License-Identifier: BSD-3-Clause
// browser.mjs -- varokel.html opened from disk in a real browser, and hands for it
//
// DRIVER names the folder with playwright-core, BROWSER "chromium" or "firefox", PROGRAM its program,
// WEB_BUILD the folder of varokel.html, SHOTS (may be missing) a folder for pictures of each state.
// A Firefox as it is installed is driven by WebDriver BiDi.
import assert from "node:assert/strict";
import { existsSync, mkdirSync, readFileSync, rmSync, statSync } from "node:fs";
import { createRequire } from "node:module";
import { join } from "node:path";
import { own_folder } from "./own_folder.mjs";
import { tree } from "./start.mjs";

const driver = createRequire(join(process.env.DRIVER, "x.js"))("playwright-core");
export const is_firefox = process.env.BROWSER === "firefox";
export const page_file = `file://${process.env.WEB_BUILD}/varokel.html`;
export const example = (name) => join(tree, "examples", name);
export const grid_file = (name) => join(process.env.GRID, name); // made by the script that runs this

const downloads = own_folder();

// What the tests of a run share; page: the one that most of them use.
export const now = { browser: null, page: null, troubles: [], requests: [] };

// Words of the browser about what the driver itself does: it stills the page's animations by a style
// of its own before a picture, which the page's policy refuses.
const of_the_driver = (text) => is_firefox && /blocked an inline style \(style-src-elem\)/.test(text);

export async function open_page(options = {}, browser = now.browser) {
  const context = await browser.newContext({ viewport: { width: 1280, height: 900 }, acceptDownloads: true, ...options });
  const fresh = await context.newPage();
  const trouble = (text) => of_the_driver(text) || now.troubles.push(text);
  fresh.on("pageerror", (error) => trouble(error.message));
  fresh.on("console", (message) => message.type() === "error" && trouble(message.text()));
  fresh.on("request", (request) => now.requests.push(request.url()));
  await fresh.goto(page_file);
  await ready(fresh);
  return fresh;
}
export const ready = (page = now.page) =>
  page.waitForFunction(() => document.documentElement.dataset.ready === "yes", null, { timeout: 60000 });
export function launch(...words) {
  // The panel of downloads takes the focus from the page, whose buttons Enter does not press then. Twenty
  // pictures a second are enough: this one draws them by the processor.
  const own = is_firefox ? { channel: "moz-firefox", downloadsPath: downloads, firefoxUserPrefs: { "browser.download.alwaysOpenPanel": false, "layout.frame_rate": 20 } } : { args: ["--no-sandbox", ...words] };
  return driver[is_firefox ? "firefox" : "chromium"].launch({ executablePath: process.env.PROGRAM, ...own });
}
export async function begin() {
  now.browser = await launch();
  now.page = await open_page();
}
export async function end() {
  await now.browser?.close();
}

export async function shot(name, of = now.page) {
  if (!process.env.SHOTS) return;
  mkdirSync(process.env.SHOTS, { recursive: true });
  await of.screenshot({ path: join(process.env.SHOTS, `${name}.png`) });
}

// ---- what the page has ----

export const text_of = () => now.page.inputValue("#text");
export const status = () => now.page.textContent("#status");
export const row_of = async (name) => (await text_of()).split("\n").find((line) => line.startsWith(`${name} `));
export const bench = (act, argument) => now.page.evaluate(`(${act})(window.varokel.bench, ${JSON.stringify(argument ?? null)})`);
// Waits until a condition of the page holds: a function of its bench. (The driver's own way to wait for a
// text of JavaScript would need the policy to allow it.)
export async function until(condition, argument, most = 60000) {
  for (const begin = Date.now(); !(await bench(condition, argument)); await now.page.waitForTimeout(20))
    if (Date.now() - begin > most) throw new Error(`never: ${condition}`);
}
export const idle = () => now.page.waitForFunction(() => !window.varokel.busy, null, { timeout: 120000 });

// Where a handle of a line is on the screen.
export const handle = (name, kind = "line") => now.page.evaluate(([name, kind]) => {
  const { bench, screen } = window.varokel;
  const k = bench.entries.findIndex((entry) => entry.name === name);
  const scene = screen.scene(), box = screen.canvas.getBoundingClientRect();
  const point = bench.curves.values[k][1], curve = bench.curves.components[k], i = Math.floor(point);
  const height = curve[i] + (point - i) * (curve[i + 1] - curve[i]);
  return kind === "width" ? { x: box.x + scene.axis.x(point + scene.half_width(k)), y: box.y + scene.y(height / 2) }
    : { x: box.x + scene.axis.x(point), y: box.y + scene.y(height) };
}, [name, kind]);

// Waits until the browser's storage has this text of the table, and a spectrum.
export const kept = (text) => now.page.waitForFunction((text) => Object.keys(localStorage).some((key) => {
  try {
    const own = JSON.parse(localStorage.getItem(key));
    return own.text === text && own.spectra.length > 0;
  } catch { return false; }
}), text);

// ---- hands ----

export async function drag(from, dx, dy) {
  const { mouse } = now.page;
  await mouse.move(from.x, from.y);
  await mouse.down();
  const { width, height } = now.page.viewportSize(); // which nothing can leave
  const inside = (value, most) => Math.min(Math.max(1, value), most - 1);
  await mouse.move(inside(from.x + dx, width), inside(from.y + dy, height), { steps: 3 });
  await mouse.up();
}
// Text into a field, at once; this driver would type it into Firefox key by key.
export async function fill(field, text) {
  if (!is_firefox) return now.page.fill(field, text);
  return now.page.locator(field).evaluate((node, text) => {
    node.focus();
    node.value = text;
    node.dispatchEvent(new InputEvent("input", { bubbles: true }));
    node.dispatchEvent(new Event("change", { bubbles: true }));
  }, text);
}
// Two clicks at one place. That they are one double click, this driver does not tell Firefox.
export async function double_click(x, y) {
  await now.page.mouse.dblclick(x, y);
  if (is_firefox)
    await now.page.evaluate(([x, y]) => document.elementFromPoint(x, y)?.dispatchEvent(new MouseEvent("dblclick", { clientX: x, clientY: y, bubbles: true, detail: 2 })), [x, y]);
}
export async function open_files(...files) { await now.page.setInputFiles("#file-input", files); }
export async function load_example() {
  await now.page.bringToFront(); // a page behind another gets no frames in Firefox, and slow timers
  await now.page.click("#example");
  await now.page.waitForFunction(() => window.varokel.bench.entries.length === 16 && !window.varokel.busy);
}
export async function fit() {
  await now.page.click("#fit");
  await now.page.waitForFunction(() => window.varokel.bench.fit && !window.varokel.busy, null, { timeout: 60000 });
}
export async function saved(name) {
  await now.page.click("#tab-save");
  const button = `[data-save="${name}"]`;
  if (!is_firefox) {
    const [file] = await Promise.all([now.page.waitForEvent("download", { timeout: 60000 }), now.page.click(button)]);
    assert.equal(file.suggestedFilename(), name);
    return readFileSync(await file.path());
  }
  // of Firefox the driver hears nothing: the file itself is waited for, whole when its part is gone
  const path = join(downloads, name);
  rmSync(path, { force: true });
  await now.page.click(button);
  const is_whole = () => existsSync(path) && !existsSync(`${path}.part`) && statSync(path).size > 0;
  for (let i = 0; i < 3000 && !is_whole(); ++i) await now.page.waitForTimeout(20);
  return readFileSync(path);
}
