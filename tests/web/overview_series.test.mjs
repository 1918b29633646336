// SPDX-License-Identifier: BSD-3-Clause
// overview_series.test.mjs -- the page of a batch in a real browser: a part of a series, where things stand in a map,
// what was done before the fits
//
// SERIES names a folder of varokel-batch: spectra 5 to 24 of a series, three seconds apart, with derived values;
// OVERVIEW that of a grid of 4 columns and 3 rows. DRIVER and CHROMIUM as in overview.test.mjs.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { join } from "node:path";
import test, { after, before } from "node:test";

const { chromium } = createRequire(join(process.env.DRIVER, "x.js"))("playwright-core");
const { OVERVIEW: grid, SERIES: series } = process.env;
const table_of = (file) => {
  const [head, ...rows] = readFileSync(file, "utf8").trim().split("\n").map((line) => line.split("\t"));
  return rows.map((row) => Object.fromEntries(head.map((name, k) => [name, row[k]])));
};
let browser;
const mistakes = [];
async function open(folder) {
  const page = await browser.newPage({ viewport: { width: 1280, height: 900 }, colorScheme: "light" });
  page.on("pageerror", (error) => mistakes.push(error.message));
  await page.goto(`file://${folder}/overview.html`);
  await page.waitForSelector(".u-over");
  return page;
}
before(async () => {
  browser = await chromium.launch({ executablePath: process.env.CHROMIUM, args: ["--no-sandbox", "--disable-gpu", "--disable-background-networking"] });
});
after(async () => {
  await browser.close();
  assert.deepEqual(mistakes, []);
});

test("the axis of a series is in seconds and ends with the selection", async () => {
  const page = await open(series);
  const course = () => page.evaluate(() => {
    const labels = [...document.querySelectorAll(".course")].map((each) => each.textContent), { state } = varokelOverview;
    const range = varokelOverview.shownCourse.scales.x;
    return { labels, chosen: state.chosen, low: range.min, high: range.max, x: [...varokelOverview.shownCourse.data[0]] };
  });
  let seen = await course();
  assert.deepEqual(seen.x, Array.from({ length: 20 }, (_, i) => 15 + 3 * i));
  assert.equal(seen.low, 13.5);
  assert.equal(seen.high, 73.5);
  await page.fill("#seconds", "2"); // what is typed goes before what the file says
  seen = await course();
  assert.deepEqual([seen.low, seen.high], [9, 49]);
  await page.close();
});

test("derived values are those of derived.tsv, with their errors, as a course and in the words", async () => {
  const rows = table_of(join(series, "derived.tsv")).filter((row) => row.name === "Lac/Pyr");
  assert.equal(rows.length, 20);
  const page = await open(series);
  const shown = await page.evaluate(() => {
    const { quantities, batch, state } = varokelOverview;
    const key = Object.keys(quantities).find((each) => quantities[each].name === "Lac/Pyr");
    const select = document.getElementById("quantity");
    select.value = key;
    select.dispatchEvent(new Event("change"));
    return { offered: [...select.options].some((option) => option.value === key), names: batch.names, values: [...quantities[key].of(0)],
      errors: [...quantities[key].sd(0)], drawn: [...varokelOverview.shownCourse.data[1]], quantity: state.quantity === key };
  });
  assert.ok(shown.offered && shown.quantity);
  rows.forEach((row) => {
    const n = shown.names.indexOf(row.spectrum);
    assert.ok(n >= 0, row.spectrum);
    for (const [values, name] of [[shown.values, "value"], [shown.errors, "error_1sd"], [shown.drawn, "value"]])
      assert.ok(Math.abs(values[n] / Number(row[name]) - 1) < 1e-6, `${row.spectrum} ${name}: ${values[n]}, not ${row[name]}`);
  });
  await page.close();
});

test("numbers of vertical axes are not cut, however long", async () => {
  const page = await open(series);
  const cut = await page.evaluate(async () => {
    // ink in the first column of points of a canvas is of a text that began farther left
    const place = document.createElement("div");
    document.body.append(place);
    const found = [];
    for (const size of [1e-10, 1.4e-10, 5e-100, 1.1e-300, 1, 12345.6, 1e300]) {
      const data = Float64Array.from({ length: 64 }, (_, i) => size * (Math.sin(i / 5) * 1e-4 - 1));
      const chart = varokelCharts.show(place, { axis: { label: "point", unit: "(point)", zero: 0, step: 1, falls: false }, intervals: [], view: [0, 63],
        components: [], data, fit: data, residual: data.map((v) => -v / 777) });
      await new Promise((done) => setTimeout(done, 100));
      const left = new Set();
      for (const canvas of place.querySelectorAll("canvas")) {
        left.add(canvas.parentNode.querySelector(".u-over").style.left);
        const ink = canvas.getContext("2d").getImageData(0, 0, 2, canvas.height).data;
        if (ink.some((value, i) => i % 4 === 3 && value > 0)) found.push(size);
      }
      if (left.size !== 1) found.push(`${size}: panels begin at ${[...left].join(", ")}`);
      chart.remove();
    }
    return found;
  });
  assert.deepEqual(cut, []);
  const course = await page.evaluate(() => {
    // shifts that differ in the fifth place behind the point
    const { columns, batch } = varokelOverview;
    batch.entries.forEach((_, k) => columns.area[k].forEach((v, n) => { columns.area[k][n] = -123.4567 - 1e-5 * n; columns.areaSd[k][n] = 1e-6; }));
    document.getElementById("quantity").dispatchEvent(new Event("change"));
    const canvas = document.querySelector(".course canvas");
    return canvas.getContext("2d").getImageData(0, 0, 2, canvas.height).data.some((value, i) => i % 4 === 3 && value > 0);
  });
  assert.equal(course, false, "the course");
  await page.close();
});

