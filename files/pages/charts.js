// SPDX-License-Identifier: BSD-3-Clause
// charts.js -- spectra as charts that can be zoomed; used by the report and by the overview
"use strict";
const varokelCharts = (() => {
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
  const roomAround = (low, high, below = 0.06) => {
    if (low === null || high === null || !(high > low)) return [(low || 0) - 1, (high || 0) + 1];
    return [low - below * (high - low), high + 0.09 * (high - low)];
  };

  const decimalsFor = (step) => Math.max(0, Math.min(6, Math.ceil(-Math.log10(Math.abs(step)))));
  const numberText = (value) => Number.isFinite(value) ? value.toPrecision(4) : "n/a";

  // spectrum: {axis: {label, zero, step, falls}, data, fit, residual, components: [{number, name, values}],
  // intervals, view}; curves are arrays over the points, in point order; fit and residual may be null
  function show(place, spectrum) {
    const n = spectrum.data.length, axis = spectrum.axis;
    const reversed = axis.step < 0;
    const x = new Float64Array(n);
    const inOrder = (values) => {
      const out = Array.from(values);
      return reversed ? out.reverse() : out;
    };
    for (let i = 0; i < n; i++) x[i] = axis.zero + axis.step * (reversed ? n - 1 - i : i);
    const xOf = (point) => axis.zero + axis.step * point;
    const span = (a, b) => [Math.min(xOf(a), xOf(b)), Math.max(xOf(a), xOf(b))];
    const start = span(spectrum.view[0], spectrum.view[1]);
    const whole = [x[0], x[n - 1]];
    let range = start.slice();
    let plots = [];
    const shown = spectrum.components.map(() => true);
    const data = inOrder(spectrum.data);
    const fit = spectrum.fit && inOrder(spectrum.fit), residual = spectrum.residual && inOrder(spectrum.residual);
    const components = spectrum.components.map((c) => inOrder(c.values));

    place.textContent = "";
    const tools = made("div", "tools"), readout = made("div", "readout"), stage = made("div", "stage");
    readout.setAttribute("aria-live", "off");
    const button = (text, title, act) => {
      const b = made("button", "", text);
      b.type = "button";
      b.title = title;
      b.setAttribute("aria-label", title);
      b.addEventListener("click", act);
      tools.append(b);
      return b;
    };
    const zoomTo = (low, high) => {
      low = Math.max(low, whole[0]);
      high = Math.min(high, whole[1]);
      if (!(high - low > 4 * Math.abs(axis.step))) return;
      range = [low, high];
      for (const p of plots) p.setScale("x", { min: low, max: high });
    };
    const scaleBy = (factor) => {
      const middle = (range[0] + range[1]) / 2, half = (range[1] - range[0]) / 2 * factor;
      zoomTo(middle - half, middle + half);
    };
    const shiftBy = (share) => {
      const width = range[1] - range[0];
      let low = range[0] + share * width * (axis.falls ? -1 : 1);
      low = Math.max(whole[0], Math.min(whole[1] - width, low));
      zoomTo(low, low + width);
    };
    button("+", "zoom in", () => scaleBy(0.5)).classList.add("zoom-in");
    button("\u2212", "zoom out", () => scaleBy(2));
    button("\u25c0", "to the left", () => shiftBy(-0.3));
    button("\u25b6", "to the right", () => shiftBy(0.3));
    button("fitted range", "show the fitted intervals", () => zoomTo(start[0], start[1])).classList.add("reset");
    button("all", "show the whole spectrum", () => zoomTo(whole[0], whole[1]));
    tools.append(made("span", "muted", "Drag to zoom, double-click to go back."));
    place.append(tools, stage, readout);

    function shade(u) {
      u.ctx.save();
      u.ctx.fillStyle = styleOf("--shade");
      for (const [a, b] of spectrum.intervals) {
        const [low, high] = span(a, b);
        const p = u.valToPos(low, "x", true), q = u.valToPos(high, "x", true);
        const left = Math.max(u.bbox.left, Math.min(p, q));
        const right = Math.min(u.bbox.left + u.bbox.width, Math.max(p, q));
        if (right > left) u.ctx.fillRect(left, u.bbox.top, right - left, u.bbox.height);
      }
      u.ctx.restore();
    }

    // Numbers at the highest points of the components in sight; later ones step up, not over others.
    function nameComponents(u) {
      const ratio = devicePixelRatio;
      let first = u.valToIdx(range[0]), last = u.valToIdx(range[1]);
      while (first < last && x[first] < range[0]) first++; // the nearest point may be out of sight
      while (first < last && x[last] > range[1]) last--;
      const taken = [];
      u.ctx.save();
      u.ctx.font = 11 * ratio + "px system-ui, sans-serif";
      u.ctx.textAlign = "center";
      components.forEach((c, k) => {
        if (!shown[k]) return;
        let peak = first;
        for (let i = first; i <= last; i++) if (Math.abs(c[i]) > Math.abs(c[peak])) peak = i;
        const base = u.valToPos(0, "y", true), top = u.valToPos(c[peak], "y", true);
        if (Math.abs(top - base) < 2 * ratio) return;
        const px = u.valToPos(x[peak], "x", true);
        let py = top + (c[peak] < 0 ? 12 : -4) * ratio;
        for (let i = 0; i < taken.length; i++) {
          if (Math.abs(taken[i][0] - px) < 16 * ratio && Math.abs(taken[i][1] - py) < 11 * ratio) {
            py = taken[i][1] - 11 * ratio;
            i = -1;
          }
        }
        taken.push([px, py]);
        u.ctx.fillStyle = colourOf(k);
        u.ctx.fillText(spectrum.components[k].number, px, py);
      });
      u.ctx.restore();
    }

    const xDecimals = decimalsFor(axis.step) + 1;
    function tell(index) {
      if (index === null || index === undefined) {
        readout.textContent = "";
        return;
      }
      let text = x[index].toFixed(xDecimals) + " " + axis.unit + ": data " + numberText(data[index]);
      if (fit) text += ", fit " + numberText(fit[index]) + ", residual " + numberText(residual[index]);
      let largest = -1;
      components.forEach((c, k) => {
        if (shown[k] && (largest < 0 || Math.abs(c[index]) > Math.abs(components[largest][index]))) largest = k;
      });
      if (largest >= 0) text += ", most of it " + spectrum.components[largest].name + " " + numberText(components[largest][index]);
      readout.textContent = text;
    }

    const key = "k" + Math.random().toString(36).slice(2);
    function chart(title, height, series, columns, withAxis, draw) {
      stage.append(made("div", "panel-title", title));
      const width = Math.max(240, stage.clientWidth);
      const ink = styleOf("--ink"), grid = styleOf("--line");
      const narrow = width < 560;
      const options = {
        width, height: height + (withAxis ? 50 : 0),
        legend: { show: false },
        // left and right the same for all, so that the axes stand in line; below, room for the lowest number
        padding: [10, 14, withAxis ? 0 : 8, narrow ? 14 : 0],
        cursor: {
          sync: { key, setSeries: false },
          drag: { x: true, y: false, setScale: false },
          points: { show: false },
          bind: {
            dblclick: (u, target, handler) => () => {
              zoomTo(start[0], start[1]);
              return null;
            },
          },
        },
        scales: {
          x: { time: false, min: range[0], max: range[1], dir: axis.falls ? -1 : 1, range: (u, low, high) => [low, high] },
          y: { range: (u, low, high) => roomAround(low, high, draw && low < 0 ? 0.15 : 0.06) },
        },
        axes: [
          { show: withAxis, stroke: ink, label: withAxis ? axis.label : undefined, labelSize: 22, size: 30,
            labelFont: "13px system-ui, sans-serif",
            grid: { stroke: grid, width: 0.5 }, ticks: { stroke: ink, width: 1, size: 5 } },
          { show: !narrow, stroke: ink, size: 62, grid: { stroke: grid, width: 0.5 }, ticks: { stroke: ink, size: 4 },
            values: (u, splits) => splits.map((v) => (v === 0 ? "0" : Math.abs(v) >= 1e4 || Math.abs(v) < 1e-3 ? v.toExponential(1) : String(+v.toPrecision(4)))) },
        ],
        series: [{}, ...series],
        hooks: {
          drawClear: [shade],
          draw: draw ? [draw] : [],
          setCursor: [(u) => tell(u.cursor.idx)],
          setSelect: [(u) => {
            if (u.select.width < 4) return;
            const a = u.posToVal(u.select.left, "x"), b = u.posToVal(u.select.left + u.select.width, "x");
            u.setSelect({ left: 0, top: 0, width: 0, height: 0 }, false);
            zoomTo(Math.min(a, b), Math.max(a, b));
          }],
        },
      };
      const plot = new uPlot(options, [x, ...columns], stage);
      plots.push(plot);
      return plot;
    }

    let componentPlot = null;
    function build() {
      for (const p of plots) p.destroy();
      plots = [];
      stage.textContent = "";
      const line = (stroke, width, extra) => Object.assign({ stroke, width, points: { show: false } }, extra);
      const tall = stage.clientWidth < 560 ? 200 : 280;
      if (!fit) {
        chart("data", tall, [line(styleOf("--data"), 1.2)], [data], true);
        return;
      }
      chart("data and fit", tall, [line(styleOf("--data"), 1.2), line(styleOf("--fit"), 1.4)], [data, fit], false);
      componentPlot = null;
      if (components.length > 0)
        componentPlot = chart("components", Math.round(tall * 0.7),
          components.map((c, k) => line(colourOf(k), 1.2, { show: shown[k] })), components, false, nameComponents);
      chart("residual", Math.round(tall * 0.4), [line(styleOf("--residual"), 1.1)], [residual], true);
    }
    build();

    if (components.length > 0) {
      const chips = made("div", "chips");
      const boxes = [];
      const setAll = (on) => {
        boxes.forEach((box, k) => {
          box.checked = shown[k] = on;
          componentPlot.setSeries(k + 1, { show: on });
        });
      };
      spectrum.components.forEach((c, k) => {
        const label = made("label"), box = made("input"), mark = made("i");
        box.type = "checkbox";
        box.checked = true;
        mark.style.background = colourOf(k);
        box.addEventListener("change", () => {
          shown[k] = box.checked;
          componentPlot.setSeries(k + 1, { show: box.checked });
        });
        boxes.push(box);
        label.append(box, mark, document.createTextNode(c.name));
        chips.append(label);
      });
      const row = made("div", "tools");
      for (const [text, on] of [["all components", true], ["none", false]]) {
        const b = made("button", "", text);
        b.type = "button";
        b.addEventListener("click", () => setAll(on));
        row.append(b);
      }
      place.append(row, chips);
    }

    let width = stage.clientWidth;
    const rebuildAtNewWidth = () => {
      if (stage.clientWidth === width || stage.clientWidth === 0) return;
      width = stage.clientWidth;
      build();
    };
    const observer = new ResizeObserver(() => requestAnimationFrame(rebuildAtNewWidth));
    observer.observe(stage);
    const dark = window.matchMedia("(prefers-color-scheme: dark)");
    const recolour = () => build();
    dark.addEventListener("change", recolour);
    return {
      range: () => range.slice(),
      shown: () => shown.slice(),
      zoomTo,
      remove() {
        observer.disconnect();
        dark.removeEventListener("change", recolour);
        for (const p of plots) p.destroy();
        place.textContent = "";
      },
    };
  }
  return { show, floatsOf, curveOf, made, styleOf, colourOf, numberText, roomAround };
})();
