// From here to avx512_end.h code may use AVX-512. Standard headers come before, so
// that nothing they define is compiled for it too.
#if defined(__GNUC__) && !defined(__clang__)
// GCC's header begins results with values that are undefined on purpose.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include <immintrin.h>

#if defined(__clang__)
#pragma clang attribute push(                                                    \
    __attribute__((target("avx2,bmi,bmi2,avx512f,avx512bw,avx512cd,avx512vl"))), \
    apply_to = function)
#elif defined(__GNUC__)
#pragma GCC push_options
#pragma GCC target("avx2,bmi,bmi2,avx512f,avx512bw,avx512cd,avx512vl")
#endif
