// The npm package as those have it who install it: packed, and put into a folder of its own.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { mkdirSync, mkdtempSync, readdirSync, readFileSync, rmSync, statSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, before, test } from "node:test";

import { built, inside, tree, vxmkit } from "./built.mjs";

const MOST_BYTES = 220_000; // of the packed package
const host = mkdtempSync(join(tmpdir(), "vxmkit-host-"));
const inHost = (program, ...given) => execFileSync(program, given, { cwd: host, encoding: "utf8" });
const blocks = (kind) => Array.from(
  readFileSync(join(host, "node_modules/vxmkit/README.md"), "utf8").matchAll(/```(\w+)\n(.*?)```/gs),
).filter(([, each]) => each === kind).map(([, , text]) => text);

before(() => {
  inHost("npm", "pack", "--silent", join(built, "package"));
  writeFileSync(join(host, "package.json"), "{}");
  inHost("npm", "install", "--offline", "--silent", `./${readdirSync(host).find((each) => each.endsWith(".tgz"))}`);
  mkdirSync(join(host, "fingers"));
  for (const [name, seed, impression] of [["042_2", 42, 2], ["042_1", 42, 1], ["007_1", 7, 1]]) {
    writeFileSync(join(host, `fingers/${name}.iso`), inside.make({ seed, impression, type: 2002 }));
  }
});
after(() => rmSync(host, { recursive: true }));

test("the package is small, and exports the functions of the library alone", () => {
  const [archive] = readdirSync(host).filter((each) => each.endsWith(".tgz"));
  assert.ok(statSync(join(host, archive)).size < MOST_BYTES);
  const map = readFileSync(join(tree, "src/exports.map"), "utf8");
  const names = Array.from(map.matchAll(/VXM_\w+/g), ([name]) => name).sort();
  assert.equal(names.length, 19);
  for (const form of ["vxmkit", "vxmkit_simd"]) {
    const bytes = readFileSync(join(built, `../bindings/javascript/${form}.wasm`));
    const exported = WebAssembly.Module.exports(new WebAssembly.Module(bytes)).map(({ name }) => name);
    assert.deepEqual(exported.filter((name) => /^VXM/i.test(name)).sort(), names);
  }
});

test("the README's example runs, as module and by require", async () => {
  const [example] = blocks("javascript");
  const matcher = await vxmkit.Matcher.create({ templateType: 2002 });
  const [probe, candidate] = ["042_2", "042_1"].map((name) => readFileSync(join(host, `fingers/${name}.iso`)));
  const expected = `1 ${matcher.verify(probe, candidate).score}\n`;
  writeFileSync(join(host, "example.mjs"), example);
  assert.equal(inHost(process.execPath, "example.mjs"), expected);
  const body = example.replace(/import (.*) from ("vxmkit"|"node:fs");/g, "const $1 = require($2);");
  writeFileSync(join(host, "example.cjs"), `(async () => {${body}})();`);
  assert.equal(inHost(process.execPath, "example.cjs"), expected);
});

test("its types hold, as module and by require", () => {
  const code = `import { Matcher, TemplateType, VxmError, type Verification } from "vxmkit";
    export async function use(probe: Uint8Array): Promise<Verification | number | null> {
      using matcher = await Matcher.create({ templateType: TemplateType.ANSI378, form: "simd" });
      using gallery = matcher.gallery([probe, null]);
      // @ts-expect-error: no text is a template
      try { matcher.verify(probe, "text"); } catch (error) { if (error instanceof VxmError) return error.status; }
      for (const index of matcher.matches(probe, [probe])) return index;
      // @ts-expect-error: a level is a number
      matcher.securityLevel = "5";
      return matcher.identify(probe, gallery, { timeout: 5, stop: () => false }) ?? matcher.verify(probe, probe);
    }`;
  for (const name of ["module.mts", "required.cts"]) writeFileSync(join(host, name), code);
  inHost(process.execPath, join(tree, "bindings/javascript/node_modules/typescript/bin/tsc"), "--strict",
    "--noEmit", "--module", "nodenext", "--target", "es2022", "--lib", "es2022,esnext.disposable,dom", "module.mts", "required.cts");
});
