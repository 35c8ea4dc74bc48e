// One touch of a finger, as an extractor would report it.
//
// The skin is stretched by two slow waves in each direction, then turned and
// shifted onto the image. Of the minutiae under the contact area, an ellipse in
// the middle of the image, some get lost and all get a little wrong; a few that
// the finger does not have follow its ridges as real ones would. Each block of
// the map takes the orientation of the place of the finger that lies under it. In
// patches of moisture, or of dry skin, neither minutiae nor ridges are seen.
#include <algorithm>

#include "random.h"
#include "synth.h"

namespace vxmsynth {
namespace {

constexpr int blockPixels = 16;
constexpr int maxMinutiae = 200;

// The usual contact area, in pixels.
constexpr int contactHalfWidth = 134;
constexpr int contactHalfHeight = 166;

struct Patch {
  Vector middle;
  int32_t radius;
};

struct Touch {
  Vector middle;  // of the image
  Vector shift;
  Turn rotation;
  Wave stretchX[2];
  Wave stretchY[2];
  int halfWidth;  // of the contact area, pixels
  int halfHeight;
  std::vector<Patch> damp;
};

// The patches have a source of their own, so that they change nothing else.
std::vector<Patch> MakePatches(Random random, const Touch& touch,
                               const ImpressionSettings& settings) {
  std::vector<Patch> patches;
  const int count = random.Between(0, settings.dampPatches);
  for (int i = 0; i < count; ++i) {
    const int dx = random.Between(-touch.halfWidth * pixel, touch.halfWidth * pixel);
    const int dy = random.Between(-touch.halfHeight * pixel, touch.halfHeight * pixel);
    const int radius = random.Between(settings.dampRadius / 3, settings.dampRadius);
    patches.push_back({{touch.middle.x + dx, touch.middle.y + dy}, radius * pixel});
  }
  return patches;
}

Touch MakeTouch(Random& random, const ImpressionSettings& settings) {
  Touch touch{};
  touch.middle = {settings.gridWidth * blockPixels * pixel / 2,
                  settings.gridHeight * blockPixels * pixel / 2};
  const int maxShift = settings.maxShift * pixel;
  touch.shift.x = random.Between(-maxShift, maxShift);
  touch.shift.y = random.Between(-maxShift, maxShift);
  const int maxRotation = FromDegrees(settings.maxRotation);
  const int turned = random.Between(-maxRotation, maxRotation);
  touch.rotation = static_cast<Turn>(FromDegrees(settings.rotation) + turned);
  const int stretch = settings.stretch * pixel / 2;
  for (Wave& wave : touch.stretchX) wave = MakeWave(random, 200, 400, stretch);
  for (Wave& wave : touch.stretchY) wave = MakeWave(random, 200, 400, stretch);
  const int size = random.Between(92, 104);
  touch.halfWidth = contactHalfWidth * settings.areaPercent * size / 10000;
  touch.halfHeight = contactHalfHeight * settings.areaPercent * size / 10000;
  return touch;
}

Vector StretchAt(const Touch& touch, Vector place) {
  return {WaveAt(touch.stretchX[0], place) + WaveAt(touch.stretchX[1], place),
          WaveAt(touch.stretchY[0], place) + WaveAt(touch.stretchY[1], place)};
}

Vector ToImage(const Touch& touch, Vector place) {
  const Vector stretch = StretchAt(touch, place);
  const Vector turned = Rotate({place.x + stretch.x, place.y + stretch.y}, touch.rotation);
  return {turned.x + touch.middle.x + touch.shift.x, turned.y + touch.middle.y + touch.shift.y};
}

// The way back; the stretch is slow enough to be taken where it ends.
Vector ToFinger(const Touch& touch, Vector point) {
  const Vector shifted{point.x - touch.middle.x - touch.shift.x,
                       point.y - touch.middle.y - touch.shift.y};
  const Vector place = Rotate(shifted, static_cast<Turn>(-touch.rotation));
  const Vector stretch = StretchAt(touch, place);
  return {place.x - stretch.x, place.y - stretch.y};
}

bool InContact(const Touch& touch, Vector point) {
  for (const Patch& patch : touch.damp) {
    const int64_t dx = point.x - patch.middle.x;
    const int64_t dy = point.y - patch.middle.y;
    if (dx * dx + dy * dy < int64_t{patch.radius} * patch.radius) return false;
  }
  const int64_t x = (point.x - touch.middle.x) * int64_t{touch.halfHeight};
  const int64_t y = (point.y - touch.middle.y) * int64_t{touch.halfWidth};
  const int64_t rim = int64_t{touch.halfWidth} * touch.halfHeight * pixel;
  return x * x + y * y <= rim * rim;
}

// Keeps a minutia that the extractor sees at `point` with `direction`.
void Report(Impression& impression, Vector point, Turn direction, MinutiaType type, int quality) {
  const int x = point.x / pixel;
  const int y = point.y / pixel;
  if (point.x < pixel || x >= impression.gridWidth * blockPixels) return;
  if (point.y < pixel || y >= impression.gridHeight * blockPixels) return;
  if (static_cast<int>(impression.minutiae.size()) == maxMinutiae) return;
  const int angle = (360 - ToDegrees(direction)) % 360;
  impression.minutiae.push_back({x, y, angle, type, std::clamp(quality, 1, 127)});
}

Turn Noisy(Random& random, int direction, int degrees) {
  return static_cast<Turn>(direction + random.Bell(FromDegrees(degrees)));
}

void ReportFinger(Impression& impression, const Finger& finger, const Touch& touch, Random& random,
                  const ImpressionSettings& settings) {
  const int tenths = settings.placeDeviation * pixel;
  const int pressure = random.Bell(settings.qualityDeviation);
  for (const FingerMinutia& minutia : finger.minutiae) {
    Vector point = ToImage(touch, minutia.place);
    point.x += random.Bell(tenths) / 10;
    point.y += random.Bell(tenths) / 10;
    const Turn direction =
        Noisy(random, minutia.direction + touch.rotation, settings.directionDeviation);
    const int quality = minutia.quality + pressure + random.Bell(settings.qualityDeviation);
    const bool mistaken = random.Chance(settings.typeErrorPercent);
    const bool ending = (minutia.type == MinutiaType::ridgeEnding) != mistaken;
    if (random.Chance(settings.lostPercent) || !InContact(touch, point)) continue;
    Report(impression, point, direction,
           ending ? MinutiaType::ridgeEnding : MinutiaType::bifurcation, quality);
  }
}

void ReportInvented(Impression& impression, const Finger& finger, const Touch& touch,
                    Random& random, const ImpressionSettings& settings) {
  const int count = static_cast<int>(impression.minutiae.size()) * settings.spuriousPercent / 100;
  for (int i = 0; i < count; ++i) {
    const int dx = random.Between(-touch.halfWidth * pixel, touch.halfWidth * pixel);
    const int dy = random.Between(-touch.halfHeight * pixel, touch.halfHeight * pixel);
    const Vector point{touch.middle.x + dx, touch.middle.y + dy};
    const Turn along = DirectionAt(finger, ToFinger(touch, point), random);
    const Turn direction = Noisy(random, along + touch.rotation, settings.directionDeviation);
    const auto type = random.Chance(65) ? MinutiaType::ridgeEnding : MinutiaType::bifurcation;
    const int quality = random.Between(1, 80);
    if (InContact(touch, point)) Report(impression, point, direction, type, quality);
  }
}

void MapOrientation(Impression& impression, const Finger& finger, const Touch& touch,
                    Random& random, const ImpressionSettings& settings) {
  for (int row = 0; row < impression.gridHeight; ++row) {
    for (int column = 0; column < impression.gridWidth; ++column) {
      const Vector point{(column * blockPixels + blockPixels / 2) * pixel,
                         (row * blockPixels + blockPixels / 2) * pixel};
      uint8_t value = noRidge;
      if (InContact(touch, point)) {
        const int orientation = OrientationAt(finger.field, ToFinger(touch, point));
        const Turn seen =
            Noisy(random, orientation + touch.rotation, settings.orientationDeviation);
        value = static_cast<uint8_t>((seen % (fullTurn / 2) * 240 + fullTurn / 2) / fullTurn % 120);
      }
      impression.orientation.push_back(value);
    }
  }
}

}  // namespace

Impression MakeImpression(const Finger& finger, uint64_t seed, const ImpressionSettings& settings) {
  Random random(DeriveSeed(finger.seed, seed));
  Impression impression{};
  impression.gridWidth = std::clamp(settings.gridWidth, 1, 63);
  impression.gridHeight = std::clamp(settings.gridHeight, 1, 63);
  impression.attribute = std::clamp(finger.ridgePeriod + random.Bell(3), 0, 255);
  Touch touch = MakeTouch(random, settings);
  touch.damp = MakePatches(Random(DeriveSeed(~finger.seed, seed)), touch, settings);
  ReportFinger(impression, finger, touch, random, settings);
  ReportInvented(impression, finger, touch, random, settings);
  MapOrientation(impression, finger, touch, random, settings);
  std::stable_sort(impression.minutiae.begin(), impression.minutiae.end(),
                   [](const ImpressionMinutia& a, const ImpressionMinutia& b) {
                     return a.y != b.y ? a.y < b.y : a.x < b.x;
                   });
  return impression;
}

Impression TurnImpression(const Impression& impression) {
  Impression turned = impression;
  for (ImpressionMinutia& minutia : turned.minutiae) {
    minutia.x = impression.gridWidth * blockPixels - minutia.x;
    minutia.y = impression.gridHeight * blockPixels - minutia.y;
    minutia.angle = (minutia.angle + 180) % 360;
  }
  std::reverse(turned.minutiae.begin(), turned.minutiae.end());
  std::reverse(turned.orientation.begin(), turned.orientation.end());
  return turned;
}

}  // namespace vxmsynth
