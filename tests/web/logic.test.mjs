// SPDX-License-Identifier: BSD-3-Clause
// logic.test.mjs -- the page without a screen: undo, table, lines, ties, files, kept work
import assert from "node:assert/strict";
import test from "node:test";
import { Axis, half_width, heights, height_at, nearest_peak } from "../../web/page/axis.js";
import { Bench } from "../../web/page/bench.js";
import { fit_command, is_table, sort_files } from "../../web/page/files.js";
import { History } from "../../web/page/history.js";
import { add_line, make_multiplet, ratios_of, remove_entry, set_intervals, set_noise, set_state, set_window, tie, toggle_window, window_text } from "../../web/page/lines.js";
import { arrange, heat } from "../../web/page/map.js";
import { place_of_error } from "../../web/page/module_client.js";
import { place_names, taken_at } from "../../web/page/handles.js";
import { path_of } from "../../web/page/plot.js";
import { plain_name, run_task } from "../../web/page/tasks.js";
import { faults_of } from "../../web/check_copy.mjs";
import { joined_modules } from "../../web/bundle.mjs";
import { example_file, import_files, module_of_build, tree } from "./start.mjs";
import { readFileSync } from "node:fs";

const client = await module_of_build();
const example = await import_files(client, { inputs: ["p31_brain.fid.f32"],
  files: [example_file("p31_brain/p31_brain.fid.f32"), example_file("p31_brain/p31_brain.fid.json")] });
const peaks = readFileSync(`${tree}/examples/p31_brain/peaks.txt`, "utf8");

function bench_of(text) {
  const bench = new Bench(client);
  bench.put_spectra(example.spectra);
  if (text) bench.set_text(text);
  return bench;
}
const named = (bench, name) => bench.entries.findIndex((entry) => entry.name === name);
const near = (a, b, off) => assert.ok(Math.abs(a - b) <= off, `${a} is not within ${off} of ${b}`);

test("undo and redo walk through states, and a new one ends the way back", () => {
  const history = new History("a");
  for (const state of ["b", "c"]) history.push(state);
  assert.equal(history.undo(), "b");
  assert.equal(history.undo(), "a");
  assert.equal(history.undo(), "a");
  assert.equal(history.redo(), "b");
  history.push("d");
  assert.equal(history.redo(), "d");
  assert.deepEqual(history.states, ["a", "b", "d"]);
});

test("keystrokes of one field are undone together, and not with what came between", () => {
  const history = new History("");
  for (const state of ["x", "xy", "xyz"]) history.push(state, "typing");
  history.push("drag");
  history.push("drag2", "typing");
  assert.equal(history.undo(), "drag");
  assert.equal(history.undo(), "xyz");
  assert.equal(history.undo(), "");
});

test("undo forgets the oldest states only", () => {
  const history = new History(0);
  for (let i = 1; i <= 1000; ++i) history.push(i);
  let steps = 0;
  while (history.can_undo) { history.undo(); ++steps; }
  assert.equal(steps, 199);
  assert.equal(history.now, 801);
});

test("the axis maps points to pixels and back, either way round", () => {
  for (const rising of [1, -1]) {
    const axis = new Axis(1024);
    axis.set_scale(Float64Array.from({ length: 1024 }, (_, i) => rising * (i - 512) * 0.08), "ppm");
    axis.place(10, 500);
    assert.equal(axis.flipped, rising > 0);
    for (const point of [0, 100.5, 1023]) near(axis.point(axis.x(point)), point, 1e-9);
    assert.ok(axis.value(axis.point(10)) > axis.value(axis.point(510)), "high ppm on the left");
    axis.zoom(0.1, 300);
    near(axis.x(300), axis.x(300), 0);
    assert.ok(axis.first <= 300 && axis.last >= 300);
    axis.pan(1e9);
    assert.equal(axis.last, 1023);
    for (let i = 0; i < 50; ++i) axis.zoom(0.5, 700);
    assert.equal(axis.last - axis.first, 8);
    for (let i = 0; i < 50; ++i) axis.zoom(2, 700);
    assert.deepEqual([axis.first, axis.last], [0, 1023]);
    for (const tick of axis.ticks(8)) near(axis.value(tick.point), Number(tick.text), 1e-6);
  }
});

