// SPDX-License-Identifier: BSD-3-Clause
// save_pane.js -- what is taken away, and the import options with their command
import { by_id, element } from "./dom.js";
import { fit_command } from "./files.js";

const OPTIONS = [
  ["format", "Format", "nifti, raw, jmrui, sdat, rda, text or float32"], ["points", "Points of one FID", "where the file does not say", "number"],
  ["dwell_time", "Dwell time [s]", "", "number"], ["bandwidth", "Spectral width [Hz]", "one over the dwell time", "number"],
  ["mhz", "Frequency [MHz]", "of the spectrometer", "number"], ["ppm_at_carrier", "ppm at the carrier", "", "number"],
  ["nucleus", "Nucleus", "such as 31P"], ["axis", "ppm along the points", "rising or falling"],
  ["begin_time", "First point at [s]", "delay of the first point", "number"], ["noise", "Noise window", "FIRST:LAST, points of the spectrum"],
  ["phase", "Phase of the FID", "degrees, or auto"], ["resize", "Length", "points, cut or fill; empty: fill"],
  ["voxel", "Voxel", "x,y,z from 0; empty: all"], ["index", "Index", "[DIM=]I, blanks between", "list"],
  ["average", "Average over", "dimensions such as DIM_DYN", "list"], ["reference", "Reference line", "name of an opened file"],
];

export function option_fields(options) {
  by_id("option-fields").replaceChildren(...OPTIONS.map(([name, label, hint]) => element("label", { title: hint }, label,
    element("input", { "data-option": name, value: Array.isArray(options[name]) ? options[name].join(" ") : options[name] ?? "", placeholder: hint }))),
  element("label", {}, "Conjugate", element("input", { type: "checkbox", "data-option": "conjugate", checked: Boolean(options.conjugate) })));
}
// What the fields say. A number that is none is refused.
export function options_of_fields() {
  const options = {};
  for (const input of document.querySelectorAll("#option-fields input")) {
    const name = input.dataset.option, text = input.value.trim();
    if (input.type === "checkbox") {
      if (input.checked) options[name] = true;
      continue;
    }
    if (text === "") continue;
    const [, label, , kind] = OPTIONS.find((each) => each[0] === name);
    if (kind === "number") {
      if (!Number.isFinite(Number(text))) throw new Error(`${label}: found "${text}"; expected a number`);
      options[name] = Number(text);
    } else options[name] = kind === "list" ? text.split(/\s+/) : text;
  }
  return options;
}

export function download(name, content, type = "text/plain") {
  const url = URL.createObjectURL(content instanceof Blob ? content : new Blob([content], { type }));
  const link = element("a", { href: url, download: name });
  link.click();
  setTimeout(() => URL.revokeObjectURL(url), 10000);
}

export class SavePane {
  constructor(bench, screen, app) {
    this.bench = bench;
    const now = () => bench.client.ask("table", { text: bench.text, patterns: bench.folder, files: true });
    const fitted = () => {
      if (!bench.fit?.files) throw new Error("There is no fit of this table yet; press Fit first.");
      return bench.fit;
    };
    const report = async () => {
      const many = app.result.series && bench.spectra.length > 1 && !bench.fit;
      const job = { ...bench.fit_job(true), ...(many ? { spectra: bench.spectra } : {}) };
      const { report: made } = await app.work(job, "Writing the report");
      return made;
    };
    const all = [
      ["peaks.txt", "the table", () => download("peaks.txt", bench.text)],
      ["start.par", "start values as the fitter reads them, for the classic search", () => download("start.par", now().start_file)],
      ["result.par", "the optimum as a start file", () => download("result.par", fitted().files["result.par"])],
      ["optimum.json", "values to the last digit, verdict, starts", () => download("optimum.json", fitted().files["optimum.json"])],
      ["results.tsv", "a row for each entry", async () => download("results.tsv", (await report()).results, "text/tab-separated-values")],
      ["quality.tsv", "a row for each spectrum", async () => download("quality.tsv", (await report()).quality, "text/tab-separated-values")],
      ["report.html", "the program's page", async () => download("report.html", (await report()).report, "text/html")],
      ["picture.svg", "as it is seen", () => download("picture.svg", screen.svg(), "image/svg+xml")],
      ["picture.png", "as it is seen", async () => download("picture.png", await screen.png())],
    ];
    by_id("save-buttons").replaceChildren(...all.map(([name, title, act]) =>
      element("button", { title, "data-save": name, onclick: () => app.guard(() => { app.need_spectrum(); return act(); }) }, name)));
  }
  show(options) {
    const input = this.bench.spectrum?.input;
    by_id("command").textContent = input ? fit_command(input, options, 0) : "Open a file first.";
  }
}
