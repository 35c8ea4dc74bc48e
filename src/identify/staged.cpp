// The staged comparison.
//
// In: a probe, a candidate, and the probe's tables as the last call left them.
// Out: a score, and whether those tables still serve the next call.
#include "identify/staged.h"

#include "engine/match.h"

namespace vxm {
namespace {

constexpr int fastModeLimit = 50;  // scores from which the second stage runs
constexpr int normalModeLimit = 60;

constexpr MatchLimits fastFirstStage = {20, 7, 1, 125000, 70};
constexpr MatchLimits normalFirstStage = {15, 4, 1, 125000, 70};
constexpr MatchLimits secondStage = {20, 7, 0, 125000, 70};

using Match = int (*)(const MatchWorkspace&, const MatchWorkspace&, EngineContext&, MatchResult&,
                      bool, const MatchLimits&);

int StagedCompare(Match match, const MatchWorkspace& probe, const MatchWorkspace& candidate,
                  EngineContext& context, MatchResult& result, bool& needsPrepare, bool fastMode,
                  MatchWorkspace& reducedProbe, MatchWorkspace& reducedCandidate) {
  // The engine would answer 0 without preparing anything.
  if (probe.minutiaCount < minMinutiae || candidate.minutiaCount < minMinutiae) return 0;

  if (!fastMode) {
    const int score = match(probe, candidate, context, result, needsPrepare, normalFirstStage);
    needsPrepare = false;
    if (score < normalModeLimit) return score;
    return match(probe, candidate, context, result, false, secondStage);
  }

  if (needsPrepare) ReduceWorkspace(probe, reducedProbe, reducedMinutiae);
  ReduceWorkspace(candidate, reducedCandidate, reducedMinutiae);
  const int score =
      match(reducedProbe, reducedCandidate, context, result, needsPrepare, fastFirstStage);
  needsPrepare = false;
  if (score < fastModeLimit) return score;
  // The tables become those of the full probe, which no first stage can use.
  needsPrepare = true;
  return match(probe, candidate, context, result, true, secondStage);
}

}  // namespace

int StagedCompareNative(const MatchWorkspace& probe, const MatchWorkspace& candidate,
                        EngineContext& context, MatchResult& result, bool& needsPrepare,
                        bool fastMode, MatchWorkspace& reducedProbe,
                        MatchWorkspace& reducedCandidate) {
  return StagedCompare(MatchNativeEx, probe, candidate, context, result, needsPrepare, fastMode,
                       reducedProbe, reducedCandidate);
}

int StagedCompareStandard(const MatchWorkspace& probe, const MatchWorkspace& candidate,
                          EngineContext& context, MatchResult& result, bool& needsPrepare,
                          bool fastMode, MatchWorkspace& reducedProbe,
                          MatchWorkspace& reducedCandidate) {
  return StagedCompare(MatchStandardEx, probe, candidate, context, result, needsPrepare, fastMode,
                       reducedProbe, reducedCandidate);
}

}  // namespace vxm
