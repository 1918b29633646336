// SPDX-License-Identifier: BSD-3-Clause
// report.js -- puts charts in the place of each picture, once it comes into sight; paper gets the picture
"use strict";
{
  const charts = [];
  const replace = (figure) => {
    const from = JSON.parse(document.getElementById(figure.dataset.spectrum).textContent);
    const curve = varokelCharts.curveOf;
    const three = (of) => ({ data: curve(of.data), fit: of.fit ? curve(of.fit) : null, residual: of.residual ? curve(of.residual) : null });
    const components = from.components.map((c) => ({ name: c.name, number: c.number, values: curve(c.values), imaginary: curve(c.imaginary), removed: c.removed, off: c.off }));
    charts.push(varokelCharts.show(figure.querySelector(".charts"), { axis: from.axis, intervals: from.intervals, noise: from.noise,
      windows: from.windows, marks: from.marks, view: from.view, ...three(from), imaginary: three(from.imaginary), components }));
    figure.dataset.live = "1";
  };
  const watcher = new IntersectionObserver((entries) => {
    for (const entry of entries) {
      if (!entry.isIntersecting) continue;
      watcher.unobserve(entry.target);
      replace(entry.target);
    }
  }, { rootMargin: "300px" });
  for (const figure of document.querySelectorAll("figure[data-spectrum]")) watcher.observe(figure);
}
