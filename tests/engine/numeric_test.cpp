// The engine's arithmetic against the formulas it stands for.
#include "engine/numeric.h"

#include <gtest/gtest.h>

#include <cmath>

#include "engine/scoring.h"

namespace {

constexpr double degree = 3.14159265358979323846 / 180;

TEST(NumericTest, TablesFollowTheirFormulas) {
  for (int k = 0; k < 360; k++) {
    EXPECT_EQ(vxm::cosTable[k], static_cast<int>(1024 * std::cos(k * degree) + 0.5)) << k;
    EXPECT_EQ(vxm::sinTable[k], static_cast<int>(1024 * std::sin(k * degree) + 0.5)) << k;
  }
  for (int k = 0; k <= 1024; k++) {
    EXPECT_EQ(vxm::atanTable[k], std::lround(std::atan(k / 1024.0) / degree)) << k;
  }
}

TEST(NumericTest, RootsAreFloorsOverTheWholeDomain) {
  for (int root = 0; root < 1024; root++) {
    for (int value = root * root; value < (root + 1) * (root + 1); value++) {
      ASSERT_EQ(vxm::IntSqrt(value), root) << value;
    }
  }
}

TEST(NumericTest, DirectionsOfChosenVectors) {
  const struct {
    int dx, dy, angle;
  } cases[] = {
      {0, 0, 0},        {5, 0, 0},       {0, 5, 90},     {-5, 0, 180},
      {0, -5, 270},     {3, 3, 45},      {-3, 3, 135},   {-3, -3, 225},
      {3, -3, 315},     {1000, -1, 360}, {128, -1, 360}, {113, -1, 359},
      {-1000, -1, 180}, {-1000, 1, 180}, {1, 1000, 90},  {-1, -1000, 270},
  };
  for (const auto& c : cases) EXPECT_EQ(vxm::AngleOf(c.dx, c.dy), c.angle) << c.dx << ' ' << c.dy;
}

TEST(NumericTest, DirectionsAreWithinOneDegree) {
  for (int dy = -1023; dy <= 1023; dy += 31) {
    for (int dx = -1023; dx <= 1023; dx += 3) {
      const double exact = std::atan2(dy, dx) / degree;
      const double error = std::remainder(vxm::AngleOf(dx, dy) - exact, 360);
      ASSERT_LE(std::abs(error), 1.0) << dx << ' ' << dy;
    }
  }
}

// From 32768 on it divides first, and so loses what is left over.
TEST(NumericTest, SquaresOverADivisorKeepTo32Bits) {
  const struct {
    int weight, divisor, score;
  } cases[] = {{32767, 3, 357892096}, {32768, 3, 357892096}, {32768, 32768, 32768}, {9, 5, 16}};
  for (const auto& c : cases) EXPECT_EQ(vxm::SquareOver(c.weight, c.divisor), c.score) << c.weight;
}

TEST(NumericTest, MarginLeavesOutTheBorder) {
  const struct {
    int x, y;
    bool inside;
  } cases[] = {
      {7, 7, true},     {6, 50, false},   {50, 6, false},  {313, 473, true},
      {314, 50, false}, {50, 474, false}, {-1, 50, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(vxm::InsideMargin(c.x, c.y, 320, 480), c.inside) << c.x << ' ' << c.y;
  }
}

}  // namespace
