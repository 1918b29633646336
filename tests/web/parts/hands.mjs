// SPDX-License-Identifier: BSD-3-Clause
// hands.mjs -- fingers, edges and keys alone
import assert from "node:assert/strict";
import test from "node:test";
import { bench, drag, fit, handle, load_example, now, row_of, shot, status, text_of, until } from "../browser.mjs";

// Fingers: [{id, x, y}] of each moment. Events as a touch screen makes them; neither driver has two
// fingers.
const fingers = (...moments) => now.page.evaluate((moments) => {
  const canvas = document.getElementById("plot");
  const send = (type, { id, x, y }) => canvas.dispatchEvent(new PointerEvent(type, { pointerId: 100 + id, pointerType: "touch", isPrimary: id === 0, clientX: x, clientY: y, bubbles: true }));
  const down = new Set();
  for (const moment of moments) {
    for (const finger of moment) {
      send(down.has(finger.id) ? "pointermove" : "pointerdown", finger);
      down.add(finger.id);
    }
    for (const id of [...down].filter((each) => !moment.some((finger) => finger.id === each))) {
      const last = moments.flat().findLast((finger) => finger.id === id);
      send("pointerup", last);
      down.delete(id);
    }
  }
}, [...moments, []]);
const view = () => now.page.evaluate(() => ({ first: window.varokel.screen.axis.first, last: window.varokel.screen.axis.last }));
const edge_at = (kind, edge) => now.page.evaluate(([kind, edge]) => {
  const { screen, bench } = window.varokel;
  const scene = screen.scene(), box = screen.canvas.getBoundingClientRect(), { layout } = scene;
  const points = { noise: bench.table.noise, interval: bench.table.intervals[0], window: scene.windows.find((each) => each.entry === bench.selected)?.ends }[kind];
  return { x: box.x + scene.axis.x(points[edge]), y: box.y + (kind === "window" ? layout.top + layout.height - 6 : layout.top + 6) };
}, [kind, edge]);
const key = async (...keys) => { for (const each of keys) await now.page.keyboard.press(each); };

test("two fingers zoom around the point between them, one moves along", async () => {
  await load_example();
  await now.page.click("#whole");
  const box = await now.page.locator("#plot").boundingBox();
  const at = (part) => box.x + box.width * part, y = box.y + 200;
  const before = await view();
  await fingers([{ id: 0, x: at(0.4), y }], [{ id: 0, x: at(0.4), y }, { id: 1, x: at(0.6), y }], [{ id: 0, x: at(0.3), y }, { id: 1, x: at(0.6), y }], [{ id: 0, x: at(0.3), y }, { id: 1, x: at(0.7), y }]);
  const after = await view();
  const ratio = (after.last - after.first) / (before.last - before.first);
  assert.ok(Math.abs(ratio - 0.5) < 0.02, `${ratio}`);
  assert.ok(Math.abs((after.first + after.last - before.first - before.last) / 2) < 3, "the middle stays");
  await fingers([{ id: 0, x: at(0.5), y }], [{ id: 0, x: at(0.6), y }], [{ id: 0, x: at(0.7), y }]);
  const moved = await view();
  assert.ok(Math.abs(moved.last - moved.first - (after.last - after.first)) < 1e-6 && Math.abs(moved.first - after.first) > 50);
  assert.equal(await bench((b) => b.history.can_redo), false);
});

test("a finger drags a dot, and takes the tab of an edge from farther than a pointer", async () => {
  await load_example();
  const whole = await text_of();
  const dot = await handle("PE");
  await fingers([{ id: 0, ...dot }], [{ id: 0, x: dot.x + 20, y: dot.y + 10 }], [{ id: 0, x: dot.x + 20, y: dot.y + 20 }]);
  assert.notEqual(await row_of("PE"), whole.split("\n").find((line) => line.startsWith("PE ")));
  await bench((b) => b.undo());
  assert.equal(await text_of(), whole);
  const edge = await edge_at("interval", 0);
  await fingers([{ id: 0, x: edge.x + 15, y: edge.y }], [{ id: 0, x: edge.x - 10, y: edge.y }], [{ id: 0, x: edge.x - 20, y: edge.y }]);
  assert.match(await text_of(), /interval: \d+ to \d+ points/);
  await bench((b) => b.undo());
});

