// How fast verification is in WebAssembly, beside the native library in the same run:
//
//   node bench/javascript_bench.mjs [NPM [INTERFACE_BENCH]]
//
// NPM is what the preset javascript makes (build/javascript/npm), INTERFACE_BENCH the
// program of the preset bench. All compare the same made templates, in turns; the figures
// are medians of the turns, in comparisons a second of processor time.
import { execFileSync } from "node:child_process";
import { mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join, resolve } from "node:path";
import { pathToFileURL } from "node:url";

const [npm = "build/javascript/npm", native = "build/bench/bench/interface_bench"] = process.argv.slice(2);
const load = (name) => import(pathToFileURL(resolve(npm, name)));
const { Matcher } = await load("package/index.js");
const inside = await (await load("inside.mjs")).Inside.start();

const FINGERS = 40;
const TURNS = 5;
const LEAST = 0.1; // seconds of a measurement
const FORMATS = [["native", ".vxt", 2001], ["iso", ".iso", 2002], ["ansi", ".ansi", 2003]];

const folder = mkdtempSync(join(tmpdir(), "vxmkit-bench-"));
const touches = new Map(FORMATS.map(([format, suffix, type]) => [format, Array.from(
  { length: 2 * FINGERS }, (_, index) => {
    const [seed, impression] = [1 + (index >> 1), 1 + (index & 1)];
    const bytes = inside.make({ seed, impression, type });
    writeFileSync(join(folder, `${String(seed).padStart(3, "0")}_${impression}${suffix}`), bytes);
    return bytes;
  })]));

// The pairs of the native benchmarks.
const pairsOf = (all, kind) => kind === "genuine"
  ? Array.from({ length: FINGERS }, (_, f) => [all[2 * f], all[2 * f + 1]])
  : all.map((probe, index) => [probe, all[(index + FINGERS) % all.length]]);

function measureNative() {
  const told = JSON.parse(execFileSync(native, ["--data", folder, "--benchmark_filter=verify/",
    `--benchmark_min_time=${LEAST}`, "--benchmark_format=json"], { stdio: ["ignore", "pipe", "ignore"] }));
  return new Map(told.benchmarks.map((each) => [each.name, each.items_per_second]));
}

// In processor time, as the native benchmarks count.
function measure(matcher, pairs) {
  const begin = process.cpuUsage();
  const seconds = () => {
    const { user, system } = process.cpuUsage(begin);
    return (user + system) / 1e6;
  };
  let rounds = 0;
  do {
    for (const [probe, candidate] of pairs) matcher.verify(probe, candidate);
    rounds++;
  } while (seconds() < LEAST);
  return (rounds * pairs.length) / seconds();
}

const rates = new Map();
const note = (name, rate) => rates.set(name, [...(rates.get(name) ?? []), rate]);
for (let turn = 0; turn < TURNS; turn++) {
  for (const [name, rate] of measureNative()) note(`${name}/in the processor`, rate);
  for (const form of ["simd", "portable"]) {
    for (const [format, , templateType] of FORMATS) {
      const matcher = await Matcher.create({ form, templateType });
      for (const kind of ["genuine", "impostor"]) {
        note(`verify/${format}/${kind}/${form}`, measure(matcher, pairsOf(touches.get(format), kind)));
      }
      matcher.dispose();
    }
  }
}
rmSync(folder, { recursive: true });

const median = (list) => [...list].sort((a, b) => a - b)[list.length >> 1];
for (const [format] of FORMATS) {
  for (const kind of ["genuine", "impostor"]) {
    const [processor, simd, portable] = ["in the processor", "simd", "portable"]
      .map((way) => median(rates.get(`verify/${format}/${kind}/${way}`)));
    console.log(`${format} ${kind}: native ${processor.toFixed(0)}/s, simd ${simd.toFixed(0)}/s ` +
      `(1/${(processor / simd).toFixed(1)}), portable ${portable.toFixed(0)}/s (1/${(processor / portable).toFixed(1)})`);
  }
}
