// Big-endian fields one after the other, out of bytes from anywhere. Fields at or
// beyond the end read as 0 and leave a mark.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vxr {

struct Cursor {
  const uint8_t* bytes;
  size_t end;
  size_t at = 0;
  bool cut = false;

  size_t Left() const { return end - at; }

  uint8_t U8() {
    if (at < end) return bytes[at++];
    cut = true;
    return 0;
  }
  uint16_t U16() {
    const int high = U8();
    return static_cast<uint16_t>(high << 8 | U8());
  }
  uint32_t U32() {
    const uint32_t high = U16();
    return high << 16 | U16();
  }
  // A part of its own, no longer than what is left.
  Cursor Part(size_t size) {
    const size_t taken = size < Left() ? size : Left();
    const Cursor part = {bytes, at + taken, at, taken < size};
    at += taken;
    return part;
  }
};

}  // namespace vxr
