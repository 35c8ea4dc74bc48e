// Voting: which reference minutia is the likely mate of each probe minutia.
//
// In: the probe's pairs by length, and both geometries. Out: votes per
// correspondence, and the seeds: each probe minutia with its best-voted mate,
// most votes first.
// Idea: a pair of probe minutiae and a pair of reference minutiae that are
// about as long, bend alike and are turned alike could be the same two
// minutiae; each such coincidence votes for both correspondences. Chance
// coincidences scatter, true ones pile up. Votes are sums, so only the set of
// coincidences matters, not the order in which they are found.
// Cost: one step for each pair of the reference, in vectors that hold the probe's
// pairs of similar length, and one for each pair whose angles nearly agree.
//
#include <algorithm>

#include "engine/scoring.h"
#include "engine/stages.h"

namespace vxm {
namespace {

// Up to which length the probe's pairs may vote.
//
// When both templates have many pairs, the longest, which distortion bends most, are
// left out: the longest length of either side at a time, until the product of the counts
// is small enough. Whole lengths go, and the shorter the length the smaller the product,
// so the length where that ends is found by halving. Of the reference's pairs none is
// barred; but the probe's pairs end to vote where no reference pair of that length or less
// is as long, less the tolerance.
//
// MatchKnownAnswerTest and StagedKnownAnswerTest have pairs that are pruned.
int VotingLength(const EngineContext& context, const MatchLimits& limits) {
  const TemplateGeometry& reference = context.referenceGeometry;
  const PairList& pairs = context.probePairs;
  const auto small = [&](int probePairs, int referencePairs) {
    return std::min(probePairs, referencePairs) < 2 ||
           (probePairs - 1) * (referencePairs - 1) <= limits.pruneMaxProduct;
  };
  if (limits.pruneEnabled == 0 || small(pairs.count, PairCount(reference.count))) {
    return pairs.longest;
  }
  const auto countUpTo = [&](int length) { return context.kernels->countPairs(reference, length); };
  const LengthCount all = countUpTo(maxDistance);
  const int longest = std::max(all.longest, pairs.longest);
  if (longest <= limits.pruneMinDistance || small(pairs.count, all.count)) return pairs.longest;
  int voting = limits.pruneMinDistance;  // votes in any case
  for (int barred = longest; barred - voting > 1;) {
    const int middle = (voting + barred) / 2;
    (small(PairsUpTo(pairs, middle), countUpTo(middle).count) ? voting : barred) = middle;
  }
  const LengthCount left = countUpTo(voting);
  return left.count == 0 ? 0 : std::min(voting, left.longest + limits.distanceTolerance);
}

// Pairs of pairs that are compared one by one, at most. Of 200 minutiae all over a finger
// 140,000 are, where nothing is pruned.
constexpr int mostCompared = 1 << 19;

}  // namespace

// Votes are sums, so only the set of agreeing pairs matters, however it is found. The
// probe's pairs lie by length, so those that can agree with a pair of the reference stand
// side by side. A vector form looks at one byte of each of their three angles, 32 or 64
// pairs at a time. Bytes that are farther apart than CoarseReach belong to angles that are
// farther apart than the tolerance, so no pair that agrees is left out; the few that
// remain are tested exactly. That the weight of a correspondence is not 0 follows from
// those tests: its rotation is within one tolerance of the line's, which is within the
// other. Only the quality does not, and is looked at.
//
// KernelsTest.AllFormsAgree fails where this is not so.
//
// Where crowds agree, 200 minutiae in a heap for example, that would be thousands of times
// the work of a common comparison. So a form gives up when it has compared as many one by
// one as no common comparison does, and all is counted again, in another way.
void VotePairs(EngineContext& context, const MatchLimits& limits) {
  const Kernels& kernels = HasPlainAngles(context) ? ActiveKernels() : scalarKernels;
  context.kernels = &kernels;
  const int length = VotingLength(context, limits);
  context.votingBudget = mostCompared;
  if (!kernels.castVotes(context, length, limits)) CastCrowdedVotes(context, length, limits);
  kernels.rankSeeds(context);
}

}  // namespace vxm
