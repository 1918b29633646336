// SPDX-License-Identifier: BSD-3-Clause
// worker.js -- where tasks run: a worker made of the page's own script, or a promise to one
import { start_module } from "./module_client.js";
import { run_task } from "./tasks.js";

// Inside of a worker: {bytes} first, then {number, task}.
export function serve_tasks(scope, make) {
  let client = null;
  scope.onmessage = async ({ data }) => {
    if (data.bytes) {
      client = start_module(make, data.bytes);
      return;
    }
    const answer = { number: data.number };
    try {
      const progress = (done, of, more = {}) => scope.postMessage({ number: data.number, done, of, more });
      answer.value = await run_task(await client, data.task, progress);
    } catch (error) {
      answer.error = error.message ?? String(error);
    }
    const pool = answer.value?.packed?.pool;
    scope.postMessage(answer, pool ? [pool.buffer] : []);
  };
}

// Runs one task after the other; cancel ends the worker, and the next task gets another.
export class TaskRunner {
  constructor(make_worker, bytes) {
    this.make_worker = make_worker;
    this.bytes = bytes;
    this.worker = null;
    this.waiting = new Map();
    this.number = 0;
  }
  start() {
    this.worker = this.make_worker();
    this.worker.onmessage = ({ data }) => this.take(data);
    this.worker.onerror = (event) => {
      event.preventDefault?.();
      this.end(new Error("the work ended: " + (event.message || "there may not be enough storage")));
    };
    this.worker.postMessage({ bytes: this.bytes });
  }
  take(data) {
    const task = this.waiting.get(data.number);
    if (!task) return;
    if (data.done !== undefined) {
      task.progress(data.done, data.of, data.more);
      return;
    }
    this.waiting.delete(data.number);
    if (data.error !== undefined) task.reject(new Error(data.error));
    else task.resolve(data.value);
  }
  run(task, progress = () => {}) {
    if (!this.worker) this.start();
    return new Promise((resolve, reject) => {
      this.waiting.set(++this.number, { resolve, reject, progress });
      this.worker.postMessage({ number: this.number, task });
    });
  }
  end(error) {
    this.worker?.terminate();
    this.worker = null;
    for (const task of this.waiting.values()) task.reject(error);
    this.waiting.clear();
  }
  // Gives back its storage, which grows and never shrinks, when there is nothing to do.
  rest() { if (this.waiting.size === 0) this.end(null); }
  cancel() { this.end(new Error("cancelled")); }
}
