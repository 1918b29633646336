// SPDX-License-Identifier: BSD-3-Clause
// walks.mjs -- random walks of clicks, drags and keys
//
// WALKS: how many (25; 8 in Firefox, whose driver takes several times as long, and others than Chromium
// walks); each has its number as seed and begins with the example, so that WALK=17 repeats one alone.
import assert from "node:assert/strict";
import test from "node:test";
import { bench, double_click, drag, idle, is_firefox, load_example, now, saved } from "../browser.mjs";

const WALKS = Number(process.env.WALKS ?? (is_firefox ? 8 : 25)), STEPS = 12;
const FIRST = is_firefox ? 1000 : 0;
const KEYS = ["n", "p", "a", "Delete", "+", "-", "0", "ArrowLeft", "ArrowRight", "ArrowUp", "ArrowDown", "Alt+ArrowLeft", "Alt+Shift+ArrowRight", "Alt+ArrowUp",
  "]", "[", "e", "w", ".", ",", "Enter", "Escape", "Control+z", "Control+Shift+z", "Control+Enter"];
const BUTTONS = ["#undo", "#redo", "#mode-add", "#whole", "#fitted", "#in", "#out", "#taller", "#lower", "#tab-lines", "#tab-result", "#tab-text", "#tab-file", "#tab-save",
  "#multiplet", "#tie", "#untie", "#fix", "#window", "#remove", "#fit", "#eye-model", "#eye-reset"];
const CHOICES = [["#unit", ["ppm", "Hz", "points"]], ["#part", ["real", "imaginary", "magnitude"]], ["#tie-column", ["area", "frequency", "width", "phase"]],
  ["#tie-how", ["now Hz", "now ppm", "equal"]], ["#multi-n", ["2", "3", "4", "5"]]];

// Numbers from 0 to 1: D. Knuth's congruence of MMIX, its upper half.
function random_of(seed) {
  let state = BigInt(seed) + 1n;
  return () => Number((state = BigInt.asUintN(64, state * 6364136223846793005n + 1442695040888963407n)) >> 32n) / 2 ** 32;
}

// Where a part of the page is, in view; null where it is hidden or takes nothing. Asked in one call, since a
// driver's own click asks a dozen times.
const place_of = (field) => now.page.evaluate((field) => {
  const node = document.querySelector(field);
  if (!node.checkVisibility() || node.disabled) return null;
  node.scrollIntoView({ block: "nearest" });
  const { x, y, width, height } = node.getBoundingClientRect();
  return { x, y, width, height };
}, field);

async function step(random) {
  const { page } = now;
  const one_of = (list) => list[Math.floor(random() * list.length)];
  const box = await place_of("#plot");
  const at = { x: box.x + random() * box.width, y: box.y + random() * box.height };
  const kind = one_of(["click", "double", "drag", "drag", "key", "key", "key", "button", "button", "button", "choice", "cell"]);
  if (kind === "click") await page.mouse.click(at.x, at.y);
  else if (kind === "double") await double_click(at.x, at.y);
  else if (kind === "drag") await drag(at, (random() - 0.5) * 200, (random() - 0.5) * 100);
  else if (kind === "key") {
    await page.focus("#plot");
    await page.keyboard.press(one_of(KEYS));
  } else if (kind === "choice") {
    const [field, values] = one_of(CHOICES), value = one_of(values);
    const found = page.locator(field);
    if (await found.isVisible() && await found.locator(`option[value="${value}"], option:text-is("${value}")`).count() > 0) await found.selectOption(value);
  } else if (kind === "cell") {
    const cells = page.locator("#lines tbody input"), count = await cells.count();
    const cell = cells.nth(Math.floor(random() * Math.max(1, count)));
    if (count > 0 && await cell.isVisible()) {
      await cell.fill(one_of(["?", "5", "fixed 3", "=PCr", "=PCr*0.5", "x y", "", "-", "2 [1, 3]", "1e300", "-0"])); // a few characters
      await cell.press("Enter");
    }
  } else {
    const button = await place_of(one_of(BUTTONS));
    if (button) await page.mouse.click(button.x + button.width / 2, button.y + button.height / 2);
  }
}

test(`${WALKS} random walks of clicks, drags, keys and words end without an error`, { timeout: 900000 }, async () => {
  now.troubles.length = 0;
  const numbers = process.env.WALK ? [Number(process.env.WALK)] : Array.from({ length: WALKS }, (_, i) => FIRST + i);
  for (const walk of numbers) {
    const random = random_of(walk);
    await load_example();
    for (let i = 0; i < STEPS; ++i) {
      await step(random).catch((error) => { throw new Error(`walk ${walk}, step ${i}: ${error.message}`); });
      await idle();
      assert.deepEqual(now.troubles, [], `walk ${walk}, step ${i}`);
    }
    const points = await bench((b) => ({ data: b.curves.data.length, model: b.curves.model?.length ?? 1024 }));
    assert.deepEqual(points, { data: 1024, model: 1024 }, `walk ${walk}`);
  }
  assert.ok((await saved("peaks.txt")).length > 0); // the page is alive
});
