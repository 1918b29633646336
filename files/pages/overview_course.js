// SPDX-License-Identifier: BSD-3-Clause
// overview_course.js -- values along the longest axis that is not drawn as a map, entry by entry
"use strict";
// Given: the element that says how wide the chart may be; the one that describes the point that is
// pointed at; choose(n), called with the spectrum that is clicked.
// Returned: the elements of the chart, and the function that draws it anew.
const varokelCourse = (maps, readout, choose) => {
  const { made, styleOf, colourOf, roomForTexts, numberText, withError, tickTexts, roomAround } = varokelCharts;
  const { batch, quantities, some, size, hasMap, courseAxis, numberAt, state, hidden, pale, paleShare, paleOf } = varokelOverview;
  const course = made("div", "course"), chips = made("div", "chips"), courseTitle = made("div", "panel-title");
  const sums = made("div", "wide");
  sums.hidden = true; // until there is a table
  let coursePlot = null;

  // A series in time is drawn over seconds where the step is known; places in space are numbers.
  const times = courseAxis >= 0 ? batch.axes[courseAxis].seconds : null; // as the file has them
  const asMeasured = () => Boolean(times) && state.seconds === (batch.secondsPerStep || 0);
  const inSeconds = () => courseAxis >= 0 && !batch.axes[courseAxis].spatial && (state.seconds > 0 || asMeasured());
  const placeOf = (i) => (!inSeconds() ? i : asMeasured() ? times[i] : i * state.seconds);
  // A selection ends where its first and last spectra lie, not with the series they were taken from.
  const xOf = (i) => placeOf(first + i); // of a row
  const taken = courseAxis < 0 ? [] : batch.at.map((at) => at[courseAxis]);
  const first = taken.reduce((a, b) => Math.min(a, b), Infinity), last = taken.reduce((a, b) => Math.max(a, b), -Infinity);

  // Area under each curve by the trapezoidal rule, over the values that are drawn in full; the error
  // is that of the sum, the values of different spectra being independent.
  function drawSums(rows, errors, shown, quantity, numbers) {
    sums.textContent = "";
    sums.hidden = quantity.whole || batch.axes[courseAxis].spatial;
    if (sums.hidden) return;
    const table = made("table", "sums"), head = made("tr"), body = made("tbody"), top = made("thead");
    const unit = inSeconds() ? "s" : "steps";
    for (const text of ["Entry", "area under the curve (" + (quantity.unit ? quantity.unit + " " : "") + unit + ")", "\u00b1 1 SD", "points"])
      head.append(made("th", "", text));
    top.append(head);
    rows.forEach((row, s) => {
      const points = row.map((v, i) => i).filter((i) => row[i] !== null && !pale(numbers[i], shown[s]));
      let sum = 0, variance = 0;
      points.forEach((i, p) => {
        const left = p > 0 ? xOf(i) - xOf(points[p - 1]) : 0, right = p + 1 < points.length ? xOf(points[p + 1]) - xOf(i) : 0;
        sum += row[i] * (left + right) / 2;
        const sd = errors[s] && errors[s][i] !== null ? errors[s][i] : NaN;
        variance += ((left + right) / 2 * sd) ** 2;
      });
      const line = made("tr"), name = made("th", "", batch.entries[shown[s]]);
      name.scope = "row";
      line.append(name, made("td", "", points.length > 1 ? withError(sum, Math.sqrt(variance)).value : "n/a"),
        made("td", "", points.length > 1 ? withError(sum, Math.sqrt(variance)).error : "n/a"), made("td", "", String(points.length)));
      body.append(line);
    });
    table.append(top, body);
    sums.append(table);
  }

  // rows, errors: by entry shown, by place along the axis; null where there is none. numbers: of the
  // spectra there, -1 where there is none; shown: numbers of the entries.
  //
  // The scale is that of the values that are drawn in full, with their bars; where there are
  // none, that of all.
  function extentOf(rows, errors, numbers, shown, all, most) {
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
  }

  function drawBars(u, rows, errors, numbers, shown) {
    u.ctx.save();
    u.ctx.beginPath(); // bars of values that are hardly known end with the panel
    u.ctx.rect(u.bbox.left, u.bbox.top, u.bbox.width, u.bbox.height);
    u.ctx.clip();
    rows.forEach((row, s) => {
      if (!errors[s]) return;
      u.ctx.strokeStyle = colourOf(shown[s]);
      u.ctx.lineWidth = devicePixelRatio;
      row.forEach((v, i) => {
        if (v === null || errors[s][i] === null || (state.log && !(v > errors[s][i]))) return;
        const x = u.valToPos(xOf(i), "x", true), a = u.valToPos(v - errors[s][i], "y", true), b = u.valToPos(v + errors[s][i], "y", true);
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
      const x = u.valToPos(xOf(i), "x", true);
      u.ctx.strokeStyle = "#ff2d55";
      u.ctx.lineWidth = 1.5 * devicePixelRatio;
      u.ctx.beginPath();
      u.ctx.moveTo(x, u.bbox.top);
      u.ctx.lineTo(x, u.bbox.top + u.bbox.height);
      u.ctx.stroke();
    }
    u.ctx.restore();
  }

  function drawCourse() {
    if (courseAxis < 0) return;
    const quantity = quantities[state.quantity];
    const at = state.chosen >= 0 && hasMap ? batch.at[state.chosen].slice() : state.at.slice();
    const places = Array.from({ length: last - first + 1 }, (_, i) => first + i);
    const half = last > first ? (placeOf(last) - placeOf(first)) / (last - first) / 2 : 0.5; // of a step
    const numbers = places.map((place) => {
      at[courseAxis] = place;
      const found = numberAt.get(at.join(","));
      return found === undefined ? -1 : found;
    });
    const shown = quantity.whole ? [0] : batch.entries.map((_, k) => k).filter((k) => state.entriesShown[k] && some(quantity.of(k)));
    const cut = (values) => numbers.map((m) => (m < 0 || hidden(m) || !Number.isFinite(values[m]) ? null : values[m]));
    const drawnOf = (v) => (state.log && !(v > 0) ? null : v); // a logarithm has no place for others
    const rows = shown.map((k) => cut(quantity.of(k)).map((v) => (v === null ? null : drawnOf(v))));
    const known = rows.map((row, s) => row.map((v, i) => (v !== null && pale(numbers[i], shown[s]) ? null : v)));
    const errors = shown.map((k) => (quantity.sd ? cut(quantity.sd(k)) : null));
    courseTitle.textContent = quantity.name + (quantity.unit ? " (" + quantity.unit + ")" : "") + (quantity.sd ? ", bars: \u00b1 1 SD" : "") +
      (hasMap && state.chosen >= 0 ? ", voxel of " + batch.names[state.chosen] : "");
    if (coursePlot) coursePlot.destroy();
    course.textContent = "";
    const ink = styleOf("--ink"), grid = styleOf("--line");
    coursePlot = new uPlot({
      width: Math.max(240, maps.clientWidth),
      height: 320,
      legend: { show: false },
      padding: [10, 14, 0, 0],
      cursor: { y: false, drag: { x: false, y: false } },
      scales: { x: { time: false, range: () => [placeOf(first) - half, placeOf(last) + half] },
        y: state.log ? { distr: 3 } : { range: (u, all, most) => extentOf(rows, errors, numbers, shown, all, most) } },
      axes: [
        { stroke: ink, label: inSeconds() ? "time (s)" : batch.axes[courseAxis].name + " (from 0)", labelSize: 22, size: 30, labelFont: "13px system-ui, sans-serif",
          grid: { stroke: grid, width: 0.5 }, ...(inSeconds() ? {} : { incrs: [1, 2, 5, 10, 20, 50, 100, 200, 500, 1000, 2000, 5000] }),
          values: (u, splits, i, space, step) => tickTexts(splits, step) },
        { stroke: ink, size: roomForTexts({ size: 62 }), grid: { stroke: grid, width: 0.5 },
          values: (u, splits, i, space, step) => (state.log ? splits.map((v) => (v === null ? "" : numberText(v))) : tickTexts(splits, step)) },
      ],
      // all values pale, and over them those that are known well
      series: [{}, ...shown.map((k) => ({ stroke: paleOf(k), width: 1, points: { show: true, size: 5, fill: paleOf(k) } })),
        ...shown.map((k) => ({ stroke: colourOf(k), width: 1.3, points: { show: true, size: 5, fill: colourOf(k) } }))],
      hooks: {
        draw: [(u) => drawBars(u, rows, errors, numbers, shown)],
        setCursor: [(u) => {
          const m = u.cursor.idx === null || u.cursor.idx === undefined ? -1 : numbers[u.cursor.idx];
          readout.textContent = m < 0 ? "" : batch.names[m] + ": " + shown.map((k) => (quantity.whole ? quantity.name : batch.entries[k]) + " " + numberText(quantity.of(k)[m])).join(", ");
        }],
      },
    }, [places.map(placeOf), ...rows, ...known], course);
    varokelOverview.shownCourse = coursePlot;
    drawSums(rows, errors, shown, quantity, numbers);
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

  return { elements: [courseTitle, course, chips, sums], draw: drawCourse };
};
