// What more than one stage asks about minutiae and correspondences: angles,
// weights, and whether two correspondences fit each other.
#pragma once

#include <algorithm>
#include <cstdlib>

#include "engine/kernels/kernels.h"
#include "engine/numeric.h"
#include "engine/params.h"
#include "engine/records.h"

namespace vxm {

// The open rectangle minX < x < maxX, minY < y < maxY.
struct Box {
  int minX, maxX;
  int minY, maxY;

  bool Holds(Point p) const { return p.x > minX && p.x < maxX && p.y > minY && p.y < maxY; }
};

// Inside this box a position can be in the area.
inline Box BoxOf(const Area& area) {
  return {std::max(area.firstColumn * blockSize - 1, 0), area.gridWidth * blockSize,
          std::max(area.firstRow * blockSize - 1, 0), area.gridHeight * blockSize};
}

// Moved minutiae outside this box are too near to the border to pair; it has the
// size of the probe's area.
inline Box PairingBox(const Area& area) {
  constexpr int margin = EngineParams::borderMargin;
  return {margin, area.gridWidth * blockSize - margin, margin,
          area.gridHeight * blockSize - margin};
}

// dir[j] - dir[i], seen from the lower index and turned round for the higher.
inline uint16_t RelativeAngle(const TemplateGeometry& geometry, int i, int j) {
  const int angle = AngleBetween(geometry.dir[std::max(i, j)], geometry.dir[std::min(i, j)]);
  return static_cast<uint16_t>(i <= j || angle == 0 ? angle : 360 - angle);
}

// The rotation from the probe minutia's direction to the reference minutia's.
inline uint16_t RotationOf(const EngineContext& context, Correspondence c) {
  return static_cast<uint16_t>(
      AngleBetween(context.referenceGeometry.dir[c.reference], context.probeGeometry.dir[c.probe]));
}

inline int DistanceOf(const TemplateGeometry& geometry, int i, int j) {
  return i == j ? 0 : geometry.distance[PairPlaceOf(i, j)];
}

// Direction of the line from i to j; backwards it is the table's, turned round.
inline int LineAngle(const TemplateGeometry& geometry, int i, int j) {
  if (i == j) return 0;
  const int angle = geometry.lineAngle[PairPlaceOf(i, j)];
  if (i < j) return angle;
  return angle < 180 ? angle + 180 : angle - 180;
}

// The same as a scaled turn, of two different minutiae.
inline uint16_t LineTurn(const TemplateGeometry& geometry, int i, int j) {
  return static_cast<uint16_t>(ScaledTurn(geometry.lineAngle[PairPlaceOf(i, j)]) +
                               (i < j ? 0 : ScaledTurn(180)));
}

// The rotation of the line between two minutiae, 0..360.
inline int LineRotation(const EngineContext& context, Correspondence a, Correspondence b) {
  return AngleBetween(LineAngle(context.referenceGeometry, a.reference, b.reference),
                      LineAngle(context.probeGeometry, a.probe, b.probe));
}

// The same as 0..359, without a branch, since it could not be foretold; of two
// different pairings.
inline int AlignedRotation(const EngineContext& context, Correspondence a, Correspondence b) {
  const int angle = context.probeGeometry.lineAngle[PairPlaceOf(a.probe, b.probe)];
  const int mateAngle = context.referenceGeometry.lineAngle[PairPlaceOf(a.reference, b.reference)];
  const bool swapped = (a.probe < b.probe) != (a.reference < b.reference);
  const int turned = mateAngle - angle + 180 * static_cast<int>(swapped) + 360;
  return static_cast<int>(static_cast<unsigned>(turned) % 360);
}

inline Point PointAt(const TemplateGeometry& geometry, int minutia) {
  return {geometry.position[minutia].x, geometry.position[minutia].y};
}

inline bool SameType(const EngineContext& context, Correspondence c) {
  return context.probeGeometry.workspace->type[c.probe] ==
         context.referenceGeometry.workspace->type[c.reference];
}

// How much a pairing is worth; 0 when the two cannot be mates.
constexpr int maxPairWeight = EngineParams::typeMatchWeight * EngineParams::qualityWeight;
constexpr int maxStandardPairWeight = EngineParams::typeMatchWeight * EngineParams::standardWeight;
int PairWeight(const EngineContext& context, Correspondence c);

// Whether all angles of both templates are 0..360; only then do differences wrap.
inline bool HasPlainAngles(const EngineContext& context) {
  return context.probeGeometry.plainAngles && context.referenceGeometry.plainAngles;
}

// Whether two correspondences turn alike: the lines between the minutiae and the
// minutiae themselves, within the tolerance.
bool LinesAgree(const EngineContext& context, Correspondence a, Correspondence b,
                int angleTolerance);

// Whether a distance from a seed and that of the mates make them fit.
inline bool DistancesFit(int distance, int mateDistance) {
  return (std::abs(mateDistance - distance) <= EngineParams::seedDistanceTolerance) &
         (std::min(distance, mateDistance) >= EngineParams::minPairDistance);
}

// Whether the quality of two native minutiae lets them be mates; without a branch.
inline bool QualitiesAgree(int a, int b) {
  constexpr int falloff = EngineParams::qualityFalloff;
  return static_cast<unsigned>(a - b + falloff - 1) < static_cast<unsigned>(2 * falloff - 1);
}

// Whether two correspondences turn alike, in scaled turns and without a branch. That their
// weight is not 0 follows, but for the quality.
inline bool TurnsOfLinesAgree(const EngineContext& context, Correspondence a, Correspondence b) {
  const TemplateGeometry& probe = context.probeGeometry;
  const TemplateGeometry& reference = context.referenceGeometry;
  constexpr int reach = ScaledReach(EngineParams::seedAngleTolerance);
  const int line =
      LineTurn(reference, a.reference, b.reference) - LineTurn(probe, a.probe, b.probe);
  const int first = reference.turn[a.reference] - probe.turn[a.probe];
  const int second = reference.turn[b.reference] - probe.turn[b.probe];
  const bool agree = TurnsAgree(line, 0, ScaledReach(EngineParams::lineTolerance)) &
                     TurnsAgree(first, line, reach) & TurnsAgree(second, line, reach) &
                     TurnsAgree(second, first, reach);
  if (context.scale == Scale::standard) return agree;
  const uint8_t* quality = probe.workspace->quality;
  const uint8_t* mateQuality = reference.workspace->quality;
  return agree & QualitiesAgree(quality[a.probe], mateQuality[a.reference]) &
         QualitiesAgree(quality[b.probe], mateQuality[b.reference]);
}

// Whether a correspondence fits beside a seed: as far away, and turned alike; as the
// scalar form defines it, or as turns tell it where they wrap.
inline bool FitsBeside(const EngineContext& context, Correspondence seed, Correspondence other) {
  return DistancesFit(DistanceOf(context.probeGeometry, seed.probe, other.probe),
                      DistanceOf(context.referenceGeometry, seed.reference, other.reference)) &&
         (context.kernels == &scalarKernels
              ? LinesAgree(context, seed, other, EngineParams::seedAngleTolerance)
              : TurnsOfLinesAgree(context, seed, other));
}

inline bool PairingHolds(const PairingList& pairings, int k, const Motion& motion, Point shift,
                         int theta) {
  constexpr int radius = EngineParams::refinedDistanceTolerance;
  const Point p = Move(motion, {pairings.from[k].x, pairings.from[k].y});
  const int dx = p.x + shift.x - pairings.to[k].x;
  const int dy = p.y + shift.y - pairings.to[k].y;
  return dx * dx + dy * dy <= radius * radius &&
         AnglesAgree(static_cast<uint16_t>(pairings.rotation[k]), theta,
                     EngineParams::angleTolerance);
}

// Length of the longest pair of a template; pixels.
inline int LongestPair(const TemplateGeometry& geometry) {
  uint16_t longest = 0;
  for (int place = 0; place < PairCount(geometry.count); place++) {
    longest = std::max(longest, geometry.distance[place]);
  }
  return longest;
}

// Pairs of the list that are at most `length` pixels long.
inline int PairsUpTo(const PairList& pairs, int length) { return pairs.startAt[length + 1]; }

// Scores are per minutia, mostly of the smaller template.
inline int ScoreNorm(int probeCount, int referenceCount) {
  constexpr int parts = EngineParams::smallerParts;
  return (std::max(probeCount, referenceCount) * (4 - parts) +
          std::min(probeCount, referenceCount) * parts) /
         4;
}

// weight x weight / divisor, in an order that keeps to 32 bits.
inline int SquareOver(int weight, int divisor) {
  return weight <= 32767 ? weight * weight / divisor : weight / divisor * weight;
}

// Whether a weight up to this one could score more than `best`. Dividing once, at
// the end, gives the most, whatever the order above; and a quotient is above `best` when
// the dividend is at least the divisor times one more. In 64 bits nothing overflows.
inline bool MayBeat(int weight, int divisor, int best) {
  return int64_t{weight} * weight >= (int64_t{best} + 1) * divisor;
}

// The weight of a set of pairings, less when a seed pairs two types.
int WithSeedFactors(const EngineContext& context, int weight, Correspondence a, Correspondence b);

// The minutiae that a result pairs.
struct PairedMinutiae {
  int16_t probe[maxMinutiae];  // 0 or 1
  int16_t reference[maxMinutiae];
};
PairedMinutiae ListPaired(const EngineContext& context, const MatchResult& result);

// A minutia with its neighbours: how many they are, how many of them (the
// minutia itself always) are paired.
struct Neighbourhood {
  int paired;
  int minutiae;
};

// The minutia with its neighbours in one of the two templates.
Neighbourhood NeighbourhoodOf(const EngineContext& context, const TemplateGeometry& geometry,
                              const int16_t* paired, int minutia);

// The score of result's pairings with every weight, the seeds' aside, taken
// times `support`(of the probe minutia, of its mate) / 1024.
template <typename Support>
int Rescore(const EngineContext& context, const MatchResult& result, int overlap, Support support) {
  const PairedMinutiae paired = ListPaired(context, result);
  const Correspondence a = {result.seedProbeA, result.mate[result.seedProbeA]};
  const Correspondence b = {result.seedProbeB, result.mate[result.seedProbeB]};
  int total = 0;
  for (int m = 0; m < context.probeGeometry.count; m++) {
    const int n = result.mate[m];
    if (n < 0 || m == a.probe || m == b.probe) continue;
    const int factor =
        support(NeighbourhoodOf(context, context.probeGeometry, paired.probe, m),
                NeighbourhoodOf(context, context.referenceGeometry, paired.reference, n));
    total += (PairWeight(context, {m, n}) * factor + 512) >> 10;
  }
  return SquareOver(WithSeedFactors(context, total, a, b), overlap);
}

}  // namespace vxm
