// SPDX-License-Identifier: BSD-3-Clause
// wiring.js -- which hand, button and key does what
import { nearest_peak } from "./axis.js";
import { by_id, element } from "./dom.js";
import { add_line, remove_entry, set_intervals, set_noise, set_window, toggle_window } from "./lines.js";
import { edges_of, same_edge } from "./handles.js";
import { options_of_fields } from "./file_pane.js";

export const TABS = ["lines", "text", "result", "file", "save"];

const EDGE_NAMES = { noise: "the noise window", interval: "a fitted interval", window: "the line's window" };

// A line in words, for who hears the page.
function words_of(bench, k) {
  const entry = bench.entries[k];
  if (!entry) return "";
  const { frequency, area, lorentz, gauss } = entry.of;
  const of = (value, digits = 4) => Number((value ?? 0).toPrecision(digits));
  const width = lorentz.used ? lorentz : gauss;
  return `${entry.name}: ${frequency.ppm !== undefined ? `${of(frequency.ppm)} ppm` : `${of(frequency.hz)} Hz`}, area ${of(area.value)}, width ${of(width.hz)} Hz.`;
}

// What hands on the picture do.
export function hand_acts(app) {
  const { bench, screen } = app;
  const add_at = (given) => app.guard(() => {
    app.need_spectrum();
    const point = given ?? screen.cursor;
    const middle = point ?? (screen.axis.first + screen.axis.last) / 2;
    const reach = Math.max(2, Math.abs(screen.axis.points_per_pixel) * 10);
    const name = add_line(bench, nearest_peak(bench.curves.data, middle, point === null ? (screen.axis.last - screen.axis.first) / 2 : reach));
    app.say(`${name} added at ${bench.entries[bench.selected]?.cells.frequency ?? ""}.`);
    app.adding = false;
    app.show_buttons();
  });
  const edges = (held) => (screen.edges ??= { window: held.kind === "window" && { entry: held.entry, ends: [...bench.entries[held.entry].of.frequency.window_points] }, noise: [...(bench.table?.noise ?? bench.about.noise ?? [0, 1])], intervals: (bench.table?.intervals ?? []).map((each) => [...each]) });
  const move_edge = (held, point) => {
    const now = edges(held);
    const place = Math.min(Math.max(0, Math.round(point)), bench.about.points - 1);
    if (held.kind === "noise") now.noise[held.edge] = held.edge === 1 ? place + 1 : place;
    else if (held.kind === "interval") now.intervals[held.index][held.edge] = place;
    else now.window.ends[held.edge] = Math.min(Math.max(0, point), bench.about.points - 1);
    screen.redraw();
  };
  const drop_edge = (held) => {
    const now = screen.edges;
    screen.edges = null;
    if (!now) return;
    if (held.kind === "noise") set_noise(bench, now.noise[0], now.noise[1] - 1);
    else if (held.kind === "interval") set_intervals(bench, now.intervals);
    else set_window(bench, held.entry, now.window.ends);
  };
  const place_text = (point) => `${screen.axis.text_of(point)}`;
  const hold = (act) => {
    if (bench.stale || !bench.table) return;
    screen.held_range = screen.range; // scales rest while a hand moves a line
    screen.held_shrink = screen.shrink;
    act();
  };
  return {
    mode: () => (app.adding ? "add" : app.lines.tying ? "tie" : "look"),
    select: (k) => bench.selected !== k && bench.select(k),
    select_next: (step) => {
      const n = bench.entries.length;
      if (n === 0) return;
      bench.select(bench.selected < 0 ? (step > 0 ? 0 : n - 1) : (bench.selected + step + n) % n);
      app.say(words_of(bench, bench.selected));
    },
    pointed: (point, height) => {
      if (bench.about) app.readout(point, height);
    },
    drag_line: (k, step, factor) => hold(() => {
      bench.move(k, "frequency", (value) => value + step);
      bench.move(k, "area", (value) => value * factor);
    }),
    drag_width: (k, factor) => hold(() => {
      for (const column of ["lorentz", "gauss"]) if (bench.entries[k].of[column].used) bench.move(k, column, (value) => value * factor);
    }),
    drag_edge: move_edge,
    dropped: (held) => app.guard(() => {
      screen.held_range = screen.held_shrink = null;
      if (held.kind === "line" || held.kind === "width") bench.drop();
      else drop_edge(held);
      screen.redraw();
    }),
    is_there: () => Boolean(bench.spectrum),
    // ---- what keys do ----
    has_edge: () => screen.edge !== null,
    next_edge: (step) => {
      const all = edges_of(screen.scene()).sort((a, b) => screen.axis.x(a.point) - screen.axis.x(b.point));
      if (all.length === 0) return app.say("No edge is seen here.");
      const at = all.findIndex((each) => same_edge(each, screen.edge));
      screen.edge = all[at < 0 ? (step > 0 ? 0 : all.length - 1) : (at + step + all.length) % all.length];
      return app.say(`Edge of ${EDGE_NAMES[screen.edge.kind]} at ${place_text(screen.edge.point)}: Alt and arrows move it, Escape leaves it.`);
    },
    nudge_edge: (step) => app.guard(() => {
      const { edge } = screen;
      if (edge.kind === "window" && !bench.entries[edge.entry]?.of.frequency.window_points) { screen.edge = null; return; }
      edge.point += step;
      move_edge(edge, edge.point);
      app.say(`Edge of ${EDGE_NAMES[edge.kind]} at ${place_text(edge.point)}.`);
      clearTimeout(app.nudged);
      app.nudged = setTimeout(() => app.guard(() => drop_edge(edge)), 350);
    }),
    window: () => bench.selected >= 0 && app.guard(() => toggle_window(bench, bench.selected)),
    pick: () => app.guard(() => { if (app.lines.tying && bench.selected >= 0) app.lines.picked(bench.selected); }),
    cursor: (steps) => {
      const { axis } = screen, from = screen.cursor ?? (axis.first + axis.last) / 2;
      screen.cursor = Math.min(Math.max(axis.first, from + steps * 3 * axis.points_per_pixel), axis.last);
      screen.redraw();
      app.say(`Cursor at ${place_text(screen.cursor)}; a adds a line there.`);
    },
    clicked: (point, taken) => app.guard(() => {
      if (app.adding) return add_at(point);
      if (taken?.entry !== undefined && app.lines.picked(taken.entry)) return undefined;
      if (taken?.entry !== undefined) bench.select(taken.entry);
      else if (!taken && !app.lines.tying) bench.select(-1);
      return undefined;
    }),
    add_at,
    remove: () => bench.selected >= 0 && app.guard(() => remove_entry(bench, bench.selected)),
    nudge: (what, by) => app.guard(() => {
      const k = bench.selected;
      if (k < 0 || bench.stale) return;
      if (what === "frequency") bench.move(k, "frequency", (value) => value + by);
      else for (const column of what === "width" ? ["lorentz", "gauss"] : ["area"])
        if (bench.entries[k].of[column].used) bench.move(k, column, (value) => value * by);
      clearTimeout(app.nudged);
      app.nudged = setTimeout(() => app.guard(() => { bench.drop(); app.say(words_of(bench, bench.selected)); }), 350);
    }),
    taller: (factor) => { screen.scale_up = Math.min(1e4, Math.max(0.1, screen.scale_up * factor)); screen.redraw(); },
    show_all: () => { screen.scale_up = 1; screen.axis.show_all(); screen.redraw(); },
    leave_mode: () => { app.adding = false; screen.edge = screen.cursor = null; app.lines.end_tie(); app.show_buttons(); },
  };
}

