// From here to avx2_end.h code may use AVX2. Standard headers come before, so
// that nothing they define is compiled for it too.
#include <immintrin.h>

#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx2,bmi,bmi2"))), apply_to = function)
#elif defined(__GNUC__)
#pragma GCC push_options
#pragma GCC target("avx2,bmi,bmi2")
#endif
