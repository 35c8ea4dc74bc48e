// One step of a search: one candidate against the loaded probe.
#pragma once

#include "identify/candidates.h"
#include "matcher/matcher.h"

namespace vxm {

enum class StepOutcome {
  match,
  noMatch,
  passedOver,   // not a usable template, or too short for its attribute
  nothingLeft,  // an ISO record, or the probe, holds no minutiae
  wrongFormat
};

// Loads the candidate into the working set and compares it there. The probe is
// in the set's probeWorkspace.
StepOutcome CompareCandidate(const Matcher& matcher, WorkingSet& set, const CandidateEntry& entry);

}  // namespace vxm
