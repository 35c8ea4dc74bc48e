/** The page's side of the worker. */
import type { Answer, Given, Progress, Request, Taken, TaskName } from "./protocol.js";

/** A task ended because it was to stop. */
export class StoppedError extends Error {}

interface Waiting {
  resolve(given: never): void;
  reject(error: Error): void;
  onProgress: (progress: Progress) => void;
}

const source = document.getElementById("worker")?.textContent ?? "";
const worker = new Worker(URL.createObjectURL(new Blob([source], { type: "text/javascript" })));
const waiting = new Map<number, Waiting>();
let last = 0;

worker.onmessage = ({ data }: MessageEvent<Answer>): void => {
  const task = waiting.get(data.id);
  if (task === undefined) return;
  if ("progress" in data) {
    task.onProgress(data.progress);
    return;
  }
  waiting.delete(data.id);
  if ("given" in data) task.resolve(data.given as never);
  else task.reject(new Error(data.fault));
};

worker.onerror = (event): void => {
  for (const task of waiting.values()) task.reject(new Error(`the worker failed: ${event.message}`));
  waiting.clear();
};

/** Has the worker do something. */
export function run<Name extends TaskName>(
  task: Name,
  taken: Taken<Name>,
  onProgress: (progress: Progress) => void = () => {},
): Promise<Given<Name>> {
  const id = ++last;
  return new Promise<Given<Name>>((resolve, reject) => {
    waiting.set(id, { resolve, reject, onProgress });
    worker.postMessage({ id, task, taken } as Request);
  });
}

/** Ends what is running: it is rejected with a `StoppedError` at once, even where its answer
 * is on the way, so that who stops something never sees it end. */
export function stopAll(): void {
  for (const [id, task] of waiting) {
    worker.postMessage({ stop: id } satisfies Request);
    task.reject(new StoppedError());
  }
  waiting.clear();
}
