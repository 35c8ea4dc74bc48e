// Templates made for tests, of any of the three formats.
#pragma once

#include <synth.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "vxmkit.h"

namespace made {

using Bytes = std::vector<uint8_t>;
using Minutiae = std::vector<vxmsynth::ImpressionMinutia>;

constexpr int allTypes[] = {TEMPLATE_NATIVE, TEMPLATE_ISO19794_2, TEMPLATE_ANSI378};

Bytes Encode(const vxmsynth::Impression& impression, int type);

// One touch of a finger; touches of a finger mostly match each other.
Bytes Touch(int type, uint64_t finger, uint64_t impression,
            const vxmsynth::ImpressionSettings& settings = {});

// The same touch with the finger held the other way up.
Bytes TurnedTouch(int type, uint64_t finger, uint64_t impression);

// Exactly these minutiae, on ridges that all run one way.
vxmsynth::Impression Plain(int gridWidth, int gridHeight, const Minutiae& minutiae);

// A ridge ending of quality 0.
inline vxmsynth::ImpressionMinutia At(int x, int y, int angle = 0) {
  return {x, y, angle, vxmsynth::MinutiaType::ridgeEnding, 0};
}

// The bytes with one of them replaced.
inline Bytes With(Bytes bytes, size_t offset, int value) {
  bytes.at(offset) = static_cast<uint8_t>(value);
  return bytes;
}

// The same for a big-endian field of two bytes.
inline Bytes With16(const Bytes& bytes, size_t offset, int value) {
  return With(With(bytes, offset, value >> 8), offset + 1, value);
}

// Where a standard record of that type has a byte that stands at `isoOffset` in
// an ISO record; for what comes after the record length.
constexpr size_t FieldAt(int type, size_t isoOffset) {
  return isoOffset + (type == TEMPLATE_ANSI378 ? 2 : 0);
}

}  // namespace made
