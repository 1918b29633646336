// SPDX-License-Identifier: BSD-3-Clause
// files.js -- what is what among files that were opened together

const ending = (name) => name.toLowerCase().replace(/\.gz$/, "").split(".").pop();
const stem = (name) => name.toLowerCase().replace(/\.gz$/, "").replace(/\.[^.]*$/, "");

// Whether a text is a table of peaks: its first line with cells is a heading.
export function is_table(text) {
  for (const line of text.split(/\r?\n/)) {
    const bare = line.replace(/(^|\s)#.*$/, "").trim();
    if (bare === "" || /^[|\-:+= \t]*---[|\-:+= \t]*$/.test(bare) || /^\w+\s*:/.test(bare)) continue;
    return /\bname\b/i.test(bare) && /\btype\b/i.test(bare) && /\b(frequency|shift)\b/i.test(bare);
  }
  return false;
}

const is_text = (bytes) => !bytes.subarray(0, 4096).includes(0);

// files: [{name, bytes}] -> {inputs: [name], tables: [text], patterns: [file], companions: [name]}
export function sort_files(files) {
  const sorted = { inputs: [], tables: [], patterns: [], companions: [] };
  const others = (name) => files.filter((file) => file.name !== name);
  for (const file of files) {
    const kind = ending(file.name);
    const bytes = new Uint8Array(file.bytes);
    if (kind === "pat") {
      sorted.patterns.push({ name: file.name, bytes });
    } else if ((kind === "txt" || kind === "tsv" || kind === "csv" || kind === "md") && is_text(bytes) &&
        is_table(new TextDecoder().decode(bytes))) {
      sorted.tables.push(new TextDecoder().decode(bytes));
    } else if (kind === "json" || (kind === "spar" &&
        others(file.name).some((other) => ending(other.name) === "sdat" && stem(other.name) === stem(file.name)))) {
      sorted.companions.push(file.name);
    } else {
      sorted.inputs.push(file.name);
    }
  }
  return sorted;
}

const WORDS = {
  format: "--format", points: "--points", voxel: "--voxel", resize: "--resize", phase: "--phase",
  dwell_time: "--dwell", bandwidth: "--bandwidth", mhz: "--frequency", ppm_at_carrier: "--ppm-at-carrier",
  begin_time: "--begin-time", nucleus: "--nucleus", axis: "--axis", noise: "--noise", reference: "--reference",
  dimensions: "--dimensions", reference_peak: "--reference-peak", remove_water: "--remove-water", water_order: "--water-order",
  water: "--water", water_scale: "--water-scale", echo_time: "--echo-time", repetition_time: "--repetition-time",
};

// The option of the programs that a field of the page is.
export const option_word = (name) => WORDS[name] ?? `--${name.replaceAll("_", "-")}`;

const quoted = (text) => (/^[\w./+:=,-]+$/.test(text) ? text : `'${text.replaceAll("'", "'\\''")}'`);

// The command that repeats the fit of the page.
export function fit_command(input, options, starts) {
  const words = ["varokel-fit", quoted(input), "peaks.txt", "-o", "run", "--method", "exact"];
  if (starts > 0) words.push("--starts", String(starts));
  for (const [name, value] of Object.entries(options)) {
    if (value === null || value === "" || value === false || value === undefined) continue;
    if (name === "index" || name === "average")
      for (const each of value) words.push(option_word(name), quoted(each));
    else if (value === true) words.push(option_word(name));
    else if (WORDS[name]) words.push(WORDS[name], quoted(String(value)));
  }
  return words.join(" ");
}
