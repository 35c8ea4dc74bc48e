// Asking the processor what it can do.
#include "platform/cpu.h"

namespace vxm::platform {

#if (defined(__GNUC__) || defined(__clang__)) && (defined(__x86_64__) || defined(__i386__))

bool HasAvx2() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2") != 0;
}

#elif defined(_MSC_VER) && defined(_M_X64)

bool HasAvx2() {
  constexpr int osxsave = 1 << 27;
  constexpr int avx2 = 1 << 5;
  int registers[4] = {};
  __cpuid(registers, 1);
  if ((registers[2] & osxsave) == 0 || (_xgetbv(0) & 6) != 6) return false;
  __cpuidex(registers, 7, 0);
  return (registers[1] & avx2) != 0;
}

#else

bool HasAvx2() { return false; }

#endif

}  // namespace vxm::platform
