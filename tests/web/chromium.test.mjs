// SPDX-License-Identifier: BSD-3-Clause
// chromium.test.mjs -- varokel.html opened from disk in a real browser, by hand and by mistake
//
// DRIVER names the folder with playwright-core, CHROMIUM the browser, WEB_BUILD the folder of
// varokel.html, SHOTS (may be missing) a folder for pictures of each state.
import assert from "node:assert/strict";
import { mkdirSync, mkdtempSync, readFileSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { tmpdir } from "node:os";
import { join } from "node:path";
import test, { after, before } from "node:test";
import { gzipSync } from "node:zlib";
import { tree } from "./start.mjs";

const { chromium } = createRequire(join(process.env.DRIVER, "x.js"))("playwright-core");
const WALKS = Number(process.env.WALKS ?? 100);
const page_file = `file://${process.env.WEB_BUILD}/varokel.html`;
const example = (name) => join(tree, "examples", name);
let browser, page, troubles, requests;

async function open_page(options = {}) {
  const context = await browser.newContext({ viewport: { width: 1280, height: 900 }, acceptDownloads: true, ...options });
  const fresh = await context.newPage();
  fresh.on("pageerror", (error) => troubles.push(error.message));
  fresh.on("console", (message) => message.type() === "error" && troubles.push(message.text()));
  fresh.on("request", (request) => requests.push(request.url()));
  await fresh.goto(page_file);
  await fresh.waitForFunction(() => document.documentElement.dataset.ready === "yes", null, { timeout: 60000 });
  return fresh;
}
const shot = async (name, of = page) => {
  if (!process.env.SHOTS) return;
  mkdirSync(process.env.SHOTS, { recursive: true });
  await of.screenshot({ path: join(process.env.SHOTS, `${name}.png`) });
};
const text_of = () => page.inputValue("#text");
const status = () => page.textContent("#status");
const row_of = async (name) => (await text_of()).split("\n").find((line) => line.startsWith(`${name} `));
const bench = (act, argument) => page.evaluate(`(${act})(window.varokel.bench, ${JSON.stringify(argument ?? null)})`);

// Where a handle is on the screen.
const handle = (name, kind = "line") => page.evaluate(([name, kind]) => {
  const { bench, screen } = window.varokel;
  const k = bench.entries.findIndex((entry) => entry.name === name);
  const scene = screen.scene(), box = screen.canvas.getBoundingClientRect();
  const point = bench.curves.values[k][1], curve = bench.curves.components[k], i = Math.floor(point);
  const height = curve[i] + (point - i) * (curve[i + 1] - curve[i]);
  return kind === "width" ? { x: box.x + scene.axis.x(point + scene.half_width(k)), y: box.y + scene.y(height / 2) }
    : { x: box.x + scene.axis.x(point), y: box.y + scene.y(height) };
}, [name, kind]);
async function drag(from, dx, dy) {
  await page.mouse.move(from.x, from.y);
  await page.mouse.down();
  await page.mouse.move(from.x + dx, from.y + dy, { steps: 8 });
  await page.mouse.up();
}
async function load_example() {
  await page.click("#example");
  await page.waitForFunction(() => window.varokel.bench.entries.length === 16 && !window.varokel.busy);
}
async function fit() {
  await page.click("#fit");
  await page.waitForFunction(() => window.varokel.bench.fit && !window.varokel.busy, null, { timeout: 60000 });
}
async function saved(name) {
  await page.click("#tab-save");
  const [file] = await Promise.all([page.waitForEvent("download", { timeout: 60000 }), page.click(`[data-save="${name}"]`)]);
  assert.equal(file.suggestedFilename(), name);
  return readFileSync(await file.path());
}

before(async () => {
  troubles = [];
  requests = [];
  browser = await chromium.launch({ executablePath: process.env.CHROMIUM, args: ["--no-sandbox"] });
  page = await open_page();
});
after(async () => browser?.close());

test("the page asks for nothing but itself, and its policy forbids the rest", async () => {
  await load_example();
  await fit();
  assert.deepEqual(requests.filter((url) => url !== page_file && !url.startsWith("blob:")), []);
  const tried = await page.evaluate(async () => {
    const broken = [];
    document.addEventListener("securitypolicyviolation", (event) => broken.push(event.violatedDirective));
    const fetched = await fetch("https://example.org/x").then(() => "went out", () => "forbidden");
    const image = document.createElement("img");
    image.src = "https://example.org/x.png";
    document.body.append(image);
    const script = document.createElement("script");
    script.textContent = "window.foreign = 1";
    document.body.append(script);
    const sent = navigator.sendBeacon("https://example.org/x", "data");
    await new Promise((resolve) => setTimeout(resolve, 300));
    image.remove();
    return { fetched, foreign: window.foreign ?? null, broken, sent };
  });
  assert.equal(tried.fetched, "forbidden");
  assert.equal(tried.foreign, null);
  for (const what of ["connect-src", "img-src", "script-src-elem"]) assert.ok(tried.broken.includes(what), `${what} in ${tried.broken}`);
  troubles.length = 0; // the browser's words about these attempts
});

test("the example is read, fitted and said what is to be doubted", async () => {
  await shot("fitted");
  if (process.env.SHOTS) await page.screenshot({ path: join(process.env.SHOTS, "workbench.jpg"), type: "jpeg", quality: 75 }); // docs/
  assert.match(await page.textContent("#pane-result"), /several_minima/);
  assert.match(await page.textContent("#values"), /PCr/);
  const optimum = JSON.parse((await saved("optimum.json")).toString());
  assert.equal(optimum.form, "varokel optimum 1");
  assert.deepEqual(troubles, []);
});

test("a dot is dragged: the text follows when the hand lets go, and undo takes it back", async () => {
  await load_example();
  const whole = await text_of();
  const from = await handle("PCr");
  await page.mouse.move(from.x, from.y);
  await page.mouse.down();
  await page.mouse.move(from.x + 25, from.y + 60, { steps: 8 });
  assert.equal(await text_of(), whole);
  await shot("dragged");
  await page.mouse.up();
  const [, , area, frequency] = (await row_of("PCr")).split(/\s{2,}/);
  assert.ok(Number(area) < 4 && Number(area) > 1, area);
  assert.ok(Number(frequency) < -0.3, frequency);
  const ring = await handle("PCr", "width");
  await drag(ring, (await handle("PCr")).x < ring.x ? 30 : -30, 0);
  const width = (await row_of("PCr")).split(/\s{2,}/)[4];
  assert.ok(Number(width) > 20, width);
  await page.focus("#plot");
  for (let i = 0; i < 4 && (await text_of()) !== whole; ++i) await page.keyboard.press("Control+z");
  assert.equal(await text_of(), whole);
  await page.keyboard.press("Control+Shift+z");
  assert.notEqual(await text_of(), whole);
  await page.keyboard.press("Control+z");
});

test("lines are added by double click, made a multiplet, tied by picking, and removed", async () => {
  await page.click("#tab-text");
  await page.fill("#text", "");
  await page.click("#tab-lines");
  await page.click("#whole");
  const box = await page.locator("#plot").boundingBox();
  await page.mouse.dblclick(box.x + box.width * 0.5, box.y + 120);
  await page.waitForFunction(() => window.varokel.bench.entries.length === 1);
  await page.click("#mode-add");
  await page.mouse.click(box.x + box.width * 0.6, box.y + 150);
  await page.waitForFunction(() => window.varokel.bench.entries.length === 2);
  await page.selectOption("#multi-n", "3");
  await page.fill("#multi-j", "17.5");
  await page.click("#multiplet");
  await page.waitForFunction(() => window.varokel.bench.entries.length === 4);
  assert.match(await text_of(), /L2_3 .*=L2 - 35 Hz/);
  await page.selectOption("#tie-column", "width");
  await page.selectOption("#tie-how", "equal");
  await page.click("#tie");
  const at = await handle("L1");
  await page.mouse.click(at.x, at.y);
  await page.waitForFunction(() => window.varokel.bench.entries[1].of.lorentz.state === "tied");
  await shot("built");
  assert.equal(await page.locator("#error").isVisible(), false);
  await page.focus("#plot");
  const before = await text_of();
  await page.keyboard.press("p");
  await page.keyboard.press("Alt+ArrowLeft");
  await page.waitForTimeout(500);
  assert.notEqual(await text_of(), before);
  await page.keyboard.press("Delete");
  await page.waitForFunction(() => window.varokel.bench.entries.length === 3);
  await fit();
  assert.match(await page.textContent("#pane-result"), /quality/);
});

test("edges of noise window and interval are dragged into the table", async () => {
  await load_example();
  await page.click("#whole");
  const edge = await page.evaluate(() => {
    const { screen, bench } = window.varokel;
    const scene = screen.scene(), box = screen.canvas.getBoundingClientRect();
    return { noise: box.x + scene.axis.x(bench.table.noise[0]), interval: box.x + scene.axis.x(bench.table.intervals[0][1]), y: box.y + scene.layout.top + 5 };
  });
  await drag({ x: edge.noise, y: edge.y }, 20, 0);
  assert.match(await text_of(), /noise: \d+ to 829 points/);
  await drag({ x: edge.interval, y: edge.y }, 15, 0);
  assert.match(await text_of(), /interval: 266 to \d+ points/);
  await bench((b) => { b.undo(); b.undo(); });
});

test("a mistake in the text is named with its place, and what was drawn stays in reach", async () => {
  await page.click("#tab-text");
  const whole = await text_of();
  await page.fill("#text", whole.replace("4.37", "4,37"));
  assert.match(await page.textContent("#error"), /^Line \d+, column \d+: found ",37"/);
  await shot("mistake");
  await page.click("#fit");
  assert.match(await status(), /table has an error/);
  await page.fill("#text", whole);
  assert.equal(await page.locator("#error").isVisible(), false);
});

test("an accepted fit is in the table; going back leaves it alone", async () => {
  const whole = await text_of();
  await fit();
  await page.click("#pane-result button:has-text('Go back')");
  assert.equal(await text_of(), whole);
  await fit();
  await page.click("#pane-result button:has-text('Accept')");
  assert.notEqual(await text_of(), whole);
  assert.ok((await bench((b) => b.curves.quality)) < 1.2);
  await bench((b) => b.undo());
});

test("everything can be taken away", async () => {
  await load_example();
  await fit();
  assert.equal((await saved("peaks.txt")).toString(), await text_of());
  assert.match((await saved("start.par")).toString(), /entry 10 PCr/);
  assert.match((await saved("result.par")).toString(), /entry 10 PCr/);
  assert.equal((await saved("results.tsv")).toString().split("\n").length, 18);
  const svg = (await saved("picture.svg")).toString();
  assert.match(svg, /^<svg [\s\S]*<polyline[\s\S]*<\/svg>\n$/);
  const png = await saved("picture.png");
  assert.equal(png.subarray(1, 4).toString(), "PNG");
  assert.match((await saved("report.html")).toString(), /Content-Security-Policy[\s\S]*PCr/);
  assert.equal(await page.textContent("#command"), "varokel-fit p31_brain.fid.f32 peaks.txt -o run --method exact");
});

test("files come by the button, packed and with a sidecar; damaged ones leave the work alone", async () => {
  const folder = mkdtempSync(join(tmpdir(), "varokel-web-"));
  const put = (name, bytes) => { writeFileSync(join(folder, name), bytes); return join(folder, name); };
  await page.setInputFiles("#file-input", [example("c13_kidney/c13_kidney.fid.f32"), example("c13_kidney/c13_kidney.fid.json"), example("c13_kidney/peaks.txt")]);
  await page.waitForFunction(() => window.varokel.bench.entries.length === 4);
  const packed = put("xe.fid.f32.gz", gzipSync(readFileSync(example("xe129_lung/xe129_lung.fid.f32"))));
  const beside = put("xe.fid.json", readFileSync(example("xe129_lung/xe129_lung.fid.json")));
  await page.setInputFiles("#file-input", [packed, beside, example("xe129_lung/peaks.txt")]);
  await page.waitForFunction(() => window.varokel.bench.spectrum.name === "xe" && !window.varokel.bench.error);
  const whole = await text_of();
  for (const [name, bytes] of [["cut.nii", readFileSync(page_file.slice(7)).subarray(0, 500)], ["cut.nii.gz", gzipSync(Buffer.alloc(5000)).subarray(0, 30)],
    ["none.dcm", Buffer.from("DICM")], ["empty.f32", Buffer.alloc(0)], ["odd.f32", Buffer.alloc(13)], ["nan.f32", Buffer.alloc(64, 0xff)], ["alone.json", Buffer.from("{}")],
    ["deep.json", Buffer.from("[".repeat(100000))], ["words.txt", Buffer.from("hello\nworld\n")], ["x.rda", Buffer.from("<img src=x onerror=alert(1)>")]]) {
    await page.evaluate(() => window.varokel.say(""));
    await page.setInputFiles("#file-input", [put(name, bytes)]);
    await page.waitForFunction(() => document.getElementById("status").classList.contains("bad") && !window.varokel.busy, null, { timeout: 20000 });
    assert.ok((await status()).length > 10, name);
    assert.equal(await text_of(), whole);
  }
  await shot("damaged");
  assert.deepEqual(troubles, []);
});

test("a grid has a map, is fitted as a whole, and the fit is cancelled by its button", async () => {
  const grid = process.env.GRID; // simulated by the script that runs this
  await page.setInputFiles("#file-input", [join(grid, "grid.nii"), join(grid, "peaks.txt")]);
  await page.waitForFunction(() => window.varokel.bench.spectra.length === 12 && !window.varokel.bench.error);
  assert.equal(await page.locator("#map button").count(), 12);
  await page.click("#map button >> nth=5");
  assert.equal(await bench((b) => b.current), 5);
  await page.click("#fit-all");
  await page.waitForFunction(() => window.varokel.result.series && !window.varokel.busy, null, { timeout: 120000 });
  assert.equal(await page.locator("#series tbody tr").count(), 12);
  await shot("grid");
  await bench((b) => b.forget_fit());
  await page.evaluate(() => { window.varokel.guard(() => window.varokel.fit_all()); window.varokel.runner.cancel(); });
  await page.waitForFunction(() => !window.varokel.busy);
  assert.match(await status(), /Cancelled/);
  await fit();
});

test("the work comes back after a crash, and is gone once it is erased", async () => {
  await load_example();
  await bench((b) => b.edit({ edit: "key", key: "strategy", value: "quick" }));
  const whole = await text_of();
  await page.waitForTimeout(700);
  const ready = () => page.waitForFunction(() => document.documentElement.dataset.ready === "yes", null, { timeout: 60000 });
  await page.reload();
  await ready();
  assert.equal(await text_of(), whole);
  assert.equal(await bench((b) => b.entries.length), 16);
  await page.click("#tab-save");
  await page.click("#erase");
  await page.reload();
  await ready();
  assert.equal(await bench((b) => b.spectra.length), 0);
});

test("the tour ends where it should, and the page reads at 400 pixels, dark and light", async () => {
  await page.click("#tour");
  for (let step = 0; step < 7; ++step) {
    await page.waitForFunction((step) => document.getElementById("guide-text").textContent.startsWith(`${step + 1} of 7`) && !window.varokel.busy, step);
    await page.click("#guide-next");
  }
  await page.waitForFunction(() => document.getElementById("guide").hidden);
  for (const colorScheme of ["light", "dark"]) {
    await page.emulateMedia({ colorScheme });
    for (const width of [1280, 400]) {
      await page.setViewportSize({ width, height: 900 });
      for (const tab of ["lines", "text", "result", "file", "save"]) {
        await page.click(`#tab-${tab}`);
        assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth), `${tab} fits ${width} pixels`);
        await page.waitForTimeout(80);
        await shot(`${tab}-${width}-${colorScheme}`);
      }
    }
  }
  await page.setViewportSize({ width: 1280, height: 900 });
  const nameless = await page.evaluate(() => [...document.querySelectorAll("button, input, select, textarea, canvas")]
    .filter((each) => !(each.getAttribute("aria-label") || each.textContent.trim() || each.labels?.length || each.title)).map((each) => each.id || each.outerHTML));
  assert.deepEqual(nameless, []);
  assert.deepEqual(troubles, []);
});

