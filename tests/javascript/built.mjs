// What the tests use of the build: the folder of the package and the page, by
// VXMKIT_NPM, and what is known of the scores.
import { readFileSync } from "node:fs";
import { join } from "node:path";
import { fileURLToPath, pathToFileURL } from "node:url";

export const tree = fileURLToPath(new URL("../..", import.meta.url));
export const built = process.env.VXMKIT_NPM ?? join(tree, "build/javascript/npm");
export const packageFile = (name) => join(built, "package", name);
export const vxmkit = await import(pathToFileURL(packageFile("index.js")));
export const inside = await (await import(pathToFileURL(join(built, "inside.mjs")))).Inside.start();

export const knownAnswers = readFileSync(join(tree, "tests/data/known_answers.txt"), "utf8");
const nativeTest = readFileSync(join(tree, "tests/api/score_digest.cpp"), "utf8");
export const knownDigests = Array.from(nativeTest.matchAll(/\b0x([0-9a-f]{16})\b/g), ([, hex]) => hex)
  .filter((hex) => !hex.startsWith("cbf29ce4"));
if (knownDigests.length !== 8) throw new Error("score_digest.cpp holds other than 8 digests");

// Five hold 33,840 scores.
export const digestRounds = Number(process.env.VXM_DIGEST_ROUNDS ?? 5);
