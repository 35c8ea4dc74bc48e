// Lets the engine compare, and then runs its later stages again on what the
// comparison left in the context, one by one.
#include "explanation.h"

#include <algorithm>
#include <stdexcept>

namespace {

using vxm::EngineContext;
using vxm::MatchResult;

bool MoreVotes(const Voted& a, const Voted& b) { return a.votes > b.votes; }

std::vector<Voted> ListCandidates(const EngineContext& context) {
  std::vector<Voted> candidates;
  const int probeCount = context.probeGeometry.count;
  for (int i = 0; i < probeCount; i++) {
    for (int j = 0; j < context.referenceGeometry.count; j++) {
      const int votes = context.votes[j * probeCount + i];
      if (votes != 0) candidates.push_back({{i, j}, votes});
    }
  }
  std::stable_sort(candidates.begin(), candidates.end(), MoreVotes);
  return candidates;
}

std::vector<Voted> ListSeeds(const EngineContext& context) {
  std::vector<Voted> seeds;
  for (int i = 0; i < context.probeGeometry.count; i++) {
    const vxm::SeedRecord& seed = context.seeds[i];
    if (seed.seedVotes > 0) seeds.push_back({{seed.seedProbe, seed.seedMate}, seed.seedVotes});
  }
  return seeds;
}

std::vector<Pair> ListPairs(const EngineContext& context, const MatchResult& result) {
  std::vector<Pair> pairs;
  const vxm::PairedMinutiae paired = ListPaired(context, result);
  for (int m = 0; m < context.probeGeometry.count; m++) {
    const int n = result.mate[m];
    if (n < 0) continue;
    pairs.push_back({{m, n},
                     PairWeight(context, {m, n}),
                     m == result.seedProbeA || m == result.seedProbeB,
                     NeighbourhoodOf(context, context.probeGeometry, paired.probe, m),
                     NeighbourhoodOf(context, context.referenceGeometry, paired.reference, n)});
  }
  return pairs;
}

// Tells a pass, and takes its score through the agreement of the ridges.
Pass TellPass(const EngineContext& context, MatchResult& result) {
  Pass pass = {result.rotation, result.dx, result.dy, {}, result.score, std::nullopt, result.score};
  if (result.score == 0) return pass;
  pass.pairs = ListPairs(context, result);
  if (context.scale == vxm::Scale::native) {
    pass.blocks =
        context.kernels->countBlocks(context.probeGeometry.area, context.referenceGeometry.area,
                                     result.rotation, {result.dx, result.dy});
    OrientationConsistency(context, result);
    pass.scaledScore = result.score;
  }
  return pass;
}

}  // namespace

Explanation Explain(const vxm::MatchWorkspace& probe, const vxm::MatchWorkspace& reference,
                    vxm::Scale scale) {
  Explanation told;
  const auto own = std::make_unique<vxm::OwnContext>();
  EngineContext& context = own->context;
  MatchResult first = {};
  const auto match = scale == vxm::Scale::native ? vxm::MatchNative : vxm::MatchStandard;
  const int score = match(probe, reference, context, first, true);
  if (std::min(probe.minutiaCount, reference.minutiaCount) < vxm::EngineParams::minMinutiae)
    return told;

  told.candidates = ListCandidates(context);
  told.seeds = ListSeeds(context);
  first = {};
  std::fill_n(first.mate, probe.minutiaCount, -1);
  SearchAlignment(context, first, 0);
  if (first.score == 0) return told;
  told.overlap = first.overlap;
  told.first = TellPass(context, first);
  told.score = told.first->scaledScore;
  if (told.score >= 1 && told.score < vxm::EngineParams::clearScore) {
    MatchResult second = {};
    RefineAlignment(context, first, second);
    told.second = TellPass(context, second);
    told.score = (told.score + told.second->scaledScore) / 2;
  }
  told.factor = scale == vxm::Scale::standard ? vxm::EngineParams::standardScaling : 1;
  told.score = std::min(told.score * told.factor, vxm::EngineParams::maxScore);
  if (told.score != score) throw std::logic_error("the stages do not add up to the score");
  return told;
}
