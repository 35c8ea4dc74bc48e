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

// Pairs of a template by their length; none for lengths that count for nothing.
struct LengthCounts {
  uint16_t counts[maxDistance + 1];
  int longest;
  int total;
};

void CountLengths(const TemplateGeometry& geometry, LengthCounts& lengths) {
  const int longest = LongestPair(geometry);
  lengths.longest = longest;
  std::fill_n(lengths.counts, longest + 1, uint16_t{0});
  for (int place = 0; place < PairCount(geometry.count); place++) {
    lengths.counts[geometry.distance[place]]++;
  }
  const int tooShort = std::min<int>(EngineParams::minPairDistance, longest) + 1;
  std::fill_n(lengths.counts, tooShort, uint16_t{0});
  lengths.total = 0;
  for (int d = 0; d <= longest; d++) lengths.total += lengths.counts[d];
}

// How many of the probe's pairs, the shortest, may vote.
//
// When both templates have many pairs, the longest, which distortion bends most, are
// left out: the longest length of either side at a time, until the product of the counts
// is small enough. Whole lengths go, so what is left of the probe's pairs are those
// below one length, and counts by length find it without sorting the reference's
// pairs. Of the reference's pairs none is barred; but the probe's pairs end to vote where
// no reference pair below that length is as long, less the tolerance.
//
// MatchKnownAnswerTest and StagedKnownAnswerTest have pairs that are pruned.
int CountVotingPairs(const EngineContext& context, const MatchLimits& limits) {
  const TemplateGeometry& reference = context.referenceGeometry;
  const PairList& pairs = context.probePairs;
  const int mostReferencePairs = PairCount(reference.count);
  const bool mayPrune = limits.pruneEnabled != 0 &&
                        (pairs.count - 1) * (mostReferencePairs - 1) > limits.pruneMaxProduct;
  if (!mayPrune) return pairs.count;

  LengthCounts lengths;
  CountLengths(reference, lengths);
  int probeLast = pairs.count - 1;
  int referenceLast = lengths.total - 1;
  int length = maxDistance + 1;  // pairs of this length and more are left out
  for (int d = std::max(lengths.longest, pairs.longest); d > limits.pruneMinDistance; d--) {
    if (probeLast * referenceLast <= limits.pruneMaxProduct) break;
    const int probePairs = pairs.startAt[d + 1] - pairs.startAt[d];
    const int referencePairs = d <= lengths.longest ? lengths.counts[d] : 0;
    if (probePairs + referencePairs == 0) continue;
    probeLast -= probePairs;
    referenceLast -= referencePairs;
    length = d;
  }
  if (length > maxDistance) return pairs.count;
  int longest = std::min(length - 1, lengths.longest);  // reference pair that is left
  while (longest > 0 && lengths.counts[longest] == 0) longest--;
  if (longest == 0) return 0;
  return PairsUpTo(pairs, std::min(length - 1, longest + limits.distanceTolerance));
}

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
void VotePairs(EngineContext& context, const MatchLimits& limits) {
  std::fill_n(context.votes, context.probeGeometry.count * context.referenceGeometry.count,
              uint16_t{0});
  const Kernels& kernels = HasPlainAngles(context) ? ActiveKernels() : scalarKernels;
  context.kernels = &kernels;
  kernels.castVotes(context, CountVotingPairs(context, limits), limits);
  kernels.rankSeeds(context);
}

}  // namespace vxm
