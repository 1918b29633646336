// SPDX-License-Identifier: BSD-3-Clause
// handles.js -- what of the picture a hand can take, and where names find room
import { height_at } from "./axis.js";

export const HANDLE = 6;  // radius
const REACH = 18;         // of a finger or a pointer, to either side of a dot
export const TAB = 16;    // height of the tabs of edges

// Handles of the entries: where a hand takes frequency and height, and width.
export function handles_of(scene) {
  const { axis, curves, entries } = scene;
  const out = [];
  if (!curves.components) return out;
  entries.forEach((entry, k) => {
    if (entry.pattern || !curves.components[k]) return;
    const point = curves.values[k][1];
    if (point === null || point < axis.first || point > axis.last) return;
    const height = height_at(curves.components[k], point);
    out.push({ kind: "line", entry: k, x: axis.x(point), y: scene.y(height), point, height });
    if (k !== scene.selected) return;
    const half = scene.half_width(k);
    if (half > 0)
      out.push({ kind: "width", entry: k, x: axis.x(point + half), y: scene.y(height / 2), point, half });
  });
  return out;
}

// Edges of noise window, intervals and the selected line's window, in points; tab: the middle of what
// is taken of them.
export function edges_of(scene) {
  const out = [], { layout } = scene;
  const top = layout.top + TAB / 2, low = layout.top + layout.height - TAB / 2;
  if (scene.show.noise && scene.noise) {
    out.push({ kind: "noise", edge: 0, point: scene.noise[0], tab: top });
    out.push({ kind: "noise", edge: 1, point: scene.noise[1] - 1, tab: top });
  }
  if (scene.show.intervals)
    scene.intervals.forEach(([first, last], i) => {
      out.push({ kind: "interval", index: i, edge: 0, point: first, tab: top });
      out.push({ kind: "interval", index: i, edge: 1, point: last, tab: top });
    });
  if (scene.show.windows)
    for (const window of scene.windows ?? []) {
      if (window.entry !== scene.selected) continue;
      window.ends.forEach((point, edge) => point !== null && out.push({ kind: "window", entry: window.entry, edge, point, tab: low }));
    }
  return out.filter((each) => each.point >= scene.axis.first && each.point <= scene.axis.last);
}
export const same_edge = (a, b) => Boolean(a && b) && a.kind === b.kind && a.edge === b.edge && a.index === b.index && a.entry === b.entry;

// What lies under a pointer: the nearest handle, else the tab of an edge. finger: which is less exact.
export function taken_at(scene, x, y, finger = false) {
  let best = null, least = REACH;
  for (const handle of handles_of(scene)) {
    const far = Math.hypot(handle.x - x, handle.y - y) - (handle.entry === scene.selected ? 3 : 0);
    if (far < least) {
      least = far;
      best = handle;
    }
  }
  if (best) return best;
  least = finger ? 22 : 8;
  for (const edge of edges_of(scene)) {
    const far = Math.abs(scene.axis.x(edge.point) - x);
    const on_tab = Math.abs(y - edge.tab) < TAB / 2 + (finger ? 16 : 8);
    const below = edge.kind !== "window" && y > scene.layout.residual_top;
    if (far < least && (on_tab || below)) {
      least = far;
      best = edge;
    }
  }
  return best;
}

const ROW = 13; // pixels from one name to the next above

// Where the names of dots stand: above their dot, higher or aside where others stand already; null where
// there is no room. dots: [{x, y, wide, own}]; own: the selected one, which always gets a place.
export function place_names(dots, top) {
  const taken = dots.map((dot) => ({ left: dot.x - HANDLE, right: dot.x + HANDLE, top: dot.y - HANDLE, bottom: dot.y + HANDLE }));
  const box = (dot, x, y) => ({ left: x - dot.wide / 2 - 2, right: x + dot.wide / 2 + 2, top: y - 10, bottom: y + 3 });
  const is_free = (own) => taken.every((other) => own.right <= other.left || own.left >= other.right || own.bottom <= other.top || own.top >= other.bottom);
  const places = dots.map(() => null);
  const order = dots.map((_, i) => i).sort((a, b) => Number(Boolean(dots[b].own)) - Number(Boolean(dots[a].own)) || dots[a].y - dots[b].y);
  for (const i of order) {
    const dot = dots[i];
    const tries = [];
    for (let up = 0; up < 8; ++up) tries.push([dot.x, dot.y - 12 - ROW * up]);
    for (const side of [1, -1]) tries.push([dot.x + side * (dot.wide / 2 + HANDLE + 5), dot.y + 4]);
    let found = tries.find(([x, y]) => y - 10 >= top && is_free(box(dot, x, y)));
    if (!found && dot.own) found = [dot.x, Math.max(dot.y - 12, top + 10)];
    if (!found) continue;
    places[i] = { x: found[0], y: found[1] };
    taken.push(box(dot, ...found));
  }
  return places;
}
