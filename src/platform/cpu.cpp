// Asking the processor what it can do.
#include "platform/cpu.h"

namespace vxm::platform {

#if (defined(__GNUC__) || defined(__clang__)) && (defined(__x86_64__) || defined(__i386__))

bool HasSse4() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("ssse3") != 0 && __builtin_cpu_supports("sse4.1") != 0 &&
         __builtin_cpu_supports("sse4.2") != 0;
}

bool HasAvx2() {
  return HasSse4() && __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0 &&
         __builtin_cpu_supports("bmi") != 0 && __builtin_cpu_supports("bmi2") != 0;
}

bool HasAvx512() {
  return HasAvx2() && __builtin_cpu_supports("avx512f") != 0 &&
         __builtin_cpu_supports("avx512bw") != 0 && __builtin_cpu_supports("avx512dq") != 0 &&
         __builtin_cpu_supports("avx512vl") != 0;
}

#elif defined(_MSC_VER) && (defined(_M_X64) || defined(_M_IX86))

namespace {

// Whether the system keeps all the registers of `state` and the processor has all
// the features, of both leaves.
bool Has(unsigned state, int firstFeatures, int features) {
  constexpr int osxsave = 1 << 27;
  int registers[4] = {};
  __cpuid(registers, 1);
  if ((registers[2] & firstFeatures) != firstFeatures) return false;
  if (state == 0) return true;
  if ((registers[2] & osxsave) == 0 || (_xgetbv(0) & state) != state) return false;
  __cpuidex(registers, 7, 0);
  return (registers[1] & features) == features;
}

constexpr int sse4 = 1 << 9 | 1 << 19 | 1 << 20;  // with SSSE3
constexpr int fma = 1 << 12;
constexpr int avx2 = 1 << 3 | 1 << 5 | 1 << 8;                   // with BMI1 and BMI2
constexpr int avx512 = 1 << 16 | 1 << 17 | 1 << 30 | INT32_MIN;  // F, DQ, BW and VL

}  // namespace

bool HasSse4() { return Has(0, sse4, 0); }
bool HasAvx2() { return Has(0x06, sse4 | fma, avx2); }
bool HasAvx512() { return Has(0xE6, sse4 | fma, avx2 | avx512); }

#else

bool HasSse4() { return false; }
bool HasAvx2() { return false; }
bool HasAvx512() { return false; }

#endif

bool HasNeon() {
#if defined(__ARM_NEON) || defined(_M_ARM64)
  return true;
#else
  return false;
#endif
}

bool HasWasmVectors() {
#if defined(__wasm_simd128__)
  return true;
#else
  return false;
#endif
}

}  // namespace vxm::platform
