// SPDX-License-Identifier: BSD-3-Clause
// hostile_pages.test.mjs -- report, overview and look in a real browser, of data whose names and header texts
// mean something to one: they are text
//
// PAGES names a folder with PAGE.html of each, DRIVER the folder with playwright-core, BROWSER "chromium" or
// "firefox", PROGRAM its program.
import assert from "node:assert/strict";
import { readFileSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { join } from "node:path";
import test, { after, before } from "node:test";

const is_firefox = process.env.BROWSER === "firefox", folder = process.env.PAGES;
const driver = createRequire(join(process.env.DRIVER, "x.js"))("playwright-core");
const turns = /[\u061c\u200e\u200f\u202a-\u202e\u2066-\u2069]/;
// the driver stills the page by a style of its own before a picture, which the policy refuses
const of_the_driver = (text) => is_firefox && /blocked an inline style \(style-src-elem\)/.test(text);
let browser;

before(async () => {
  const own = is_firefox ? { channel: "moz-firefox" } : { args: ["--no-sandbox", "--disable-gpu"] };
  browser = await driver[is_firefox ? "firefox" : "chromium"].launch({ executablePath: process.env.PROGRAM, ...own });
});
after(() => browser?.close());

// Opens a page and uses all of it: what the browser says, asks for and shows.
async function used(file) {
  const page = await browser.newPage({ viewport: { width: 1280, height: 900 } });
  const said = [], asked = [];
  page.on("pageerror", (error) => said.push(error.message));
  page.on("console", (message) => of_the_driver(message.text()) || said.push(message.text()));
  page.on("dialog", (dialog) => { said.push(`dialog ${dialog.message()}`); dialog.dismiss(); });
  page.on("request", (request) => asked.push(request.url()));
  await page.goto(`file://${join(folder, file)}`);
  await page.waitForTimeout(300);
  const found = await page.evaluate(() => {
    for (const node of document.querySelectorAll("details")) node.open = true;
    for (const node of document.querySelectorAll("select"))
      for (let k = 0; k < node.options.length; ++k) {
        node.selectedIndex = k;
        for (const type of ["input", "change"]) node.dispatchEvent(new Event(type, { bubbles: true }));
      }
    for (const node of document.querySelectorAll("button, input[type=checkbox], th, tbody tr, canvas"))
      node.dispatchEvent(new MouseEvent("click", { bubbles: true, clientX: 5, clientY: 5 }));
    const handlers = [...document.querySelectorAll("*")].flatMap((node) => [...node.attributes]).filter((each) => /^on|^(javascript|data:text)/i.test(each.name) || /^javascript:/i.test(each.value));
    return {
      title: document.title, words: document.body.innerText, handlers: handlers.map((each) => each.name),
      odd: [...document.querySelectorAll("img, iframe, object, embed, base, form, link, meta[http-equiv=refresh]")].map((node) => node.outerHTML.slice(0, 80)),
      scripts: document.querySelectorAll("script:not([type])").length,
    };
  });
  await page.waitForTimeout(200);
  if (process.env.SHOTS) await page.screenshot({ path: join(process.env.SHOTS, `${file}.${process.env.BROWSER}.png`) }).catch(() => {});
  await page.close();
  return { ...found, said, asked };
}

for (const kind of ["report", "overview", "look"])
  test(`${kind}: names are text, nothing else runs`, async () => {
    const plain = await used(`plain_${kind}.html`), odd = await used(`odd_${kind}.html`);
    assert.deepEqual(odd.said, []);
    assert.deepEqual(odd.asked.slice(is_firefox ? 0 : 1), []); // whose driver does not name the page itself
    assert.deepEqual(odd.odd, plain.odd);
    assert.deepEqual(odd.handlers, []);
    assert.equal(odd.scripts, plain.scripts);
    assert.notEqual(odd.title, "taken");
    assert.ok(odd.words.includes("<img src=x onerror=document.title="), "the name is not shown");
    assert.ok(!turns.test(odd.words + odd.title), "a mark turns the direction of a text");
  });

test("a script and a handler that get into a page all the same do not run, and the browser says so", async () => {
  for (const kind of ["report", "overview", "look"]) {
    const page = readFileSync(join(folder, `odd_${kind}.html`), "utf8");
    const spoilt = page.replace("<body>", '<body><script>document.title = "taken"</script><img src="data:," onerror="document.title = \'taken\'">');
    assert.notEqual(spoilt, page);
    writeFileSync(join(folder, "spoilt.html"), spoilt);
    const seen = await used("spoilt.html");
    assert.notEqual(seen.title, "taken");
    assert.ok(seen.said.some((text) => /Content.Security.Policy|settings blocked/i.test(text)), seen.said.join(" | "));
    writeFileSync(join(folder, "spoilt.html"), spoilt.replace(/<meta http-equiv="Content-Security-Policy"[^>]*>/, ""));
    assert.equal((await used("spoilt.html")).title, "taken"); // without a policy they do
  }
});
