// A set of minutiae, or of seeds.
#pragma once

#include <cstdint>

#include "engine/workspace.h"
#include "platform/cpu.h"

namespace vxm {

constexpr int maxRow = maxMinutiae + 24;  // a multiple of 32

struct MinutiaBits {
  static constexpr int maxWords = (maxRow + 63) / 64;
  uint64_t words[maxWords];

  bool Has(int i) const { return (words[i / 64] >> (i % 64) & 1) != 0; }
  void Add(int i) { words[i / 64] |= uint64_t{1} << (i % 64); }
  void Remove(int i) { words[i / 64] &= ~(uint64_t{1} << (i % 64)); }
};
constexpr int WordsFor(int count) { return (count + 63) / 64; }

// How many of the first `count` are in the set.
inline int CountBits(const MinutiaBits& bits, int count) {
  int set = 0;
  for (int word = 0; word < WordsFor(count); word++) set += platform::CountBits(bits.words[word]);
  return set;
}

// Gives `take` those of the first `count` that are in the set, in order.
template <typename Take>
void ForEachBit(const MinutiaBits& bits, int count, Take take) {
  for (int word = 0; word < WordsFor(count); word++) {
    for (uint64_t left = bits.words[word]; left != 0; left &= left - 1) {
      take(word * 64 + platform::LowestBit(left));
    }
  }
}

}  // namespace vxm
