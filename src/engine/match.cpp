// The comparison of two templates, stage by stage; native templates and
// standard records differ in three stages and in the scale of the score.
#include "engine/match.h"

#include <algorithm>

#include "engine/stages.h"

namespace vxm {
namespace {

constexpr int maxScore = 9999;

// From this score on the first pass stands alone.
constexpr int clearScore = 1000;

bool TooSmall(const MatchWorkspace& probe, const MatchWorkspace& reference) {
  return probe.minutiaCount < minMinutiae || reference.minutiaCount < minMinutiae;
}

void Begin(const MatchWorkspace& probe, const MatchWorkspace& reference, EngineContext& context,
           MatchResult& result) {
  context.currentProbe = &probe;
  context.currentReference = &reference;
  result.score = 0;
  result.rotation = 0;
  result.dx = 0;
  result.dy = 0;
  std::fill_n(result.mate, probe.minutiaCount, -1);
}

bool NeedsSecondPass(const MatchResult& result) {
  return result.score >= 1 && result.score < clearScore;
}

}  // namespace

int MatchNativeEx(const MatchWorkspace& probe, const MatchWorkspace& reference,
                  EngineContext& context, MatchResult& result, bool prepareProbe,
                  const MatchLimits& limits) {
  if (TooSmall(probe, reference)) return 0;
  Begin(probe, reference, context, result);
  if (prepareProbe) PrepareGeometry(context, Side::probe);
  PrepareGeometry(context, Side::reference);
  WeighCandidates(context);
  VotePairs(context, limits);
  SearchAlignment(context, result);
  const auto scale = [&](MatchResult& aligned) {
    if (aligned.score == 0) return;
    OrientationConsistency(context.probeGeometry, context.referenceGeometry, aligned);
  };
  scale(result);
  if (NeedsSecondPass(result)) {
    MatchResult second;
    RefineAlignment(context, result, second);
    scale(second);
    result.score = (result.score + second.score) >> 1;
  }
  result.score = std::min(result.score, maxScore);
  return result.score;
}

int MatchStandardEx(const MatchWorkspace& probe, const MatchWorkspace& reference,
                    EngineContext& context, MatchResult& result, bool prepareProbe,
                    const MatchLimits& limits) {
  if (TooSmall(probe, reference)) return 0;
  Begin(probe, reference, context, result);
  if (prepareProbe) PrepareStandardGeometry(context, Side::probe);
  PrepareStandardGeometry(context, Side::reference);
  WeighStandardCandidates(context);
  VotePairs(context, limits);
  SearchAlignment(context, result);
  if (NeedsSecondPass(result)) {
    MatchResult second;
    RefineAlignment(context, result, second);
    result.score = (result.score + second.score) >> 1;
  }
  result.score = std::min(2 * result.score, maxScore);
  return result.score;
}

}  // namespace vxm
