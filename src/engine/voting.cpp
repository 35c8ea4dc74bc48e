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
#include <array>

#include "engine/scoring.h"
#include "engine/stages.h"
#include "platform/cpu.h"

namespace vxm {
namespace {

// Pairs of a template by their length; none for lengths that count for nothing.
struct LengthCounts {
  uint16_t counts[maxDistance + 1];
  int longest;
  int total;
};

void CountLengths(const TemplateGeometry& geometry, LengthCounts& lengths) {
  uint16_t longest = 0;
  for (int i = 0; i < geometry.count; i++) {
    const uint16_t* distance = geometry.distance + geometry.Row(i);
    for (int j = 0; j < geometry.count; j++) longest = std::max(longest, distance[j]);
  }
  lengths.longest = longest;
  std::fill_n(lengths.counts, longest + 1, uint16_t{0});
  for (int i = 0; i < geometry.count; i++) {
    const uint16_t* distance = geometry.distance + geometry.Row(i);
    for (int j = i + 1; j < geometry.count; j++) lengths.counts[distance[j]]++;
  }
  const int tooShort = std::min<int>(EngineParams::minPairDistance, longest) + 1;
  std::fill_n(lengths.counts, tooShort, uint16_t{0});
  lengths.total = 0;
  for (int d = 0; d <= longest; d++) lengths.total += lengths.counts[d];
}

// How many of the probe's pairs, the shortest, may vote.
int CountVotingPairs(const EngineContext& context, const MatchLimits& limits) {
  const TemplateGeometry& reference = context.referenceGeometry;
  const PairList& pairs = context.probePairs;
  const int mostReferencePairs = reference.count * (reference.count - 1) / 2;
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

// The reference pairs (i, j) of one i: their angles in whole degrees 0..359, and
// where the sets of those angles begin.
struct PairRow {
  uint16_t line[maxRow];
  uint16_t firstDir[maxRow];
  uint16_t secondDir[maxRow];
  uint16_t lineSet[maxRow];
  uint16_t firstDirSet[maxRow];
  uint16_t secondDirSet[maxRow];
};
static_assert(angleSteps * maxPairWords <= UINT16_MAX);

void FillPairRow(const TemplateGeometry& reference, int i, int words, PairRow& row) {
  const uint16_t* lineAngle = reference.lineAngle + reference.Row(i);
  const auto dir = static_cast<uint16_t>(reference.dir[i] + 360);
  const auto setOf = [words](uint16_t angle) {
    return static_cast<uint16_t>(angle / angleStep * words);
  };
  for (int j = i + 1; j < reference.count; j++) {
    const auto line = static_cast<uint16_t>(lineAngle[j] >= 360 ? 0 : lineAngle[j]);
    const auto first = static_cast<uint16_t>(dir - line);
    const auto second = static_cast<uint16_t>(reference.dir[j] + 360 - line);
    row.line[j] = line;
    row.firstDir[j] = static_cast<uint16_t>(first >= 360 ? first - 360 : first);
    row.secondDir[j] = static_cast<uint16_t>(second >= 360 ? second - 360 : second);
    row.lineSet[j] = setOf(row.line[j]);
    row.firstDirSet[j] = setOf(row.firstDir[j]);
    row.secondDirSet[j] = setOf(row.secondDir[j]);
  }
}

// Probe pairs that may vote with a reference pair (i, j): one word of a set.
struct Agreeing {
  uint64_t bits;
  int word;
  int j;
};

// The first `count` bits of two words.
struct TwoWords {
  uint64_t low;
  uint64_t high;
};

constexpr std::array<TwoWords, 129> MakeFirstBits() {
  std::array<TwoWords, 129> table = {};
  for (size_t count = 0; count <= 128; count++) {
    const uint64_t all = ~uint64_t{0};
    table[count].low = count == 0 ? 0 : all >> (count < 64 ? 64 - count : 0);
    table[count].high = count <= 64 ? 0 : all >> (128 - count);
  }
  return table;
}
constexpr auto firstBits = MakeFirstBits();

// Lists the words of the sets in which the three angles of a reference pair meet
// and which hold the pairs from `begin` to `end`, of similar length. Mostly those
// lie in two words at most. Without branches on what is found: those could not be
// foretold.
Agreeing* ListAgreeing(const PairSets& sets, const PairRow& row, int j, int begin, int end,
                       Agreeing* list) {
  const uint64_t* lines = sets.line.bits + row.lineSet[j];
  const uint64_t* firsts = sets.firstDir.bits + row.firstDirSet[j];
  const uint64_t* seconds = sets.secondDir.bits + row.secondDirSet[j];
  const auto add = [&](int word, uint64_t mask) {
    *list = {lines[word] & firsts[word] & seconds[word] & mask, word, j};
    list += list->bits != 0 ? 1 : 0;
  };
  int word = begin / 64;
  uint64_t fromBegin = ~uint64_t{0} << (begin % 64);
  for (; end - word * 64 > 128; word++) {
    add(word, fromBegin);
    fromBegin = ~uint64_t{0};
  }
  const TwoWords& toEnd = firstBits[static_cast<size_t>(end - word * 64)];
  add(word, fromBegin & toEnd.low);
  add(word + 1, toEnd.high);
  return list;
}

// Votes for the pairs in the list whose angles do agree. With t the rotation of
// the line and a, b those of the minutiae, |t|, |a - t|, |b - t| and |b - a| must be
// small. That a and b are within the gate of the weights follows; what may be
// missing is the quality. Each round takes one pair of each word, for words
// mostly hold one and the end of a loop over their bits could not be foretold.
void CountAgreeing(EngineContext& context, const PairRow& row, int i, Agreeing* list, Agreeing* end,
                   int tolerance) {
  const PairList& pairs = context.probePairs;
  const int stride = context.referenceGeometry.stride;
  while (end != list) {
    Agreeing* left = list;
    for (const Agreeing* agreeing = list; agreeing != end; agreeing++) {
      const Agreeing current = *agreeing;
      const int j = current.j;
      const int p = current.word * 64 + platform::LowestBit(current.bits);
      const int first = row.firstDir[j] - pairs.firstDir[p];
      const int second = row.secondDir[j] - pairs.secondDir[p];
      const Correspondence a = {pairs.first[p], i};
      const Correspondence b = {pairs.second[p], j};
      const bool agree = SmallTurn(row.line[j] - pairs.line[p], EngineParams::lineTolerance) &
                         SmallTurn(first, tolerance) & SmallTurn(second, tolerance) &
                         SmallTurn(second - first, tolerance) & QualityAgrees(context, a) &
                         QualityAgrees(context, b);
      const uint16_t vote = agree ? 1 : 0;
      uint16_t& firstVotes = context.votes[a.probe * stride + i];
      uint16_t& secondVotes = context.votes[b.probe * stride + j];
      firstVotes = static_cast<uint16_t>(firstVotes + vote);
      secondVotes = static_cast<uint16_t>(secondVotes + vote);
      *left = {current.bits & (current.bits - 1), current.word, j};
      left += left->bits != 0 ? 1 : 0;
    }
    end = left;
  }
}

void CastVotes(EngineContext& context, int lastPair, const MatchLimits& limits) {
  const TemplateGeometry& reference = context.referenceGeometry;
  const PairList& pairs = context.probePairs;
  const PairSets& sets = context.probePairSets;
  const uint16_t* begins = pairs.startAt - limits.distanceTolerance;
  const uint16_t* ends = pairs.startAt + limits.distanceTolerance + 1;
  PairRow row;
  constexpr int room = 1024;
  Agreeing list[room + maxPairWords + 2];
  for (int i = 0; i < reference.count; i++) {
    const uint16_t* distance = reference.distance + reference.Row(i);
    FillPairRow(reference, i, sets.words, row);
    Agreeing* last = list;
    for (int j = i + 1; j < reference.count; j++) {
      const int length = distance[j];
      if (length <= EngineParams::minPairDistance) continue;
      const int begin = begins[length];
      const int end = std::min<int>(ends[length], lastPair);
      if (begin >= end) continue;
      if (last > list + room) {
        CountAgreeing(context, row, i, list, last, limits.angleTolerance);
        last = list;
      }
      last = ListAgreeing(sets, row, j, begin, end, last);
    }
    CountAgreeing(context, row, i, list, last, limits.angleTolerance);
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
  KernelsFor(context).rankSeeds(context);
}

}  // namespace vxm
