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
// Cost: each reference pair looks up three sets of the probe's pairs; only the
// words that hold pairs of similar length are intersected.
//
// Pruning. When both templates have many pairs, the longest, which distortion
// bends most, are left out: the longest length of either side at a time, until
// the product of the counts is small enough. What is left of the probe's pairs
// are those below some length. Of the reference's pairs none is barred; but the
// probe's pairs end to vote where no reference pair below that length is as
// long, less the tolerance.
#include <algorithm>

#include "engine/scoring.h"
#include "engine/stages.h"
#include "platform/cpu.h"

namespace vxm {
namespace {

// Reference pairs of each length; 0 for lengths that count for nothing.
void CountLengths(const TemplateGeometry& geometry, uint16_t* counts) {
  std::fill_n(counts, maxDistance + 1, uint16_t{0});
  for (int i = 0; i < geometry.count; i++) {
    const uint16_t* distance = geometry.distance + geometry.Row(i);
    for (int j = i + 1; j < geometry.count; j++) counts[distance[j]]++;
  }
  std::fill_n(counts, EngineParams::minPairDistance + 1, uint16_t{0});
}

// How many of the probe's pairs, the shortest, may vote.
int CountVotingPairs(const EngineContext& context, const MatchLimits& limits) {
  const TemplateGeometry& reference = context.referenceGeometry;
  const PairList& pairs = context.probePairs;
  const int mostReferencePairs = reference.count * (reference.count - 1) / 2;
  const bool mayPrune = limits.pruneEnabled != 0 &&
                        (pairs.count - 1) * (mostReferencePairs - 1) > limits.pruneMaxProduct;
  if (!mayPrune) return pairs.count;

  uint16_t counts[maxDistance + 1];
  CountLengths(reference, counts);
  int probeLast = pairs.count - 1;
  int referenceLast = -1;
  for (const uint16_t count : counts) referenceLast += count;

  int length = maxDistance + 1;  // pairs of this length and more are left out
  for (int d = maxDistance; d > limits.pruneMinDistance; d--) {
    if (probeLast * referenceLast <= limits.pruneMaxProduct) break;
    const int probePairs = pairs.startAt[d + 1] - pairs.startAt[d];
    if (probePairs + counts[d] == 0) continue;
    probeLast -= probePairs;
    referenceLast -= counts[d];
    length = d;
  }
  if (length > maxDistance) return pairs.count;
  int longest = length - 1;  // reference pair that is left
  while (longest > 0 && counts[longest] == 0) longest--;
  if (longest == 0) return 0;
  return PairsUpTo(pairs, std::min(length - 1, longest + limits.distanceTolerance));
}

void AddVotes(EngineContext& context, Correspondence a, Correspondence b) {
  const int stride = context.referenceGeometry.stride;
  context.votes[a.probe * stride + a.reference]++;
  context.votes[b.probe * stride + b.reference]++;
}

// The definition, for any angles: each reference pair with each probe pair.
void CastVotesOneByOne(EngineContext& context, int lastPair, const MatchLimits& limits) {
  const TemplateGeometry& reference = context.referenceGeometry;
  const PairList& pairs = context.probePairs;
  for (int i = 0; i < reference.count; i++) {
    for (int j = i + 1; j < reference.count; j++) {
      const int length = DistanceOf(reference, i, j);
      if (length <= EngineParams::minPairDistance) continue;
      const int end = std::min<int>(PairsUpTo(pairs, length + limits.distanceTolerance), lastPair);
      for (int p = PairsUpTo(pairs, length - limits.distanceTolerance - 1); p < end; p++) {
        const Correspondence a = {pairs.first[p], i};
        const Correspondence b = {pairs.second[p], j};
        if (LinesAgree(context, a, b, limits.angleTolerance)) AddVotes(context, a, b);
      }
    }
  }
}

// Angles of the reference pairs (i, j) of one i, whole degrees 0..359.
struct PairRow {
  uint16_t line[maxRow];
  uint16_t firstDir[maxRow];
  uint16_t secondDir[maxRow];
};

void FillPairRow(const TemplateGeometry& reference, int i, PairRow& row) {
  const uint16_t* lineAngle = reference.lineAngle + reference.Row(i);
  const auto dir = static_cast<uint16_t>(reference.dir[i] + 360);
  for (int j = i + 1; j < reference.count; j++) {
    const auto line = static_cast<uint16_t>(lineAngle[j] >= 360 ? 0 : lineAngle[j]);
    const auto first = static_cast<uint16_t>(dir - line);
    const auto second = static_cast<uint16_t>(reference.dir[j] + 360 - line);
    row.line[j] = line;
    row.firstDir[j] = static_cast<uint16_t>(first >= 360 ? first - 360 : first);
    row.secondDir[j] = static_cast<uint16_t>(second >= 360 ? second - 360 : second);
  }
}

// Probe pairs that may vote with the reference pair (i, j): one word of a set.
struct Agreeing {
  uint64_t bits;
  uint16_t word;
  uint8_t i;
  uint8_t j;
};

// Lists the words of the sets in which the three angles of a reference pair meet
// and which hold pairs of similar length. Without branches on what they hold:
// those could not be foretold.
int ListAgreeing(const PairSets& sets, const PairRow& row, int i, int j, int begin, int end,
                 Agreeing* list, int count) {
  const uint64_t* lines = sets.line.bits + row.line[j] / angleStep * sets.words;
  const uint64_t* firsts = sets.firstDir.bits + row.firstDir[j] / angleStep * sets.words;
  const uint64_t* seconds = sets.secondDir.bits + row.secondDir[j] / angleStep * sets.words;
  const auto add = [&](int word, uint64_t mask) {
    const uint64_t bits = lines[word] & firsts[word] & seconds[word] & mask;
    list[count] = {bits, static_cast<uint16_t>(word), static_cast<uint8_t>(i),
                   static_cast<uint8_t>(j)};
    count += bits != 0 ? 1 : 0;
  };
  const int firstWord = begin / 64;
  const int lastWord = (end - 1) / 64;
  const uint64_t fromBegin = ~uint64_t{0} << (begin % 64);
  const uint64_t toEnd = ~uint64_t{0} >> (63 - (end - 1) % 64);
  add(firstWord, firstWord == lastWord ? fromBegin & toEnd : fromBegin);
  for (int word = firstWord + 1; word < lastWord; word++) add(word, ~uint64_t{0});
  add(lastWord, firstWord == lastWord ? 0 : toEnd);
  return count;
}

// Votes for the pairs in the list whose angles do agree. With t the rotation of
// the line and a, b those of the minutiae, |t|, |a - t|, |b - t| and |b - a| must be
// small. That a and b are within the gate of the weights follows; what may be
// missing is the quality.
void CountAgreeing(EngineContext& context, const PairRow& row, const Agreeing* list, int count,
                   int tolerance) {
  const PairList& pairs = context.probePairs;
  const int stride = context.referenceGeometry.stride;
  for (int k = 0; k < count; k++) {
    const int i = list[k].i;
    const int j = list[k].j;
    for (uint64_t bits = list[k].bits; bits != 0; bits &= bits - 1) {
      const int p = list[k].word * 64 + platform::LowestBit(bits);
      const int first = row.firstDir[j] - pairs.firstDir[p];
      const int second = row.secondDir[j] - pairs.secondDir[p];
      const bool agree = SmallTurn(row.line[j] - pairs.line[p], EngineParams::lineTolerance) &
                         SmallTurn(first, tolerance) & SmallTurn(second, tolerance) &
                         SmallTurn(second - first, tolerance);
      const Correspondence a = {pairs.first[p], i};
      const Correspondence b = {pairs.second[p], j};
      const auto vote =
          static_cast<uint16_t>(agree & QualityAgrees(context, a) & QualityAgrees(context, b));
      context.votes[a.probe * stride + i] =
          static_cast<uint16_t>(context.votes[a.probe * stride + i] + vote);
      context.votes[b.probe * stride + j] =
          static_cast<uint16_t>(context.votes[b.probe * stride + j] + vote);
    }
  }
}

void CastVotes(EngineContext& context, int lastPair, const MatchLimits& limits) {
  const TemplateGeometry& reference = context.referenceGeometry;
  const PairList& pairs = context.probePairs;
  const uint16_t* begins = pairs.startAt - limits.distanceTolerance;
  const uint16_t* ends = pairs.startAt + limits.distanceTolerance + 1;
  PairRow row;
  constexpr int room = 1024;
  static_assert(room > 2 * maxPairWords);
  Agreeing list[room + 2];  // one is written beyond those that count
  for (int i = 0; i < reference.count; i++) {
    const uint16_t* distance = reference.distance + reference.Row(i);
    FillPairRow(reference, i, row);
    int count = 0;
    for (int j = i + 1; j < reference.count; j++) {
      const int begin = begins[std::max<int>(distance[j], EngineParams::minPairDistance)];
      const int end = std::min<int>(ends[distance[j]], lastPair);
      if (begin >= end || distance[j] <= EngineParams::minPairDistance) continue;
      if (count > room - maxPairWords) {
        CountAgreeing(context, row, list, count, limits.angleTolerance);
        count = 0;
      }
      count = ListAgreeing(context.probePairSets, row, i, j, begin, end, list, count);
    }
    CountAgreeing(context, row, list, count, limits.angleTolerance);
  }
}

// Each probe minutia with its best-voted mate, the lowest of several. A seed's
// place is the number of seeds before it: those with more votes, and of as many
// those of a lower index. One number holds both.
void RankSeeds(EngineContext& context) {
  const int probeCount = context.probeGeometry.count;
  const int stride = context.referenceGeometry.stride;
  int32_t best[maxMinutiae];
  int32_t keys[maxMinutiae];
  for (int i = 0; i < probeCount; i++) {
    const uint16_t* votes = context.votes + i * stride;
    int32_t most = 0;
    for (int j = 0; j < stride; j++) most = std::max(most, votes[j] << 8 | (255 - j));
    best[i] = most;
    keys[i] = (most >> 8) << 8 | (255 - i);
  }
  for (int i = 0; i < probeCount; i++) {
    int place = 0;
    for (int j = 0; j < probeCount; j++) place += keys[j] > keys[i] ? 1 : 0;
    context.seeds[place] = {static_cast<uint8_t>(i), static_cast<uint8_t>(255 - (best[i] & 0xFF)),
                            best[i] >> 8};
  }
}

}  // namespace

void VotePairs(EngineContext& context, const MatchLimits& limits) {
  std::fill_n(context.votes, context.probeGeometry.count * context.referenceGeometry.stride,
              uint16_t{0});
  const int votingPairs = CountVotingPairs(context, limits);
  if (HasPlainAngles(context)) {
    CastVotes(context, votingPairs, limits);
  } else {
    CastVotesOneByOne(context, votingPairs, limits);
  }
  RankSeeds(context);
}

}  // namespace vxm
