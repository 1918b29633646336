// SPDX-License-Identifier: BSD-3-Clause
// overview_spread.js -- how the values of a batch are spread: histogram, and median and spread of each region
"use strict";
// Half of the values lie on each side of the first; the second is 1.4826 times the median distance from it, which is the
// standard deviation of values that scatter normally and is not moved by a few wild ones (F. R. Hampel, J. Am. Stat.
// Assoc. 69 (1974) 383-393).
const varokelRobust = (values) => {
  const sorted = values.filter(Number.isFinite).sort((a, b) => a - b), n = sorted.length;
  const median = (list) => (list.length % 2 ? list[(list.length - 1) / 2] : (list[list.length / 2 - 1] + list[list.length / 2]) / 2);
  if (n === 0) return { n, median: NaN, spread: NaN };
  const middle = median(sorted);
  return { n, median: middle, spread: 1.4826 * median(sorted.map((v) => Math.abs(v - middle)).sort((a, b) => a - b)) };
};

// Given: the element that says how wide the histogram may be.
// Returned: the elements, and the function that draws them anew.
const varokelSpread = (maps) => {
  const { made, styleOf, numberText, withError } = varokelCharts;
  const { batch, count, quantities, state, hidden, pale } = varokelOverview;
  const title = made("div", "panel-title"), canvas = made("canvas", "histogram"), wide = made("div", "wide");
  canvas.setAttribute("role", "img");
  const ends = made("div", "scale ends");

  function drawHistogram(values, unit) {
    const width = Math.max(200, Math.min(maps.clientWidth, 640)), height = 120, ratio = devicePixelRatio || 1;
    canvas.width = width * ratio;
    canvas.height = height * ratio;
    canvas.style.width = width + "px";
    canvas.style.height = height + "px";
    const ink = canvas.getContext("2d");
    ink.scale(ratio, ratio);
    ink.clearRect(0, 0, width, height);
    ends.textContent = "";
    const sorted = values.filter((v) => Number.isFinite(v) && (!state.log || v > 0)).sort((a, b) => a - b);
    if (sorted.length === 0) return;
    // between the 1st and the 99th hundredth; what lies beyond is in the outermost bars
    const low = sorted[Math.floor(0.01 * (sorted.length - 1))], high = sorted[Math.ceil(0.99 * (sorted.length - 1))];
    const bars = Math.max(5, Math.min(40, Math.round(2 * Math.cbrt(sorted.length)))), counts = new Array(bars).fill(0);
    const at = (v) => (state.log ? Math.log(v / low) / Math.log(high / low) : (v - low) / (high - low));
    for (const v of sorted) counts[high > low ? Math.max(0, Math.min(bars - 1, Math.floor(at(v) * bars))) : 0]++;
    const most = Math.max(...counts);
    ink.fillStyle = styleOf("--residual");
    counts.forEach((c, b) => ink.fillRect(b * width / bars + 1, height * (1 - c / most), width / bars - 2, height * c / most));
    ends.append(made("span", "", numberText(low) + " " + unit), made("span", "", "most in a bar: " + most), made("span", "", numberText(high) + " " + unit));
    canvas.setAttribute("aria-label", "histogram from " + numberText(low) + " to " + numberText(high));
  }

  function draw() {
    const quantity = quantities[state.quantity], k = state.entry, all = quantity.of(k);
    const counted = Array.from({ length: count }, (_, n) => n).filter((n) => !hidden(n) && Number.isFinite(all[n]) && !pale(n, k));
    const what = quantity.name + (quantity.whole ? "" : " of " + batch.entries[k]);
    title.textContent = what + ", " + counted.length + " of " + count + " spectra" + (state.paled && !quantity.whole ? " (without the pale ones)" : "");
    drawHistogram(counted.map((n) => all[n]), quantity.unit);
    wide.textContent = "";
    const table = made("table", "spread"), head = made("thead"), top = made("tr"), body = made("tbody");
    for (const text of ["Region", "spectra", "median" + (quantity.unit ? " (" + quantity.unit + ")" : ""), "robust spread"]) top.append(made("th", "", text));
    head.append(top);
    const rows = [["all", counted]];
    if (batch.regions)
      for (const label of [...new Set(batch.regions)].filter((v) => v > 0).sort((a, b) => a - b))
        rows.push(["region " + label, counted.filter((n) => batch.regions[n] === label)]);
    for (const [name, which] of rows) {
      const robust = varokelRobust(which.map((n) => all[n])), line = made("tr"), first = made("th", "", name);
      first.scope = "row";
      line.append(first, made("td", "", String(robust.n)), made("td", "", withError(robust.median, robust.spread).value), made("td", "", withError(robust.median, robust.spread).error));
      body.append(line);
    }
    table.append(head, body);
    wide.append(table);
  }
  return { elements: [title, canvas, ends, wide], draw };
};
