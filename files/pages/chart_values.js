// SPDX-License-Identifier: BSD-3-Clause
// chart_values.js -- colours, curves and numbers of the charts; stands before charts.js
"use strict";
const varokelValues = (() => {
  // palette for colour-blind readers of M. Okabe and K. Ito (2008); the last one follows the ink
  const palette = ["#0072b2", "#d55e00", "#009e73", "#cc79a7", "#56b4e9", "#e69f00", null];
  const styleOf = (name) => getComputedStyle(document.documentElement).getPropertyValue(name).trim();
  const colourOf = (k) => palette[k % palette.length] || styleOf("--data");

  function bytesOf(text) {
    const raw = atob(text);
    const bytes = new Uint8Array(raw.length);
    for (let i = 0; i < raw.length; i++) bytes[i] = raw.charCodeAt(i);
    return new DataView(bytes.buffer);
  }

  // little-endian whatever the machine is
  function floatsOf(text) {
    const view = bytesOf(text), out = new Float64Array(view.byteLength / 4);
    for (let i = 0; i < out.length; i++) out[i] = view.getFloat32(4 * i, true);
    return out;
  }

  function shortsOf(text, unit) {
    const view = bytesOf(text), out = new Float64Array(view.byteLength / 2);
    for (let i = 0; i < out.length; i++) out[i] = view.getInt16(2 * i, true) * unit;
    return out;
  }

  // text of floats, or {unit, values} of 16 bits a point
  const curveOf = (curve) => typeof curve === "string" ? floatsOf(curve) : shortsOf(curve.values, curve.unit);

  const made = (tag, className, text) => {
    const element = document.createElement(tag);
    if (className) element.className = className;
    if (text !== undefined) element.textContent = text;
    return element;
  };

  // range of an axis: some room on both sides, more where numbers of components stand
  const roomAround = (low, high, below = 0.06, above = 0.09) => {
    if (low === null || high === null || !(high > low)) return [(low || 0) - 1, (high || 0) + 1];
    return [low - below * (high - low), high + above * (high - low)];
  };

  const decimalsFor = (step) => Math.max(0, Math.min(6, Math.ceil(-Math.log10(Math.abs(step)))));
  // Texts of ticks that stand step apart: with the decimals that tell them apart, none rounded to
  // another value; beyond five digits before or three noughts behind the point with a power of ten.
  const tickTexts = (ticks, step) => {
    const most = Math.max(...ticks.map(Math.abs));
    if (!(step > 0) || !(most > 0)) return ticks.map(String);
    const power = Math.floor(Math.log10(most) + 1e-12);
    const exponent = power >= 5 || power < -3 ? power : 0;
    const unit = step / 10 ** exponent;
    let decimals = 0; // a step of 2.5 has one more than its size says
    while (decimals < 12 && Math.abs(unit * 10 ** decimals - Math.round(unit * 10 ** decimals)) > 1e-6 * unit * 10 ** decimals) decimals++;
    return ticks.map((v) => {
      if (Math.abs(v) < 1e-6 * step) return "0";
      return (v / 10 ** exponent).toFixed(decimals) + (exponent ? "e" + exponent : "");
    });
  };
  // Room for the texts of a vertical axis, for uPlot: what they take, and never less than held.size, which grows with
  // it, so that panels that share it begin at one place.
  const roomForTexts = (held) => (u, texts, k) => {
    const axis = u.axes[k];
    u.ctx.font = axis.font[0];
    const longest = Math.max(0, ...(texts || []).map((text) => u.ctx.measureText(text || "").width / devicePixelRatio));
    held.size = Math.max(held.size, Math.ceil(longest + axis.ticks.size + axis.gap + 2));
    return held.size;
  };
  const places = (text) => text.replace(/e([+-])(\d)$/, "e$10$2"); // exponents as the tables have them
  const unsigned = (text) => (/[1-9]/.test(text.split("e")[0]) ? text : text.replace("-", ""));
  const exponentOf = (value, digits) => Number(value.toExponential(digits).split("e")[1]);
  // The value rounded to the multiple of 10^place that is nearest, in the notation of the error.
  const roundedTo = (value, place, fixed) => {
    const most = 15, size = Math.abs(value); // digits behind the first: a double has no more
    if (size === 0) return fixed ? (0).toFixed(Math.max(0, -place)) : "0";
    if (fixed && place <= 0) return unsigned(value.toFixed(-place));
    const unit = 10 ** place;
    if (size < 0.5 * unit) return "0";
    const rounded = size < unit ? Math.sign(value) * unit : value;
    const digits = (top) => Math.max(0, Math.min(most, top - place)), top = exponentOf(Math.max(size, unit), most);
    let text = rounded.toExponential(digits(top));
    // 9.996 to two places is 10.00, of one digit more
    if (exponentOf(size, digits(top)) > top) text = Number(text).toExponential(digits(top + 1));
    return fixed ? Number(text).toFixed(0) : places(text);
  };
  // A value and its standard deviation as number_text.h has them: two digits of the deviation, and the value to the
  // same place.
  const withError = (value, sd) => {
    if (!Number.isFinite(value)) return { value: "n/a", error: "n/a" };
    if (!(sd > 0) || !Number.isFinite(sd)) return { value: fewDigits(value), error: "n/a" };
    const place = exponentOf(sd, 1) - 1;
    const top = Math.max(value === 0 ? place : exponentOf(Math.abs(value), 15), place + 1), fixed = top >= -4 && top < 6 && place >= -7;
    return { value: roundedTo(value, place, fixed), error: fixed ? roundedTo(sd, place, true) : places(sd.toExponential(1)) };
  };
  const fewDigits = (value) => {
    const power = value === 0 ? 0 : exponentOf(Math.abs(value), 4);
    return power < -4 || power > 4 ? places(String(Number(value.toPrecision(5)).toExponential())) : String(Number(value.toPrecision(5)));
  };
  const withErrorText = (value, sd) => {
    const text = withError(value, sd);
    return text.error !== "n/a" ? text.value + " \u00b1 " + text.error : text.value;
  };
  // Two digits, from 100 on whole percents.
  const percentText = (percent) => {
    if (!Number.isFinite(percent)) return "n/a";
    return percent === 0 ? "0" : percent >= 99.5 ? percent.toFixed(0) : withError(0, percent).error;
  };
  // Four digits, whole numbers from 1000 on, a power of ten where values with errors have one.
  const numberText = (value) => {
    const size = Math.abs(value);
    if (!Number.isFinite(value)) return "n/a";
    if (size !== 0 && (size < 1e-4 || size >= 1e6)) return places(value.toExponential(3));
    return size >= 999.95 ? value.toFixed(0) : value.toPrecision(4);
  };
  return { floatsOf, curveOf, made, styleOf, colourOf, roomForTexts, numberText, withError, withErrorText, percentText, tickTexts, decimalsFor, roomAround };
})();
