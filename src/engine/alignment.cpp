// Alignment search: the rigid motion that lays the probe on the reference best.
//
// In: geometries, candidate weights and seeds. Out: the raw score of the best
// alignment, its motion, its pairings, and the two seeds that gave it.
// Idea: two correspondences fix a motion. The best-voted seeds are tried as the
// first, all seeds with votes as the second; for each such attempt the probe's
// minutiae are projected into the reference and paired greedily, and what is
// paired is weighed against the minutiae that the two prints have in common.
// Every pairing must also fit the first seed in distance and direction; those
// that do are listed once per first seed. The winner is weighed again: pairings
// whose neighbours are paired too count for more.
// Cost: per attempt one step per minutia and compatible candidate.
#include <algorithm>
#include <cstdlib>

#include "engine/numeric.h"
#include "engine/scoring.h"
#include "engine/stages.h"

namespace vxm {
namespace {

using EngineParams::seedAngleTolerance;
using EngineParams::seedDistanceTolerance;

// The score from which on no better alignment is looked for, times the norm.
constexpr int goodEnough = 100000;

int MinOverlap(int probeCount, int referenceCount) {
  return (EngineParams::minOverlapPercent * std::min(probeCount, referenceCount) + 99) / 100;
}

// First seeds need this many votes: half of the best seed's, and some at all.
int FirstSeedVotes(const EngineContext& context) {
  constexpr int manyMinutiae = 25;
  int votes = std::max(context.seeds[0].seedVotes / 2 - 1, 1);
  if (std::min(context.probeGeometry.count, context.referenceGeometry.count) >= manyMinutiae) {
    votes = std::max(votes, 4);
  }
  return votes;
}

int CountSeeds(const EngineContext& context, int minVotes) {
  int count = 0;
  while (count < context.probeGeometry.count && context.seeds[count].seedVotes >= minVotes) {
    count++;
  }
  return count;
}

Correspondence SeedAt(const EngineContext& context, int place) {
  return {context.seeds[place].seedProbe, context.seeds[place].seedMate};
}

bool CompatibleWithSeed(const EngineContext& context, Correspondence seed, Correspondence other) {
  const TemplateGeometry& probe = context.probeGeometry;
  const TemplateGeometry& reference = context.referenceGeometry;
  const int probeDistance = probe.distance[seed.probe][other.probe];
  const int distance = reference.distance[seed.reference][other.reference];
  if (distance < EngineParams::minPairDistance) return false;
  if (std::abs(distance - probeDistance) > seedDistanceTolerance) return false;
  if (!AnglesAgree(reference.relativeAngle[seed.reference][other.reference],
                   probe.relativeAngle[seed.probe][other.probe], seedAngleTolerance)) {
    return false;
  }
  const int turn = AngleBetween(reference.lineAngle[seed.reference][other.reference],
                                probe.lineAngle[seed.probe][other.probe]);
  return WithinTolerance(turn, EngineParams::lineTolerance) &&
         AnglesAgree(context.rotation[seed.probe][seed.reference], turn, seedAngleTolerance) &&
         AnglesAgree(context.rotation[other.probe][other.reference], turn, seedAngleTolerance);
}

// Lists for every probe minutia the candidates that fit beside the seed.
void ListCompatible(EngineContext& context, Correspondence seed) {
  const TemplateGeometry& probe = context.probeGeometry;
  for (int a = 0; a < probe.count; a++) {
    std::fill_n(context.compatible[a], context.referenceGeometry.count, uint8_t{0});
    uint8_t size = 0;
    if (probe.distance[seed.probe][a] >= EngineParams::minPairDistance) {
      for (int k = 0; k < context.candidateListSize[a]; k++) {
        const uint8_t b = context.candidates[a][k];
        if (!CompatibleWithSeed(context, seed, {a, b})) continue;
        context.compatible[a][b] = 1;
        context.compatibleList[a][size++] = b;
      }
    }
    context.compatibleListSize[a] = size;
  }
}

// The motion must carry the ridges under the second seed onto each other.
bool RidgesAgree(const EngineContext& context, int theta, Correspondence second) {
  int orientation =
      (theta >= 180 ? theta - 180 : theta) + context.probeGeometry.localOrientation[second.probe];
  if (orientation >= 180) orientation -= 180;
  const int difference =
      std::abs(orientation - context.referenceGeometry.localOrientation[second.reference]);
  return difference < EngineParams::orientationTolerance ||
         difference > 180 - EngineParams::orientationTolerance;
}

// On a block with ridges, and not on the edge of the area.
bool OnFinger(const TemplateGeometry& geometry, Point p) {
  return p.x > 0 && p.x < geometry.gridWidth * blockSize &&  //
         p.y > 0 && p.y < geometry.gridHeight * blockSize &&
         geometry.grid[p.y / blockSize][p.x / blockSize] != background;
}

// Projects the probe's minutiae; answers how many fall on the reference. Those
// that do and could pair keep their place, the others get none (x = -1).
int ProjectProbe(EngineContext& context, const Alignment& motion, Correspondence first,
                 Correspondence second) {
  const MatchWorkspace& probe = *context.currentProbe;
  int count = 0;
  for (int m = 0; m < context.probeGeometry.count; m++) {
    context.projectedX[m] = -1;
    if (m == first.probe || m == second.probe) continue;
    const Point p = Apply(motion, probe.x[m], probe.y[m]);
    if (!OnFinger(context.referenceGeometry, p)) continue;
    count++;
    if (context.compatibleListSize[m] == 0) continue;
    context.projectedX[m] = p.x;
    context.projectedY[m] = p.y;
  }
  return count;
}

// Marks the reference minutiae that fall on the probe as free; answers how many.
int FreeReference(EngineContext& context, const Alignment& motion, Correspondence first,
                  Correspondence second) {
  const MatchWorkspace& reference = *context.currentReference;
  int count = 0;
  for (int n = 0; n < context.referenceGeometry.count; n++) {
    if (n == first.reference || n == second.reference) continue;
    const Point p = ApplyInverse(motion, reference.x[n], reference.y[n]);
    const bool inside = OnFinger(context.probeGeometry, p);
    context.referenceMate[n] = inside ? mateFree : mateOutside;
    count += inside ? 1 : 0;
  }
  return count;
}

// The free candidate nearest to the projected minutia m, the later of two at
// the same distance; -1 for none within reach.
int NearestFree(const EngineContext& context, int m, int theta) {
  const MatchWorkspace& reference = *context.currentReference;
  int best = -1;
  int bestDistance = EngineParams::pairingRadius2;
  for (int k = 0; k < context.compatibleListSize[m]; k++) {
    const int n = context.compatibleList[m][k];
    if (context.referenceMate[n] != mateFree) continue;
    const int dx = context.projectedX[m] - reference.x[n];
    const int dy = context.projectedY[m] - reference.y[n];
    const int distance = dx * dx + dy * dy;
    if (distance > bestDistance) continue;
    if (!AnglesAgree(context.rotation[m][n], theta, seedAngleTolerance)) continue;
    best = n;
    bestDistance = distance;
  }
  return best;
}

struct Paired {
  int count;
  int weight;
};

Paired PairGreedily(EngineContext& context, int theta) {
  const int width = context.probeGeometry.gridWidth * blockSize;
  const int height = context.probeGeometry.gridHeight * blockSize;
  Paired paired = {0, 0};
  for (int m = 0; m < context.probeGeometry.count; m++) {
    if (context.projectedX[m] < 0) continue;
    if (!InsideMargin(context.projectedX[m], context.projectedY[m], width, height)) continue;
    const int n = NearestFree(context, m, theta);
    if (n < 0) continue;
    context.referenceMate[n] = static_cast<uint16_t>(m);
    paired.count++;
    paired.weight += context.pairWeight[m][n];
  }
  return paired;
}

// The best alignment so far is in the result; this is what else is known of it.
struct Search {
  int minOverlap;
  int bestMatched = 0;
};

void Attempt(EngineContext& context, Search& search, MatchResult& result, Correspondence first,
             Correspondence second) {
  const TemplateGeometry& probe = context.probeGeometry;
  const TemplateGeometry& reference = context.referenceGeometry;
  if (context.compatible[second.probe][second.reference] == 0) return;
  if (probe.distance[first.probe][second.probe] < EngineParams::minSeedSeparation) return;

  const int theta = AngleBetween(reference.lineAngle[first.reference][second.reference],
                                 probe.lineAngle[first.probe][second.probe]) %
                    360;
  if (!RidgesAgree(context, theta, second)) return;
  const Alignment motion = AlignmentFor(theta, PlaceOf(*context.currentProbe, first.probe),
                                        PlaceOf(*context.currentReference, first.reference));

  const int onReference = ProjectProbe(context, motion, first, second);
  if (onReference < search.minOverlap) return;
  context.referenceMate[first.reference] = static_cast<uint16_t>(first.probe);
  context.referenceMate[second.reference] = static_cast<uint16_t>(second.probe);
  const int onProbe = FreeReference(context, motion, first, second);
  if (onProbe < search.minOverlap) return;

  const Paired paired = PairGreedily(context, theta);
  if (paired.count == 0) return;
  constexpr int manyPairings = 10;
  const int overlap = paired.count < manyPairings ? onReference + onProbe - paired.count
                                                  : std::max(onReference, onProbe);
  const int weight = WithSeedFactors(context, paired.weight, first, second);
  const int score = SquareOver(weight, overlap);
  if (score <= result.score) return;

  result.score = score;
  result.rotation = motion.theta;
  result.dx = motion.dx;
  result.dy = motion.dy;
  result.seedProbeA = first.probe;
  result.seedProbeB = second.probe;
  result.overlap = overlap;
  KeepPairings(context, result);
  search.bestMatched = paired.count;
}

// Twice 1024 when all neighbours of both minutiae are paired; within bounds.
int NeighbourSupport(const EngineContext& context, const MatchResult& result, int m) {
  const Neighbourhood probe = PairedNeighboursOfProbe(context, result, m);
  const Neighbourhood reference = PairedNeighboursOfReference(context, result.mate[m]);
  const int support =
      (probe.paired + reference.paired) * 2048 / (probe.minutiae + reference.minutiae);
  return std::clamp(support, 800, 1200);
}

}  // namespace

void SearchAlignment(EngineContext& context, MatchResult& result) {
  const int probeCount = context.probeGeometry.count;
  const int referenceCount = context.referenceGeometry.count;
  const int norm = ScoreNorm(probeCount, referenceCount);
  const int firstCount = CountSeeds(context, FirstSeedVotes(context));
  const int secondCount = CountSeeds(context, 3);
  Search search = {MinOverlap(probeCount, referenceCount)};
  for (int s = 0; s < firstCount && result.score <= norm * goodEnough; s++) {
    if (context.seeds[s].seedVotes <= search.bestMatched) continue;
    const Correspondence first = SeedAt(context, s);
    ListCompatible(context, first);
    for (int k = 0; k < secondCount && result.score <= norm * goodEnough; k++) {
      Attempt(context, search, result, first, SeedAt(context, k));
    }
  }
  if (search.bestMatched != 0) {
    ListReferenceMates(context, result);
    result.score = Rescore(context, result, result.overlap,
                           [&](int m) { return NeighbourSupport(context, result, m); });
  }
  result.score = result.score / norm / 100;
}

}  // namespace vxm
