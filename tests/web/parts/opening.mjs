// SPDX-License-Identifier: BSD-3-Clause
// opening.mjs -- the page alone: what it asks for, and its example
import assert from "node:assert/strict";
import { join } from "node:path";
import test from "node:test";
import { fit, is_firefox, launch, load_example, now, open_page, page_file, saved, shot } from "../browser.mjs";

test("the page asks for nothing but itself, and its policy forbids the rest", async () => {
  await load_example();
  await fit();
  assert.deepEqual(now.requests.filter((url) => url !== page_file && !url.startsWith("blob:")), []);
  const tried = await now.page.evaluate(async () => {
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
  now.troubles.length = 0; // the browser's words about these attempts
});

test("the example is read, fitted and said what is to be doubted", async () => {
  await load_example();
  await fit();
  await shot("fitted");
  if (process.env.SHOTS) await now.page.screenshot({ path: join(process.env.SHOTS, "workbench.jpg"), type: "jpeg", quality: 75 }); // docs/
  assert.match(await now.page.textContent("#pane-result"), /several_minima/);
  assert.match(await now.page.textContent("#values"), /PCr/);
  const optimum = JSON.parse((await saved("optimum.json")).toString());
  assert.equal(optimum.form, "varokel optimum 1");
  assert.deepEqual(now.troubles, []);
});

test("a processor without vector instructions gets the plain module, and the same bits", { skip: is_firefox && "Firefox has no switch for it" }, async () => {
  const optimum = () => { const { fit } = window.varokel.bench; return fit.files["optimum.json"]; };
  await load_example();
  await fit();
  assert.equal(await now.page.evaluate(() => document.documentElement.dataset.module), "vectors");
  const other = await launch("--js-flags=--no-enable-sse4-1");
  try {
    const page = await open_page({}, other);
    assert.equal(await page.evaluate(() => document.documentElement.dataset.module), "plain");
    await page.click("#example");
    await page.waitForFunction(() => window.varokel.bench.entries.length === 16 && !window.varokel.busy);
    await page.click("#fit");
    await page.waitForFunction(() => window.varokel.bench.fit && !window.varokel.busy, null, { timeout: 60000 });
    assert.equal(await page.evaluate(optimum), await now.page.evaluate(optimum));
  } finally {
    await other.close();
  }
});
