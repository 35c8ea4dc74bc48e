// Random numbers that are the same on every system: splitmix64 and the few
// whole-number draws that the maker needs. (The distributions of the standard
// library may differ from one implementation to the next.)
//
// Draw one number a statement: the order of draws inside one expression is the
// compiler's choice.
#pragma once

#include <cstdint>

namespace vxmsynth {

class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}

  uint64_t Next() {
    uint64_t z = (state_ += 0x9E3779B97F4A7C15u);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
  }

  // A whole number of low..high, both included.
  int Between(int low, int high) {
    const uint64_t range = static_cast<uint64_t>(high - low) + 1;
    return low + static_cast<int>(((Next() >> 32) * range) >> 32);
  }

  bool Chance(int percent) { return Between(1, 100) <= percent; }

  // Bell-shaped around 0 with about the given standard deviation and nothing
  // beyond 3.5 times that: the sum of four uniform draws has 1.155 times the
  // deviation of the range of one half.
  int Bell(int deviation) {
    const int half = deviation * 866 / 1000;
    int sum = 0;
    for (int i = 0; i < 4; ++i) sum += Between(-half, half);
    return sum;
  }

 private:
  uint64_t state_;
};

}  // namespace vxmsynth
