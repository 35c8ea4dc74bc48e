// One-to-one comparison: load both templates, score them, decide.
#include <algorithm>

#include "engine/match.h"
#include "matcher/decision.h"
#include "matcher/matcher.h"
#include "platform/process_lock.h"
#include "templates/load.h"
#include "templates/turn.h"

namespace {

using vxm::TemplateFormat;

struct Bytes {
  const unsigned char* data;
  int size;
};

bool IsKnownType(int templateType) {
  return templateType == TEMPLATE_NATIVE || templateType == TEMPLATE_ISO19794_2 ||
         templateType == TEMPLATE_ANSI378;
}

int LoadBoth(Matcher& matcher, TemplateFormat format, Bytes first, Bytes second) {
  if (!IsKnownType(matcher.templateType) || !vxm::MayBeOf(format, first.data, first.size) ||
      !vxm::MayBeOf(format, second.data, second.size)) {
    return VXM_ERR_TEMPLATE_TYPE;
  }
  if (format != TemplateFormat::native) {
    const vxm::RecordLayout& layout = vxm::LayoutOf(format);
    if (!vxm::CheckRecord(layout, first.data, first.size) ||
        !vxm::CheckRecord(layout, second.data, second.size)) {
      return VXM_ERR_DATA_CORRUPTED;
    }
  }
  vxm::WorkingSet& set = matcher.caller;
  vxm::ForgetProbe(set.staged);
  if (!vxm::LoadAs(format, first.data, first.size, set.probeWorkspace) ||
      !vxm::LoadInPlace(format, second.data, second.size, set.candidateWorkspace)) {
    return VXM_ERR_INVALID_PARAMETERS;
  }
  return VXM_OK;
}

int Score(vxm::WorkingSet& set, TemplateFormat format, const vxm::MatchWorkspace& probe) {
  const auto match = format == TemplateFormat::native ? vxm::MatchNative : vxm::MatchStandard;
  return match(probe, set.candidateWorkspace, set.staged.full, set.staged.result, true);
}

}  // namespace

int VXM_CALL VXM_VerifyEx(MatcherHandle handle, const unsigned char* template1, int size1,
                          const unsigned char* template2, int size2, float* score, int* verified) {
  if (score != nullptr) *score = 0.0f;
  if (verified != nullptr) *verified = 0;
  if (handle == nullptr || template1 == nullptr || template2 == nullptr || score == nullptr ||
      verified == nullptr) {
    return VXM_ERR_INVALID_PARAMETERS;
  }
  const vxm::ProcessLock lock;
  Matcher& matcher = *handle;
  const TemplateFormat format = vxm::ExpectedFormat(matcher);
  const int status = LoadBoth(matcher, format, {template1, size1}, {template2, size2});
  if (status != VXM_OK) return status;

  const int threshold = vxm::ThresholdAt(
      format == TemplateFormat::native ? vxm::nativeThresholds : vxm::standardThresholds,
      matcher.securityLevel);
  int best = Score(matcher.caller, format, matcher.caller.probeWorkspace);
  if (best < threshold && matcher.retryTurnedProbe) {
    vxm::TurnWorkspace(matcher.spareWorkspace, matcher.caller.probeWorkspace);
    best = std::max(best, Score(matcher.caller, format, matcher.spareWorkspace));
  }
  *score = static_cast<float>(best / 10000.0);
  *verified = best >= threshold ? 1 : 0;
  return VXM_OK;
}

int VXM_CALL VXM_Verify(MatcherHandle handle, const unsigned char* template1, int size1,
                        const unsigned char* template2, int size2, int* verified) {
  float score = 0.0f;
  return VXM_VerifyEx(handle, template1, size1, template2, size2, &score, verified);
}
