/** The page's worker: everything that computes. One task runs at a time. */
import { TemplateType } from "../src/constants.js";
import { Matcher } from "../src/matcher.js";
import { detectType } from "../src/template_format.js";
import { Inside, type Making } from "./inside.js";
import type { Answer, Comparison, NamedBytes, Progress, Request, Template } from "./protocol.js";

interface Scope {
  onmessage: ((event: MessageEvent<Request>) => void) | null;
  postMessage(answer: Answer): void;
}

const scope = self as unknown as Scope;
const MOST_BYTES = 65535; // of a file that can be a template
const TICK = 40; // milliseconds between two looks at the messages

const inside = Inside.start();
const matcher = Matcher.create({ securityLevel: 1 });
const stopped = new Set<number>();

class Stopped extends Error {}

/** Lets messages in, tells how far a task is, and ends it when it is to stop. */
class Pace {
  #last = performance.now();

  constructor(readonly id: number) {}

  async beat(progress: () => Progress): Promise<void> {
    if (performance.now() - this.#last < TICK) return;
    scope.postMessage({ id: this.id, progress: progress() });
    await new Promise<void>((resolve) => {
      const { port1, port2 } = new MessageChannel();
      port1.onmessage = (): void => {
        port1.close();
        resolve();
      };
      port2.postMessage(null);
    });
    // A message that waits is taken before a timer, but not always before a port.
    await new Promise((resolve) => setTimeout(resolve));
    if (stopped.has(this.id)) throw new Stopped();
    this.#last = performance.now();
  }
}

async function loadOne({ name, bytes }: NamedBytes): Promise<Template | { name: string; fault: string }> {
  if (bytes.length > MOST_BYTES) return { name, fault: `has more than ${MOST_BYTES} bytes` };
  const told = (await inside).tell(name, bytes);
  if ("fault" in told) return { name, fault: told.fault };
  const type = detectType(bytes);
  const taking = await matcher;
  taking.templateType = type;
  taking.verify(bytes, bytes);
  return { name, bytes, type, told };
}

async function load(files: NamedBytes[], pace: Pace): Promise<(Template | { name: string; fault: string })[]> {
  const loaded = [];
  for (const file of files) {
    loaded.push(await loadOne(file).catch((error: unknown) => ({ name: file.name, fault: textOf(error) })));
    await pace.beat(() => ({ done: loaded.length, total: files.length, rows: [] }));
  }
  return loaded;
}

async function compare([probe, reference]: [Template, Template]): Promise<Comparison> {
  const taking = await matcher;
  taking.templateType = probe.type;
  const { points } = taking.verify(probe.bytes, reference.bytes);
  const told = (await inside).explain(probe, reference);
  if (told.explained.score !== points) {
    throw new Error(`the explanation adds up to ${told.explained.score} and not to ${points}`);
  }
  return { points, ...told };
}

async function turn(template: Template): Promise<Template> {
  const bytes = (await matcher).rotate(template.bytes);
  const turned = await loadOne({ name: nameOfTurned(template.name), bytes });
  if ("fault" in turned) throw new Error(turned.fault);
  return turned;
}

/** A second turn takes the first one's mark away. */
function nameOfTurned(name: string): string {
  const mark = "-turned";
  const dot = name.lastIndexOf(".") < 0 ? name.length : name.lastIndexOf(".");
  const stem = name.slice(0, dot);
  return (stem.endsWith(mark) ? stem.slice(0, -mark.length) : stem + mark) + name.slice(dot);
}

async function example(kind: "pair" | "strangers" | "set"): Promise<NamedBytes[]> {
  const maker = await inside;
  const made = (seed: number, impression: number): NamedBytes => {
    const making: Making = { seed, impression, type: TemplateType.NATIVE };
    const finger = String(seed).padStart(3, "0");
    return { name: `${finger}_${impression}.vxt`, bytes: maker.make(making) };
  };
  if (kind === "pair") return [made(42, 1), made(42, 2)];
  if (kind === "strangers") return [made(42, 1), made(7, 1)];
  return Array.from({ length: 60 }, (_, index) => made(1 + Math.floor(index / 3), 1 + (index % 3)));
}

async function scores(templates: Template[], pace: Pace): Promise<null> {
  const taking = await matcher;
  const total = templates.length * (templates.length - 1);
  let progress: Progress = { done: 0, total, rows: [] };
  const tell = (): Progress => {
    const told = progress;
    progress = { ...told, rows: [] };
    return told;
  };
  for (const [p, probe] of templates.entries()) {
    const points = new Int16Array(templates.length).fill(-1);
    taking.templateType = probe.type;
    for (const [c, candidate] of templates.entries()) {
      if (c === p) continue;
      points[c] = taking.verify(probe.bytes, candidate.bytes).points;
      progress.done++;
      await pace.beat(tell);
    }
    progress.rows.push({ probe: p, points });
  }
  scope.postMessage({ id: pace.id, progress: tell() });
  return null;
}

function textOf(error: unknown): string {
  return error instanceof Error ? error.message : String(error);
}

async function run(request: Exclude<Request, { stop: number }>): Promise<Answer> {
  const { id } = request;
  const pace = new Pace(id);
  switch (request.task) {
    case "load": return { id, given: await load(request.taken, pace) };
    case "compare": return { id, given: await compare(request.taken) };
    case "turn": return { id, given: await turn(request.taken) };
    case "example": return { id, given: await example(request.taken) };
    case "scores": return { id, given: await scores(request.taken, pace) };
  }
}

scope.onmessage = ({ data }): void => {
  if ("stop" in data) {
    stopped.add(data.stop);
    return;
  }
  void run(data)
    .catch((error: unknown): Answer =>
      error instanceof Stopped ? { id: data.id, stopped: true } : { id: data.id, fault: textOf(error) })
    .then((answer) => scope.postMessage(answer));
};
