// Asking the processor what it can do.
#include "platform/cpu.h"

namespace vxm::platform {

#if (defined(__GNUC__) || defined(__clang__)) && (defined(__x86_64__) || defined(__i386__))

bool HasAvx2() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("bmi") != 0 &&
         __builtin_cpu_supports("bmi2") != 0;
}

bool HasAvx512() {
  __builtin_cpu_init();
  return HasAvx2() && __builtin_cpu_supports("avx512f") != 0 &&
         __builtin_cpu_supports("avx512bw") != 0 && __builtin_cpu_supports("avx512cd") != 0 &&
         __builtin_cpu_supports("avx512vl") != 0;
}

#elif defined(_MSC_VER) && defined(_M_X64)

namespace {

// Whether the system keeps all the registers of `state` and the processor has all
// the `features`.
bool Has(unsigned state, int features) {
  constexpr int osxsave = 1 << 27;
  int registers[4] = {};
  __cpuid(registers, 1);
  if ((registers[2] & osxsave) == 0 || (_xgetbv(0) & state) != state) return false;
  __cpuidex(registers, 7, 0);
  return (registers[1] & features) == features;
}

constexpr int avx2 = 1 << 3 | 1 << 5 | 1 << 8;                   // with BMI1 and BMI2
constexpr int avx512 = 1 << 16 | 1 << 28 | 1 << 30 | INT32_MIN;  // F, CD, BW and VL

}  // namespace

bool HasAvx2() { return Has(0x06, avx2); }
bool HasAvx512() { return Has(0xE6, avx2 | avx512); }

#else

bool HasAvx2() { return false; }
bool HasAvx512() { return false; }

#endif

}  // namespace vxm::platform
