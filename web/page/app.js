// SPDX-License-Identifier: BSD-3-Clause
// app.js -- the page: what buttons, keys and hands do with the bench
import { Bench } from "./bench.js";
import { by_id } from "./dom.js";
import { sort_files } from "./files.js";
import { Hands } from "./hands.js";
import { LinesPane } from "./lines_pane.js";
import { ResultPane } from "./result_pane.js";
import { SavePane } from "./save_pane.js";
import { option_fields, show_choice, show_facts, unread_fields } from "./file_pane.js";
import { Screen } from "./screen.js";
import { SpectrumMap } from "./map.js";
import { erase, restore, save } from "./autosave.js";
import { repacked, spectra_of } from "./spectra.js";
import { LongWork } from "./work.js";
import { Tour } from "./tour.js";
import { hand_acts, TABS, wire_buttons } from "./wiring.js";

const MOST_BYTES = 2 ** 28;
const MOST_TEXT = 2 ** 22;
const MOST_AT_REST = 2 ** 25; // bytes of spectra after which the worker's storage is given back
const PART = 32; // spectra that go to the worker at once
const MOST_WITH_FILES = 256; // fits of a series whose own files are kept

// Rows of a table that count when a file is read: the one that sets the ppm axis and, with water, those
// of amounts.
const import_rows = (text, options) => ((text ?? "").match(options.water ? /^\s*(reference|amount|water|te|tr)\s*:.*$/gim : /^\s*reference\s*:.*$/im) ?? [])
  .map((row) => row.trim()).join("\n");

export class App {
  constructor(client, runner, example, storage) {
    this.work = new LongWork(runner, (text) => this.say(text), () => this.show_buttons());
    this.example = example;
    this.storage = storage;
    this.bench = new Bench(client);
    this.screen = new Screen(by_id("plot"), this.bench);
    this.lines = new LinesPane(this.bench, this);
    this.result = new ResultPane(this.bench, this);
    this.saving = new SavePane(this.bench, this.screen, this);
    this.map = new SpectrumMap((i) => this.guard(() => this.open_spectrum(i)));
    this.tour = new Tour({ example: () => this.open_example(), tab: (name) => this.tab(name), fit: () => this.fit() });
    this.files = [];
    this.unread = null; // {files, inputs, table} that were opened last and could not be read
    this.options = {};
    this.said = [];
    this.dimensions = {};
    this.adding = false;
    this.bench.on((what) => this.changed(what));
    this.wire();
    this.show_buttons();
    this.restore();
  }

  get busy() { return this.work.busy; }
  get runner() { return this.work.runner; }

  // ---- words ----

  say(text, bad = false) {
    by_id("status").textContent = text;
    by_id("status").classList.toggle("bad", bad);
  }
  // Whatever goes wrong is said, and the work so far stays.
  async guard(act) {
    try {
      await act();
    } catch (error) {
      if (error.message !== "cancelled") this.say(error.message, true);
      else this.say("Cancelled.");
    }
  }
  need_spectrum() {
    if (!this.bench.spectrum) throw new Error("Open a measured file first, or the example.");
  }

  // ---- files ----

