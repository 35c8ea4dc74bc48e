// The comparison of identification: most candidates are not the probe's finger,
// so a cheap first stage decides whether a full comparison is worth its cost.
#pragma once

#include "matcher/working_set.h"

namespace vxm {

// In fast mode the first stage compares reduced copies of both templates, in
// normal mode the templates themselves under strict tolerances. A score below
// the stage's limit is final; otherwise the score of the full comparison is.
//
// Scores from `neededScore` on are exact; others are only known to be below it.
int StagedCompareNative(const MatchWorkspace& probe, const MatchWorkspace& candidate,
                        StagedContext& context, bool fastMode, int neededScore);
int StagedCompareStandard(const MatchWorkspace& probe, const MatchWorkspace& candidate,
                          StagedContext& context, bool fastMode, int neededScore);

// Keeps the `maxCount` minutiae that say most: those that stand alone first, then
// those nearest to the centre of the grid. The target leads to the source for its grid,
// where it does not keep all.
void ReduceWorkspace(const MatchWorkspace& source, MatchWorkspace& target, int maxCount);

}  // namespace vxm
