// What one thread needs to compare a probe with candidates.
#pragma once

#include "engine/records.h"

namespace vxm {

// What a search keeps of its probe from one candidate to the next: the tables of
// the full and of the reduced probe, each made when first needed.
struct StagedContext {
  Scratch scratch;
  EngineContext full{scratch};
  EngineContext reduced{scratch};
  MatchWorkspace reducedProbe;
  MatchWorkspace reducedCandidate;
  MatchResult result;
  bool fullNeedsPrepare = true;
  bool reducedNeedsPrepare = true;
};

// To be called whenever another probe is to be compared.
inline void ForgetProbe(StagedContext& context) {
  context.fullNeedsPrepare = true;
  context.reducedNeedsPrepare = true;
}

struct WorkingSet {
  MatchWorkspace probeWorkspace;
  MatchWorkspace candidateWorkspace;
  StagedContext staged;
};

}  // namespace vxm
