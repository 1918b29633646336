// SPDX-License-Identifier: BSD-3-Clause
// overview_spectrum.js -- one spectrum of a batch: findings, curves and table
"use strict";
// Given: the element that all of it stands in.
// Returned: show(n), which draws spectrum n in the place of the one before.
const varokelSpectrum = (detail) => {
  const { made, numberText, curveOf, withErrorText, percentText } = varokelCharts;
  const { batch, quality, snr, columns, some, state } = varokelOverview;
  let loaded = null;
  const waiting = new Map(), parts = new Map();
  globalThis.varokelCurves = (part, curves) => {
    parts.set(part, curves);
    if (waiting.has(part)) waiting.get(part)();
  };
  function curvesOf(n, act) {
    if (!batch.curvesPerFile) {
      if (!loaded) loaded = JSON.parse(document.getElementById("curves").textContent);
      act(loaded[n]);
      return;
    }
    const part = Math.floor(n / batch.curvesPerFile), use = () => act(parts.get(part)[n % batch.curvesPerFile]);
    if (parts.has(part)) {
      use();
      return;
    }
    const asked = waiting.has(part);
    waiting.set(part, use);
    if (asked) return;
    const script = made("script");
    script.src = "curves_" + part + ".js";
    script.addEventListener("error", () => {
      waiting.delete(part);
      detail.append(made("p", "warnings", script.src.split("/").pop() + " cannot be loaded; it belongs beside this page."));
    });
    document.head.append(script);
  }

  function tableOf(n) {
    const wide = made("div", "wide"), table = made("table"), head = made("thead"), body = made("tbody");
    const names = [["Entry", ""], ["Area", "signal, \u00b1 1 SD"], ["Area error", "1 SD, %"]];
    // what no entry has (Gaussian widths of Lorentzians) takes no room
    const pairs = [["Shift", "ppm", columns.ppm, columns.ppmSd], ["Gaussian", "FWHM, Hz", columns.gauss, columns.gaussSd],
      ["Lorentzian", "FWHM, Hz", columns.lorentz, columns.lorentzSd], ["Phase", "degrees", columns.phase, columns.phaseSd]]
      .filter(([, , values]) => values.some(some));
    for (const [name, unit] of pairs) names.push([name, unit]);
    const withSnr = columns.entrySnr.some(some);
    if (withSnr) names.push(["SNR", ""]);
    const row = made("tr");
    for (const [name, unit] of names) {
      const cell = made("th", "", name);
      cell.append(made("small", "", unit));
      row.append(cell);
    }
    head.append(row);
    batch.entries.forEach((name, k) => {
      const line = made("tr"), first = made("th", "name", name);
      first.scope = "row";
      line.append(first, made("td", "", withErrorText(columns.area[k][n], columns.areaSd[k][n])));
      const percent = columns.areaPercent[k][n];
      const red = percent > batch.redPercent, amber = percent > batch.amberPercent;
      line.append(made("td", red ? "red" : amber ? "amber" : "",
        Number.isFinite(percent) ? percentText(percent) + " %" + (red ? " !!" : amber ? " !" : "") : "n/a"));
      for (const [, , values, sds] of pairs) line.append(made("td", "", withErrorText(values[k][n], sds[k][n])));
      if (withSnr) line.append(made("td", "", numberText(columns.entrySnr[k][n])));
      body.append(line);
    });
    table.append(head, body);
    wide.append(table);
    return wide;
  }

  let chart = null;
  const place = made("div", "chart");
  function show(n) {
    if (chart) chart.remove();
    chart = null;
    detail.textContent = "";
    const heading = made("h2", "", batch.names[n] + " ");
    heading.append(made("span", "badge " + batch.levels[n], batch.said[n]));
    detail.append(heading);
    const said = Object.entries(batch.warnings[n] || {});
    if (said.length > 0) {
      const box = made("div", "warnings"), list = made("ul");
      for (const [word, of] of said)
        if (word === "guessed" && batch.guesses.length > 0) list.append(...batch.guesses.map((text) => made("li", "", text)));
        else list.append(made("li", "", (batch.meanings[word] || word) + (of.length > 0 ? ": " + of.map((k) => batch.entries[k]).join(", ") : "")));
      box.append(list);
      detail.append(box);
    }
    if (batch.reasons[n]) detail.append(made("p", "muted", batch.reasons[n]));
    detail.append(made("p", "muted", (batch.verdicts[n] ? "verdict " + batch.verdicts[n].replaceAll("_", " ") + ", " : "") + "fit quality " + numberText(quality[n]) + (Number.isFinite(snr[n]) ? ", SNR " + numberText(snr[n]) : "")));
    detail.append(place);
    if (batch.noiseText) detail.append(made("p", "muted", batch.noiseText));
    if (batch.status[n] !== "not_fitted") detail.append(tableOf(n));
    curvesOf(n, (curves) => {
      if (state.chosen !== n) return;
      if (!curves) {
        place.textContent = "";
        place.append(made("p", "muted", "The curves of this fit were not kept."));
        return;
      }
      const three = (of) => {
        const data = curveOf(of.data), fit = of.fit ? curveOf(of.fit) : null;
        return { data, fit, residual: fit ? data.map((v, i) => v - fit[i]) : null };
      };
      const fit = Boolean(curves.fit);
      if (!fit && batch.status[n] !== "not_fitted") detail.append(made("p", "muted", "The fit itself was not kept."));
      chart = varokelCharts.show(place, { axis: batch.axis, intervals: batch.intervals, noise: batch.noise, view: [0, batch.points - 1],
        components: fit ? varokelComponents(n) : [], ...three(curves), imaginary: three(curves.imaginary) });
    });
  }

  return { show };
};
