// SPDX-License-Identifier: BSD-3-Clause
// tour.js -- one minute on the example
import { by_id } from "./dom.js";

const STEPS = [
  ["plot", "This is a phosphorus spectrum of a brain (gray) with its table of peaks: the model (orange) is what the start values give, below it the residual. Wheel or two fingers zoom, dragging moves along."],
  ["plot", "Every dot is a line. Drag one: model and residual follow. The selected one has a ring for its width. Double-click adds a line."],
  ["tab-lines", "The same table as cells. A cell that begins with = follows another line; that is prior knowledge, and what makes a fit of a noisy spectrum stable.", "lines"],
  ["tab-text", "And as text: the very peaks.txt that varokel-fit reads. Both stay in step; a mistake is named with line and column.", "text"],
  ["fit", "Fit takes the lines to their optimum, in this browser, with the digits of the cluster.", "lines", "fit"],
  ["tab-result", "Values with errors (one standard deviation), and a verdict that says what to doubt. Accept makes the optimum the start values; Go back leaves the table.", "result"],
  ["tab-save", "Take away table, results, pictures, report, and the command that repeats exactly this. Nothing ever leaves the machine otherwise.", "save"],
];

export class Tour {
  // acts: {example(), tab(name), fit()}
  constructor(acts) {
    this.acts = acts;
    this.at = -1;
    by_id("guide-next").addEventListener("click", () => this.go(this.at + 1));
    by_id("guide-end").addEventListener("click", () => this.end());
  }
  async begin() {
    await this.acts.example();
    this.go(0);
  }
  async go(step) {
    document.querySelector(".touring")?.classList.remove("touring");
    this.at = step;
    if (step >= STEPS.length) return this.end();
    const [id, text, tab, act] = STEPS[step];
    by_id("guide").hidden = false;
    by_id("guide-text").textContent = `${step + 1} of ${STEPS.length}. ${text}`;
    by_id("guide-next").textContent = step + 1 === STEPS.length ? "Done" : "Next";
    by_id(id).classList.add("touring");
    if (tab) this.acts.tab(tab);
    by_id("guide-next").focus({ preventScroll: true });
    if (act) await this.acts[act]();
    return undefined;
  }
  end() {
    document.querySelector(".touring")?.classList.remove("touring");
    by_id("guide").hidden = true;
    this.at = -1;
  }
}
