/** What the page and its worker say to each other. */
import type { TemplateType } from "../src/constants.js";
import type { Explained, Image, Told } from "./inside.js";

/** A file, as it came. */
export interface NamedBytes {
  name: string;
  bytes: Uint8Array;
}

/** A template that the library takes. */
export interface Template extends NamedBytes {
  type: TemplateType;
  told: Told;
  /** Of a record of a form that the matcher does not compare: what it was, and what was
   * lost when it was converted. */
  converted: string | null;
}

/** What files without a header are to be read as; form 0: as templates. */
export interface Headerless extends Image {
  form: number;
}

export interface Comparison {
  points: number;
  explained: Explained;
  /** What vxm-explain prints. */
  text: string;
}

/** Scores of templates with each other; those that are missing, with themselves, are -1. */
export interface Row {
  probe: number;
  points: Int16Array;
}

/** The tasks of the worker: what each takes and gives. */
export interface Tasks {
  /** Templates, or of each file why it is none. */
  load(files: { files: NamedBytes[]; headerless: Headerless }): (Template | { name: string; fault: string })[];
  compare(pair: [Template, Template]): Comparison;
  turn(template: Template): Template;
  /** A record in another form, and what is lost by that. */
  convert(wish: { template: Template; form: number }): { bytes: Uint8Array; losses: string[] };
  /** Made templates to try the page with. */
  example(kind: "pair" | "strangers" | "set"): NamedBytes[];
  /** Every template with every other; the rows come as progress. */
  scores(templates: Template[]): null;
}

export type TaskName = keyof Tasks;
export type Taken<Name extends TaskName> = Parameters<Tasks[Name]>[0];
export type Given<Name extends TaskName> = ReturnType<Tasks[Name]>;

export interface Progress {
  done: number;
  total: number;
  rows: Row[];
}

export type Request = { [Name in TaskName]: { id: number; task: Name; taken: Taken<Name> } }[TaskName]
  | { stop: number };

export type Answer =
  | { id: number; given: Given<TaskName> }
  | { id: number; fault: string }
  | { id: number; progress: Progress };
