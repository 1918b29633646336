// SPDX-License-Identifier: BSD-3-Clause
// overview.test.mjs -- the page of a batch in a real browser: values that are known badly
//
// OVERVIEW names a folder of varokel-batch with its overview.html, DRIVER the folder with
// playwright-core, CHROMIUM the browser.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { join } from "node:path";
import test, { after, before } from "node:test";

const { chromium } = createRequire(join(process.env.DRIVER, "x.js"))("playwright-core");
const folder = process.env.OVERVIEW;
const [head, ...rows] = readFileSync(join(folder, "results.tsv"), "utf8").trim().split("\n").map((line) => line.split("\t"));
const column = (name) => rows.map((row) => row[head.indexOf(name)]);
const badly = column("area_error_percent_1sd").filter((text) => !(Number(text) <= 50)).length;
let browser, page;

before(async () => {
  browser = await chromium.launch({ executablePath: process.env.CHROMIUM, args: ["--no-sandbox", "--disable-gpu", "--disable-background-networking"] });
  page = await browser.newPage({ viewport: { width: 1280, height: 900 }, colorScheme: "light" });
  await page.goto(`file://${folder}/overview.html`);
});
after(() => browser.close());

// Colour of each voxel of the map, a quarter into its square; the background; the words below.
const look = () => page.evaluate(() => {
  const canvas = document.querySelector("canvas[data-cell]");
  const cell = Number(canvas.dataset.cell) * devicePixelRatio, ink = canvas.getContext("2d");
  const colours = [];
  for (let y = 0; y < canvas.height / cell; y++)
    for (let x = 0; x < canvas.width / cell; x++)
      colours.push([...ink.getImageData(Math.floor((x + 0.25) * cell), Math.floor((y + 0.25) * cell), 1, 1).data]);
  ink.fillStyle = getComputedStyle(document.documentElement).getPropertyValue("--card").trim();
  ink.fillRect(0, 0, 1, 1);
  return { colours, card: [...ink.getImageData(0, 0, 1, 1).data], words: document.body.innerText };
});
const set_bound = (percent) => page.evaluate((value) => {
  const slider = document.getElementById("bound");
  slider.value = value;
  slider.dispatchEvent(new Event("input"));
}, percent);
const near = (a, b) => a.every((value, i) => Math.abs(value - b[i]) <= 2);

test("the map is of a grid that is known well in places only", () => {
  assert.equal(rows.length, 12);
  assert.ok(badly > 0 && badly < 12, `${badly} of 12`);
});

test("the words say how many are within the bound", async () => {
  assert.match((await look()).words, new RegExp(`\\b${12 - badly} of 12 within the bound, the others pale`));
});

test("a badly known value is drawn, with three tenths of its colour", async () => {
  await page.uncheck("#paled");
  const full = await look();
  await page.check("#paled");
  await set_bound(1); // no area is known so well
  const pale = await look();
  assert.equal(full.colours.length, 12);
  assert.ok(full.colours.some((colour) => !near(colour, full.colours[0])), "all of one colour");
  full.colours.forEach((colour, n) => {
    const mixed = colour.map((value, i) => full.card[i] + 0.3 * (value - full.card[i]));
    assert.ok(near(pale.colours[n], mixed), `voxel ${n}: ${pale.colours[n]}, not ${mixed}`);
    assert.ok(!near(pale.colours[n], full.card), `voxel ${n} is not drawn`);
  });
});

test("at the bound of 50 % as many are pale as the table has", async () => {
  await page.uncheck("#paled");
  await page.check("#paled");
  await set_bound(50);
  const some = await look();
  const strong = (colour) => Math.max(...colour.slice(0, 3).map((value, i) => Math.abs(value - some.card[i])));
  await set_bound(1);
  const none = await look();
  // those known well lose seven tenths of their distance from the background; pale ones stay pale
  const lost = some.colours.filter((colour, n) => strong(colour) > 1.5 * strong(none.colours[n])).length;
  assert.equal(lost, 12 - badly);
});

