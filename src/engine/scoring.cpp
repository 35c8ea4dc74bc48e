// Weights and agreement of correspondences, and the neighbours that back them.
//
// Idea of the weights: fingers are placed the right way up, so a mate never
// points more than 110 degrees away; of native templates, minutiae of like
// quality count more, and in both minutiae of the same type.
#include "engine/scoring.h"

#include <cstdlib>

namespace vxm {
namespace {

constexpr int directionTolerance = EngineParams::lineTolerance + EngineParams::angleTolerance;

// Weight by difference in quality: all for none, falling to 0 at the falloff.
int QualityWeight(int difference) {
  constexpr int falloff = EngineParams::qualityFalloff;
  constexpr int most = EngineParams::qualityWeight;
  return difference < falloff ? most - most * difference / falloff : 0;
}

int SeedFactor(const EngineContext& context, Correspondence seed) {
  return SameType(context, seed) ? EngineParams::seedTypeMatchFactor
                                 : EngineParams::seedTypeMismatchFactor;
}

}  // namespace

int PairWeight(const EngineContext& context, Correspondence c) {
  if (!WithinTolerance(RotationOf(context, c), directionTolerance)) return 0;
  const int typeWeight =
      SameType(context, c) ? EngineParams::typeMatchWeight : EngineParams::typeMismatchWeight;
  if (context.scale == Scale::standard) return EngineParams::standardWeight * typeWeight;
  return typeWeight *
         QualityWeight(std::abs(context.referenceGeometry.workspace->quality[c.reference] -
                                context.probeGeometry.workspace->quality[c.probe]));
}

bool LinesAgree(const EngineContext& context, Correspondence a, Correspondence b,
                int angleTolerance) {
  const int turn = LineRotation(context, a, b);
  return WithinTolerance(turn, EngineParams::lineTolerance) &&
         AnglesAgree(RotationOf(context, a), turn, angleTolerance) &&
         AnglesAgree(RotationOf(context, b), turn, angleTolerance) &&
         AnglesAgree(RelativeAngle(context.referenceGeometry, a.reference, b.reference),
                     RelativeAngle(context.probeGeometry, a.probe, b.probe), angleTolerance) &&
         PairWeight(context, a) != 0 && PairWeight(context, b) != 0;
}

int WithSeedFactors(const EngineContext& context, int weight, Correspondence a, Correspondence b) {
  return weight * SeedFactor(context, a) * SeedFactor(context, b) / 100;
}

PairedMinutiae ListPaired(const EngineContext& context, const MatchResult& result) {
  PairedMinutiae paired = {};
  for (int m = 0; m < context.probeGeometry.count; m++) {
    if (result.mate[m] < 0) continue;
    paired.probe[m] = 1;
    paired.reference[result.mate[m]] = 1;
  }
  return paired;
}

Neighbourhood NeighbourhoodOf(const EngineContext& context, const TemplateGeometry& geometry,
                              const int16_t* paired, int minutia) {
  // Standard records are scored without neighbours.
  if (context.scale == Scale::standard) return {1, 1};
  // Of those nearer the square's root is at most the radius.
  constexpr int radius2 = (EngineParams::neighbourRadius + 1) * (EngineParams::neighbourRadius + 1);
  const int16_t* x = geometry.workspace->x;
  const int16_t* y = geometry.workspace->y;
  int near = 0;
  int pairedNear = 0;
  for (int i = 0; i < geometry.count; i++) {
    const int dx = x[i] - x[minutia];
    const int dy = y[i] - y[minutia];
    const int within = dx * dx + dy * dy < radius2 ? 1 : 0;
    near += within;
    pairedNear += within * paired[i];
  }
  return {pairedNear, near};
}

}  // namespace vxm
