// The engine's entries: two loaded templates in, an integer score 0..9999 out.
//
// `prepareProbe` says whether the probe's tables must be derived; without it
// those that the last comparison on this context left are used again, which is
// right only for the same, unchanged probe. A template with fewer than 4
// minutiae gives 0 and touches neither context nor result.
#pragma once

#include "engine/params.h"
#include "engine/records.h"

namespace vxm {

int MatchNativeEx(const MatchWorkspace& probe, const MatchWorkspace& reference,
                  EngineContext& context, MatchResult& result, bool prepareProbe,
                  const MatchLimits& limits);

int MatchStandardEx(const MatchWorkspace& probe, const MatchWorkspace& reference,
                    EngineContext& context, MatchResult& result, bool prepareProbe,
                    const MatchLimits& limits);

inline int MatchNative(const MatchWorkspace& probe, const MatchWorkspace& reference,
                       EngineContext& context, MatchResult& result, bool prepareProbe) {
  return MatchNativeEx(probe, reference, context, result, prepareProbe, verificationLimits);
}

inline int MatchStandard(const MatchWorkspace& probe, const MatchWorkspace& reference,
                         EngineContext& context, MatchResult& result, bool prepareProbe) {
  return MatchStandardEx(probe, reference, context, result, prepareProbe, verificationLimits);
}

}  // namespace vxm