  async open_files(list) {
    const files = [], looked_at = [];
    let bytes = 0;
    for (const file of list) {
      bytes += file.size;
      if (bytes > MOST_BYTES) throw new Error(`${file.name}: with it more than 256 MiB; varokel-fit takes files of any size`);
      files.push({ name: file.name, content: file });
      // tables and patterns are told from their text; files of points stay where they are
      const is_small = file.size <= MOST_TEXT;
      looked_at.push({ name: file.name, bytes: is_small ? new Uint8Array(await file.arrayBuffer()) : new Uint8Array(1) });
    }
    const sorted = sort_files(looked_at);
    if (sorted.patterns.length > 0) this.bench.add_patterns(sorted.patterns);
    if (sorted.inputs.length > 0) {
      const opened = { files, inputs: sorted.inputs, table: sorted.tables.at(-1) };
      try {
        await this.import_with({}, opened);
      } catch (error) {
        if (error.message !== "cancelled") this.keep_unread(opened);
        throw error;
      }
    } else if (sorted.companions.length > 0 && sorted.tables.length + sorted.patterns.length === 0) {
      throw new Error(`${sorted.companions[0]}: describes a measurement; open it together with the file of points`);
    }
    if (sorted.tables.length > 0) this.bench.set_text(sorted.tables.at(-1));
    this.bench.tell("table");
  }
  // What could not be read waits under File for what it does not say itself.
  keep_unread(opened) {
    this.unread = opened;
    unread_fields(opened.inputs, () => {
      this.unread = null;
      this.say("");
      option_fields(this.options, this.dimensions);
      this.show_buttons();
    });
    this.tab("file");
    this.show_buttons();
  }
  async import_again(options) {
    const { unread } = this;
    if (!unread && this.files.length === 0) throw new Error("The files themselves are not kept; open them again.");
    await this.import_with(options, unread ?? this);
    if (unread?.table) this.bench.set_text(unread.table);
  }
  // Where it fails, the options stay those of what is shown.
  async import_with(options, { files, inputs, table }) {
    const before = this.options;
    this.options = options;
    try {
      await this.import(files, inputs, table ?? this.bench.text);
    } catch (error) {
      this.options = before;
      throw error;
    }
  }
  async import(files, inputs, table) {
    const wanted = inputs.filter((name) => name !== this.options.reference && name !== this.options.water);
    if (wanted.length === 0) throw new Error(`${inputs.join(", ")}: no data beside it; open their file together with that of the water or reference.`);
    const made = await this.work.run({ kind: "import", files, inputs: wanted, options: this.options, table }, "Reading");
    this.options = made.options;
    this.unread = null;
    if (made.packed.pool.length > MOST_AT_REST) this.runner.rest();
    this.files = files;
    this.inputs = inputs;
    this.read_with = import_rows(table, this.options);
    this.said = made.said;
    this.dimensions = made.dimensions;
    this.result.series = null;
    by_id("eye-reset").click();
    const spectra = spectra_of(made.packed);
    this.bench.put_spectra(spectra);
    this.say(`${spectra.length === 1 ? spectra[0].name : `${spectra.length} spectra`} read` +
      `${made.said.length ? `; what was said about it stands under File` : ""}.`);
  }
  open_spectrum(i, fit = null) {
    if (!this.bench.spectra[i]) throw new Error(`There are spectra 0 to ${this.bench.spectra.length - 1}.`);
    this.bench.open(i);
    if (fit?.optimum && !this.bench.error) this.bench.take_fit(fit);
  }
  async open_example() {
    const { text, files } = this.example();
    await this.import_with({}, { files, inputs: [files[0].name], table: text });
    this.bench.set_text(text);
    this.bench.select(0);
    this.show_fitted();
    this.take_model_phases();
  }
  show_fitted() {
    this.need_spectrum();
    const points = (this.bench.table?.intervals ?? []).flat();
    if (points.length === 0) throw new Error("No table, so no fitted intervals yet.");
    const low = Math.min(...points), high = Math.max(...points), margin = 0.06 * (high - low);
    this.screen.axis.show(low - margin, high + margin);
    this.screen.redraw();
  }
  // For the eye: the delay's phase and that of the strongest line are taken off.
  take_model_phases() {
    this.need_spectrum();
    const phases = this.bench.model_phases();
    by_id("phase-0").value = phases.phase_0;
    by_id("phase-1").value = phases.phase_1;
    for (const id of ["phase-0", "phase-1"]) by_id(id).dispatchEvent(new Event("input"));
  }

  // ---- fits ----

