import { Parameter, SCORE_SCALE, SECURITY_LEVELS, Status, TemplateType } from "./constants.js";
import { dispose, Lease } from "./disposable.js";
import { type Candidate, Gallery, requireBytes } from "./gallery.js";
import { bestForm, type Form, type Library, libraryOf } from "./library.js";
import { ATTRIBUTE_BLOCK, bodySize, detectType } from "./template_format.js";
import { type Scratch, textAt } from "./wasm_module.js";

/** How a matcher is to be made. */
export interface MatcherOptions {
  /** The one format that it takes; at first `TemplateType.NATIVE`. */
  templateType?: TemplateType;
  /** 1 (lenient) to 7 (strict); at first 4. */
  securityLevel?: number;
  /** Whether identification compares reduced templates first; at first true. */
  fastMode?: boolean;
  /** Whether a failed comparison is followed by one with the probe turned by 180
   * degrees; at first false. */
  retryTurned?: boolean;
  /** Which WebAssembly to use; at first `bestForm()`. */
  form?: Form;
}

/** The outcome of a comparison. */
export interface Verification {
  /** The similarity, 0 to 9999, to be held against `THRESHOLDS`. */
  readonly points: number;
  /** The same as the C interface gives it, 0.0 to 0.9999. */
  readonly score: number;
  /** Whether it reached the threshold of the matcher's security level. */
  readonly matched: boolean;
}

/** What may end an identification early. */
export interface IdentifyOptions {
  /** In milliseconds, for each pass (`retryTurned` may add a second); 0 or none: no
   * limit. It is tested after each comparison. */
  timeout?: number;
  /** Asked after each comparison: true ends the search. It may not use the library. */
  stop?: () => boolean;
}

const LONGEST_TIMEOUT = 2 ** 32 - 1; // milliseconds; a search is never that long
const PARAMETER_TEXT_SIZE = 32;

/**
 * Compares fingerprint templates of one format.
 *
 *     using matcher = await Matcher.create({ templateType: TemplateType.ISO19794_2 });
 *     if (matcher.verify(probe, candidate).matched) ...
 *
 * It holds about 2.3 MB until it is disposed of, or some time after it was forgotten.
 * Templates are only read. Every method may throw a `VxmError` and, after `dispose`, an
 * Error. All calls are synchronous: where a long search must not hold the page up, use a
 * matcher in a worker.
 */
export class Matcher {
  readonly #library: Library;
  readonly #handle: number;
  readonly #lease: Lease;
  /** Whose probe VXM_IdentifyNext compares. */
  #loadedProbe: object | null = null;

  private constructor(library: Library) {
    const where = "making a matcher";
    this.#library = library;
    const handle = library.with(where, (scratch) => {
      const result = scratch.room(4);
      library.require(library.exports.VXM_Create(result), where);
      return library.int(result);
    });
    this.#handle = handle;
    this.#lease = new Lease(this, library, ({ exports }) => exports.VXM_Delete(handle));
  }

  /** Makes a matcher; the first of a form compiles the library, which takes a few
   * milliseconds. RangeError, TypeError: an option that is none. */
  static async create(options: MatcherOptions = {}): Promise<Matcher> {
    const form = options.form ?? bestForm();
    if (form !== "simd" && form !== "portable") throw new TypeError(`no form "${String(form)}"`);
    const matcher = new Matcher(await libraryOf(form));
    try {
      matcher.templateType = options.templateType ?? TemplateType.NATIVE;
      matcher.securityLevel = options.securityLevel ?? 4;
      matcher.fastMode = options.fastMode ?? true;
      matcher.retryTurned = options.retryTurned ?? false;
    } catch (error) {
      matcher.dispose();
      throw error;
    }
    return matcher;
  }

