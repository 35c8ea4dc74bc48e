// Bounded access to the bytes of a record from anywhere: whatever offsets its
// counts and lengths lead to, nothing at or beyond its size is read. Missing
// bytes read as 0.
#pragma once

#include <cstdint>

namespace vxm {

struct ByteReader {
  const uint8_t* bytes;
  int size;  // a negative one counts as 0

  // A size below 0 must not reach the subtraction, which could overflow.
  bool Has(int offset, int count) const {
    return offset >= 0 && offset <= size && count <= size - offset;
  }
  // How many records of a size lie wholly inside.
  int CountRecords(int offset, int recordSize) const {
    return Has(offset, 0) ? (size - offset) / recordSize : 0;
  }
  uint32_t U8(int offset) const { return Has(offset, 1) ? bytes[offset] : 0u; }
  // Big-endian.
  uint32_t U16(int offset) const { return U8(offset) << 8 | U8(offset + 1); }
  uint32_t U32(int offset) const { return U16(offset) << 16 | U16(offset + 2); }
};

}  // namespace vxm
