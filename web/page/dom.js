// SPDX-License-Identifier: BSD-3-Clause
// dom.js -- elements. Text goes in as text, so nothing of a file can become markup.

export const by_id = (id) => document.getElementById(id);

// element("td", {class: "x", onclick: f}, child, "text" ...)
export function element(tag, attributes = {}, ...children) {
  const node = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (value === false || value === null || value === undefined) continue;
    if (name.startsWith("on")) node.addEventListener(name.slice(2), value);
    else if (name === "value") node.value = value;
    else node.setAttribute(name, value === true ? "" : value);
  }
  node.append(...children.filter((child) => child !== null && child !== undefined));
  return node;
}

export const number_text = (value, digits = 4) =>
  value === null || value === undefined ? "n/a" : String(Number(value.toPrecision(digits)));
// Two digits behind the point, so that 1.10 stands below 1.09; of data without noise three digits.
export const quality_text = (value) =>
  value >= 0.1 && value < 99.995 ? value.toFixed(2) : number_text(value, 3);