test("model and residual follow the hand: 20 lines, 4,096 points, a frame in 33 ms", async () => {
  const folder = process.env.GRID;
  await page.setInputFiles("#file-input", [join(folder, "wide.f32"), join(folder, "wide.json"), join(folder, "twenty.txt")]);
  await page.waitForFunction(() => window.varokel.bench.entries.length === 20 && window.varokel.bench.about.points === 4096);
  const took = await page.evaluate(() => {
    const { bench, screen } = window.varokel, all = [];
    for (let i = 0; i < 40; ++i) {
      const begin = performance.now();
      bench.move(7, "frequency", (value) => value + (i % 2 ? 1 : -1));
      screen.draw();
      all.push(performance.now() - begin);
    }
    bench.values = null;
    bench.show_curves();
    return all.sort((a, b) => a - b)[20];
  });
  console.log(`# ${took.toFixed(1)} ms a frame (median of 40)`);
  assert.ok(took > 0); // no claim of speed where others work on the same machine
});

test(`${WALKS} random walks of clicks, drags and keys end without an error`, async () => {
  await load_example();
  const random = ((state) => () => (state = (state * 1664525 + 1013904223) % 2 ** 32) / 2 ** 32)(7);
  const box = await page.locator("#plot").boundingBox();
  const keys = ["n", "p", "a", "Delete", "+", "-", "0", "ArrowLeft", "ArrowUp", "Alt+ArrowLeft", "Alt+ArrowUp", "]", "[", "Escape", "Control+z", "Control+Shift+z"];
  const buttons = ["#undo", "#redo", "#mode-add", "#whole", "#fitted", "#in", "#taller", "#tab-lines", "#tab-result", "#tab-text", "#multiplet", "#tie", "#untie", "#fix", "#window", "#remove", "#fit", "#eye-model"];
  for (let walk = 0; walk < WALKS; ++walk) {
    const x = box.x + random() * box.width, y = box.y + random() * box.height;
    const what = Math.floor(random() * 4);
    if (what === 0) await page.mouse.click(x, y);
    else if (what === 1) await drag({ x, y }, (random() - 0.5) * 200, (random() - 0.5) * 100);
    else if (what === 2) { await page.focus("#plot"); await page.keyboard.press(keys[Math.floor(random() * keys.length)]); }
    else {
      const button = page.locator(buttons[Math.floor(random() * buttons.length)]);
      if (await button.isVisible() && await button.isEnabled()) await button.click();
    }
    if (walk % 10 === 9) await page.waitForFunction(() => !window.varokel.busy, null, { timeout: 60000 });
  }
  assert.deepEqual(troubles, []);
  await page.waitForFunction(() => !window.varokel.busy, null, { timeout: 60000 });
  assert.ok(await bench((b) => b.curves.data.length === 1024));
});
