/** The page's worker: everything that computes. One task runs at a time. */
import { TemplateType } from "../src/constants.js";
import { Matcher } from "../src/matcher.js";
import { detectType } from "../src/template_format.js";
import { comparable, formOf } from "./forms.js";
import { type Converted, Inside, type Making } from "./inside.js";
import type { Answer, Comparison, Given, Headerless, NamedBytes, Progress, Request, Taken, Template } from "./protocol.js";

interface Scope {
  onmessage: ((event: MessageEvent<Request>) => void) | null;
  postMessage(answer: Answer): void;
}

type Loaded = Template | { name: string; fault: string };

const scope = self as unknown as Scope;
const MOST_BYTES = 65535; // of a file that can be a template
const USUAL_RESOLUTION = 197; // pixels per centimetre: 500 dpi
const AS_TEMPLATES: Headerless = { form: 0, width: 0, height: 0, resolution: 0 };
const TICK = 40; // milliseconds between two looks at the messages

const inside = Inside.start();
const matcher = Matcher.create({ securityLevel: 1 });
const stopped = new Set<number>();

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
    if (stopped.has(this.id)) throw new Error("stopped");
    this.#last = performance.now();
  }
}

/** Records of later forms and of forms without a header, as one that the matcher
 * compares: their first view, at the resolution of the matcher. */
function comparableRecord(using: Inside, bytes: Uint8Array, headerless: Headerless): Converted | null {
  const form = using.tellForm(bytes) || headerless.form;
  const wanted = comparable(form);
  if (wanted === null) return null;
  return using.convert(bytes, { form, wanted, image: headerless, view: 0, resolution: USUAL_RESOLUTION });
}

async function loadOne({ name, bytes }: NamedBytes, headerless: Headerless): Promise<Loaded> {
  if (bytes.length > MOST_BYTES) return { name, fault: `has more than ${MOST_BYTES} bytes` };
  const using = await inside;
  const record = comparableRecord(using, bytes, headerless);
  const taken = record?.bytes ?? bytes;
  const told = using.tell(name, taken);
  if ("fault" in told) return { name, fault: told.fault };
  const type = detectType(taken);
  const taking = await matcher;
  taking.templateType = type;
  taking.verify(taken, taken);
  const converted = record === null ? null : [`converted from ${record.from}`, ...record.losses].join(", ");
  return { name, bytes: taken, type, told, converted };
}

async function load({ files, headerless }: Taken<"load">, pace: Pace): Promise<Loaded[]> {
  const loaded: Loaded[] = [];
  for (const file of files) {
    loaded.push(await loadOne(file, headerless).catch((error: unknown) =>
      ({ name: file.name, fault: textOf(error) })));
    await pace.beat(() => ({ done: loaded.length, total: files.length, rows: [] }));
  }
  return loaded;
}

async function convert({ template, form: wanted }: Taken<"convert">): Promise<Given<"convert">> {
  const form = formOf(template.type);
  if (form === null) throw new Error("a native template is no record that can be converted");
  const image = { width: 0, height: 0, resolution: 0 };
  return (await inside).convert(template.bytes, { form, wanted, image, view: -1, resolution: 0 });
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
  const turned = await loadOne({ name: nameOfTurned(template.name), bytes }, AS_TEMPLATES);
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
    case "convert": return { id, given: await convert(request.taken) };
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
    .catch((error: unknown): Answer => ({ id: data.id, fault: textOf(error) })) // of a stopped one nobody waits
    .then((answer) => scope.postMessage(answer));
};
