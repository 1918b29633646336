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

const AT_ONCE = 256; // places that are drawn before the page may do something else

// values: of each spectrum, or null; pick: what a click does. The map is one stop of the Tab key; arrow keys
// go from place to place.
export class SpectrumMap {
  constructor(pick) {
    this.pick = pick;
    this.slice = 0;
    this.spectra = this.made = null; // what the buttons are of
    by_id("map").addEventListener("keydown", (event) => this.key(event));
  }
  show(spectra, current, values, title) {
    by_id("map-box").hidden = spectra.length < 2;
    if (spectra.length < 2) return;
    if (this.spectra !== spectra) this.arranged = arrange(spectra);
    const { columns, slices, grid } = this.arranged;
    Object.assign(this, { spectra, current, values, title, slice: Math.min(this.slice, slices.length - 1) });
    by_id("map-title").textContent = title ?? (grid ? "Voxels" : "Spectra of the series");
    const { rows } = slices[this.slice];
    if (this.made !== rows) {
      this.made = rows;
      this.show_tools();
      by_id("map").replaceChildren();
      by_id("map").style.setProperty("--columns", columns);
    }
    this.highest = (values ?? []).reduce((most, value) => (value > most ? value : most), 1e-300);
    this.turn = (this.turn ?? 0) + 1;
    this.go_on(this.turn, 0);
  }
  show_tools() {
    const { slices, grid } = this.arranged;
    by_id("map-tools").replaceChildren(...(slices.length > 1 ? [element("label", {}, grid ? "Slice " : "Part ", element("input", {
      type: "number", min: 0, max: slices.length - 1, value: this.slice,
      onchange: (event) => { this.slice = Math.min(Math.max(0, Number(event.target.value)), slices.length - 1); this.show(this.spectra, this.current, this.values, this.title); },
    }))] : []), ...(grid ? [element("small", {}, "x 0 left, y 0 on top")] : []));
  }
  // Row by row, some rows at a time: what is there gets its colour, what is not is made.
  go_on(turn, row) {
    if (turn !== this.turn) return;
    const rows = this.made, { columns } = this.arranged;
    const stop = Math.min(rows.length, row + Math.max(1, Math.floor(AT_ONCE / columns)));
    for (; row < stop; ++row) this.show_row(row);
    if (!this.stop?.isConnected) this.only_stop(by_id("map").querySelector("button"));
    if (row < rows.length) setTimeout(() => this.go_on(turn, row));
  }
  show_row(row) {
    const line = by_id("map").children[row] ?? this.new_row(row);
    for (const button of line.querySelectorAll("button")) this.show_place(Number(button.dataset.i), button);
  }
  new_row(row) {
    const { columns, grid } = this.arranged;
    const line = element("div", { class: "map-row" }, ...this.made[row].map((i) => (i < 0 ? element("span")
      : element("button", { "data-i": i, tabindex: -1, onclick: () => this.pick(i) }, grid || columns > 16 ? "" : String(i)))));
    by_id("map").append(line);
    return line;
  }
  show_place(i, button) {
    const value = this.values?.[i] ?? null, { name } = this.spectra[i];
    const label = this.values ? `${name}, ${value === null ? "no value" : number_text(value, 4)}` : name;
    const part = value === null ? "" : Math.max(0, value / this.highest);
    if (button.title !== label) {
      button.title = label;
      button.setAttribute("aria-label", label);
    }
    if (button.dataset.part !== String(part)) {
      button.dataset.part = part;
      button.style.background = part === "" ? "" : heat(part);
      button.style.color = part === "" ? "" : part > 0.6 ? "#000" : "#fff";
    }
    const is_current = i === this.current;
    if (button.getAttribute("aria-current") !== String(is_current)) button.setAttribute("aria-current", String(is_current));
    if (is_current) this.only_stop(button);
  }
  only_stop(button) {
    if (this.stop) this.stop.tabIndex = -1;
    this.stop = button;
    button.tabIndex = 0;
  }
  key(event) {
    const step = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] }[event.key];
    if (!step || event.target.tagName !== "BUTTON") return;
    event.preventDefault();
    const lines = [...by_id("map").children], line = event.target.parentNode;
    let column = [...line.children].indexOf(event.target), row = lines.indexOf(line);
    for (let found = null; !found;) { // over places without a spectrum
      column += step[0];
      row += step[1];
      const next = lines[row]?.children[column];
      if (!next) return;
      if (next.tagName === "BUTTON") {
        found = next;
        this.only_stop(next);
        next.focus();
      }
    }
  }
}
