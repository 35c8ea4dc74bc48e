/** Files that were chosen or dropped, folders with all that is in them. */
import type { NamedBytes } from "./protocol.js";

async function read(file: File, name: string): Promise<NamedBytes> {
  return { name, bytes: new Uint8Array(await file.arrayBuffer()) };
}

/** By name, numbers in their order. */
function sorted(files: NamedBytes[]): NamedBytes[] {
  return files.sort((a, b) => a.name.localeCompare(b.name, "en", { numeric: true }));
}

const isHidden = (name: string): boolean => name.startsWith(".");

export async function chosenFiles(list: FileList): Promise<NamedBytes[]> {
  const shown = Array.from(list).filter((file) => !isHidden(file.name));
  return sorted(await Promise.all(
    shown.map((file) => read(file, file.webkitRelativePath || file.name))));
}

async function entriesOf(folder: FileSystemDirectoryEntry): Promise<FileSystemEntry[]> {
  const reader = folder.createReader();
  const all: FileSystemEntry[] = [];
  for (;;) {
    // A reader gives some at a time, and none at the end.
    const some = await new Promise<FileSystemEntry[]>((resolve, reject) =>
      reader.readEntries(resolve, reject));
    if (some.length === 0) return all;
    all.push(...some);
  }
}

async function below(entry: FileSystemEntry): Promise<NamedBytes[]> {
  if (isHidden(entry.name)) return [];
  if (entry.isDirectory) {
    const inside = await entriesOf(entry as FileSystemDirectoryEntry);
    return (await Promise.all(inside.map(below))).flat();
  }
  const file = await new Promise<File>((resolve, reject) =>
    (entry as FileSystemFileEntry).file(resolve, reject));
  return [await read(file, entry.fullPath.replace(/^\//, ""))];
}

/** What was dropped, and whether a folder was among it. */
export async function droppedFiles(
  data: DataTransfer,
): Promise<{ files: NamedBytes[]; folder: boolean }> {
  // The items are gone after the first wait.
  const entries = Array.from(data.items, (item) => item.webkitGetAsEntry()).filter((each) => each !== null);
  if (entries.length === 0) return { files: await chosenFiles(data.files), folder: false };
  const folder = entries.some((entry) => entry.isDirectory);
  return { files: sorted((await Promise.all(entries.map(below))).flat()), folder };
}

/** Hands bytes to the browser's downloads. */
export function save(name: string, bytes: BlobPart): void {
  const link = document.createElement("a");
  link.href = URL.createObjectURL(new Blob([bytes], { type: "application/octet-stream" }));
  link.download = name.slice(name.lastIndexOf("/") + 1);
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 10_000);
}
