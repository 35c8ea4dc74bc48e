// The second alignment pass, for scores that are neither nothing nor clear.
//
// In: the first pass's pairings. Out: a second result that rests on them.
// Idea: the first pass trusted its seeds. Here every other two of its pairings
// take their turn as the seeds, and only the first pass's own pairings count,
// tested more strictly. If they were true, another pair of them fits as well;
// if they came together by chance, none does.
// Cost: the cube of the number of pairings. All attempts share one divisor, so
// one whose pairings could not win even if all of them held is skipped: the weights
// beside the first seed are summed once, the second's own taken off, and MayBeat asked.
#include <algorithm>
#include <utility>

#include "engine/scoring.h"
#include "engine/stages.h"

namespace vxm {
namespace {

// The first pass's pairings in ascending order of the probe minutia.
struct Pairings {
  Correspondence list[maxMinutiae];
  uint16_t weight[maxMinutiae];  // 0 when the probe minutia is at the probe's border
  uint16_t turn[maxMinutiae];    // scaled, between the two directions
  PairingList vectors;           // with the weights that hold beside one seed
};

void ListPairings(const EngineContext& context, const MatchResult& first, Pairings& pairings) {
  const TemplateGeometry& probe = context.probeGeometry;
  PairingList& vectors = pairings.vectors;
  vectors.count = 0;
  for (int m = 0; m < probe.count; m++) {
    if (first.mate[m] < 0) continue;
    const Correspondence c = {m, first.mate[m]};
    const Position p = probe.position[m];
    const bool inside =
        InsideMargin(p.x, p.y, probe.area.gridWidth * blockSize, probe.area.gridHeight * blockSize);
    const int k = vectors.count++;
    pairings.list[k] = c;
    pairings.weight[k] = static_cast<uint16_t>(inside ? PairWeight(context, c) : 0);
    pairings.turn[k] =
        static_cast<uint16_t>(context.referenceGeometry.turn[c.reference] - probe.turn[c.probe]);
    vectors.from[k] = p;
    vectors.to[k] = context.referenceGeometry.position[c.reference];
    vectors.rotation[k] = static_cast<int16_t>(RotationOf(context, c));
  }
  // Vectors take what is behind the last.
  constexpr int padding = 16;
  std::fill_n(vectors.from + vectors.count, padding, Position{});
  std::fill_n(vectors.to + vectors.count, padding, Position{});
  std::fill_n(vectors.rotation + vectors.count, padding, int16_t{0});
  std::fill_n(vectors.weight + vectors.count, padding, uint16_t{0});
}

// Whether two pairings turn their minutiae alike.
bool TurnAlike(const EngineContext& context, const Pairings& pairings, int a, int b) {
  constexpr int tolerance = EngineParams::angleTolerance;
  if (HasPlainAngles(context)) {
    return TurnsAgree(pairings.turn[a], pairings.turn[b], ScaledReach(tolerance));
  }
  const auto [probeA, referenceA] = pairings.list[a];
  const auto [probeB, referenceB] = pairings.list[b];
  return AnglesAgree(RelativeAngle(context.probeGeometry, probeA, probeB),
                     RelativeAngle(context.referenceGeometry, referenceA, referenceB), tolerance);
}

// Leaves each pairing its weight where it may hold beside the seed u; answers
// the sum.
int WeighBeside(const EngineContext& context, Pairings& pairings, int u) {
  int sum = 0;
  for (int k = 0; k < pairings.vectors.count; k++) {
    const bool mayHold = k != u && TurnAlike(context, pairings, u, k);
    pairings.vectors.weight[k] = mayHold ? pairings.weight[k] : uint16_t{0};
    sum += pairings.vectors.weight[k];
  }
  return sum;
}

struct Best {
  int score = 0;
  int u = 0;
  int v = 0;
  int theta = 0;
  Point shift = {0, 0};
};

// Keeps the pairings that the best attempt holds.
void KeepBest(const EngineContext& context, Pairings& pairings, const Best& best,
              MatchResult& second) {
  second.rotation = best.theta;
  second.dx = best.shift.x;
  second.dy = best.shift.y;
  second.seedProbeA = pairings.list[best.u].probe;
  second.seedProbeB = pairings.list[best.v].probe;
  std::fill_n(second.mate, context.probeGeometry.count, -1);
  WeighBeside(context, pairings, best.u);
  const PairingList& vectors = pairings.vectors;
  for (int k = 0; k < vectors.count; k++) {
    const bool holds = k == best.u || k == best.v ||
                       (vectors.weight[k] != 0 &&
                        PairingHolds(vectors, k, Forward(best.theta), best.shift, best.theta));
    if (holds) second.mate[pairings.list[k].probe] = pairings.list[k].reference;
  }
}

// 1024 when half of the neighbours of the minutia with more of them are paired; within bounds.
int NeighbourSupport(Neighbourhood probe, Neighbourhood reference) {
  const Neighbourhood& larger = reference.minutiae < probe.minutiae ? probe : reference;
  return std::clamp(larger.paired * 2048 / larger.minutiae, EngineParams::minRefinedSupport,
                    EngineParams::maxRefinedSupport);
}

}  // namespace

int MostRefined(const EngineContext& context, const MatchResult& first) {
  int total = 0;
  int least[2] = {maxPairWeight, maxPairWeight};  // weights, ascending
  for (int m = 0; m < context.probeGeometry.count; m++) {
    if (first.mate[m] < 0) continue;
    const int weight = PairWeight(context, {m, first.mate[m]});
    total += weight;
    if (weight < least[1])
      least[1] = std::max(weight, std::exchange(least[0], std::min(weight, least[0])));
  }
  const int64_t most = total - least[0] - least[1];
  const int norm = ScoreNorm(context.probeGeometry.count, context.referenceGeometry.count);
  return static_cast<int>(most * most / first.overlap / norm / 100);
}

void RefineAlignment(EngineContext& context, const MatchResult& first, MatchResult& second) {
  const Kernels& kernels = *context.kernels;
  const TemplateGeometry& probe = context.probeGeometry;
  const TemplateGeometry& reference = context.referenceGeometry;
  Pairings pairings;
  ListPairings(context, first, pairings);
  Best best;
  for (int u = 0; u < pairings.vectors.count; u++) {
    const int most = WeighBeside(context, pairings, u);
    for (int v = 0; v < pairings.vectors.count; v++) {
      const Correspondence a = pairings.list[u];
      const Correspondence b = pairings.list[v];
      const bool firstSeeds = (a.probe == first.seedProbeA && b.probe == first.seedProbeB) ||
                              (a.probe == first.seedProbeB && b.probe == first.seedProbeA);
      if (u == v || firstSeeds) continue;
      uint16_t& own = pairings.vectors.weight[v];
      const int bound = WithSeedFactors(context, most - own, a, b);
      if (!MayBeat(bound, first.overlap, best.score)) continue;
      const int theta = AlignedRotation(context, a, b);
      const Point shift = ShiftFor(theta, PointAt(probe, a.probe), PointAt(reference, a.reference));
      const uint16_t ownWeight = std::exchange(own, uint16_t{0});
      const int sum = kernels.sumHolding(pairings.vectors, Forward(theta), shift, theta);
      own = ownWeight;
      const int score = SquareOver(WithSeedFactors(context, sum, a, b), first.overlap);
      if (score > best.score) best = {score, u, v, theta, shift};
    }
  }
  second.score = 0;
  if (best.score != 0) {
    KeepBest(context, pairings, best, second);
    second.score = Rescore(context, second, first.overlap, NeighbourSupport);
  }
  second.score = second.score / ScoreNorm(probe.count, reference.count) / 100;
}

}  // namespace vxm
