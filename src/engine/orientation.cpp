// Orientation agreement: do the ridges flow alike where the prints overlap?
//
// In: both block grids and an aligned result. Out: the result's score, scaled.
// Idea: every ridge block of the probe is moved by the alignment; where it
// meets a ridge block of the reference the two orientations, the probe's turned
// along, should agree. The score is multiplied by the square of the share that
// does, and reduced again when less than half of the larger print overlaps.
// Cost: one step per probe block.
#include <algorithm>
#include <cstdlib>

#include "engine/numeric.h"
#include "engine/stages.h"

namespace vxm {
namespace {

struct BlockCounts {
  int probe;    // blocks with ridges
  int overlap;  // of them, those that meet a ridge block of the reference
  int agree;    // of those, the ones with the same orientation
};

BlockCounts CountBlocks(const TemplateGeometry& probe, const TemplateGeometry& reference,
                        const Alignment& motion) {
  const int half = motion.theta >= 180 ? motion.theta - 180 : motion.theta;
  BlockCounts counts = {0, 0, 0};
  for (int row = 0; row < probe.gridHeight; row++) {
    for (int column = 0; column < probe.gridWidth; column++) {
      if (probe.grid[row][column] == background) continue;
      counts.probe++;
      const Point centre = Apply(motion, column * blockSize + 8, row * blockSize + 8);
      const int x = centre.x >> 4;
      const int y = centre.y >> 4;
      if (x <= 0 || x >= reference.gridWidth || y <= 0 || y >= reference.gridHeight) continue;
      if (reference.grid[y][x] == background) continue;
      counts.overlap++;
      int orientation = probe.grid[row][column] + half;
      if (orientation >= 180) orientation -= 180;
      int difference = std::abs(orientation - reference.grid[y][x]);
      if (difference > 90) difference = 180 - difference;
      counts.agree += difference < EngineParams::orientationTolerance ? 1 : 0;
    }
  }
  return counts;
}

int RidgeBlocks(const TemplateGeometry& geometry) {
  int count = 0;
  for (int row = 0; row < geometry.gridHeight; row++) {
    const uint8_t* blocks = geometry.grid[row];
    count += geometry.gridWidth -
             static_cast<int>(std::count(blocks, blocks + geometry.gridWidth, background));
  }
  return count;
}

}  // namespace

void OrientationConsistency(const TemplateGeometry& probe, const TemplateGeometry& reference,
                            MatchResult& result) {
  const BlockCounts counts = CountBlocks(probe, reference, {result.rotation, result.dx, result.dy});
  if (counts.overlap == 0) {
    result.score = 0;
    return;
  }
  const int agreeing = result.score * counts.agree / counts.overlap * counts.agree / counts.overlap;
  const int area = std::max(RidgeBlocks(reference), counts.probe);
  const int percent = counts.overlap * 100 / area;
  const int factor = percent < 50 ? 2 * percent : 100;
  result.score = (agreeing * factor + 50) / 100;
}

}  // namespace vxm
