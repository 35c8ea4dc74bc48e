/** WebAssembly modules of this project: how they are started, and how bytes go in. */

/** What every module exports besides its own functions. */
export interface ModuleExports {
  readonly memory: WebAssembly.Memory;
  malloc(size: number): number;
  free(address: number): void;
  _initialize(): void;
}

/** What a module asks of its host. */
export interface Host {
  /** Asked each time before a module is told the time. */
  onClock(): void;
  /** Takes what a module prints, as it comes. */
  onOutput(bytes: Uint8Array): void;
}

const BAD_DESCRIPTOR = 8; // of the system interface that the modules are built for

/** Starts a module. Each call gives an instance with a memory of its own. */
export async function startModule<Exports extends ModuleExports>(
  module: WebAssembly.Module,
  host: Host,
): Promise<Exports> {
  const view = (): DataView => new DataView(exports.memory.buffer);
  const imports = {
    env: { emscripten_notify_memory_growth(): void {} },
    wasi_snapshot_preview1: {
      clock_time_get(_clock: number, _precision: bigint, result: number): number {
        host.onClock();
        const nanoseconds = Math.round(performance.now() * 1e6);
        view().setBigUint64(result, BigInt(nanoseconds), true);
        return 0;
      },
      fd_write(_file: number, parts: number, count: number, written: number): number {
        let sum = 0;
        for (let part = parts; part < parts + 8 * count; part += 8) {
          const size = view().getUint32(part + 4, true);
          host.onOutput(new Uint8Array(exports.memory.buffer, view().getUint32(part, true), size));
          sum += size;
        }
        view().setUint32(written, sum, true);
        return 0;
      },
      fd_close: (): number => BAD_DESCRIPTOR,
      fd_seek: (): number => BAD_DESCRIPTOR,
      proc_exit(code: number): never {
        throw new WebAssembly.RuntimeError(`the module ended with code ${code}`);
      },
    },
  };
  const instance = await WebAssembly.instantiate(module, imports);
  const exports = instance.exports as unknown as Exports;
  exports._initialize();
  return exports;
}

/** The text at an address, up to its zero. */
export function textAt(exports: ModuleExports, address: number): string {
  const bytes = new Uint8Array(exports.memory.buffer);
  return new TextDecoder().decode(bytes.subarray(address, bytes.indexOf(0, address)));
}

/** No memory could be had inside a module. */
export class OutOfMemory extends Error {}

/** Memory of a module for the length of one call: freed all at once. */
export class Scratch {
  readonly #exports: ModuleExports;
  readonly #addresses: number[] = [];

  constructor(exports: ModuleExports) {
    this.#exports = exports;
  }

  /** Room for so many bytes; what they hold is undefined. */
  room(size: number): number {
    // A module's addresses have 32 bits.
    const address = size < 2 ** 31 ? this.#exports.malloc(Math.max(size, 1)) >>> 0 : 0;
    if (address === 0) throw new OutOfMemory(`no ${size} bytes`);
    this.#addresses.push(address);
    return address;
  }

  copy(bytes: Uint8Array): number {
    const address = this.room(bytes.length);
    new Uint8Array(this.#exports.memory.buffer).set(bytes, address);
    return address;
  }

  /** Keeps what was taken, for the caller to free. */
  release(): number[] {
    return this.#addresses.splice(0);
  }

  free(): void {
    for (const address of this.release()) this.#exports.free(address);
  }
}
