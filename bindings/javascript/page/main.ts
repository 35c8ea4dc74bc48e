/** The page: takes files, has them compared, shows what came out. */
import { type TemplateType } from "../src/constants.js";
import { card, details, drawing, legend, verdict } from "./comparison.js";
import { byId, html } from "./dom.js";
import { chosenFiles, droppedFiles, save } from "./files.js";
import { FORMS } from "./forms.js";
import type { Comparison, Headerless, NamedBytes, Progress, Template } from "./protocol.js";
import { ScoreSet } from "./score_set.js";
import { run, stopAll, StoppedError } from "./tasks.js";

const pairPlace = byId("pair");
const setPlace = byId("set");
const faultList = byId<HTMLUListElement>("faults");
const status = byId("status");
const progressBar = byId<HTMLProgressElement>("progress");
const stopButton = byId<HTMLButtonElement>("stop");
const levelChoice = byId<HTMLSelectElement>("level");

let pair: Template[] = [];
let comparison: Comparison | null = null;
let scoreSet: ScoreSet | null = null;
let running = 0;

const level = (): number => Number(levelChoice.value);

function showFaults(faults: readonly string[]): void {
  faultList.replaceChildren(...faults.map((text) => html("li", {}, text)));
  faultList.hidden = faults.length === 0;
}

function showProgress({ done, total }: Progress): void {
  progressBar.max = total;
  progressBar.value = done;
  const part = total === 0 ? 0 : Math.floor((10 * done) / total);
  // Screen readers are told every tenth part alone.
  if (progressBar.dataset["part"] !== String(part)) status.textContent = `${done} of ${total}`;
  progressBar.dataset["part"] = String(part);
}

/** Does what takes a while: it can be stopped, and what goes wrong is shown. The next
 * such thing stops the one before. */
async function during(what: string, body: () => Promise<string>): Promise<void> {
  stopAll();
  running++;
  status.textContent = what;
  progressBar.removeAttribute("value");
  progressBar.hidden = stopButton.hidden = false;
  let end = "";
  try {
    end = await body();
  } catch (error) {
    end = error instanceof StoppedError ? `${what}: stopped` : `${what}: failed`;
    if (!(error instanceof StoppedError)) showFaults([error instanceof Error ? error.message : String(error)]);
  }
  running--;
  if (running > 0) return;
  progressBar.hidden = stopButton.hidden = true;
  status.textContent = end;
}

// ---- One template or two

function showPair(): void {
  if (pair.length === 0) {
    pairPlace.replaceChildren();
    return;
  }
  const [probe] = pair as [Template];
  const roles = pair.length === 1 ? ["Template"] : ["Probe", "Candidate"];
  const cards = pair.map((template, i) => card(template, roles[i] as string, {
    onTurn: () => void during(`Turning ${template.name}`, async () => {
      pair = pair.with(i, await run("turn", template));
      return comparePair();
    }),
    onConvert: (form) => void during(`Converting ${template.name}`, async () => {
      const { bytes, losses } = await run("convert", { template, form: form.id });
      save(template.name.replace(/(\.[^./]*)?$/, form.suffix), bytes as BlobPart);
      return `Saved as ${form.name}${losses.length === 0 ? ", nothing lost" : `: ${losses.join(", ")}`}`;
    }),
    onRemove: () => {
      pair = pair.filter((_, index) => index !== i);
      void during("Comparing", comparePair);
    },
  }));
  pairPlace.replaceChildren(
    html("h2", { tabindex: -1 }, pair.length === 1 ? "Template" : "Comparison"),
    ...(comparison === null ? [] : [verdict(probe.type, comparison, level())]),
    drawing(pair, comparison),
    legend(pair, comparison?.explained.firstPass != null),
    html("div", { class: "row cards" }, ...cards),
    ...details(pair, comparison));
}

async function comparePair(): Promise<string> {
  comparison = null;
  const [probe, candidate] = pair;
  if (probe !== undefined && candidate !== undefined) {
    if (probe.type === candidate.type) {
      comparison = await run("compare", [probe, candidate]);
    } else {
      showFaults(["Templates of different formats cannot be compared: " +
        [probe, candidate].map(({ name, told }) => `${name} is ${told.format}`).join(", ")]);
    }
  }
  showPair();
  if (pair.length === 0) return "Nothing is loaded";
  return comparison === null ? "Shown" : `Compared: ${pairPlace.querySelector(".decision")?.textContent}`;
}

