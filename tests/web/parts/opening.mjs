// SPDX-License-Identifier: BSD-3-Clause
// opening.mjs -- the page alone: what it asks for, and its example
import assert from "node:assert/strict";
import { join } from "node:path";
import test from "node:test";
import { fit, load_example, now, page_file, saved, shot } from "../browser.mjs";

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
  await shot("fitted");
  if (process.env.SHOTS) await now.page.screenshot({ path: join(process.env.SHOTS, "workbench.jpg"), type: "jpeg", quality: 75 }); // docs/
  assert.match(await now.page.textContent("#pane-result"), /several_minima/);
  assert.match(await now.page.textContent("#values"), /PCr/);
  const optimum = JSON.parse((await saved("optimum.json")).toString());
  assert.equal(optimum.form, "varokel optimum 1");
  assert.deepEqual(now.troubles, []);
});
