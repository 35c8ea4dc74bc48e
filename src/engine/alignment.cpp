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

int MinOverlap(int probeCount, int referenceCount) {
  return (EngineParams::minOverlapPercent * std::min(probeCount, referenceCount) + 99) / 100;
}

// First seeds need this many votes: half of the best seed's, and some at all.
int FirstSeedVotes(const EngineContext& context) {
  const bool large = std::min(context.probeGeometry.count, context.referenceGeometry.count) >=
                     EngineParams::manyMinutiae;
  return std::max(context.seeds[0].seedVotes / EngineParams::bestVotesOver - 1,
                  large ? EngineParams::manyMinutiaeVotes : 1);
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

// Alignments that two seeds give, some of them at a time.
struct AttemptList {
  static constexpr int enough = 16;
  static constexpr int room = enough + maxRow;
  int count;
  SeedPair seeds[room];
  int16_t theta[room];
};

// Lists the attempts of the first seeds from `first` on until there are some; answers
// with which seed to go on. Nothing branches on what fits, since it could not be
// foretold.
//
// Two seeds make an attempt only when they fit each other. Listing may name some that do
// not, since it compares turns and the squares of distances with room for rounding, but
// leaves out none that do (KernelsTest.AllFormsAgree); SeedsAgree decides. That attempts
// are listed before earlier ones are made changes nothing: whether a first seed still has
// its turn is asked when its first attempt comes up.
int ListAttempts(EngineContext& context, int first, int firstCount, int secondCount,
                 AttemptList& list) {
  const Kernels& kernels = *context.kernels;
  int pairs = 0;
  for (; first < firstCount && pairs < AttemptList::enough; first++) {
    pairs += kernels.listPartners(context, first, secondCount, list.seeds + pairs);
  }
  if (pairs != 0) TakeRidges(context);
  list.count = 0;
  for (int i = 0; i < pairs; i++) {
    const SeedPair pair = list.seeds[i];
    int theta = 0;
    const bool agree =
        SeedsAgree(context, SeedAt(context, pair.first), SeedAt(context, pair.second), theta);
    list.seeds[list.count] = pair;
    list.theta[list.count] = static_cast<int16_t>(theta);
    list.count += agree ? 1 : 0;
  }
  return first;
}

void MapReference(EngineContext& context) {
  context.referenceBlocks.Clear();
  for (int n = 0; n < context.referenceGeometry.count; n++) {
    const Position p = context.referenceGeometry.position[n];
    context.referenceBlocks.Add(p.x, p.y);
  }
}

// Makes the attempts that two seeds give, in order. `take` is given each of them, with
// the number of pairings of the best so far, which it updates; it answers whether to go
// on.
template <typename Take>
void MakeAttempts(EngineContext& context, Take take) {
  const int firstCount = CountSeeds(context, FirstSeedVotes(context));
  const int secondCount = CountSeeds(context, EngineParams::secondSeedVotes);
  AttemptList list;
  FitMemory memory;
  int place = -1;
  int bestMatched = 0;
  for (int first = 0; first < firstCount;) {
    first = ListAttempts(context, first, firstCount, secondCount, list);
    for (int i = 0; i < list.count; i++) {
      const SeedPair pair = list.seeds[i];
      if (pair.first != place) {
        // Later seeds have no more votes.
        if (context.seeds[pair.first].seedVotes <= bestMatched) return;
        if (place < 0) MapReference(context);
        place = pair.first;
        memory.seed = SeedAt(context, place);
        memory.needed = bestMatched;
        memory.blank = true;
      }
      Attempt attempt;
      AlignSeeds(context, memory.seed, SeedAt(context, pair.second), list.theta[i], attempt);
      if (!take(memory, attempt, bestMatched)) return;
    }
  }
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
  return std::clamp(support, EngineParams::minSupport, EngineParams::maxSupport);
}

int MaxWeight(const EngineContext& context) {
  return context.scale == Scale::native ? maxPairWeight : maxStandardPairWeight;
}

// The most that both passes make of the pairings, times the overlap: the squares of the
// weights, with support and its rounding in the first, of any seeds in the second.
int64_t BothPasses(const EngineContext& context, const Attempt& attempt) {
  const int supported = attempt.weight * EngineParams::maxSupport / 1024 + attempt.matched;
  const int64_t first = WithSeedFactors(context, supported, attempt.first, attempt.second);
  const int64_t second = attempt.matched * MaxWeight(context);
  return first * first + second * second;
}

// Whether any alignment may lead to passes whose scores add up to this.
//
// A search asks only whether a score reaches what it needs (`neededScore`), which for
// nearly all impostors it does not. Both passes weigh the same pairings over the same
// overlap, the first with at most the most support, the second with none. So their
// scores add up to no more than that of one pass in which each pairing weighs the root
// of both squares: `percent` of the largest weight. That is the bar here. When it is
// known what pairs, so is most of what the first pass makes of it (BothPasses).
//
// How many pairings the best attempt has decides which seeds the true search still tries.
// Here none is ever kept, so every attempt that it could make is tried, and none is
// missed. Where one passes the bar, all is made again, exactly.
//
// StagedKnownAnswerTest asks each known pair for its own score and for one more;
// SearchTest holds every search to the scores.
bool MayAddUpTo(EngineContext& context, int minOverlap, int norm, int sum) {
  constexpr int percent = 155;
  constexpr int supported = 100 * EngineParams::maxSupport / 1024 + 1;
  static_assert(percent * percent > 100 * 100 + supported * supported);
  const Bar bar = {sum * norm * 100 - 1, MaxWeight(context) * percent / 100};
  bool may = false;
  MakeAttempts(context, [&](FitMemory& memory, Attempt& attempt, int&) {
    const int overlap = PairMinutiae(context, memory, attempt, minOverlap, bar);
    may = overlap != 0 && BothPasses(context, attempt) >= (int64_t{bar.score} + 1) * overlap;
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
    return score <= norm * 100 * EngineParams::goodAlignment;
  });
  if (result.score != 0) result.score = Rescore(context, result, result.overlap, NeighbourSupport);
  result.score = result.score / norm / 100;
}

}  // namespace vxm
