// Orientation agreement: do the ridges flow alike where the prints overlap?
//
// In: both block grids and an aligned result. Out: the result's score, scaled.
// Idea: every ridge block of the probe is moved by the alignment; where it
// meets a ridge block of the reference the two orientations, the probe's turned
// along, should agree. The score is multiplied by the square of the share that
// does, and reduced again when less than half of the larger print overlaps.
// Cost: one step per probe block.
#include <algorithm>

#include "engine/stages.h"

namespace vxm {
namespace {

int RidgeBlocks(const Area& area) {
  int count = 0;
  for (int row = 0; row < area.gridHeight; row++) {
    for (int column = 0; column < area.gridWidth; column++) {
      count += area.grid[row][column] != background ? 1 : 0;
    }
  }
  return count;
}

}  // namespace

void OrientationConsistency(const EngineContext& context, MatchResult& result) {
  const Area& probe = context.probeGeometry.area;
  const Area& reference = context.referenceGeometry.area;
  const BlockCounts counts =
      context.kernels->countBlocks(probe, reference, result.rotation, {result.dx, result.dy});
  if (counts.overlap == 0) {
    result.score = 0;
    return;
  }
  const int agreeing = result.score * counts.agree / counts.overlap * counts.agree / counts.overlap;
  const int area = std::max(RidgeBlocks(reference), counts.probe);
  const int percent = counts.overlap * 100 / area;
  const int factor = std::min(percent * 100 / EngineParams::fullOverlapPercent, 100);
  result.score = (agreeing * factor + 50) / 100;
}

}  // namespace vxm
