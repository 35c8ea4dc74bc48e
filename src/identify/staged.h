// The comparison of identification: most candidates are not the probe's finger,
// so a cheap first stage decides whether a full comparison is worth its cost.
#pragma once

#include "engine/records.h"

namespace vxm {

// Minutiae of a reduced template.
constexpr int reducedMinutiae = 18;

// In fast mode the first stage compares reduced copies of both templates, in
// normal mode the templates themselves under strict tolerances. A score below
// the stage's limit is final; otherwise the score of the full comparison is.
//
// `needsPrepare` says that the tables in the context, and the reduced probe, are
// not those of this probe. It is set by whoever loads a probe and kept true to
// the context here.
int StagedCompareNative(const MatchWorkspace& probe, const MatchWorkspace& candidate,
                        EngineContext& context, MatchResult& result, bool& needsPrepare,
                        bool fastMode, MatchWorkspace& reducedProbe,
                        MatchWorkspace& reducedCandidate);
int StagedCompareStandard(const MatchWorkspace& probe, const MatchWorkspace& candidate,
                          EngineContext& context, MatchResult& result, bool& needsPrepare,
                          bool fastMode, MatchWorkspace& reducedProbe,
                          MatchWorkspace& reducedCandidate);

// Keeps the `maxCount` minutiae that say most: those that stand alone first, then
// those nearest to the centre of the grid; and the orientation grid around them.
void ReduceWorkspace(const MatchWorkspace& source, MatchWorkspace& target, int maxCount);

}  // namespace vxm
