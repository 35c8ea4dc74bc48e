// Voting: which reference minutia is the likely mate of each probe minutia.
//
// In: both pair lists and the candidate weights. Out: votes per correspondence,
// and the seeds: each probe minutia with its best-voted mate, most votes first.
// Idea: a pair of probe minutiae and a pair of reference minutiae that are
// about as long, bend alike and are turned alike could be the same two
// minutiae; each such coincidence votes for both correspondences. Chance
// coincidences scatter, true ones pile up.
// Cost: the lists are sorted by length, so each probe pair meets only the
// reference pairs of similar length. When both lists are long, the longest
// pairs, which distortion bends most, are left out first.
#include <algorithm>

#include "engine/numeric.h"
#include "engine/stages.h"

namespace vxm {
namespace {

// The last entries of the two pair lists that vote; -1 when none is left.
struct LastPairs {
  int probe;
  int reference;
};

LastPairs Prune(const TemplateGeometry& probe, const TemplateGeometry& reference,
                const MatchLimits& limits) {
  LastPairs last = {probe.pairCount - 1, reference.pairCount - 1};
  if (limits.pruneEnabled == 0) return last;
  while (last.probe >= 0 && last.reference >= 0 &&
         last.probe * last.reference > limits.pruneMaxProduct) {
    const int longest =
        std::max(probe.pairDistance[last.probe], reference.pairDistance[last.reference]);
    if (longest <= limits.pruneMinDistance) break;
    while (last.probe >= 0 && probe.pairDistance[last.probe] >= longest) last.probe--;
    while (last.reference >= 0 && reference.pairDistance[last.reference] >= longest) {
      last.reference--;
    }
  }
  return last;
}

// A pair of minutiae, the lower index first; only like corners correspond.
struct MinutiaPair {
  int first;
  int second;
};

MinutiaPair PairAt(const TemplateGeometry& geometry, int place) {
  const uint32_t index = geometry.pairIndex[place];
  return {static_cast<int>(index & 0xFFFF), static_cast<int>(index >> 16)};
}

bool PairsAgree(const EngineContext& context, MinutiaPair p, MinutiaPair r, int angleTolerance) {
  const TemplateGeometry& probe = context.probeGeometry;
  const TemplateGeometry& reference = context.referenceGeometry;
  if (context.pairWeight[p.first][r.first] == 0) return false;
  if (context.pairWeight[p.second][r.second] == 0) return false;
  if (!AnglesAgree(reference.relativeAngle[r.first][r.second],
                   probe.relativeAngle[p.first][p.second], angleTolerance)) {
    return false;
  }
  const int turn =
      AngleBetween(reference.lineAngle[r.first][r.second], probe.lineAngle[p.first][p.second]);
  return WithinTolerance(turn, EngineParams::lineTolerance) &&
         AnglesAgree(context.rotation[p.first][r.first], turn, angleTolerance) &&
         AnglesAgree(context.rotation[p.second][r.second], turn, angleTolerance);
}

void CastVotes(EngineContext& context, const MatchLimits& limits) {
  const TemplateGeometry& probe = context.probeGeometry;
  const TemplateGeometry& reference = context.referenceGeometry;
  const LastPairs last = Prune(probe, reference, limits);
  int start = 0;
  for (int a = 0; a <= last.probe; a++) {
    const int shortest = probe.pairDistance[a] - limits.distanceTolerance;
    const int longest = probe.pairDistance[a] + limits.distanceTolerance;
    while (reference.pairDistance[start] < shortest) start++;
    if (start > last.reference) break;
    const MinutiaPair p = PairAt(probe, a);
    // Pruning bounds where a run may start, not where it ends.
    for (int b = start; reference.pairDistance[b] <= longest; b++) {
      const MinutiaPair r = PairAt(reference, b);
      if (!PairsAgree(context, p, r, limits.angleTolerance)) continue;
      context.votes[p.first][r.first]++;
      context.votes[p.second][r.second]++;
    }
  }
}

void RankSeeds(EngineContext& context) {
  const int probeCount = context.probeGeometry.count;
  const int referenceCount = context.referenceGeometry.count;
  for (int i = 0; i < probeCount; i++) {
    const uint32_t* votes = context.votes[i];
    const uint32_t* best = std::max_element(votes, votes + referenceCount);
    context.seeds[i] = {static_cast<uint8_t>(i), static_cast<uint8_t>(best - votes),
                        static_cast<int32_t>(*best)};
  }
  std::sort(context.seeds, context.seeds + probeCount, [](const auto& a, const auto& b) {
    return a.seedVotes != b.seedVotes ? a.seedVotes > b.seedVotes : a.seedProbe < b.seedProbe;
  });
}

}  // namespace

void VotePairs(EngineContext& context, const MatchLimits& limits) {
  for (int i = 0; i < context.probeGeometry.count; i++) {
    std::fill_n(context.votes[i], context.referenceGeometry.count, 0u);
  }
  CastVotes(context, limits);
  RankSeeds(context);
}

}  // namespace vxm
