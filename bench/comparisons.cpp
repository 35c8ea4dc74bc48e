// Does the same comparisons over and over, for counters of instructions.
//
//   comparisons native|iso|ansi genuine|impostor|fast|normal REPEATS
//
// Prints how many comparisons one repeat has, and the sum of their scores or indexes.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "material.h"

namespace {

void Require(int status) {
  if (status != VXM_OK) throw std::runtime_error("status " + std::to_string(status));
}

int64_t VerifyAll(MatcherHandle matcher, const bench::Pairs& pairs) {
  int64_t scores = 0;
  for (const auto& [probe, candidate] : pairs) {
    float score = 0;
    int verified = 0;
    Require(VXM_VerifyEx(matcher, probe->bytes.data(), probe->Size(), candidate->bytes.data(),
                         candidate->Size(), &score, &verified));
    scores += std::lround(score * 10000);
  }
  return scores;
}

// The first touch among those of all other fingers.
int64_t Search(MatcherHandle matcher, const bench::Material& material, int& comparisons) {
  const bench::Touch& probe = material.touches.front();
  std::vector<const unsigned char*> templates;
  std::vector<int> sizes;
  for (const bench::Touch& touch : material.touches) {
    if (touch.finger == probe.finger) continue;
    templates.push_back(touch.bytes.data());
    sizes.push_back(touch.Size());
  }
  comparisons = static_cast<int>(sizes.size());
  int index = 0;
  Require(VXM_Identify(matcher, probe.bytes.data(), probe.Size(), templates.data(), sizes.data(),
                       comparisons, 0, &index));
  return index;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 4) return 2;
  const std::string format = arguments[1];
  const std::string load = arguments[2];
  const int repeats = std::atoi(arguments[3]);
  for (const bench::Material& material : bench::Gather({"", 40, 1})) {
    if (material.format != format) continue;
    MatcherHandle matcher = nullptr;
    Require(VXM_Create(&matcher));
    const int fast = load == "fast" ? 1 : 0;
    const int strictest = 7;
    Require(VXM_SetTemplateType(matcher, material.type));
    Require(VXM_SetParameter(matcher, VXM_PARAM_FAST_MODE, &fast));
    Require(VXM_SetParameter(matcher, VXM_PARAM_SECURITY_LEVEL, &strictest));
    const bench::Pairs pairs =
        load == "genuine" ? bench::GenuinePairs(material) : bench::ImpostorPairs(material);
    int comparisons = static_cast<int>(pairs.size());
    int64_t answers = 0;
    for (int i = 0; i < repeats; ++i) {
      answers += load == "fast" || load == "normal" ? Search(matcher, material, comparisons)
                                                    : VerifyAll(matcher, pairs);
    }
    VXM_Delete(matcher);
    std::printf("%d %lld\n", comparisons, static_cast<long long>(answers));
  }
  return 0;
}
