// Directions and sines in whole numbers, the same on every system.
//
// A direction is a Turn: a full circle has 65536 steps, so that sums wrap by
// themselves. x runs to the right and y downwards; a quarter turn leads from x
// to y.
#pragma once

#include <cstdint>

namespace vxmsynth {

using Turn = uint16_t;

constexpr int32_t fullTurn = 65536;
constexpr int32_t sineOne = 16384;  // the value of a sine of 1

constexpr Turn FromDegrees(int degrees) {
  return static_cast<Turn>(static_cast<int64_t>(degrees) * fullTurn / 360);
}

// Whole degrees 0..359, rounded.
constexpr int ToDegrees(Turn turn) { return (turn * 360 + fullTurn / 2) / fullTurn % 360; }

struct Vector {
  int32_t x;
  int32_t y;
};

int32_t Sine(Turn turn);
inline int32_t Cosine(Turn turn) { return Sine(static_cast<Turn>(turn + fullTurn / 4)); }

// The direction of a vector whose parts lie within +-2^24; 0 for none.
Turn DirectionOf(Vector vector);

Vector Rotate(Vector vector, Turn turn);

}  // namespace vxmsynth
