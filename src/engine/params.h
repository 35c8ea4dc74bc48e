// The engine's tolerances and weights: every number that tunes a score, with
// its unit, what it decides, and the range of values it could sensibly take.
// They are part of the definition of the score and never change at run time.
#pragma once

#include <cstdint>

namespace vxm::EngineParams {

// Rotation between the lines of two minutia pairs, at most; degrees, 0..180.
constexpr int lineTolerance = 90;

// Difference in length of two pairs that vote for each other, at most; pixels.
// The second alignment pass keeps a pairing within one pixel more than this.
constexpr int pairDistanceTolerance = 7;

// Difference of two directions that count as equal, at most; degrees, 0..180.
constexpr int angleTolerance = 20;

// Pairs up to this length say nothing about direction and are left out; pixels.
constexpr int minPairDistance = 10;

// Least distance of the two seeds of an alignment attempt; pixels.
constexpr int minSeedSeparation = 20;

// Least share of a template's minutiae inside the other's area; percent.
constexpr int minOverlapPercent = 5;

// Weight of a candidate of another type, in tenths of one of the same type.
constexpr int typeMismatchWeight = 8;

// The same for the two seed correspondences of an alignment; tenths, 10 = none.
constexpr int seedTypeMismatchFactor = 8;
constexpr int seedTypeMatchFactor = 10;

// Quality difference (0..127) from which two minutiae are no candidates.
constexpr int qualityFalloff = 30;

// Radius around a minutia in which others are its neighbours; pixels.
constexpr int neighbourRadius = 50;

// Tolerances of the search around a seed correspondence: difference in
// distance in pixels, difference in direction in degrees.
constexpr int seedDistanceTolerance = 7;
constexpr int seedAngleTolerance = 20;

// Radius within which a projected minutia pairs with a candidate; squared pixels.
constexpr int pairingRadius2 = 64;

// Difference of ridge orientations that count as equal, less than; degrees.
constexpr int orientationTolerance = 16;

// What stands for the weight by quality (0..100) in standard records, which
// carry none.
constexpr int standardWeight = 50;

}  // namespace vxm::EngineParams

namespace vxm {

// Tolerances of the voting and the bounds of its pruning, and what the score is
// for: pairs are dropped,
// longest first, until the product of the two lists' last indices is at most
// `pruneMaxProduct` or the longest pair left is at most `pruneMinDistance`.
struct MatchLimits {
  int32_t angleTolerance;     // degrees
  int32_t distanceTolerance;  // pixels
  int32_t pruneEnabled;
  int32_t pruneMaxProduct;
  int32_t pruneMinDistance;  // pixels
  // A score below this need not be exact, only below it; 0: all are.
  int32_t neededScore = 0;
};

// What verification votes with.
constexpr MatchLimits verificationLimits = {EngineParams::angleTolerance,
                                            EngineParams::pairDistanceTolerance, 1, 250000, 100};

}  // namespace vxm
