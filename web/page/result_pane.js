// SPDX-License-Identifier: BSD-3-Clause
// result_pane.js -- values with errors, verdict, correlations; a series as table and map
import { by_id, element, number_text, quality_text } from "./dom.js";

const MOST_PAIRS = 40; // correlations that are listed
const MOST_ROWS = 100; // spectra that are listed at once
const OF_ENTRY = { area: "area", frequency: "frequency", gauss: "Gaussian width", phase: "phase", lorentz: "Lorentzian width" };

const MAPPED = { area: "area", percent: "error of the area in %", position: "position", quality: "quality" };
const DERIVED = /^derived (\d+)$/; // which of the table's rows a map shows

const cell = (text, kind = "") => element("td", { class: kind }, text);
const head = (...words) => element("tr", {}, ...words.map((word) => element("th", { scope: "col" }, word)));

export class ResultPane {
  constructor(bench, app) {
    this.bench = bench;
    this.app = app;
    this.series = null; // {fits, quantity}
  }
  show() {
    const parts = [];
    if (this.bench.fit) parts.push(...this.one(this.bench.fit));
    if (this.series) parts.push(...this.all());
    if (parts.length === 0) parts.push(element("p", { class: "help" }, "No fit yet. Fit (Ctrl+Enter) takes the table's lines to their optimum; start values are what you see."));
    by_id("pane-result").replaceChildren(...parts);
  }
  verdict(fit) {
    const level = fit.judgement.level;
    return element("div", { class: `verdict ${level}` },
      element("strong", {}, `${fit.judgement.status}: ${fit.optimum?.verdict ?? "no optimum"}`),
      ` · quality ${quality_text(fit.quality)} · ${fit.free_parameters} free parameters`,
      element("ul", {}, ...fit.judgement.findings.map((each) => element("li", {}, each.text)),
        ...fit.notes.map((text) => element("li", {}, text))));
  }
  one(fit) {
    if (fit.error || !fit.fitted)
      return [element("div", { class: "verdict red", role: "alert" }, element("strong", {}, "Not fitted. "), fit.error ?? fit.why_not)];
    const { bench, app } = this;
    const shown = bench.fit_is_shown;
    const buttons = element("div", { class: "row" },
      element("button", { class: "main", title: "The optimum becomes the start values of the table", onclick: () => app.guard(() => bench.accept_fit()) }, "Accept"),
      element("button", { title: "The table stays as it is", onclick: () => app.guard(() => { bench.forget_fit(); bench.values = null; bench.show_curves(); bench.tell("fit"); }) }, "Go back"),
      element("button", { "aria-pressed": String(shown), onclick: () => app.guard(() => bench.show_fit(!shown)) }, shown ? "Optimum is shown" : "Start is shown"));
    return [this.verdict(fit), buttons, this.values(fit), this.derived(fit), this.moved(fit), this.correlations(fit), this.starts(fit)].filter(Boolean);
  }
  // Columns that no entry uses are left out.
  values(fit) {
    const knows_ppm = fit.entries.some((entry) => entry.ppm !== null);
    const columns = [
      ["area", (entry) => [entry.area.shown, entry.area.percent > 50 ? "red" : entry.area.percent > 20 ? "amber" : ""]],
      [knows_ppm ? "ppm" : "Hz", (entry) => [entry.position]],
      ...["lorentz", "gauss"].filter((name) => fit.entries.some((entry) => entry[name].used)).map((name) =>
        [`${name} Hz`, (entry) => [entry[name].used ? entry[name].shown : "–"]]),
      ["phase °", (entry) => [entry.phase.shown]],
      ["SNR", (entry) => [number_text(entry.snr, 3)]],
    ];
    const rows = fit.entries.map((entry) => element("tr", {}, element("th", { scope: "row" }, entry.name),
      ...columns.map(([, text]) => cell(...text(entry)))));
    return element("div", { class: "wide", tabindex: 0, role: "region", "aria-label": "Values with errors" }, element("table", { id: "values" },
      element("thead", {}, head("", ...columns.map(([name]) => name))), element("tbody", {}, ...rows)));
  }
  // What rows "derive" and "amount" of the table ask for.
  derived(fit) {
    const is_short = this.bench.table?.amounts > 0 && !fit.derived.some((each) => each.unit);
    const note = is_short ? element("p", { class: "help" }, "Rows \"amount\" of the table need the water of the same voxel: open its file with the data, and name it under File.") : null;
    if (fit.derived.length === 0) return note;
    const rows = fit.derived.map((each) => element("tr", {}, element("th", { scope: "row", title: each.expression }, each.name),
      cell(`${each.shown}${each.unit ? ` ${each.unit}` : ""}`), cell(each.percent === "n/a" ? "n/a" : `${each.percent} %`)));
    return element("div", {}, element("table", { id: "derived", "aria-label": "Derived values" }, element("thead", {}, head("derived", "value", "error")), element("tbody", {}, ...rows)), note);
  }
  // What the optimum moved, of what is free.
  moved(fit) {
    const hz = this.bench.about.hz_per_point;
    const rows = this.bench.entries.map((entry, k) => {
      const now = fit.optimum.values[k];
      const shift = (now[1] - entry.of.frequency.points) * hz * Math.sign(this.bench.about.hz[1] - this.bench.about.hz[0]);
      const ratio = now[0] / entry.of.area.points;
      return element("tr", {}, element("th", { scope: "row" }, entry.name), cell(`${number_text(shift, 3)} Hz`), cell(`× ${number_text(ratio, 3)}`));
    });
    return element("details", {}, element("summary", {}, "What moved since the start"), element("table", {},
      element("thead", {}, head("", "frequency", "area")), element("tbody", {}, ...rows)));
  }
  // Of all parameters that are free; what follows another by a link is no pair with it.
  correlations(fit) {
    const pairs = [...fit.correlations].sort((x, y) => Math.abs(y.value) - Math.abs(x.value));
    const name = (pair, i) => `${OF_ENTRY[pair.of[i]]} of ${fit.entries[pair.entries[i]].name}`;
    const items = pairs.slice(0, MOST_PAIRS).map((pair) => element("li", {}, `${name(pair, 0)}, ${name(pair, 1)}: ${pair.value.toFixed(2)}`));
    if (pairs.length > MOST_PAIRS) items.push(element("li", {}, `and ${pairs.length - MOST_PAIRS} more`));
    return element("details", { id: "correlations", open: pairs.length > 0 }, element("summary", {}, `Correlations of free parameters (${pairs.length} of 0.7 or more)`),
      element("ul", { class: "said" }, ...items));
  }
  starts(fit) {
    return element("details", {}, element("summary", {}, `Starts (${fit.optimum.starts.length})`), element("ul", { class: "said" },
      ...fit.optimum.starts.map((each) => element("li", {}, `${each.name}: ${number_text(each.above, 3)} noise variances above the lowest${each.same ? ", the same" : ""}`))));
  }

