// The package and the page in Chromium.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join, relative } from "node:path";
import { after, before, test } from "node:test";
import { pathToFileURL } from "node:url";

import { launch, serve } from "./browser.mjs";
import { built, digestRounds, inside, knownDigests, tree, vxmkit } from "./built.mjs";

const SLOW = { timeout: 240_000 }; // another machine may be far busier than this one
let browser;
let server;
const folder = mkdtempSync(join(tmpdir(), "vxmkit-page-"));

before(async () => {
  browser = await launch();
  server = await serve();
});
after(async () => {
  await browser.close();
  server.close();
  rmSync(folder, { recursive: true });
});

const touch = (seed, impression, type = 2001) => inside.make({ seed, impression, type });
const file = (name, bytes) => ({ name, mimeType: "application/octet-stream", buffer: Buffer.from(bytes) });

// The page, from where it is opened; whatever it asks for but itself is a fault.
async function openPage(from = pathToFileURL(join(built, "page/index.html")).href, options = {}) {
  const context = await browser.newContext(options);
  const page = await context.newPage();
  page.setDefaultTimeout(SLOW.timeout);
  const faults = [];
  page.on("request", (request) => {
    if (request.url() !== from && !request.url().startsWith("blob:")) faults.push(request.url());
  });
  page.on("pageerror", (error) => faults.push(String(error)));
  page.on("console", (message) => faults.push(message.text()));
  await page.goto(from);
  const says = (text) => page.locator("#status", { hasText: text }).waitFor();
  const drop = async (files) => {
    const list = files.map(({ name, buffer }) => [name, [...buffer]]);
    const data = await page.evaluateHandle((named) => {
      const transfer = new DataTransfer();
      for (const [name, bytes] of named) transfer.items.add(new File([new Uint8Array(bytes)], name));
      return transfer;
    }, list);
    await page.dispatchEvent("main", "drop", { dataTransfer: data });
  };
  const end = async () => {
    assert.deepEqual(faults, []);
    await context.close();
  };
  return { page, says, drop, end };
}

for (const [where, form] of [["page", "portable"], ["worker", "simd"]]) {
  test(`scores of the package in a ${where}, ${form}`, SLOW, async () => {
    const page = await browser.newPage();
    await page.goto(`${server.origin}/empty`);
    const npm = `${server.origin}/${relative(tree, built)}`;
    const work = `(async () => {
      const vxmkit = await import("${npm}/package/index.js");
      const { Inside } = await import("${npm}/inside.mjs");
      const { digestOfRound, wrongAnswers } = await import("${server.origin}/tests/javascript/scores.mjs");
      const inside = await Inside.start();
      const digests = [];
      for (let round = 0; round < ${digestRounds}; round++) {
        digests.push(await digestOfRound(vxmkit, inside, "${form}", round));
      }
      const text = await (await fetch("${server.origin}/tests/data/known_answers.txt")).text();
      return { best: vxmkit.bestForm(), digests, wrong: await wrongAnswers(vxmkit, "${form}", text) };
    })()`;
    const answer = where === "page" ? await page.evaluate(work) : await page.evaluate((code) => {
      const source = `${code}.then(postMessage)`;
      const worker = new Worker(URL.createObjectURL(new Blob([source], { type: "text/javascript" })), { type: "module" });
      return new Promise((resolve, reject) => {
        worker.onmessage = ({ data }) => resolve(data);
        worker.onerror = ({ message }) => reject(new Error(message));
      });
    }, work);
    assert.deepEqual(answer, { best: "simd", digests: knownDigests.slice(0, digestRounds), wrong: [] });
    await page.close();
  });
}

