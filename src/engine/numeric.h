// The engine's arithmetic: roots, directions and rotations, in integers.
#pragma once

#include <cstdint>

#include "engine/params.h"
#include "engine/tables.h"

namespace vxm {

// Floor of the square root, for 0 <= value < 2^20.
constexpr int IntSqrt(int32_t value) {
  int root = 0;
  for (int bit = 512; bit != 0; bit >>= 1) {
    const int larger = root | bit;
    if (larger * larger <= value) root = larger;
  }
  return root;
}

// Direction of the vector (dx, dy), whole degrees 0..360; 0 for no vector.
inline int AngleOf(int dx, int dy) {
  if (dx == 0 && dy == 0) return 0;
  const int ax = dx < 0 ? -dx : dx;
  const int ay = dy < 0 ? -dy : dy;
  const int angle = ax < ay ? 90 - atanTable[ax * 1024 / ay] : atanTable[ay * 1024 / ax];
  if (dx < 0) return dy >= 0 ? 180 - angle : 180 + angle;
  return dy < 0 ? 360 - angle : angle;
}

// An angle difference counts modulo 360 degrees.
constexpr bool WithinTolerance(int difference, int tolerance) {
  return difference <= tolerance || difference >= 360 - tolerance;
}

// The same for a difference with either sign.
constexpr bool AnglesAgree(int a, int b, int tolerance) {
  return WithinTolerance(a < b ? b - a : a - b, tolerance);
}

// a - b for angles, brought up by a full turn when negative.
constexpr int AngleBetween(int a, int b) {
  const int difference = a - b;
  return difference < 0 ? difference + 360 : difference;
}

// Angles so scaled that a full turn is nearly all of 16 bits: differences wrap by
// themselves, but for 16 units with each turn that was added or taken away. A
// degree is so much more that a reach with room for two turns is still exact:
// whatever sums and differences of angles 0..360 gave the two, they agree within
// the reach if and only if the degrees agree within the tolerance. Native templates can
// hold larger angles, which do not wrap; those comparisons keep to degrees. Where this
// were wrong KernelsTest.AllFormsAgree would fail.
constexpr int turnScale = 182;
constexpr uint16_t ScaledTurn(int degrees) { return static_cast<uint16_t>(degrees * turnScale); }
constexpr int ScaledReach(int tolerance) {
  constexpr int lostInTurn = 65536 - 360 * turnScale;
  static_assert(4 * lostInTurn < turnScale);
  return tolerance * turnScale + 2 * lostInTurn;
}
constexpr bool TurnsAgree(int a, int b, int reach) {
  return static_cast<uint16_t>(a - b + reach) <= 2 * reach;
}

// The upper bytes of scaled turns. Those that agree are within this of each other;
// some that do not are, too.
constexpr uint8_t CoarseTurn(uint16_t turn) { return static_cast<uint8_t>(turn >> 8); }
constexpr int CoarseReach(int tolerance) { return (ScaledReach(tolerance) + 255) / 256; }

struct Point {
  int x;
  int y;
};

// A motion of the plane in integers: (x - x0, y - y0) times a matrix in 1024ths,
// rounded.
struct Motion {
  int xx, xy;
  int yx, yy;
  int x0, y0;
};

// The turn about the origin by theta degrees.
inline Motion Forward(int theta) {
  const int cs = cosTable[theta];
  const int sn = sinTable[theta];
  return {cs, -sn, sn, cs, 0, 0};
}

// Back from there: the shift undone, then the turn. The two roundings make it
// differ from the exact inverse by up to a pixel.
inline Motion Backward(int theta, Point shift) {
  const int cs = cosTable[theta];
  const int sn = sinTable[theta];
  return {cs, sn, -sn, cs, shift.x, shift.y};
}

// The shift that, after the turn, carries one point onto another.
inline Point ShiftFor(int theta, Point from, Point to) {
  const int cs = cosTable[theta];
  const int sn = sinTable[theta];
  return {to.x - ((cs * from.x - sn * from.y + 512) >> 10),
          to.y - ((sn * from.x + cs * from.y + 512) >> 10)};
}

inline Point Move(const Motion& motion, Point p) {
  const int x = p.x - motion.x0;
  const int y = p.y - motion.y0;
  return {(motion.xx * x + motion.xy * y + 512) >> 10, (motion.yx * x + motion.yy * y + 512) >> 10};
}

// Far enough from the border of an area of this size for a reliable pairing.
constexpr bool InsideMargin(int x, int y, int width, int height) {
  constexpr int margin = EngineParams::borderMargin;
  return x > margin && x < width - margin && y > margin && y < height - margin;
}

}  // namespace vxm
