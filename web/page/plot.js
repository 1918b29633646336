// SPDX-License-Identifier: BSD-3-Clause
// plot.js -- the picture of a spectrum with its model, and what of it a hand can take
import { edges_of, HANDLE, handles_of, place_names, same_edge, TAB } from "./handles.js";

const MARGIN = { left: 10, right: 10, top: 24, bottom: 34 };
const RESIDUAL_PART = 0.2; // of the height

export const COLORS = ["#0072b2", "#009e73", "#cc79a7", "#e69f00", "#56b4e9", "#8c6bb1", "#d55e00",
  "#66a61e", "#a6761d", "#1b9e77"];
export const color_of = (k) => COLORS[k % COLORS.length];

// Where the two panels lie.
export function layout_of(width, height) {
  const inner = height - MARGIN.top - MARGIN.bottom;
  const below = Math.round(inner * RESIDUAL_PART);
  return {
    left: MARGIN.left, width: width - MARGIN.left - MARGIN.right,
    top: MARGIN.top, height: inner - below - 8,
    residual_top: MARGIN.top + inner - below, residual_height: below, bottom: MARGIN.top + inner,
  };
}

const UNSEEN = 0.1; // pixels by which a path may leave its points

// Takes points from left to right, or from right to left, and keeps those without which the line would
// pass another one at more than UNSEEN: from the last kept one on, the slopes that meet all points
// since form a cone, and a point outside of it ends the stretch (J. Sklansky, V. Gonzalez, Pattern
// Recognition 12 (1980) 327-331).
class ThinPath {
  constructor() { this.path = []; }
  keep(x, y) {
    this.path.push(x, y);
    this.from = { x, y };
    this.last = null;
    this.least = -Infinity;
    this.most = Infinity;
  }
  add(x, y) {
    if (!this.from) return this.keep(x, y);
    const far = Math.abs(x - this.from.x);
    if (far > 0) {
      const slope = (y - this.from.y) / far;
      if (slope >= this.least && slope <= this.most) {
        this.least = Math.max(this.least, slope - UNSEEN / far);
        this.most = Math.min(this.most, slope + UNSEEN / far);
        this.last = { x, y };
        return undefined;
      }
    }
    if (this.last) {
      this.keep(this.last.x, this.last.y);
      return this.add(x, y);
    }
    return this.keep(x, y);
  }
  end() {
    if (this.last) this.keep(this.last.x, this.last.y);
    return this.path;
  }
}

// Several points of one pixel become its lowest and highest one, the nearer one to what is left of it first;
// what lies on a line is left out.
export function path_of(curve, axis, y) {
  const first = Math.max(0, Math.floor(axis.first)), last = Math.min(curve.length - 1, Math.ceil(axis.last));
  const path = new ThinPath();
  if ((last - first) / axis.width <= 2) {
    for (let i = first; i <= last; ++i) path.add(axis.x(i), y(curve[i]));
    return path.end();
  }
  let pixel = null, low = 0, high = 0, at = 0, before = 0;
  const put = () => {
    const [one, other] = Math.abs(low - before) <= Math.abs(high - before) ? [low, high] : [high, low];
    path.add(at, y(one));
    if (Math.abs(y(other) - y(one)) > UNSEEN) path.add(at, y(other));
    before = other;
  };
  for (let i = first; i <= last; ++i) {
    const x = axis.x(i);
    if (pixel !== null && Math.floor(x) === pixel) {
      low = Math.min(low, curve[i]);
      high = Math.max(high, curve[i]);
      continue;
    }
    if (pixel !== null) put();
    pixel = Math.floor(x);
    at = x;
    low = high = curve[i];
  }
  put();
  return path.end();
}

function band(pen, scene, from, to, color, opacity) {
  const { axis, layout } = scene;
  const a = axis.x(Math.max(from, axis.first)), b = axis.x(Math.min(to, axis.last));
  if (to < axis.first || from > axis.last) return;
  pen.box(Math.min(a, b), layout.top, Math.abs(b - a), layout.bottom - layout.top, color, opacity);
}

