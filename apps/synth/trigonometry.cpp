// Sines and directions by CORDIC: shifts, additions and one table of arctangents.
#include "trigonometry.h"

#include <array>

namespace vxmsynth {
namespace {

constexpr int steps = 18;

// arctan(2^-i) in 2^-32 of a full turn, rounded.
constexpr uint32_t arctangents[steps] = {
    536870912, 316933406, 167458907, 85004756, 42667331, 21354465, 10679838, 5340245, 2670163,
    1335087,   667544,    333772,    166886,   83443,    41722,    20861,    10430,   5215};

// The product of all cos(arctan(2^-i)), in 2^-30: what the steps lengthen by.
constexpr int64_t shrink = 652032874;

// Sine of an angle of the first quarter, 0 and the quarter itself included.
int32_t QuarterSine(uint32_t turn) {
  int64_t x = shrink;
  int64_t y = 0;
  int64_t rest = static_cast<int64_t>(turn) << 16;
  for (int i = 0; i < steps; ++i) {
    const int64_t sign = rest >= 0 ? 1 : -1;
    const int64_t shifted = sign * (y >> i);
    y += sign * (x >> i);
    x -= shifted;
    rest -= sign * arctangents[i];
  }
  const int64_t scale = (int64_t{1} << 30) / sineOne;
  return static_cast<int32_t>((y + scale / 2) / scale);
}

constexpr int quarter = fullTurn / 4;

const std::array<int16_t, quarter + 1>& SineTable() {
  static const auto table = [] {
    std::array<int16_t, quarter + 1> sines{};
    for (int i = 0; i <= quarter; ++i) sines[i] = static_cast<int16_t>(QuarterSine(i));
    return sines;
  }();
  return table;
}

}  // namespace

int32_t Sine(Turn turn) {
  const auto& table = SineTable();
  const int within = turn % quarter;
  switch (turn / quarter) {
    case 0: return table[within];
    case 1: return table[quarter - within];
    case 2: return -table[within];
    default: return -table[quarter - within];
  }
}

Turn DirectionOf(Vector vector) {
  if (vector.x == 0 && vector.y == 0) return 0;
  // Into the right half first; small vectors are lengthened for precision.
  int64_t x = vector.x;
  int64_t y = vector.y;
  uint32_t direction = 0;
  if (x < 0) {
    x = -x;
    y = -y;
    direction = 0x80000000u;
  }
  x *= 1 << 20;
  y *= 1 << 20;
  for (int i = 0; i < steps; ++i) {
    const int64_t sign = y >= 0 ? 1 : -1;
    const int64_t shifted = sign * (y >> i);
    y -= sign * (x >> i);
    x += shifted;
    direction += static_cast<uint32_t>(sign) * arctangents[i];
  }
  return static_cast<Turn>((direction + 0x8000u) >> 16);
}

Vector Rotate(Vector vector, Turn turn) {
  const int64_t cosine = Cosine(turn);
  const int64_t sine = Sine(turn);
  const auto rounded = [](int64_t product) {
    return static_cast<int32_t>((product + sineOne / 2) >> 14);
  };
  return {rounded(cosine * vector.x - sine * vector.y),
          rounded(sine * vector.x + cosine * vector.y)};
}

}  // namespace vxmsynth
