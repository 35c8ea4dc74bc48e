// The records that the stages of a comparison hand to each other.
//
// One EngineContext serves one comparison at a time and is all the memory that
// a comparison uses besides its workspaces and its result. Two threads compare
// at once with a context each. All quantities are integers: pixels, whole
// degrees, and 1024ths in the sine tables.
//
// Tables are flat, and their rows as long as the template needs, so that work
// for 18 minutiae touches memory for 18. All rows and lists end in padding that
// vector code may read and write.
#pragma once

#include <cstdint>

#include "engine/workspace.h"

namespace vxm {

constexpr int maxPairs = maxMinutiae * (maxMinutiae - 1) / 2;
constexpr int maxDistance = 1023;  // pixels; longer ones are stored as this

constexpr int vectorPadding = 32;         // elements
constexpr int maxRow = maxMinutiae + 24;  // a multiple of 16 with at least 8 to spare

// Which of the two scales a comparison is scored on. Standard records have
// neither quality nor an orientation grid.
enum class Scale { native, standard };

// A minutia's place, as the vector code takes it.
struct Position {
  int16_t x;
  int16_t y;
};

// The blocks that a template covers: of native ones the blocks with ridges, of
// standard ones the rectangle of blocks that the minutiae span.
struct Area {
  int firstColumn;
  int firstRow;
  int gridWidth;  // blocks, from column 0
  int gridHeight;
  bool hasRidges;  // the grid tells ridges from background
  alignas(64) uint8_t grid[maxGridBlocks + 1][maxGridBlocks];  // degrees 0..179, or background
};

// What the comparison knows of one template.
struct TemplateGeometry {
  const MatchWorkspace* workspace;
  int count;         // minutiae
  int stride;        // of the rows: count and at least 8 of padding
  bool plainAngles;  // all angles are 0..360, so that differences wrap as usual
  Area area;
  alignas(64) Position position[maxRow];
  alignas(64) int16_t dir[maxRow];  // direction, 360 - angle
  // [i * stride + j] speaks of minutia j as seen from minutia i; the lines only
  // for i < j.
  alignas(64) uint16_t distance[maxMinutiae * maxRow + vectorPadding];   // pixels
  alignas(64) uint16_t lineAngle[maxMinutiae * maxRow + vectorPadding];  // of the line, 0..360

  int Row(int i) const { return i * stride; }
};

// Where anything may be within reach: cells of 8 x 8 pixels with a minutia in
// them or beside them.
struct NearMap {
  static constexpr int cellSize = 8;
  static constexpr int cells = maxGridBlocks * blockSize / cellSize;
  static constexpr int words = (maxMinutiae + 63) / 64;
  uint32_t marked[cells][cells / 32];  // [row][column / 32], bit column % 32
  // The minutiae that marked a column or a row, a bit for each.
  uint64_t column[words][cells];
  uint64_t row[words][cells];
};

// The probe's minutia pairs that are long enough to tell a direction, by length.
// Pair p is the minutiae first[p] < second[p]; those shorter than d pixels are
// the ones before startAt[d].
struct PairList {
  int count;
  int longest;  // of all, in pixels
  uint16_t startAt[maxDistance + vectorPadding];
  uint8_t first[maxPairs];
  uint8_t second[maxPairs];
  // Whole degrees 0..359: the line, and the directions of the two minutiae as seen
  // from it.
  uint16_t line[maxPairs];
  uint16_t firstDir[maxPairs];
  uint16_t secondDir[maxPairs];
};

// Sets of the probe's pairs by an angle: for each step of some degrees, the pairs
// whose own angle may be within the tolerance of an angle in that step.
// [step * words + p / 64], bit p % 64.
constexpr int angleStep = 4;  // degrees
constexpr int angleSteps = 360 / angleStep;
constexpr int maxPairWords = (maxPairs + 63) / 64;
struct AngleSets {
  uint64_t bits[angleSteps * maxPairWords + 1];  // one more may be read
};

struct PairSets {
  int words;
  AngleSets line;
  AngleSets firstDir;
  AngleSets secondDir;
  AngleSets scratch;  // of making them
};

// A probe minutia and the reference minutia taken for its mate.
struct Correspondence {
  int probe;
  int reference;
};

// A probe minutia with its best-voted reference mate.
struct SeedRecord {
  uint8_t seedProbe;
  uint8_t seedMate;
  int32_t seedVotes;
};

// A probe minutia under an alignment and a reference minutia within its reach.
struct NearPair {
  uint8_t probe;
  uint8_t reference;
  uint16_t distance2;  // squared pixels
};

// By probe minutia, then by reference minutia.
struct NearList {
  int count;
  int probeMinutiae;  // that anything is near to
  NearPair pairs[maxMinutiae * maxMinutiae];
};

struct EngineContext {
  Scale scale;
  TemplateGeometry probeGeometry;
  TemplateGeometry referenceGeometry;
  PairList probePairs;
  PairSets probePairSets;
  // [i * reference stride + j]; at most 199 * 199, which fits.
  alignas(64) uint16_t votes[maxMinutiae * maxRow];
  SeedRecord seeds[maxMinutiae];  // by votes, most first
  NearMap nearReference;
  NearList near;
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
