// What the library asks of the processor.
#pragma once

#include <cstdint>

#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#endif

namespace vxm::platform {

// Whether the processor runs code for SSE4 (up to 4.2), and the system keeps its
// registers.
bool HasSse4();

// The same for AVX2, with the bit instructions and FMA that came with it.
bool HasAvx2();

// The same for AVX-512 as servers first had it: F, BW, DQ and VL.
bool HasAvx512();

// Whether it runs NEON code, which all 64-bit ARM processors do, or WebAssembly's
// vectors: known when the library is compiled.
bool HasNeon();
bool HasWasmVectors();

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

// The place of the highest bit that is set; there must be one.
inline int HighestBit(uint64_t bits) {
#if defined(_MSC_VER) && !defined(__clang__)
  unsigned long place = 0;
  if (_BitScanReverse(&place, static_cast<uint32_t>(bits >> 32)) != 0) {
    return static_cast<int>(place) + 32;
  }
  _BitScanReverse(&place, static_cast<uint32_t>(bits));
  return static_cast<int>(place);
#else
  return 63 - __builtin_clzll(bits);
#endif
}

// Asks for the cache line of an address that will be read soon, if the compiler can.
inline void Prefetch(const void* address) {
#if defined(__GNUC__) || defined(__clang__)
  __builtin_prefetch(address);
#elif defined(_M_X64) || defined(_M_IX86)
  _mm_prefetch(static_cast<const char*>(address), _MM_HINT_T0);
#else
  (void)address;
#endif
}

}  // namespace vxm::platform
