// SPDX-License-Identifier: BSD-3-Clause
// overview.js -- the page of a batch: maps or time courses, and each spectrum at a click
"use strict";
{
  const { made, styleOf, colourOf, numberText, roomAround, floatsOf, curveOf } = varokelCharts;
  const batch = JSON.parse(document.getElementById("values").textContent);
  const count = batch.names.length;
  const quality = floatsOf(batch.quality), snr = floatsOf(batch.snr);
  const columns = {};
  for (const [key, list] of Object.entries(batch.values)) columns[key] = list.map(floatsOf);

  // name, unit, column by entry (or of the spectrum), column of its error
  const quantities = {
    area: { name: "area", unit: "signal", of: (k) => columns.area[k], sd: (k) => columns.areaSd[k] },
    areaPercent: { name: "area error, 1 SD", unit: "%", of: (k) => columns.areaPercent[k] },
    areaSd: { name: "area error, 1 SD", unit: "signal", of: (k) => columns.areaSd[k] },
    ppm: { name: "shift", unit: "ppm", of: (k) => columns.ppm[k], sd: (k) => columns.ppmSd[k] },
    lorentz: { name: "Lorentzian width", unit: "Hz", of: (k) => columns.lorentz[k], sd: (k) => columns.lorentzSd[k] },
    gauss: { name: "Gaussian width", unit: "Hz", of: (k) => columns.gauss[k], sd: (k) => columns.gaussSd[k] },
    phase: { name: "phase", unit: "degrees", of: (k) => columns.phase[k], sd: (k) => columns.phaseSd[k] },
    entrySnr: { name: "SNR of the entry", unit: "", of: (k) => columns.entrySnr[k] },
    quality: { name: "fit quality", unit: "", of: () => quality, whole: true },
    snr: { name: "SNR of the spectrum", unit: "", of: () => snr, whole: true },
  };
  const some = (values) => values.some(Number.isFinite);
  const offered = Object.keys(quantities).filter((key) => batch.entries.some((_, k) => some(quantities[key].of(k))));

  // --- axes: up to three in space, the others one after the other
  const size = batch.axes.map((a) => a.size);
  const inSpace = batch.axes.map((a, i) => i).filter((i) => batch.axes[i].spatial);
  const hasMap = inSpace.some((i) => size[i] > 1);
  const others = batch.axes.map((a, i) => i).filter((i) => size[i] > 1 && !(hasMap && batch.axes[i].spatial));
  const courseAxis = others.reduce((longest, i) => (longest < 0 || size[i] > size[longest] ? i : longest), -1);
  const numberAt = new Map();
  batch.at.forEach((at, n) => numberAt.set(at.join(","), n));

  const state = {
    quantity: offered.includes("area") ? "area" : offered[0] || "quality",
    entry: 0,
    bound: batch.redPercent,
    paled: true,
    chosen: -1,
    at: batch.axes.map(() => 0),
    entriesShown: batch.entries.map((_, k) => k < 6),
  };
  if (count > 0) state.at = batch.at[0].slice();

  const hidden = (n) => batch.status[n] === "not_fitted";
  // Values that are known badly are drawn pale, not left out: those that come out high by chance
  // have the smaller errors in percent, so leaving the others out would lift what is left.
  const pale = (n, k) => state.paled && !(columns.areaPercent[k][n] <= state.bound);
  const paleShare = 0.3;
  const paleOf = (k) => (/^#[0-9a-f]{6}$/i.test(colourOf(k)) ? colourOf(k) + "4d" : colourOf(k));

  // --- controls
  const controls = document.getElementById("controls");
  const maps = document.getElementById("maps");
  const detail = document.getElementById("detail");
  const choice = (title, options, value, act) => {
    const label = made("label", "", title), select = made("select");
    for (const [key, text] of options) {
      const option = made("option", "", text);
      option.value = key;
      select.append(option);
    }
    select.value = String(value);
    select.addEventListener("change", () => act(select.value));
    label.append(select);
    controls.append(label);
    return select;
  };
  if (hasMap) // a time course shows all entries
    choice("entry", batch.entries.map((name, k) => [String(k), name]), 0, (v) => {
      state.entry = Number(v);
      draw();
    }).id = "entry";
  choice("show", offered.map((key) => [key, quantities[key].name + (quantities[key].unit ? " (" + quantities[key].unit + ")" : "")]),
    state.quantity, (v) => {
      state.quantity = v;
      draw();
    }).id = "quantity";
  const places = new Map(); // of the axes that are looked at one place at a time
  for (const i of hasMap ? others : others.filter((a) => a !== courseAxis))
    places.set(i, choice(batch.axes[i].name, Array.from({ length: size[i] }, (_, k) => [String(k), String(k)]), state.at[i], (v) => {
      state.at[i] = Number(v);
      draw();
    }));
  {
    const label = made("label"), box = made("input"), slider = made("input"), shown = made("output");
    box.type = "checkbox";
    box.checked = state.paled;
    box.id = "paled";
    slider.type = "range";
    slider.min = 1;
    slider.max = 100;
    slider.value = state.bound;
    slider.id = "bound";
    slider.setAttribute("aria-label", "largest area error drawn in full, percent of one standard deviation");
    const tell = () => { shown.textContent = state.bound + " %"; };
    tell();
    box.addEventListener("change", () => {
      state.paled = box.checked;
      slider.disabled = !box.checked;
      draw();
    });
    slider.addEventListener("input", () => {
      state.bound = Number(slider.value);
      tell();
      draw();
    });
    label.append(box, document.createTextNode("pale where the area error (1 SD) is above"), slider, shown);
    controls.append(label);
  }

  // --- colours: viridis of S. van der Walt and N. Smith (2015), nine of its colours and lines between
  const ramp = [[68, 1, 84], [71, 44, 122], [59, 81, 139], [44, 113, 142], [33, 144, 141], [39, 173, 129], [92, 200, 99], [170, 220, 50], [253, 231, 37]];
  const colourAt = (share) => {
    const at = Math.max(0, Math.min(1, share)) * (ramp.length - 1), i = Math.min(ramp.length - 2, Math.floor(at));
    return "rgb(" + [0, 1, 2].map((c) => Math.round(ramp[i][c] + (at - i) * (ramp[i + 1][c] - ramp[i][c]))).join(",") + ")";
  };

  // range of the colours: between the 2nd and the 98th hundredth, so that one wild value hides nothing
  function rangeOf(values, k) {
    const seen = [];
    const collect = (wanted) => {
      for (let n = 0; n < count; n++) if (!hidden(n) && Number.isFinite(values[n]) && wanted(n)) seen.push(values[n]);
    };
    collect((n) => !pale(n, k)); // badly known values may be wild
    const full = seen.length;
    if (full === 0) collect(() => true);
    if (seen.length === 0) return null;
    seen.sort((a, b) => a - b);
    const low = seen[Math.floor(0.02 * (seen.length - 1))], high = seen[Math.ceil(0.98 * (seen.length - 1))];
    return { low, high: high > low ? high : low + (Math.abs(low) || 1), full };
  }

  const columnsOfMap = hasMap ? [inSpace[0], inSpace[1] ?? -1, inSpace[2] ?? -1] : [];
  const sizeOf = (i) => (i < 0 ? 1 : size[i]);
  function spectrumAt(x, y, z) {
    const at = state.at.slice();
    [x, y, z].forEach((v, d) => { if (columnsOfMap[d] >= 0) at[columnsOfMap[d]] = v; });
    const n = numberAt.get(at.join(","));
    return n === undefined ? -1 : n;
  }

  const readout = made("div", "readout"), slices = made("div", "slices"), scale = made("div", "scale"), course = made("div", "course");
  const chips = made("div", "chips");
  const courseTitle = made("div", "panel-title");
  maps.append(scale, slices, readout, courseTitle, course, chips);
  const canvases = [];

  function drawMaps() {
    const quantity = quantities[state.quantity], values = quantity.of(state.entry);
    const range = rangeOf(values, state.entry);
    scale.textContent = "";
    if (range) {
      const bar = made("canvas");
      bar.width = 180;
      bar.height = 12;
      const ink = bar.getContext("2d");
      for (let i = 0; i < 180; i++) {
        ink.fillStyle = colourAt(i / 179);
        ink.fillRect(i, 0, 1, 12);
      }
      scale.append(made("span", "", numberText(range.low)), bar, made("span", "", numberText(range.high) + " " + quantity.unit));
      scale.append(made("span", "", range.full + " of " + count + (state.paled ? " within the bound, the others pale" : " shown")));
    } else {
      scale.append(made("span", "", "nothing to show"));
    }
    const nx = sizeOf(columnsOfMap[0]), ny = sizeOf(columnsOfMap[1]), nz = sizeOf(columnsOfMap[2]);
    const width = Math.max(200, maps.clientWidth);
    const across = nz === 1 ? 1 : Math.max(1, Math.min(nz, Math.floor(width / 180)));
    const cell = Math.max(3, Math.min(28, Math.floor((width - 10 * (across - 1)) / across / nx)));
    if (canvases.length !== nz) {
      slices.textContent = "";
      canvases.length = 0;
      for (let z = 0; z < nz; z++) {
        const canvas = made("canvas", "map");
        canvas.tabIndex = 0;
        canvas.setAttribute("role", "img");
        slices.append(canvas);
        canvases.push(canvas);
        listen(canvas, z);
      }
    }
    const ratio = devicePixelRatio || 1, empty = styleOf("--card"), away = styleOf("--line"), cross = styleOf("--muted");
    for (let z = 0; z < nz; z++) {
      const canvas = canvases[z];
      canvas.setAttribute("aria-label", quantity.name + (quantity.whole ? "" : " of " + batch.entries[state.entry]) +
        (nz > 1 ? ", slice " + z : "") + "; arrow keys move, Enter shows the spectrum");
      canvas.width = nx * cell * ratio;
      canvas.height = ny * cell * ratio;
      canvas.style.width = nx * cell + "px";
      canvas.dataset.cell = cell;
      const ink = canvas.getContext("2d");
      ink.scale(ratio, ratio);
      ink.fillStyle = empty;
      ink.fillRect(0, 0, nx * cell, ny * cell);
      for (let y = 0; y < ny; y++) {
        for (let x = 0; x < nx; x++) {
          const n = spectrumAt(x, y, z);
          if (n < 0) continue;
          const left = x * cell, top = (ny - 1 - y) * cell; // y upwards, as images of the body are shown
          if (hidden(n) || !Number.isFinite(values[n])) {
            ink.fillStyle = away;
            ink.fillRect(left, top, cell, cell);
            if (batch.status[n] === "not_fitted" && cell > 8) {
              ink.strokeStyle = cross;
              ink.lineWidth = 1;
              ink.beginPath();
              ink.moveTo(left + 2, top + 2);
              ink.lineTo(left + cell - 2, top + cell - 2);
              ink.moveTo(left + cell - 2, top + 2);
              ink.lineTo(left + 2, top + cell - 2);
              ink.stroke();
            }
          } else {
            ink.globalAlpha = pale(n, state.entry) ? paleShare : 1;
            ink.fillStyle = colourAt((values[n] - range.low) / (range.high - range.low));
            ink.fillRect(left, top, cell, cell);
            ink.globalAlpha = 1;
          }
          if (n === state.chosen) {
            ink.strokeStyle = "#ff2d55";
            ink.lineWidth = 2;
            ink.strokeRect(left + 1, top + 1, cell - 2, cell - 2);
          }
        }
      }
    }
  }

  function describe(n) {
    const quantity = quantities[state.quantity], k = state.entry;
    let text = batch.names[n] + ": " + quantity.name + " " + numberText(quantity.of(k)[n]) + " " + quantity.unit;
    if (quantity.sd && Number.isFinite(quantity.sd(k)[n])) text += " \u00b1 " + numberText(quantity.sd(k)[n]) + " (1 SD)";
    if (Number.isFinite(columns.areaPercent[k][n])) text += ", area error " + numberText(columns.areaPercent[k][n]) + " %";
    return text + ", " + batch.status[n].replace("_", " ");
  }

  function listen(canvas, z) {
    const placeOf = (event) => {
      const box = canvas.getBoundingClientRect(), nx = sizeOf(columnsOfMap[0]), ny = sizeOf(columnsOfMap[1]);
      const x = Math.floor((event.clientX - box.left) / box.width * nx);
      const y = ny - 1 - Math.floor((event.clientY - box.top) / box.height * ny);
      return x >= 0 && x < nx && y >= 0 && y < ny ? spectrumAt(x, y, z) : -1;
    };
    canvas.addEventListener("mousemove", (event) => {
      const n = placeOf(event);
      readout.textContent = n < 0 ? "" : describe(n);
    });
    canvas.addEventListener("mouseleave", () => { readout.textContent = ""; });
    canvas.addEventListener("click", (event) => {
      const n = placeOf(event);
      if (n >= 0) choose(n);
    });
    canvas.addEventListener("keydown", (event) => {
      const steps = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, 1], ArrowDown: [0, -1] };
      const step = steps[event.key];
      if (!step) return;
      event.preventDefault();
      const at = state.chosen >= 0 ? batch.at[state.chosen] : state.at;
      const go = (d) => (columnsOfMap[d] < 0 ? 0 : at[columnsOfMap[d]]);
      let x = go(0), y = go(1);
      const nx = sizeOf(columnsOfMap[0]), ny = sizeOf(columnsOfMap[1]);
      for (let tries = 0; tries < nx + ny; tries++) { // over voxels that are not in the batch
        x += step[0];
        y += step[1];
        if (x < 0 || x >= nx || y < 0 || y >= ny) return;
        const n = spectrumAt(x, y, z);
        if (n >= 0) {
          choose(n);
          return;
        }
      }
    });
  }

  // --- time courses
  let coursePlot = null;
  function drawCourse() {
    if (courseAxis < 0) return;
    const n = size[courseAxis], quantity = quantities[state.quantity];
    const at = state.chosen >= 0 && hasMap ? batch.at[state.chosen].slice() : state.at.slice();
    const numbers = Array.from({ length: n }, (_, i) => {
      at[courseAxis] = i;
      const found = numberAt.get(at.join(","));
      return found === undefined ? -1 : found;
    });
    const shown = quantity.whole ? [0] : batch.entries.map((_, k) => k).filter((k) => state.entriesShown[k] && some(quantity.of(k)));
    const cut = (values, k) => numbers.map((m) => (m < 0 || hidden(m) || !Number.isFinite(values[m]) ? null : values[m]));
    const rows = shown.map((k) => cut(quantity.of(k), k));
    const known = rows.map((row, s) => row.map((v, i) => (v !== null && pale(numbers[i], shown[s]) ? null : v)));
    const errors = shown.map((k) => (quantity.sd ? cut(quantity.sd(k), k) : null));
    courseTitle.textContent = quantity.name + (quantity.unit ? " (" + quantity.unit + ")" : "") + (quantity.sd ? ", bars: \u00b1 1 SD" : "") +
      (hasMap && state.chosen >= 0 ? ", voxel of " + batch.names[state.chosen] : "");
    if (coursePlot) coursePlot.destroy();
    course.textContent = "";
    const ink = styleOf("--ink"), grid = styleOf("--line");
    // The scale is that of the values that are drawn in full, with their bars; where there are
    // none, that of all.
    const extent = (u, all, most) => {
      let low = Infinity, high = -Infinity;
      rows.forEach((row, s) => row.forEach((v, i) => {
        if (v === null || pale(numbers[i], shown[s])) return;
        low = Math.min(low, v);
        high = Math.max(high, v);
        if (!errors[s] || errors[s][i] === null) return;
        low = Math.min(low, v - errors[s][i]);
        high = Math.max(high, v + errors[s][i]);
      }));
      if (low > high) return roomAround(all, most);
      const span = high - low; // pale ones too, but one wild value hides nothing
      const least = low - 0.1 * span, greatest = high + 0.1 * span;
      rows.forEach((row, s) => row.forEach((v, i) => {
        if (v === null || !pale(numbers[i], shown[s])) return;
        const sd = errors[s] && errors[s][i] !== null ? errors[s][i] : 0;
        low = Math.min(low, Math.max(least, v - sd));
        high = Math.max(high, Math.min(greatest, v + sd));
      }));
      return roomAround(low, high);
    };
    const bars = (u) => {
      u.ctx.save();
      rows.forEach((row, s) => {
        if (!errors[s]) return;
        u.ctx.strokeStyle = colourOf(shown[s]);
        u.ctx.lineWidth = devicePixelRatio;
        row.forEach((v, i) => {
          if (v === null || errors[s][i] === null) return;
          const x = u.valToPos(i, "x", true), a = u.valToPos(v - errors[s][i], "y", true), b = u.valToPos(v + errors[s][i], "y", true);
          u.ctx.globalAlpha = pale(numbers[i], shown[s]) ? paleShare : 1;
          u.ctx.beginPath();
          u.ctx.moveTo(x, a);
          u.ctx.lineTo(x, b);
          u.ctx.stroke();
        });
      });
      u.ctx.globalAlpha = 1;
      const i = numbers.indexOf(state.chosen);
      if (i >= 0) {
        const x = u.valToPos(i, "x", true);
        u.ctx.strokeStyle = "#ff2d55";
        u.ctx.lineWidth = 1.5 * devicePixelRatio;
        u.ctx.beginPath();
        u.ctx.moveTo(x, u.bbox.top);
        u.ctx.lineTo(x, u.bbox.top + u.bbox.height);
        u.ctx.stroke();
      }
      u.ctx.restore();
    };
    coursePlot = new uPlot({
      width: Math.max(240, maps.clientWidth),
      height: 320,
      legend: { show: false },
      padding: [10, 14, 0, 0],
      cursor: { y: false, drag: { x: false, y: false } },
      scales: { x: { time: false, range: () => [-0.5, n - 0.5] }, y: { range: extent } },
      axes: [
        { stroke: ink, label: batch.axes[courseAxis].name + " (from 0)", labelSize: 22, size: 30, labelFont: "13px system-ui, sans-serif",
          grid: { stroke: grid, width: 0.5 }, incrs: [1, 2, 5, 10, 20, 50, 100, 200, 500, 1000, 2000, 5000] },
        { stroke: ink, size: 62, grid: { stroke: grid, width: 0.5 },
          values: (u, splits) => splits.map((v) => (v === 0 ? "0" : Math.abs(v) >= 1e4 || Math.abs(v) < 1e-3 ? v.toExponential(1) : String(+v.toPrecision(4)))) },
      ],
      // all values pale, and over them those that are known well
      series: [{}, ...shown.map((k) => ({ stroke: paleOf(k), width: 1, points: { show: true, size: 5, fill: paleOf(k) } })),
        ...shown.map((k) => ({ stroke: colourOf(k), width: 1.3, points: { show: true, size: 5, fill: colourOf(k) } }))],
      hooks: {
        draw: [bars],
        setCursor: [(u) => {
          const m = u.cursor.idx === null || u.cursor.idx === undefined ? -1 : numbers[u.cursor.idx];
          readout.textContent = m < 0 ? "" : batch.names[m] + ": " + shown.map((k) => (quantity.whole ? quantity.name : batch.entries[k]) + " " + numberText(quantity.of(k)[m])).join(", ");
        }],
      },
    }, [numbers.map((_, i) => i), ...rows, ...known], course);
    coursePlot.over.addEventListener("click", () => {
      const i = coursePlot.cursor.idx;
      if (i !== null && i !== undefined && numbers[i] >= 0) choose(numbers[i]);
    });
  }
  if (courseAxis >= 0)
    batch.entries.forEach((name, k) => {
      const label = made("label"), box = made("input"), mark = made("i");
      box.type = "checkbox";
      box.checked = state.entriesShown[k];
      mark.style.background = colourOf(k);
      box.addEventListener("change", () => {
        state.entriesShown[k] = box.checked;
        drawCourse();
      });
      label.append(box, mark, document.createTextNode(name));
      chips.append(label);
    });

  // --- one spectrum
  let loaded = null;
  const waiting = new Map(), parts = new Map();
  globalThis.varokelCurves = (part, curves) => {
    parts.set(part, curves);
    if (waiting.has(part)) waiting.get(part)();
  };
  function curvesOf(n, act) {
    if (!batch.curvesPerFile) {
      if (!loaded) loaded = JSON.parse(document.getElementById("curves").textContent);
      act(loaded[n]);
      return;
    }
    const part = Math.floor(n / batch.curvesPerFile), use = () => act(parts.get(part)[n % batch.curvesPerFile]);
    if (parts.has(part)) {
      use();
      return;
    }
    const asked = waiting.has(part);
    waiting.set(part, use);
    if (asked) return;
    const script = made("script");
    script.src = "curves_" + part + ".js";
    script.addEventListener("error", () => {
      waiting.delete(part);
      detail.append(made("p", "warnings", script.src.split("/").pop() + " cannot be loaded; it belongs beside this page."));
    });
    document.head.append(script);
  }

  function tableOf(n) {
    const wide = made("div", "wide"), table = made("table"), head = made("thead"), body = made("tbody");
    const names = [["Entry", ""], ["Area", "signal, \u00b1 1 SD"], ["Area error", "1 SD, %"]];
    // what no entry has (Gaussian widths of Lorentzians) takes no room
    const pairs = [["Shift", "ppm", columns.ppm, columns.ppmSd], ["Gaussian", "FWHM, Hz", columns.gauss, columns.gaussSd],
      ["Lorentzian", "FWHM, Hz", columns.lorentz, columns.lorentzSd], ["Phase", "degrees", columns.phase, columns.phaseSd]]
      .filter(([, , values]) => values.some(some));
    for (const [name, unit] of pairs) names.push([name, unit]);
    const withSnr = columns.entrySnr.some(some);
    if (withSnr) names.push(["SNR", ""]);
    const row = made("tr");
    for (const [name, unit] of names) {
      const cell = made("th", "", name);
      cell.append(made("small", "", unit));
      row.append(cell);
    }
    head.append(row);
    // with as many digits as the error allows: two of it
    const withError = (value, sd) => {
      if (!Number.isFinite(value) || !Number.isFinite(sd) || sd <= 0) return numberText(value);
      const digits = 1 - Math.floor(Math.log10(sd));
      if (digits > 7 || digits < -3) return value.toExponential(3) + " \u00b1 " + sd.toExponential(1);
      return value.toFixed(Math.max(0, digits)) + " \u00b1 " + sd.toFixed(Math.max(0, digits));
    };
    batch.entries.forEach((name, k) => {
      const line = made("tr"), first = made("th", "name", name);
      first.scope = "row";
      line.append(first, made("td", "", withError(columns.area[k][n], columns.areaSd[k][n])));
      const percent = columns.areaPercent[k][n];
      const red = percent > batch.redPercent, amber = percent > batch.amberPercent;
      line.append(made("td", red ? "red" : amber ? "amber" : "",
        Number.isFinite(percent) ? percent.toPrecision(3) + " %" + (red ? " !!" : amber ? " !" : "") : "n/a"));
      for (const [, , values, sds] of pairs) line.append(made("td", "", withError(values[k][n], sds[k][n])));
      if (withSnr) line.append(made("td", "", numberText(columns.entrySnr[k][n])));
      body.append(line);
    });
    table.append(head, body);
    wide.append(table);
    return wide;
  }

  let chart = null;
  const place = made("div", "chart");
  function choose(n) {
    state.chosen = n;
    batch.at[n].forEach((v, i) => {
      state.at[i] = v;
      if (places.has(i)) places.get(i).value = String(v);
    });
    draw();
    for (const row of document.querySelectorAll("tr[data-number]")) row.classList.toggle("chosen", Number(row.dataset.number) === n);
    if (chart) chart.remove();
    chart = null;
    detail.textContent = "";
    const heading = made("h2", "", batch.names[n] + " ");
    heading.append(made("span", "badge " + batch.levels[n], batch.status[n].replace("_", " ")));
    detail.append(heading);
    const said = Object.entries(batch.warnings[n] || {});
    if (said.length > 0) {
      const box = made("div", "warnings"), list = made("ul");
      for (const [word, of] of said)
        list.append(made("li", "", (batch.meanings[word] || word) + (of.length > 0 ? ": " + of.map((k) => batch.entries[k]).join(", ") : "")));
      box.append(list);
      detail.append(box);
    }
    if (batch.reasons[n]) detail.append(made("p", "muted", batch.reasons[n]));
    detail.append(made("p", "muted", "fit quality " + numberText(quality[n]) + (Number.isFinite(snr[n]) ? ", SNR " + numberText(snr[n]) : "")));
    detail.append(place);
    if (batch.status[n] !== "not_fitted") detail.append(tableOf(n));
    curvesOf(n, (curves) => {
      if (state.chosen !== n) return;
      if (!curves) {
        place.textContent = "";
        place.append(made("p", "muted", "The curves of this fit were not kept."));
        return;
      }
      const data = curveOf(curves.data);
      const fit = curves.fit ? curveOf(curves.fit) : null;
      if (!fit && batch.status[n] !== "not_fitted") detail.append(made("p", "muted", "The fit itself was not kept."));
      chart = varokelCharts.show(place, { axis: batch.axis, intervals: batch.intervals, view: [0, batch.points - 1], components: [],
        data, fit, residual: fit ? data.map((v, i) => v - fit[i]) : null });
    });
  }

  function draw() {
    if (hasMap) drawMaps();
    drawCourse();
  }
  draw();
  // the tables stand below what they show
  const chooseInTable = (element) => {
    choose(Number(element.dataset.number));
    detail.scrollIntoView();
  };
  for (const row of document.querySelectorAll("tr[data-number]")) {
    row.tabIndex = 0;
    row.addEventListener("click", () => chooseInTable(row));
    row.addEventListener("keydown", (event) => {
      if (event.key === "Enter") chooseInTable(row);
    });
  }
  for (const button of document.querySelectorAll("button[data-number]"))
    button.addEventListener("click", () => chooseInTable(button));
  const first = document.querySelector("[data-number]");
  if (first) choose(Number(first.dataset.number));
  let width = maps.clientWidth;
  new ResizeObserver(() => requestAnimationFrame(() => {
    if (maps.clientWidth === width) return;
    width = maps.clientWidth;
    draw();
  })).observe(maps);
  window.matchMedia("(prefers-color-scheme: dark)").addEventListener("change", draw);
}
