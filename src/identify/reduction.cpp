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

int Square(int value) { return value * value; }

// Smaller for minutiae that say more: crowded or not, the distance from the
// centre, and the place in the source, one above the other in one number.
void RankMinutiae(const MatchWorkspace& source, const MinutiaBits& crowded, int32_t* ranks) {
  for (int i = 0; i < source.minutiaCount; i++) {
    const int distance2 =
        Square(source.x[i] - 8 * source.gridWidth) + Square(source.y[i] - 8 * source.gridHeight);
    ranks[i] = (crowded.Has(i) ? 1 << 30 : 0) | distance2 << 8 | i;
  }
  std::fill(ranks + source.minutiaCount, ranks + maxRow, 0);
}

// Finds the `count` minutiae that say most.
void ChooseMinutiae(const MatchWorkspace& source, int count, MinutiaBits& chosen) {
  const Kernels& kernels = ActiveKernels();
  MinutiaBits crowded;
  kernels.findCrowded(source, crowded);
  int32_t ranks[maxRow];
  RankMinutiae(source, crowded, ranks);
  kernels.findSmallest(ranks, source.minutiaCount, count, chosen);
}

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
  ChooseMinutiae(source, maxCount, chosen);
  CopyMinutiae(source, target, chosen);
  if (scale == Scale::native) CopyGridAround(source, target);
}

}  // namespace vxm
