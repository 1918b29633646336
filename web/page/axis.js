// SPDX-License-Identifier: BSD-3-Clause
// axis.js -- which stretch of a spectrum is seen, and where its points lie on the screen
//
// Points of the spectrum run over 0 ... n - 1; what ppm or Hz a point has, the module says (scale).
// High ppm stand on the left, as everywhere in the field.

const LEAST = 8; // points that are seen at least

export class Axis {
  // scale: values of the points, in order; unit: their name.
  constructor(points) {
    this.points = points;
    this.first = 0;
    this.last = points - 1;
    this.left = 0;
    this.width = 1;
    this.set_scale(Float64Array.from({ length: points }, (_, i) => i), "points");
  }
  set_scale(scale, unit) {
    this.scale = scale;
    this.unit = unit;
    this.step = scale[1] - scale[0];
    this.flipped = unit !== "points" && this.step > 0;
  }
  value(point) { return this.scale[0] + this.step * point; }
  point_of_value(value) { return (value - this.scale[0]) / this.step; }

  place(left, width) {
    this.left = left;
    this.width = Math.max(1, width);
  }
  x(point) {
    const part = (point - this.first) / (this.last - this.first);
    return this.left + this.width * (this.flipped ? 1 - part : part);
  }
  point(x) {
    const part = (x - this.left) / this.width;
    return this.first + (this.flipped ? 1 - part : part) * (this.last - this.first);
  }
  // Points of a pixel, as they grow to the right.
  get points_per_pixel() { return (this.flipped ? -1 : 1) * (this.last - this.first) / this.width; }

  show(first, last) {
    const most = this.points - 1;
    const size = Math.min(Math.max(last - first, LEAST), most);
    this.first = Math.min(Math.max(0, (first + last - size) / 2), most - size);
    this.last = this.first + size;
  }
  show_all() { this.show(0, this.points - 1); }
  // Around a point that stays where it is.
  zoom(factor, around) {
    const size = Math.min(Math.max((this.last - this.first) * factor, LEAST), this.points - 1);
    const part = (around - this.first) / (this.last - this.first);
    const first = around - part * size;
    const most = this.points - 1 - size;
    this.first = Math.min(Math.max(0, first), most);
    this.last = this.first + size;
  }
  pan(points) {
    const size = this.last - this.first;
    this.first = Math.min(Math.max(0, this.first + points), this.points - 1 - size);
    this.last = this.first + size;
  }

  // Round values for the ticks, with their points and texts.
  ticks(most) {
    const a = this.value(this.first), b = this.value(this.last);
    const low = Math.min(a, b), high = Math.max(a, b);
    const rough = (high - low) / Math.max(1, most);
    const power = 10 ** Math.floor(Math.log10(rough));
    const step = [1, 2, 5, 10].map((each) => each * power).find((each) => each >= rough) ?? 10 * power;
    const digits = Math.max(0, -Math.floor(Math.log10(step) + 1e-9));
    const out = [];
    for (let i = Math.ceil(low / step); i * step <= high; ++i) {
      const value = i * step;
      out.push({ point: this.point_of_value(value), text: (value === 0 ? 0 : value).toFixed(digits) });
    }
    return out;
  }
  text_of(point) {
    const digits = this.unit === "ppm" ? 3 : 1;
    return `${this.value(point).toFixed(digits)} ${this.unit}`;
  }
}

// Heights between which all values of curves over the points that are seen lie, with a margin.
export function heights(curves, axis) {
  let low = 0, high = 0;
  const first = Math.max(0, Math.floor(axis.first)), last = Math.min(axis.points - 1, Math.ceil(axis.last));
  for (const curve of curves)
    for (let i = first; i <= last; ++i) {
      if (curve[i] < low) low = curve[i];
      if (curve[i] > high) high = curve[i];
    }
  if (!(high > low)) return { low: -1, high: 1 };
  const margin = 0.06 * (high - low);
  return { low: low - margin, high: high + margin };
}

// A value between points.
export function height_at(curve, point) {
  const i = Math.min(Math.max(0, Math.floor(point)), curve.length - 2);
  const part = Math.min(Math.max(point - i, 0), 1);
  return curve[i] * (1 - part) + curve[i + 1] * part;
}

// How far from a peak, in points, its curve falls to half; at most a 16th of the spectrum.
export function half_width(curve, peak) {
  const at = Math.round(peak), most = Math.ceil(curve.length / 16);
  const top = curve[at];
  const side = (step) => {
    for (let k = 1; k <= most; ++k) {
      const here = curve[at + k * step];
      if (here === undefined || Math.abs(here) < Math.abs(top) / 2 || here * top < 0) return k;
    }
    return most;
  };
  return Math.min(side(1), side(-1));
}

// The highest point within a few pixels.
export function nearest_peak(curve, point, reach) {
  let best = Math.round(Math.min(Math.max(0, point), curve.length - 1));
  for (let i = Math.max(0, Math.ceil(point - reach)); i <= Math.min(curve.length - 1, point + reach); ++i)
    if (Math.abs(curve[i]) > Math.abs(curve[best])) best = i;
  return best;
}
