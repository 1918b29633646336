// SPDX-License-Identifier: BSD-3-Clause
// lines_pane.js -- the entries as rows whose cells are those of the table's text
import { by_id, element } from "./dom.js";
import { color_of } from "./plot.js";
import { add_pattern, make_multiplet, remove_entry, set_state, tie, toggle_window } from "./lines.js";

const COLUMNS = ["name", "type", "area", "frequency", "lorentz", "gauss", "phase"];

export class LinesPane {
  constructor(bench, app) {
    this.bench = bench;
    this.app = app;
    this.tying = null;
    const click = (id, act) => by_id(id).addEventListener("click", () => app.guard(act));
    click("multiplet", () => this.multiplet());
    click("remove", () => remove_entry(bench, bench.selected));
    click("window", () => toggle_window(bench, bench.selected));
    click("untie", () => set_state(bench, bench.selected, this.column(), "free"));
    click("fix", () => set_state(bench, bench.selected, this.column(), "fixed"));
    click("tie", () => this.begin_tie());
    click("pattern-add", () => by_id("pattern").value && add_pattern(bench, by_id("pattern").value));
    click("pattern-open", () => by_id("pattern-input").click());
    by_id("pattern-input").addEventListener("change", (event) => app.guard(async () => {
      const files = await Promise.all([...event.target.files].map(async (file) =>
        ({ name: file.name, bytes: new Uint8Array(await file.arrayBuffer()) })));
      bench.add_patterns(files);
      event.target.value = "";
      bench.tell("table");
    }));
  }
  // Of the selected entry, for the parameter that is chosen below the list.
  column() {
    const wanted = by_id("tie-column").value;
    if (wanted !== "width") return wanted;
    return this.bench.entries[this.bench.selected].of.lorentz.used ? "lorentz" : "gauss";
  }
  multiplet() {
    const j = Number(by_id("multi-j").value);
    if (!(j > 0)) throw new Error("J: expected a number of hertz above 0");
    make_multiplet(this.bench, this.bench.selected, Number(by_id("multi-n").value), j, by_id("multi-kind").value.trim() || "binomial");
  }
  begin_tie() {
    this.tying = this.tying ? null : { entry: this.bench.selected, column: this.column(), how: by_id("tie-how").value };
    by_id("tie").setAttribute("aria-pressed", String(Boolean(this.tying)));
    if (this.tying) this.app.say("Now click the line that it shall follow, in the picture or in the list; or n and p choose it, and Enter takes it. Escape ends this.");
    this.app.show_buttons();
    if (this.tying) by_id("plot").focus({ preventScroll: true });
  }
  end_tie() {
    this.tying = null;
    by_id("tie").setAttribute("aria-pressed", "false");
  }
  // An entry was clicked. Returns whether it ended a tie.
  picked(k) {
    if (!this.tying) return false;
    const { entry, column, how } = this.tying;
    this.end_tie();
    if (k !== entry) tie(this.bench, entry, k, column, how === "equal" ? "equal" : "now", how.endsWith("ppm") ? "ppm" : "Hz");
    this.bench.select(entry);
    this.app.say(k === entry ? "A line cannot follow itself." : `${this.bench.entries[entry].name} follows ${this.bench.entries[k].name}.`);
    return true;
  }

  cell(entry, k, column) {
    const text = entry.cells[column];
    const input = element("input", {
      "aria-label": `${entry.name}, ${column}`, value: text ?? "",
      placeholder: text === undefined ? "–" : "", class: (text ?? "").startsWith("=") ? "tied" : null,
      title: this.title(entry, column),
      onfocus: () => !this.tying && this.bench.selected !== k && this.bench.select(k),
      onkeydown: (event) => {
        if (event.key === "Enter") {
          if (this.tying) this.app.guard(() => this.picked(k));
          else event.target.blur();
        }
        if (event.key === "Escape") { event.target.value = text ?? ""; event.target.blur(); }
        if ((event.key === "ArrowDown" || event.key === "ArrowUp")) this.step(event, k, column);
      },
      onchange: (event) => this.app.guard(() => this.change(entry, column, event.target.value.trim())),
    });
    return element("td", {}, input);
  }
  step(event, k, column) {
    const next = document.querySelector(`#lines tbody tr:nth-child(${k + (event.key === "ArrowDown" ? 2 : 0)}) input[aria-label$=", ${column}"]`);
    if (next) {
      event.preventDefault();
      next.focus();
    }
  }
  title(entry, column) {
    const own = entry.of[column];
    if (!own || !own.used) return null;
    const unit = own.ppm !== undefined ? `${own.ppm?.toFixed(4)} ppm, ${own.hz?.toFixed(2)} Hz from the carrier`
      : own.hz !== undefined ? `${own.hz?.toFixed(2)} Hz` : String(Number(own.value?.toPrecision(6)));
    return `${unit}; ${own.state}${own.estimated ? ", estimated from the spectrum" : ""}`;
  }
  change(entry, column, text) {
    if (column === "name") this.bench.edit({ edit: "name", row: entry.row, name: text });
    else this.bench.edit({ edit: "cell", row: entry.row, column, cell: text === "" ? "-" : text });
  }

  show() {
    const { bench } = this;
    const used = COLUMNS.filter((column) => column !== "gauss" && column !== "lorentz" ||
      bench.entries.some((entry) => entry.of[column].used));
    by_id("lines").tHead.replaceChildren(element("tr", {}, element("th", { scope: "col" }), ...used.map((column) =>
      element("th", { scope: "col" }, column)), element("th", { scope: "col" })));
    const held = document.activeElement?.getAttribute?.("aria-label");
    const rows = bench.entries.map((entry, k) => {
      const dot = element("i");
      dot.style.background = color_of(k);
      return element("tr", { "aria-selected": String(k === bench.selected), onclick: (event) => this.clicked(k, event) },
        element("td", {}, dot), ...used.map((column) => this.cell(entry, k, column)),
        element("td", {}, element("button", { title: `Remove ${entry.name}`, "aria-label": `Remove ${entry.name}`,
          onclick: (event) => { event.stopPropagation(); this.app.guard(() => remove_entry(bench, k)); } }, "×")));
    });
    by_id("lines").tBodies[0].replaceChildren(...rows);
    if (held) [...document.querySelectorAll("#lines input")].find((each) => each.getAttribute("aria-label") === held)?.focus();
    this.show_selection();
    const said = [...(bench.table?.guesses ?? []).map((text) => ["guessed: " + text, ""]),
      ...(bench.table?.warnings ?? []).map((text) => [text, "warning"]), ...(bench.table?.notes ?? []).map((text) => [text, ""])];
    by_id("said").replaceChildren(...said.map(([text, kind]) => element("li", { class: kind }, text)));
    by_id("pattern").replaceChildren(...bench.patterns.map((each) => element("option", {}, each.name)));
  }
  clicked(k, event) {
    if (this.picked(k)) return;
    if (event.target.tagName !== "INPUT" && this.bench.selected !== k) this.bench.select(k);
  }
  show_selection() {
    const { bench } = this;
    [...by_id("lines").tBodies[0].rows].forEach((row, k) => row.setAttribute("aria-selected", String(k === bench.selected)));
    const entry = bench.entries[bench.selected];
    by_id("line-tools").hidden = !entry;
    if (entry) by_id("line-title").textContent = entry.name;
    by_id("multiplet").disabled = Boolean(entry?.pattern);
    by_id("window").disabled = entry?.of.frequency.state !== "free" || Boolean(entry?.pattern);
  }
}
