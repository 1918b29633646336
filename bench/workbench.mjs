// SPDX-License-Identifier: BSD-3-Clause
// workbench.mjs frames|large -- how the page keeps up with a hand, and with a large file
//
//   tests/web/run.sh frames PROGRAMS TREE    20 lines, 4,096 points: processor time of a picture while a line is dragged
//   tests/web/run.sh large PROGRAMS TREE     a grid of 248 MiB: longest task of the page, time, memory
//
// Prints numbers and judges none. BROWSER=firefox measures there.
import { readdirSync, readFileSync } from "node:fs";
import { cpus } from "node:os";
import { begin, end, grid_file, now, open_files, until } from "../tests/web/browser.mjs";

const median = (all) => [...all].sort((a, b) => a - b)[Math.floor(all.length / 2)];

// What the page's thread did while act() ran, task by task, by its own processor time, whoever else works
// on the machine: {ms, of}, longest first, of: what took most of it. Chromium tells; of Firefox nothing is
// known.
async function tasks_while(act) {
  if (process.env.BROWSER === "firefox") {
    await act();
    return [];
  }
  const threads = () => now.page.evaluate(() => performance.mark("page thread"));
  await now.browser.startTracing(now.page, { categories: ["toplevel", "devtools.timeline", "v8", "blink.user_timing", "__metadata"] });
  await threads();
  await act();
  const events = JSON.parse((await now.browser.stopTracing()).toString()).traceEvents;
  const mark = events.find((each) => each.name === "page thread");
  const own = events.filter((each) => each.pid === mark.pid && each.tid === mark.tid && each.tdur > 0);
  return own.filter((each) => each.name === "ThreadControllerImpl::RunTask").sort((a, b) => b.tdur - a.tdur).map((task, i) => {
    const of = i > 2 ? [] : own.filter((each) => each !== task && each.ts >= task.ts && each.ts + each.dur <= task.ts + task.dur && each.tdur > 5000 && !/RunTask/.test(each.name));
    return { ms: task.tdur / 1000, of: of.sort((a, b) => b.tdur - a.tdur).slice(0, 4).map((each) => `${each.name} ${(each.tdur / 1000).toFixed(0)}`).join(", ") };
  });
}
const words = (task) => (task ? `${task.ms.toFixed(1)} ms${task.of ? ` (${task.of})` : ""}` : "n/a");

// A hand drags a line back and forth over all points: each frame has one movement, and model, components and
// residual anew.
async function frames() {
  await open_files(grid_file("wide.f32"), grid_file("wide.json"), grid_file("twenty.txt"));
  await until((b) => b.entries.length === 20 && b.about.points === 4096);
  const frames_of_drag = 200;
  let took;
  const tasks = await tasks_while(async () => {
    took = await now.page.evaluate(async (count) => {
      const { screen } = window.varokel, { canvas } = screen;
      const scene = screen.scene(), k = 7, at = scene.curves.values[k][1];
      const box = canvas.getBoundingClientRect();
      const x = box.x + scene.axis.x(at), y = box.y + scene.y(scene.curves.components[k][Math.round(at)]);
      const point = (type, dx) => canvas.dispatchEvent(new PointerEvent(type, { pointerId: 1, clientX: x + dx, clientY: y, bubbles: true, buttons: 1 }));
      const gaps = [], draw = screen.draw;
      let last = null, drawn = 0;
      screen.draw = function () { ++drawn; draw.call(this); };
      point("pointerdown", 0);
      for (let i = 0; i < count; ++i) {
        const now = await new Promise(requestAnimationFrame);
        if (last !== null) gaps.push(now - last);
        last = now;
        point("pointermove", 20 + 10 * Math.sin(i / 5));
      }
      await new Promise(requestAnimationFrame);
      screen.draw = draw;
      point("pointerup", 0);
      return { gaps, drawn };
    }, frames_of_drag);
  });
  const all = tasks.reduce((sum, each) => sum + each.ms, 0);
  console.log(`20 lines, 4096 points: ${took.drawn} pictures, ${(all / took.drawn).toFixed(1)} ms of the page's thread each, longest task ${words(tasks[0])}; ${(1000 / median(took.gaps)).toFixed(0)} frames/s`);
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
  const measured = async (what, act) => {
    const start = performance.now();
    const said = await act_and_rest(act);
    console.log(`${what}${said.words ? `, ${said.words}` : ""}: ${((performance.now() - start) / 1000).toFixed(1)} s; longest tasks of the page ${said.tasks.slice(0, 3).map(words).join("; ") || "n/a"}`);
  };
  const act_and_rest = async (act) => {
    let words;
    const tasks = await tasks_while(async () => {
      words = await act();
      await now.page.waitForTimeout(1500);
    });
    return { words, tasks };
  };
  await measured("page alone", async () => {});
  await measured("a grid read", async () => {
    await open_files(grid_file("large.nii"), grid_file("peaks.txt"));
    await until((b) => b.spectra.length > 1000, null, 600000);
    await now.page.waitForFunction(() => !window.varokel.busy);
    return `${await now.page.evaluate(() => window.varokel.bench.spectra.length)} spectra`;
  });
  await measured("three of them looked at", async () => {
    for (const i of [1, 5000, 20000]) await now.page.evaluate((i) => window.varokel.open_spectrum(i), i);
  });
  await measured("fits of all, cancelled", async () => {
    await now.page.evaluate(() => { window.varokel.guard(() => window.varokel.fit_all()); });
    await now.page.waitForTimeout(8000);
    await now.page.evaluate(() => window.varokel.runner.cancel());
    await now.page.waitForFunction(() => !window.varokel.busy);
    return `${await now.page.evaluate(() => window.varokel.result.series?.fits.filter((fit) => fit.fitted).length ?? 0)} done`;
  });
  console.log(`most storage of one process of the browser: ${peak_mib(process.pid).toFixed(0)} MiB`);
}

await begin();
try {
  console.log(`${cpus()[0].model}, ${cpus().length} cores, load ${readFileSync("/proc/loadavg", "utf8").split(" ")[0]}; ${now.browser.version()} ${process.env.BROWSER ?? "chromium"}`);
  await (process.argv[2] === "frames" ? frames() : large());
} finally {
  await end();
}
