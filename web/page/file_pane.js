// SPDX-License-Identifier: BSD-3-Clause
// file_pane.js -- which spectrum is shown, what is known of it, and how it was imported
import { by_id, element } from "./dom.js";
import { option_word } from "./files.js";

const MOST_LISTED = 400; // spectra, above which they are chosen by number

// Name, label, help, kind of what is typed (text), example in the empty field (the help).
const OPTIONS = [
  ["format", "Format", "nifti, raw, jmrui, sdat, rda, text or float32; empty: by its name", "text", "by the name"], ["points", "Points of one FID", "where the file does not say", "number", ""],
  ["dwell_time", "Dwell time [s]", "", "number"], ["bandwidth", "Spectral width [Hz]", "one over the dwell time", "number"],
  ["mhz", "Frequency [MHz]", "of the spectrometer", "number"], ["ppm_at_carrier", "ppm at the carrier", "", "number"],
  ["nucleus", "Nucleus", "such as 31P"], ["axis", "ppm along the points", "rising or falling"],
  ["begin_time", "First point at [s]", "delay of the first point", "number"], ["noise", "Noise window", "FIRST:LAST, points of the spectrum", "text", "FIRST:LAST"],
  ["phase", "Phase of the FID", "degrees, or auto"], ["resize", "Length", "points, cut or fill; empty: fill", "text", "fill"],
  ["dimensions", "Dimensions", "of FIDs that the file only counts, the fastest first", "text", "DIM_COIL=8,DIM_DYN"], ["voxel", "Voxel", "x,y,z from 0; empty: all"], ["index", "Index", "[DIM=]I or all, blanks between", "list", "[DIM=]I or all"],
  ["average", "Average over", "dimensions such as DIM_DYN", "list", "such as DIM_DYN"], ["reference", "Reference line", "name of an opened file"],
  ["reference_peak", "Reference peak", "sets the ppm axis: its name and shift, such as NAA 2.01 ppm", "text", "NAA 2.01 ppm"], ["remove_water", "Remove lines", "such as residual water, from:to in ppm", "text", "4.2:5.1"],
  ["water_order", "Order of removal", "damped oscillations that describe the FID for it, 1 to 200; empty: by what is left", "number", ""],
  ["water", "Water for amounts", "name of an opened file: FID of the water of the same voxel, for rows amount: of the table", "text", "name of an opened file"], ["water_scale", "Factor of the water", "from its unit to that of the data: gain, sums of averages; empty: 1", "number", "1"],
  ["echo_time", "Echo time [s]", "for amounts, where neither file nor table say it", "number", ""], ["repetition_time", "Repetition time [s]", "for amounts, where neither file nor table say it", "number", ""],
];
// Switches; dimension: that the file has to have, or the switch is not offered.
const SWITCHES = [
  ["combine_coils", "Combine coils", "by their signal and the covariance of their noise", "DIM_COIL"],
  ["align_averages", "Align averages", "in frequency and phase, and take their mean", "DIM_DYN"],
  ["eddy", "Correct eddy currents", "with the phase of the reference line"],
  ["conjugate", "Conjugate", "reverse the sense of frequency"],
];

// dimensions: of the file, in which it has several FIDs: {name: size}. Each field has the option's word
// beside it, by which the import's messages call it.
export function option_fields(options, dimensions = {}) {
  const has = Object.entries(dimensions).map(([name, size]) => `${size} in ${name}`).join(", ");
  by_id("dimensions").textContent = has ? `The file has several FIDs: ${has}.` : "";
  const word = (name) => element("small", {}, option_word(name));
  by_id("option-fields").replaceChildren(...OPTIONS.map(([name, label, hint, , example]) => element("label", { title: hint || null }, element("span", {}, `${label} `, word(name)),
    element("input", { "data-option": name, value: Array.isArray(options[name]) ? options[name].join(" ") : options[name] ?? "", placeholder: example ?? hint }))),
  ...SWITCHES.filter(([name, , , dimension]) => !dimension || dimensions[dimension] > 1 || options[name]).map(([name, label, hint]) =>
    element("label", { class: "switch", title: hint }, element("input", { type: "checkbox", "data-option": name, checked: Boolean(options[name]) }), `${label} `, word(name))));
}
// Empty fields for files that could not be read; leave(): the hand that gives them up.
export function unread_fields(inputs, leave) {
  option_fields({});
  by_id("dimensions").replaceChildren(`For ${inputs.join(", ")}, not read yet: what a file does not say can be given here. `,
    element("button", { id: "leave-unread", onclick: leave }, "Leave it"));
  by_id("options").open = true;
}
// What the fields say. A number that is none is refused.
export function options_of_fields() {
  const options = {};
  for (const input of document.querySelectorAll("#option-fields input")) {
    const name = input.dataset.option, text = input.value.trim();
    if (input.type === "checkbox") {
      if (input.checked) options[name] = true;
      continue;
    }
    if (text === "") continue;
    const [, label, , kind] = OPTIONS.find((each) => each[0] === name);
    if (kind === "number") {
      if (!Number.isFinite(Number(text))) throw new Error(`${label}: found "${text}"; expected a number`);
      options[name] = Number(text);
    } else options[name] = kind === "list" ? text.split(/\s+/) : text;
  }
  return options;
}

// The list of spectra, made anew only when they are others.
export function show_choice(bench, listed) {
  const { spectra, current } = bench;
  by_id("pick").hidden = spectra.length < 2;
  const many = spectra.length > MOST_LISTED;
  by_id("spectrum").hidden = many;
  by_id("spectrum-number").hidden = !many;
  if (many) {
    Object.assign(by_id("spectrum-number"), { min: 0, max: spectra.length - 1, value: current });
  } else {
    if (listed !== spectra) by_id("spectrum").replaceChildren(...spectra.map((each, i) => element("option", { value: i }, each.name)));
    by_id("spectrum").value = String(current);
  }
  return spectra;
}

export function show_facts(bench, said) {
  const side = bench.about.sidecar, noise = side.noise_window;
  const facts = [["Points", `${side.points}, ${Number(side.hz_per_point.toPrecision(6))} Hz each`],
    ["Nucleus", [side.nucleus, side.spectrometer_mhz && `${side.spectrometer_mhz} MHz`].filter(Boolean).join(", ")],
    ["Measured as", side.source?.format],
    ["Noise window", noise && `points ${noise.first} to ${noise.stop - 1}, ${noise.chosen_by ?? noise.how ?? ""}`]];
  const guessed = side.guessed ?? [], is_told = (text) => guessed.some((each) => text.startsWith(`guessed ${each.item} `));
  // what is said of a file has its name before it
  const own = side.warnings ?? [], is_own = (text) => own.some((each) => text.endsWith(`: ${each}`));
  const warnings = [...new Set([...own, ...said.filter((text) => !is_told(text) && !is_own(text))])];
  by_id("about").replaceChildren(element("h2", {}, bench.spectrum.name),
    ...facts.filter(([, text]) => text).map(([name, text]) => element("p", { class: "fact" }, element("strong", {}, `${name}: `), text)),
    element("ul", { class: "said" }, ...guessed.map((each) => element("li", {}, `guessed ${each.item}: ${each.value} (${each.reason})`)),
      ...warnings.map((text) => element("li", { class: "warning" }, text))));
}
