/** The library itself: one instance of a form serves all matchers of a thread. */
import { Status } from "./constants.js";
import { errorOf, VxmError } from "./errors.js";
import portableBytes from "./vxmkit.wasm";
import simdBytes from "./vxmkit_simd.wasm";
import { type ModuleExports, OutOfMemory, Scratch, startModule, textAt } from "./wasm_module.js";

/** Which WebAssembly the library is made of: with vectors of 128 bits, or without. The
 * scores are the same. */
export type Form = "simd" | "portable";

type Call = (...values: number[]) => number;

export interface LibraryExports extends ModuleExports {
  readonly VXM_Create: Call;
  readonly VXM_Delete: Call;
  readonly VXM_GetParameter: Call;
  readonly VXM_SetParameter: Call;
  readonly VXM_GetTemplateType: Call;
  readonly VXM_SetTemplateType: Call;
  readonly VXM_VerifyEx: Call;
  readonly VXM_RotateTemplate: Call;
  readonly VXM_Identify: Call;
  readonly VXM_IdentifyInit: Call;
  readonly VXM_IdentifyNext: Call;
  readonly VXM_AbortIdentify: Call;
  readonly VXM_GetErrorString: Call;
}

const ERROR_TEXT_SIZE = 31;

// A function whose body is one vector instruction.
const vectorProbe = new Uint8Array([
  0, 0x61, 0x73, 0x6d, 1, 0, 0, 0, 1, 5, 1, 0x60, 0, 1, 0x7b, 3, 2, 1, 0, 10, 10, 1, 8, 0, 0x41, 0,
  0xfd, 15, 0xfd, 98, 11,
]);

/** The form that this engine runs fastest. */
export function bestForm(): Form {
  return WebAssembly.validate(vectorProbe) ? "simd" : "portable";
}

export class Library {
  /** Asked after each comparison of a search; null: not asked. */
  onClock: (() => void) | null = null;

  /** What went wrong inside, after which nothing can be told for certain any more. */
  #lost: unknown = null;
  readonly #errorText: number;

  private constructor(
    readonly form: Form,
    readonly exports: LibraryExports,
  ) {
    this.#errorText = exports.malloc(ERROR_TEXT_SIZE); // while there is memory
  }

  static async start(form: Form): Promise<Library> {
    const bytes = form === "simd" ? simdBytes : portableBytes;
    const host = {
      onClock: (): void => library.onClock?.(),
      onOutput: (): void => {}, // the one notice is about a thread, which is never asked for
    };
    const module = await WebAssembly.compile(bytes as BufferSource);
    const library: Library = new Library(form, await startModule<LibraryExports>(module, host));
    return library;
  }

  /** Runs `body`, which calls the library, with memory that is freed at its end. */
  with<Result>(where: string, body: (scratch: Scratch) => Result): Result {
    if (this.onClock !== null) throw new Error(`${where}: not while a search is running`);
    if (this.#lost !== null) {
      throw new Error(`${where}: the library broke down before`, { cause: this.#lost });
    }
    const scratch = new Scratch(this.exports);
    try {
      return body(scratch);
    } catch (error) {
      if (error instanceof OutOfMemory) throw this.#error(Status.ERROR, where);
      if (!(error instanceof VxmError)) this.#lose(error);
      throw error;
    } finally {
      scratch.free();
    }
  }

  /** Throws unless a status is OK. */
  require(status: number, where: string): void {
    if (status !== Status.OK) throw this.#error(status, where);
  }

  int(address: number): number {
    return new DataView(this.exports.memory.buffer).getInt32(address, true);
  }

  /** The error for a status; its text is the library's. */
  #error(status: number, where: string): VxmError {
    this.exports.VXM_GetErrorString(status, this.#errorText);
    return errorOf(status, textAt(this.exports, this.#errorText), where);
  }

  /** A trap, or the end of JavaScript's stack: the next matcher gets a new instance. */
  #lose(error: unknown): void {
    this.#lost = error;
    started.delete(this.form);
  }
}

const started = new Map<Form, Promise<Library>>();

/** The library of a form, started when it is first asked for. */
export function libraryOf(form: Form): Promise<Library> {
  let library = started.get(form);
  if (library === undefined) {
    library = Library.start(form);
    started.set(form, library);
  }
  return library;
}
