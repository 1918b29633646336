// SPDX-License-Identifier: BSD-3-Clause
// overview_model.js -- components of a spectrum of a batch, from the values of its entries
//
// A line is a damped oscillation, and its curve the transform of that (docs/model.md, equations 1 to 5). Patterns have
// no curve here: their decay is not in the page.
"use strict";
// Radix-2 transform exp(-2 pi i jk/n) in place; re, im: n values, n a power of two.
const varokelTransform = (re, im) => {
  const n = re.length;
  for (let i = 1, j = 0; i < n; i++) {
    let bit = n >> 1;
    for (; j & bit; bit >>= 1) j ^= bit;
    j ^= bit;
    if (i < j) {
      [re[i], re[j]] = [re[j], re[i]];
      [im[i], im[j]] = [im[j], im[i]];
    }
  }
  for (let size = 2; size <= n; size *= 2) {
    const half = size / 2;
    for (let k = 0; k < half; k++) {
      const c = Math.cos(2 * Math.PI * k / size), s = -Math.sin(2 * Math.PI * k / size);
      for (let i = k; i < n; i += size) {
        const a = re[i + half] * c - im[i + half] * s, b = re[i + half] * s + im[i + half] * c;
        re[i + half] = re[i] - a;
        im[i + half] = im[i] - b;
        re[i] += a;
        im[i] += b;
      }
    }
  }
};

// Of spectrum n: [{number, name, values, imaginary}] over the points that the page shows; entries without a curve are left out.
const varokelComponents = (n) => {
  const { batch, columns } = varokelOverview;
  const model = batch.model;
  if (!model) return [];
  const phases = varokelCharts.floatsOf(model.phases), points = model.points, d = model.phi1 / 360;
  const found = [];
  batch.entries.forEach((name, k) => {
    const area = columns.area[k][n], frequency = columns.frequency[k][n], phase = columns.phase[k][n];
    if (model.types[k] === 4 || !Number.isFinite(area) || !Number.isFinite(frequency) || !Number.isFinite(phase)) return;
    const inPoints = (width) => (Number.isFinite(width) ? width / model.hzPerPoint : 0);
    const f = frequency / model.hzPerPoint, lorentz = inPoints(columns.lorentz[k][n]), gauss = inPoints(columns.gauss[k][n]) / model.fwhmPerWidth;
    const re = new Float64Array(points), im = new Float64Array(points);
    const start = 2 * Math.PI * (((f + points / 2) * d / points) % 1) + Math.PI * phase / 180 - Math.PI * model.phi1 / 360;
    for (let i = model.ignored; i < Math.min(points, Math.max(2, model.kept)); i++) {
      const t = (i + d) / points;
      const size = (i === 0 ? 0.5 : 1) * area / points * Math.exp(-((Math.PI * gauss * t) ** 2) - Math.PI * lorentz * t);
      const turn = start + 2 * Math.PI * (((f + points / 2) * i / points) % 1);
      // the half band of (5): every second point changes its sign
      const sign = i % 2 === 0 ? 1 : -1;
      re[i] = sign * size * Math.cos(turn);
      im[i] = sign * size * Math.sin(turn);
    }
    varokelTransform(re, im);
    const values = new Float64Array(batch.points), imaginary = new Float64Array(batch.points);
    for (let i = 0; i < batch.points; i++) {
      const j = model.first + i, off = (phases[n] + model.phi1 * j / points) * Math.PI / 180;
      values[i] = re[j] * Math.cos(off) + im[j] * Math.sin(off);
      imaginary[i] = im[j] * Math.cos(off) - re[j] * Math.sin(off);
    }
    found.push({ number: String(k + 1), name: (k + 1) + " " + name, values, imaginary });
  });
  return found;
};
