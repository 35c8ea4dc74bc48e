// The fitted settings, and where an impression lies between the best and the worst.
#include "difficulty.h"

#include "random.h"

namespace vxmsynth {
namespace {

// Names and units are those of ImpressionSettings.
struct Placing {
  int maxRotation, maxShift, areaPercent, stretch;
};
struct Moisture {
  int patches, radius;
};
struct Sight {
  int lost, spurious, place, direction, orientation, quality, typeError;
};

template <class Settings>
struct Range {
  Settings best, worst;
};

struct Fitted {
  int gridWidth, gridHeight;
  FingerSettings finger;
  Range<Placing> placing;
  Range<Moisture> moisture;
  Range<Sight> careful, coarse;
};

// Of MakeFinger and MakeImpression, in the order of the fields above.
constexpr Fitted easy = {24,
                         23,
                         {41, 80, 45, 75, 8, 100},
                         {{0, 8, 107, 6}, {24, 88, 77, 7}},
                         {{1, 30}, {3, 67}},
                         {{6, 0, 2, 2, 2, 6, 0}, {39, 31, 16, 9, 6, 10, 4}},
                         {{12, 30, 8, 3, 1, 2, 0}, {49, 221, 25, 8, 2, 19, 12}}};

constexpr Fitted medium = {22,
                           21,
                           {38, 64, 45, 75, 4, 100},
                           {{0, 12, 116, 4}, {24, 126, 94, 10}},
                           {{1, 43}, {2, 78}},
                           {{5, 16, 3, 2, 2, 6, 0}, {43, 44, 18, 10, 6, 10, 2}},
                           {{12, 44, 5, 2, 1, 6, 0}, {40, 168, 32, 10, 2, 21, 12}}};

constexpr Fitted hard = {19,
                         19,
                         {34, 49, 45, 75, 0, 100},
                         {{1, 17, 124, 3}, {25, 165, 112, 14}},
                         {{1, 56}, {2, 90}},
                         {{4, 32, 4, 1, 2, 6, 0}, {47, 58, 21, 12, 6, 10, 0}},
                         {{11, 58, 2, 1, 1, 9, 0}, {30, 115, 38, 12, 1, 23, 13}}};

const Fitted& Of(Difficulty difficulty) {
  switch (difficulty) {
    case Difficulty::easy: return easy;
    case Difficulty::medium: return medium;
    default: return hard;
  }
}

// 0..1000, more often low than high.
int DrawSeverity(Random& random) {
  const int drawn = random.Between(0, 1000);
  return drawn * drawn / 1000;
}

// One setting after the other, of a range and by a severity.
template <class Settings>
class Between {
 public:
  Between(const Range<Settings>& range, int severity) : range_(range), severity_(severity) {}

  int operator()(int Settings::*field) const {
    const int best = range_.best.*field;
    return best + (range_.worst.*field - best) * severity_ / 1000;
  }

 private:
  const Range<Settings>& range_;
  int severity_;
};

}  // namespace

FingerSettings FingersOf(Difficulty difficulty) {
  return difficulty == Difficulty::plain ? FingerSettings{} : Of(difficulty).finger;
}

ImpressionSettings ImpressionOf(Difficulty difficulty, Extractor extractor, const Finger& finger,
                                uint64_t seed) {
  if (difficulty == Difficulty::plain) return {};
  const Fitted& fitted = Of(difficulty);
  Random random(DeriveSeed(finger.seed + 1, seed));
  const Between placing(fitted.placing, DrawSeverity(random));
  const int skin = DrawSeverity(random);
  const Between moisture(fitted.moisture, skin);
  const Between sight(extractor == Extractor::careful ? fitted.careful : fitted.coarse, skin);
  ImpressionSettings settings;
  settings.gridWidth = fitted.gridWidth;
  settings.gridHeight = fitted.gridHeight;
  settings.maxRotation = placing(&Placing::maxRotation);
  settings.maxShift = placing(&Placing::maxShift);
  settings.areaPercent = placing(&Placing::areaPercent);
  settings.stretch = placing(&Placing::stretch);
  settings.dampPatches = moisture(&Moisture::patches);
  settings.dampRadius = moisture(&Moisture::radius);
  settings.lostPercent = sight(&Sight::lost);
  settings.spuriousPercent = sight(&Sight::spurious);
  settings.placeDeviation = sight(&Sight::place);
  settings.directionDeviation = sight(&Sight::direction);
  settings.orientationDeviation = sight(&Sight::orientation);
  settings.qualityDeviation = sight(&Sight::quality);
  settings.typeErrorPercent = sight(&Sight::typeError);
  return settings;
}

}  // namespace vxmsynth