  // ---- a series or a grid ----

  // text: of the table that was fitted
  take_series(fits, text) {
    this.series = { fits, text, entry: 0, of: "area", first: 0 };
  }
  // The series, when it is of this table.
  series_of(text) { return this.series?.text === text ? this.series : null; }
  derived_of(text) { return this.series_of(text) ? this.derived_names() : []; }
  // What the map shows: a number of each spectrum, and its name.
  map_values() {
    if (!this.series) return null;
    const { fits, entry, of } = this.series;
    const derived = DERIVED.exec(of)?.[1];
    if (derived !== undefined)
      return { values: fits.map((fit) => fit.derived?.[derived]?.value ?? null), title: this.derived_names()[derived] ?? "" };
    const value = (fit) => (of === "quality" ? fit.quality : of === "area" ? fit.entries[entry]?.area.value : of === "percent" ? fit.entries[entry]?.area.percent : fit.entries[entry]?.ppm ?? fit.entries[entry]?.hz);
    const name = this.names()[entry] ?? "";
    return { values: fits.map((fit) => (fit.fitted ? value(fit) ?? null : null)), title: of === "quality" ? "Quality" : `${MAPPED[of]} of ${name}` };
  }
  choose_rows(first, count) {
    const go = (to) => {
      this.series.first = Math.max(0, Math.min(Math.floor(to / MOST_ROWS) * MOST_ROWS, count - 1));
      this.show();
    };
    return element("div", { class: "row", id: "series-rows" },
      element("button", { title: "Spectra before these", disabled: first === 0, onclick: () => go(first - MOST_ROWS) }, "‹"),
      `${first} to ${Math.min(count, first + MOST_ROWS) - 1} of 0 to ${count - 1}`,
      element("button", { title: "Spectra behind these", disabled: first + MOST_ROWS >= count, onclick: () => go(first + MOST_ROWS) }, "›"));
  }
  derived_names() { return this.series.fits.find((fit) => fit.fitted)?.derived.map((each) => each.name) ?? []; }
  names() { return this.series.fits.find((fit) => fit.fitted)?.entries.map((entry) => entry.name) ?? []; }
  all() {
    const { fits, text } = this.series;
    const names = this.names(), derived = this.derived_names();
    const failed = fits.filter((fit) => !fit.fitted).length;
    const choose = (label, options, now, act) => element("label", {}, `${label} `, element("select", { "aria-label": label, onchange: (event) => {
      act(event.target.value);
      this.app.show_map();
    } }, ...options.map(([value, word]) => element("option", { value, selected: String(value) === String(now) }, word))));
    const first = Math.min(this.series.first, fits.length - 1);
    const rows = fits.slice(first, first + MOST_ROWS).map((fit, k) => element("tr", {},
      element("th", { scope: "row" }, element("button", { onclick: () => this.app.guard(() => this.app.open_spectrum(first + k, text === this.bench.text ? fit : null)) }, fit.name)),
      cell(fit.fitted ? fit.optimum?.verdict ?? "" : "not fitted", fit.fitted ? "" : "red"), cell(quality_text(fit.quality)),
      ...(fit.fitted ? [...fit.entries.map((entry) => entry.area), ...fit.derived].map((own) => cell(own.shown)) : [element("td", { colspan: Math.max(1, names.length + derived.length), class: "wrap" }, fit.error ?? fit.why_not)])));
    return [element("h2", {}, `${fits.length} spectra${failed ? `, ${failed} not fitted` : ""}`),
      ...(text === this.bench.text ? [] : [element("p", { class: "help" }, "The table has changed since these were fitted.")]),
      ...(fits.length > MOST_ROWS ? [this.choose_rows(first, fits.length)] : []),
      element("div", { class: "row" }, choose("Map of", [...Object.entries(MAPPED), ...derived.map((name, i) => [`derived ${i}`, name])], this.series.of, (of) => { this.series.of = of; }),
        choose("entry", names.map((name, k) => [k, name]), this.series.entry, (k) => { this.series.entry = Number(k); })),
      element("div", { class: "wide", tabindex: 0, role: "region", "aria-label": "Results of all spectra" }, element("table", { id: "series" }, element("thead", {}, head("", "verdict", "quality", ...names, ...derived)), element("tbody", {}, ...rows)))];
  }
}
