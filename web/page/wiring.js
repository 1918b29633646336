// SPDX-License-Identifier: BSD-3-Clause
// wiring.js -- which hand, button and key does what
import { nearest_peak } from "./axis.js";
import { by_id, element } from "./dom.js";
import { add_line, remove_entry, set_intervals, set_noise } from "./lines.js";

export const TABS = ["lines", "text", "result", "file", "save"];

// What hands on the picture do.
export function hand_acts(app) {
  const { bench, screen } = app;
  const add_at = (point) => app.guard(() => {
    app.need_spectrum();
    const middle = point ?? (screen.axis.first + screen.axis.last) / 2;
    const reach = Math.max(2, Math.abs(screen.axis.points_per_pixel) * 10);
    const name = add_line(bench, nearest_peak(bench.curves.data, middle, point === null ? (screen.axis.last - screen.axis.first) / 2 : reach));
    app.say(`${name} added at ${bench.entries[bench.selected]?.cells.frequency ?? ""}.`);
    app.adding = false;
    app.show_buttons();
  });
  const edges = () => (screen.edges ??= { noise: [...(bench.table?.noise ?? bench.about.noise ?? [0, 1])], intervals: (bench.table?.intervals ?? []).map((each) => [...each]) });
  const hold = (act) => {
    if (bench.stale || !bench.table) return;
    screen.held_range = screen.range; // the scale rests while a hand moves a line
    act();
  };
  return {
    mode: () => (app.adding ? "add" : app.lines.tying ? "tie" : "look"),
    select: (k) => bench.selected !== k && bench.select(k),
    select_next: (step) => bench.entries.length && bench.select((bench.selected + step + bench.entries.length) % bench.entries.length),
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
    drag_edge: (held, point) => {
      const now = edges();
      const place = Math.min(Math.max(0, Math.round(point)), bench.about.points - 1);
      if (held.kind === "noise") now.noise[held.edge] = held.edge === 1 ? place + 1 : place;
      else now.intervals[held.index][held.edge] = place;
      screen.redraw();
    },
    dropped: (held) => app.guard(() => {
      screen.held_range = null;
      const now = screen.edges;
      screen.edges = null;
      if (held.kind === "noise") set_noise(bench, now.noise[0], now.noise[1] - 1);
      else if (held.kind === "interval") set_intervals(bench, now.intervals);
      else bench.drop();
      screen.redraw();
    }),
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
      app.nudged = setTimeout(() => app.guard(() => bench.drop()), 350);
    }),
    taller: (factor) => { screen.scale_up = Math.min(1e4, Math.max(0.1, screen.scale_up * factor)); screen.redraw(); },
    show_all: () => { screen.scale_up = 1; screen.axis.show_all(); screen.redraw(); },
    leave_mode: () => { app.adding = false; app.lines.end_tie(); app.show_buttons(); },
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
  click("import-again", async () => {
    if (app.files.length === 0) throw new Error("The files themselves are not kept; open them again.");
    const before = app.options;
    app.options = options_of_fields();
    try {
      await app.import(app.files, app.inputs, bench.text);
    } catch (error) {
      app.options = before;
      throw error;
    }
  });
  click("erase", () => app.erase_kept());
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