  can_fit() {
    this.need_spectrum();
    if (this.bench.error) throw new Error(`The table has an error: ${this.bench.error.text}`);
    if (this.read_with !== undefined && this.read_with !== import_rows(this.bench.text, this.options))
      throw new Error(`The row "reference"${this.options.water ? " and those of amounts count" : " sets the ppm axis"} when a file is read: ${this.files.length > 0 ? "press Import again under File" : "open the files again"}.`);
    if (this.bench.entries.length === 0) throw new Error("The table has no lines yet: double-click a peak.");
    if (this.bench.table.why_not_exact) throw new Error(this.bench.table.why_not_exact);
  }
  async fit() {
    this.can_fit();
    const text = this.bench.text, spectrum = this.bench.spectrum;
    const { fits } = await this.work.run(this.bench.fit_job(), "Fitting");
    if (text !== this.bench.text || spectrum !== this.bench.spectrum) {
      this.say("The table changed while the fit ran; its result is dropped.");
      return;
    }
    this.bench.take_fit(fits[0]);
    this.tab("result");
    if (fits[0].error) this.say(fits[0].error, true);
  }
  series_job(spectra) {
    return { ...this.bench.fit_job(), spectra: spectra.map((each) => each.copy), slim: this.bench.spectra.length > MOST_WITH_FILES };
  }
  // A series goes to the worker by and by: no copy of all of it, and none that blocks.
  series_parts() {
    const { spectra } = this.bench, job = this.series_job([]);
    let first = 0;
    return () => (first >= spectra.length ? null : { ...job, spectra: spectra.slice(first, first += PART).map((each) => each.copy) });
  }
  // Cancelled, it keeps the fits that are done.
  async fit_all() {
    this.can_fit();
    const { bench } = this;
    const { spectra, text } = bench;
    const fits = spectra.map((each) => ({ name: each.name, error: "not fitted: the work was cancelled" }));
    let done = 0;
    try {
      await this.work.run_parts(this.series_parts(), spectra.length, "Fitting", { each: (fit, i) => { fits[i] = fit; ++done; } });
    } finally {
      if (done > 0 && bench.spectra === spectra) {
        this.result.take_series(fits, text);
        const own = fits[bench.current];
        if (own.optimum && text === bench.text) bench.take_fit(own); // tells of it
        else bench.tell("fit");
        this.tab("result");
      }
    }
  }

  // ---- what is shown ----

  changed(what) {
    if (what === "curves") { // of every frame while a hand moves something
      this.screen.redraw();
      return;
    }
    if (what === "spectrum") {
      by_id("readout").textContent = "";
      this.screen.take_spectrum();
      this.show_spectrum();
    }
    if (what === "spectrum" || what === "table") {
      this.show_table();
      this.keep_soon();
    }
    if (what === "spectrum" || what === "table" || what === "fit") this.result.show();
    if (what === "fit" || what === "spectrum") this.show_map();
    if (what === "selection") this.lines.show_selection();
    this.show_buttons();
    this.screen.redraw();
  }
  show_spectrum() {
    const { bench, screen } = this;
    this.listed = show_choice(bench, this.listed);
    by_id("unit").replaceChildren(...screen.units().map((unit) => new Option(unit, unit, false, unit === screen.unit)));
    show_facts(bench, this.said);
    if (!this.unread) option_fields(this.options, this.dimensions);
    this.saving.show(this.options);
  }
  show_table() {
    const { bench } = this;
    const area = by_id("text");
    if (area.value !== bench.text) area.value = bench.text;
    const { error } = bench;
    by_id("error").hidden = !error;
    by_id("error").textContent = error ? `${error.line ? `Line ${error.line}${error.column ? `, column ${error.column}` : ""}: ` : ""}${error.text}` : "";
    area.classList.toggle("bad", Boolean(error));
    area.setAttribute("aria-invalid", String(Boolean(error)));
    if (error) this.say(`The table has an error (peaks.txt${error.line ? `, line ${error.line}` : ""}): ${error.text}`, true);
    else if (by_id("status").textContent.startsWith("The table has an error")) this.say("");
    this.lines.show();
  }
  show_map() {
    const mapped = this.result.map_values();
    const is_of_these = mapped?.values.length === this.bench.spectra.length;
    this.map.show(this.bench.spectra, this.bench.current, is_of_these ? mapped.values : null, is_of_these ? mapped.title : null);
  }
  // What cannot do anything yet looks so.
  show_buttons() {
    const { bench } = this;
    const have = { spectrum: Boolean(bench.spectrum), fit: Boolean(bench.fit?.files), fits: Boolean(bench.fit?.files || this.result.series_of(bench.text)), derived: false,
      lines: bench.entries.length > 0 && !bench.error };
    have.derived = have.fits && Boolean(bench.fit?.derived?.length || this.result.derived_of(bench.text).length);
    for (const node of document.querySelectorAll("[data-needs]")) node.disabled = !have[node.dataset.needs];
    by_id("undo").disabled = !bench.history.can_undo;
    by_id("redo").disabled = !bench.history.can_redo;
    by_id("fit").disabled = this.busy || !bench.spectrum;
    by_id("fit-all").disabled = this.busy || bench.spectra.length < 2;
    for (const id of ["open", "example", "tour", "import-again"]) by_id(id).disabled = this.busy || (id === "import-again" && this.files.length === 0 && !this.unread);
    by_id("mode-add").setAttribute("aria-pressed", String(this.adding));
    by_id("empty").hidden = Boolean(bench.spectrum);
  }
  tab(name) {
    for (const each of TABS) {
      const chosen = each === name;
      by_id(`tab-${each}`).setAttribute("aria-selected", String(chosen));
      by_id(`tab-${each}`).tabIndex = chosen ? 0 : -1;
      by_id(`pane-${each}`).hidden = !chosen;
    }
  }

