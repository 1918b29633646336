// SPDX-License-Identifier: BSD-3-Clause
// map.js -- the spectra of a file as the places where they were measured
import { by_id, element, number_text } from "./dom.js";

// Place of a spectrum: {x, y, z} of a voxel, or its number in a series.
export function place_of(spectrum, i) {
  const { voxel } = spectrum;
  return voxel ? { x: voxel[0], y: voxel[1], z: voxel[2] } : { x: i, y: 0, z: 0 };
}

// {columns, slices: [{z, rows: [[index or -1]]}]}; a long series is broken into rows, and a very long one
// into slices.
export function arrange(spectra, most = 24, most_rows = 40) {
  const places = spectra.map(place_of);
  const is_grid = places.some((place) => place.y > 0 || place.z > 0) || spectra.some((each) => each.voxel);
  if (!is_grid) {
    const rows = [];
    for (let i = 0; i < spectra.length; i += most)
      rows.push(Array.from({ length: Math.min(most, spectra.length) }, (_, k) => (i + k < spectra.length ? i + k : -1)));
    const slices = [];
    for (let i = 0; i < rows.length; i += most_rows) slices.push({ z: slices.length, rows: rows.slice(i, i + most_rows) });
    return { columns: Math.min(most, spectra.length), grid: false, slices };
  }
  const size = (axis) => places.reduce((most_of, place) => Math.max(most_of, place[axis] + 1), 1);
  const columns = size("x"), tall = size("y");
  const slices = new Map();
  places.forEach((place, i) => {
    if (!slices.has(place.z)) slices.set(place.z, Array.from({ length: tall }, () => Array(columns).fill(-1)));
    slices.get(place.z)[place.y][place.x] = i;
  });
  return { columns, grid: true, slices: [...slices].sort((a, b) => a[0] - b[0]).map(([z, rows]) => ({ z, rows })) };
}

// Colour of a part of the highest value, 0 to 1: dark blue over green to yellow.
export function heat(part) {
  const stops = [[40, 42, 92], [33, 105, 130], [60, 170, 110], [245, 225, 70]];
  const at = Math.min(Math.max(part, 0), 1) * (stops.length - 1), i = Math.min(Math.floor(at), stops.length - 2);
  return `rgb(${stops[i].map((from, c) => Math.round(from + (stops[i + 1][c] - from) * (at - i))).join(" ")})`;
}

// values: of each spectrum, or null; pick: what a click does.
export class SpectrumMap {
  constructor(pick) {
    this.pick = pick;
    this.slice = 0;
    this.spectra = this.shown = null; // what the buttons show
    this.buttons = [];
  }
  show(spectra, current, values, title) {
    by_id("map-box").hidden = spectra.length < 2;
    if (spectra.length < 2) return;
    if (this.spectra !== spectra) this.arranged = arrange(spectra);
    const { columns, slices, grid } = this.arranged;
    by_id("map-title").textContent = title ?? (grid ? "Voxels" : "Spectra of the series");
    const now = JSON.stringify([this.slice, values]);
    if (this.spectra === spectra && this.shown === now) {
      for (const [i, button] of this.buttons) button.setAttribute("aria-current", String(i === current));
      return;
    }
    this.spectra = spectra;
    this.slice = Math.min(this.slice, slices.length - 1);
    this.shown = JSON.stringify([this.slice, values]);
    by_id("map-tools").replaceChildren(...(slices.length > 1 ? [element("label", {}, grid ? "Slice " : "Part ", element("input", {
      type: "number", min: 0, max: slices.length - 1, value: this.slice,
      onchange: (event) => { this.slice = Math.min(Math.max(0, Number(event.target.value)), slices.length - 1); this.show(this.spectra, current, values, title); },
    }))] : []), ...(grid ? [element("small", {}, "x 0 left, y 0 on top")] : []));
    const highest = (values ?? []).reduce((most, value) => (value > most ? value : most), 1e-300);
    by_id("map").style.gridTemplateColumns = `repeat(${columns}, minmax(0, 1fr))`;
    this.buttons = [];
    const cells = slices[this.slice].rows.flat().map((i) => {
      if (i < 0) return element("span", { role: "presentation" });
      const value = values?.[i] ?? null;
      const label = spectra[i].name + (values ? `, ${value === null ? "no value" : number_text(value, 4)}` : "");
      const button = element("button", { title: label, "aria-label": label, "aria-current": String(i === current), onclick: () => this.pick(i) }, grid || columns > 16 ? "" : String(i));
      if (value !== null) {
        button.style.background = heat(value / highest);
        button.style.color = value / highest > 0.6 ? "#000" : "#fff";
      }
      this.buttons.push([i, button]);
      return button;
    });
    by_id("map").replaceChildren(...cells);
  }
}
