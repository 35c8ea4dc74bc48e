// The staged comparison.
//
// In: a probe, a candidate, and the probe's tables as the last call left them.
// Out: a score, and whether those tables still serve the next call.
#include "identify/staged.h"

#include <algorithm>

#include "engine/match.h"

namespace vxm {
namespace {

int Compare(Scale scale, const MatchWorkspace& probe, const MatchWorkspace& candidate,
            EngineContext& engine, MatchResult& result, bool prepare, const MatchLimits& limits) {
  const auto match = scale == Scale::native ? MatchNativeEx : MatchStandardEx;
  return match(probe, candidate, engine, result, prepare, limits);
}

// Compares full templates; their probe's tables are made at most once.
int CompareFull(Scale scale, const MatchWorkspace& probe, const MatchWorkspace& candidate,
                StagedContext& context, const MatchLimits& limits) {
  const bool prepare = context.fullNeedsPrepare;
  context.fullNeedsPrepare = false;
  return Compare(scale, probe, candidate, context.full, context.result, prepare, limits);
}

int CompareReduced(Scale scale, const MatchWorkspace& probe, const MatchWorkspace& candidate,
                   StagedContext& context, const MatchLimits& limits) {
  const bool prepare = context.reducedNeedsPrepare;
  context.reducedNeedsPrepare = false;
  if (prepare) ReduceWorkspace(probe, context.reducedProbe, EngineParams::reducedMinutiae);
  ReduceWorkspace(candidate, context.reducedCandidate, EngineParams::reducedMinutiae);
  return Compare(scale, context.reducedProbe, context.reducedCandidate, context.reduced,
                 context.result, prepare, limits);
}

int StagedCompare(Scale scale, const MatchWorkspace& probe, const MatchWorkspace& candidate,
                  StagedContext& context, bool fastMode, int neededScore) {
  // The engine would answer 0 without preparing anything.
  if (probe.minutiaCount < EngineParams::minMinutiae ||
      candidate.minutiaCount < EngineParams::minMinutiae)
    return 0;
  const int stageLimit = fastMode ? EngineParams::fastModeLimit : EngineParams::normalModeLimit;
  MatchLimits limits = fastMode ? fastFirstStage : normalFirstStage;
  limits.neededScore = std::min(stageLimit, neededScore);
  const int score =
      (fastMode ? CompareReduced : CompareFull)(scale, probe, candidate, context, limits);
  if (score < stageLimit) return score;
  limits = secondStage;
  limits.neededScore = neededScore;
  return CompareFull(scale, probe, candidate, context, limits);
}

}  // namespace

int StagedCompareNative(const MatchWorkspace& probe, const MatchWorkspace& candidate,
                        StagedContext& context, bool fastMode, int neededScore) {
  return StagedCompare(Scale::native, probe, candidate, context, fastMode, neededScore);
}

int StagedCompareStandard(const MatchWorkspace& probe, const MatchWorkspace& candidate,
                          StagedContext& context, bool fastMode, int neededScore) {
  return StagedCompare(Scale::standard, probe, candidate, context, fastMode, neededScore);
}

}  // namespace vxm