test("thinned paths keep the highest and the lowest point", () => {
  const curve = new Float64Array(4096);
  curve[1000] = 7;
  curve[3000] = -5;
  const axis = new Axis(4096);
  axis.place(0, 300);
  const path = path_of(curve, axis, (value) => value);
  const heights_seen = path.filter((_, i) => i % 2 === 1);
  assert.equal(Math.max(...heights_seen), 7);
  assert.equal(Math.min(...heights_seen), -5);
  assert.ok(path.length < 1300);
  const { low, high } = heights([curve], axis);
  assert.ok(low < -5 && high > 7);
  assert.equal(height_at(curve, 999.5), 3.5);
  assert.equal(nearest_peak(curve, 990, 20), 1000);
  assert.equal(half_width(curve, 1000), 1);
});

test("errors of the table come apart into text and place", () => {
  assert.deepEqual(place_of_error("peaks.txt:3:12: found \"x\""), { text: "found \"x\"", line: 3, column: 12 });
  assert.deepEqual(place_of_error("peaks.txt: no rows"), { text: "no rows", line: 0, column: 0 });
  assert.deepEqual(place_of_error("other"), { text: "other", line: 0, column: 0 });
});

test("files are told apart, and names lead nowhere else", () => {
  const file = (name, text = "x") => ({ name, bytes: new TextEncoder().encode(text) });
  const sorted = sort_files([file("a.fid.f32"), file("a.fid.json"), file("peaks.txt", peaks), file("b.SDAT"), file("b.SPAR"),
    file("naa.pat"), file("c.spar"), file("decay.txt", "1 2\n3 4\n")]);
  assert.deepEqual(sorted.inputs, ["a.fid.f32", "b.SDAT", "c.spar", "decay.txt"]);
  assert.deepEqual(sorted.companions, ["a.fid.json", "b.SPAR"]);
  assert.equal(sorted.tables.length, 1);
  assert.deepEqual(sorted.patterns.map((each) => each.name), ["naa.pat"]);
  assert.ok(is_table("# a\n| name | type | frequency |\n"));
  assert.ok(!is_table("interval: 1 to 2 ppm\n"));
  assert.equal(plain_name("../../etc/passwd"), "passwd");
  assert.equal(plain_name(".."), "unnamed");
});

test("the command repeats the options", () => {
  assert.equal(fit_command("my file.nii", { mhz: 123.2, index: ["0"], conjugate: true, nucleus: "" }, 2),
    "varokel-fit 'my file.nii' peaks.txt -o run --method exact --starts 2 --frequency 123.2 --index 0 --conjugate");
});

test("a table is read, drawn, and its errors named while the rest stays", () => {
  const bench = bench_of(peaks);
  assert.equal(bench.error, null);
  assert.equal(bench.entries.length, 16);
  assert.equal(bench.curves.components.length, 16);
  for (let i = 0; i < 1024; i += 100) { // the parts are the whole
    let sum = 0;
    for (const curve of bench.curves.components) sum += curve[i];
    near(sum, bench.curves.model[i], 1e-9);
    near(bench.curves.data[i] - bench.curves.model[i], bench.curves.residual[i], 1e-12);
  }
  bench.set_text(peaks.replace("58.12", "58,12"));
  assert.match(bench.error.text, /decimal point/);
  assert.equal(bench.error.line, 7);
  assert.ok(bench.error.column > 10);
  assert.ok(bench.stale && bench.curves.data && !bench.curves.model);
  bench.undo();
  assert.equal(bench.text, peaks);
  assert.equal(bench.error, null);
});

test("a hand moves a line, its followers come along, and the text gets the number", () => {
  const bench = bench_of(peaks);
  const gatp2 = named(bench, "GATP2"), gatp = named(bench, "GATP");
  const before = bench.curves.values.map((row) => row.slice());
  bench.move(gatp2, "frequency", (value) => value + 3); // tied: its source moves
  near(bench.curves.values[gatp][1] - before[gatp][1], 3, 1e-9);
  near(bench.curves.values[gatp2][1] - before[gatp2][1], 3, 1e-9);
  assert.equal(bench.text, peaks, "no text before the hand lets go");
  const moved = bench.curves.model.slice();
  bench.drop();
  assert.notEqual(bench.text, peaks);
  const changed = bench.text.split("\n").filter((line, i) => line !== peaks.split("\n")[i]);
  assert.equal(changed.length, 1);
  assert.match(changed[0], /^GATP /);
  let off = 0;
  for (let i = 0; i < 1024; ++i) off = Math.max(off, Math.abs(moved[i] - bench.curves.model[i]));
  assert.ok(off < 1e-2 * Math.max(...moved), "the text means what the hand showed");
  bench.undo();
  assert.equal(bench.text, peaks);
});