test("real part, imaginary part and magnitude of a spectrum of the batch", async () => {
  const page = await open(series);
  const told = await page.evaluate(() => {
    const { batch } = varokelOverview, all = JSON.parse(document.getElementById("curves").textContent), curve = varokelCharts.curveOf;
    let most = 0, seen = 0;
    all.forEach((each, n) => { // the imaginary parts of the components add up to that of the fit, too
      const fit = curve(each.imaginary.fit), parts = varokelComponents(n), height = Math.max(...curve(each.fit).map(Math.abs));
      seen += parts.length;
      fit.forEach((v, i) => { most = Math.max(most, Math.abs(parts.reduce((sum, part) => sum + part.imaginary[i], 0) - v) / height); });
    });
    return { most, seen, wanted: all.length * batch.entries.length, parts: [...document.querySelector("#detail select.part").options].map((o) => o.value) };
  });
  assert.equal(told.seen, told.wanted);
  assert.ok(told.most < 1e-4, `off by ${told.most}`);
  assert.deepEqual(told.parts, ["real", "imaginary", "magnitude"]);
  for (const part of told.parts) {
    await page.selectOption("#detail select.part", part);
    assert.match(await page.textContent("#detail .stage"), part === "real" ? /data and fit/ : new RegExp(`data and fit, ${part}`));
  }
  await page.close();
});

test("row 0 of a map is on top, where the page says so", async () => {
  const page = await open(grid);
  assert.match(await page.textContent(".sense"), /x 0 is left, y 0 on top/);
  const canvas = page.locator("canvas.map"), box = await canvas.boundingBox();
  const chosen = () => page.evaluate(() => varokelOverview.batch.at[varokelOverview.state.chosen]);
  const cell = await page.evaluate(() => Number(document.querySelector("canvas.map").dataset.cell));
  for (const [x, y] of [[0, 0], [3, 0], [1, 2]]) {
    await page.mouse.click(box.x + (x + 0.5) * cell, box.y + (y + 0.5) * cell);
    assert.deepEqual((await chosen()).slice(0, 2), [x, y]);
  }
  await canvas.focus();
  await page.keyboard.press("ArrowUp");
  assert.deepEqual((await chosen()).slice(0, 2), [1, 1]);
  await page.keyboard.press("ArrowRight");
  assert.deepEqual((await chosen()).slice(0, 2), [2, 1]);
  // what is drawn where: the larger the area of the table, the lighter the square, up to the ends of the scale
  await page.uncheck("#paled");
  const light = await page.evaluate(() => {
    const map = document.querySelector("canvas.map"), step = Number(map.dataset.cell) * devicePixelRatio, ink = map.getContext("2d");
    return Array.from({ length: 3 }, (_, y) => Array.from({ length: 4 }, (_, x) => {
      const [r, g, b] = ink.getImageData(Math.floor((x + 0.25) * step), Math.floor((y + 0.25) * step), 1, 1).data;
      return 0.3 * r + 0.6 * g + 0.1 * b;
    }));
  });
  const rows = table_of(join(grid, "results.tsv")).sort((a, b) => Number(a.area) - Number(b.area));
  rows.forEach((row, k) => {
    if (k > 0) assert.ok(light[row.y][row.x] >= light[rows[k - 1].y][rows[k - 1].x] - 1, `${row.x}, ${row.y}: ${light}`);
  });
  assert.ok(light[rows[11].y][rows[11].x] > light[rows[0].y][rows[0].x] + 100);
  await page.close();
});

test("what was done before the fits, what was guessed, and the noise window stand on the page", async () => {
  const page = await open(series);
  const words = await page.evaluate(() => document.body.innerText);
  assert.match(words, /Done before the fits\s+Pyr, known at 171 ppm, was found at /);
  assert.match(words, /Guessed\s+/);
  assert.match(words, /reference_peak\.within_ppm/);
  const box = await page.textContent("#detail .warnings"); // of the spectrum: not that something was guessed, but what
  assert.match(box, /guessed at import: reference_peak\.within_ppm = 3\.0/);
  assert.doesNotMatch(box, /something was guessed/);
  assert.match(words, /Noise window: points \d+ to \d+, /);
  await page.close();
});
