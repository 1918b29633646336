// SPDX-License-Identifier: BSD-3-Clause
// work.js -- long work one after the other, with a bar, words and a way to end it
import { by_id } from "./dom.js";

// What a progress says, in words.
export function progress_words(done, of, more) {
  const words = [];
  if (of > 1) words.push(`${Math.min(done + 1, of)} of ${of}`);
  if (more.spectra) words.push(`${more.spectra} spectra`);
  if (more.searches) words.push(`start ${more.searches}, ${more.linearizations} steps`);
  return words.join(", ");
}

export class LongWork {
  // say(text); changed(): busy is another
  constructor(runner, say, changed) {
    this.runner = runner;
    this.say = say;
    this.changed = changed;
    this.busy = false;
  }
  // Parts of one work, one after the other: next() gives the task of the next part, or null; each(fit, i)
  // counts over all parts.
  async run_parts(next, count, words, { each }) {
    let done = 0;
    const part_of = (more) => (from, of, said) => more(done + from, count, said);
    return this.run(null, words, { each, run: async (progress) => {
      for (let task = next(); task; task = next()) {
        const size = task.spectra.length;
        const { fits } = await this.runner.run(task, part_of(progress));
        if (fits) progress(done + 1, count, { fit: fits[0] }); // of one alone
        done += size;
      }
    } });
  }
  // each(fit): of every fit of many.
  async run(task, words, { each = () => {}, run = null } = {}) {
    if (this.busy) throw new Error("Something is at work already; wait for it, or cancel it.");
    this.busy = true;
    const begin = performance.now();
    const held = document.activeElement;
    const bar = by_id("progress");
    bar.removeAttribute("value");
    bar.hidden = by_id("cancel").hidden = false;
    this.say(`${words}…`);
    this.changed();
    try {
      const hear = (done, of, more) => {
        if (more.fit) each(more.fit, done - 1);
        if (of > 1) bar.value = done / of;
        const now = progress_words(done, of, more);
        if (now) this.say(`${words}: ${now}`);
      };
      const value = run ? await run(hear) : await this.runner.run(task, hear);
      await new Promise((done) => { setTimeout(done); }); // what came and what is made of it are two tasks
      this.say(`${words}: done in ${((performance.now() - begin) / 1000).toFixed(1)} s.`);
      return value;
    } finally {
      this.busy = false;
      bar.hidden = by_id("cancel").hidden = true;
      this.changed();
      // a button that was pressed by a key keeps the focus
      if (document.activeElement === document.body && held?.isConnected) held.focus();
    }
  }
}
