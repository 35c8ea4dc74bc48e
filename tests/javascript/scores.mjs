// Checks that run wherever the package does: in Node, in a page, in a worker.

const TYPES = [2001, 2002, 2003];
const PRIME = 0x100000001b3n;

const fromHex = (text) => Uint8Array.from(text.match(/../g) ?? [], (pair) => parseInt(pair, 16));

// FNV-1a over the numbers' bytes.
class Digest {
  value = 0xcbf29ce484222325n;

  add(...numbers) {
    for (const number of numbers) {
      for (let shift = 0; shift < 32; shift += 8) {
        this.value = BigInt.asUintN(64, (this.value ^ BigInt((number >> shift) & 0xff)) * PRIME);
      }
    }
  }
}

function makeTemplates(inside, round, type) {
  const templates = [];
  for (let f = 0; f < 12; f++) {
    for (let impression = 0; impression < 4; impression++) {
      templates.push(inside.make({
        seed: round * 12 + f, minutiae: f % 4 === 0 ? 25 + f : 0, impression,
        areaPercent: 100 - 10 * (f % 5), rotation: impression * 15 * round,
        turned: impression === 3 && f % 6 === 5, type, variant: round + f,
      }));
    }
  }
  return templates;
}

// A round of the native test of the same name (score_digest.cpp): every answer of some
// 14,000 comparisons, 6768 of them with a score.
export async function digestOfRound({ Matcher }, inside, form, round) {
  const digest = new Digest();
  const matcher = await Matcher.create({ form });
  for (const type of TYPES) {
    matcher.templateType = type;
    matcher.securityLevel = 1 + (round % 7);
    matcher.retryTurned = round % 4 === 3;
    const templates = makeTemplates(inside, round, type);
    templates.forEach((probe, p) => {
      matcher.fastMode = p % 4 !== 0;
      const others = templates.filter((_, index) => index !== p);
      for (const other of others) {
        const { points, matched } = matcher.verify(probe, other);
        digest.add(0, points, matched ? 1 : 0);
      }
      const matching = new Set(matcher.matches(probe, others));
      digest.add(0);
      others.forEach((_, index) => digest.add(0, 0, matching.has(index) ? 1 : 0));
      digest.add(0, 0, matcher.identify(probe, others) ?? -1);
    });
  }
  matcher.dispose();
  return digest.value.toString(16).padStart(16, "0");
}

// The numbers of the lines of the known answers that come out otherwise.
export async function wrongAnswers({ Matcher, VxmError }, form, text) {
  const wrong = [];
  for (const [index, line] of text.split("\n").entries()) {
    const [kind, type, level, retry, first, second, status, score, decision] = line.split(" ");
    if (kind !== "verify") continue;
    const matcher = await Matcher.create(
      { form, templateType: Number(type), securityLevel: Number(level), retryTurned: retry === "1" });
    let answer;
    try {
      const { points, matched } = matcher.verify(fromHex(first), fromHex(second));
      answer = [0, points, matched ? 1 : 0];
    } catch (error) {
      if (!(error instanceof VxmError)) throw error;
      answer = [error.status, 0, 0];
    }
    if (String(answer) !== String([status, score, decision])) wrong.push(index + 1);
    matcher.dispose();
  }
  return wrong;
}
