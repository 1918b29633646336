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
