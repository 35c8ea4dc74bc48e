// Identification one candidate at a time. Every format is compared and decided
// as native here.
#include <algorithm>

#include "identify/staged.h"
#include "matcher/decision.h"
#include "matcher/matcher.h"
#include "platform/process_lock.h"
#include "templates/load.h"
#include "templates/turn.h"

namespace {

// Loads a template of the matcher's format; what is not native gets a grid of ridges that
// all flow alike.
bool Load(const Matcher& matcher, const unsigned char* bytes, int size,
          vxm::MatchWorkspace& workspace) {
  const vxm::TemplateFormat format = vxm::ExpectedFormat(matcher);
  if (vxm::LoadTemplate(format, bytes, size, workspace) != vxm::LoadOutcome::loaded) return false;
  if (format != vxm::TemplateFormat::native) {
    std::fill_n(workspace.orientation[0], workspace.gridHeight * vxm::maxGridBlocks, uint8_t{0});
  }
  return true;
}

bool Matches(Matcher& matcher, const vxm::MatchWorkspace& probe) {
  vxm::WorkingSet& set = matcher.caller;
  const int threshold = vxm::ThresholdAt(vxm::nativeThresholds, matcher.securityLevel);
  return vxm::StagedCompareNative(probe, set.candidateWorkspace, set.staged, matcher.fastMode,
                                  threshold) >= threshold;
}

// Upright and turned probe take turns, so neither finds its own tables.
bool MatchesEitherWay(Matcher& matcher) {
  vxm::StagedContext& staged = matcher.caller.staged;
  vxm::ForgetProbe(staged);
  bool matches = Matches(matcher, matcher.caller.probeWorkspace);
  if (!matches) {
    vxm::ForgetProbe(staged);
    matches = Matches(matcher, matcher.spareWorkspace);
  }
  vxm::ForgetProbe(staged);
  return matches;
}

}  // namespace

int VXM_CALL VXM_IdentifyInit(MatcherHandle handle, const unsigned char* probe, int probeSize) {
  if (handle == nullptr || probe == nullptr) return VXM_ERR_INVALID_PARAMETERS;
  vxm::WorkingSet& set = handle->caller;
  if (!Load(*handle, probe, probeSize, set.probeWorkspace)) return VXM_ERR_TEMPLATE_TYPE;
  if (handle->retryTurnedProbe) vxm::TurnWorkspace(handle->spareWorkspace, set.probeWorkspace);
  vxm::ForgetProbe(set.staged);
  return VXM_OK;
}

int VXM_CALL VXM_IdentifyNext(MatcherHandle handle, const unsigned char* candidate,
                              int candidateSize, int* matched) {
  if (handle == nullptr || matched == nullptr) return VXM_ERR_INVALID_PARAMETERS;
  if (candidate == nullptr) {
    *matched = 0;
    return VXM_OK;
  }
  const vxm::ProcessLock lock;
  vxm::WorkingSet& set = handle->caller;
  if (!Load(*handle, candidate, candidateSize, set.candidateWorkspace)) {
    return VXM_ERR_TEMPLATE_TYPE;
  }
  const bool matches =
      handle->retryTurnedProbe ? MatchesEitherWay(*handle) : Matches(*handle, set.probeWorkspace);
  *matched = matches ? 1 : 0;
  return VXM_OK;
}
