// SPDX-License-Identifier: BSD-3-Clause
// lines.js -- lines, multiplets and ties as changes of the table
import { half_width } from "./axis.js";

// A window behind a number: [a, b], > a, < b, +- d.
const WINDOW = /\s*(\[|<|>|\+-|±).*$/;

const round = (value, digits) => String(Number(value.toFixed(digits)));

export function free_name(bench, stem) {
  const names = new Set(bench.entries.map((entry) => entry.name));
  for (let i = 1; ; ++i) if (!names.has(`${stem}${i}`)) return `${stem}${i}`;
}

// A frequency cell for a point of the spectrum.
export function frequency_cell(about, point) {
  const of = (scale) => scale[0] + (scale[1] - scale[0]) * point;
  const text = about.ppm ? of(about.ppm).toFixed(4) : of(about.hz).toFixed(2);
  return `${text.replace(/^-(?=[0.]*$)/, "")} ${about.ppm ? "ppm" : "Hz"}`;
}

// A line where the spectrum has a peak; phases follow the first line, as in a well-set spectrum.
export function add_line(bench, point, type = "lorentz") {
  const width = Math.max(1, 2 * half_width(bench.curves.data, point)) * bench.about.hz_per_point;
  const name = free_name(bench, "L");
  const first = bench.entries.find((entry) => entry.of.phase.state !== "tied");
  const cells = { name, type, frequency: frequency_cell(bench.about, point), area: "?", phase: first ? `=${first.name}` : "?" };
  if (type !== "gauss") cells.lorentz = round(width, 2);
  if (type !== "lorentz") cells.gauss = round(width, 2);
  bench.edit({ edit: "row", cells });
  bench.select(bench.entries.findIndex((entry) => entry.name === name));
  return name;
}

export function add_pattern(bench, file) {
  const name = free_name(bench, file.replace(/\.[^.]*$/, "").replace(/[^\w.']/g, "_").slice(0, 30));
  bench.edit({ edit: "row", cells: { name, type: file, frequency: "0 Hz", area: "?", phase: "?", lorentz: "2" } });
  bench.select(bench.entries.findIndex((entry) => entry.name === name));
}

// Lines that follow this one are given their own numbers first.
export function remove_entry(bench, k) {
  const gone = bench.entries[k];
  const changes = [];
  bench.entries.forEach((entry, other) => {
    for (const [column, own] of Object.entries(entry.of)) {
      if (other === k || own.state !== "tied" || !(entry.cells[column] ?? "").startsWith("=")) continue;
      if (new RegExp(`^=\\s*${escape_name(gone.name)}(?![\\w.'])`).test(entry.cells[column]))
        changes.push({ edit: "number", row: entry.row, column, points: own.points });
    }
  });
  bench.edit(...changes, { edit: "without row", row: gone.row });
  bench.select(-1);
}
const escape_name = (name) => name.replace(/[.*+?^${}()|[\]\\]/g, "\\$&");

// Relative heights of n lines: "binomial", "equal", or their own, such as "1:3:2".
export function ratios_of(n, kind) {
  if (kind === "equal") return Array(n).fill(1);
  if (kind !== "binomial") {
    const own = kind.split(":").map((text) => Number(text.trim() || "none"));
    if (own.length !== n || !own.every((each) => each > 0 && Number.isFinite(each)))
      throw new Error(`Ratios: found "${kind}"; expected binomial, equal, or ${n} numbers above 0 such as ${Array(n).fill(1).join(":")}`);
    return own.map((each) => each / own[0]);
  }
  const out = [1]; // binomial
  for (let k = 1; k < n; ++k) out.push((out[k - 1] * (n - k)) / k);
  return out;
}

// A line becomes the first of n, J apart, around where it was. The table gives the fit the ties.
export function make_multiplet(bench, k, n, j_hz, kind) {
  const entry = bench.entries[k];
  const column = entry.of.lorentz.used ? "lorentz" : "gauss";
  const ratios = ratios_of(n, kind);
  const sense = Math.sign(bench.about.hz[1] - bench.about.hz[0]);
  const from = bench.curves.values[k][1] + (sense * (n - 1) * j_hz) / 2 / bench.about.hz_per_point;
  const changes = [];
  if (entry.of.frequency.state !== "tied") changes.push({ edit: "number", row: entry.row, column: "frequency", points: from });
  const names = new Set(bench.entries.map((each) => each.name));
  for (let i = 1; i < n; ++i) {
    let name = `${entry.name}_${i + 1}`;
    while (names.has(name)) name += "b";
    names.add(name);
    const cells = {
      name, type: entry.type, phase: `=${entry.name}`,
      area: ratios[i] === 1 ? `=${entry.name}` : `=${entry.name}*${round(ratios[i], 6)}`,
      frequency: `=${entry.name} - ${round(i * j_hz, 3)} Hz`, [column]: `=${entry.name}`,
    };
    if (entry.type === "voigt") cells.gauss = `=${entry.name}`;
    changes.push({ edit: "row", cells });
  }
  bench.edit(...changes);
  bench.select(bench.entries.findIndex((each) => each.name === entry.name));
}

// how: "equal" as it is, "ratio" or "difference" as they stand now; column names the parameter.
export function tie(bench, k, to, column, how, unit = "Hz") {
  const own = bench.entries[k], other = bench.entries[to];
  const q = ["area", "frequency", "gauss", "phase", "lorentz"].indexOf(column);
  const a = bench.curves.values[k][q], b = bench.curves.values[to][q];
  let cell = `=${other.name}`;
  if (how !== "equal" && column === "area") cell += `*${round(a / b, 4)}`;
  else if (how !== "equal") {
    const scale = unit === "ppm" ? bench.about.ppm : bench.about.hz;
    const step = column === "frequency" ? scale[1] - scale[0] : column === "phase" ? 1
      : own.of[column].hz / own.of[column].points;
    const off = round((a - b) * step, unit === "ppm" ? 4 : 2);
    const amount = off.replace(/^-/, "");
    const name = column === "frequency" ? ` ${unit}` : "";
    if (Number(amount) !== 0) cell += ` ${off.startsWith("-") ? "-" : "+"} ${amount}${name}`;
  }
  bench.edit({ edit: "cell", row: own.row, column, cell });
}

// Free, fixed, or on its own again: the number that it has now.
export function set_state(bench, k, column, state) {
  const entry = bench.entries[k], own = entry.of[column];
  if (own.state === "tied") bench.edit({ edit: "number", row: entry.row, column, points: own.points });
  const cell = bench.entries[k].cells[column] ?? "?";
  const bare = cell.replace(/^fixed\s+/i, "");
  const wanted = state === "fixed" ? `fixed ${bare.replace(WINDOW, "")}` : bare;
  if (wanted !== cell) bench.edit({ edit: "cell", row: entry.row, column, cell: wanted });
}

// A window of the frequency, one width to either side; taken out when there is one.
export function toggle_window(bench, k) {
  const entry = bench.entries[k], cell = entry.cells.frequency;
  if (WINDOW.test(cell)) {
    bench.edit({ edit: "cell", row: entry.row, column: "frequency", cell: cell.replace(WINDOW, "") });
    return;
  }
  if (entry.of.frequency.state !== "free" || entry.pattern) return; // a shift of a pattern has no place
  const width = Math.max(2, entry.of.lorentz.used ? entry.of.lorentz.points : 2 * entry.of.gauss.points);
  const at = entry.of.frequency.points;
  set_window(bench, k, [at - width, at + width]);
}

// The window of a frequency between two points; null: no limit to that side.
export function window_text(about, ends) {
  const scale = about.ppm ?? about.hz, unit = about.ppm ? "ppm" : "Hz", digits = about.ppm ? 4 : 2;
  const value = (point) => (point === null ? null : scale[0] + (scale[1] - scale[0]) * point);
  let [low, high] = scale[1] > scale[0] ? ends.map(value) : ends.map(value).reverse();
  const of = (number) => number.toFixed(digits).replace(/^-(?=[0.]*$)/, "");
  if (low === null && high === null) return "";
  if (low === null) return `< ${of(high)} ${unit}`;
  if (high === null) return `> ${of(low)} ${unit}`;
  if (low > high) [low, high] = [high, low];
  return `[${of(low)}, ${of(high)}] ${unit}`;
}
export function set_window(bench, k, ends) {
  const entry = bench.entries[k], bare = (entry.cells.frequency ?? "?").replace(WINDOW, "");
  bench.edit({ edit: "cell", row: entry.row, column: "frequency", cell: `${bare} ${window_text(bench.about, ends)}`.trim() });
}

// Edges of noise window and intervals, in points.
export function set_noise(bench, first, last) {
  const [a, b] = [first, last].sort((x, y) => x - y);
  bench.edit({ edit: "key", key: "noise", value: `${Math.round(a)} to ${Math.round(b)} points` });
}
export function set_intervals(bench, intervals) {
  const text = intervals.map((each) => [...each].sort((x, y) => x - y))
    .map(([a, b]) => `${Math.round(a)} to ${Math.round(b)} points`).join(", ");
  bench.edit({ edit: "key", key: "interval", value: text });
}
