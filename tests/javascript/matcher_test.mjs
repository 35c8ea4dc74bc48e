// The package as a Node program uses it.
import assert from "node:assert/strict";
import test from "node:test";
import { Worker } from "node:worker_threads";

import { digestRounds, inside, knownAnswers, knownDigests, packageFile, vxmkit } from "./built.mjs";
import { digestOfRound, wrongAnswers } from "./scores.mjs";

const { Matcher, TemplateType, THRESHOLDS, SECURITY_LEVELS, detectType } = vxmkit;
const types = Object.values(TemplateType);
const forms = ["portable", "simd"];
const touch = (seed, impression, type, more) => inside.make({ seed, impression, type, ...more });
const refuses = (status, name) => (error) =>
  error instanceof vxmkit.VxmError && error.name === name && error.status === status &&
  error.message === `${error.where}: ${error.text} (${status})` && error.text.length > 4;

// The memories of the instances that are started from here on.
const memories = [];
const { instantiate } = WebAssembly;
WebAssembly.instantiate = async (...given) => {
  const instance = await instantiate(...given);
  memories.push(instance.exports.memory);
  return instance;
};
const pages = () => memories.map((memory) => memory.buffer.byteLength).reduce((a, b) => a + b, 0);

for (const form of forms) {
  test(`scores and known answers, ${form}`, async () => {
    assert.deepEqual(await wrongAnswers(vxmkit, form, knownAnswers), []);
    for (let round = 0; round < digestRounds; round++) {
      assert.equal(await digestOfRound(vxmkit, inside, form, round), knownDigests[round]);
    }
  });
}

test("thresholds are those of the decision, and every format is told", async () => {
  for (const templateType of types) {
    const templates = [1, 2, 3, 4].flatMap((seed) => [1, 2].map((i) => touch(seed, i, templateType)));
    assert.ok(templates.every((each) => detectType(each) === templateType));
    const decisions = new Set();
    for (const securityLevel of SECURITY_LEVELS) {
      const matcher = await Matcher.create({ templateType, securityLevel });
      for (const probe of templates) {
        for (const candidate of templates) {
          const { points, score, matched } = matcher.verify(probe, candidate);
          assert.equal(matched, points >= THRESHOLDS[templateType][securityLevel - 1]);
          assert.equal(score, points / 10000);
          decisions.add(matched);
        }
      }
      matcher.dispose();
    }
    assert.equal(decisions.size, 2);
  }
});

test("settings", async () => {
  const matcher = await Matcher.create({ securityLevel: 6, retryTurned: true, fastMode: false });
  const settings = () =>
    [matcher.templateType, matcher.securityLevel, matcher.fastMode, matcher.retryTurned];
  assert.deepEqual(settings(), [2001, 6, false, true]);
  Object.assign(matcher, { templateType: 2003, securityLevel: 1, fastMode: true, retryTurned: false });
  assert.deepEqual(settings(), [2003, 1, true, false]);
  assert.match(matcher.version, /^VXMKIT_v\d+\.\d+\.\d+/);
  for (const wrong of [0, 8, 2.5, NaN]) assert.throws(() => (matcher.securityLevel = wrong), RangeError);
  assert.throws(() => (matcher.templateType = 1), RangeError);
  await assert.rejects(Matcher.create({ form: "other" }), TypeError);
  await assert.rejects(Matcher.create({ securityLevel: 9 }), RangeError);
});

test("errors bear the status, and 10,000 of them take no memory", async () => {
  const matcher = await Matcher.create();
  const native = touch(1, 1, 2001);
  const iso = touch(1, 1, 2002);
  const cut = iso.subarray(0, 40);
  const cases = [
    [2001, () => matcher.verify(native.subarray(0, 20), native), -112, "InvalidParametersError"],
    [2001, () => matcher.verify(iso, native), -411, "TemplateTypeError"],
    [2001, () => matcher.identify(native.subarray(0, 20), [native]), -112, "InvalidParametersError"],
    [2001, () => matcher.identify(native, [iso]), -411, "TemplateTypeError"],
    [2001, () => [...matcher.matches(iso, [native])], -411, "TemplateTypeError"],
    [2001, () => [...matcher.matches(native, [iso])], -411, "TemplateTypeError"],
    [2001, () => matcher.rotate(native.subarray(0, 20)), -411, "TemplateTypeError"],
    [2001, () => matcher.rotate(new Uint8Array(0)), -411, "TemplateTypeError"],
    [2002, () => matcher.verify(iso, cut), -113, "DataCorruptedError"],
  ];
  const fail = () => {
    for (const [type, call, status, name] of cases) {
      matcher.templateType = type;
      assert.throws(call, refuses(status, name));
    }
  };
  fail();
  const before = pages();
  for (let round = 0; round < 10_000 / cases.length; round++) fail();
  assert.equal(pages(), before);
  for (const wrong of ["text", null, undefined, [1, 2], new Uint16Array(4)]) {
    assert.throws(() => matcher.verify(wrong, native), TypeError);
    assert.throws(() => matcher.identify(native, [native, wrong ?? 0]), TypeError);
  }
  const big = new Uint8Array(2 ** 30);
  assert.throws(() => matcher.gallery([big, big]), refuses(-1, "VxmError"));
  assert.throws(() => matcher.gallery([big, big.subarray(2 ** 20)]), refuses(-1, "VxmError"));
  assert.equal(matcher.verify(iso, iso).matched, true);
});

