// Alignment search: the rigid motion that lays the probe on the reference best.
//
// In: geometries and seeds. Out: the raw score of the best alignment, its
// motion, its pairings, and the two seeds that gave it.
// Idea: two correspondences fix a motion. The best-voted seeds are tried as the
// first, all seeds with votes as the second. The winner is weighed again: pairings
// whose neighbours are paired too count for more.
// Where only scores from some number on matter, the search is first made with a bar
// so low that whatever fails it cannot lead there. Nearly always nothing is left.
// Cost: the attempts, which see to it that most of them end early.
#include <algorithm>

#include "engine/attempt.h"
#include "engine/stages.h"
#include "platform/cpu.h"

namespace vxm {
namespace {

// The score from which on no better alignment is looked for, times the norm.
constexpr int goodEnough = 100000;

// The most that a pairing's neighbours make it weigh, in 1024ths.
constexpr int maxSupport = 1200;

int MinOverlap(int probeCount, int referenceCount) {
  return (EngineParams::minOverlapPercent * std::min(probeCount, referenceCount) + 99) / 100;
}

// First seeds need this many votes: half of the best seed's, and some at all.
int FirstSeedVotes(const EngineContext& context) {
  constexpr int manyMinutiae = 25;
  const int votes = std::max(context.seeds[0].seedVotes / 2 - 1, 1);
  const bool large =
      std::min(context.probeGeometry.count, context.referenceGeometry.count) >= manyMinutiae;
  return large ? std::max(votes, 4) : votes;
}

int CountSeeds(const EngineContext& context, int minVotes) {
  int count = 0;
  while (count < context.probeGeometry.count && context.seeds[count].seedVotes >= minVotes) {
    count++;
  }
  return count;
}

Correspondence SeedAt(const EngineContext& context, int place) {
  return {context.seeds[place].seedProbe, context.seeds[place].seedMate};
}

// For each first seed the second ones that may stand beside it.
struct Partners {
  MinutiaBits any;  // first seeds that have some
  MinutiaBits of[maxRow];
};

// The tests are the same both ways round, so the fewer seeds ask the more.
void ListPartners(const EngineContext& context, int firstCount, int secondCount,
                  Partners& partners) {
  const Kernels& kernels = KernelsFor(context);
  partners.any = {};
  if (firstCount <= secondCount) {
    for (int s = 0; s < firstCount; s++) {
      if (kernels.findPartners(context, s, secondCount, partners.of[s])) partners.any.Add(s);
    }
    return;
  }
  std::fill_n(partners.of, firstCount, MinutiaBits{});
  for (int k = 0; k < secondCount; k++) {
    MinutiaBits firsts;
    if (!kernels.findPartners(context, k, firstCount, firsts)) continue;
    ForEachBit(firsts, firstCount, [&](int s) {
      partners.any.Add(s);
      partners.of[s].Add(k);
      return true;
    });
  }
}

// Makes the attempts that two seeds give, in order. `take` is given each of them, with
// the number of pairings of the best so far, which it updates; it answers whether to go
// on.
template <typename Take>
void MakeAttempts(EngineContext& context, Take take) {
  const int firstCount = CountSeeds(context, FirstSeedVotes(context));
  const int secondCount = CountSeeds(context, 3);
  Partners partners;
  ListPartners(context, firstCount, secondCount, partners);
  int bestMatched = 0;
  ForEachBit(partners.any, firstCount, [&](int s) {
    if (context.seeds[s].seedVotes <= bestMatched) return true;
    FitMemory memory;
    memory.needed = bestMatched;
    memory.seed = SeedAt(context, s);
    std::fill_n(memory.asked, context.probeGeometry.count, int16_t{-1});
    return ForEachBit(partners.of[s], secondCount, [&](int k) {
      Attempt attempt;
      return !AlignSeeds(context, memory.seed, SeedAt(context, k), attempt) ||
             take(memory, attempt, bestMatched);
    });
  });
}

void KeepAttempt(const EngineContext& context, const Attempt& attempt, int score, int overlap,
                 MatchResult& result) {
  result.score = score;
  result.rotation = attempt.theta;
  result.dx = attempt.shift.x;
  result.dy = attempt.shift.y;
  result.seedProbeA = attempt.first.probe;
  result.seedProbeB = attempt.second.probe;
  result.overlap = overlap;
  std::fill_n(result.mate, context.probeGeometry.count, -1);
  result.mate[attempt.first.probe] = attempt.first.reference;
  result.mate[attempt.second.probe] = attempt.second.reference;
  for (int k = 0; k < attempt.matched; k++) result.mate[attempt.mates[k][0]] = attempt.mates[k][1];
}

// Twice 1024 when all neighbours of both minutiae are paired; within bounds.
int NeighbourSupport(Neighbourhood probe, Neighbourhood reference) {
  const int support =
      (probe.paired + reference.paired) * 2048 / (probe.minutiae + reference.minutiae);
  return std::clamp(support, 800, maxSupport);
}

int MaxWeight(const EngineContext& context) {
  return context.scale == Scale::native ? maxPairWeight : maxStandardPairWeight;
}

// Whether any alignment may lead to passes whose scores add up to this.
//
// Both passes weigh the same pairings over the same overlap, the first with the most
// support, the second without. So their scores are not above that of pairings that
// weigh the root of both squares.
bool MayAddUpTo(EngineContext& context, int minOverlap, int norm, int sum) {
  constexpr int percent = 155;
  static_assert(percent * percent >
                100 * 100 + (100 * maxSupport / 1024 + 1) * (100 * maxSupport / 1024 + 1));
  const Bar bar = {sum * norm * 100 - 1, MaxWeight(context) * percent / 100};
  bool may = false;
  MakeAttempts(context, [&](FitMemory& memory, Attempt& attempt, int&) {
    const int overlap = PairMinutiae(context, memory, attempt, minOverlap, bar);
    may = overlap != 0 && MayBeat(attempt.matched * bar.mostWeight, overlap, bar.score);
    return !may;
  });
  return may;
}

}  // namespace

void SearchAlignment(EngineContext& context, MatchResult& result, int neededSum) {
  const int probeCount = context.probeGeometry.count;
  const int referenceCount = context.referenceGeometry.count;
  const int minOverlap = MinOverlap(probeCount, referenceCount);
  const int norm = ScoreNorm(probeCount, referenceCount);
  if (neededSum > 0 && !MayAddUpTo(context, minOverlap, norm, neededSum)) return;
  MakeAttempts(context, [&](FitMemory& memory, Attempt& attempt, int& bestMatched) {
    const auto weigh = [&](int weight) {
      return WithSeedFactors(context, weight, attempt.first, attempt.second);
    };
    const Bar bar = {result.score, weigh(MaxWeight(context))};
    const int overlap = PairMinutiae(context, memory, attempt, minOverlap, bar);
    if (overlap == 0) return true;
    const int score = SquareOver(weigh(attempt.weight), overlap);
    if (score <= result.score) return true;
    KeepAttempt(context, attempt, score, overlap, result);
    bestMatched = attempt.matched;
    return score <= norm * goodEnough;
  });
  if (result.score != 0) result.score = Rescore(context, result, result.overlap, NeighbourSupport);
  result.score = result.score / norm / 100;
}

}  // namespace vxm
