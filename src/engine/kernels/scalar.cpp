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

void FillPairTables(TemplateGeometry& geometry) {
  for (int j = 1; j < geometry.count; j++) {
    for (int i = 0; i < j; i++) {
      const int dx = geometry.position[j].x - geometry.position[i].x;
      const int dy = geometry.position[j].y - geometry.position[i].y;
      const int place = PairPlace(i, j);
      const int angle = AngleOf(dx, dy);
      const uint16_t line = ScaledTurn(angle);
      geometry.distance[place] = static_cast<uint16_t>(Distance(dx, dy));
      geometry.lineAngle[place] = static_cast<uint16_t>(angle);
      geometry.pairs[place] = {line, static_cast<uint16_t>(geometry.turn[i] - line),
                               static_cast<uint16_t>(geometry.turn[j] - line),
                               static_cast<uint8_t>(i), static_cast<uint8_t>(j)};
    }
  }
}

LengthCount CountPairs(const TemplateGeometry& geometry, int length) {
  LengthCount counted = {0, 0};
  for (int place = 0; place < PairCount(geometry.count); place++) {
    const int own = geometry.distance[place];
    if (own <= EngineParams::minPairDistance || own > length) continue;
    counted.count++;
    counted.longest = std::max(counted.longest, own);
  }
  return counted;
}

// Whether PairWeight is not 0.
bool MayPair(const EngineContext& context, Correspondence c, int rotation) {
  constexpr int tolerance = EngineParams::lineTolerance + EngineParams::angleTolerance;
  const int qualities = context.referenceGeometry.workspace->quality[c.reference] -
                        context.probeGeometry.workspace->quality[c.probe];
  return WithinTolerance(rotation, tolerance) &&
         (context.scale == Scale::standard || std::abs(qualities) < EngineParams::qualityFalloff);
}

// Asks of two pairs what LinesAgree does, but only once what the reference's alone tells.
bool CastVotes(EngineContext& context, int votingLength, const MatchLimits& limits) {
  const TemplateGeometry& probe = context.probeGeometry;
  const TemplateGeometry& reference = context.referenceGeometry;
  const PairList& pairs = context.probePairs;
  const int tolerance = limits.angleTolerance;
  std::fill_n(context.votes, probe.count * reference.count, uint16_t{0});
  const auto vote = [&](Correspondence c) { context.votes[c.reference * probe.count + c.probe]++; };
  for (int j = 1; j < reference.count; j++) {
    for (int i = 0; i < j; i++) {
      const int length = DistanceOf(reference, i, j);
      if (length <= EngineParams::minPairDistance) continue;
      const int line = reference.lineAngle[PairPlace(i, j)];
      const int relative = RelativeAngle(reference, i, j);
      const int end = PairsUpTo(pairs, std::min(length + limits.distanceTolerance, votingLength));
      int p = PairsUpTo(pairs, length - limits.distanceTolerance - 1);
      if ((context.votingBudget -= std::max(end - p, 0)) < 0) return false;
      for (; p < end; p++) {
        const MinutiaPair& pair = pairs.pairs[p];
        const int turn = AngleBetween(line, pair.line / turnScale);
        if (!WithinTolerance(turn, EngineParams::lineTolerance)) continue;
        const Correspondence a = {pair.first, i};
        const Correspondence b = {pair.second, j};
        const int first = RotationOf(context, a);
        const int second = RotationOf(context, b);
        if (!AnglesAgree(first, turn, tolerance) || !AnglesAgree(second, turn, tolerance) ||
            !AnglesAgree(relative, RelativeAngle(probe, a.probe, b.probe), tolerance) ||
            !MayPair(context, a, first) || !MayPair(context, b, second)) {
          continue;
        }
        vote(a);
        vote(b);
      }
    }
  }
  return true;
}

void RankSeeds(EngineContext& context) {
  const int probeCount = context.probeGeometry.count;
  for (int i = 0; i < probeCount; i++) {
    SeedRecord seed = {static_cast<uint8_t>(i), 0, context.votes[i]};
    for (int n = 1; n < context.referenceGeometry.count; n++) {
      const uint16_t votes = context.votes[n * probeCount + i];
      if (votes > seed.seedVotes) seed = {static_cast<uint8_t>(i), static_cast<uint8_t>(n), votes};
    }
    context.seeds[i] = seed;
  }
  std::sort(context.seeds, context.seeds + probeCount, [](const auto& a, const auto& b) {
    return a.seedVotes != b.seedVotes ? a.seedVotes > b.seedVotes : a.seedProbe < b.seedProbe;
  });
}

