// SPDX-License-Identifier: BSD-3-Clause
// autosave.js -- the work so far in the browser's storage

const KEY = "varokel workbench";
const FORM = 1;
const MOST_BYTES_KEPT = 2 ** 22; // browsers give a page 5 or 10 MB of text

export function text_of_bytes(bytes) {
  let text = "";
  for (let i = 0; i < bytes.length; i += 32768) text += String.fromCharCode(...bytes.subarray(i, i + 32768));
  return btoa(text);
}
export const bytes_of_text = (text) => Uint8Array.from(atob(text), (c) => c.charCodeAt(0));

const to_keep = ({ name, input, json, bin, reference }) => ({ name, input, json, bin: text_of_bytes(bin), reference: reference && text_of_bytes(reference) });
const from_kept = (spectrum) => ({ ...spectrum, bin: bytes_of_text(spectrum.bin), reference: spectrum.reference && bytes_of_text(spectrum.reference) });

// Of a page: {text, spectra, current, patterns, options, read_with}.
// Returns "" or a sentence about what could not be kept.
export function save(storage, state) {
  const put = (spectra, current) => storage.setItem(KEY, JSON.stringify({ form: FORM, ...state, current,
    spectra: spectra.map(to_keep), patterns: state.patterns.map((each) => ({ name: each.name, bytes: text_of_bytes(each.bytes) })) }));
  try {
    // what cannot fit is not even made into text
    const bytes = state.spectra[0]?.packed.pool.length ?? 0;
    if (bytes > MOST_BYTES_KEPT) throw new Error("too much");
    put(state.spectra, state.current);
    return "";
  } catch { /* too much for the storage: this spectrum alone */ }
  try {
    put(state.spectra.slice(state.current, state.current + 1), 0);
    return "The browser's storage is too small for all spectra; the table and this spectrum are kept.";
  } catch { /* not even that */ }
  try {
    storage.setItem(KEY, JSON.stringify({ form: FORM, text: state.text, spectra: [], patterns: [], current: -1, options: {} }));
    return "The browser's storage is too small for the spectrum; the table alone is kept.";
  } catch {
    return "The browser keeps nothing for this page; take peaks.txt away before you close it.";
  }
}

// What was kept, or null. What is damaged is nothing.
export function restore(storage) {
  try {
    const kept = JSON.parse(storage.getItem(KEY));
    if (kept?.form !== FORM || typeof kept.text !== "string") return null;
    return { ...kept, spectra: kept.spectra.map(from_kept), patterns: kept.patterns.map((each) => ({ name: each.name, bytes: bytes_of_text(each.bytes) })) };
  } catch {
    return null;
  }
}
export function erase(storage) {
  try {
    storage.removeItem(KEY);
  } catch { /* there is none */ }
}
