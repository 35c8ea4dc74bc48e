// Reducing a template to its most telling minutiae.
//
// In: a workspace. Out: a copy with at most `maxCount` minutiae, in the order of
// the source, and only the part of the orientation grid around them.
// Idea: minutiae that crowd together are often false, and those near the edge
// are often missing from the other print. So the lonely ones come first, and
// among those alike the ones nearest to the centre of the grid.
// Cost: quadratic in the minutiae.
#include <algorithm>

#include "identify/staged.h"

namespace vxm {
namespace {

constexpr int crowdedDistance = 10;  // pixels

int Square(int value) { return value * value; }

bool IsCrowded(const MatchWorkspace& source, int i) {
  const int n = source.minutiaCount;
  // A square around the minutia first: most hold none but the minutia itself.
  const int left = source.x[i] - crowdedDistance;
  const int top = source.y[i] - crowdedDistance;
  uint16_t inSquare = 0;
  for (int j = 0; j < n; j++) {
    const auto x = static_cast<uint16_t>(source.x[j] - left);
    const auto y = static_cast<uint16_t>(source.y[j] - top);
    inSquare = static_cast<uint16_t>(inSquare + (std::max(x, y) <= 2 * crowdedDistance ? 1 : 0));
  }
  if (inSquare == 1) return false;
  int near = 0;
  for (int j = 0; j < n; j++) {
    const int distance2 = Square(source.x[i] - source.x[j]) + Square(source.y[i] - source.y[j]);
    near += distance2 <= Square(crowdedDistance) ? 1 : 0;
  }
  return near > 1;
}

// Smaller for minutiae that say more: crowded or not, the distance from the
// centre, and the place in the source, one above the other in one number.
void RankMinutiae(const MatchWorkspace& source, int32_t* ranks) {
  for (int i = 0; i < source.minutiaCount; i++) {
    const int distance2 =
        Square(source.x[i] - 8 * source.gridWidth) + Square(source.y[i] - 8 * source.gridHeight);
    ranks[i] = (IsCrowded(source, i) ? 1 << 30 : 0) | distance2 << 8 | i;
  }
}

// The places of the `count` smallest ranks, ascending.
void ChooseMinutiae(const int32_t* ranks, int n, int count, uint8_t* chosen) {
  int kept = 0;
  for (int i = 0; i < n; i++) {
    int before = 0;
    for (int j = 0; j < n; j++) before += ranks[j] < ranks[i] ? 1 : 0;
    chosen[kept] = static_cast<uint8_t>(i);
    kept += before < count ? 1 : 0;
  }
}

void CopyMinutiae(const MatchWorkspace& source, MatchWorkspace& target, const uint8_t* chosen,
                  int count) {
  for (int k = 0; k < count; k++) {
    const int i = chosen[k];
    target.x[k] = source.x[i];
    target.y[k] = source.y[i];
    target.angle[k] = source.angle[i];
    target.quality[k] = source.quality[i];
    target.type[k] = source.type[i];
  }
  target.minutiaCount = count;
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

void CopyGridAround(const MatchWorkspace& source, MatchWorkspace& target) {
  const BlockSpan columns = SpanOf(target.x, target.minutiaCount, source.gridWidth);
  const BlockSpan rows = SpanOf(target.y, target.minutiaCount, source.gridHeight);
  for (int row = 0; row < source.gridHeight; row++) {
    std::fill_n(target.orientation[row], source.gridWidth, background);
    if (row < rows.first || row >= rows.last) continue;
    std::copy(source.orientation[row] + columns.first, source.orientation[row] + columns.last,
              target.orientation[row] + columns.first);
  }
}

}  // namespace

void ReduceWorkspace(const MatchWorkspace& source, MatchWorkspace& target, int maxCount) {
  const int n = source.minutiaCount;
  if (n <= maxCount) {
    CopyWorkspace(target, source);
    return;
  }
  int32_t ranks[maxMinutiae];
  uint8_t chosen[maxMinutiae + 1] = {};
  RankMinutiae(source, ranks);
  ChooseMinutiae(ranks, n, maxCount, chosen);
  CopyMinutiae(source, target, chosen, maxCount);
  CopyGridAround(source, target);
}

}  // namespace vxm
