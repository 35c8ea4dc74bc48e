// The probe's pairs as sets by angle, for the voting.
//
// In: the probe's pairs by length. Out: for each step of 4 degrees and each of
// three angles of a pair, the set of pairs that may agree with an angle in it.
// Idea: first the pairs in each step are marked; those sets are disjoint, so a
// window that slides round the circle is kept up to date by taking in the step
// ahead and taking out the one behind.
// Cost: one turn over the pairs and one over the steps, once for all candidates
// of a search.
#include <algorithm>

#include "engine/stages.h"

namespace vxm {
namespace {

// Steps on either side that hold angles within the tolerance.
constexpr int StepsWithin(int tolerance) { return (tolerance + angleStep - 1) / angleStep; }

void FillSets(AngleSets& sets, AngleSets& scratch, const uint16_t* angles, int count, int words,
              int reach) {
  uint64_t* exact = scratch.bits;
  std::fill_n(exact, angleSteps * words, uint64_t{0});
  for (int p = 0; p < count; p++) {
    exact[angles[p] / angleStep * words + p / 64] |= uint64_t{1} << (p % 64);
  }
  const auto step = [&](int k) {
    return exact + (k < 0 ? k + angleSteps : k < angleSteps ? k : k - angleSteps) * words;
  };
  uint64_t window[maxPairWords] = {};
  for (int k = -reach; k <= reach; k++) {
    const uint64_t* entering = step(k);
    for (int w = 0; w < words; w++) window[w] ^= entering[w];
  }
  for (int k = 0; k < angleSteps; k++) {
    std::copy_n(window, words, sets.bits + k * words);
    const uint64_t* entering = step(k + reach + 1);
    const uint64_t* leaving = step(k - reach);
    for (int w = 0; w < words; w++) window[w] ^= entering[w] ^ leaving[w];
  }
}

}  // namespace

void BuildPairSets(PairSets& sets, const PairList& pairs) {
  sets.words = (pairs.count + 63) / 64;
  const int alike = StepsWithin(EngineParams::angleTolerance);
  FillSets(sets.line, sets.scratch, pairs.line, pairs.count, sets.words,
           StepsWithin(EngineParams::lineTolerance));
  FillSets(sets.firstDir, sets.scratch, pairs.firstDir, pairs.count, sets.words, alike);
  FillSets(sets.secondDir, sets.scratch, pairs.secondDir, pairs.count, sets.words, alike);
}

}  // namespace vxm