test("the components of a spectrum add up to its fit", async () => {
  const worst = await page.evaluate(() => {
    const curves = JSON.parse(document.getElementById("curves").textContent), { batch } = varokelOverview;
    let most = 0, seen = 0;
    curves.forEach((curve, n) => {
      if (!curve.fit) return;
      const fit = varokelCharts.curveOf(curve.fit), parts = varokelComponents(n);
      seen += parts.length;
      const height = Math.max(...fit.map(Math.abs));
      fit.forEach((v, i) => { most = Math.max(most, Math.abs(parts.reduce((sum, part) => sum + part.values[i], 0) - v) / height); });
    });
    return { most, seen, entries: batch.entries.length, spectra: curves.filter((c) => c.fit).length };
  });
  assert.ok(worst.spectra > 0);
  assert.equal(worst.seen, worst.spectra * worst.entries);
  // the fit is kept in 16 bits a point, the values in nine digits, single precision in the page
  assert.ok(worst.most < 1e-4, `off by ${worst.most} of the highest point`);
});

test("median and spread are those of the table, and no wild value moves them", async () => {
  await page.uncheck("#paled");
  const areas = column("area").map(Number).sort((a, b) => a - b), middle = (areas[5] + areas[6]) / 2;
  const told = await page.evaluate(() => [...document.querySelectorAll("table.spread td")].map((cell) => cell.textContent));
  assert.equal(told[0], "12");
  const away = areas.map((v) => Math.abs(v - middle)).sort((a, b) => a - b), spread = 1.4826 * (away[5] + away[6]) / 2;
  const exact = await page.evaluate(() => varokelRobust([...varokelOverview.columns.area[0]]));
  assert.ok(Math.abs(exact.median / middle - 1) < 1e-6 && Math.abs(exact.spread / spread - 1) < 1e-5, `${exact.median}, not ${middle}`);
  // shown with two digits of the spread
  assert.ok(Math.abs(Number(told[1]) - middle) <= 0.051 * spread, `${told[1]}, not ${middle}`);
  assert.ok(Math.abs(Number(told[2]) / spread - 1) <= 0.051, told[2]);
  const robust = await page.evaluate(() => [varokelRobust([1, 2, 3, 4, 5]), varokelRobust([1, 2, 3, 4, 1e9]), varokelRobust([])]);
  assert.deepEqual(robust[0], { n: 5, median: 3, spread: 1.4826 });
  assert.equal(robust[1].median, 3);
  assert.equal(robust[1].spread, 1.4826);
  assert.equal(robust[2].n, 0);
});

test("ticks keep the values they stand at", async () => {
  const texts = await page.evaluate(() => [varokelCharts.tickTexts([12000, 12500, 13000], 500), varokelCharts.tickTexts([0, 0.0005, 0.001], 0.0005),
    varokelCharts.tickTexts([100000, 102500], 2500), varokelCharts.tickTexts([-0.1, 0, 0.1], 0.1), varokelCharts.tickTexts([0, 1e-300], 1e-300)]);
  assert.deepEqual(texts, [["12000", "12500", "13000"], ["0", "0.0005", "0.0010"], ["1.000e5", "1.025e5"], ["-0.1", "0", "0.1"], ["0", "1e-300"]]);
});

test("a logarithmic scale and another quantity draw without a mistake", async () => {
  const mistakes = [];
  page.on("pageerror", (error) => mistakes.push(error.message));
  const names = await page.evaluate(() => [...document.getElementById("quantity").options].map((option) => option.value));
  assert.ok(names.some((name) => name.startsWith("further")), "no further column");
  await page.check("#log");
  for (const name of names) await page.selectOption("#quantity", name);
  await page.uncheck("#log");
  for (const name of names) await page.selectOption("#quantity", name);
  assert.deepEqual(mistakes, []);
});
