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

// Shorter tables of 64 entries, which a vector instruction looks up by itself; what
// they give is close enough to be put right.
constexpr int shortTable = 64;
using ShortTable = std::array<uint16_t, shortTable>;

// By how much numbers are shifted to have their first bit in bit 15; 0 for 0.
constexpr ShortTable MakeShiftsToTop() {
  ShortTable table = {};
  for (size_t k = 1; k < shortTable; k++) {
    while ((k << table[k] & 0x8000) == 0) table[k]++;
  }
  return table;
}

// 2^31 / m for m of 32768 to 65535, by the upper bits of m after the first.
constexpr ShortTable MakeShortReciprocals() {
  ShortTable table = {};
  for (uint32_t k = 0; k < shortTable; k++) {
    table[k] = static_cast<uint16_t>((uint32_t{1} << 31) / (32768 + 512 * k + 256));
  }
  return table;
}

// By the ratio of the legs in 64ths: what the hypotenuse is longer by than the
// longer leg, in 65536ths of it, and how much that grows to the next entry.
struct ExtraLengths {
  ShortTable extra;
  ShortTable growth;
};

constexpr ExtraLengths MakeExtraLengths() {
  ExtraLengths table = {};
  uint64_t last = uint64_t{1} << 16;
  for (uint64_t k = 0; k <= shortTable; k++) {
    uint64_t secant = last;
    while ((secant + 1) * (secant + 1) <= (shortTable * shortTable + k * k) << 20) secant++;
    const auto entry = static_cast<size_t>(k);
    if (k < shortTable) table.extra[entry] = static_cast<uint16_t>(secant - 65536);
    if (k > 0) table.growth[entry - 1] = static_cast<uint16_t>(secant - last);
    last = secant;
  }
  return table;
}

// By the same: the angle beside the longer leg in degrees at the least, and the
// ratios in 1024ths from which it is one and two more. The ratio may be one less
// than the entry says, or one more.
struct LegAngles {
  ShortTable least;
  ShortTable oneMore;
  ShortTable twoMore;
};

constexpr LegAngles MakeLegAngles() {
  LegAngles table = {};
  for (size_t k = 0; k < shortTable; k++) {
    size_t ratio = k == 0 ? 0 : 16 * k - 1;
    const int least = atanTable[ratio];
    while (ratio <= 1024 && atanTable[ratio] < least + 1) ratio++;
    table.least[k] = static_cast<uint16_t>(least);
    table.oneMore[k] = static_cast<uint16_t>(ratio);
    while (ratio <= 1024 && atanTable[ratio] < least + 2) ratio++;
    table.twoMore[k] = static_cast<uint16_t>(ratio);
  }
  return table;
}

}  // namespace vxm
