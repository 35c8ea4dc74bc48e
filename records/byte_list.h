// Appends big-endian fields, and tells whether all values fitted.
#pragma once

#include <cstdint>
#include <vector>

namespace vxr {

class ByteList {
 public:
  explicit ByteList(std::vector<uint8_t>& bytes) : bytes_(bytes) {}

  void U8(uint32_t value) { Put(value, 1); }
  void U16(uint32_t value) { Put(value, 2); }
  void U32(uint32_t value) { Put(value, 4); }
  void Text(const char* text, size_t size) { bytes_.insert(bytes_.end(), text, text + size); }
  // Two fields in one byte or word; the lower one takes `bits`.
  void U8(uint32_t high, uint32_t low, int bits) { U8(Join(high, low, bits)); }
  void U16(uint32_t high, uint32_t low, int bits) { U16(Join(high, low, bits)); }

  bool fits = true;

 private:
  uint32_t Join(uint32_t high, uint32_t low, int bits) {
    fits = fits && low >> bits == 0;
    return high << bits | low;
  }
  void Put(uint32_t value, int size) {
    fits = fits && (size == 4 || value >> (8 * size) == 0);
    for (int shift = (size - 1) * 8; shift >= 0; shift -= 8) {
      bytes_.push_back(static_cast<uint8_t>(value >> shift));
    }
  }

  std::vector<uint8_t>& bytes_;
};

}  // namespace vxr
