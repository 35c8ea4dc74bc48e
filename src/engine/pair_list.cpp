// The probe's minutia pairs by length.
//
// In: the probe's geometry. Out: every pair that is longer than the shortest
// useful one, in ascending length, with an index by length.
// Idea: a counting sort. Lengths are at most 1023, so one pass counts them, the
// counts become start positions, and a second pass drops each pair in place.
// Cost: two passes over the pairs, once for all candidates of a search.
#include <algorithm>

#include "engine/scoring.h"
#include "engine/stages.h"

namespace vxm {
namespace {

void PutPair(PairList& list, int place, const MinutiaPair& pair) {
  list.pairs[place] = pair;
  list.coarse.line[place] = CoarseTurn(pair.line);
  list.coarse.firstDir[place] = CoarseTurn(pair.firstDir);
  list.coarse.secondDir[place] = CoarseTurn(pair.secondDir);
}

}  // namespace

void BuildPairList(PairList& pairs, const TemplateGeometry& geometry) {
  // While the list is filled, startAt[d] is where the next pair of length d goes.
  const int longest = LongestPair(geometry);
  std::fill_n(pairs.startAt, longest + 1, uint16_t{0});
  for (int place = 0; place < PairCount(geometry.count); place++) {
    pairs.startAt[geometry.distance[place]]++;
  }
  uint16_t start = 0;
  for (int d = 0; d <= longest; d++) {
    const uint16_t count = d > EngineParams::minPairDistance ? pairs.startAt[d] : uint16_t{0};
    pairs.startAt[d] = start;
    start = static_cast<uint16_t>(start + count);
  }
  pairs.count = start;
  pairs.longest = longest;

  const MinutiaPair* const all = geometry.pairs;
  for (int place = 0; place < PairCount(geometry.count); place++) {
    const int d = geometry.distance[place];
    if (d <= EngineParams::minPairDistance) continue;
    PutPair(pairs, pairs.startAt[d]++, all[place]);
  }
  // Each start has moved to the end of its length, the start of the next one.
  std::copy_backward(pairs.startAt, pairs.startAt + longest + 1, pairs.startAt + longest + 2);
  pairs.startAt[0] = 0;
  // No pair is longer than the longest.
  std::fill(pairs.startAt + longest + 2, pairs.startAt + maxDistance + vectorPadding, start);
  constexpr int reach = EngineParams::pairDistanceTolerance;
  int most = 0;
  for (int d = reach; d <= std::min(longest + reach, maxDistance); d++) {
    most = std::max(most, pairs.startAt[d + reach + 1] - pairs.startAt[d - reach]);
  }
  pairs.mostAlike = most;
}

void PrepareProbe(EngineContext& context, const MatchWorkspace& workspace) {
  PrepareGeometry(context.probeGeometry, workspace, context.scale);
  BuildPairList(context.probePairs, context.probeGeometry);
}

}  // namespace vxm
