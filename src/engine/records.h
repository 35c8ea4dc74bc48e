// The records that the stages of a comparison hand to each other.
//
// An EngineContext serves one comparison at a time and is, with the scratch memory
// that it leads to, all that a comparison uses besides its workspaces and its result.
// It keeps the tables of its probe; of the scratch memory nothing outlives a comparison,
// so contexts that one thread uses can share it. Two threads compare at once with
// both to themselves. All quantities are integers: pixels, whole degrees, and 1024ths
// in the sine tables.
//
// Tables are flat and only as long as the template needs, so that work for 18
// minutiae touches memory for 18. All lists end in padding that vector code may
// read and write.
#pragma once

#include <algorithm>
#include <cstdint>

#include "engine/agreement_masks.h"
#include "engine/block_map.h"
#include "engine/minutia_bits.h"
#include "engine/workspace.h"

namespace vxm {

constexpr int maxPairs = maxMinutiae * (maxMinutiae - 1) / 2;
constexpr int maxDistance = 1023;  // pixels; longer ones are stored as this

constexpr int vectorPadding = 64;  // elements

// The place of the pair of two minutiae, i < j, in a table of all pairs; the
// pairs of the first n minutiae are the first in it, whatever n.
constexpr int PairPlace(int i, int j) { return j * (j - 1) / 2 + i; }
constexpr int PairPlaceOf(int i, int j) {
  const int later = std::max(i, j);
  return PairPlace(i + j - later, later);
}
constexpr int PairCount(int minutiae) { return PairPlace(0, minutiae); }

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
  bool hasRidges;    // the grid tells ridges from background
  bool ridgesTaken;  // it does so already
  alignas(64) uint8_t grid[maxGridBlocks + 1][maxGridBlocks];  // degrees 0..179, or background
};

// Angles of pairs, coarse: the line between the two minutiae, and their directions
// as seen from it, in 256ths of 65536 scaled turns (see numeric.h).
struct CoarseAngles {
  uint8_t line[maxPairs + 2 * vectorPadding];
  uint8_t firstDir[maxPairs + 2 * vectorPadding];
  uint8_t secondDir[maxPairs + 2 * vectorPadding];
};

// Two minutiae, first < second, and scaled turns: the line between them, and their
// directions as seen from it.
struct MinutiaPair {
  uint16_t line;
  uint16_t firstDir;
  uint16_t secondDir;
  uint8_t first;
  uint8_t second;
};

// What the comparison knows of one template.
struct TemplateGeometry {
  explicit TemplateGeometry(MinutiaPair* allPairs) : pairs(allPairs) {}

  const MatchWorkspace* workspace = nullptr;
  int count = 0;            // minutiae
  bool plainAngles = true;  // all angles are 0..360, so that differences wrap as usual
  Area area = {};
  alignas(64) Position position[maxRow] = {};
  alignas(64) int16_t dir[maxRow] = {};    // direction, 360 - angle
  alignas(64) uint16_t turn[maxRow] = {};  // the same as a scaled turn
  // By PairPlace.
  alignas(64) uint16_t distance[maxPairs + vectorPadding] = {};   // pixels
  alignas(64) uint16_t lineAngle[maxPairs + vectorPadding] = {};  // from i to j, 0..360
  // Of the reference; of the probe only until its list is made.
  MinutiaPair* const pairs;
  CoarseAngles coarse = {};  // for the vector forms alone
};

// The probe's minutia pairs that are long enough to tell a direction, by length;
// those shorter than d pixels are the ones before startAt[d].
struct PairList {
  int count;
  int longest;    // of all, in pixels
  int mostAlike;  // pairs of a length within the widest tolerance of another, at most
  uint16_t startAt[maxDistance + vectorPadding];
  MinutiaPair pairs[maxPairs + vectorPadding];
  CoarseAngles coarse;
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

// Two seeds by their places: the one that an alignment rests on, and a second.
struct SeedPair {
  uint8_t second;
  uint8_t first;
};

// Where the two minutiae of each seed lie, and the scaled turn from one to the other;
// for the vector forms alone.
struct SeedPlaces {
  Position probe[maxRow];
  Position mate[maxRow];
  uint16_t turn[maxRow];
};

// Probe minutiae, ascending, under an alignment, and which reference minutiae each
// of them could pair with: those within reach and, if all angles are plain, turned alike.
struct NearList {
  int count;
  uint8_t probe[maxRow];
  MinutiaBits references[maxRow];
};

// Pairings of the first alignment pass, as the second pass takes them.
struct PairingList {
  int count;
  alignas(64) Position from[maxRow];
  alignas(64) Position to[maxRow];
  alignas(64) int16_t rotation[maxRow];  // between the two directions, 0..359
  alignas(64) uint16_t weight[maxRow];   // 0 where the pairing does not count
};

struct Kernels;

// What every comparison makes anew.
struct Scratch {
  union {
    alignas(64) MinutiaPair pairs[maxPairs + vectorPadding] = {};
    AgreementMasks masks;  // of crowded voting, which no longer needs the pairs
  };
  TemplateGeometry referenceGeometry{pairs};
  alignas(64) uint16_t votes[maxMinutiae * maxMinutiae + vectorPadding] = {};
};

struct EngineContext {
  explicit EngineContext(Scratch& scratch)
      : probeGeometry(scratch.pairs),
        referenceGeometry(scratch.referenceGeometry),
        masks(scratch.masks),
        votes(scratch.votes) {}

  Scale scale = Scale::native;
  const Kernels* kernels = nullptr;  // the form of the inner loops that these templates can take
  TemplateGeometry probeGeometry;
  TemplateGeometry& referenceGeometry;
  AgreementMasks& masks;
  PairList probePairs = {};
  // How many pairs of pairs voting may still compare one by one; below 0 it gives up.
  int votingBudget = 0;
  // [reference * probe count + probe]; at most 199 * 199, which fits.
  uint16_t* const votes;
  SeedRecord seeds[maxRow] = {};  // by votes, most first
  SeedPlaces seedPlaces = {};
  BlockMap referenceBlocks = {};  // where the reference's minutiae are, during the search
  NearList near = {};
};

static_assert(sizeof(AgreementMasks) <= sizeof(MinutiaPair) * (maxPairs + vectorPadding));

// A context with scratch memory of its own.
struct OwnContext {
  Scratch scratch;
  EngineContext context{scratch};
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
