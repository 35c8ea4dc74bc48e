// Tables for the vector code's roots and directions, from integers alone.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "engine/numeric.h"

namespace vxm {

// 2^31 / d, rounded up; for 0 < n <= d <= 1024 then n * 1024 / d is exactly
// (n * reciprocal[d]) >> 21.
constexpr int largestLength = 1024;

constexpr std::array<int32_t, largestLength + 1> MakeReciprocals() {
  std::array<int32_t, largestLength + 1> table = {};
  for (uint32_t d = 1; d <= largestLength; d++)
    table[d] = static_cast<int32_t>(((uint32_t{1} << 31) + d - 1) / d);
  return table;
}

// By k = 1024 times the ratio of the shorter to the longer leg of a right angle:
// in the low 8 bits the angle beside the longer leg in degrees; above them what
// the longer leg is multiplied by for the hypotenuse, in 16384ths and for the
// middle of the step. That product is off by less than one, either way.
constexpr int secantShift = 8;

constexpr std::array<int32_t, 1025> MakeLegRatios() {
  std::array<int32_t, 1025> table = {};
  uint64_t secant = 0;
  for (uint64_t k = 0; k <= 1024; k++) {
    const uint64_t square = (2048 * 2048 + (2 * k + 1) * (2 * k + 1)) << 6;
    while ((secant + 1) * (secant + 1) <= square) secant++;
    const auto entry = static_cast<size_t>(k);
    table[entry] = static_cast<int32_t>(secant << secantShift | atanTable[entry]);
  }
  return table;
}

inline constexpr auto reciprocals = MakeReciprocals();
inline constexpr auto legRatios = MakeLegRatios();

// Shorter tables by whole degrees up to 45, which a vector instruction looks up by itself.
constexpr int shortTable = 64;
using ShortTable = std::array<int16_t, shortTable>;

// The ratio, in 1024ths, from which the angle beside the longer leg is as large.
constexpr ShortTable MakeLeastRatios() {
  ShortTable table = {};
  for (int angle = 0; angle < shortTable; angle++) {
    int ratio = angle > 45 ? INT16_MAX : 0;
    while (ratio < 1024 && atanTable[ratio] < angle) ratio++;
    table[static_cast<size_t>(angle)] = static_cast<int16_t>(ratio);
  }
  return table;
}

constexpr ShortTable FirstOf(const int16_t* entries) {
  ShortTable table = {};
  for (size_t k = 0; k < shortTable; k++) table[k] = entries[k];
  return table;
}

inline constexpr ShortTable leastRatios = MakeLeastRatios();
inline constexpr ShortTable shortCosines = FirstOf(cosTable);
inline constexpr ShortTable shortSines = FirstOf(sinTable);

}  // namespace vxm
