// Makes the npm package, and the page, from the built modules:
//
//   node build.mjs MODULES OUT VERSION
//
// MODULES is the folder of the .wasm files. OUT/package is what npm packs, OUT/page is
// the page, OUT/inside.mjs what the page uses besides the package, for the tests.
import { execFileSync } from "node:child_process";
import { createHash } from "node:crypto";
import { cpSync, mkdirSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { basename, dirname, join, resolve } from "node:path";
import { fileURLToPath } from "node:url";
import { build } from "esbuild";

const here = dirname(fileURLToPath(import.meta.url));
const [modules, out, version] = process.argv.slice(2);
if (version === undefined) throw new Error("usage: node build.mjs MODULES OUT VERSION");

// Modules of WebAssembly are looked for where they were built.
const wasm = {
  name: "wasm",
  setup({ onResolve }) {
    onResolve({ filter: /\.wasm$/ }, ({ path }) => ({ path: join(resolve(modules), basename(path)) }));
  },
};

const common = {
  absWorkingDir: here,
  bundle: true,
  charset: "utf8",
  legalComments: "none",
  loader: { ".wasm": "binary" },
  logLevel: "warning",
  plugins: [wasm],
  target: ["es2022", "node18"],
};

// Checks all sources; gives the folder of the declarations of src/.
function checkTypes(types) {
  const compiler = createRequire(import.meta.url).resolve("typescript/bin/tsc");
  execFileSync(process.execPath, [
    compiler, "-p", here, "--noEmit", "false", "--emitDeclarationOnly", "--declaration",
    "--rootDir", here, "--outDir", types,
  ], { stdio: "inherit" });
  return join(types, "src");
}

async function makePackage(folder, types) {
  for (const [format, name] of [["esm", "index.js"], ["cjs", "cjs/index.js"]]) {
    await build({ ...common, entryPoints: ["src/index.ts"], format, outfile: join(folder, name) });
  }
  for (const place of [folder, join(folder, "cjs")]) cpSync(types, place, { recursive: true });
  writeFileSync(join(folder, "cjs/package.json"), '{ "type": "commonjs" }\n');
  const { devDependencies, ...kept } = JSON.parse(readFileSync(join(here, "package.json"), "utf8"));
  writeFileSync(join(folder, "package.json"), `${JSON.stringify({ ...kept, version }, null, 2)}\n`);
  cpSync(join(here, "README.md"), join(folder, "README.md"));
  cpSync(join(here, "../../LICENSE"), join(folder, "LICENSE"));
}

// One file, which opens from anywhere: what it may run is told by digests, and it may
// reach nothing at all.
async function makePage(folder) {
  const script = async (entry) => {
    const options = { ...common, entryPoints: [entry], format: "iife", minify: true, write: false };
    return (await build(options)).outputFiles[0].text.trim();
  };
  const read = (name) => readFileSync(join(here, "page", name), "utf8");
  const digest = (text) => `'sha256-${createHash("sha256").update(text).digest("base64")}'`;
  const parts = {
    version, style: read("page.css"), worker: await script("page/worker.ts"),
    script: await script("page/main.ts"),
  };
  parts.policy = [
    "default-src 'none'", `script-src ${digest(parts.script)} 'wasm-unsafe-eval'`,
    `style-src ${digest(parts.style)}`, "worker-src blob:", "base-uri 'none'", "form-action 'none'",
  ].join("; ");
  const page = read("index.html").replace(/\{\{(\w+)\}\}/g, (_, name) => parts[name]);
  mkdirSync(folder, { recursive: true });
  writeFileSync(join(folder, "index.html"), page);
  cpSync(join(here, "../../LICENSE"), join(folder, "LICENSE"));
}

const folder = resolve(out);
for (const part of ["package", "page", "types"]) rmSync(join(folder, part), { recursive: true, force: true });
mkdirSync(join(folder, "package/cjs"), { recursive: true });
await makePackage(join(folder, "package"), checkTypes(join(folder, "types")));
await makePage(join(folder, "page"));
await build({
  ...common, entryPoints: ["page/inside.ts"], format: "esm", outfile: join(folder, "inside.mjs"),
});
