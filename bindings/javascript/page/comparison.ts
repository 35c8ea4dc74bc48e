/** What is told about one template or two. */
import { THRESHOLDS } from "../src/constants.js";
import { button, html, table } from "./dom.js";
import { save } from "./files.js";
import { type Form, formOf, FORMS } from "./forms.js";
import { minutiaTable, picture } from "./picture.js";
import type { Comparison, Template } from "./protocol.js";

export interface CardActions {
  onTurn(): void;
  onConvert(form: Form): void;
  onRemove(): void;
}

const WIDE = 640; // pixels, from which two templates stand side by side

export const scoreText = (points: number): string => (points / 10000).toFixed(4);

function facts({ told }: Template): string {
  const { format, size, minutiae, held, width, height, attribute, recordForm } = told;
  const used = held === minutiae.length ? "" : ` (of ${held} in the file)`;
  const area = told.orientation === null
    ? `image of ${width} × ${height} pixels`
    : `grid of ${width} × ${height} blocks, ${recordForm}`;
  return `${format}, ${size} bytes, ${minutiae.length} minutiae${used}, ${area}, attribute ${attribute}`;
}

/** A choice of forms, and the button that converts into it and saves. */
function conversion(template: Template, actions: CardActions): HTMLElement[] {
  const own = formOf(template.type);
  if (own === null) return [];
  const forms = FORMS.filter(({ id }) => id !== own);
  const choice = html("select", { "aria-label": `Form to convert ${template.name} into` },
    ...forms.map(({ name }) => html("option", {}, name)));
  return [choice, button("Convert and save", () => actions.onConvert(forms[choice.selectedIndex] as Form),
    { "aria-label": `Convert and save ${template.name}` })];
}

/** A template's name, facts and buttons. */
export function card(template: Template, role: string, actions: CardActions): HTMLElement {
  const { name } = template;
  const named = (label: string): { "aria-label": string } => ({ "aria-label": `${label} ${name}` });
  return html("section", { class: "card", "aria-label": `${role}: ${name}` },
    html("h3", {}, `${role}: ${name}`),
    html("p", {}, facts(template)),
    ...(template.converted === null ? [] : [html("p", { class: "converted" }, template.converted)]),
    html("div", { class: "row" },
      button("Turn by 180°", actions.onTurn, named("Turn by 180°")),
      button("Save", () => save(name, template.bytes as BlobPart), named("Save")),
      button("Remove", actions.onRemove, named("Remove")),
      ...conversion(template, actions)));
}

/** The drawing, laid out anew when there is more or less room. */
export function drawing(templates: readonly Template[], comparison: Comparison | null): HTMLElement {
  const frame = html("div", { class: "drawing" });
  let wide: boolean | null = null;
  new ResizeObserver(([entry]) => {
    const now = (entry?.contentRect.width ?? WIDE) >= WIDE;
    if (now === wide) return;
    wide = now;
    frame.replaceChildren(picture(templates, comparison?.explained.firstPass ?? null, wide));
  }).observe(frame);
  return frame;
}

export function legend(templates: readonly Template[], paired: boolean): HTMLElement {
  const native = templates.some(({ told }) => told.orientation !== null);
  return html("p", { class: "legend" }, [
    "circle: ridge ending", "square: bifurcation",
    ...(native ? ["fuller: better quality", "grey lines: ridges"] : []),
    ...(paired ? ["pale: without a mate", "dashed: the two seeds of the alignment"] : []),
  ].join(" · "));
}

/** Score, levels and alignment. */
export function verdict(type: Template["type"], comparison: Comparison, level: number): HTMLElement {
  const { points, explained } = comparison;
  const threshold = THRESHOLDS[type][level - 1] ?? 0;
  const matched = points >= threshold;
  const pass = explained.firstPass;
  const blocks = pass?.orientation;
  const lines = [`Score ${scoreText(points)}, threshold ${scoreText(threshold)} at level ${level}.`];
  if (pass === null) {
    lines.push("No alignment was found.");
  } else {
    const rotation = ((pass.rotation + 180) % 360) - 180;
    lines.push(`${pass.pairs.length} pairs; the probe turned by ${rotation}°, shifted by ` +
      `(${pass.dx}, ${pass.dy}) pixels.`);
    if (blocks) lines.push(`Ridges agree in ${blocks.agreeingBlocks} of ${blocks.overlapBlocks} blocks.`);
  }
  return html("div", { class: matched ? "verdict match" : "verdict" },
    html("p", { class: "decision" }, matched ? "Match" : "No match"),
    ...lines.map((line) => html("p", {}, line)),
    table("Threshold of each level", ["Level", ...THRESHOLDS[type].map((_, i) => String(i + 1))], [
      ["Threshold", ...THRESHOLDS[type].map(scoreText)],
      ["Decision", ...THRESHOLDS[type].map((each) => (points >= each ? "match" : "no match"))],
    ]));
}

/** What vxm-explain tells, and the minutiae as tables. */
export function details(templates: readonly Template[], comparison: Comparison | null): HTMLElement[] {
  const pairs = comparison?.explained.firstPass?.pairs ?? [];
  const tables = templates.map((template, i) => {
    const mates = new Map(pairs.map((pair) =>
      i === 0 ? [pair.probe, pair.reference] : [pair.reference, pair.probe]));
    return html("details", {},
      html("summary", {}, `Minutiae of ${template.name}`),
      html("div", { class: "scroll", tabindex: 0 }, minutiaTable(template, mates)));
  });
  if (comparison === null) return tables;
  const explanation = html("details", { open: true },
    html("summary", {}, "Explanation, stage by stage"),
    html("pre", { id: "explanation", tabindex: 0 }, comparison.text));
  return [explanation, ...tables];
}
