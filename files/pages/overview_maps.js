// SPDX-License-Identifier: BSD-3-Clause
// overview_maps.js -- a map for each slice, a square for each voxel
"use strict";
// Given: the element that says how wide a map may be; the one that describes the voxel that is
// pointed at; choose(n), called with the spectrum that is clicked.
// Returned: the elements of the maps, and the function that draws them anew.
const varokelMaps = (maps, readout, choose) => {
  const { made, styleOf, numberText, withErrorText, percentText } = varokelCharts;
  const { batch, count, columns, quantities, size, inSpace, hasMap, numberAt, state, hidden, pale, paleShare } = varokelOverview;
  const slices = made("div", "slices"), scale = made("div", "scale");
  const canvases = [];

  // viridis of S. van der Walt and N. Smith (2015), nine of its colours and lines between
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
    if (state.log) while (seen.length > 0 && !(seen[0] > 0)) seen.shift();
    if (seen.length === 0) return null;
    const low = seen[Math.floor(0.02 * (seen.length - 1))], high = seen[Math.ceil(0.98 * (seen.length - 1))];
    return { low, high: high > low ? high : low + (Math.abs(low) || 1), full };
  }

  // place of a value in the range, from 0 to 1; null where there is none
  function shareOf(value, range) {
    if (!range || !Number.isFinite(value) || (state.log && !(value > 0))) return null;
    if (state.log) return Math.log(value / range.low) / Math.log(range.high / range.low);
    return (value - range.low) / (range.high - range.low);
  }

  const columnsOfMap = hasMap ? [inSpace[0], inSpace[1] ?? -1, inSpace[2] ?? -1] : [];
  const sizeOf = (i) => (i < 0 ? 1 : size[i]);
  function spectrumAt(x, y, z) {
    const at = state.at.slice();
    [x, y, z].forEach((v, d) => { if (columnsOfMap[d] >= 0) at[columnsOfMap[d]] = v; });
    const n = numberAt.get(at.join(","));
    return n === undefined ? -1 : n;
  }

  function drawScale(quantity, range) {
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
  }

  function makeCanvases(nz) {
    if (canvases.length === nz) return;
    slices.textContent = "";
    canvases.length = 0;
    for (let z = 0; z < nz; z++) {
      const canvas = made("canvas", "map"), slice = made("figure", "slice");
      canvas.tabIndex = 0;
      canvas.setAttribute("role", "img");
      slice.append(canvas);
      if (nz > 1) slice.append(made("figcaption", "", batch.axes[columnsOfMap[2]].name + " " + z));
      slices.append(slice);
      canvases.push(canvas);
      listen(canvas, z);
    }
  }

  // share: place of the value in the range of the colours; null where there is none
  function drawVoxel(ink, n, left, top, cell, share, colours) {
    if (share !== null) {
      ink.globalAlpha = pale(n, state.entry) ? paleShare : 1;
      ink.fillStyle = colourAt(share);
      ink.fillRect(left, top, cell, cell);
      ink.globalAlpha = 1;
      return;
    }
    ink.fillStyle = colours.away;
    ink.fillRect(left, top, cell, cell);
    if (batch.status[n] !== "not_fitted" || cell <= 8) return;
    ink.strokeStyle = colours.cross;
    ink.lineWidth = 1;
    ink.beginPath();
    ink.moveTo(left + 2, top + 2);
    ink.lineTo(left + cell - 2, top + cell - 2);
    ink.moveTo(left + cell - 2, top + 2);
    ink.lineTo(left + 2, top + cell - 2);
    ink.stroke();
  }

  function drawMaps() {
    const quantity = quantities[state.quantity], values = quantity.of(state.entry);
    const range = rangeOf(values, state.entry);
    drawScale(quantity, range);
    const nx = sizeOf(columnsOfMap[0]), ny = sizeOf(columnsOfMap[1]), nz = sizeOf(columnsOfMap[2]);
    const width = Math.max(200, maps.clientWidth);
    const across = nz === 1 ? 1 : Math.max(1, Math.min(nz, Math.floor(width / 180)));
    const cell = Math.max(3, Math.min(40, Math.floor((width - 10 * (across - 1)) / across / nx)));
    makeCanvases(nz);
    const ratio = devicePixelRatio || 1, colours = { empty: styleOf("--card"), away: styleOf("--line"), cross: styleOf("--muted") };
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
      ink.fillStyle = colours.empty;
      ink.fillRect(0, 0, nx * cell, ny * cell);
      for (let y = 0; y < ny; y++) {
        for (let x = 0; x < nx; x++) {
          const n = spectrumAt(x, y, z);
          if (n < 0) continue;
          const left = x * cell, top = y * cell; // row 0 on top, as in docs/conventions.md
          const share = hidden(n) ? null : shareOf(values[n], range);
          drawVoxel(ink, n, left, top, cell, share, colours);
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
    const quantity = quantities[state.quantity], k = state.entry, sd = quantity.sd ? quantity.sd(k)[n] : NaN;
    let text = batch.names[n] + ": " + quantity.name + " " + (sd > 0 ? withErrorText(quantity.of(k)[n], sd) + " (1 SD)" : numberText(quantity.of(k)[n])) + " " + quantity.unit;
    if (Number.isFinite(columns.areaPercent[k][n])) text += ", area error " + percentText(columns.areaPercent[k][n]) + " %";
    return text + ", " + batch.said[n];
  }

  function listen(canvas, z) {
    const placeOf = (event) => {
      const box = canvas.getBoundingClientRect(), nx = sizeOf(columnsOfMap[0]), ny = sizeOf(columnsOfMap[1]);
      const x = Math.floor((event.clientX - box.left) / box.width * nx);
      const y = Math.floor((event.clientY - box.top) / box.height * ny);
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
      const steps = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] };
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

  const nameOf = (d) => (columnsOfMap[d] >= 0 ? batch.axes[columnsOfMap[d]].name : "");
  const sense = made("p", "muted sense", hasMap ? nameOf(0) + " 0 is left" + (nameOf(1) ? ", " + nameOf(1) + " 0 on top" : "") + ": rows as they are stored; where they lie in the body, the images in maps/ say." : "");
  return { elements: [scale, slices, sense], draw: drawMaps };
};
