// SPDX-License-Identifier: BSD-3-Clause
// logic_picture.test.mjs -- curves as they are drawn
import assert from "node:assert/strict";
import test from "node:test";
import { readFileSync } from "node:fs";
import { Axis } from "../../web/page/axis.js";
import { Bench } from "../../web/page/bench.js";
import { path_of } from "../../web/page/plot.js";
import { Screen, shrink_of } from "../../web/page/screen.js";
import { example_file, import_files, module_of_build, tree } from "./start.mjs";

const peaks = readFileSync(`${tree}/examples/p31_brain/peaks.txt`, "utf8");

// How far a point is from a path of lines, straight up or down.
function off_path(path, x, y) {
  let least = Infinity;
  for (let i = 2; i < path.length; i += 2) {
    const [x0, y0, x1, y1] = path.slice(i - 2, i + 2);
    if (x < Math.min(x0, x1) || x > Math.max(x0, x1)) continue;
    const at = x0 === x1 ? null : y0 + ((y1 - y0) * (x - x0)) / (x1 - x0);
    const off = at === null ? Math.max(0, Math.min(y0, y1) - y, y - Math.max(y0, y1)) : Math.abs(y - at);
    least = Math.min(least, off);
  }
  return least;
}

// Peaks of many widths, a level, a slope, and noise of several heights.
function curve_of(n, noise, seed) {
  let state = seed;
  const random = () => ((state = (Math.imul(state, 1664525) + 1013904223) >>> 0) / 2 ** 32) - 0.5;
  return Float64Array.from({ length: n }, (_, i) => {
    const peak = (at, width, height) => height / (1 + ((i - at * n) / width) ** 2);
    return peak(0.2, 0.7, 200) + peak(0.4, 5, -80) + peak(0.7, 60, 300) + 0.02 * i + noise * random();
  });
}

test("a thinned path leaves no point by more than a tenth of a pixel, and has few where nothing is", () => {
  for (const [n, width] of [[64, 600], [600, 600], [1200, 600], [1300, 600], [4096, 613], [4096, 97]])
    for (const noise of [0, 0.05, 0.3, 40])
      for (const flipped of [false, true]) {
        const curve = curve_of(n, noise, 7 * n + 1), axis = new Axis(n);
        axis.place(10, width);
        axis.flipped = flipped;
        const path = path_of(curve, axis, (value) => 400 - value);
        const thinned = n / width > 2;
        for (let i = 0; i < n; ++i) {
          // of several points in a pixel the highest and lowest stand where the pixel's first one is
          let x = axis.x(i);
          if (thinned) {
            for (let k = i; k >= 0 && Math.floor(axis.x(k)) === Math.floor(axis.x(i)); --k) x = axis.x(k);
          }
          const off = off_path(path, x, 400 - curve[i]);
          assert.ok(off <= (thinned ? 0.2 : 0.1) + 1e-9, `${n} points on ${width} pixels, noise ${noise}: point ${i} off by ${off}`);
        }
      }
  const axis = new Axis(4096);
  axis.place(0, 600);
  const flat = path_of(curve_of(4096, 0, 1).map((value, i) => value - 0.02 * i), axis, (value) => value);
  assert.ok(flat.length < 800, `${flat.length} numbers`); // two points a pixel were 2400
  assert.equal(path_of(new Float64Array(4096), axis, () => 5).length, 4);
});

test("while a hand moves one line, all curves are those that are made anew", async () => {
  const client = await module_of_build(), fresh_client = await module_of_build();
  const { spectra } = await import_files(client, { inputs: ["p31_brain.fid.f32"],
    files: [example_file("p31_brain/p31_brain.fid.f32"), example_file("p31_brain/p31_brain.fid.json")] });
  const [bench, fresh] = [client, fresh_client].map((each) => {
    const own = new Bench(each);
    own.put_spectra(spectra);
    own.set_text(peaks);
    return own;
  });
  const same = (what) => {
    for (const name of ["data", "model", "residual", "values", "quality", "components"]) assert.deepEqual(bench.curves[name], fresh.curves[name], `${what}: ${name}`);
  };
  // fresh sees other phases in between, after which nothing of its picture can be an old one
  const anew = () => { fresh.set_view({ phase_0: 1 }); fresh.set_view({ phase_0: bench.view.phase_0 }); };
  same("at first");
  for (const k of [0, 9, 9, 3]) {
    const before = bench.curves.components;
    for (const each of [bench, fresh]) each.move(k, "frequency", (value) => value + 0.7);
    anew();
    same(`line ${k} moved`);
    assert.ok(bench.curves.components.some((curve, i) => curve.some((value, p) => value !== before[i][p])), "something moved");
  }
  bench.set_view({ phase_0: 30 });
  anew();
  same("phased");
  for (const each of [bench, fresh]) each.drop();
  anew();
  same("dropped");
  for (const each of [bench, fresh]) each.undo();
  anew();
  same("undone");
});

test("a residual that is larger than its room is drawn by 2, 5, 10 ... smaller, and never larger", () => {
  for (const [least, wanted] of [[0, 1], [1e-300, 1], [1, 1], [1.0000001, 2], [2, 2], [2.1, 5], [5, 5], [5.1, 10], [10, 10], [11, 20], [499, 500], [501, 1000], [1e12, 1e12], [NaN, 1], [Infinity, 1]])
    assert.equal(shrink_of(least), wanted, `${least}`);
  for (let power = -300; power <= 300; ++power) {
    const least = 1.7 * 10 ** power, shrink = shrink_of(least);
    assert.ok(shrink >= Math.max(1, least) && shrink <= 2.0001 * Math.max(1, least), `${least}: ${shrink}`);
  }
  const screen = new Screen({ clientWidth: 600, clientHeight: 400 }, null);
  screen.axis = new Axis(100);
  const residual = new Float64Array(100);
  assert.equal(screen.residual_shrink(residual, 60, 1), 1);
  residual[50] = -75; // 75 pixels of 30 to that side
  assert.equal(screen.residual_shrink(residual, 60, 1), 5);
  screen.axis.show(0, 40); // it is not seen
  assert.equal(screen.residual_shrink(residual, 60, 1), 1);
});
