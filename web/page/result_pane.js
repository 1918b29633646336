// SPDX-License-Identifier: BSD-3-Clause
// result_pane.js -- values with errors, verdict, correlations; a series as table and map
import { by_id, element, number_text, with_error } from "./dom.js";

const HIGH = 0.7; // correlations that are listed

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
      ` · quality ${number_text(fit.quality, 3)} · ${fit.free_parameters} free parameters`,
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
    return [this.verdict(fit), buttons, this.values(fit), this.moved(fit), this.correlations(fit), this.starts(fit)].filter(Boolean);
  }
  values(fit) {
    const rows = fit.entries.map((entry) => element("tr", {},
      element("th", { scope: "row" }, entry.name),
      cell(with_error(entry.area.value, entry.area.error), entry.area.percent > 50 ? "red" : entry.area.percent > 20 ? "amber" : ""),
      cell(entry.ppm === null ? with_error(entry.frequency.value, entry.frequency.error) : with_error(entry.ppm, entry.ppm_error)),
      cell(entry.lorentz.used ? with_error(entry.lorentz.value, entry.lorentz.error) : "–"),
      cell(entry.gauss.used ? with_error(entry.gauss.value, entry.gauss.error) : "–"),
      cell(with_error(entry.phase.value, entry.phase.error)), cell(number_text(entry.snr, 3))));
    return element("div", { class: "wide" }, element("table", { id: "values" },
      element("thead", {}, head("", "area", "ppm", "Lorentz Hz", "Gauss Hz", "phase °", "SNR")), element("tbody", {}, ...rows)));
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
  correlations(fit) {
    const pairs = [];
    fit.correlations.forEach((row, a) => row.forEach((value, b) => {
      if (b > a && value !== null && Math.abs(value) >= HIGH) pairs.push({ a, b, value });
    }));
    pairs.sort((x, y) => Math.abs(y.value) - Math.abs(x.value));
    const name = (k) => fit.entries[k].name;
    return element("details", { open: pairs.length > 0 }, element("summary", {}, `Correlated areas (${pairs.length} of ${HIGH} or more)`),
      element("ul", { class: "said" }, ...pairs.map(({ a, b, value }) => element("li", {}, `${name(a)}, ${name(b)}: ${value.toFixed(2)}`))));
  }
  starts(fit) {
    return element("details", {}, element("summary", {}, `Starts (${fit.optimum.starts.length})`), element("ul", { class: "said" },
      ...fit.optimum.starts.map((each) => element("li", {}, `${each.name}: ${number_text(each.above, 3)} noise variances above the lowest${each.same ? ", the same" : ""}`))));
  }

  // ---- a series or a grid ----

  take_series(fits) {
    this.series = { fits, entry: 0 };
  }
  names() { return this.series.fits.find((fit) => fit.fitted)?.entries.map((entry) => entry.name) ?? []; }
  all() {
    const { fits } = this.series;
    const names = this.names();
    const failed = fits.filter((fit) => !fit.fitted).length;
    const choose = element("select", { "aria-label": "Area that the map shows", onchange: (event) => {
      this.series.entry = Number(event.target.value);
      this.app.show_map();
    } }, ...names.map((name, k) => element("option", { value: k, selected: k === this.series.entry }, name)));
    const rows = fits.map((fit, i) => element("tr", {},
      element("th", { scope: "row" }, element("button", { onclick: () => this.app.guard(() => this.app.open_spectrum(i, fit)) }, fit.name)),
      cell(fit.fitted ? fit.optimum?.verdict ?? "" : "not fitted", fit.fitted ? "" : "red"), cell(number_text(fit.quality, 3)),
      ...(fit.fitted ? fit.entries.map((entry) => cell(with_error(entry.area.value, entry.area.error))) : [element("td", { colspan: names.length, class: "wrap" }, fit.error ?? fit.why_not)])));
    return [element("h2", {}, `${fits.length} spectra${failed ? `, ${failed} not fitted` : ""}`),
      element("div", { class: "row" }, element("label", {}, "Map of ", choose)),
      element("div", { class: "wide" }, element("table", { id: "series" }, element("thead", {}, head("", "verdict", "quality", ...names)), element("tbody", {}, ...rows)))];
  }
}
