// SPDX-License-Identifier: BSD-3-Clause
// bench.js -- what lies on the bench: spectra, table, start values, curves, fit. No screen here.
//
// The table of peaks is its text. Whatever a hand does ends as another text, which the module reads
// as the programs do; everything else follows from it.
import { History } from "./history.js";
import { place_of_error } from "./module_client.js";
import { plain_name, put_spectrum } from "./tasks.js";

export const QUANTITIES = ["area", "frequency", "gauss", "phase", "lorentz"]; // as in rows of values

export class Bench {
  constructor(client) {
    this.client = client;
    this.listeners = [];
    this.spectra = [];
    this.current = -1;
    this.about = null;     // the module's answer to "spectrum", with its arrays
    this.patterns = [];    // {name, bytes}
    this.history = new History("");
    this.table = null;     // the module's answer to "table"; the last good one while there is an error
    this.error = null;     // {text, line, column}
    this.stale = false;    // the table is not that of the text
    this.selected = -1;
    this.view = { part: "real", phase_0: 0, phase_1: 0, broadened_hz: 0 };
    this.values = null;    // that are shown in place of the table's, rows of points
    this.drawn = {};       // curves as the module gave them
    this.moving = false;   // values have moved since
    this.fit = null;       // of the current spectrum and text
    this.fit_is_shown = false;
    this.folder = null;
  }
  on(listener) { this.listeners.push(listener); }
  tell(what) { for (const listener of this.listeners) listener(what); }

  get spectrum() { return this.spectra[this.current] ?? null; }
  get text() { return this.history.now; }
  get entries() { return this.table?.entries ?? []; }

  // ---- spectra ----

  put_spectra(spectra) {
    this.spectra = spectra;
    this.open(0);
  }
  open(index) {
    const spectrum = this.spectra[index];
    const folder = this.client.new_folder();
    put_spectrum(this.client, folder, spectrum);
    for (const pattern of this.patterns) this.client.write(`${folder}/${pattern.name}`, pattern.bytes.slice());
    const about = this.client.ask("spectrum", { folder, name: spectrum.name });
    about.hz = this.client.array(about.hz);
    about.ppm = this.client.array(about.ppm);
    if (this.folder) this.client.remove_folder(this.folder);
    this.folder = folder;
    this.about = about;
    this.current = index;
    this.forget_fit();
    this.read_table();
    this.tell("spectrum");
  }
  add_patterns(patterns) {
    for (const pattern of patterns) {
      const own = { name: plain_name(pattern.name), bytes: pattern.bytes };
      this.patterns = [...this.patterns.filter((each) => each.name !== own.name), own];
      if (this.folder) this.client.write(`${this.folder}/${own.name}`, own.bytes.slice());
    }
    this.read_table();
  }

  // ---- table ----

