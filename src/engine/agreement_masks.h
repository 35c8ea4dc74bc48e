// Which pairs of a block of the probe's pairs agree with what a pair of the reference has:
// the tables of crowded_voting.cpp.
#pragma once

#include <cstdint>

#include "engine/params.h"

namespace vxm {

// A bit for each pair of a block.
struct PairBits {
  static constexpr int words = 4;
  static constexpr int pairs = 64 * words;
  uint64_t word[words];
};

// For each value from `least` to `most`, and one entry more for making it.
template <int leastValue, int mostValue>
struct MaskTable {
  static constexpr int least = leastValue;
  static constexpr int most = mostValue;
  PairBits bits[most - least + 2];
};

// By degrees, pixels and quality. Tables in two are of the first and of the second minutia.
struct AgreementMasks {
  static constexpr int leastDir = 360 - 511;  // of native minutiae
  static constexpr int extent = 64;           // the lengths in a block
  static constexpr int reach = EngineParams::pairDistanceTolerance;
  MaskTable<-reach, extent - 1 + reach> length;  // more than the shortest in the block
  MaskTable<0, 360> line;
  MaskTable<leastDir, 511> relative;      // second direction less the first
  MaskTable<leastDir - 360, 360> dir[2];  // direction less line
  MaskTable<0, 127> quality[2];
  // For directions more than a full turn apart; see DirectionsAgree.
  MaskTable<leastDir, 0> dirBelow[2];
  MaskTable<leastDir, 360> dirBeyond[2];
  MaskTable<0, 360> lineUpTo;
};

}  // namespace vxm
