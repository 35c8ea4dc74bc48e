// The minutiae of every pair, by PairPlace.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "engine/records.h"

namespace vxm {

struct PairEnds {
  std::array<uint8_t, maxPairs + vectorPadding> first;
  std::array<uint8_t, maxPairs + vectorPadding> second;
};

constexpr PairEnds MakePairEnds() {
  PairEnds ends = {};
  for (int j = 1; j < maxMinutiae; j++) {
    for (int i = 0; i < j; i++) {
      const auto place = static_cast<size_t>(PairPlace(i, j));
      ends.first[place] = static_cast<uint8_t>(i);
      ends.second[place] = static_cast<uint8_t>(j);
    }
  }
  return ends;
}

inline constexpr PairEnds pairEnds = MakePairEnds();

}  // namespace vxm
