// SPDX-License-Identifier: BSD-3-Clause
// overview.js -- the page of a batch: controls, maps or time courses, and each spectrum at a click
"use strict";
{
  const { made } = varokelCharts;
  const { batch, quantities, offered, size, hasMap, others, courseAxis, state } = varokelOverview;

  // --- controls
  const controls = document.getElementById("controls");
  const maps = document.getElementById("maps");
  const detail = document.getElementById("detail");
  const choice = (title, options, value, act) => {
    const label = made("label", "", title), select = made("select");
    for (const [key, text] of options) {
      const option = made("option", "", text);
      option.value = key;
      select.append(option);
    }
    select.value = String(value);
    select.addEventListener("change", () => act(select.value));
    label.append(select);
    controls.append(label);
    return select;
  };
  if (hasMap || batch.entries.length > 1) // a time course shows all; the histogram is of one
    choice("entry", batch.entries.map((name, k) => [String(k), name]), 0, (v) => {
      state.entry = Number(v);
      draw();
    }).id = "entry";
  const showing = choice("show", offered.map((key) => [key, quantities[key].name + (quantities[key].unit ? " (" + quantities[key].unit + ")" : "")]),
    state.quantity, (v) => {
      state.quantity = v;
      draw();
    });
  showing.id = "quantity";
  {
    const label = made("label"), box = made("input");
    box.type = "checkbox";
    box.id = "log";
    box.addEventListener("change", () => {
      state.log = box.checked;
      draw();
    });
    label.append(box, document.createTextNode("logarithmic"));
    controls.append(label);
  }
  if (courseAxis >= 0 && !batch.axes[courseAxis].spatial) {
    const label = made("label", "", "seconds from one to the next"), box = made("input");
    box.type = "number";
    box.min = 0;
    box.step = "any";
    box.id = "seconds";
    box.value = state.seconds > 0 ? String(state.seconds) : "";
    box.placeholder = "not known";
    box.addEventListener("input", () => {
      state.seconds = Number(box.value) > 0 ? Number(box.value) : 0;
      draw();
    });
    label.append(box);
    controls.append(label);
  }
  const places = new Map(); // of the axes that are looked at one place at a time
  for (const i of hasMap ? others : others.filter((a) => a !== courseAxis))
    places.set(i, choice(batch.axes[i].name, Array.from({ length: size[i] }, (_, k) => [String(k), String(k)]), state.at[i], (v) => {
      state.at[i] = Number(v);
      draw();
    }));
  {
    const label = made("label"), box = made("input"), slider = made("input"), shown = made("output");
    box.type = "checkbox";
    box.checked = state.paled;
    box.id = "paled";
    slider.type = "range";
    slider.min = 1;
    slider.max = 100;
    slider.value = state.bound;
    slider.id = "bound";
    slider.setAttribute("aria-label", "largest area error drawn in full, percent of one standard deviation");
    const tell = () => { shown.textContent = state.bound + " %"; };
    tell();
    box.addEventListener("change", () => {
      state.paled = box.checked;
      slider.disabled = !box.checked;
      draw();
    });
    slider.addEventListener("input", () => {
      state.bound = Number(slider.value);
      tell();
      draw();
    });
    label.append(box, document.createTextNode("pale where the area error (1 SD) is above"), slider, shown);
    controls.append(label);
  }

  const readout = made("div", "readout");
  const drawnMaps = varokelMaps(maps, readout, choose), drawnCourse = varokelCourse(maps, readout, choose);
  const spectrum = varokelSpectrum(detail);
  const spread = varokelSpread(maps);
  maps.append(...drawnMaps.elements, readout, ...drawnCourse.elements, ...spread.elements);

  function choose(n) {
    state.chosen = n;
    batch.at[n].forEach((v, i) => {
      state.at[i] = v;
      if (places.has(i)) places.get(i).value = String(v);
    });
    draw();
    for (const row of document.querySelectorAll("tr[data-number]")) row.classList.toggle("chosen", Number(row.dataset.number) === n);
    spectrum.show(n);
  }

  function draw() {
    if (hasMap) drawnMaps.draw();
    drawnCourse.draw();
    spread.draw();
  }
  draw();
  // the tables stand below what they show
  const chooseInTable = (element) => {
    choose(Number(element.dataset.number));
    detail.scrollIntoView();
  };
  for (const row of document.querySelectorAll("tr[data-number]")) {
    row.tabIndex = 0;
    row.addEventListener("click", () => chooseInTable(row));
    row.addEventListener("keydown", (event) => {
      if (event.key === "Enter") chooseInTable(row);
    });
  }
  for (const button of document.querySelectorAll("button[data-number]"))
    button.addEventListener("click", () => chooseInTable(button));
  const first = document.querySelector("[data-number]");
  if (first) choose(Number(first.dataset.number));
  let width = maps.clientWidth;
  new ResizeObserver(() => requestAnimationFrame(() => {
    if (maps.clientWidth === width) return;
    width = maps.clientWidth;
    draw();
  })).observe(maps);
  window.matchMedia("(prefers-color-scheme: dark)").addEventListener("change", draw);
}