  readout(point, height) {
    const { bench } = this;
    const ppm = bench.about.ppm ? `${(bench.about.ppm[0] + (bench.about.ppm[1] - bench.about.ppm[0]) * point).toFixed(3)} ppm · ` : "";
    const hz = (bench.about.hz[0] + (bench.about.hz[1] - bench.about.hz[0]) * point).toFixed(1);
    const quality = bench.curves.quality ? ` · quality ${bench.curves.quality.toFixed(2)}` : "";
    by_id("readout").textContent = `${ppm}${hz} Hz · point ${point.toFixed(1)} · ${height.toPrecision(3)}${quality}`;
  }

  // ---- kept work ----

  keep_soon() {
    clearTimeout(this.timer);
    this.timer = setTimeout(() => {
      const { bench } = this;
      if (!bench.spectrum) return;
      const said = save(this.storage, { text: bench.text, spectra: bench.spectra, current: bench.current, patterns: bench.patterns, options: this.options, read_with: this.read_with });
      if (said && said !== this.kept_said) this.say(said, true);
      this.kept_said = said;
    }, 400);
  }
  restore() {
    const kept = restore(this.storage);
    if (!kept || kept.spectra.length === 0) {
      if (kept?.text) this.bench.set_text(kept.text);
      this.say("Open a measured file, drop it here, or look at the example.");
      return;
    }
    this.guard(() => {
      this.options = kept.options ?? {};
      this.read_with = kept.read_with;
      this.bench.patterns = kept.patterns;
      this.bench.put_spectra(spectra_of(repacked(kept.spectra)));
      this.bench.open(Math.max(0, Math.min(kept.current, kept.spectra.length - 1)));
      this.bench.set_text(kept.text);
      this.say("The work that was kept in this browser is back. Take away → Erase removes it.");
    });
  }

  // ---- hands and buttons ----

  wire() {
    wire_buttons(this);
    new Hands(this.screen, hand_acts(this));
    new ResizeObserver(() => this.screen.redraw()).observe(by_id("plot"));
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => {
      this.screen.forget_colors();
      this.screen.redraw();
    });
  }
  erase_kept() {
    clearTimeout(this.timer);
    erase(this.storage);
    this.say("Nothing of this work is kept in the browser any more.");
  }
}
