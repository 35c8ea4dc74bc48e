/** The inside of the library, as page_entry.cpp gives it: what templates are, and why two
 * score what they score. */
import { type ModuleExports, Scratch, startModule, textAt } from "../src/wasm_module.js";
import moduleBytes from "./page.wasm";

/** Positions are in pixels from the top-left corner, x to the right and y downwards;
 * directions and orientations in degrees from the right, clockwise as it is seen. */
export interface Minutia {
  x: number;
  y: number;
  direction: number;
  /** 0 ridge ending, 1 bifurcation, others as they are. */
  type: number;
  /** 0..127, of native templates. */
  quality?: number;
}

/** A template as the engine sees it. */
export interface Told {
  file: string;
  format: string;
  minutiae: Minutia[];
  /** Of native templates: rows of blocks of 16 x 16 pixels; null: no ridges. */
  orientation: (number | null)[][] | null;
  /** Bytes. */
  size: number;
  /** Of the grid in blocks (native), of the image in pixels (others). */
  width: number;
  height: number;
  attribute: number;
  recordForm: string;
  /** Minutiae in the bytes; the engine may use fewer. */
  held: number;
}

export interface Pair {
  probe: number;
  reference: number;
  weight: number;
  seed: boolean;
}

export interface Pass {
  rotation: number;
  dx: number;
  dy: number;
  pairs: Pair[];
  score: number;
  orientation: { probeBlocks: number; overlapBlocks: number; agreeingBlocks: number } | null;
  scaledScore: number;
}

/** What `vxm-explain --json` prints, as far as the page uses it. */
export interface Explained {
  probe: Pick<Told, "minutiae" | "orientation">;
  reference: Pick<Told, "minutiae" | "orientation">;
  firstPass: Pass | null;
  secondPass: Pass | null;
  score: number;
}

/** What files without a header do not say; 0: unknown. */
export interface Image {
  width: number;
  height: number;
  /** Pixels per centimetre. */
  resolution: number;
}

export interface Conversion {
  /** Of the record that there is, and of the wanted one; see `FORMS`. */
  form: number;
  wanted: number;
  image: Image;
  /** Its index; -1: all. */
  view: number;
  /** Pixels per centimetre; 0: as it is. */
  resolution: number;
}

export interface Converted {
  bytes: Uint8Array;
  /** The name of the form that it had. */
  from: string;
  /** What the new record no longer holds, as texts. */
  losses: string[];
}

/** What a template is to be made of; see `PageMake`. */
export interface Making {
  seed: number;
  impression: number;
  type: number;
  variant?: number;
  minutiae?: number;
  areaPercent?: number;
  rotation?: number;
  turned?: boolean;
}

type Call = (...values: number[]) => number;

interface InsideExports extends ModuleExports {
  readonly PageTell: Call;
  readonly PageExplain: Call;
  readonly PageTellForm: Call;
  readonly PageConvert: Call;
  readonly PageMake: Call;
}

const MOST_BYTES = 8192; // of a made template

export class Inside {
  readonly #exports: InsideExports;
  readonly #printed: Uint8Array[];

  private constructor(exports: InsideExports, printed: Uint8Array[]) {
    this.#exports = exports;
    this.#printed = printed;
  }

  static async start(): Promise<Inside> {
    const printed: Uint8Array[] = [];
    const host = {
      onClock: (): void => {},
      onOutput: (bytes: Uint8Array): void => void printed.push(bytes.slice()),
    };
    const module = await WebAssembly.compile(moduleBytes as BufferSource);
    return new Inside(await startModule<InsideExports>(module, host), printed);
  }

  #with<Result>(body: (scratch: Scratch) => Result): Result {
    const scratch = new Scratch(this.#exports);
    try {
      return body(scratch);
    } finally {
      scratch.free();
    }
  }

  /** What a template is, or why it is none. */
  tell(name: string, bytes: Uint8Array): Told | { fault: string } {
    return this.#with((scratch) => {
      const answer = this.#exports.PageTell(...named(scratch, name, bytes));
      return JSON.parse(textAt(this.#exports, answer)) as Told | { fault: string };
    });
  }

  /** Why two valid templates of one format score what they score; the text is what
   * vxm-explain prints. */
  explain(
    probe: { name: string; bytes: Uint8Array },
    reference: { name: string; bytes: Uint8Array },
  ): { explained: Explained; text: string } {
    return this.#with((scratch) => {
      this.#printed.length = 0;
      const answer = this.#exports.PageExplain(
        ...named(scratch, probe.name, probe.bytes),
        ...named(scratch, reference.name, reference.bytes),
      );
      const decoder = new TextDecoder();
      const text = this.#printed.map((part) => decoder.decode(part, { stream: true })).join("");
      return { explained: JSON.parse(textAt(this.#exports, answer)) as Explained, text };
    });
  }

  /** The form of a record by its bytes; 0: they do not tell. */
  tellForm(bytes: Uint8Array): number {
    return this.#with((scratch) => this.#exports.PageTellForm(scratch.copy(bytes), bytes.length));
  }

  /** A record in another form. Error: why that cannot be. */
  convert(bytes: Uint8Array, { form, image, wanted, view, resolution }: Conversion): Converted {
    return this.#with((scratch) => {
      const answer = JSON.parse(textAt(this.#exports, this.#exports.PageConvert(
        scratch.copy(bytes), bytes.length, form, image.width, image.height, image.resolution, wanted,
        view, resolution,
      ))) as { fault: string } | { address: number; size: number; from: string; losses: object };
      if ("fault" in answer) throw new Error(answer.fault);
      const { address, size, from, losses } = answer;
      return {
        bytes: new Uint8Array(this.#exports.memory.buffer).slice(address, address + size),
        from,
        losses: Object.entries(losses).flatMap(([what, count]) => (count > 0 ? [`${count} ${what}`] : [])),
      };
    });
  }

  /** A made template. */
  make(making: Making): Uint8Array {
    return this.#with((scratch) => {
      const room = scratch.room(MOST_BYTES);
      const { seed, minutiae = 0, impression, areaPercent = 100, rotation = 0, type } = making;
      const turned = making.turned === true ? 1 : 0;
      const size = this.#exports.PageMake(
        seed, minutiae, impression, areaPercent, rotation, turned, type, making.variant ?? 0, room,
      );
      return new Uint8Array(this.#exports.memory.buffer).slice(room, room + size);
    });
  }
}

function named(scratch: Scratch, name: string, bytes: Uint8Array): [number, number, number] {
  const text = scratch.copy(new TextEncoder().encode(`${name}\0`));
  return [text, scratch.copy(bytes), bytes.length];
}
