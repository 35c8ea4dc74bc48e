// Laying the probe on the reference by two seeds.
//
// In: two correspondences. Out: the motion that they fix, and the pairings.
// Idea: the probe's minutiae are projected into the reference and paired greedily;
// what is paired is weighed against the minutiae that the two prints have in common.
// Every pairing must also fit beside the first seed in distance and direction; the
// answer is remembered for the next attempt with that seed.
// Cost: most attempts end as soon as it is known how many pairings they would need;
// the others cost one step per minutia, in vectors, and one per pair that meets.
#include "engine/attempt.h"

#include <algorithm>
#include <cstdlib>

#include "engine/stages.h"
#include "platform/cpu.h"

namespace vxm {
namespace {

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

// Whether a correspondence fits beside the first seed is asked only where two minutiae
// meet, and not of all of them before; the answer depends on the two alone, so it holds
// for the next attempt with the same first seed. In a crowd many meet, in attempt after
// attempt. MatchKnownAnswerTest has crowds.
bool FitsBesideSeed(const EngineContext& context, FitMemory& memory, Correspondence c) {
  const int word = c.reference / 64;
  const uint64_t bit = uint64_t{1} << (c.reference % 64);
  if ((memory.fit[word][c.probe] & bit) != 0) return true;
  const bool fits = FitsBeside(context, memory.seed, c);
  (fits ? memory.fit : memory.unfit)[word][c.probe] |= bit;
  return fits;
}

// Finds the minutiae that the motion lays on the area, the excepted two left
// out; answers how many.
int LayOn(const Kernels& kernels, const TemplateGeometry& geometry, const Area& area,
          const Motion& motion, Point shift, int except1, int except2, MinutiaBits& on,
          Position* moved) {
  kernels.moveOnto(geometry, area, motion, shift, on, moved);
  on.Remove(except1);
  on.Remove(except2);
  return CountBits(on, geometry.count);
}

// Whether a correspondence is turned like the alignment. Where turns wrap, no other was listed.
bool TurnedAlike(const EngineContext& context, Correspondence c, int theta) {
  return context.kernels != &scalarKernels ||
         AnglesAgree(RotationOf(context, c), theta, EngineParams::seedAngleTolerance);
}

int SquaredDistance(Position a, Position b) {
  const int dx = a.x - b.x;
  const int dy = a.y - b.y;
  return dx * dx + dy * dy;
}

// Pairs each projected probe minutia with the nearest mate that is still free
// and fits, the later of two at the same distance; lower probe indices first. Of a crowd
// in one place only the last is looked at twice.
void PairGreedily(const EngineContext& context, FitMemory& memory, Attempt& attempt) {
  const int words = WordsFor(context.referenceGeometry.count);
  for (int word = 0; memory.blank && word < words; word++) {
    std::fill_n(memory.fit[word], context.probeGeometry.count, uint64_t{0});
    std::fill_n(memory.unfit[word], context.probeGeometry.count, uint64_t{0});
  }
  memory.blank = false;
  MinutiaBits unpaired = attempt.onProbe;
  attempt.matched = 0;
  attempt.weight = 0;
  for (int k = 0; k < context.near.count; k++) {
    const int m = context.near.probe[k];
    int best = -1;
    int bestDistance = EngineParams::pairingRadius2 + 1;
    for (int word = words - 1; word >= 0; word--) {
      uint64_t left =
          context.near.references[k].words[word] & unpaired.words[word] & ~memory.unfit[word][m];
      while (left != 0) {
        const int bit = platform::HighestBit(left);
        left ^= uint64_t{1} << bit;
        const int n = word * 64 + bit;
        const int distance =
            SquaredDistance(attempt.moved[m], context.referenceGeometry.position[n]);
        if (distance >= bestDistance || !TurnedAlike(context, {m, n}, attempt.theta) ||
            !FitsBesideSeed(context, memory, {m, n})) {
          continue;
        }
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

int Overlap(int onReference, int onProbe, int matched) {
  return matched < EngineParams::manyPairings ? onReference + onProbe - matched
                                              : std::max(onReference, onProbe);
}

// How many pairings an alignment must have at least to beat the bar.
//
// It matters only if it does, and no set of pairings scores more than if each weighed the
// most and their overlap were the least: of the minutiae on the reference, which are
// counted, and of those on the probe at least as many as are paired, since each pairing
// takes one. MayBeat then compares without the divisions, which only make a score less.
// More pairings never bound it lower: they add more to the square than to the overlap. So
// there is a least number, and the search for it begins at the answer to the last. The
// lists of what lies near may end as soon as they cannot reach it.
//
// MatchKnownAnswerTest tells the alignment that wins, and ScoreDigestTest many scores.
int PairingsNeeded(const Bar& bar, int onReference, int minOverlap, int guess) {
  const auto mayBeat = [&](int pairings) {
    return MayBeat(pairings * bar.mostWeight,
                   Overlap(onReference, std::max(minOverlap, pairings), pairings), bar.score);
  };
  int needed = std::clamp(guess, 1, onReference + 1);
  while (needed > 1 && mayBeat(needed - 1)) needed--;
  while (needed <= onReference && !mayBeat(needed)) needed++;
  return needed;
}

}  // namespace

bool SeedsAgree(const EngineContext& context, Correspondence first, Correspondence second,
                int& theta) {
  theta = AlignedRotation(context, first, second);
  return FitsBeside(context, first, second) & RidgesAgree(context, theta, second);
}

void AlignSeeds(const EngineContext& context, Correspondence first, Correspondence second,
                int theta, Attempt& attempt) {
  attempt.first = first;
  attempt.second = second;
  attempt.theta = theta;
  attempt.shift = ShiftFor(theta, PointAt(context.probeGeometry, first.probe),
                           PointAt(context.referenceGeometry, first.reference));
}

int PairMinutiae(EngineContext& context, FitMemory& memory, Attempt& attempt, int minOverlap,
                 const Bar& bar) {
  const TemplateGeometry& probe = context.probeGeometry;
  const TemplateGeometry& reference = context.referenceGeometry;
  // Also where angles do not wrap: positions are positions.
  const Kernels& kernels = ActiveKernels();
  const int onReference =
      LayOn(kernels, probe, reference.area, Forward(attempt.theta), attempt.shift,
            attempt.first.probe, attempt.second.probe, attempt.onReference, attempt.moved);
  if (onReference < minOverlap) return 0;
  memory.needed = PairingsNeeded(bar, onReference, minOverlap, memory.needed);
  if (memory.needed > onReference) return 0;
  kernels.listNear(context, attempt.moved, attempt.onReference, attempt.theta, memory.needed);
  if (context.near.count < memory.needed) return 0;
  Position movedBack[maxRow];
  const int onProbe =
      LayOn(kernels, reference, probe.area, Backward(attempt.theta, attempt.shift), {0, 0},
            attempt.first.reference, attempt.second.reference, attempt.onProbe, movedBack);
  const int most = context.near.count;
  if (onProbe < minOverlap ||
      !MayBeat(most * bar.mostWeight, Overlap(onReference, onProbe, most), bar.score)) {
    return 0;
  }
  PairGreedily(context, memory, attempt);
  return attempt.matched == 0 ? 0 : Overlap(onReference, onProbe, attempt.matched);
}

}  // namespace vxm