test("areas and widths move by a factor, of links too", () => {
  const bench = bench_of(peaks);
  const k = named(bench, "BATP2"), root = named(bench, "BATP");
  const before = bench.curves.values.map((row) => row.slice());
  bench.move(k, "area", (value) => value * 2);
  bench.move(k, "lorentz", (value) => value * 0.5);
  near(bench.curves.values[root][0], 2 * before[root][0], 1e-12);
  near(bench.curves.values[k][0], 2 * before[k][0], 1e-12);
  near(bench.curves.values[k][4], 0.5 * before[k][4], 1e-12);
});

test("a first line makes a table, a second one follows its phase", () => {
  const bench = bench_of("");
  const top = nearest_peak(bench.curves.data, 512, 500);
  assert.equal(add_line(bench, top), "L1");
  assert.equal(bench.error, null, bench.error?.text);
  near(bench.curves.values[0][1], top, 0.2);
  assert.equal(bench.entries[0].of.area.estimated, true);
  add_line(bench, 360, "voigt");
  assert.equal(bench.error, null, bench.error?.text);
  assert.equal(bench.entries[1].cells.phase, "=L1");
  assert.equal(bench.entries[1].type, "voigt");
  bench.undo();
  bench.undo();
  assert.equal(bench.text, "");
  assert.equal(bench.curves.model, undefined === null ? null : bench.curves.model);
});

test("a multiplet has its lines J apart around the place, tied", () => {
  assert.deepEqual(ratios_of(5, "binomial"), [1, 4, 6, 4, 1]);
  const bench = bench_of("name  type  frequency[ppm]  lorentz\nA  lorentz  -2.5  20\n");
  for (const n of [2, 3, 4, 5]) {
    const at = bench.curves.values[0][1];
    make_multiplet(bench, 0, n, 16, "binomial");
    assert.equal(bench.error, null, bench.error?.text);
    assert.equal(bench.entries.length, n);
    const places = bench.curves.values.map((row) => row[1]);
    near(places.reduce((a, b) => a + b) / n, at, 0.01);
    const per = bench.about.hz_per_point;
    for (let i = 1; i < n; ++i) near(Math.abs(places[i] - places[i - 1]), 16 / per, 1e-6);
    near(bench.curves.values[n - 1][0] / bench.curves.values[0][0], 1, 1e-9);
    near(bench.curves.values[1][0] / bench.curves.values[0][0], ratios_of(n, "binomial")[1], 1e-6);
    bench.undo();
    assert.equal(bench.entries.length, 1);
  }
});

test("ties hold what stands there, and are untied to the same numbers", () => {
  const bench = bench_of(peaks);
  const pc = named(bench, "PC"), pe = named(bench, "PE"), per = bench.about.hz_per_point;
  const apart = bench.curves.values[pc][1] - bench.curves.values[pe][1];
  const ratio = bench.curves.values[pc][0] / bench.curves.values[pe][0];
  for (const [column, how, unit] of [["frequency", "now", "Hz"], ["frequency", "now", "ppm"], ["area", "now"], ["lorentz", "equal"]]) {
    tie(bench, pc, pe, column, how, unit);
    assert.equal(bench.error, null, bench.error?.text);
    assert.equal(bench.entries[pc].of[column].state, "tied");
    assert.equal(bench.entries[pc].of[column].source, pe);
  }
  near(bench.curves.values[pc][1] - bench.curves.values[pe][1], apart, 0.02 / per);
  near(bench.curves.values[pc][0] / bench.curves.values[pe][0], ratio, 1e-4);
  set_state(bench, pc, "frequency", "free");
  assert.equal(bench.entries[pc].of.frequency.state, "free");
  near(bench.curves.values[pc][1] - bench.curves.values[pe][1], apart, 0.02);
  set_state(bench, pc, "frequency", "fixed");
  assert.equal(bench.entries[pc].of.frequency.state, "fixed");
  toggle_window(bench, pe);
  const [low, high] = bench.entries[pe].of.frequency.window_points;
  assert.ok(low < bench.curves.values[pe][1] && high > bench.curves.values[pe][1]);
  toggle_window(bench, pe);
  assert.equal(bench.entries[pe].of.frequency.window_points, undefined);
});

