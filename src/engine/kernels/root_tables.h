// Tables for the vector code's roots and directions, from integers alone.
#pragma once

#include <array>
#include <cstdint>

#include "engine/numeric.h"

namespace vxm {

// 2^31 / d, rounded up; for 0 < n <= d <= 1024 then n * 1024 / d is exactly
// (n * reciprocal[d]) >> 21.
constexpr int largestLength = 1024;

constexpr std::array<uint32_t, largestLength + 1> MakeReciprocals() {
  std::array<uint32_t, largestLength + 1> table = {};
  for (uint32_t d = 1; d <= largestLength; d++) table[d] = ((uint32_t{1} << 31) + d - 1) / d;
  return table;
}

// By k = 1024 times the ratio of the shorter to the longer leg of a right angle:
// in the low 8 bits the angle beside the longer leg in degrees; above them what
// the longer leg is multiplied by for the hypotenuse, in 16384ths and for the
// middle of the step. That product is off by less than one, either way.
constexpr int secantShift = 8;

constexpr std::array<uint32_t, 1025> MakeLegRatios() {
  std::array<uint32_t, 1025> table = {};
  uint64_t secant = 0;
  for (uint64_t k = 0; k <= 1024; k++) {
    const uint64_t square = (2048 * 2048 + (2 * k + 1) * (2 * k + 1)) << 6;
    while ((secant + 1) * (secant + 1) <= square) secant++;
    table[k] = static_cast<uint32_t>(secant) << secantShift | atanTable[k];
  }
  return table;
}

}  // namespace vxm
