// Writes an impression as a finger minutiae record of ISO/IEC 19794-2 or ANSI
// INCITS 378: one view, whose image is the area of the orientation grid.
#include "synth.h"

namespace vxmsynth {
namespace {

using Bytes = std::vector<uint8_t>;

enum class Standard { iso, ansi };

constexpr int blockPixels = 16;
constexpr int pixelsPerCm = 197;
constexpr int attributeField = 0x0144;  // type code of an extended data field

void Add(Bytes& bytes, int size, int value) {
  for (int shift = (size - 1) * 8; shift >= 0; shift -= 8) {
    bytes.push_back(static_cast<uint8_t>(value >> shift));
  }
}

// The standards' direction is the native angle turned by half: in steps of
// 1/256 of a circle (ISO) or of 2 degrees (ANSI).
int DirectionByte(Standard standard, int angle) {
  const int degrees = (angle + 180) % 360;
  return standard == Standard::iso ? (degrees * 256 + 180) / 360 % 256 : (degrees + 1) / 2 % 180;
}

Bytes Encode(const Impression& impression, AttributePlace place, Standard standard) {
  const bool ansi = standard == Standard::ansi;
  const int count = static_cast<int>(impression.minutiae.size());
  const int extended = place == AttributePlace::extendedData ? 5 : 0;
  Bytes bytes = {'F', 'M', 'R', 0, ' ', '2', '0', 0};
  const int length = (ansi ? 32 : 30) + 6 * count + extended;
  Add(bytes, ansi ? 2 : 4, length);
  if (ansi) Add(bytes, 4, 0);  // product identifier
  Add(bytes, 2, 0);            // capture equipment
  Add(bytes, 2, impression.gridWidth * blockPixels);
  Add(bytes, 2, impression.gridHeight * blockPixels);
  Add(bytes, 2, pixelsPerCm);
  Add(bytes, 2, pixelsPerCm);
  Add(bytes, 1, 1);  // views
  Add(bytes, 1, place == AttributePlace::reservedByte ? impression.attribute : 0);
  Add(bytes, 1, 0);   // finger position
  Add(bytes, 1, 0);   // view number, impression type
  Add(bytes, 1, 80);  // finger quality
  Add(bytes, 1, count);
  for (const ImpressionMinutia& minutia : impression.minutiae) {
    const int type = minutia.type == MinutiaType::ridgeEnding ? 1 : 2;
    Add(bytes, 2, type << 14 | minutia.x);
    Add(bytes, 2, minutia.y);
    Add(bytes, 1, DirectionByte(standard, minutia.angle));
    Add(bytes, 1, 1 + minutia.quality * 99 / 127);
  }
  Add(bytes, 2, extended);
  if (extended > 0) {
    Add(bytes, 2, attributeField);
    Add(bytes, 2, extended);
    Add(bytes, 1, impression.attribute);
  }
  return bytes;
}

}  // namespace

std::vector<uint8_t> EncodeIso(const Impression& impression, AttributePlace place) {
  return Encode(impression, place, Standard::iso);
}

std::vector<uint8_t> EncodeAnsi(const Impression& impression, AttributePlace place) {
  return Encode(impression, place, Standard::ansi);
}

}  // namespace vxmsynth
