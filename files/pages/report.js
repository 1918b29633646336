// SPDX-License-Identifier: BSD-3-Clause
// report.js -- replaces each picture by charts, once it comes into sight
"use strict";
{
  const charts = [];
  const replace = (figure) => {
    const from = JSON.parse(document.getElementById(figure.dataset.spectrum).textContent);
    const curve = varokelCharts.curveOf;
    const data = curve(from.data), fit = curve(from.fit), residual = curve(from.residual);
    const components = from.components.map((c) => ({ name: c.name, number: c.number, values: curve(c.values) }));
    const place = figure.querySelector(".picture");
    charts.push(varokelCharts.show(place, { axis: from.axis, intervals: from.intervals, view: from.view, data, fit, residual, components }));
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
