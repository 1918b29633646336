// SPDX-License-Identifier: BSD-3-Clause
// history.js -- undo and redo of states that are replaced, never changed

const MOST = 200; // states that are kept

export class History {
  constructor(first) {
    this.states = [first];
    this.at = 0;
    this.group = null;
  }
  get now() { return this.states[this.at]; }
  get can_undo() { return this.at > 0; }
  get can_redo() { return this.at + 1 < this.states.length; }

  // group: changes of one group that follow one another are undone together, such as keystrokes in
  // one field; null: alone.
  push(state, group = null) {
    if (state === this.now) return;
    const joined = group !== null && group === this.group && this.at > 0;
    this.states.length = this.at + (joined ? 0 : 1);
    this.states.push(state);
    if (this.states.length > MOST) this.states.shift();
    this.at = this.states.length - 1;
    this.group = group;
  }
  undo() {
    if (this.can_undo) --this.at;
    this.group = null;
    return this.now;
  }
  redo() {
    if (this.can_redo) ++this.at;
    this.group = null;
    return this.now;
  }
}
