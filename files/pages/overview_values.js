// SPDX-License-Identifier: BSD-3-Clause
// overview_values.js -- what the page of a batch draws: its values by quantity, its axes, and what is chosen
"use strict";
const varokelOverview = (() => {
  const { colourOf, floatsOf } = varokelCharts;
  const batch = JSON.parse(document.getElementById("values").textContent);
  const count = batch.names.length;
  const quality = floatsOf(batch.quality), snr = floatsOf(batch.snr);
  const columns = {};
  for (const [key, list] of Object.entries(batch.values)) columns[key] = list.map(floatsOf);

  // name, unit, column by entry (or of the spectrum), column of its error
  const quantities = {
    area: { name: "area", unit: "signal", of: (k) => columns.area[k], sd: (k) => columns.areaSd[k] },
    areaPercent: { name: "area error, 1 SD", unit: "%", of: (k) => columns.areaPercent[k] },
    areaSd: { name: "area error, 1 SD", unit: "signal", of: (k) => columns.areaSd[k] },
    ppm: { name: "shift", unit: "ppm", of: (k) => columns.ppm[k], sd: (k) => columns.ppmSd[k] },
    lorentz: { name: "Lorentzian width", unit: "Hz", of: (k) => columns.lorentz[k], sd: (k) => columns.lorentzSd[k] },
    gauss: { name: "Gaussian width", unit: "Hz", of: (k) => columns.gauss[k], sd: (k) => columns.gaussSd[k] },
    phase: { name: "phase", unit: "degrees", of: (k) => columns.phase[k], sd: (k) => columns.phaseSd[k] },
    entrySnr: { name: "SNR of the entry", unit: "", of: (k) => columns.entrySnr[k] },
    quality: { name: "fit quality", unit: "", of: () => quality, whole: true },
    snr: { name: "SNR of the spectrum", unit: "", of: () => snr, whole: true },
  };
  // further columns of the tables, and derived values
  (batch.further || []).forEach((column, i) => {
    const values = floatsOf(column.values), errors = column.errors ? floatsOf(column.errors) : null;
    quantities["further" + i] = { name: column.name.replaceAll("_", " "), unit: column.unit, of: () => values, whole: true,
      ...(errors ? { sd: () => errors } : {}) };
  });
  const some = (values) => values.some(Number.isFinite);
  const offered = Object.keys(quantities).filter((key) => batch.entries.some((_, k) => some(quantities[key].of(k))));

  // --- axes: up to three in space, the others one after the other
  const size = batch.axes.map((a) => a.size);
  const inSpace = batch.axes.map((a, i) => i).filter((i) => batch.axes[i].spatial);
  const hasMap = inSpace.some((i) => size[i] > 1);
  const others = batch.axes.map((a, i) => i).filter((i) => size[i] > 1 && !(hasMap && batch.axes[i].spatial));
  const courseAxis = others.reduce((longest, i) => (longest < 0 || size[i] > size[longest] ? i : longest), -1);
  const numberAt = new Map();
  batch.at.forEach((at, n) => numberAt.set(at.join(","), n));

  const state = {
    quantity: offered.includes("area") ? "area" : offered[0] || "quality",
    entry: 0,
    bound: batch.redPercent,
    paled: true,
    log: false,
    seconds: batch.secondsPerStep || 0, // from one step of the series to the next; 0: not known
    chosen: -1,
    at: batch.axes.map(() => 0),
    entriesShown: batch.entries.map((_, k) => k < 6),
  };
  if (count > 0) state.at = batch.at[0].slice();

  const hidden = (n) => batch.status[n] === "not_fitted";
  // Values that are known badly are drawn pale, not left out: those that come out high by chance
  // have the smaller errors in percent, so leaving the others out would lift what is left.
  // A value of the whole spectrum is as well known as it is, whatever the entry that is chosen.
  const pale = (n, k) => state.paled && !quantities[state.quantity].whole && !(columns.areaPercent[k][n] <= state.bound);
  const paleShare = 0.3;
  const paleOf = (k) => (/^#[0-9a-f]{6}$/i.test(colourOf(k)) ? colourOf(k) + "4d" : colourOf(k));

  return { batch, count, quality, snr, columns, quantities, some, offered, size, inSpace, hasMap, others, courseAxis,
    numberAt, state, hidden, pale, paleShare, paleOf };
})();