test("a circle of ties is refused by a sentence, and undone", () => {
  const bench = bench_of(peaks);
  const pc = named(bench, "PC"), pe = named(bench, "PE");
  tie(bench, pc, pe, "area", "now");
  tie(bench, pe, pc, "area", "now");
  assert.match(bench.error.text, /tied to itself/);
  bench.undo();
  assert.equal(bench.error, null);
});

test("a line that others follow is removed, and they keep their place", () => {
  const bench = bench_of(peaks);
  const k = named(bench, "BATP2");
  const before = bench.curves.values[k].slice();
  remove_entry(bench, named(bench, "BATP"));
  assert.equal(bench.error, null, bench.error?.text);
  assert.equal(named(bench, "BATP"), -1);
  const now = bench.curves.values[named(bench, "BATP2")];
  near(now[1], before[1], 0.01);
  near(now[0], before[0], 1e-3 * Math.abs(before[0]));
});

test("noise window and intervals are rows of the table", () => {
  const bench = bench_of(peaks);
  set_noise(bench, 900, 800);
  set_intervals(bench, [[300, 250], [400.4, 600]]);
  assert.equal(bench.error, null, bench.error?.text);
  assert.deepEqual(bench.table.noise, [800, 901]);
  assert.deepEqual(bench.table.intervals, [[250, 300], [400, 600]]);
});

test("an accepted fit is the start of the next one, which ends where it began", async () => {
  const bench = bench_of(peaks);
  const first = (await run_task(client, bench.fit_job(), () => {})).fits[0];
  bench.take_fit(first);
  assert.ok(bench.curves.quality < 1.2);
  bench.accept_fit();
  assert.equal(bench.error, null, bench.error?.text);
  bench.curves.values.forEach((row, k) => row.forEach((value, q) =>
    near(value, first.optimum.values[k][q], 2e-6 * Math.max(1, Math.abs(value)))));
  const again = (await run_task(client, bench.fit_job(), () => {})).fits[0];
  near(again.optimum.sum_of_squares, first.optimum.sum_of_squares, 1e-4);
});

test("voxels stand where they were measured, a series breaks into rows", () => {
  const at = (voxel) => ({ voxel });
  const grid = arrange([at([0, 0, 1]), at([2, 1, 0])]);
  assert.deepEqual(grid.slices, [{ z: 0, rows: [[-1, -1, -1], [-1, -1, 1]] }, { z: 1, rows: [[0, -1, -1], [-1, -1, -1]] }]);
  const series = arrange(Array(30).fill({ voxel: null }));
  assert.equal(series.slices[0].rows.length, 2);
  const long = arrange(Array(2000).fill({ voxel: null }));
  assert.equal(long.slices.length, 3);
  assert.deepEqual(long.slices.flatMap((slice) => slice.rows.flat()).filter((i) => i >= 0), Array.from({ length: 2000 }, (_, i) => i));
  assert.equal(heat(0), "rgb(40 42 92)");
  assert.equal(heat(7), heat(1));
});

test("the page is of one piece, and a change of it is seen", () => {
  const page = readFileSync(`${process.env.WEB_BUILD ?? `${tree}/build/web`}/varokel.html`, "utf8");
  assert.deepEqual(faults_of(page), []);
  assert.match(faults_of(page.replace("height: 1px;", "height: 2px;")).join(), /another style/);
  assert.match(faults_of(page.replace('"use strict";', '"use  strict";')).join(), /another script/);
  assert.match(faults_of(page.replace("worker-src blob:", "connect-src *; worker-src blob:")).join(), /lets requests out/);
  assert.match(joined_modules(`${tree}/web/page`), /class Bench/);
});

