// Reducing a template to its most telling minutiae.
//
// In: a workspace. Out: a copy with at most `maxCount` minutiae, in the order of
// the source, which leads to the source's orientation grid.
// Idea: minutiae that crowd together are often false, and those near the edge
// are often missing from the other print. So the lonely ones come first, and
// among those alike the ones nearest to the centre of the grid.
// Cost: quadratic in the minutiae.
#include <algorithm>

#include "engine/kernels/kernels.h"
#include "identify/staged.h"

namespace vxm {
namespace {

void CopyMinutiae(const MatchWorkspace& source, MatchWorkspace& target, const MinutiaBits& chosen) {
  int kept = 0;
  ForEachBit(chosen, source.minutiaCount, [&](int i) {
    target.x[kept] = source.x[i];
    target.y[kept] = source.y[i];
    target.angle[kept] = source.angle[i];
    target.quality[kept] = source.quality[i];
    target.type[kept] = source.type[i];
    kept++;
  });
  target.minutiaCount = kept;
  target.gridWidth = source.gridWidth;
  target.gridHeight = source.gridHeight;
}

}  // namespace

void ReduceWorkspace(const MatchWorkspace& source, MatchWorkspace& target, int maxCount) {
  if (source.minutiaCount <= maxCount) {
    CopyWorkspace(target, source);
    return;
  }
  MinutiaBits chosen;
  ActiveKernels().chooseMinutiae(source, maxCount, chosen);
  CopyMinutiae(source, target, chosen);
  target.ridgesOf = &source;
}

}  // namespace vxm
