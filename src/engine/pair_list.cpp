// The probe's minutia pairs by length.
//
// In: the probe's geometry. Out: every pair that is longer than the shortest
// useful one, in ascending length, with an index by length.
// Idea: a counting sort. Lengths are at most 1023, so one pass counts them, the
// counts become start positions, and a second pass drops each pair in place.
// Cost: two passes over the pairs, once for all candidates of a search.
#include <algorithm>

#include "engine/scoring.h"
#include "engine/stages.h"

namespace vxm {

void BuildPairList(PairList& pairs, const TemplateGeometry& geometry) {
  const int n = geometry.count;
  // While the list is filled, startAt[d] is where the next pair of length d goes.
  std::fill_n(pairs.startAt, maxDistance + 1, uint16_t{0});
  for (int i = 0; i < n; i++) {
    for (int j = i + 1; j < n; j++) pairs.startAt[geometry.distance[geometry.Row(i) + j]]++;
  }
  uint16_t start = 0;
  int longest = 0;
  for (int d = 0; d <= maxDistance; d++) {
    if (pairs.startAt[d] != 0) longest = d;
    const uint16_t count = d > EngineParams::minPairDistance ? pairs.startAt[d] : uint16_t{0};
    pairs.startAt[d] = start;
    start = static_cast<uint16_t>(start + count);
  }
  pairs.count = start;
  pairs.longest = longest;

  for (int i = 0; i < n; i++) {
    for (int j = i + 1; j < n; j++) {
      const int d = geometry.distance[geometry.Row(i) + j];
      if (d <= EngineParams::minPairDistance) continue;
      const int place = pairs.startAt[d]++;
      pairs.first[place] = static_cast<uint8_t>(i);
      pairs.second[place] = static_cast<uint8_t>(j);
      const int angle = geometry.lineAngle[geometry.Row(i) + j];
      const int line = angle == 360 ? 0 : angle;
      pairs.line[place] = static_cast<uint16_t>(line);
      pairs.firstDir[place] = static_cast<uint16_t>(AngleBetween(geometry.dir[i], line));
      pairs.secondDir[place] = static_cast<uint16_t>(AngleBetween(geometry.dir[j], line));
    }
  }
  // Each start has moved to the end of its length, the start of the next one.
  std::copy_backward(pairs.startAt, pairs.startAt + maxDistance + 1,
                     pairs.startAt + maxDistance + 2);
  pairs.startAt[0] = 0;
  // No pair is longer than the longest.
  std::fill_n(pairs.startAt + maxDistance + 1, vectorPadding - 1, start);
}

}  // namespace vxm
