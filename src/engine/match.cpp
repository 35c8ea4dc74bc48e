// The comparison of two templates, stage by stage. Native templates and standard
// records differ in what their geometry holds, in the orientation agreement,
// and in the scale of the score.
#include "engine/match.h"

#include <algorithm>

#include "engine/stages.h"

namespace vxm {
namespace {

void Clear(MatchResult& result, int probeCount) {
  result.score = 0;
  result.rotation = 0;
  result.dx = 0;
  result.dy = 0;
  std::fill_n(result.mate, probeCount, -1);
}

int Match(const MatchWorkspace& probe, const MatchWorkspace& reference, EngineContext& context,
          MatchResult& result, bool prepareProbe, const MatchLimits& limits, Scale scale) {
  if (probe.minutiaCount < EngineParams::minMinutiae ||
      reference.minutiaCount < EngineParams::minMinutiae)
    return 0;
  Clear(result, probe.minutiaCount);
  context.scale = scale;
  if (prepareProbe) PrepareProbe(context, probe);
  PrepareGeometry(context.referenceGeometry, reference, scale);
  VotePairs(context, limits);
  const auto byOrientation = [&](MatchResult& aligned) {
    if (scale == Scale::native && aligned.score != 0) OrientationConsistency(context, aligned);
  };
  const int scaling = scale == Scale::standard ? EngineParams::standardScaling : 1;
  const int neededMean = (limits.neededScore + scaling - 1) / scaling;
  SearchAlignment(context, result, std::min(2 * neededMean, EngineParams::clearScore));
  byOrientation(result);
  if (result.score >= 1 && result.score < EngineParams::clearScore) {
    MatchResult second;
    second.score = MostRefined(context, result);
    // The true score of the second pass makes no difference where the best cannot.
    if (((result.score + second.score) >> 1) * scaling >= limits.neededScore) {
      RefineAlignment(context, result, second);
      byOrientation(second);
    }
    result.score = (result.score + second.score) >> 1;
  }
  result.score = std::min(result.score * scaling, EngineParams::maxScore);
  return result.score;
}

}  // namespace

int MatchNativeEx(const MatchWorkspace& probe, const MatchWorkspace& reference,
                  EngineContext& context, MatchResult& result, bool prepareProbe,
                  const MatchLimits& limits) {
  return Match(probe, reference, context, result, prepareProbe, limits, Scale::native);
}

int MatchStandardEx(const MatchWorkspace& probe, const MatchWorkspace& reference,
                    EngineContext& context, MatchResult& result, bool prepareProbe,
                    const MatchLimits& limits) {
  return Match(probe, reference, context, result, prepareProbe, limits, Scale::standard);
}

}  // namespace vxm
