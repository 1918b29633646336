// SPDX-License-Identifier: BSD-3-Clause
// spectra.js -- many spectra in one buffer: thousands move between threads as one object
//
// Packed: {names, inputs, input_of, voxels, ends, pool}. names is one text, a line each; voxels has x, y, z of
// each, or -1; ends has three numbers a spectrum, where its points, its sidecar and its reference line end
// in the pool; each begins where the one before ends.

// One spectrum of a pool. bin and reference are seen there, not copied.
export class Spectrum {
  constructor(packed, i, name) {
    this.packed = packed;
    this.i = i;
    this.name = name;
  }
  get input() { return this.packed.inputs[this.packed.input_of[this.i]]; }
  // [x, y, z], or null
  get voxel() {
    const at = 3 * this.i, { voxels } = this.packed;
    return voxels[at] < 0 ? null : [voxels[at], voxels[at + 1], voxels[at + 2]];
  }
  part(k) {
    const at = 3 * this.i + k, { ends, pool } = this.packed;
    return pool.subarray(at === 0 ? 0 : ends[at - 1], ends[at]);
  }
  get bin() { return this.part(0); }
  get json() { return new TextDecoder().decode(this.part(1)); }
  get reference() {
    const bytes = this.part(2);
    return bytes.length > 0 ? bytes : null;
  }
  // What another thread gets of it: its own bytes alone.
  get copy() { return { name: this.name, input: this.input, bin: this.bin.slice(), json: this.json, reference: this.reference?.slice() ?? null }; }
}

export const voxel_of = (json) => {
  const voxel = (JSON.parse(json).source ?? {}).voxel;
  return Array.isArray(voxel) ? voxel : null;
};

// of: [{name, input, bytes, read()}] with bytes the sizes of points, sidecar and reference line, and
// read() these three; what was read may go.
export function pack_spectra(of) {
  const n = 3 * of.length;
  const packed = { names: of.map((each) => each.name).join("\n"), inputs: [...new Set(of.map((each) => each.input))],
    input_of: new Uint32Array(of.length), voxels: new Int32Array(n).fill(-1), ends: new Float64Array(n), pool: null };
  packed.pool = new Uint8Array(of.reduce((sum, each) => sum + each.bytes[0] + each.bytes[1] + each.bytes[2], 0));
  let at = 0;
  of.forEach((each, i) => {
    packed.input_of[i] = packed.inputs.indexOf(each.input);
    const parts = each.read();
    parts.forEach((bytes, k) => {
      if (bytes) {
        packed.pool.set(bytes, at);
        at += bytes.length;
      }
      packed.ends[3 * i + k] = at;
    });
    packed.voxels.set(voxel_of(new TextDecoder().decode(parts[1])) ?? [-1, -1, -1], 3 * i);
  });
  return packed;
}
export const spectra_of = (packed) => (packed.ends.length === 0 ? [] : packed.names.split("\n").map((name, i) => new Spectrum(packed, i, name)));

// Of spectra that came one by one, such as kept ones.
export const repacked = (spectra) => pack_spectra(spectra.map((each) => {
  const parts = [each.bin, new TextEncoder().encode(each.json), each.reference ?? null];
  return { name: each.name, input: each.input ?? each.name, bytes: parts.map((bytes) => bytes?.length ?? 0), read: () => parts };
}));