  /** Frees its memory; a second time does nothing. */
  dispose(): void {
    if (this.#library.onClock !== null) throw new Error("a search is running");
    this.#lease.end();
  }

  [dispose](): void {
    this.dispose();
  }

  /** Runs `body` with memory for the call; its result must be OK. */
  #call(where: string, body: (scratch: Scratch) => number): void {
    if (!this.#lease.open) throw new Error(`${where}: the matcher is disposed of`);
    this.#library.with(where, (scratch) => this.#library.require(body(scratch), where));
  }

  // ---- Settings: each takes effect with the next call.

  #get(parameter: number): number {
    let value = 0;
    this.#call("reading a setting", (scratch) => {
      const room = scratch.room(4);
      const status = this.#library.exports.VXM_GetParameter(this.#handle, parameter, room);
      value = this.#library.int(room);
      return status;
    });
    return value;
  }

  #set(parameter: number, value: number): void {
    this.#loadedProbe = null;
    this.#call("changing a setting", (scratch) => {
      const room = scratch.copy(new Uint8Array(Int32Array.of(value).buffer));
      return this.#library.exports.VXM_SetParameter(this.#handle, parameter, room);
    });
  }

  #text(parameter: number): string {
    let text = "";
    this.#call("reading a text", (scratch) => {
      const room = scratch.room(PARAMETER_TEXT_SIZE);
      const status = this.#library.exports.VXM_GetParameter(this.#handle, parameter, room);
      text = textAt(this.#library.exports, room);
      return status;
    });
    return text;
  }

  /** The one format that the matcher takes; others throw a `TemplateTypeError`. */
  get templateType(): TemplateType {
    let type = 0;
    this.#call("reading the template type", (scratch) => {
      const room = scratch.room(4);
      const status = this.#library.exports.VXM_GetTemplateType(this.#handle, room);
      type = this.#library.int(room);
      return status;
    });
    return type as TemplateType;
  }

  set templateType(type: TemplateType) {
    if (!Object.values(TemplateType).includes(type)) {
      throw new RangeError(`no template type ${String(type)}`);
    }
    this.#loadedProbe = null;
    this.#call("setting the template type", () =>
      this.#library.exports.VXM_SetTemplateType(this.#handle, type),
    );
  }

  /** 1 (lenient) to 7 (strict). RangeError: any other. */
  get securityLevel(): number {
    return this.#get(Parameter.SECURITY_LEVEL);
  }

  set securityLevel(level: number) {
    if (!(SECURITY_LEVELS as readonly number[]).includes(level)) {
      throw new RangeError(`security level ${String(level)} is not 1 to 7`);
    }
    this.#set(Parameter.SECURITY_LEVEL, level);
  }

  /** Whether identification compares reduced templates first. */
  get fastMode(): boolean {
    return this.#get(Parameter.FAST_MODE) !== 0;
  }

  set fastMode(on: boolean) {
    this.#set(Parameter.FAST_MODE, on ? 1 : 0);
  }

  /** Whether a failed comparison is followed by one with the probe turned. */
  get retryTurned(): boolean {
    return this.#get(Parameter.RETRY_TURNED) !== 0;
  }

  set retryTurned(on: boolean) {
    this.#set(Parameter.RETRY_TURNED, on ? 1 : 0);
  }

  /** Which WebAssembly it uses. */
  get form(): Form {
    return this.#library.form;
  }

  /** The library's version text. */
  get version(): string {
    return this.#text(Parameter.VERSION);
  }

  /** The library's copyright text. */
  get copyright(): string {
    return this.#text(Parameter.COPYRIGHT);
  }

  // ---- One to one

  /**
   * Compares two templates. The order matters a little: the score of (a, b) may differ
   * from that of (b, a).
   *
   * TemplateTypeError: one is not of the matcher's type. InvalidParametersError,
   * DataCorruptedError: a native template, a standard record is not valid.
   */
  verify(probe: Uint8Array, candidate: Uint8Array): Verification {
    requireBytes(probe, "the probe");
    requireBytes(candidate, "the candidate");
    let points = 0;
    let matched = false;
    this.#loadedProbe = null;
    this.#call("verification", (scratch) => {
      const { exports } = this.#library;
      const outputs = scratch.room(8);
      const status = exports.VXM_VerifyEx(
        this.#handle, scratch.copy(probe), probe.length, scratch.copy(candidate), candidate.length,
        outputs, outputs + 4,
      );
      const score = new DataView(exports.memory.buffer).getFloat32(outputs, true);
      points = Math.round(score * SCORE_SCALE);
      matched = this.#library.int(outputs + 4) !== 0;
      return status;
    });
    return { points, score: points / SCORE_SCALE, matched };
  }

  // ---- Turning

  /**
   * The template turned by 180 degrees, in its own format, which may be any of the
   * three. A standard record keeps only the minutiae inside its image.
   *
   * TemplateTypeError: no template, or an invalid one.
   */
  rotate(template: Uint8Array): Uint8Array {
    requireBytes(template, "the template");
    const native = detectType(template) === TemplateType.NATIVE;
    const size = bodySize(template);
    // With room to spare a native template would come back longer.
    const body = template.subarray(0, size);
    const buffer = native ? body.slice() : new Uint8Array(Math.max(size + ATTRIBUTE_BLOCK, template.length));
    buffer.set(template.length < buffer.length ? body : template.subarray(0, buffer.length));
    let turned = buffer;
    this.#loadedProbe = null;
    this.#call("turning", (scratch) => {
      const { exports } = this.#library;
      const address = scratch.copy(buffer);
      const status = exports.VXM_RotateTemplate(this.#handle, address, buffer.length);
      turned = new Uint8Array(exports.memory.buffer).slice(address, address + buffer.length);
      return status;
    });
    return turned.subarray(0, bodySize(turned) + (native ? 0 : ATTRIBUTE_BLOCK));
  }

  // ---- One to many

  /** Candidates to be searched more than once, in the library's memory. */
  gallery(candidates: Iterable<Candidate>): Gallery {
    return new Gallery(this.#library, candidates);
  }

  /**
   * The index of a candidate that matches the probe, or null.
   *
   * Candidates are tried in the order of likeness to the probe, and the first that
   * matches ends the search; it need not be the best one. Null entries and invalid
   * native templates are passed over.
   *
   * MatchTimeoutError, MatchAbortedError: the search ended early. TemplateTypeError: the
   * probe, or a candidate that the search reached, is not of the matcher's type.
   * InvalidParametersError: an invalid native probe. What `stop` throws comes out as it
   * is.
   */
  identify(
    probe: Uint8Array,
    candidates: Gallery | Iterable<Candidate>,
    { timeout = 0, stop }: IdentifyOptions = {},
  ): number | null {
    requireBytes(probe, "the probe");
    if (!(timeout >= 0 && timeout <= LONGEST_TIMEOUT)) {
      throw new RangeError(`a timeout of ${String(timeout)} ms is out of range`);
    }
    if (candidates instanceof Gallery) return this.#search(probe, candidates, timeout, stop);
    const gallery = this.gallery(candidates);
    try {
      return this.#search(probe, gallery, timeout, stop);
    } finally {
      gallery.dispose();
    }
  }

  #search(
    probe: Uint8Array,
    gallery: Gallery,
    timeout: number,
    stop: (() => boolean) | undefined,
  ): number | null {
    if (gallery.library !== this.#library) {
      throw new TypeError("the gallery was made by a matcher of another form");
    }
    const tables = gallery.tables();
    const thrown: unknown[] = [];
    let index = -1;
    this.#loadedProbe = null;
    this.#call("identification", (scratch) => {
      const { exports } = this.#library;
      const result = scratch.room(4);
      // The clock is what a search with a time limit asks its host for after each
      // comparison, just before it looks whether it is to end.
      const limit = Math.ceil(timeout) || (stop === undefined ? 0 : LONGEST_TIMEOUT);
      const probeCopy = scratch.copy(probe);
      this.#library.onClock = (): void => {
        if (stop === undefined || !asksToStop(stop, thrown)) return;
        exports.VXM_AbortIdentify(this.#handle);
      };
      try {
        const status = exports.VXM_Identify(
          this.#handle, probeCopy, probe.length, ...tables, gallery.length, limit, result,
        );
        return thrown.length > 0 ? Status.OK : status;
      } finally {
        this.#library.onClock = null;
        index = this.#library.int(result);
      }
    });
    if (thrown.length > 0) throw thrown[0];
    return index < 0 ? null : index;
  }

  /**
   * Yields the indices of all candidates that match the probe, in their order, while it
   * takes them one by one: they need never be in memory together.
   *
   * The decision is on the native scale for every format (see `THRESHOLDS`), and null
   * never matches. The matcher may do other things meanwhile, at the cost of loading the
   * probe again.
   *
   * TemplateTypeError: the probe or a candidate is not a usable template of the matcher's
   * type.
   */
  *matches(probe: Uint8Array, candidates: Iterable<Candidate>): Generator<number, void> {
    const kept = requireBytes(probe, "the probe").slice();
    const { exports } = this.#library;
    const ownProbe = {};
    let index = 0;
    for (const candidate of candidates) {
      if (candidate !== null) requireBytes(candidate, `candidate ${index}`);
      let matched = false;
      if (this.#loadedProbe !== ownProbe) {
        this.#call("loading the probe", (scratch) =>
          exports.VXM_IdentifyInit(this.#handle, scratch.copy(kept), kept.length),
        );
        this.#loadedProbe = ownProbe;
      }
      this.#call(`candidate ${index}`, (scratch) => {
        const result = scratch.room(4);
        const address = candidate === null ? 0 : scratch.copy(candidate);
        const size = candidate?.length ?? 0;
        const status = exports.VXM_IdentifyNext(this.#handle, address, size, result);
        matched = this.#library.int(result) !== 0;
        return status;
      });
      if (matched) yield index;
      index++;
    }
  }
}

/** Asks; what is thrown may not go through the library, so it is kept and means stop. */
function asksToStop(stop: () => boolean, thrown: unknown[]): boolean {
  try {
    return thrown.length > 0 || stop();
  } catch (error) {
    thrown.push(error);
    return true;
  }
}

