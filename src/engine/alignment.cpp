// Alignment search: the rigid motion that lays the probe on the reference best.
//
// In: geometries and seeds. Out: the raw score of the best alignment, its
// motion, its pairings, and the two seeds that gave it.
// Idea: two correspondences fix a motion. The best-voted seeds are tried as the
// first, all seeds with votes as the second; for each such attempt the probe's
// minutiae are projected into the reference and paired greedily, and what is
// paired is weighed against the minutiae that the two prints have in common.
// Every pairing must also fit beside the first seed in distance and direction; the
// answer is remembered for the next attempt with that seed. The winner is weighed
// again: pairings whose neighbours are paired too count for more.
// Cost: most attempts end at the first tests; the others cost one step per
// minutia, in vectors, and one per pair of minutiae that meet.
#include <algorithm>
#include <cstdlib>

#include "engine/scoring.h"
#include "engine/stages.h"
#include "platform/cpu.h"

namespace vxm {
namespace {

// The score from which on no better alignment is looked for, times the norm.
constexpr int goodEnough = 100000;

int MinOverlap(int probeCount, int referenceCount) {
  return (EngineParams::minOverlapPercent * std::min(probeCount, referenceCount) + 99) / 100;
}

// First seeds need this many votes: half of the best seed's, and some at all.
int FirstSeedVotes(const EngineContext& context) {
  constexpr int manyMinutiae = 25;
  const int votes = std::max(context.seeds[0].seedVotes / 2 - 1, 1);
  const bool large =
      std::min(context.probeGeometry.count, context.referenceGeometry.count) >= manyMinutiae;
  return large ? std::max(votes, 4) : votes;
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

// The ridge orientation that stands for a minutia: that of its block, or its
// own direction where there is no grid.
int LocalOrientation(const TemplateGeometry& geometry, int minutia) {
  if (!geometry.area.hasRidges) return geometry.dir[minutia] % 180;
  const Area& area = geometry.area;
  const int column = geometry.position[minutia].x / blockSize;
  const int row = geometry.position[minutia].y / blockSize;
  // A turned minutia can lie one pixel beyond the grid.
  if (column >= area.gridWidth || row >= area.gridHeight) return background;
  return area.grid[row][column];
}

// The motion must carry the ridges under the second seed onto each other.
bool RidgesAgree(const EngineContext& context, int theta, Correspondence second) {
  int orientation =
      (theta >= 180 ? theta - 180 : theta) + LocalOrientation(context.probeGeometry, second.probe);
  if (orientation >= 180) orientation -= 180;
  const int difference =
      std::abs(orientation - LocalOrientation(context.referenceGeometry, second.reference));
  return difference < EngineParams::orientationTolerance ||
         difference > 180 - EngineParams::orientationTolerance;
}

// One alignment, and what it lays on what.
struct Attempt {
  Correspondence first;
  Correspondence second;
  int theta;
  Point shift;
  MinutiaBits onReference;  // probe minutiae
  MinutiaBits onProbe;      // reference minutiae
  Position moved[maxRow];   // where the probe minutiae come to lie
  int matched;
  int weight;
  uint8_t mates[maxMinutiae][2];  // probe and reference minutiae that are paired
};

// What is known of correspondences beside the first seed: for each probe minutia
// the last reference minutia that was asked about, and the answer.
struct FitMemory {
  Correspondence seed;
  int needed;  // pairings of the last attempt to win
  int16_t asked[maxMinutiae];
  bool fits[maxMinutiae];
};

bool FitsBesideSeed(const EngineContext& context, FitMemory& memory, Correspondence c) {
  if (memory.asked[c.probe] != c.reference) {
    memory.asked[c.probe] = static_cast<int16_t>(c.reference);
    memory.fits[c.probe] = KernelsFor(context).fitsBeside(context, memory.seed, c);
  }
  return memory.fits[c.probe];
}

// Finds the minutiae that the motion lays on the area, the excepted two left
// out; answers how many.
int LayOn(const Kernels& kernels, const TemplateGeometry& geometry, const Area& area,
          const Motion& motion, Point shift, int except1, int except2, MinutiaBits& on,
          Position* moved) {
  kernels.moveOnto(geometry, area, motion, shift, on, moved);
  on.Remove(except1);
  on.Remove(except2);
  int count = 0;
  for (int word = 0; word < WordsFor(geometry.count); word++) {
    count += platform::CountBits(on.words[word]);
  }
  return count;
}

int SquaredDistance(Position a, Position b) {
  const int dx = a.x - b.x;
  const int dy = a.y - b.y;
  return dx * dx + dy * dy;
}

// Pairs each projected probe minutia with the nearest mate that is still free
// and fits, the later of two at the same distance; lower probe indices first.
void PairGreedily(const EngineContext& context, FitMemory& memory, Attempt& attempt) {
  MinutiaBits unpaired = attempt.onProbe;
  attempt.matched = 0;
  attempt.weight = 0;
  for (int k = 0; k < context.near.count; k++) {
    const int m = context.near.probe[k];
    int best = -1;
    int bestDistance = EngineParams::pairingRadius2;
    for (int word = 0; word < WordsFor(context.referenceGeometry.count); word++) {
      uint64_t left = context.near.references[k].words[word] & unpaired.words[word];
      for (; left != 0; left &= left - 1) {
        const int n = word * 64 + platform::LowestBit(left);
        const int distance =
            SquaredDistance(attempt.moved[m], context.referenceGeometry.position[n]);
        if (distance > bestDistance || !FitsBesideSeed(context, memory, {m, n})) continue;
        best = n;
        bestDistance = distance;
      }
    }
    if (best < 0) continue;
    unpaired.Remove(best);
    attempt.mates[attempt.matched][0] = static_cast<uint8_t>(m);
    attempt.mates[attempt.matched][1] = static_cast<uint8_t>(best);
    attempt.matched++;
    attempt.weight += PairWeight(context, {m, best});
  }
}

void KeepAttempt(const EngineContext& context, const Attempt& attempt, int score, int overlap,
                 MatchResult& result) {
  result.score = score;
  result.rotation = attempt.theta;
  result.dx = attempt.shift.x;
  result.dy = attempt.shift.y;
  result.seedProbeA = attempt.first.probe;
  result.seedProbeB = attempt.second.probe;
  result.overlap = overlap;
  std::fill_n(result.mate, context.probeGeometry.count, -1);
  result.mate[attempt.first.probe] = attempt.first.reference;
  result.mate[attempt.second.probe] = attempt.second.reference;
  for (int k = 0; k < attempt.matched; k++) result.mate[attempt.mates[k][0]] = attempt.mates[k][1];
}

// The alignment that two seeds give, if they can stand together.
bool Align(const EngineContext& context, Correspondence first, Correspondence second,
           Attempt& attempt) {
  const TemplateGeometry& probe = context.probeGeometry;
  if (DistanceOf(probe, first.probe, second.probe) < EngineParams::minSeedSeparation ||
      !KernelsFor(context).fitsBeside(context, first, second)) {
    return false;
  }
  const int theta = LineRotation(context, first, second) % 360;
  if (!RidgesAgree(context, theta, second)) return false;
  attempt.first = first;
  attempt.second = second;
  attempt.theta = theta;
  attempt.shift = ShiftFor(theta, PointAt(probe, first.probe),
                           PointAt(context.referenceGeometry, first.reference));
  return true;
}

int Overlap(int onReference, int onProbe, int matched) {
  constexpr int manyPairings = 10;
  return matched < manyPairings ? onReference + onProbe - matched : std::max(onReference, onProbe);
}

// The weight of so many pairings, all of the largest weight.
int MostWeight(const EngineContext& context, const Attempt& attempt, int pairings) {
  const int weight = context.scale == Scale::native ? maxPairWeight : maxStandardPairWeight;
  return WithSeedFactors(context, pairings * weight, attempt.first, attempt.second);
}

// How many pairings an alignment must have at least to beat the best so far, over
// the least overlap that they can have: each takes a minutia of either print. More
// pairings never score less, so the search begins at the answer to the last.
int PairingsNeeded(const EngineContext& context, const Attempt& attempt, int onReference,
                   int minOverlap, int bestScore, int guess) {
  const int one = MostWeight(context, attempt, 1);
  const auto mayBeat = [&](int pairings) {
    return MayBeat(pairings * one, Overlap(onReference, std::max(minOverlap, pairings), pairings),
                   bestScore);
  };
  int needed = std::clamp(guess, 1, onReference + 1);
  while (needed > 1 && mayBeat(needed - 1)) needed--;
  while (needed <= onReference && !mayBeat(needed)) needed++;
  return needed;
}

// Tries an alignment; answers the number of pairings when it is the best so far,
// else 0.
int Try(EngineContext& context, FitMemory& memory, Attempt& attempt, int minOverlap,
        MatchResult& result) {
  const TemplateGeometry& probe = context.probeGeometry;
  const TemplateGeometry& reference = context.referenceGeometry;
  const Kernels& kernels = KernelsFor(context);
  const int onReference =
      LayOn(kernels, probe, reference.area, Forward(attempt.theta), attempt.shift,
            attempt.first.probe, attempt.second.probe, attempt.onReference, attempt.moved);
  if (onReference < minOverlap) return 0;
  memory.needed =
      PairingsNeeded(context, attempt, onReference, minOverlap, result.score, memory.needed);
  if (memory.needed > onReference) return 0;
  kernels.listNear(context, attempt.moved, attempt.onReference, attempt.theta, memory.needed);
  if (context.near.count < memory.needed) return 0;
  Position movedBack[maxRow];
  const int onProbe =
      LayOn(kernels, reference, probe.area, Backward(attempt.theta, attempt.shift), {0, 0},
            attempt.first.reference, attempt.second.reference, attempt.onProbe, movedBack);
  const int most = context.near.count;
  if (onProbe < minOverlap || !MayBeat(MostWeight(context, attempt, most),
                                       Overlap(onReference, onProbe, most), result.score)) {
    return 0;
  }

  PairGreedily(context, memory, attempt);
  if (attempt.matched == 0) return 0;
  const int overlap = Overlap(onReference, onProbe, attempt.matched);
  const int weight = WithSeedFactors(context, attempt.weight, attempt.first, attempt.second);
  const int score = SquareOver(weight, overlap);
  if (score <= result.score) return 0;
  KeepAttempt(context, attempt, score, overlap, result);
  return attempt.matched;
}

// Twice 1024 when all neighbours of both minutiae are paired; within bounds.
int NeighbourSupport(Neighbourhood probe, Neighbourhood reference) {
  const int support =
      (probe.paired + reference.paired) * 2048 / (probe.minutiae + reference.minutiae);
  return std::clamp(support, 800, 1200);
}

}  // namespace

void SearchAlignment(EngineContext& context, MatchResult& result) {
  const int probeCount = context.probeGeometry.count;
  const int referenceCount = context.referenceGeometry.count;
  const int minOverlap = MinOverlap(probeCount, referenceCount);
  const int norm = ScoreNorm(probeCount, referenceCount);
  const int firstCount = CountSeeds(context, FirstSeedVotes(context));
  const int secondCount = CountSeeds(context, 3);
  const Kernels& kernels = KernelsFor(context);
  int bestMatched = 0;
  for (int s = 0; s < firstCount && result.score <= norm * goodEnough; s++) {
    if (context.seeds[s].seedVotes <= bestMatched) continue;
    MinutiaBits partners;
    if (!kernels.findPartners(context, s, secondCount, partners)) continue;
    FitMemory memory;
    memory.needed = bestMatched;
    memory.seed = SeedAt(context, s);
    std::fill_n(memory.asked, probeCount, int16_t{-1});
    for (int word = 0; word < WordsFor(secondCount); word++) {
      for (uint64_t left = partners.words[word]; left != 0; left &= left - 1) {
        if (result.score > norm * goodEnough) break;
        const int k = word * 64 + platform::LowestBit(left);
        Attempt attempt;
        if (!Align(context, memory.seed, SeedAt(context, k), attempt)) continue;
        const int matched = Try(context, memory, attempt, minOverlap, result);
        if (matched != 0) bestMatched = matched;
      }
    }
  }
  if (bestMatched != 0) result.score = Rescore(context, result, result.overlap, NeighbourSupport);
  result.score = result.score / norm / 100;
}

}  // namespace vxm