test("two templates: score, pairing and the explanation of vxm-explain", SLOW, async () => {
  const { page, says, drop, end } = await openPage();
  for (const [type, suffix] of [[2001, "vxt"], [2002, "iso"], [2003, "ansi"]]) {
    const named = [1, 2].map((i) => file(`042_${i}.${suffix}`, touch(42, i, type)));
    await drop(named);
    await says("Compared: Match");
    await page.locator("#pair h3", { hasText: named[1].name }).waitFor();
    const matcher = await vxmkit.Matcher.create({ templateType: type });
    const { score } = matcher.verify(named[0].buffer, named[1].buffer);
    assert.match(await page.locator(".verdict").innerText(), new RegExp(`Score ${score.toFixed(4)}, `));
    const [probe, reference] = named.map(({ name, buffer }) => ({ name, bytes: buffer }));
    const { explained, text } = inside.explain(probe, reference);
    assert.equal(await page.locator("#explanation").textContent(), text);
    assert.equal(await page.locator("line.mates").count(), explained.firstPass.pairs.length);
    assert.equal(await page.locator(".minutia").count(),
      explained.probe.minutiae.length + explained.reference.minutiae.length);
    if (process.env.VXM_EXPLAIN) {
      for (const { name, buffer } of named) writeFileSync(join(folder, name), buffer);
      const names = named.map(({ name }) => name);
      assert.equal(execFileSync(process.env.VXM_EXPLAIN, names, { cwd: folder, encoding: "utf8" }), text);
    }
  }
  await page.selectOption("#level", "7");
  await page.getByRole("button", { name: "Turn by 180° 042_1.ansi" }).click();
  await says("Compared: No match");
  const download = page.waitForEvent("download");
  await page.getByRole("button", { name: "Save 042_1-turned.ansi", exact: true }).click();
  const saved = readFileSync(await (await download).path());
  assert.deepEqual(saved, Buffer.from((await vxmkit.Matcher.create()).rotate(touch(42, 1, 2003))));
  await end();
});

test("what is no template is named with the reason", SLOW, async () => {
  const { page, says, drop, end } = await openPage();
  const iso = touch(1, 1, 2002);
  for (const [bytes, reason] of [
    [[1, 2, 3], "not a template"], [iso.subarray(0, 50), "damaged ISO 19794-2 record: has 50 bytes"],
    [new Uint8Array(70_000), "has more than 65535 bytes"], [[], "not a template"]]) {
    await drop([file("<b>odd</b>.iso", bytes)]);
    await says("No template among the files");
    assert.match(await page.locator("#faults").innerText(), new RegExp(`^<b>odd</b>.iso: .*${reason}`));
  }
  await page.setInputFiles("#files", [file("a.iso", iso), file("b.vxt", touch(1, 1))]);
  await page.locator("#faults", { hasText: "a.iso is ISO 19794-2, b.vxt is native" }).waitFor();
  await end();
});

test("records of any form are taken, and converted", SLOW, async () => {
  const { page, says, drop, end } = await openPage();
  const image = { width: 0, height: 0, resolution: 0 };
  const [probe, candidate] = [1, 2].map((i) => touch(42, i, 2002));
  const as = (wanted) => inside.convert(probe, { form: 4, wanted, image, view: -1, resolution: 0 }).bytes;
  const matcher = await vxmkit.Matcher.create({ templateType: 2002 });
  const expected = `Score ${matcher.verify(probe, candidate).score.toFixed(4)}, `;
  await drop([file("new.iso", as(5)), file("old.iso", candidate)]);
  await says("Compared: Match");
  assert.match(await page.locator(".converted").innerText(), /^converted from iso-2011/);
  assert.ok((await page.locator(".verdict").innerText()).includes(expected));
  const download = page.waitForEvent("download");
  await page.getByLabel("Form to convert old.iso into").selectOption("ISO 19794-2:2011");
  await page.getByRole("button", { name: "Convert and save old.iso" }).click();
  const saved = readFileSync(await (await download).path());
  assert.equal(inside.tellForm(saved), 5);
  await says("Saved as ISO 19794-2:2011");

  await page.locator("summary", { hasText: "Files without a header" }).click();
  await page.selectOption("#headerless", "minutia text (xyt)");
  await drop([file("text.xyt", as(8)), file("old.iso", candidate)]);
  await page.locator("#faults", { hasText: "text.xyt: " }).waitFor();
  await page.fill("#image-width", String((probe[14] << 8) | probe[15]));
  await page.fill("#image-height", String((probe[16] << 8) | probe[17]));
  await drop([file("text.xyt", as(8)), file("old.iso", candidate)]);
  await page.locator(".converted", { hasText: "converted from xyt" }).waitFor();
  await says("Compared: Match");
  await end();
});

