// The page's end of a worker: a promise for each job.

export class Jobs {
  constructor(wasmBytes) {
    this.open = () => {
      this.number = 0;
      this.waiting = new Map();
      this.worker = new Worker(new URL("./worker.js", import.meta.url), { type: "module" });
      this.worker.onmessage = ({ data }) => this.settle(data);
      this.run("open", { bytes: wasmBytes });
    };
    this.open();
  }

  run(job, what, progress) {
    const number = ++this.number;
    this.worker.postMessage({ job, number, ...what });
    return new Promise((resolve, reject) => {
      this.waiting.set(number, { resolve, reject, progress });
    });
  }

  settle({ number, progress, result, error }) {
    const job = this.waiting.get(number);
    if (progress !== undefined) return job.progress?.(progress);
    this.waiting.delete(number);
    if (error !== undefined) job.reject(new Error(error));
    else job.resolve(result);
  }

  // Drops whatever is being done.
  cancel() {
    this.worker.terminate();
    for (const { reject } of this.waiting.values()) reject(new Error("cancelled"));
    this.open();
  }
}

// Calls work(..) with the latest arguments only: while one call runs, others wait, and all but the
// last are left out.
export function latest(work) {
  let running = false;
  let next = null;
  return async function call(...args) {
    next = args;
    if (running) return;
    running = true;
    while (next) {
      const now = next;
      next = null;
      try {
        await work(...now);
      } catch (error) {
        console.warn(error.message);
      }
    }
    running = false;
  };
}
