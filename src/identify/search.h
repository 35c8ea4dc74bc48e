// One-to-many search.
#pragma once

#include "matcher/matcher.h"

namespace vxm {

// What a host asks of VXM_Identify and its kin. `templates` and `templateSizes`
// have `templateCount` entries.
struct IdentifyRequest {
  const unsigned char* probe;
  int probeSize;
  const unsigned char* const* templates;
  const int* templateSizes;
  int templateCount;
  uint32_t timeout;  // milliseconds for each pass, 0 for none
  int threads;       // 1 or 2
};

// One pass over the candidates, in the order of closeness: VXM_OK with the
// index of the first match, or -1, in matchIndex, or the status that ended it.
// Holds the process lock.
int IdentifyPass(Matcher& matcher, const IdentifyRequest& request, bool turnProbe, int& matchIndex);

}  // namespace vxm