test("a finger takes the nearest handle, and an edge at the top only", () => {
  const bench = bench_of(peaks);
  const axis = new Axis(1024);
  const scene = { axis, curves: bench.curves, entries: bench.entries, selected: 0, intervals: bench.table.intervals, noise: bench.table.noise,
    show: { noise: true, intervals: true }, y: (value) => 200 - value, half_width: () => 5, layout: { top: 20, residual_top: 300, bottom: 400 } };
  axis.place(0, 1000);
  const x = axis.x(bench.curves.values[0][1]);
  assert.equal(taken_at(scene, x, 200 - height_at(bench.curves.components[0], bench.curves.values[0][1])).entry, 0);
  const edge = axis.x(bench.table.noise[0]);
  assert.equal(taken_at(scene, edge, 25).kind, "noise");
  assert.equal(taken_at(scene, edge, 120), null);
});

test("a window's edges become what the table says, either way round, open or not", () => {
  const falling = { ppm: [10, 9.5], hz: [0, 1] }, hz_only = { ppm: null, hz: [-5, -4] };
  assert.equal(window_text(falling, [2, 4]), "[8.0000, 9.0000] ppm");
  assert.equal(window_text(falling, [4, 2]), "[8.0000, 9.0000] ppm");
  assert.equal(window_text(falling, [null, 4]), "> 8.0000 ppm");
  assert.equal(window_text(falling, [2, null]), "< 9.0000 ppm");
  assert.equal(window_text(hz_only, [5, null]), "> 0.00 Hz");
  assert.equal(window_text(hz_only, [null, null]), "");
  const bench = bench_of(peaks);
  const k = named(bench, "PCr"), at = bench.entries[k].of.frequency.points;
  set_window(bench, k, [at - 3, at + 5]);
  assert.equal(bench.error, null, bench.error?.text);
  const [low, high] = bench.entries[k].of.frequency.window_points;
  near(low, at - 3, 0.01);
  near(high, at + 5, 0.01);
  set_window(bench, k, [null, at + 5]);
  assert.equal(bench.entries[k].of.frequency.window_points[0], null);
  const tied = named(bench, "BATP2"), from = bench.entries[tied].of.frequency.points;
  set_window(bench, tied, [from - 2, from + 2]);
  assert.equal(bench.error, null, bench.error?.text);
  assert.match(bench.entries[tied].cells.frequency, /^=BATP - 15 Hz \[/);
});

test("names of lines never stand on one another or on a dot, and the selected one always has a place", () => {
  let state = 1;
  const random = () => (state = (state * 48271) % 2147483647) / 2147483647;
  for (let round = 0; round < 300; ++round) {
    const dots = Array.from({ length: 1 + Math.floor(random() * 30) }, (_, i) => ({ x: random() * 300, y: 20 + random() * 150, wide: 10 + random() * 50, own: i === 3 }));
    const places = place_names(dots, 10);
    const boxes = places.flatMap((at, i) => (at && !dots[i].own ? [{ left: at.x - dots[i].wide / 2, right: at.x + dots[i].wide / 2, top: at.y - 9, bottom: at.y + 2 }] : []));
    boxes.forEach((a, i) => boxes.slice(i + 1).forEach((b) => assert.ok(a.right <= b.left || b.right <= a.left || a.bottom <= b.top || b.bottom <= a.top, `round ${round}`)));
    for (const a of boxes) for (const dot of dots) assert.ok(dot.x + 5 < a.left || dot.x - 5 > a.right || dot.y + 5 < a.top || dot.y - 5 > a.bottom, `round ${round}, on a dot`);
    if (dots.length > 3) assert.ok(places[3]);
    if (dots.length === 1) assert.ok(places[0]);
  }
});

test("ratios of a multiplet are binomial, equal, or its own", () => {
  assert.deepEqual(ratios_of(4, "binomial"), [1, 3, 3, 1]);
  assert.deepEqual(ratios_of(3, "2 : 4:1"), [1, 2, 0.5]);
  for (const bad of ["1:2", "1:2:x", "1:2:0", "1:2:", "1:-2:1", "?"]) assert.throws(() => ratios_of(3, bad), /expected binomial, equal, or 3 numbers/);
});