/** Two come as a pair; one comes beside the one that is there. */
function place(templates: readonly Template[]): void {
  pair = templates.length === 2 ? [...templates] : [...pair.slice(0, 1), ...templates];
}

// ---- A set

/** Those of the format that most are of. */
function ofOneFormat(templates: readonly Template[]): Template[] {
  const counts = new Map<TemplateType, number>();
  for (const { type } of templates) counts.set(type, (counts.get(type) ?? 0) + 1);
  const most = Math.max(...counts.values());
  const [type] = [...counts].find(([, count]) => count === most) ?? [];
  return templates.filter((each) => each.type === type);
}

async function compareSet(templates: readonly Template[], faults: string[]): Promise<string> {
  const taken = ofOneFormat(templates);
  if (taken.length < templates.length) {
    const format = taken[0]?.told.format ?? "";
    faults.push(`${templates.length - taken.length} templates of other formats than ${format} are left out`);
    showFaults(faults);
  }
  const made = new ScoreSet(taken, level(), (probe, candidate) => {
    pair = [taken[probe] as Template, taken[candidate] as Template];
    void during("Comparing", async () => {
      const end = await comparePair();
      pairPlace.querySelector("h2")?.focus();
      return end;
    });
  });
  scoreSet = made;
  setPlace.replaceChildren(html("h2", {}, `Set of ${taken.length} templates`), made.element);
  try {
    await run("scores", taken, (progress) => {
      made.add(progress.rows);
      showProgress(progress);
    });
  } finally {
    made.show(); // what there is of it
  }
  return `${taken.length * (taken.length - 1)} comparisons made`;
}

// ---- Files

/** What the page says that files without a header are. */
function headerless(): Headerless {
  const number = (id: string): number => Math.min(65535, Number(byId<HTMLInputElement>(id).value) || 0);
  return {
    form: Number(byId<HTMLSelectElement>("headerless").value), width: number("image-width"),
    height: number("image-height"), resolution: number("image-resolution"),
  };
}

async function receive(files: NamedBytes[], asSet: boolean): Promise<void> {
  await during("Reading files", async () => {
    showFaults([]);
    const loaded = await run("load", { files, headerless: headerless() }, showProgress);
    const templates = loaded.filter((each): each is Template => "told" in each);
    const faults = loaded.flatMap((each) => ("fault" in each ? [`${each.name}: ${each.fault}`] : []));
    showFaults(faults);
    if (templates.length === 0) return files.length === 0 ? "No files" : "No template among the files";
    if (asSet || templates.length > 2) return compareSet(templates, faults);
    place(templates);
    return comparePair();
  });
}

function takeFrom(input: HTMLInputElement, asSet: boolean): void {
  input.addEventListener("change", () => {
    if (input.files === null) return;
    void chosenFiles(input.files).then((files) => receive(files, asSet)).finally(() => (input.value = ""));
  });
}

byId("headerless").append(...FORMS.filter((form) => form.headerless).map(({ id, name }) =>
  html("option", { value: id }, name)));
for (const kind of ["pair", "strangers", "set"] as const) {
  byId(`example-${kind}`).addEventListener("click", () => {
    void run("example", kind).then((files) => receive(files, kind === "set"), (error: unknown) => {
      if (!(error instanceof StoppedError)) throw error;
    });
  });
}

takeFrom(byId<HTMLInputElement>("files"), false);
takeFrom(byId<HTMLInputElement>("folder"), true);
stopButton.addEventListener("click", stopAll);
levelChoice.addEventListener("change", () => {
  showPair();
  if (scoreSet !== null) scoreSet.level = level();
});
document.addEventListener("dragover", (event) => {
  event.preventDefault();
  document.body.classList.add("dropping");
});
for (const end of ["dragleave", "drop"] as const) {
  document.addEventListener(end, () => document.body.classList.remove("dropping"));
}
document.addEventListener("drop", (event) => {
  event.preventDefault();
  if (event.dataTransfer === null) return;
  void droppedFiles(event.dataTransfer).then(({ files, folder }) => receive(files, folder));
});
status.textContent = "Ready";
