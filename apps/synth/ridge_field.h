// The ridge orientation of a whole finger, as a function of the place.
//
// Ridges follow the classic model of zeros and poles: the orientation is half
// the sum of the directions seen from the cores less those seen from the
// deltas. A finger without either (a plain arch) bends its ridges by a slope
// instead. Two slow waves on top make every finger's flow its own.
//
// Places are Vectors in 1/16 pixel (500 pixels an inch) from the middle of the
// finger.
#pragma once

#include <vector>

#include "random.h"
#include "trigonometry.h"

namespace vxmsynth {

constexpr int32_t pixel = 16;  // units of length in a pixel

enum class Pattern { arch, tentedArch, leftLoop, rightLoop, whorl };

// A plane wave over the finger: amplitude x sin(along . place + phase).
struct Wave {
  Vector along;  // direction steps per pixel, in x and y
  Turn phase;
  int32_t amplitude;
};

Wave MakeWave(Random& random, int shortestPixels, int longestPixels, int32_t amplitude);
int32_t WaveAt(const Wave& wave, Vector place);

struct RidgeField {
  Pattern pattern;
  std::vector<Vector> cores;
  std::vector<Vector> deltas;
  int32_t archSlope;  // of a plain arch at its steepest, 1024 = 45 degrees
  Wave waves[2];      // amplitude in direction steps
};

RidgeField MakeRidgeField(Random& random, int waveDegrees);

// Orientation of the ridges at a place: 0..fullTurn / 2 - 1.
Turn OrientationAt(const RidgeField& field, Vector place);

// Whether ridges part from each other in the direction that OrientationAt gives, as
// against the opposite one.
bool SpreadAhead(const RidgeField& field, Vector place);

}  // namespace vxmsynth
