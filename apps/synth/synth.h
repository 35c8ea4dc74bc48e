// Fingers of our own making: minutiae templates for trials, tests and
// benchmarks, without anybody's fingerprints.
//
// A Finger is a ridge flow with minutiae on it, drawn from a seed. An
// Impression is one touch of it: turned, shifted, stretched, with minutiae lost
// and invented, as an extractor would report it. Encoders write an impression
// in the three template formats. Everything is computed in whole numbers from
// the seeds alone, so the same calls give the same bytes on every system.
//
//   Finger finger = MakeFinger(1);
//   std::vector<uint8_t> a = EncodeNative(MakeImpression(finger, 1));
//   std::vector<uint8_t> b = EncodeNative(MakeImpression(finger, 2));
#pragma once

#include <cstdint>
#include <vector>

#include "ridge_field.h"

namespace vxmsynth {

// A seed for the index-th thing made under another seed.
uint64_t DeriveSeed(uint64_t seed, uint64_t index);

enum class MinutiaType : uint8_t { ridgeEnding, bifurcation };

struct FingerMinutia {
  Vector place;
  Turn direction;
  MinutiaType type;
  int quality;  // 0..127
};

struct Finger {
  uint64_t seed;
  RidgeField field;
  std::vector<FingerMinutia> minutiae;
  int ridgePeriod;  // mean distance of ridges in 1/16 pixel
  int flowPercent;  // as in FingerSettings, for invented minutiae as well
};

// What fingers are made from; a number between two is drawn evenly.
struct FingerSettings {
  int fewestMinutiae = 55;  // on the whole finger; more than some 200 find no room
  int mostMinutiae = 90;
  int lowestQuality = 45;  // mean of a finger's minutiae
  int highestQuality = 75;
  int waveDegrees = 8;  // how far the ridges bend away from the pure pattern
  // Minutiae that point to where the ridges spread, as new ridges do; the others point
  // either way. It makes different fingers more alike.
  int flowPercent = 0;
};

Finger MakeFinger(uint64_t seed, const FingerSettings& settings);

// A direction that a minutia at this place may have: along the ridges.
Turn DirectionAt(const Finger& finger, Vector place, Random& random);

// `minutiae` on the whole finger, of which an impression shows about 60 %;
// 0: as many as the seed gives.
Finger MakeFinger(uint64_t seed, int minutiae = 0);

// How an impression differs from the finger. Deviations are those of a bell
// curve, maxima those of even draws.
struct ImpressionSettings {
  int gridWidth = 18;  // of the image, in blocks of 16 x 16 pixels: 1..63
  int gridHeight = 22;
  int rotation = 0;              // degrees clockwise
  int maxRotation = 18;          // degrees either way, added to `rotation`
  int maxShift = 24;             // pixels either way, in x and in y
  int areaPercent = 100;         // side lengths of the contact area, of the usual ones
  int stretch = 5;               // elastic shift at its largest, pixels
  int lostPercent = 18;          // minutiae of the finger that go unnoticed
  int spuriousPercent = 18;      // invented ones for each of the finger's in contact
  int placeDeviation = 14;       // tenths of a pixel
  int directionDeviation = 5;    // degrees
  int orientationDeviation = 3;  // degrees, of a block
  int qualityDeviation = 6;
  int typeErrorPercent = 6;
  int dampPatches = 0;  // at most, in which nothing is seen: no minutia, no ridge
  int dampRadius = 0;   // of the largest, pixels
};

// Engine conventions: pixels from the top-left corner of the grid, y downwards.
struct ImpressionMinutia {
  int x;
  int y;
  int angle;  // degrees 0..359, anticlockwise from x
  MinutiaType type;
  int quality;  // 0..127
};

constexpr uint8_t noRidge = 255;

struct Impression {
  int gridWidth;
  int gridHeight;
  int attribute;                            // mean ridge period in 1/16 pixel, 0..255
  std::vector<ImpressionMinutia> minutiae;  // at most 200, by y, then x
  std::vector<uint8_t> orientation;         // by rows: steps of 1.5 degrees 0..119, or noRidge
};

Impression MakeImpression(const Finger& finger, uint64_t seed,
                          const ImpressionSettings& settings = {});

// The impression turned by exactly 180 degrees: a point reflection of all of it.
Impression TurnImpression(const Impression& impression);

// The four forms of the native format: full records of 5 bytes or short ones of
// 4, which keep even pixels up to 510 and angles in steps of 360/255 degrees;
// maps of one byte a block or of 4-bit codes in steps of 12 degrees.
enum class NativeForm { fullBytes, fullCodes, shortBytes, shortCodes };

std::vector<uint8_t> EncodeNative(const Impression& impression,
                                  NativeForm form = NativeForm::fullBytes);

// Where a standard record carries the attribute.
enum class AttributePlace { extendedData, reservedByte, none };

std::vector<uint8_t> EncodeIso(const Impression& impression,
                               AttributePlace place = AttributePlace::extendedData);
std::vector<uint8_t> EncodeAnsi(const Impression& impression,
                                AttributePlace place = AttributePlace::extendedData);

}  // namespace vxmsynth