test("a hundred files in a folder, by keyboard, stopped and to the end", SLOW, async () => {
  const set = join(folder, "set");
  mkdirSync(set);
  const names = [];
  for (let seed = 1; seed <= 50; seed++) {
    for (const impression of [1, 2]) {
      names.push(`${String(seed).padStart(3, "0")}_${impression}.vxt`);
      writeFileSync(join(set, names.at(-1)), touch(seed, impression));
    }
  }
  writeFileSync(join(set, "notes.txt"), "not a template");
  const { page, says, end } = await openPage(`${server.origin}/${relative(tree, built)}/page/index.html`);
  await page.evaluate(() => { // as soon as a comparison was made: a click from here may come after the last
    const watch = () => {
      if (!status.textContent.endsWith("of 9900")) return;
      observer.disconnect();
      stop.click();
    };
    const [status, stop] = ["status", "stop"].map((id) => document.getElementById(id));
    const observer = new MutationObserver(watch);
    observer.observe(status, { childList: true });
  });
  await page.setInputFiles("#folder", set);
  await says("stopped");
  await page.setInputFiles("#folder", set);
  await says("9900 comparisons made");
  assert.match(await page.locator("#faults").innerText(), /^set\/notes.txt: not a template/);
  const matcher = await vxmkit.Matcher.create();
  const verify = (a, b) => matcher.verify(readFileSync(join(set, a)), readFileSync(join(set, b)));
  await page.locator("canvas").focus();
  for (const key of ["Home", "ArrowDown", "ArrowDown", "End", "ArrowLeft"]) await page.keyboard.press(key);
  const { score } = verify(names[2], names[98]);
  assert.match(await page.locator("#cell").innerText(),
    new RegExp(`^set/${names[2]} with set/${names[98]}: ${score.toFixed(4)}, .*, impostor$`));
  const download = page.waitForEvent("download");
  await page.getByRole("button", { name: "Save scores as CSV" }).click();
  const [head, ...lines] = readFileSync(await (await download).path(), "utf8").trim().split("\n");
  assert.equal(head, "probe,candidate,kind,score");
  assert.equal(lines.length, 9900);
  for (const line of lines.filter((_, i) => i % 97 === 0)) {
    const [, a, b, kind, shown] = /^"set\/(.*)","set\/(.*)",(.*),(.*)$/.exec(line);
    assert.equal(shown, verify(a, b).score.toFixed(4));
    assert.equal(kind === "genuine", a.slice(0, 3) === b.slice(0, 3));
  }
  await page.locator("canvas").focus();
  await page.keyboard.press("Home");
  await page.keyboard.press("Enter");
  await says("Compared");
  assert.equal(await page.locator("#pair h3").first().innerText(), `Probe: set/${names[2]}`);
  await end();
});

test("nothing is wider than the screen, in either width and scheme", SLOW, async () => {
  const pictures = process.env.VXM_SCREENSHOTS;
  for (const [width, colorScheme] of [[1280, "light"], [1280, "dark"], [390, "light"], [390, "dark"]]) {
    const { page, says, end } = await openPage(undefined, { viewport: { width, height: 900 }, colorScheme });
    await page.click("#example-set");
    await says("3540 comparisons made");
    await page.click("#example-pair");
    await says("Compared: Match");
    await page.locator("svg.picture").waitFor();
    assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), width);
    if (pictures) await page.screenshot({ path: join(pictures, `${width}-${colorScheme}.png`), fullPage: true });
    await end();
  }
});
