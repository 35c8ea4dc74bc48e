// A finger: its ridge flow, and minutiae scattered over it with room between.
#include "random.h"
#include "synth.h"

namespace vxmsynth {
namespace {

// The skin that any impression may show: an ellipse, in pixels.
constexpr int halfWidth = 165;
constexpr int halfHeight = 205;

// Least distance of two minutiae.
constexpr int room = 11 * pixel;

bool OnFinger(Vector place) {
  const int64_t x = place.x * int64_t{halfHeight};
  const int64_t y = place.y * int64_t{halfWidth};
  const int64_t rim = int64_t{halfWidth} * halfHeight * pixel;
  return x * x + y * y <= rim * rim;
}

bool HasRoom(const Finger& finger, Vector place) {
  for (const FingerMinutia& other : finger.minutiae) {
    const int64_t dx = place.x - other.place.x;
    const int64_t dy = place.y - other.place.y;
    if (dx * dx + dy * dy < int64_t{room} * room) return false;
  }
  return true;
}

}  // namespace

uint64_t DeriveSeed(uint64_t seed, uint64_t index) {
  const uint64_t first = Random(seed).Next();
  return Random(first + index).Next();
}

Finger MakeFinger(uint64_t seed, int minutiae) {
  Random random(seed);
  Finger finger{};
  finger.seed = seed;
  finger.field = MakeRidgeField(random);
  finger.ridgePeriod = 144 + random.Bell(12);
  const int drawn = random.Between(55, 90);
  const int wanted = minutiae > 0 ? minutiae : drawn;
  const int meanQuality = random.Between(45, 75);
  for (int tries = 0; tries < 40 * wanted; ++tries) {
    if (static_cast<int>(finger.minutiae.size()) == wanted) break;
    const int x = random.Between(-halfWidth * pixel, halfWidth * pixel);
    const int y = random.Between(-halfHeight * pixel, halfHeight * pixel);
    const Vector place{x, y};
    if (!OnFinger(place) || !HasRoom(finger, place)) continue;
    FingerMinutia minutia{};
    minutia.place = place;
    const int side = random.Chance(50) ? fullTurn / 2 : 0;
    minutia.direction = static_cast<Turn>(OrientationAt(finger.field, place) + side);
    minutia.type = random.Chance(65) ? MinutiaType::ridgeEnding : MinutiaType::bifurcation;
    minutia.quality = meanQuality + random.Bell(24);
    finger.minutiae.push_back(minutia);
  }
  return finger;
}

}  // namespace vxmsynth