int ListPartners(const EngineContext& context, int place, int count, SeedPair* pairs) {
  const SeedRecord& seed = context.seeds[place];
  int listed = 0;
  for (int k = 0; k < count; k++) {
    const SeedRecord& other = context.seeds[k];
    const int distance = DistanceOf(context.probeGeometry, seed.seedProbe, other.seedProbe);
    const int mateDistance = DistanceOf(context.referenceGeometry, seed.seedMate, other.seedMate);
    if (distance < EngineParams::minSeedSeparation || !DistancesFit(distance, mateDistance)) {
      continue;
    }
    pairs[listed++] = {static_cast<uint8_t>(k), static_cast<uint8_t>(place)};
  }
  return listed;
}

bool IsOn(const Area& area, Point p) {
  return BoxOf(area).Holds(p) &&
         (!area.hasRidges || area.grid[p.y / blockSize][p.x / blockSize] != background);
}

void MoveOnto(const TemplateGeometry& geometry, const Area& area, const Motion& motion, Point shift,
              MinutiaBits& on, Position* moved) {
  on = {};
  for (int i = 0; i < geometry.count; i++) {
    const Point turned = Move(motion, At(geometry.position[i]));
    const Point p = {turned.x + shift.x, turned.y + shift.y};
    moved[i] = {static_cast<int16_t>(p.x), static_cast<int16_t>(p.y)};
    if (IsOn(area, p)) on.Add(i);
  }
}

void ListNear(EngineContext& context, const Position* moved, const MinutiaBits& among, int theta,
              int /*needed*/) {
  const TemplateGeometry& reference = context.referenceGeometry;
  const Box box = PairingBox(context.probeGeometry.area);
  NearList& near = context.near;
  near.count = 0;
  for (int m = 0; m < context.probeGeometry.count; m++) {
    const Point p = At(moved[m]);
    if (!among.Has(m) || !box.Holds(p)) continue;
    MinutiaBits references = {};
    bool any = false;
    for (int n = 0; n < reference.count; n++) {
      const int dx = p.x - reference.position[n].x;
      const int dy = p.y - reference.position[n].y;
      if (dx * dx + dy * dy > EngineParams::pairingRadius2 ||
          !AnglesAgree(RotationOf(context, {m, n}), theta, EngineParams::seedAngleTolerance)) {
        continue;
      }
      references.Add(n);
      any = true;
    }
    if (!any) continue;
    near.probe[near.count] = static_cast<uint8_t>(m);
    near.references[near.count] = references;
    near.count++;
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

bool IsCrowded(const MatchWorkspace& workspace, int minutia) {
  for (int other = 0; other < workspace.minutiaCount; other++) {
    const int dx = workspace.x[minutia] - workspace.x[other];
    const int dy = workspace.y[minutia] - workspace.y[other];
    if (other != minutia && dx * dx + dy * dy <= crowdedDistance2) return true;
  }
  return false;
}

void ChooseMinutiae(const MatchWorkspace& workspace, int count, MinutiaBits& chosen) {
  int32_t ranks[maxMinutiae];
  for (int i = 0; i < workspace.minutiaCount; i++) {
    const int dx = workspace.x[i] - workspace.gridWidth * blockSize / 2;
    const int dy = workspace.y[i] - workspace.gridHeight * blockSize / 2;
    ranks[i] = RankOf(dx * dx + dy * dy, i) + (IsCrowded(workspace, i) ? crowdedRank : 0);
  }
  chosen = {};
  for (int i = 0; i < workspace.minutiaCount; i++) {
    int before = 0;
    for (int j = 0; j < workspace.minutiaCount; j++) before += ranks[j] < ranks[i] ? 1 : 0;
    if (before < count) chosen.Add(i);
  }
}

}  // namespace

const Kernels scalarKernels = {"scalar",  [] { return true; }, FillPairTables, CountPairs,
                               CastVotes, RankSeeds,           ListPartners,   MoveOnto,
                               ListNear,  SumHolding,          CountBlocks,    ChooseMinutiae};

}  // namespace vxm
