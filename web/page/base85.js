// SPDX-License-Identifier: BSD-3-Clause
// base85.js -- bytes as text of 85 characters: 25 % longer than the bytes, where base64 is 33 % longer
//
// Four bytes, the highest first, are five digits. A last group of n bytes is filled with zeros and written as
// its first n + 1 digits. None of the characters means anything in a page or in a text of JavaScript.

const DIGITS = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz!#$%()*+,-./:;=?@[]^_{|";

export function text_of_85(bytes) {
  let text = "";
  for (let i = 0; i < bytes.length; i += 4) {
    let group = 0;
    for (let k = 0; k < 4; ++k) group = group * 256 + (bytes[i + k] ?? 0);
    let digits = "";
    for (let k = 0; k < 5; ++k) {
      digits = DIGITS[group % 85] + digits;
      group = Math.floor(group / 85);
    }
    text += digits.slice(0, Math.min(4, bytes.length - i) + 1);
  }
  return text;
}

// Errors: an Error for what no text of 85 gives.
export function bytes_of_85(text) {
  const values = new Uint8Array(128).fill(85);
  [...DIGITS].forEach((digit, value) => { values[digit.charCodeAt(0)] = value; });
  if (text.length % 5 === 1) throw new Error("a text of base 85 that ends too early");
  const bytes = new Uint8Array(Math.floor((text.length * 4) / 5));
  for (let i = 0, at = 0; i < text.length; i += 5) {
    let group = 0;
    for (let k = 0; k < 5; ++k) {
      const value = i + k < text.length ? values[text.charCodeAt(i + k)] ?? 85 : 84; // cut digits: the highest
      if (value === 85) throw new Error(`no digit of base 85: ${text[i + k]}`);
      group = group * 85 + value;
    }
    for (let k = 3; k >= 0 && at < bytes.length; --k) bytes[at++] = Math.floor(group / 256 ** k) & 255;
  }
  return bytes;
}