test("any bytes give a result or a VxmError", async () => {
  const matcher = await Matcher.create();
  let state = 1;
  const random = (below) => (state = Math.imul(state, 0x5bd1e995) + 12345 >>> 0, (state >>> 8) % below);
  let refused = 0;
  const before = pages();
  for (let trial = 0; trial < 1200; trial++) {
    const type = types[trial % 3];
    const bytes = touch(random(5), random(3), type).slice(0, trial % 4 ? undefined : random(400));
    for (let change = random(4); change > 0 && bytes.length > 0; change--) {
      bytes[random(Math.min(bytes.length, trial % 2 ? 40 : 1e6))] = random(256);
    }
    matcher.templateType = type;
    const good = touch(1, 1, type);
    for (const call of [
      () => matcher.verify(bytes, good), () => matcher.identify(good, [bytes, null, good]),
      () => matcher.rotate(bytes), () => [...matcher.matches(good, [bytes])]]) {
      try {
        call();
      } catch (error) {
        if (!(error instanceof vxmkit.VxmError)) throw error;
        refused++;
      }
    }
  }
  assert.ok(refused > 200 && refused < 4600, `${refused}`);
  assert.equal(pages(), before);
});

test("a template turned twice compares as before", async () => {
  for (const templateType of types) {
    const matcher = await Matcher.create({ templateType });
    const original = touch(7, 1, templateType);
    const turned = matcher.rotate(original);
    assert.ok(matcher.verify(matcher.rotate(turned), touch(7, 2, templateType)).matched);
    assert.equal(matcher.verify(turned, original).matched, false);
    matcher.retryTurned = true;
    assert.ok(matcher.verify(turned, original).matched);
  }
});

test("a search: order, empty places, galleries, all matches", async () => {
  const matcher = await Matcher.create();
  const probe = touch(3, 1, 2001);
  const others = [10, 11, 12].map((seed) => touch(seed, 1, 2001));
  const candidates = [null, ...others, touch(3, 2, 2001), new Uint8Array(9)];
  assert.equal(matcher.identify(probe, candidates), 4);
  assert.equal(matcher.identify(probe, others), null);
  assert.equal(matcher.identify(probe, []), null);
  const gallery = matcher.gallery(new Set(candidates));
  assert.equal(gallery.length, 6);
  assert.equal(matcher.identify(probe, gallery, { timeout: 60_000 }), 4);
  assert.deepEqual([...matcher.matches(probe, [probe, null, ...others, probe])], [0, 5]);
  gallery.dispose();
  gallery.dispose();
  assert.throws(() => matcher.identify(probe, gallery), /disposed/);
  const portable = await Matcher.create({ form: "portable" });
  assert.throws(() => matcher.identify(probe, portable.gallery([])), /another form/);
});

test("a search ends by its time limit, by its host, and by another thread", async () => {
  const matcher = await Matcher.create({ fastMode: false });
  const probe = touch(3, 1, 2001);
  const gallery = matcher.gallery(Array(200_000).fill(touch(10, 1, 2001)));
  assert.throws(() => matcher.identify(probe, gallery, { timeout: 20 }), refuses(-401, "MatchTimeoutError"));
  assert.throws(() => matcher.identify(probe, gallery, { timeout: -1 }), RangeError);
  let asked = 0;
  const stop = () => ++asked === 5;
  assert.throws(() => matcher.identify(probe, gallery, { stop }), refuses(-402, "MatchAbortedError"));
  assert.equal(asked, 5);
  const own = new Error("own");
  assert.throws(() => matcher.identify(probe, gallery, { stop() { throw own; } }), (error) => error === own);
  for (const call of [() => matcher.verify(probe, probe), () => matcher.dispose()]) {
    assert.throws(() => matcher.identify(probe, gallery, { stop: call }), /a search is running/);
  }
  assert.equal(matcher.identify(probe, [probe], { stop: () => false }), 0);

  const flag = new Int32Array(new SharedArrayBuffer(4));
  const worker = new Worker(`
    const { workerData: { file, flag, probe, other }, parentPort } = require("worker_threads");
    const { Matcher } = require(file);
    Matcher.create({ fastMode: false }).then((matcher) => {
      const gallery = matcher.gallery(Array(1_000_000).fill(other));
      parentPort.postMessage("begun");
      try {
        matcher.identify(probe, gallery, { stop: () => Atomics.load(flag, 0) === 1 });
      } catch (error) {
        parentPort.postMessage(error.status);
      }
    });`, { eval: true, workerData: { file: packageFile("cjs/index.js"), flag, probe, other: touch(10, 1, 2001) } });
  const status = await new Promise((resolve, reject) => {
    worker.on("error", reject).on("message", (message) => {
      if (message !== "begun") resolve(message);
      Atomics.store(flag, 0, 1);
    });
  });
  assert.equal(status, -402);
  await worker.terminate();
});

test("memory is freed by dispose, by using's method, and after it was forgotten", async () => {
  const probe = touch(3, 1, 2001);
  const use = async (end) => {
    const matcher = await Matcher.create();
    const gallery = matcher.gallery([probe]);
    matcher.identify(probe, gallery);
    end(matcher);
    end(gallery);
    return matcher;
  };
  const disposed = await use((each) => each[Symbol.dispose ?? Symbol.for("Symbol.dispose")]());
  assert.throws(() => disposed.verify(probe, probe), /disposed/);
  const before = pages();
  for (let i = 0; i < 300; i++) await use((each) => each.dispose());
  assert.equal(pages(), before);
  for (let i = 0; i < 300; i++) {
    await use(() => {});
    if (i % 10 === 9) {
      gc();
      await new Promise((resolve) => setTimeout(resolve, 5));
    }
  }
  assert.ok(pages() - before < 200 * 2.3e6, `${pages() - before} bytes more`);
});
