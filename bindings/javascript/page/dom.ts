/** Making and finding elements. */

type Child = Node | string;
type Attributes = Record<string, string | number | boolean>;

function build<Made extends Element>(made: Made, attributes: Attributes, children: Child[]): Made {
  for (const [name, value] of Object.entries(attributes)) {
    if (value !== false) made.setAttribute(name, value === true ? "" : String(value));
  }
  made.append(...children);
  return made;
}

export function html<Tag extends keyof HTMLElementTagNameMap>(
  tag: Tag,
  attributes: Attributes = {},
  ...children: Child[]
): HTMLElementTagNameMap[Tag] {
  return build(document.createElement(tag), attributes, children);
}

export function svg<Tag extends keyof SVGElementTagNameMap>(
  tag: Tag,
  attributes: Attributes = {},
  ...children: Child[]
): SVGElementTagNameMap[Tag] {
  return build(document.createElementNS("http://www.w3.org/2000/svg", tag), attributes, children);
}

export function button(label: string, onClick: () => void, attributes: Attributes = {}): HTMLButtonElement {
  const made = html("button", { type: "button", ...attributes }, label);
  made.addEventListener("click", onClick);
  return made;
}

/** A table of texts and numbers; the first cell of each row heads it. */
export function table(caption: string, head: string[], rows: (string | number)[][]): HTMLTableElement {
  const row = (cells: (string | number)[]): HTMLTableRowElement =>
    html("tr", {}, ...cells.map((cell, i) =>
      html(i === 0 ? "th" : "td", i === 0 ? { scope: "row" } : {}, String(cell))));
  return html("table", {},
    html("caption", {}, caption),
    html("thead", {}, html("tr", {}, ...head.map((cell) => html("th", { scope: "col" }, cell)))),
    html("tbody", {}, ...rows.map(row)));
}

/** The element of that id, which the page has. */
export function byId<Made extends HTMLElement>(id: string): Made {
  const found = document.getElementById(id);
  if (found === null) throw new Error(`no element ${id}`);
  return found as Made;
}
