// The list of minutia pairs by length.
//
// In: the distance table of a geometry. Out: every pair {i, j}, i < j, that is
// longer than the shortest useful one, in ascending length, and a sentinel.
// Idea: a counting sort. Lengths are at most 1023, so one pass counts them, the
// counts become start positions, and a second pass drops each pair in place;
// pairs of equal length keep the order of i, then j.
// Cost: two passes over the pairs.
#include <algorithm>

#include "engine/stages.h"

namespace vxm {

void BuildPairList(TemplateGeometry& geometry, uint16_t (&histogram)[maxDistance + 1]) {
  const int n = geometry.count;
  std::fill_n(histogram, maxDistance + 1, uint16_t{0});
  for (int i = 0; i < n - 1; i++) {
    for (int j = i + 1; j < n; j++) histogram[geometry.distance[i][j]]++;
  }

  uint16_t start = 0;
  for (int d = EngineParams::minPairDistance + 1; d <= maxDistance; d++) {
    const uint16_t count = histogram[d];
    histogram[d] = start;
    start = static_cast<uint16_t>(start + count);
  }
  geometry.pairCount = start;
  geometry.pairDistance[start] = pairSentinel;

  for (int i = 0; i < n - 1; i++) {
    for (int j = i + 1; j < n; j++) {
      const int d = geometry.distance[i][j];
      if (d <= EngineParams::minPairDistance) continue;
      const int place = histogram[d]++;
      geometry.pairDistance[place] = d;
      geometry.pairIndex[place] = static_cast<uint32_t>(j) << 16 | static_cast<uint32_t>(i);
    }
  }
}

}  // namespace vxm
