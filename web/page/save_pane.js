// SPDX-License-Identifier: BSD-3-Clause
// save_pane.js -- what is taken away, and the command that repeats it
import { by_id, element } from "./dom.js";
import { fit_command } from "./files.js";

const MOST_ON_PAGE = 200;
const NEEDS = { "result.par": "fit", "optimum.json": "fit", "results.tsv": "fits", "quality.tsv": "fits", "derived.tsv": "derived", "report.html": "fits" };

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
    // Of a series that was fitted, else of this spectrum.
    const series = () => app.result.series_of(bench.text);
    const fits = () => series()?.fits ?? [fitted()];
    const table = (name, row) => {
      const rows = fits().map((fit) => fit[row] ?? "");
      return bench.client.ask("heads")[name] + rows.join("");
    };
    const derived = () => bench.client.ask("heads").derived + fits().flatMap((fit) => (fit.derived ?? []).map((each) => each.row)).join("");
    const report = async () => {
      const many = Boolean(series());
      if (many && bench.spectra.length > MOST_ON_PAGE) throw new Error(`A page of more than ${MOST_ON_PAGE} spectra is too large; varokel-batch makes an overview of them.`);
      const job = many ? { ...app.series_job(bench.spectra), report: true } : bench.fit_job(true);
      return (await app.work.run(job, "Writing the report")).report.report;
    };
    const all = [
      ["peaks.txt", "the table", () => download("peaks.txt", bench.text)],
      ["start.par", "start values as the fitter reads them, for the classic search", () => download("start.par", now().start_file)],
      ["result.par", "the optimum as a start file", () => download("result.par", fitted().files["result.par"])],
      ["optimum.json", "values to the last digit, verdict, starts", () => download("optimum.json", fitted().files["optimum.json"])],
      ["results.tsv", "a row for each entry", () => download("results.tsv", table("results", "results"), "text/tab-separated-values")],
      ["quality.tsv", "a row for each spectrum", () => download("quality.tsv", table("quality", "quality_row"), "text/tab-separated-values")],
      ["derived.tsv", "a row for each sum, ratio or amount that the table derives", () => download("derived.tsv", derived(), "text/tab-separated-values")],
      ["report.html", "the program's page", async () => download("report.html", await report(), "text/html")],
      ["picture.svg", "as it is seen", () => download("picture.svg", screen.svg(), "image/svg+xml")],
      ["picture.png", "as it is seen", async () => download("picture.png", await screen.png())],
    ];
    by_id("save-buttons").replaceChildren(...all.map(([name, title, act]) =>
      element("button", { title, "data-save": name, "data-needs": NEEDS[name] ?? "spectrum", onclick: () => app.guard(() => { app.need_spectrum(); return act(); }) }, name)));
  }
  show(options) {
    const input = this.bench.spectrum?.input;
    by_id("command").textContent = input ? fit_command(input, options, 0) : "Open a file first.";
  }
}
