// The engine's tolerances and weights: every number that tunes a score, with
// its unit, what it decides, and the range of values that it could take: those for
// which the arithmetic around it holds and which are not plainly nonsense.
// They are part of the definition of the score and never change at run time.
#pragma once

#include <cstdint>

namespace vxm {
namespace EngineParams {

// A value and its range.
template <int value, int least, int most>
constexpr int InRange() {
  static_assert(least <= value && value <= most);
  return value;
}

// ---- Templates

// Templates with fewer minutiae than this score 0 against anything.
constexpr int minMinutiae = InRange<4, 2, 200>();

// Where the extent of a standard record's minutiae begins at the latest; pixels.
constexpr int latestSpan = InRange<1000, 0, 1023>();

// ---- Votes

// Rotation between the lines of two minutia pairs, at most; degrees.
constexpr int lineTolerance = InRange<90, 0, 180>();

// Pairs up to this length say nothing about direction and are left out; pixels.
constexpr int minPairDistance = InRange<10, 1, 1023>();

// Difference in length of two pairs that vote for each other, at most; pixels.
constexpr int pairDistanceTolerance = InRange<7, 0, minPairDistance>();

// Difference of two directions that count as equal, at most; degrees.
constexpr int angleTolerance = InRange<20, 0, 180 - lineTolerance>();

// Weight of a candidate of the same type, and of another; tenths.
constexpr int typeMatchWeight = InRange<10, 1, 10>();
constexpr int typeMismatchWeight = InRange<8, 1, typeMatchWeight>();

// Weight by quality of two minutiae of the same quality; percent.
constexpr int qualityWeight = InRange<100, 1, 100>();

// Quality difference (of 0..127) from which two minutiae are no candidates.
constexpr int qualityFalloff = InRange<30, 1, 128>();

// What stands for the weight by quality in standard records, which carry none; percent.
constexpr int standardWeight = InRange<50, 1, 100>();

// ---- Seeds

// A first seed needs votes: those of the best seed over this, less one, and at the least
// one, or more where both templates have many minutiae.
constexpr int bestVotesOver = InRange<2, 1, 100>();
constexpr int manyMinutiae = InRange<25, minMinutiae, 200>();
constexpr int manyMinutiaeVotes = InRange<4, 1, 398>();

// Votes that a second seed needs.
constexpr int secondSeedVotes = InRange<3, 1, 398>();

// Least distance of the two seeds; pixels.
constexpr int minSeedSeparation = InRange<20, 1, 1023>();

// Tolerances around a seed: difference in distance in pixels, in direction in degrees.
constexpr int seedDistanceTolerance = InRange<7, 0, 1023>();
constexpr int seedAngleTolerance = InRange<20, 0, 180 - lineTolerance>();

// Weight of an alignment for each seed that pairs two types, or one; tenths.
constexpr int seedTypeMismatchFactor = InRange<8, 1, 10>();
constexpr int seedTypeMatchFactor = InRange<10, 1, 10>();

// Difference of ridge orientations that count as equal, less than; degrees.
constexpr int orientationTolerance = InRange<16, 1, 91>();

// ---- Pairings

// Radius within which a projected minutia pairs with a candidate; squared pixels, of
// half a block at the most.
constexpr int pairingRadius2 = InRange<64, 0, 64>();

// Minutiae so near to the border of an area, or nearer, do not pair reliably; pixels.
constexpr int borderMargin = InRange<6, 0, 511>();

// Least share of a template's minutiae inside the other's area; percent.
constexpr int minOverlapPercent = InRange<5, 0, 100>();

// With fewer pairings than this both prints' minutiae in the overlap count, and not only
// those of the print that has more of them there.
constexpr int manyPairings = InRange<10, 0, 200>();

// ---- Scores

// Radius around a minutia in which others are its neighbours; pixels.
constexpr int neighbourRadius = InRange<50, 1, 180>();

// What the share of neighbours that are paired, twice over, may make of a weight, in
// 1024ths: in the first pass, and in the second.
constexpr int minSupport = InRange<800, 0, 1024>();
constexpr int maxSupport = InRange<1200, 1024, 2048>();
constexpr int minRefinedSupport = InRange<800, 0, 1024>();
constexpr int maxRefinedSupport = InRange<1024, minRefinedSupport, 1024>();

// A score is per minutia of a mean, in which those of the smaller template count so many
// times, and in four parts.
constexpr int smallerParts = InRange<3, 0, 4>();

// The score of an alignment from which on no better one is looked for.
constexpr int goodAlignment = InRange<1000, 1, 9999>();

// From this score on the first pass stands alone.
constexpr int clearScore = InRange<1000, 1, 9999>();

// How far apart the second pass still lets a pairing lie; pixels.
constexpr int refinedDistanceTolerance = InRange<pairDistanceTolerance + 1, 0, 180>();

// Share of the larger print's ridges below which the overlap lowers the score; percent.
constexpr int fullOverlapPercent = InRange<50, 1, 100>();

// Scores of standard records are this many times what the passes make them.
constexpr int standardScaling = InRange<2, 1, 10>();

// No score is higher.
constexpr int maxScore = InRange<9999, 1, 9999>();

// ---- The first stage of identification

// Minutiae of a reduced template.
constexpr int reducedMinutiae = InRange<18, minMinutiae, 200>();

// Minutiae so near to another are crowded and kept last; pixels.
constexpr int crowdedDistance = InRange<10, 0, 100>();

// Scores from which the second stage runs.
constexpr int fastModeLimit = InRange<50, 1, maxScore>();
constexpr int normalModeLimit = InRange<60, 1, maxScore>();

}  // namespace EngineParams

// Tolerances of the voting and the bounds of its pruning, and what the score is for:
// pairs are dropped, longest first, until the product of the two lists' last indices is
// at most `pruneMaxProduct` or the longest pair left is at most `pruneMinDistance`.
struct MatchLimits {
  int32_t angleTolerance;     // degrees, up to that of EngineParams
  int32_t distanceTolerance;  // pixels, likewise
  int32_t pruneEnabled;       // 0 or 1
  int32_t pruneMaxProduct;    // 0..400,000,000
  int32_t pruneMinDistance;   // pixels, 0..1023
  // A score below this need not be exact, only below it; 0: all are.
  int32_t neededScore = 0;
};

constexpr bool AreSensible(const MatchLimits& limits) {
  return limits.angleTolerance >= 0 && limits.angleTolerance <= EngineParams::angleTolerance &&
         limits.distanceTolerance >= 0 &&
         limits.distanceTolerance <= EngineParams::pairDistanceTolerance &&
         limits.pruneMaxProduct >= 0 && limits.pruneMaxProduct <= 400000000 &&
         limits.pruneMinDistance >= 0 && limits.pruneMinDistance <= 1023;
}

// What verification votes with, and the stages of identification.
constexpr MatchLimits verificationLimits = {20, 7, 1, 250000, 100};
constexpr MatchLimits fastFirstStage = {20, 7, 1, 125000, 70};
constexpr MatchLimits normalFirstStage = {15, 4, 1, 125000, 70};
constexpr MatchLimits secondStage = {20, 7, 0, 125000, 70};
static_assert(AreSensible(verificationLimits) && AreSensible(fastFirstStage) &&
              AreSensible(normalFirstStage) && AreSensible(secondStage));

}  // namespace vxm
