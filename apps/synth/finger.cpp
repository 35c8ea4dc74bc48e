// A finger: its ridge flow, and minutiae scattered over it with room between.
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

Turn DirectionAt(const Finger& finger, Vector place, Random& random) {
  bool backwards = random.Chance(50);
  if (finger.flowPercent > 0 && random.Chance(finger.flowPercent)) {
    backwards = !SpreadAhead(finger.field, place);
  }
  return static_cast<Turn>(OrientationAt(finger.field, place) + (backwards ? fullTurn / 2 : 0));
}

Finger MakeFinger(uint64_t seed, const FingerSettings& settings) {
  Random random(seed);
  Finger finger{};
  finger.seed = seed;
  finger.field = MakeRidgeField(random, settings.waveDegrees);
  finger.ridgePeriod = 144 + random.Bell(12);
  finger.flowPercent = settings.flowPercent;
  const int wanted = random.Between(settings.fewestMinutiae, settings.mostMinutiae);
  const int meanQuality = random.Between(settings.lowestQuality, settings.highestQuality);
  for (int tries = 0; tries < 40 * wanted; ++tries) {
    if (static_cast<int>(finger.minutiae.size()) == wanted) break;
    const int x = random.Between(-halfWidth * pixel, halfWidth * pixel);
    const int y = random.Between(-halfHeight * pixel, halfHeight * pixel);
    const Vector place{x, y};
    if (!OnFinger(place) || !HasRoom(finger, place)) continue;
    FingerMinutia minutia{};
    minutia.place = place;
    minutia.direction = DirectionAt(finger, place, random);
    minutia.type = random.Chance(65) ? MinutiaType::ridgeEnding : MinutiaType::bifurcation;
    minutia.quality = meanQuality + random.Bell(24);
    finger.minutiae.push_back(minutia);
  }
  return finger;
}

Finger MakeFinger(uint64_t seed, int minutiae) {
  FingerSettings settings;
  if (minutiae > 0) settings.fewestMinutiae = settings.mostMinutiae = minutiae;
  return MakeFinger(seed, settings);
}

}  // namespace vxmsynth
