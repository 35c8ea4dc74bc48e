/** Drawings of templates: minutiae with their directions, ridges, and who is paired with
 * whom. Colours are the style sheet's. */
import { svg, table } from "./dom.js";
import type { Minutia, Pass } from "./inside.js";
import type { Template } from "./protocol.js";

const BLOCK = 16; // pixels
const TAIL = 13; // length of a minutia's direction, pixels
const GAP = 24; // between two templates, pixels
const HEAD = 22; // room for a name, pixels

interface Extent {
  left: number;
  top: number;
  width: number;
  height: number;
}

/** What is to be seen: the grid, or all minutiae. */
function extentOf({ told }: Template): Extent {
  const { orientation, minutiae } = told;
  if (orientation !== null) {
    return {
      left: 0, top: 0, width: (orientation[0]?.length ?? 0) * BLOCK, height: orientation.length * BLOCK,
    };
  }
  const xs = minutiae.map((each) => each.x);
  const ys = minutiae.map((each) => each.y);
  const left = Math.min(...xs, Infinity) - BLOCK;
  const top = Math.min(...ys, Infinity) - BLOCK;
  if (minutiae.length === 0) return { left: 0, top: 0, width: 8 * BLOCK, height: 8 * BLOCK };
  return {
    left, top, width: Math.max(...xs) + BLOCK - left, height: Math.max(...ys) + BLOCK - top,
  };
}

/** The end of a line from a point. */
function towards(x: number, y: number, degrees: number, length: number): [number, number] {
  const way = (degrees * Math.PI) / 180;
  return [x + length * Math.cos(way), y + length * Math.sin(way)];
}

/** A line along the ridges in the middle of each block that has any. */
function ridges(orientation: (number | null)[][]): SVGElement {
  const half = 0.38 * BLOCK;
  const lines = orientation.flatMap((blocks, row) => blocks.map((degrees, column) => {
    if (degrees === null) return "";
    const [x, y] = [(column + 0.5) * BLOCK, (row + 0.5) * BLOCK];
    const [x1, y1] = towards(x, y, degrees, -half);
    const [x2, y2] = towards(x, y, degrees, half);
    return `M${x1.toFixed(1)} ${y1.toFixed(1)}L${x2.toFixed(1)} ${y2.toFixed(1)}`;
  }));
  return svg("path", { class: "ridges", d: lines.join("") });
}

/** A circle for a ridge ending, a square for a bifurcation, a diamond for the rest; the
 * better its quality, the fuller. */
function mark({ x, y, type, quality }: Minutia): SVGElement {
  const fill = { "fill-opacity": ((quality ?? 127) / 127).toFixed(2) };
  if (type === 0) return svg("circle", { cx: x, cy: y, r: 3.4, ...fill });
  const square = { x: x - 3.2, y: y - 3.2, width: 6.4, height: 6.4, ...fill };
  return svg("rect", type === 1 ? square : { ...square, transform: `rotate(45 ${x} ${y})` });
}

/** `numbers` are those of the minutiae that have a mate; the others are pale. */
function minutiae(template: Template, numbers: ReadonlyMap<number, number> | null): SVGElement[] {
  return template.told.minutiae.map((each, index) => {
    const number = numbers?.get(index);
    const [x2, y2] = towards(each.x, each.y, each.direction, TAIL);
    const group = svg("g", { class: numbers === null || number !== undefined ? "minutia" : "minutia alone" },
      svg("line", { x1: each.x, y1: each.y, x2: x2.toFixed(1), y2: y2.toFixed(1) }), mark(each));
    if (number !== undefined) group.append(svg("text", { x: each.x - 5, y: each.y - 5 }, String(number)));
    return group;
  });
}

/** The drawing of one template or two; wide: side by side. */
export function picture(templates: readonly Template[], pass: Pass | null, wide: boolean): SVGSVGElement {
  const extents = templates.map(extentOf);
  const boxes = extents.map((extent, i) => {
    const before = i === 0 ? null : (extents[0] as Extent);
    const x = before === null || !wide ? 0 : before.width + GAP;
    const y = HEAD + (before === null || wide ? 0 : before.height + GAP + HEAD);
    return { ...extent, x, y };
  });
  const width = Math.max(...boxes.map((box) => box.x + box.width));
  const height = Math.max(...boxes.map((box) => box.y + box.height));
  const made = svg("svg", {
    viewBox: `-2 0 ${width + 4} ${height + 2}`, class: "picture", role: "img",
    "aria-label": describe(templates, pass),
  });
  const pairs = pass?.pairs ?? [];
  templates.forEach((template, i) => {
    const box = boxes[i] as (typeof boxes)[number];
    const side = i === 0 ? "probe" : "reference";
    const numbers = pass === null ? null : new Map(pairs.map((pair, n) => [pair[side], n + 1]));
    const { orientation } = template.told;
    made.append(
      svg("text", { class: "name", x: box.x, y: box.y - 7 }, template.name),
      svg("rect", { class: "frame", x: box.x, y: box.y, width: box.width, height: box.height }),
      svg("g", { transform: `translate(${box.x - box.left} ${box.y - box.top})` },
        ...(orientation === null ? [] : [ridges(orientation)]), ...minutiae(template, numbers)));
  });
  const [probe, reference] = templates;
  if (probe !== undefined && reference !== undefined) {
    const at = (i: number, { x, y }: Minutia): [number, number] => {
      const box = boxes[i] as (typeof boxes)[number];
      return [x - box.left + box.x, y - box.top + box.y];
    };
    made.append(...pairs.map((pair) => {
      const [x1, y1] = at(0, probe.told.minutiae[pair.probe] as Minutia);
      const [x2, y2] = at(1, reference.told.minutiae[pair.reference] as Minutia);
      return svg("line", { class: pair.seed ? "mates seed" : "mates", x1, y1, x2, y2 });
    }));
  }
  return made;
}

function describe(templates: readonly Template[], pass: Pass | null): string {
  const told = templates.map(({ name, told: { minutiae: all } }) => `${name}: ${all.length} minutiae`);
  if (pass !== null) told.push(`${pass.pairs.length} pairs of minutiae are connected`);
  return `${told.join("; ")}. The same as tables below.`;
}

const typeName = (type: number): string => ["ridge ending", "bifurcation"][type] ?? `type ${type}`;

/** The minutiae as a table, each with its mate's number in the other template. */
export function minutiaTable(template: Template, mates: ReadonlyMap<number, number>): HTMLTableElement {
  const { minutiae: all } = template.told;
  return table(`Minutiae of ${template.name}: pixels from the top left, degrees clockwise from the right`,
    ["Number", "x", "y", "Direction", "Type", "Quality", "Mate"],
    all.map(({ x, y, direction, type, quality }, index) =>
      [index, x, y, direction, typeName(type), quality ?? "–", mates.get(index) ?? "–"]));
}