  set_text(text, group = null) {
    if (text === this.text) return;
    this.history.push(text, group);
    this.after_text();
  }
  undo() {
    this.history.undo();
    this.after_text();
  }
  redo() {
    this.history.redo();
    this.after_text();
  }
  after_text() {
    this.forget_fit();
    this.read_table();
    this.tell("table");
  }
  has_rows() { return /\S/.test(this.text.replace(/^\s*(#.*|[\w ]+:.*)$/gm, "").trim().split("\n").slice(1).join("")); }

  read_table() {
    this.values = null;
    this.error = null;
    this.stale = false;
    if (!this.about) return;
    if (!this.has_rows()) {
      this.table = null;
      this.show_curves();
      return;
    }
    const name = this.entries[this.selected]?.name;
    try {
      this.table = this.client.ask("table", { text: this.text, patterns: this.folder });
      this.selected = this.entries.findIndex((entry) => entry.name === name);
    } catch (error) {
      this.error = place_of_error(error.message.replaceAll(`${this.folder}/`, ""));
      this.stale = true;
    }
    this.show_curves();
  }
  // One change of the text, or several that are undone together.
  edit(...changes) {
    let text = this.text === "" ? this.client.ask("edit", { edit: "empty" }).text : this.text;
    for (const change of changes) text = this.client.ask("edit", { ...change, text }).text;
    this.set_text(text);
  }
  select(k) {
    this.selected = k;
    this.tell("selection");
  }

  // ---- curves ----

  // However many movements there were, they are asked for once.
  get curves() {
    if (this.moving) this.show_curves();
    return this.drawn;
  }
  show_curves() {
    this.moving = false;
    if (!this.about) return;
    const answer = this.client.ask("curves", { ...this.view, values: this.values });
    const array = (named) => this.client.array(named);
    this.drawn = {
      data: array(answer.data), model: array(answer.model), residual: array(answer.residual),
      components: answer.components?.map(array), values: answer.values, quality: answer.quality,
    };
    if (this.stale || !this.table) this.drawn = { data: this.drawn.data };
  }
  set_view(change) {
    this.view = { ...this.view, ...change };
    this.show_curves();
    this.tell("curves");
  }
  // Phases that stand the strongest line upright, for the eye.
  model_phases() {
    const values = this.curves.values;
    if (!values || values.length === 0) throw new Error("The table has no lines yet, so no phases.");
    const strongest = values.reduce((best, row) => (Math.abs(row[0]) > Math.abs(best[0]) ? row : best));
    const turn = Math.round(strongest[3] / 360);
    return { phase_0: strongest[3] - 360 * turn, phase_1: this.about.sidecar.phi_1_degrees ?? 0 };
  }
  // The entry whose number a tied one follows, over all links.
  root_of(k, column) {
    for (let steps = 0; steps < this.entries.length; ++steps) {
      const own = this.entries[k].of[column];
      if (own.state !== "tied") break;
      k = own.source;
    }
    return k;
  }
  // Start values with one of them changed while a hand moves it: change(number) -> number, of the
  // entry that has it.
  move(k, column, change) {
    const root = this.root_of(k, column), q = QUANTITIES.indexOf(column);
    const values = (this.values ?? this.curves.values).map((row) => row.slice());
    values[root][q] = change(values[root][q]);
    this.values = values;
    this.moving = true;
    this.tell("curves");
  }
  // What a hand moved becomes text.
  drop() {
    if (!this.values) return;
    const changes = [];
    this.entries.forEach((entry, k) => QUANTITIES.forEach((column, q) => {
      const own = entry.of[column];
      if (own.state === "tied" || !own.used || this.values[k][q] === own.points) return;
      changes.push({ edit: "number", row: entry.row, column, points: this.values[k][q] });
    }));
    this.values = null;
    if (changes.length > 0) this.edit(...changes);
    else this.show_curves();
  }

  // ---- fit ----

  forget_fit() {
    this.fit = null;
    this.fit_is_shown = false;
  }
  fit_job(report = false, starts = 0) {
    return { kind: "fit", spectra: [this.spectrum.copy], text: this.text, patterns: this.patterns, starts, report };
  }
  take_fit(fit) {
    this.fit = fit;
    this.show_fit(!fit.error && Boolean(fit.optimum));
  }
  // The optimum in the picture, or the start values again.
  show_fit(shown) {
    this.fit_is_shown = shown;
    this.values = shown ? this.fit.optimum.values : null;
    this.show_curves();
    this.tell("fit");
  }
  // The optimum becomes the start values of the table.
  accept_fit() {
    const changes = [];
    this.entries.forEach((entry, k) => QUANTITIES.forEach((column, q) => {
      const own = entry.of[column];
      if (!own.used || own.state !== "free") return;
      const has_cell = entry.cells[column] !== undefined;
      if (own.estimated && !has_cell) return; // the table leaves it to the estimate
      changes.push({ edit: "number", row: entry.row, column, exact: true, points: this.fit.optimum.values[k][q] });
    }));
    this.values = null;
    this.edit(...changes);
  }
}