test("a second finger in the middle of a drag lets the line go where it is", async () => {
  await load_example();
  const dot = await handle("PE");
  await fingers([{ id: 0, ...dot }], [{ id: 0, x: dot.x + 20, y: dot.y }], [{ id: 0, x: dot.x + 20, y: dot.y }, { id: 1, x: dot.x + 120, y: dot.y }]);
  assert.equal(await bench((b) => b.values), null);
  assert.doesNotMatch(await row_of("PE"), / 6\.76 /);
  await bench((b) => b.undo());
});

test("the edges of a line's window are dragged as a band, and the window comes and goes by its button", async () => {
  await load_example();
  await now.page.click("#tab-lines");
  await bench((b) => b.select(b.entries.findIndex((entry) => entry.name === "PCr")));
  await now.page.click("#window");
  const given = await bench((b) => b.entries[b.selected].of.frequency.window_points);
  await shot("band");
  await drag(await edge_at("window", 0), 40, 0);
  await drag(await edge_at("window", 1), -40, 0);
  const wide = await bench((b) => b.entries[b.selected].of.frequency.window_points);
  assert.ok(Math.abs(wide[0] - given[0]) > 2 && Math.abs(wide[1] - given[1]) > 2, `${given} ${wide}`);
  assert.match(await row_of("PCr"), /\[-?[\d.]+, -?[\d.]+\] ppm/);
  await fit();
  await now.page.click("#tab-lines");
  await now.page.click("#window");
  assert.doesNotMatch(await row_of("PCr"), /\[/);
});

test("by keys alone: a table is built, tied, windowed, edges are moved, and it is fitted and saved", async () => {
  await load_example();
  await bench((b) => b.set_text(""));
  await now.page.focus("#plot");
  await key("0", ".", ".", "Shift+>");
  assert.match(await status(), /^Cursor at/);
  await key("a");
  assert.equal(await bench((b) => b.entries.length), 1);
  await key("Shift+<", "Shift+<", "Shift+<", "Shift+<", "Shift+<", "Shift+<", "Shift+<", "Shift+<", "Shift+<", "Shift+<", "a");
  assert.equal(await bench((b) => b.entries.length), 2);
  await key("Escape", "p");
  assert.match(await status(), /^L1: .* ppm, area .*, width .* Hz\.$/);
  const before = await text_of();
  await key("Alt+ArrowLeft", "Alt+ArrowUp", "]");
  await until((b, before) => b.text !== before, before); // soon after the last key
  await key("w");
  assert.match(await row_of("L1"), /\[.*\] ppm/);
  // e goes through all edges in the picture, from the left
  const kinds = new Set();
  for (let i = 0; i < 6; ++i) {
    await key("e");
    kinds.add(await now.page.evaluate(() => window.varokel.screen.edge?.kind));
  }
  assert.ok(kinds.has("noise") && kinds.has("window"), [...kinds].join());
  for (let i = 0; i < 6 && (await now.page.evaluate(() => window.varokel.screen.edge?.kind)) !== "noise"; ++i) await key("e");
  const noise = await bench((b) => b.table.noise);
  await key("Alt+Shift+ArrowRight");
  await until((b, noise) => String(b.table.noise) !== noise, String(noise));
  assert.match(await text_of(), /noise: \d+ to \d+ points/);
  await key("Escape");
  // tie the width of the second line to the first
  await key("n");
  await now.page.focus("#tie-column");
  await now.page.selectOption("#tie-column", "width");
  await now.page.selectOption("#tie-how", "equal");
  await now.page.focus("#tie");
  await key("Enter");
  await now.page.waitForFunction(() => window.varokel.lines.tying && document.activeElement.id === "plot");
  await key("p", "Enter");
  assert.match(await row_of("L2"), /=L1/);
  await key("Control+Enter");
  await now.page.waitForFunction(() => window.varokel.bench.fit && !window.varokel.busy, null, { timeout: 60000 });
  await now.page.focus("#tab-result");
  await key("ArrowRight", "ArrowRight");
  assert.equal(await now.page.evaluate(() => document.activeElement.id), "tab-save");
  assert.ok(await now.page.isVisible("#pane-save"));
  await now.page.focus("#plot");
  await key("Control+z");
  assert.doesNotMatch(await row_of("L2"), /=L1 .*=L1/);
});
