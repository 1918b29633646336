// SPDX-License-Identifier: BSD-3-Clause
// hands.js -- pointer, wheel and keys on the picture
import { taken_at } from "./handles.js";

const CLICK = 4; // pixels that a click may slip

// plot: {scene(), axis, redraw(), height_of(y), canvas}; acts: what the bench does with it.
export class Hands {
  constructor(plot, acts) {
    this.plot = plot;
    this.acts = acts;
    this.pointers = new Map();
    this.held = null;
    const on = (name, act) => plot.canvas.addEventListener(name, act.bind(this), { passive: false });
    on("pointerdown", this.down);
    on("pointermove", this.move);
    on("pointerup", this.up);
    on("pointercancel", this.cancel);
    on("wheel", this.wheel);
    on("dblclick", this.double);
    on("keydown", this.key);
  }
  place(event) {
    const box = this.plot.canvas.getBoundingClientRect();
    return { x: event.clientX - box.left, y: event.clientY - box.top };
  }

  down(event) {
    if (event.button > 0) return;
    const at = this.place(event);
    try {
      this.plot.canvas.setPointerCapture(event.pointerId);
    } catch { /* that pointer is gone already */ }
    this.finger = event.pointerType === "touch";
    this.pointers.set(event.pointerId, at);
    if (this.pointers.size === 2) {
      this.let_go();
      this.pinch = this.spread();
      return;
    }
    if (this.pointers.size > 2) return;
    this.begin = at;
    this.moved = false;
    const taken = this.acts.mode() === "look" ? this.under(at) : null;
    this.held = taken ? { ...taken } : { kind: "pan" };
    if (taken?.entry !== undefined) this.acts.select(taken.entry);
  }
  under(at) { return this.acts.is_there() ? taken_at(this.plot.scene(), at.x, at.y, this.finger) : null; }
  spread() {
    const [a, b] = [...this.pointers.values()];
    return { far: Math.max(10, Math.abs(a.x - b.x)), middle: (a.x + b.x) / 2 };
  }
  move(event) {
    const at = this.place(event);
    if (!this.pointers.has(event.pointerId)) {
      if (!this.acts.is_there()) return;
      const taken = this.acts.mode() === "look" ? this.under(at) : null;
      const shapes = { line: "move", width: "ew-resize", noise: "ew-resize", interval: "ew-resize", window: "ew-resize" };
      this.plot.canvas.style.cursor = this.acts.mode() !== "look" ? "crosshair" : shapes[taken?.kind] ?? "grab";
      this.acts.pointed(this.plot.axis.point(at.x), this.plot.height_of(at.y));
      return;
    }
    const before = this.pointers.get(event.pointerId);
    this.pointers.set(event.pointerId, at);
    if (this.pointers.size === 2) {
      const now = this.spread();
      this.plot.axis.zoom(this.pinch.far / now.far, this.plot.axis.point(this.pinch.middle));
      this.plot.axis.pan((this.pinch.middle - now.middle) * this.plot.axis.points_per_pixel);
      this.pinch = now;
      this.plot.redraw();
      return;
    }
    if (!this.held) return;
    if (!this.moved && Math.hypot(at.x - this.begin.x, at.y - this.begin.y) < CLICK) return;
    this.moved = true;
    this.drag(at, before);
  }
  drag(at, before) {
    const { axis } = this.plot;
    const held = this.held;
    if (held.kind === "pan") {
      axis.pan((before.x - at.x) * axis.points_per_pixel);
      this.plot.redraw();
    } else if (held.kind === "line") {
      const step = (at.x - before.x) * axis.points_per_pixel;
      const tall = this.plot.height_of(this.begin.y) === 0 ? 1 : this.plot.height_of(before.y);
      const factor = tall !== 0 ? this.plot.height_of(at.y) / tall : 1;
      this.acts.drag_line(held.entry, step, Number.isFinite(factor) && factor > 0.02 && factor < 50 ? factor : 1);
    } else if (held.kind === "width") {
      const far = (x) => Math.max(0.05, Math.abs(axis.point(x) - held.point));
      this.acts.drag_width(held.entry, far(at.x) / far(before.x));
    } else {
      this.acts.drag_edge(held, axis.point(at.x));
    }
  }
  up(event) {
    const at = this.pointers.get(event.pointerId) ?? this.place(event);
    this.pointers.delete(event.pointerId);
    if (!this.held || this.pointers.size > 0) return;
    const held = this.held;
    this.held = null;
    if (!this.moved) this.acts.clicked(this.plot.axis.point(at.x), this.under(at), event);
    else if (held.kind !== "pan") this.acts.dropped(held);
  }
  let_go() {
    if (this.held && this.moved && this.held.kind !== "pan") this.acts.dropped(this.held);
    this.held = null;
  }
  cancel(event) {
    this.pointers.delete(event.pointerId);
    this.let_go();
  }
  wheel(event) {
    if (!this.acts.is_there()) return; // the page scrolls
    event.preventDefault();
    const { axis } = this.plot;
    if (event.shiftKey || Math.abs(event.deltaX) > Math.abs(event.deltaY))
      axis.pan((event.deltaX || event.deltaY) * axis.points_per_pixel);
    else if (event.altKey) this.acts.taller(event.deltaY < 0 ? 1.2 : 1 / 1.2);
    else axis.zoom(event.deltaY < 0 ? 1 / 1.25 : 1.25, axis.point(this.place(event).x));
    this.plot.redraw();
  }
  double(event) {
    const at = this.place(event);
    if (!this.under(at)) this.acts.add_at(this.plot.axis.point(at.x));
  }
  key(event) {
    if (event.ctrlKey || event.metaKey || !this.acts.is_there()) return;
    const { axis } = this.plot;
    const side = (axis.last - axis.first) / 10 * (axis.flipped ? -1 : 1);
    const one = event.shiftKey ? 1 : 0.2; // points
    const look = {
      ArrowLeft: () => axis.pan(-side), ArrowRight: () => axis.pan(side),
      ArrowUp: () => this.acts.taller(1.2), ArrowDown: () => this.acts.taller(1 / 1.2),
      "+": () => axis.zoom(0.8, (axis.first + axis.last) / 2), "=": () => axis.zoom(0.8, (axis.first + axis.last) / 2),
      "-": () => axis.zoom(1.25, (axis.first + axis.last) / 2), 0: () => this.acts.show_all(),
      n: () => this.acts.select_next(1), p: () => this.acts.select_next(-1), a: () => this.acts.add_at(null),
      Delete: () => this.acts.remove(), Escape: () => this.acts.leave_mode(),
      e: () => this.acts.next_edge(1), E: () => this.acts.next_edge(-1), w: () => this.acts.window(), Enter: () => this.acts.pick(),
      ",": () => this.acts.cursor(-1), ".": () => this.acts.cursor(1), "<": () => this.acts.cursor(-10), ">": () => this.acts.cursor(10),
    };
    const edge = (step) => this.acts.nudge_edge(axis.flipped ? -step : step);
    if (event.altKey && this.acts.has_edge() && /^Arrow(Left|Right)$/.test(event.key)) {
      event.preventDefault();
      edge((event.key === "ArrowLeft" ? -1 : 1) * (event.shiftKey ? 10 : 1));
      return;
    }
    const line = {
      ArrowLeft: () => this.acts.nudge("frequency", axis.flipped ? one : -one),
      ArrowRight: () => this.acts.nudge("frequency", axis.flipped ? -one : one),
      ArrowUp: () => this.acts.nudge("area", 1.05), ArrowDown: () => this.acts.nudge("area", 1 / 1.05),
    };
    const wide = { "]": () => this.acts.nudge("width", 1.05), "[": () => this.acts.nudge("width", 1 / 1.05) };
    const act = event.altKey ? line[event.key] : wide[event.key] ?? look[event.key];
    if (!act) return;
    event.preventDefault();
    if (event.repeat && event.key === "Enter") return; // a long press on "to..." takes no line
    act();
    this.plot.redraw();
  }
}
