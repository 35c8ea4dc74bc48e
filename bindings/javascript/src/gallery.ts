import { dispose, Lease } from "./disposable.js";
import type { Library } from "./library.js";

/** A template, or null for a place that is empty, so that indices can be those of a
 * table of the caller's. */
export type Candidate = Uint8Array | null;

/** Throws a TypeError unless it is bytes. */
export function requireBytes(value: unknown, what: string): Uint8Array {
  if (value instanceof Uint8Array) return value;
  throw new TypeError(`${what} must be a Uint8Array`);
}

/**
 * Candidates of an identification, copied into the library's memory once and searched
 * any number of times. `Matcher.gallery` makes one; it serves all matchers of its form.
 * It holds as many bytes as the templates have, and 8 for each, until it is disposed of.
 */
export class Gallery {
  /** How many candidates there are, empty places among them. */
  readonly length: number;
  /** @internal */
  readonly library: Library;
  readonly #lease: Lease;
  readonly #pointers: number;
  readonly #sizes: number;

  /** @internal */
  constructor(library: Library, candidates: Iterable<Candidate>) {
    const list = Array.from(candidates, (each, index) =>
      each === null ? null : requireBytes(each, `candidate ${index}`),
    );
    const total = list.reduce((sum, each) => sum + (each?.length ?? 0), 0);
    this.library = library;
    this.length = list.length;
    const [bytes, pointers, sizes] = library.with("making a gallery", (scratch) => {
      const rooms = [scratch.room(total), scratch.room(4 * list.length), scratch.room(4 * list.length)];
      scratch.release(); // the lease frees them
      return rooms as [number, number, number];
    });
    const memory = new Uint8Array(library.exports.memory.buffer);
    const words = new DataView(library.exports.memory.buffer);
    let next = bytes;
    list.forEach((each, index) => {
      words.setUint32(pointers + 4 * index, each === null ? 0 : next, true);
      words.setInt32(sizes + 4 * index, each?.length ?? 0, true);
      if (each === null) return;
      memory.set(each, next);
      next += each.length;
    });
    this.#pointers = pointers;
    this.#sizes = sizes;
    this.#lease = new Lease(this, library, ({ exports }) => {
      for (const address of [bytes, pointers, sizes]) exports.free(address);
    });
  }

  /** Where the tables are. @internal */
  tables(): readonly [pointers: number, sizes: number] {
    if (!this.#lease.open) throw new Error("the gallery is disposed of");
    return [this.#pointers, this.#sizes];
  }

  /** Frees its memory; a second time does nothing. */
  dispose(): void {
    this.#lease.end();
  }

  [dispose](): void {
    this.dispose();
  }
}
