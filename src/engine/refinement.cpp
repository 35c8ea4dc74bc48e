// The second alignment pass, for scores that are neither nothing nor clear.
//
// In: the first pass's pairings. Out: a second result that rests on them.
// Idea: the first pass trusted its seeds. Here every other two of its pairings
// take their turn as the seeds, and only the first pass's own pairings count,
// tested more strictly. If they were true, another pair of them fits as well;
// if they came together by chance, none does.
// Cost: the cube of the number of pairings.
#include <algorithm>
#include <cstdlib>

#include "engine/numeric.h"
#include "engine/scoring.h"
#include "engine/stages.h"

namespace vxm {
namespace {

constexpr int keepRadius = EngineParams::pairDistanceTolerance + 1;

// Does the first pass's pairing of m still hold under the motion of seed u?
bool Holds(const EngineContext& context, const Alignment& motion, Correspondence seed,
           Correspondence other) {
  const TemplateGeometry& probe = context.probeGeometry;
  const TemplateGeometry& reference = context.referenceGeometry;
  const Point p = PlaceOf(*context.currentProbe, other.probe);
  if (!InsideMargin(p.x, p.y, probe.gridWidth * blockSize, probe.gridHeight * blockSize)) {
    return false;
  }
  const Point projected = Apply(motion, p.x, p.y);
  const Point target = PlaceOf(*context.currentReference, other.reference);
  const int dx = projected.x - target.x;
  const int dy = projected.y - target.y;
  return dx * dx + dy * dy <= keepRadius * keepRadius &&
         AnglesAgree(context.rotation[other.probe][other.reference], motion.theta,
                     EngineParams::angleTolerance) &&
         AnglesAgree(probe.relativeAngle[seed.probe][other.probe],
                     reference.relativeAngle[seed.reference][other.reference],
                     EngineParams::angleTolerance);
}

void Attempt(EngineContext& context, const MatchResult& first, MatchResult& second,
             Correspondence u, Correspondence v) {
  const TemplateGeometry& probe = context.probeGeometry;
  const TemplateGeometry& reference = context.referenceGeometry;
  const int theta = AngleBetween(reference.lineAngle[u.reference][v.reference],
                                 probe.lineAngle[u.probe][v.probe]) %
                    360;
  const Alignment motion = AlignmentFor(theta, PlaceOf(*context.currentProbe, u.probe),
                                        PlaceOf(*context.currentReference, u.reference));
  std::fill_n(context.referenceMate, reference.count, mateFree);
  context.referenceMate[u.reference] = static_cast<uint16_t>(u.probe);
  context.referenceMate[v.reference] = static_cast<uint16_t>(v.probe);

  int matched = 0;
  int weight = 0;
  for (int m = 0; m < probe.count; m++) {
    const int n = first.mate[m];
    if (n < 0 || m == u.probe || m == v.probe) continue;
    if (!Holds(context, motion, u, {m, n})) continue;
    context.referenceMate[n] = static_cast<uint16_t>(m);
    matched++;
    weight += context.pairWeight[m][n];
  }
  if (matched == 0) return;
  const int score = SquareOver(WithSeedFactors(context, weight, u, v), first.overlap);
  if (score <= second.score) return;
  second.score = score;
  second.rotation = motion.theta;
  second.dx = motion.dx;
  second.dy = motion.dy;
  second.seedProbeA = u.probe;
  second.seedProbeB = v.probe;
  KeepPairings(context, second);
}

// 1024 when all neighbours of the minutia with more of them are paired.
int NeighbourSupport(const EngineContext& context, const MatchResult& result, int m) {
  const Neighbourhood probe = PairedNeighboursOfProbe(context, result, m);
  const Neighbourhood reference = PairedNeighboursOfReference(context, result.mate[m]);
  const Neighbourhood& larger = reference.minutiae < probe.minutiae ? probe : reference;
  return std::clamp(larger.paired * 2048 / larger.minutiae, 800, 1024);
}

}  // namespace

void RefineAlignment(EngineContext& context, const MatchResult& first, MatchResult& second) {
  const int probeCount = context.probeGeometry.count;
  second.score = 0;
  for (int u = 0; u < probeCount; u++) {
    if (first.mate[u] < 0) continue;
    for (int v = 0; v < probeCount; v++) {
      if (first.mate[v] < 0 || u == v) continue;
      const bool firstSeeds = (u == first.seedProbeA && v == first.seedProbeB) ||
                              (u == first.seedProbeB && v == first.seedProbeA);
      if (firstSeeds) continue;
      Attempt(context, first, second, {u, first.mate[u]}, {v, first.mate[v]});
    }
  }
  if (second.score != 0) {
    ListReferenceMates(context, second);
    second.score = Rescore(context, second, first.overlap,
                           [&](int m) { return NeighbourSupport(context, second, m); });
  }
  second.score = second.score / ScoreNorm(probeCount, context.referenceGeometry.count) / 100;
}

}  // namespace vxm
