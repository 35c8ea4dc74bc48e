/** The scores of a set: who scores what with whom, and how often which score comes up. */
import { THRESHOLDS } from "../src/constants.js";
import { scoreText } from "./comparison.js";
import { button, html, svg, table } from "./dom.js";
import { save } from "./files.js";
import type { Row, Template } from "./protocol.js";

/** The finger of a file named FINGER_IMPRESSION.EXT, in its folder; else the whole name. */
export function fingerOf(name: string): string {
  return /^(.*)_[^_/]*$/.exec(name.replace(/\.[^./]*$/, ""))?.[1] ?? name;
}

type Kind = "genuine" | "impostor";

interface Counts {
  comparisons: number;
  matches: number;
}

const BINS = 40;
const SMALLEST = 4; // pixels of a cell
const LARGEST = 24;

export class ScoreSet {
  readonly element = html("div");
  readonly #templates: readonly Template[];
  readonly #scores: Int16Array[];
  readonly #fingers: string[];
  readonly #onPair: (probe: number, candidate: number) => void;
  readonly #canvas = html("canvas", {
    tabindex: 0, role: "application", "aria-roledescription": "score matrix", "aria-describedby": "matrix-help",
  });
  readonly #cell = html("p", { role: "status", id: "cell" });
  readonly #summary = html("div", { id: "summary" });
  #level: number;
  #at: [number, number] = [0, 1];

  constructor(
    templates: readonly Template[],
    level: number,
    onPair: (probe: number, candidate: number) => void,
  ) {
    this.#templates = templates;
    this.#level = level;
    this.#onPair = onPair;
    this.#scores = templates.map(() => new Int16Array(templates.length).fill(-1));
    this.#fingers = templates.map(({ name }) => fingerOf(name));
    this.#canvas.setAttribute("aria-label", `Scores of ${templates.length} templates with each other`);
    this.#canvas.addEventListener("keydown", (event) => this.#move(event));
    this.#canvas.addEventListener("click", (event) => this.#point(event, true));
    this.#canvas.addEventListener("mousemove", (event) => this.#point(event, false));
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => this.#draw());
    this.element.append(
      html("p", { id: "matrix-help" }, "Rows are probes, columns are candidates, in the order of " +
        "their names. Point, or use the arrow keys, to read a score; click or press Enter to see the pair."),
      this.#canvas, this.#cell,
      html("p", { class: "legend" }, ...(["hit", "miss", "false-hit", "low"] as const).flatMap((kind) => [
        html("span", { class: `swatch ${kind}` }), ` ${labels[kind]} `])),
      this.#summary,
      button("Save scores as CSV", () => save("scores.csv", this.csv())));
  }

  add(rows: readonly Row[]): void {
    for (const { probe, points } of rows) this.#scores[probe] = points;
  }

  set level(level: number) {
    this.#level = level;
    this.show();
  }

  show(): void {
    this.#draw();
    this.#tell();
    this.#summary.replaceChildren(...this.#statistics());
  }

  csv(): string {
    const quoted = (text: string): string => `"${text.replaceAll('"', '""')}"`;
    const lines = this.#pairs().map(([probe, candidate, kind, points]) => {
      const names = [probe, candidate].map((each) => quoted(this.#templates[each]?.name ?? ""));
      return `${names.join(",")},${kind},${scoreText(points)}`;
    });
    return ["probe,candidate,kind,score", ...lines, ""].join("\n");
  }

  #kind(probe: number, candidate: number): Kind {
    return this.#fingers[probe] === this.#fingers[candidate] ? "genuine" : "impostor";
  }

  #pairs(): [number, number, Kind, number][] {
    return this.#scores.flatMap((row, probe) => Array.from(row).flatMap((points, candidate) =>
      points < 0 ? [] : [[probe, candidate, this.#kind(probe, candidate), points] as [number, number, Kind, number]]));
  }

  get #threshold(): number {
    const type = this.#templates[0]?.type;
    return type === undefined ? 0 : (THRESHOLDS[type][this.#level - 1] ?? 0);
  }

  get #side(): number {
    return Math.max(SMALLEST, Math.min(LARGEST, Math.floor(720 / this.#templates.length)));
  }

  #draw(): void {
    const [count, side] = [this.#templates.length, this.#side];
    const style = getComputedStyle(document.documentElement);
    const color = (name: string): string => style.getPropertyValue(`--${name}`);
    this.#canvas.width = this.#canvas.height = count * side;
    const context = this.#canvas.getContext("2d");
    if (context === null) return;
    context.fillStyle = color("paper");
    context.fillRect(0, 0, count * side, count * side);
    for (const [probe, candidate, kind, points] of this.#pairs()) {
      const matched = points >= this.#threshold;
      if (points === 0 && kind === "impostor") continue;
      const name = kind === "genuine" ? (matched ? "hit" : "miss") : matched ? "false-hit" : "low";
      context.globalAlpha = matched || kind === "genuine" ? 1 : 0.25 + (0.75 * points) / this.#threshold;
      context.fillStyle = color(name);
      context.fillRect(candidate * side, probe * side, side, side);
    }
    context.globalAlpha = 1;
    context.strokeStyle = color("ink");
    context.lineWidth = 2;
    context.strokeRect(this.#at[1] * side, this.#at[0] * side, side, side);
  }

  #tell(): void {
    const [probe, candidate] = this.#at;
    const points = this.#scores[probe]?.[candidate] ?? -1;
    const names = `${this.#templates[probe]?.name} with ${this.#templates[candidate]?.name}`;
    const what = points < 0
      ? (probe === candidate ? "the same template" : "not compared")
      : `${scoreText(points)}, ${points >= this.#threshold ? "match" : "no match"}, ${this.#kind(probe, candidate)}`;
    this.#cell.textContent = `${names}: ${what}`;
  }

  #goTo(probe: number, candidate: number): void {
    const last = this.#templates.length - 1;
    this.#at = [Math.max(0, Math.min(last, probe)), Math.max(0, Math.min(last, candidate))];
    this.#draw();
    this.#tell();
  }

  #move(event: KeyboardEvent): void {
    const [probe, candidate] = this.#at;
    const last = this.#templates.length - 1;
    const targets: Record<string, [number, number]> = {
      ArrowUp: [probe - 1, candidate], ArrowDown: [probe + 1, candidate],
      ArrowLeft: [probe, candidate - 1], ArrowRight: [probe, candidate + 1],
      Home: [probe, 0], End: [probe, last], PageUp: [0, candidate], PageDown: [last, candidate],
    };
    const target = targets[event.key];
    if (target !== undefined) this.#goTo(...target);
    else if (event.key === "Enter") this.#open();
    else return;
    event.preventDefault();
  }

  #point(event: MouseEvent, open: boolean): void {
    const box = this.#canvas.getBoundingClientRect();
    const cell = box.width / this.#templates.length;
    this.#goTo(Math.floor((event.clientY - box.top) / cell), Math.floor((event.clientX - box.left) / cell));
    if (open) this.#open();
  }

  #open(): void {
    const [probe, candidate] = this.#at;
    if (probe !== candidate) this.#onPair(probe, candidate);
  }

  #statistics(): HTMLElement[] {
    const counts: Record<Kind, Counts> = {
      genuine: { comparisons: 0, matches: 0 }, impostor: { comparisons: 0, matches: 0 },
    };
    const points: Record<Kind, number[]> = { genuine: [], impostor: [] };
    for (const [, , kind, score] of this.#pairs()) {
      counts[kind].comparisons++;
      if (score >= this.#threshold) counts[kind].matches++;
      points[kind].push(score);
    }
    const share = (part: number, all: number): string => (all === 0 ? "–" : `${((100 * part) / all).toFixed(2)} %`);
    const { genuine, impostor } = counts;
    const misses = genuine.comparisons - genuine.matches;
    return [
      html("div", { class: "scroll" }, table(`At level ${this.#level}, threshold ${scoreText(this.#threshold)}`,
        ["Comparisons", "Number", "Matches", "Error rate"], [
          ["Genuine", genuine.comparisons, genuine.matches, `FNMR ${share(misses, genuine.comparisons)}`],
          ["Impostor", impostor.comparisons, impostor.matches, `FMR ${share(impostor.matches, impostor.comparisons)}`],
        ])),
      html("div", { class: "row histograms" }, ...(["genuine", "impostor"] as const).map((kind) =>
        histogram(kind, points[kind], Math.max(100, ...points.genuine, ...points.impostor), this.#threshold))),
    ];
  }
}

const labels = {
  hit: "same finger, match", miss: "same finger, no match",
  "false-hit": "other finger, match", low: "other finger, no match",
} as const;

/** Heights are logarithms, or the few would not be seen beside the many. */
function histogram(kind: Kind, points: readonly number[], most: number, threshold: number): HTMLElement {
  const [width, height, foot] = [360, 130, 18];
  const counts = new Array<number>(BINS).fill(0);
  const binOf = (each: number): number => Math.min(BINS - 1, Math.floor((each * BINS) / (most + 1)));
  for (const each of points) counts[binOf(each)] = (counts[binOf(each)] ?? 0) + 1;
  const tallest = Math.max(1, ...counts);
  const bars = counts.map((count, bin) => {
    const tall = (height * Math.log1p(count)) / Math.log1p(tallest);
    return svg("rect", {
      class: kind, x: (bin * width) / BINS, y: height - tall, width: width / BINS - 1, height: tall,
    });
  });
  const at = (threshold * width) / (most + 1);
  const title = `${kind === "genuine" ? "Genuine" : "Impostor"} scores`;
  const filled = counts.flatMap((count, bin) =>
    count === 0 ? [] : [[`${scoreText(Math.ceil((bin * (most + 1)) / BINS))} and up`, count]]);
  return html("figure", {},
    html("figcaption", {}, `${title}: ${points.length}, at most ${tallest} in a bar; heights are logarithms`),
    svg("svg", {
      viewBox: `0 0 ${width} ${height + foot}`, role: "img", "aria-label": `${title}; the same as a table below`,
    }, ...bars,
      svg("line", { class: "threshold", x1: at, x2: at, y1: 0, y2: height }),
      svg("line", { class: "axis", x1: 0, x2: width, y1: height, y2: height }),
      svg("text", { x: 0, y: height + 14 }, "0"),
      svg("text", { x: width, y: height + 14, "text-anchor": "end" }, scoreText(most)),
      svg("text", { x: at + 3, y: 11 }, "threshold")),
    html("details", {}, html("summary", {}, `${title} as a table`),
      table(title, ["Score", "Number"], filled)));
}