function draw_ground(pen, scene, colors) {
  const { axis, layout } = scene;
  if (scene.show.intervals) for (const [first, last] of scene.intervals) band(pen, scene, first, last, colors.shade, 1);
  if (scene.show.noise && scene.noise) band(pen, scene, scene.noise[0], scene.noise[1] - 1, colors.noise, 0.25);
  if (scene.show.windows)
    for (const { entry, ends } of scene.windows)
      band(pen, scene, ends[0] ?? 0, ends[1] ?? axis.points - 1, color_of(entry), entry === scene.selected ? 0.3 : 0.14);
  for (const tick of axis.ticks(Math.max(2, layout.width / 80))) {
    const x = axis.x(tick.point);
    pen.line([x, layout.bottom, x, layout.bottom + 5], colors.muted);
    pen.text(tick.text, x, layout.bottom + 18, colors.muted);
  }
  pen.line([layout.left, layout.bottom, layout.left + layout.width, layout.bottom], colors.muted);
  pen.text(axis.unit, layout.left + layout.width, layout.bottom + 31, colors.muted, { align: "right" });
  const zero = scene.y(0);
  if (zero > layout.top && zero < layout.top + layout.height)
    pen.line([layout.left, zero, layout.left + layout.width, zero], colors.line);
}

function draw_curves(pen, scene, colors) {
  const { axis, curves, layout } = scene;
  pen.clip(layout.left, layout.top, layout.width, layout.height, () => {
    if (scene.show.components)
      (curves.components ?? []).forEach((curve, k) => pen.line(path_of(curve, axis, scene.y),
        color_of(k), k === scene.selected ? 2 : 1));
    if (scene.show.data) pen.line(path_of(curves.data, axis, scene.y), colors.data, 1.2);
    if (scene.show.model && curves.model) pen.line(path_of(curves.model, axis, scene.y), colors.fit, 1.6);
  });
  if (!curves.residual || !scene.show.residual) return;
  const y = scene.residual_y;
  pen.clip(layout.left, layout.residual_top, layout.width, layout.residual_height, () => {
    pen.line([layout.left, y(0), layout.left + layout.width, y(0)], colors.line);
    pen.line(path_of(curves.residual, axis, y), colors.residual, 1);
  });
  pen.text(scene.residual_shrink > 1 ? `residual ÷ ${scene.residual_shrink}` : "residual", layout.left + 2, layout.residual_top + 10, colors.muted, { align: "left", size: 11 });
}

function draw_edges(pen, scene, colors) {
  for (const edge of edges_of(scene)) {
    const x = scene.axis.x(edge.point);
    const color = { noise: colors.noise, interval: colors.muted, window: color_of(edge.entry) }[edge.kind];
    const chosen = same_edge(edge, scene.edge);
    pen.line([x, scene.layout.top, x, edge.kind === "window" ? scene.layout.top + scene.layout.height : scene.layout.bottom], color, chosen ? 2 : 1, [4, 4]);
    pen.tab(x, edge.tab, chosen ? 14 : 8, TAB, color, chosen ? colors.ink : null);
  }
  if (scene.cursor === null || scene.cursor === undefined) return;
  const x = scene.axis.x(scene.cursor);
  pen.tab(x, (scene.layout.top + scene.layout.bottom) / 2, 1.5, scene.layout.bottom - scene.layout.top, colors.ink, null);
}

function draw_names(pen, scene, colors) {
  const dots = [];
  for (const handle of handles_of(scene)) {
    const own = handle.entry === scene.selected;
    if (handle.kind === "width") {
      pen.line([scene.axis.x(handle.point), handle.y, handle.x, handle.y], color_of(handle.entry), 1, [2, 3]);
      pen.dot(handle.x, handle.y, HANDLE - 1, colors.paper, color_of(handle.entry));
      continue;
    }
    pen.dot(handle.x, handle.y, own ? HANDLE + 1 : HANDLE - 1, color_of(handle.entry), own ? colors.ink : null);
    const text = scene.entries[handle.entry].name;
    dots.push({ x: handle.x, y: handle.y, wide: pen.width_of(text, 12), own, text });
  }
  place_names(dots, scene.layout.top - 12).forEach((at, i) => {
    if (!at) return;
    const dot = dots[i];
    if (at.y < dot.y - 20) pen.line([dot.x, at.y + 3, dot.x, dot.y - HANDLE], colors.muted, 0.7);
    pen.text(dot.text, at.x, at.y, colors.ink, { size: 12, weight: dot.own ? "bold" : "" });
  });
}

// scene: axis, layout, curves, entries, intervals, noise, windows, show, selected, edge, cursor, y,
// residual_y, residual_shrink, half_width
export function draw_scene(pen, scene, colors, width, height) {
  pen.box(0, 0, width, height, colors.paper);
  draw_ground(pen, scene, colors);
  draw_curves(pen, scene, colors);
  draw_edges(pen, scene, colors);
  if (scene.show.names) draw_names(pen, scene, colors);
}
