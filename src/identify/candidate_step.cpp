// The candidate step, the same for every one-to-many search.
#include "identify/candidate_step.h"

#include "identify/staged.h"
#include "matcher/decision.h"
#include "templates/load.h"

namespace vxm {

StepOutcome CompareCandidate(const Matcher& matcher, WorkingSet& set, const CandidateEntry& entry) {
  const TemplateFormat format = ExpectedFormat(matcher);
  const bool native = format == TemplateFormat::native;
  if (!MayBeOf(format, entry.templateData, entry.templateSize)) return StepOutcome::wrongFormat;
  uint8_t attribute = 0;
  if (!ReadAttribute(format, entry.templateData, entry.templateSize, attribute) ||
      !LoadInPlace(format, entry.templateData, entry.templateSize, set.candidateWorkspace)) {
    return StepOutcome::passedOver;
  }
  if (format == TemplateFormat::iso &&
      (set.probeWorkspace.minutiaCount == 0 || set.candidateWorkspace.minutiaCount == 0)) {
    return StepOutcome::nothingLeft;
  }
  const auto compare = native ? StagedCompareNative : StagedCompareStandard;
  const int threshold =
      ThresholdAt(native ? nativeThresholds : standardThresholds, matcher.securityLevel);
  const int score =
      compare(set.probeWorkspace, set.candidateWorkspace, set.staged, matcher.fastMode, threshold);
  return score >= threshold ? StepOutcome::match : StepOutcome::noMatch;
}

}  // namespace vxm
