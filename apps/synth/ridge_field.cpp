// The zero-pole model of a finger's ridge flow.
#include "ridge_field.h"

#include <cstdlib>

namespace vxmsynth {
namespace {

// Shares of the patterns among fingers, in percent, in the order of the enum:
// about those of a population.
constexpr int shares[] = {4, 4, 32, 32, 28};

Pattern DrawPattern(Random& random) {
  int left = random.Between(1, 100);
  int pattern = 0;
  while (left > shares[pattern]) left -= shares[pattern++];
  return static_cast<Pattern>(pattern);
}

// A place within `spread` pixels of (x, y), all in pixels.
Vector DrawNear(Random& random, int x, int y, int spread) {
  const int dx = random.Between(-spread * pixel, spread * pixel);
  const int dy = random.Between(-spread * pixel, spread * pixel);
  return {x * pixel + dx, y * pixel + dy};
}

}  // namespace

Wave MakeWave(Random& random, int shortestPixels, int longestPixels, int32_t amplitude) {
  const int length = random.Between(shortestPixels, longestPixels);
  const auto heading = static_cast<Turn>(random.Between(0, fullTurn - 1));
  const auto phase = static_cast<Turn>(random.Between(0, fullTurn - 1));
  return {Rotate({fullTurn / length, 0}, heading), phase, amplitude};
}

int32_t WaveAt(const Wave& wave, Vector place) {
  const int64_t along =
      int64_t{wave.along.x} * place.x / pixel + int64_t{wave.along.y} * place.y / pixel;
  return wave.amplitude * Sine(static_cast<Turn>(along + wave.phase)) / sineOne;
}

RidgeField MakeRidgeField(Random& random, int waveDegrees) {
  RidgeField field{};
  field.pattern = DrawPattern(random);
  const Vector core = DrawNear(random, 0, -15, 18);
  switch (field.pattern) {
    case Pattern::arch: field.archSlope = random.Between(500, 900); break;
    case Pattern::tentedArch:
      field.cores = {core};
      field.deltas = {DrawNear(random, core.x / pixel, core.y / pixel + 75, 15)};
      break;
    case Pattern::leftLoop:
      field.cores = {core};
      field.deltas = {DrawNear(random, 85, 95, 25)};
      break;
    case Pattern::rightLoop:
      field.cores = {core};
      field.deltas = {DrawNear(random, -85, 95, 25)};
      break;
    case Pattern::whorl: {
      const Vector half = DrawNear(random, 0, 20, 10);
      field.cores = {{core.x - half.x, core.y - half.y}, {core.x + half.x, core.y + half.y}};
      const Vector left = DrawNear(random, -105, 100, 25);
      const Vector right = DrawNear(random, 105, 100, 25);
      field.deltas = {left, right};
      break;
    }
  }
  const Turn bend = FromDegrees(waveDegrees);
  for (Wave& wave : field.waves) wave = MakeWave(random, 160, 360, bend);
  return field;
}

Turn OrientationAt(const RidgeField& field, Vector place) {
  int32_t doubled = 0;
  const auto seenFrom = [&](Vector origin) {
    return int32_t{DirectionOf({place.x - origin.x, place.y - origin.y})};
  };
  for (const Vector& core : field.cores) doubled += seenFrom(core);
  for (const Vector& delta : field.deltas) doubled -= seenFrom(delta);
  int32_t orientation = doubled / 2;
  if (field.pattern == Pattern::arch) {
    // Steepest 90 pixels beside the middle and 20 below it, flat far away.
    const int32_t away = std::abs(place.y - 20 * pixel);
    const int32_t reach = 260 * pixel;
    const int32_t nearness = away < reach ? reach - away : 0;
    const auto across = static_cast<Turn>(place.x * fullTurn / (360 * pixel));
    const int32_t slope = field.archSlope * Sine(across) / sineOne * nearness / reach;
    orientation += DirectionOf({1024, slope});
  }
  for (const Wave& wave : field.waves) orientation += WaveAt(wave, place);
  return static_cast<Turn>(orientation) % (fullTurn / 2);
}

// The ridges on either side turn away from each other where they part.
bool SpreadAhead(const RidgeField& field, Vector place) {
  const auto across = static_cast<Turn>(OrientationAt(field, place) + fullTurn / 4);
  const Vector beside = Rotate({10 * pixel, 0}, across);
  const int after = OrientationAt(field, {place.x + beside.x, place.y + beside.y});
  const int before = OrientationAt(field, {place.x - beside.x, place.y - beside.y});
  return (after - before + fullTurn) % (fullTurn / 2) < fullTurn / 4;
}

}  // namespace vxmsynth
