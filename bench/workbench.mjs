// SPDX-License-Identifier: BSD-3-Clause
// workbench.mjs frames|large -- how the page keeps up with a hand, and with a large file
//
//   tests/web/run.sh frames PROGRAMS TREE    20 lines, 4,096 points: time of a frame while a line is dragged
//   tests/web/run.sh large PROGRAMS TREE     a grid of 248 MiB: longest task of the page, time, memory
//
// Prints numbers and judges none. BROWSER=firefox measures there.
import { readdirSync, readFileSync } from "node:fs";
import { cpus } from "node:os";
import { begin, end, grid_file, now, open_files, until } from "../tests/web/browser.mjs";

const median = (all) => [...all].sort((a, b) => a - b)[Math.floor(all.length / 2)];

async function frames() {
  await open_files(grid_file("wide.f32"), grid_file("wide.json"), grid_file("twenty.txt"));
  await until((b) => b.entries.length === 20 && b.about.points === 4096);
  // what the page's thread spends of the processor, whoever else works on the machine; Chromium tells
  const session = process.env.BROWSER === "firefox" ? null : await now.page.context().newCDPSession(now.page);
  await session?.send("Performance.enable", { timeDomain: "threadTicks" });
  const spent = async () => (session ? (await session.send("Performance.getMetrics")).metrics.find((each) => each.name === "TaskDuration").value : NaN);
  const before = await spent();
  // all points are seen, and every frame has model, components and residual anew
  const took = await now.page.evaluate(async () => {
    const { bench, screen } = window.varokel, work = [], gaps = [];
    let last = null;
    for (let i = 0; i < 200; ++i) {
      const at = await new Promise(requestAnimationFrame);
      if (last !== null) gaps.push(at - last);
      last = at;
      const begin = performance.now();
      bench.move(7, "frequency", (value) => value + (i % 2 ? 1 : -1));
      screen.draw();
      work.push(performance.now() - begin);
    }
    return { work, gaps };
  });
  console.log(`processor time of the page's thread: ${(1000 * ((await spent()) - before) / 200).toFixed(1)} ms a frame`);
  console.log(`20 lines, 4096 points: ${median(took.work).toFixed(1)} ms of work a frame, ${(1000 / median(took.gaps)).toFixed(0)} frames/s (median of 200)`);
}

// Highest storage of the browser's processes so far [MiB]: what each had at most.
function peak_mib(root) {
  const parents = new Map(readdirSync("/proc").filter((name) => /^\d+$/.test(name)).map((pid) => {
    try {
      return [Number(pid), Number(/^PPid:\s+(\d+)/m.exec(readFileSync(`/proc/${pid}/status`, "utf8"))[1])];
    } catch { return [Number(pid), 0]; }
  }));
  const is_below = (pid) => { for (; pid > 1; pid = parents.get(pid) ?? 0) if (pid === root) return true; return false; };
  let most = 0;
  for (const pid of parents.keys()) {
    if (!is_below(pid)) continue;
    try {
      most = Math.max(most, Number(/^VmHWM:\s+(\d+)/m.exec(readFileSync(`/proc/${pid}/status`, "utf8"))?.[1] ?? 0) / 1024);
    } catch { /* it ended */ }
  }
  return most;
}

async function large() {
  await now.page.evaluate(() => {
    window.gaps = [];
    let last = performance.now();
    setInterval(() => { const at = performance.now(); window.gaps.push(at - last - 5); last = at; }, 5);
  });
  const longest = async (what) => console.log(`${what}: longest block of the page ${(await now.page.evaluate(() => { const most = window.gaps.reduce((a, b) => Math.max(a, b), 0); window.gaps = []; return most; })).toFixed(0)} ms`);
  await longest("page alone");
  const start = performance.now();
  await open_files(grid_file("large.nii"), grid_file("peaks.txt"));
  await until((b) => b.spectra.length > 1000, null, 600000);
  await now.page.waitForFunction(() => !window.varokel.busy);
  console.log(`${await now.page.evaluate(() => window.varokel.bench.spectra.length)} spectra in ${((performance.now() - start) / 1000).toFixed(1)} s`);
  await now.page.waitForTimeout(1500);
  await longest("reading");
  for (const i of [1, 5000, 20000]) await now.page.evaluate((i) => window.varokel.open_spectrum(i), i);
  await now.page.waitForTimeout(1500);
  await longest("three spectra looked at");
  await now.page.evaluate(() => { window.varokel.guard(() => window.varokel.fit_all()); });
  await now.page.waitForTimeout(8000);
  await now.page.evaluate(() => window.varokel.runner.cancel());
  await now.page.waitForFunction(() => !window.varokel.busy);
  const done = await now.page.evaluate(() => window.varokel.result.series?.fits.filter((fit) => fit.fitted).length ?? 0);
  await now.page.waitForTimeout(500);
  await longest(`${done} fits of all, cancelled`);
  console.log(`most storage of one process of the browser: ${peak_mib(process.pid).toFixed(0)} MiB`);
}

await begin();
try {
  console.log(`${cpus()[0].model}, ${cpus().length} cores, load ${readFileSync("/proc/loadavg", "utf8").split(" ")[0]}; ${now.browser.version()} ${process.env.BROWSER ?? "chromium"}`);
  await (process.argv[2] === "frames" ? frames() : large());
} finally {
  await end();
}
