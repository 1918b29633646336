// SPDX-License-Identifier: BSD-3-Clause
// charts.js -- spectra as charts that can be zoomed; used by the report and by the overview
"use strict";
const varokelCharts = (() => {
  const { made, styleOf, colourOf, roomForTexts, numberText, tickTexts, decimalsFor, roomAround } = varokelValues;

  // spectrum: {axis: {label, zero, step, falls}, data, fit, residual, components: [{number, name, values, imaginary, removed, off}],
  // imaginary: {data, fit, residual}, intervals, noise, windows: [{number, low, high, active}], marks: [{name, point}], view}; curves are arrays
  // over the points, in point order; fit and residual may be null; imaginary, noise and windows may be missing
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
    const left = { size: 62 }; // of all panels, for the texts of their axes
    const shown = spectrum.components.map((c) => !c.off);
    const colourAt = (k) => spectrum.components[k].removed ? styleOf("--muted") : colourOf(k); // those of the fit have colours
    // The part that is looked at.
    const turned = spectrum.imaginary;
    const partOf = { real: (re) => re, imaginary: (re, im) => im, magnitude: (re, im) => re.map((v, i) => Math.hypot(v, im[i])) };
    let part = "real", data, fit, residual, components;
    const takePart = () => {
      const seen = (re, im) => re && inOrder(partOf[part](re, im));
      data = seen(spectrum.data, turned && turned.data);
      fit = seen(spectrum.fit, turned && turned.fit);
      residual = seen(spectrum.residual, turned && turned.residual);
      components = spectrum.components.map((c) => seen(c.values, c.imaginary));
    };
    takePart();
    const drawn = { data: true, fit: true };

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
      alignPanels(() => plots.forEach((p) => p.setScale("x", { min: low, max: high })));
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
    if (turned) {
      const select = made("select", "part");
      select.setAttribute("aria-label", "part of the spectrum");
      for (const name of Object.keys(partOf)) {
        const option = made("option", "", name + (name === "magnitude" ? "" : " part"));
        option.value = name;
        select.append(option);
      }
      select.addEventListener("change", () => {
        part = select.value;
        takePart();
        build();
      });
      tools.append(select);
    }
    tools.append(made("span", "muted", "Drag to zoom, double-click to go back."));
    const legend = made("div", "chips legend");
    place.append(tools, legend, stage, readout);

    // What is drawn how; curves of the first panel can be taken away.
    const inLegend = (name, style, toggles) => {
      const label = made(toggles ? "label" : "span"), mark = made("i", style);
      if (toggles) {
        const box = made("input");
        box.type = "checkbox";
        box.checked = true;
        box.addEventListener("change", () => {
          drawn[toggles] = box.checked;
          build();
        });
        label.append(box);
      }
      label.append(mark, document.createTextNode(name));
      legend.append(label);
    };
    inLegend("data", "of-data", "data");
    if (fit) {
      inLegend("fit", "of-fit", "fit");
      inLegend("residual", "of-residual");
    }
    if (spectrum.intervals.length > 0) inLegend(fit ? "fitted points" : "points to fit", "of-interval");
    if (spectrum.noise) inLegend("noise window", "of-noise");
    if (spectrum.windows && spectrum.windows.length > 0) inLegend("windows of shifts, red: active", "of-window");

    function shade(u) {
      u.ctx.save();
      const stretches = spectrum.intervals.map((points) => [points, "--shade"]);
      if (spectrum.noise) stretches.push([spectrum.noise, "--noise"]);
      for (const [points, colour] of stretches) {
        const [low, high] = span(points[0], points[1]);
        u.ctx.fillStyle = styleOf(colour);
        const p = u.valToPos(low, "x", true), q = u.valToPos(high, "x", true);
        const left = Math.max(u.bbox.left, Math.min(p, q));
        const right = Math.min(u.bbox.left + u.bbox.width, Math.max(p, q));
        if (right > left) u.ctx.fillRect(left, u.bbox.top, right - left, u.bbox.height);
      }
      u.ctx.restore();
    }

    // Windows of shifts along the upper edge.
    function markWindows(u) {
      const ratio = devicePixelRatio;
      u.ctx.save();
      (spectrum.windows || []).forEach((each, row) => {
        const [low, high] = span(each.low, each.high);
        if (high < range[0] || low > range[1]) return;
        const y = u.bbox.top + (4 + 4 * (row % 4)) * ratio;
        u.ctx.strokeStyle = styleOf(each.active ? "--edge" : "--muted");
        u.ctx.lineWidth = (each.active ? 3 : 1.5) * ratio;
        u.ctx.beginPath();
        u.ctx.moveTo(u.valToPos(Math.max(low, range[0]), "x", true), y);
        u.ctx.lineTo(u.valToPos(Math.min(high, range[1]), "x", true), y);
        u.ctx.stroke();
      });
      u.ctx.restore();
    }

    // Marks of peaks that were not fitted yet, from the top of the panel.
    function markPeaks(u) {
      const ratio = devicePixelRatio, placed = [];
      u.ctx.save();
      u.ctx.font = 11 * ratio + "px system-ui, sans-serif";
      u.ctx.textAlign = "center";
      for (const mark of spectrum.marks || []) {
        const at = xOf(mark.point);
        if (at < range[0] || at > range[1]) continue;
        const px = u.valToPos(at, "x", true), half = u.ctx.measureText(mark.name).width / 2 + 2 * ratio;
        let row = 0;
        while (row < 5 && placed.some(([left, right, r]) => r === row && px - half < right && px + half > left)) row++;
        placed.push([px - half, px + half, row]);
        const top = u.bbox.top + (12 + 12 * row) * ratio;
        u.ctx.strokeStyle = styleOf("--fit");
        u.ctx.lineWidth = ratio;
        u.ctx.setLineDash([3 * ratio, 3 * ratio]);
        u.ctx.beginPath();
        u.ctx.moveTo(px, top + 2 * ratio);
        u.ctx.lineTo(px, u.bbox.top + u.bbox.height);
        u.ctx.stroke();
        u.ctx.fillStyle = styleOf("--ink");
        u.ctx.fillText(mark.name, px, top);
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
        const half = u.ctx.measureText(spectrum.components[k].number).width / 2; // of a name, it would stand out at the edge
        const px = Math.min(Math.max(u.valToPos(x[peak], "x", true), u.bbox.left + half), u.bbox.left + u.bbox.width - half);
        let py = top + (c[peak] < 0 ? 12 : -4) * ratio;
        for (let i = 0; i < taken.length; i++) {
          if (Math.abs(taken[i][0] - px) < 16 * ratio && Math.abs(taken[i][1] - py) < 11 * ratio) {
            py = taken[i][1] - 11 * ratio;
            i = -1;
          }
        }
        taken.push([px, py]);
        u.ctx.fillStyle = colourAt(k);
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
        if (shown[k] && !spectrum.components[k].removed && (largest < 0 || Math.abs(c[index]) > Math.abs(components[largest][index]))) largest = k;
      });
      if (largest >= 0) text += ", most of it " + spectrum.components[largest].name + " " + numberText(components[largest][index]);
      readout.textContent = text;
    }

    const key = "k" + Math.random().toString(36).slice(2);
    function chart(title, height, series, columns, withAxis, draw, crowded) {
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
          y: { range: (u, low, high) => roomAround(low, high, draw && low < 0 ? 0.15 : 0.06, crowded ? 0.35 : 0.09) },
        },
        axes: [
          { show: withAxis, stroke: ink, label: withAxis ? axis.label : undefined, labelSize: 22, size: 30,
            labelFont: "13px system-ui, sans-serif",
            grid: { stroke: grid, width: 0.5 }, ticks: { stroke: ink, width: 1, size: 5 },
            values: (u, splits, i, space, step) => tickTexts(splits, step) },
          { show: !narrow, stroke: ink, size: roomForTexts(left), grid: { stroke: grid, width: 0.5 }, ticks: { stroke: ink, size: 4 },
            values: (u, splits, i, space, step) => tickTexts(splits, step) },
        ],
        series: [{}, ...series],
        hooks: {
          drawClear: [shade],
          draw: draw || [],
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
    const build = () => alignPanels(drawPanels);
    // A panel whose numbers became longer begins farther right than those before it, which are drawn again. Sizes are
    // known once the panels have drawn themselves, in tasks that they put off.
    function alignPanels(act) {
      const before = left.size;
      act();
      queueMicrotask(() => {
        if (left.size !== before && plots.length > 0) drawPanels();
      });
    }
    function drawPanels() {
      for (const p of plots) p.destroy();
      plots = [];
      stage.textContent = "";
      const line = (stroke, width, extra) => Object.assign({ stroke, width, points: { show: false } }, extra);
      const tall = stage.clientWidth < 560 ? 200 : 280;
      const ofPart = part === "real" ? "" : ", " + part + (part === "magnitude" ? "" : " part");
      if (!fit) {
        chart("data" + ofPart, tall, [line(styleOf("--data"), 1.2)], [data], true, [markPeaks], (spectrum.marks || []).length > 0);
        return;
      }
      // the data lie wide and pale under the fit, so that they are seen where both agree
      chart("data and fit" + ofPart, tall, [line(styleOf("--data"), 2.6, { show: drawn.data, alpha: 0.75 }), line(styleOf("--fit"), 1.1, { show: drawn.fit })],
        [data, fit], false, components.length > 0 ? [] : [markWindows]);
      componentPlot = null;
      if (components.length > 0)
        componentPlot = chart("components" + ofPart, Math.round(tall * 0.7),
          components.map((c, k) => line(colourAt(k), 1.2, { show: shown[k], dash: spectrum.components[k].removed ? [5, 4] : undefined })), components, false, [markWindows, nameComponents]);
      chart("residual" + ofPart, Math.round(tall * 0.4), [line(styleOf("--residual"), 1.1)], [residual], true);
    }
    build();

    if (components.length > 0) {
      const chips = made("div", "chips");
      const boxes = [];
      const setAll = (on) => {
        boxes.forEach((box, k) => {
          if (on && spectrum.components[k].removed) return; // no component of the fit
          box.checked = shown[k] = on;
          componentPlot.setSeries(k + 1, { show: on });
        });
      };
      spectrum.components.forEach((c, k) => {
        const label = made("label"), box = made("input"), mark = made("i");
        box.type = "checkbox";
        box.checked = shown[k];
        mark.style.background = colourAt(k);
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
      part: () => part,
      range: () => range.slice(),
      shown: () => shown.slice(),
      zoomTo,
      remove() {
        observer.disconnect();
        dark.removeEventListener("change", recolour);
        for (const p of plots) p.destroy();
        plots = [];
        place.textContent = "";
      },
    };
  }
  return { show, ...varokelValues };
})();
