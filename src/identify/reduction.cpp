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

constexpr int crowdedDistance2 = 100;  // squared pixels

struct Rank {
  int crowded;  // 0 before 1
  int distance2;
  int place;
};

bool ComesBefore(const Rank& a, const Rank& b) {
  if (a.crowded != b.crowded) return a.crowded < b.crowded;
  if (a.distance2 != b.distance2) return a.distance2 < b.distance2;
  return a.place < b.place;
}

int Square(int value) { return value * value; }

void MarkCrowded(const MatchWorkspace& source, Rank* ranks) {
  for (int i = 0; i < source.minutiaCount; i++) {
    for (int j = i + 1; j < source.minutiaCount; j++) {
      const int distance2 = Square(source.x[i] - source.x[j]) + Square(source.y[i] - source.y[j]);
      if (distance2 <= crowdedDistance2) ranks[i].crowded = ranks[j].crowded = 1;
    }
  }
}

// Copies the chosen minutiae, whose places ascend.
void CopyMinutiae(const MatchWorkspace& source, MatchWorkspace& target, const Rank* chosen,
                  int count) {
  for (int k = 0; k < count; k++) {
    const int i = chosen[k].place;
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
  Rank ranks[maxMinutiae];
  for (int i = 0; i < n; i++) {
    ranks[i] = {
        0, Square(source.x[i] - 8 * source.gridWidth) + Square(source.y[i] - 8 * source.gridHeight),
        i};
  }
  MarkCrowded(source, ranks);
  std::nth_element(ranks, ranks + maxCount, ranks + n, ComesBefore);
  std::sort(ranks, ranks + maxCount,
            [](const Rank& a, const Rank& b) { return a.place < b.place; });
  CopyMinutiae(source, target, ranks, maxCount);
  CopyGridAround(source, target);
}

}  // namespace vxm
