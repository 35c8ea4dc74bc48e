/** Memory of the library that JavaScript objects stand for. */
import type { Library } from "./library.js";

/** What `using` looks for; engines that do not know it yet are given the same name that
 * compilers give it. */
export const dispose: typeof Symbol.dispose = Symbol.dispose ?? Symbol.for("Symbol.dispose");

interface Held {
  readonly library: Library;
  readonly free: (library: Library) => void;
}

const forgotten = new FinalizationRegistry<Held>((held) => held.free(held.library));

/** Frees memory once: when the owner is disposed of, or some time after it was
 * forgotten. `free` must not lead to the owner. */
export class Lease {
  #held: Held | null;

  constructor(owner: object, library: Library, free: (library: Library) => void) {
    this.#held = { library, free };
    forgotten.register(owner, this.#held, this);
  }

  get open(): boolean {
    return this.#held !== null;
  }

  end(): void {
    const held = this.#held;
    if (held === null) return;
    this.#held = null;
    forgotten.unregister(this);
    held.free(held.library);
  }
}
