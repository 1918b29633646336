// SPDX-License-Identifier: BSD-3-Clause
// screen.js -- the canvas with the spectrum, in the page's colours
import { Axis, heights } from "./axis.js";
import { CanvasPen, SvgPen } from "./pens.js";
import { draw_scene, layout_of } from "./plot.js";

// Windows of the frequencies of lines, in points; null: no limit. moved: {entry, ends} of one that a hand
// holds.
export function windows_of(entries, moved = null) {
  const out = [];
  entries.forEach((entry, k) => {
    const own = moved?.entry === k ? moved.ends : entry.of.frequency.window_points;
    if (own && !entry.pattern) out.push({ entry: k, ends: own });
  });
  return out;
}

// The first of 1, 2, 5, 10, 20 ... that is not less.
export function shrink_of(least) {
  if (!(least > 1) || !Number.isFinite(least)) return 1;
  const power = 10 ** Math.floor(Math.log10(least));
  return [1, 2, 5, 10].map((each) => each * power).find((each) => each >= least) ?? 10 * power;
}

export class Screen {
  constructor(canvas, bench) {
    this.canvas = canvas;
    this.bench = bench;
    this.axis = new Axis(2);
    this.unit = "ppm";
    this.scale_up = 1;
    this.show = { data: true, model: true, components: true, residual: true, names: true, noise: true, intervals: true, windows: true };
    this.edges = null;  // {noise, intervals, window} while a hand moves them
    this.edge = null;   // that keys move
    this.cursor = null; // point where keys add a line
    this.frame = 0;
  }
  // Another spectrum: all of it, unless it has the same axis.
  take_spectrum() {
    const { about } = this.bench;
    const same = this.axis.points === about.points && this.hz_per_point === about.hz_per_point;
    if (!same) this.axis = new Axis(about.points);
    this.hz_per_point = about.hz_per_point;
    this.set_unit(this.unit);
    if (!same) this.scale_up = 1;
  }
  units() { return this.bench.about?.ppm ? ["ppm", "Hz", "points"] : ["Hz", "points"]; }
  set_unit(unit) {
    this.unit = this.units().includes(unit) ? unit : this.units()[0];
    const { about } = this.bench;
    const scale = { ppm: about.ppm, Hz: about.hz }[this.unit];
    if (scale) this.axis.set_scale(scale, this.unit);
    else this.axis.set_scale(Float64Array.from({ length: about.points }, (_, i) => i), "points");
    // the same way round as ppm
    if (this.unit === "Hz" && about.ppm) this.axis.flipped = about.ppm[1] > about.ppm[0];
    if (this.unit === "points") this.axis.flipped = (about.ppm ?? about.hz)[1] > (about.ppm ?? about.hz)[0];
  }

  scene(width = this.canvas.clientWidth, height = this.canvas.clientHeight) {
    const { bench, axis } = this;
    const layout = layout_of(width, height);
    axis.place(layout.left, layout.width);
    const curves = bench.curves;
    const seen = [this.show.data && curves.data, this.show.model && curves.model].filter(Boolean);
    const range = this.held_range ?? heights(seen.length ? seen : [curves.data], axis);
    const low = range.low / this.scale_up, high = range.high / this.scale_up;
    this.range = range;
    const y = (value) => layout.top + layout.height * (1 - (value - low) / (high - low));
    const per = layout.height / (high - low);
    const middle = layout.residual_top + layout.residual_height / 2;
    const shrink = this.held_shrink ?? this.residual_shrink(curves.residual, layout.residual_height, layout.height / (range.high - range.low));
    this.shrink = shrink;
    this.height_of = (pixel) => low + (1 - (pixel - layout.top) / layout.height) * (high - low);
    const entries = curves.values ? bench.entries : [];
    return {
      axis, layout, curves, entries, selected: bench.selected, edge: this.edge, cursor: this.cursor, y,
      residual_y: (value) => middle - (value * per) / shrink, residual_shrink: shrink,
      intervals: this.edges?.intervals ?? bench.table?.intervals ?? [],
      windows: windows_of(entries, this.edges?.window),
      noise: this.edges?.noise ?? bench.table?.noise ?? bench.about.noise,
      show: this.show,
      half_width: (k) => this.half_width(k),
    };
  }
  // By how much the residual is drawn smaller than the data, so that all of it is seen: 1, 2, 5, 10 ...
  // per: pixels of a unit of the data where nothing is scaled up.
  residual_shrink(residual, room, per) {
    if (!residual || !this.show.residual) return 1;
    const { axis } = this;
    let most = 0;
    for (let i = Math.max(0, Math.floor(axis.first)); i <= Math.min(residual.length - 1, axis.last); ++i) most = Math.max(most, Math.abs(residual[i]));
    return shrink_of((2 * most * per) / room);
  }
  // Half of an entry's width as its start values or the hand have it [points].
  half_width(k) {
    const entry = this.bench.entries[k], values = this.bench.curves.values[k];
    const half = (column, q) => {
      const own = entry.of[column];
      if (!own.used || !own.points) return own.used ? values[q] / 2 : 0;
      return (own.hz / this.hz_per_point) * (values[q] / own.points) / 2;
    };
    return Math.max(half("lorentz", 4), half("gauss", 2));
  }

  // Asked for once: it makes the browser settle the style of the page.
  colors() { return (this.known_colors ??= this.colors_of_page()); }
  forget_colors() { this.known_colors = null; }
  colors_of_page() {
    const style = getComputedStyle(document.documentElement);
    const all = {};
    for (const name of ["paper", "ink", "muted", "line", "shade", "data", "fit", "residual", "noise"])
      all[name] = style.getPropertyValue(`--${name}`).trim();
    return all;
  }
  // Drawn once before the next picture of the screen.
  redraw() {
    if (this.frame) return;
    this.frame = requestAnimationFrame(() => {
      this.frame = 0;
      this.draw();
    });
  }
  draw() {
    const { canvas, bench } = this;
    if (!bench.curves.data || canvas.clientWidth === 0) return;
    const ratio = window.devicePixelRatio || 1;
    const width = canvas.clientWidth, height = canvas.clientHeight;
    if (canvas.width !== Math.round(width * ratio) || canvas.height !== Math.round(height * ratio)) {
      canvas.width = Math.round(width * ratio);
      canvas.height = Math.round(height * ratio);
    }
    const context = canvas.getContext("2d");
    context.setTransform(ratio, 0, 0, ratio, 0, 0);
    draw_scene(new CanvasPen(context), this.scene(), this.colors(), width, height);
  }
  svg(width = 1000, height = 560) {
    const pen = new SvgPen(width, height);
    draw_scene(pen, this.scene(width, height), this.colors(), width, height);
    this.redraw();
    return pen.markup(`${this.bench.spectrum.name}: data, model, residual`);
  }
  async png(width = 1600, height = 900) {
    const canvas = document.createElement("canvas");
    canvas.width = 2 * width;
    canvas.height = 2 * height;
    const context = canvas.getContext("2d");
    context.scale(2, 2);
    draw_scene(new CanvasPen(context), this.scene(width, height), this.colors(), width, height);
    this.redraw();
    return new Promise((resolve) => canvas.toBlob(resolve, "image/png"));
  }
}
