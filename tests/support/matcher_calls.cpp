// Calling the interface.
#include "support/matcher_calls.h"

#include <gtest/gtest.h>

#include <cmath>
#include <ostream>

namespace calls {

bool operator==(const Answer& a, const Answer& b) {
  return a.status == b.status && a.score == b.score && a.output == b.output;
}

void PrintTo(const Answer& answer, std::ostream* out) {
  *out << "status " << answer.status << ", score " << answer.score << ", output " << answer.output;
}

Answer Verify(MatcherHandle matcher, Template first, Template second) {
  float score = -1.0f;
  int verified = -1;
  const int status =
      VXM_VerifyEx(matcher, first.data, first.size, second.data, second.size, &score, &verified);
  return {status, static_cast<int>(std::lround(score * 10000.0f)), verified};
}

Answer Identify(const IdentifyForm& form, MatcherHandle matcher, Template probe,
                const std::vector<Template>& candidates, unsigned timeout) {
  std::vector<const uint8_t*> templates;
  std::vector<int> sizes;
  std::vector<uint8_t> buffer;
  for (const Template& candidate : candidates) {
    templates.push_back(candidate.data);
    sizes.push_back(candidate.size);
    if (form.inBuffer && candidate.size > 0) {
      buffer.insert(buffer.end(), candidate.data, candidate.data + candidate.size);
    }
  }
  // So that empty ones are not null.
  buffer.reserve(1);
  templates.reserve(1);
  sizes.reserve(1);
  if (form.inBuffer) templates = {buffer.data()};
  int index = -2;
  const int status = form.function(matcher, probe.data, probe.size, templates.data(), sizes.data(),
                                   static_cast<int>(candidates.size()), timeout, &index);
  return {status, 0, index};
}

Answer IdentifyNext(MatcherHandle matcher, Template candidate) {
  int matched = -2;
  const int status = VXM_IdentifyNext(matcher, candidate.data, candidate.size, &matched);
  return {status, 0, matched};
}

void Set(MatcherHandle matcher, int parameter, int value) {
  EXPECT_EQ(VXM_SetParameter(matcher, parameter, &value), VXM_OK);
}

}  // namespace calls
