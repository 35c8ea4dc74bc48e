// The scalar form of the inner loops: the definition of what they compute.
#include <algorithm>
#include <cstdlib>

#include "engine/kernels/kernels.h"
#include "engine/scoring.h"

namespace vxm {
namespace {

Point At(Position position) { return {position.x, position.y}; }

int Distance(int dx, int dy) {
  const int squared = dx * dx + dy * dy;
  return squared > maxDistance * maxDistance ? maxDistance : IntSqrt(squared);
}

bool MayBeNear(const NearMap& map, Point p) {
  const int column = p.x / NearMap::cellSize;
  return (map.marked[p.y / NearMap::cellSize][column / 32] >> (column % 32) & 1) != 0;
}

void FillPairTables(TemplateGeometry& geometry) {
  for (int i = 0; i < geometry.count; i++) {
    geometry.distance[geometry.Row(i) + i] = 0;
    for (int j = i + 1; j < geometry.count; j++) {
      const int dx = geometry.position[j].x - geometry.position[i].x;
      const int dy = geometry.position[j].y - geometry.position[i].y;
      const auto distance = static_cast<uint16_t>(Distance(dx, dy));
      geometry.distance[geometry.Row(i) + j] = distance;
      geometry.distance[geometry.Row(j) + i] = distance;
      geometry.lineAngle[geometry.Row(i) + j] = static_cast<uint16_t>(AngleOf(dx, dy));
    }
  }
}

void RankSeeds(EngineContext& context) {
  const int probeCount = context.probeGeometry.count;
  const TemplateGeometry& reference = context.referenceGeometry;
  for (int i = 0; i < probeCount; i++) {
    const uint16_t* votes = context.votes + i * reference.stride;
    const uint16_t* best = std::max_element(votes, votes + reference.count);
    context.seeds[i] = {static_cast<uint8_t>(i), static_cast<uint8_t>(best - votes), *best};
  }
  std::sort(context.seeds, context.seeds + probeCount, [](const auto& a, const auto& b) {
    return a.seedVotes != b.seedVotes ? a.seedVotes > b.seedVotes : a.seedProbe < b.seedProbe;
  });
}

void MoveInto(const Position* positions, int count, const Motion& motion, Point shift,
              const Box& box, MinutiaBits& inside, Position* moved) {
  for (int i = 0; i < count; i++) {
    const Point turned = Move(motion, At(positions[i]));
    const Point p = {turned.x + shift.x, turned.y + shift.y};
    moved[i] = {static_cast<int16_t>(p.x), static_cast<int16_t>(p.y)};
    if (i % 32 == 0) inside.words[i / 32] = 0;
    if (box.Holds(p)) inside.Add(i);
  }
}

void ListNear(const Position* moved, const MinutiaBits& among, int count, const Box& box,
              const TemplateGeometry& geometry, const NearMap& map, NearList& near) {
  near.count = 0;
  near.probeMinutiae = 0;
  for (int m = 0; m < count; m++) {
    const Point p = At(moved[m]);
    if (!among.Has(m) || !box.Holds(p)) continue;
    if (!MayBeNear(map, p)) continue;
    const int before = near.count;
    for (int n = 0; n < geometry.count; n++) {
      const int dx = p.x - geometry.position[n].x;
      const int dy = p.y - geometry.position[n].y;
      const int distance2 = dx * dx + dy * dy;
      if (distance2 > EngineParams::pairingRadius2) continue;
      near.pairs[near.count++] = {static_cast<uint8_t>(m), static_cast<uint8_t>(n),
                                  static_cast<uint16_t>(distance2)};
    }
    if (near.count != before) near.probeMinutiae++;
  }
}

int SumHolding(const PairingList& pairings, const Motion& motion, Point shift, int theta) {
  int sum = 0;
  for (int k = 0; k < pairings.count; k++) {
    if (PairingHolds(pairings, k, motion, shift, theta)) sum += pairings.weight[k];
  }
  return sum;
}

BlockCounts CountBlocks(const Area& probe, const Area& reference, int theta, Point shift) {
  const int half = theta >= 180 ? theta - 180 : theta;
  const Motion motion = Forward(theta);
  BlockCounts counts = {0, 0, 0};
  for (int row = 0; row < probe.gridHeight; row++) {
    for (int column = 0; column < probe.gridWidth; column++) {
      if (probe.grid[row][column] == background) continue;
      counts.probe++;
      const Point centre =
          Move(motion, {column * blockSize + blockSize / 2, row * blockSize + blockSize / 2});
      const int x = (centre.x + shift.x) >> 4;
      const int y = (centre.y + shift.y) >> 4;
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

}  // namespace

const Kernels scalarKernels = {"scalar", FillPairTables, RankSeeds,  MoveInto,
                               ListNear, SumHolding,     CountBlocks};

}  // namespace vxm
