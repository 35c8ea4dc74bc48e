// Writes an impression in the native format: header, records, orientation map.
#include <cstddef>

#include "synth.h"

namespace vxmsynth {
namespace {

using Bytes = std::vector<uint8_t>;

void AddFullRecord(Bytes& bytes, const ImpressionMinutia& m) {
  const uint64_t record = static_cast<uint64_t>(m.x) << 30 | static_cast<uint64_t>(m.y) << 20 |
                          static_cast<uint64_t>(m.type) << 16 |
                          static_cast<uint64_t>(m.angle) << 7 | static_cast<uint64_t>(m.quality);
  for (int shift = 32; shift >= 0; shift -= 8) {
    bytes.push_back(static_cast<uint8_t>(record >> shift));
  }
}

void AddShortRecord(Bytes& bytes, const ImpressionMinutia& m) {
  bytes.push_back(static_cast<uint8_t>(m.x < 510 ? m.x / 2 : 255));
  bytes.push_back(static_cast<uint8_t>(m.y < 510 ? m.y / 2 : 255));
  bytes.push_back(static_cast<uint8_t>((m.angle * 70833 + 50000) / 100000));
  bytes.push_back(static_cast<uint8_t>(static_cast<int>(m.type) << 7 | m.quality));
}

// 4-bit code of a block: steps of 12 degrees, 15 for no ridge.
uint8_t MapCode(uint8_t value) {
  if (value == noRidge) return 15;
  const int code = (value + 4) >> 3;
  return static_cast<uint8_t>(code < 15 ? code : 0);
}

void AddCodeMap(Bytes& bytes, const Bytes& map) {
  for (size_t i = 0; i < map.size(); i += 2) {
    const uint8_t second = i + 1 < map.size() ? MapCode(map[i + 1]) : 0;
    bytes.push_back(static_cast<uint8_t>(MapCode(map[i]) << 4 | second));
  }
}

}  // namespace

std::vector<uint8_t> EncodeNative(const Impression& impression, NativeForm form) {
  const bool full = form == NativeForm::fullBytes || form == NativeForm::fullCodes;
  const bool byteMap = form == NativeForm::fullBytes || form == NativeForm::shortBytes;
  Bytes bytes = {static_cast<uint8_t>(0x40 + (full ? 5 : 4)),
                 static_cast<uint8_t>(impression.minutiae.size()),
                 static_cast<uint8_t>(impression.gridWidth | (byteMap ? 0x80 : 0)),
                 static_cast<uint8_t>(impression.gridHeight),
                 static_cast<uint8_t>(impression.attribute),
                 0,
                 'V',
                 'X'};
  for (const ImpressionMinutia& minutia : impression.minutiae) {
    if (full) {
      AddFullRecord(bytes, minutia);
    } else {
      AddShortRecord(bytes, minutia);
    }
  }
  if (byteMap) {
    bytes.insert(bytes.end(), impression.orientation.begin(), impression.orientation.end());
  } else {
    AddCodeMap(bytes, impression.orientation);
  }
  return bytes;
}

}  // namespace vxmsynth