// Buttons, fields and keys of the page.
export function wire_buttons(app) {
  const { bench, screen } = app;
  const click = (id, act) => by_id(id).addEventListener("click", () => app.guard(act));
  click("open", () => by_id("file-input").click());
  by_id("file-input").addEventListener("change", (event) => app.guard(async () => {
    const list = [...event.target.files];
    event.target.value = "";
    await app.open_files(list);
  }));
  click("example", () => app.open_example());
  click("undo", () => bench.undo());
  click("redo", () => bench.redo());
  click("fit", () => app.fit());
  click("fit-all", () => app.fit_all());
  click("cancel", () => app.runner.cancel());
  click("tour", () => app.tour.begin());
  click("help-open", () => by_id("help").showModal());
  click("help-close", () => by_id("help").close());
  click("mode-add", () => { app.need_spectrum(); app.adding = !app.adding; app.show_buttons(); if (app.adding) app.say("Click a peak. Escape ends this."); });
  const acts = hand_acts(app);
  click("whole", acts.show_all);
  click("fitted", () => app.show_fitted());
  const zoom = (factor) => { screen.axis.zoom(factor, (screen.axis.first + screen.axis.last) / 2); screen.redraw(); };
  click("in", () => zoom(0.7));
  click("out", () => zoom(1 / 0.7));
  click("taller", () => acts.taller(1.3));
  click("lower", () => acts.taller(1 / 1.3));
  click("import-again", () => app.import_again(options_of_fields()));
  click("erase", () => app.erase_kept());
  click("empty-open", () => by_id("file-input").click());
  click("empty-example", () => app.open_example());
  by_id("spectrum-number").addEventListener("change", (event) => app.guard(() => app.open_spectrum(Number(event.target.value))));
  by_id("spectrum").addEventListener("change", (event) => app.guard(() => app.open_spectrum(Number(event.target.value))));
  by_id("unit").addEventListener("change", (event) => { screen.set_unit(event.target.value); screen.redraw(); });
  by_id("part").addEventListener("change", (event) => app.guard(() => bench.set_view({ part: event.target.value })));
  wire_eye(app);
  wire_tabs(app);
  by_id("text").addEventListener("input", (event) => app.guard(() => bench.set_text(event.target.value, "typing")));
  by_id("shown").replaceChildren(...Object.keys(screen.show).map((name) => element("label", {}, element("input", {
    type: "checkbox", checked: screen.show[name], onchange: (event) => { screen.show[name] = event.target.checked; screen.redraw(); } }), name)));
  document.addEventListener("keydown", (event) => {
    if (!(event.ctrlKey || event.metaKey)) return;
    const typing = /^(INPUT|TEXTAREA)$/.test(event.target.tagName) && event.target.id !== "text";
    const key = event.key.toLowerCase();
    const act = key === "enter" ? () => app.fit() : typing ? null
      : key === "z" ? () => (event.shiftKey ? bench.redo() : bench.undo()) : key === "y" ? () => bench.redo() : null;
    if (!act) return;
    event.preventDefault();
    app.guard(act);
  });
  const over = (event, on) => { event.preventDefault(); by_id("picture").classList.toggle("over", on); };
  document.addEventListener("dragover", (event) => over(event, true));
  document.addEventListener("dragleave", (event) => over(event, false));
  document.addEventListener("drop", (event) => { over(event, false); app.guard(() => app.open_files([...event.dataTransfer.files])); });
}
function wire_eye(app) {
  const sliders = [["phase-0", "phase_0", "°"], ["phase-1", "phase_1", "°"], ["broaden", "broadened_hz", " Hz"]];
  for (const [id, name, unit] of sliders)
    by_id(id).addEventListener("input", () => app.guard(() => {
      by_id(`${id}-text`).textContent = by_id(id).value + unit;
      app.bench.set_view({ [name]: Number(by_id(id).value) });
    }));
  by_id("eye-model").addEventListener("click", () => app.guard(() => app.take_model_phases()));
  by_id("eye-reset").addEventListener("click", () => {
    for (const [id] of sliders) {
      by_id(id).value = 0;
      by_id(id).dispatchEvent(new Event("input"));
    }
  });
}
function wire_tabs(app) {
  for (const name of TABS) by_id(`tab-${name}`).addEventListener("click", () => app.tab(name));
  by_id("tabs").addEventListener("keydown", (event) => {
    const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
    if (!step) return;
    const at = TABS.findIndex((name) => by_id(`tab-${name}`).getAttribute("aria-selected") === "true");
    const next = TABS[(at + step + TABS.length) % TABS.length];
    app.tab(next);
    by_id(`tab-${next}`).focus();
  });
}
