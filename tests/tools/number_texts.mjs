// SPDX-License-Identifier: BSD-3-Clause
// number_texts.mjs TREE -- the pages show numbers with their errors as the programs do: by one list of both
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";

const tree = process.argv[2];
const { withError, withErrorText, percentText, numberText } =
  new Function(readFileSync(`${tree}/files/pages/chart_values.js`, "utf8") + ";return varokelValues;")();
let read = 0;
for (const line of readFileSync(`${tree}/tests/tools/data/number_texts.tsv`, "utf8").trim().split("\n")) {
  if (line.startsWith("#")) continue;
  const [value, sd, shown, error] = line.split("\t");
  assert.deepEqual(withError(Number(value), Number(sd)), { value: shown, error }, line);
  read++;
}
assert.ok(read >= 40);
for (let s = -300; s <= 300; s += 7)
  for (let v = -300; v <= 300; v++) {
    const sd = 9.96 * 10 ** s, value = -0.9876543 * 10 ** v, text = withError(value, sd);
    const error = Number(text.error), unit = 10 ** (Math.floor(Math.log10(error) + 1e-9) - 1);
    assert.ok(Math.abs(error - sd) <= 0.0501 * sd, `${value} ${sd}: ${text.error}`);
    assert.ok(Math.abs(Number(text.value) - value) <= 0.5000001 * unit + 1e-15 * Math.abs(value), `${value} ${sd}: ${text.value}`);
  }
assert.equal(withErrorText(20.149, 0.2281), "20.15 \u00b1 0.23");
assert.equal(withErrorText(20.149, 0), "20.149");
assert.equal(withErrorText(NaN, 1), "n/a");
assert.deepEqual([0, 0.714, 9.96, 99.4, 99.6, 999, NaN].map(percentText), ["0", "0.71", "10", "99", "100", "999", "n/a"]);
assert.deepEqual([0, 9.445e-7, 0.000002839, -0.0001234567, 999.94, 999.96, -12345.6, 1234567, 1e-300, 1e300, NaN].map(numberText),
  ["0.000", "9.445e-07", "2.839e-06", "-0.0001235", "999.9", "1000", "-12346", "1.235e+06", "1.000e-300", "1.000e+300", "n/a"]);
