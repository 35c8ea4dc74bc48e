// The engine's arithmetic: roots, directions and rotations, in integers.
#pragma once

#include <cstdint>

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

struct Point {
  int x;
  int y;
};

// A rigid motion: a turn about the origin by whole degrees, then a shift.
struct Alignment {
  int theta;  // 0..359
  int dx;
  int dy;
};

inline Point Rotate(int theta, int x, int y) {
  const int cs = cosTable[theta];
  const int sn = sinTable[theta];
  return {(x * cs - y * sn + 512) >> 10, (x * sn + y * cs + 512) >> 10};
}

inline Point Apply(const Alignment& alignment, int x, int y) {
  const Point turned = Rotate(alignment.theta, x, y);
  return {turned.x + alignment.dx, turned.y + alignment.dy};
}

// Where a reference point comes from: shifted back, then turned back. The two
// roundings make it differ from the exact inverse by up to a pixel.
inline Point ApplyInverse(const Alignment& alignment, int x, int y) {
  const int cs = cosTable[alignment.theta];
  const int sn = sinTable[alignment.theta];
  const int u = x - alignment.dx;
  const int v = y - alignment.dy;
  return {(u * cs + v * sn + 512) >> 10, (v * cs - u * sn + 512) >> 10};
}

// The alignment that turns by `theta` and carries one point onto another.
inline Alignment AlignmentFor(int theta, Point from, Point to) {
  const Point turned = Rotate(theta, from.x, from.y);
  return {theta, to.x - turned.x, to.y - turned.y};
}

// Far enough from the border of an area of this size for a reliable pairing.
constexpr bool InsideMargin(int x, int y, int width, int height) {
  return x >= 7 && x < width - 6 && y >= 7 && y < height - 6;
}

}  // namespace vxm
