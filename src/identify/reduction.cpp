// Reducing a template to its most telling minutiae.
//
// In: a workspace. Out: a copy with at most `maxCount` minutiae, in the order of
// the source, and only the part of the orientation grid around them.
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

// The blocks that positions with half a block around them touch; last excluded.
struct BlockSpan {
  int first;
  int last;
};

BlockSpan SpanOf(const int16_t* positions, int count, int gridBlocks) {
  const auto [min, max] = std::minmax_element(positions, positions + count);
  constexpr int margin = blockSize / 2;
  const int first = std::max(std::min<int>(*min, gridBlocks * blockSize) - margin, 0) / blockSize;
  const int last = (*max + margin + blockSize - 1) / blockSize;
  return {first, std::min(last, gridBlocks)};
}

// Whole rows, whatever they hold beyond the grid, are copied faster; a block
// becomes background by setting its bits.
void CopyGridAround(const MatchWorkspace& source, MatchWorkspace& target) {
  const BlockSpan columns = SpanOf(target.x, target.minutiaCount, source.gridWidth);
  const BlockSpan rows = SpanOf(target.y, target.minutiaCount, source.gridHeight);
  uint8_t outside[maxGridBlocks];
  std::fill_n(outside, maxGridBlocks, background);
  std::fill(outside + columns.first, outside + columns.last, uint8_t{0});
  for (int row = 0; row < source.gridHeight; row++) {
    if (row < rows.first || row >= rows.last) {
      std::fill_n(target.orientation[row], maxGridBlocks, background);
      continue;
    }
    for (int column = 0; column < maxGridBlocks; column++) {
      target.orientation[row][column] = source.orientation[row][column] | outside[column];
    }
  }
}

}  // namespace

void ReduceWorkspace(const MatchWorkspace& source, MatchWorkspace& target, int maxCount,
                     Scale scale) {
  const int n = source.minutiaCount;
  if (n <= maxCount) {
    CopyWorkspace(target, source);
    return;
  }
  MinutiaBits chosen;
  ActiveKernels().chooseMinutiae(source, maxCount, chosen);
  CopyMinutiae(source, target, chosen);
  if (scale == Scale::native) CopyGridAround(source, target);
}

}  // namespace vxm
