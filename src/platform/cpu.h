// What the library asks of the processor.
#pragma once

#include <cstdint>

#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#endif

// Whether AVX2 code can be compiled for the processor at all.
#if defined(__x86_64__) || defined(_M_X64)
#define VXM_HAVE_AVX2
#endif

namespace vxm::platform {

// Whether the processor runs AVX2 code and the system keeps its registers.
bool HasAvx2();

inline int CountBits(uint32_t bits) {
  bits -= (bits >> 1) & 0x55555555;
  bits = (bits & 0x33333333) + ((bits >> 2) & 0x33333333);
  return static_cast<int>(((bits + (bits >> 4)) & 0x0F0F0F0F) * 0x01010101 >> 24);
}

// The place of the lowest bit that is set; there must be one.
inline int LowestBit(uint64_t bits) {
#if defined(_MSC_VER) && !defined(__clang__)
  unsigned long place = 0;
  if (_BitScanForward(&place, static_cast<uint32_t>(bits)) != 0) return static_cast<int>(place);
  _BitScanForward(&place, static_cast<uint32_t>(bits >> 32));
  return static_cast<int>(place) + 32;
#else
  return __builtin_ctzll(bits);
#endif
}

}  // namespace vxm::platform
