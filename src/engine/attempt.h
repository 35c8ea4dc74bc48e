// One attempt of the alignment search: a motion, and what it pairs.
#pragma once

#include "engine/records.h"
#include "engine/scoring.h"

namespace vxm {

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

// What an attempt knows of the first seed's other attempts: of which correspondences it was
// asked whether they fit beside the seed, with the answers, and how many pairings were
// needed last.
struct FitMemory {
  Correspondence seed;
  int needed;
  bool blank;  // nothing was asked yet
  // Bits of reference minutiae for each probe minutia.
  uint64_t fit[MinutiaBits::maxWords][maxMinutiae];
  uint64_t unfit[MinutiaBits::maxWords][maxMinutiae];
};

// What an attempt has to beat: a raw score, where one pairing weighs this at the most.
struct Bar {
  int score;
  int mostWeight;
};

// Whether two seeds can stand together, and the rotation that they give.
bool SeedsAgree(const EngineContext& context, Correspondence first, Correspondence second,
                int& theta);

// The alignment of two seeds.
void AlignSeeds(const EngineContext& context, Correspondence first, Correspondence second,
                int theta, Attempt& attempt);

// Pairs the minutiae that the alignment lays on each other. Answers the overlap of the
// two prints, in minutiae; 0 when it cannot beat the bar, or pairs nothing.
int PairMinutiae(EngineContext& context, FitMemory& memory, Attempt& attempt, int minOverlap,
                 const Bar& bar);

}  // namespace vxm
