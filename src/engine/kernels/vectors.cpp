// The inner loops in vectors: written once, compiled for each instruction set.
//
// A vector register holds several numbers, its lanes, and one instruction does the same
// to all of them: 16 bytes in the smallest registers (SSE4, NEON), 32 (AVX2) or 64
// (AVX-512). Seen as ints a register holds 4, 8 or 16 lanes of 32 bits, seen as words
// twice as many of 16, and the bits stay where they are: a position is two words, x and
// y, and also one int. So a subtraction of words moves both coordinates, one instruction
// multiplies words and adds the two products in each int, which is a squared distance or
// a coordinate of a turned point, and a comparison of ints answers for whole positions. A
// comparison gives a mask, and a mask is taken into an ordinary number, a bit for each
// lane, where minutiae are to be gone through one by one.
//
// What decides the speed is voting, which asks of each pair of minutiae in one template
// which pairs of the other are about as long and turned alike. The pairs of similar
// length stand side by side, so they are tested as they come, and a byte of each of their
// three angles is enough to leave out nearly all: the upper byte of a 16-bit turn tells a
// direction to 1.4 degrees, where the test allows 20, and the gate is that much wider,
// so that none is lost. A register holds 16, 32 or 64 such bytes; the masks of
// one to four registers make a word of 64 bits, one for each pair. Less than one bit in
// thirty is set, and these pairs are tested again, exactly.
//
// The parts, in the order of a comparison, each inside the namespace of the set:
//   vector_lanes.h     the operations that they are made of
//   vector_pairs.h     lengths and directions of all pairs of minutiae
//   vector_voting.h    votes, and the seeds that they give
//   vector_attempts.h  partners of a seed, moved positions, what lies near them
//   vector_counts.h    sums over an alignment, and the reduction of templates
//
// Highway's headers give the operations: each is a function that becomes the instruction
// of the set that is compiled, or a few where it has none. Its foreach_target.h includes
// this file once for each set, with another HWY_NAMESPACE and other instructions allowed.
// The sets are named one by one, so that a newer Highway adds none that is not tested.
// Which of the forms runs is ours to choose (dispatch.cpp); nothing of Highway is linked.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "engine/kernels/vectors.cpp"

#ifndef VXM_VECTOR_SETTINGS
#define VXM_VECTOR_SETTINGS

#define HWY_COMPILE_ALL_ATTAINABLE
#define HWY_DISABLED_TARGETS \
  (~(HWY_AVX3 | HWY_AVX2 | HWY_SSE4 | HWY_NEON | HWY_WASM | HWY_EMU128 | HWY_SCALAR))
// Sets that came together with others are not to need more than is asked for.
#define HWY_DISABLE_PCLMUL_AES
#define HWY_DISABLE_F16C

#include <algorithm>
#include <type_traits>

#include "engine/kernels/kernels.h"
#include "engine/root_tables.h"
#include "engine/scoring.h"
#include "platform/cpu.h"

#endif
// Before highway.h, which is for the set that this one chooses.
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

// The sets of one lane are the scalar form's task.
#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

#if HWY_TARGET == HWY_AVX3
#define VXM_FORM "avx512", platform::HasAvx512
#elif HWY_TARGET == HWY_AVX2
#define VXM_FORM "avx2", platform::HasAvx2
#elif HWY_TARGET == HWY_SSE4
#define VXM_FORM "sse4", platform::HasSse4
#elif HWY_TARGET == HWY_NEON
#define VXM_FORM "neon", platform::HasNeon
#elif HWY_TARGET == HWY_WASM
#define VXM_FORM "wasm", platform::HasWasmVectors
#endif

HWY_BEFORE_NAMESPACE();
namespace vxm::HWY_NAMESPACE {
namespace {
namespace hn = hwy::HWY_NAMESPACE;
// clang-format off
#include "engine/kernels/vector_lanes.h"
#include "engine/kernels/vector_pairs.h"
#include "engine/kernels/vector_voting.h"
#include "engine/kernels/vector_attempts.h"
#include "engine/kernels/vector_counts.h"
// clang-format on
}  // namespace

extern const Kernels kernels;
const Kernels kernels = {VXM_FORM,   FillPairTables, CountPairs,    CastVotes,
                         RankSeeds,  ListPartners,   MoveOnto,      ListNear,
                         SumHolding, CountBlocks,    ChooseMinutiae};
}  // namespace vxm::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#undef VXM_FORM

#endif

#if HWY_ONCE
const vxm::Kernels* const vxm::vectorKernels[] = {
#if HWY_TARGETS & HWY_AVX3
    &N_AVX3::kernels,
#endif
#if HWY_TARGETS & HWY_AVX2
    &N_AVX2::kernels,
#endif
#if HWY_TARGETS & HWY_SSE4
    &N_SSE4::kernels,
#endif
#if HWY_TARGETS & HWY_NEON
    &N_NEON::kernels,
#endif
#if HWY_TARGETS & HWY_WASM
    &N_WASM::kernels,
#endif
    nullptr};
#endif
