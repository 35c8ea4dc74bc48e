// What the library asks of the processor.
#pragma once

#include <cstdint>

#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#endif

// Whether AVX2 and AVX-512 code can be compiled for the processor at all.
#if defined(__x86_64__) || defined(_M_X64)
#define VXM_HAVE_AVX
#endif

namespace vxm::platform {

// Whether the processor runs AVX2 code, with the bit instructions that came with
// it, and the system keeps its registers.
bool HasAvx2();

// The same for AVX-512 as servers first had it: F, CD, BW and VL.
bool HasAvx512();

inline int CountBits(uint64_t bits) {
  bits -= (bits >> 1) & 0x5555555555555555;
  bits = (bits & 0x3333333333333333) + ((bits >> 2) & 0x3333333333333333);
  return static_cast<int>(((bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0F) * 0x0101010101010101 >> 56);
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
