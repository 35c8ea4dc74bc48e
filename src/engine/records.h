// The records that the stages of a comparison hand to each other.
//
// One EngineContext serves one comparison at a time and is all the memory that
// a comparison uses besides its workspaces and its result. Two threads compare
// at once with a context each. All quantities are integers: pixels, whole
// degrees, and 1024ths in the sine tables.
#pragma once

#include <cstdint>

#include "engine/workspace.h"

namespace vxm {

constexpr int maxPairs = maxMinutiae * (maxMinutiae - 1) / 2;
constexpr int maxDistance = 1023;  // pixels; longer ones are stored as this

// Ends every scan of a pair list: longer than any pair.
constexpr int32_t pairSentinel = 30000;

// Tables derived from one template; what makes the later stages independent of
// its position and rotation. [i][j] speaks of minutia j as seen from minutia i.
struct TemplateGeometry {
  int32_t count;  // minutiae
  int32_t gridWidth;
  int32_t gridHeight;
  int32_t pairCount;
  uint16_t distance[maxMinutiae][maxMinutiae];       // pixels
  uint16_t lineAngle[maxMinutiae][maxMinutiae];      // of the line i to j, 0..360
  uint16_t relativeAngle[maxMinutiae][maxMinutiae];  // dir[j] - dir[i], 0..359
  int16_t dir[maxMinutiae];                          // direction, 360 - angle
  uint8_t localOrientation[maxMinutiae];             // 0..179, or background
  uint8_t grid[maxGridBlocks][maxGridBlocks];        // 0..179, or background
  int32_t pairDistance[maxPairs + 1];                // ascending, then the sentinel
  uint32_t pairIndex[maxPairs + 1];                  // (j << 16) | i with i < j
  uint8_t neighbours[maxMinutiae][maxMinutiae];      // ascending indices
  int16_t neighbourCount[maxMinutiae];
};

// A probe minutia with its best-voted reference mate.
struct SeedRecord {
  uint8_t seedProbe;
  uint8_t seedMate;
  int32_t seedVotes;
};

// Markers in EngineContext::referenceMate; other values are probe indices.
constexpr uint16_t mateFree = 0xFFFF;     // inside the probe's area, not paired
constexpr uint16_t mateOutside = 0xFFFE;  // outside it

// [i][j] speaks of probe minutia i and reference minutia j.
struct EngineContext {
  const MatchWorkspace* currentProbe;
  const MatchWorkspace* currentReference;
  TemplateGeometry probeGeometry;
  TemplateGeometry referenceGeometry;
  uint16_t pairWeight[maxMinutiae][maxMinutiae];  // 0: j is no candidate for i
  uint16_t rotation[maxMinutiae][maxMinutiae];    // dir of j - dir of i, 0..359
  uint8_t candidates[maxMinutiae][maxMinutiae];   // reference indices, ascending
  uint8_t candidateListSize[maxMinutiae];
  uint32_t votes[maxMinutiae][maxMinutiae];
  SeedRecord seeds[maxMinutiae];  // by votes, most first
  uint8_t compatible[maxMinutiae][maxMinutiae];
  uint8_t compatibleList[maxMinutiae][maxMinutiae];
  uint8_t compatibleListSize[maxMinutiae];
  int32_t projectedX[maxMinutiae];  // of probe minutiae under the attempt's alignment
  int32_t projectedY[maxMinutiae];
  uint16_t referenceMate[maxMinutiae];
  uint16_t distanceHistogram[maxDistance + 1];
};

// The outcome of a comparison.
struct MatchResult {
  int32_t score;     // raw during the search, 0..9999 at the end
  int32_t rotation;  // of the best alignment, degrees 0..359
  int32_t dx;        // its translation, pixels
  int32_t dy;
  int32_t mate[maxMinutiae];  // per probe minutia its reference mate, or -1
  int32_t seedProbeA;         // the pair of probe minutiae that gave the alignment
  int32_t seedProbeB;
  int32_t overlap;  // minutiae in the common area; the divisor of the score
};

}  // namespace vxm
