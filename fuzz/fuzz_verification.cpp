// One-to-one comparison: a documented status, a score in range, outputs as the
// status says, and the same from matchers that did different things before.
#include <cstring>

#include "fuzz_input.h"

namespace {

using fuzz::Bytes;
using fuzz::Require;

void CheckAnswer(const fuzz::Verified& answer) {
  switch (answer.status) {
    case VXM_OK:
      Require(answer.score >= 0.0f && answer.score <= 0.9999f, "the score is in range");
      Require(answer.decision == 0 || answer.decision == 1, "the decision is 0 or 1");
      break;
    case VXM_ERR_INVALID_PARAMETERS:
    case VXM_ERR_DATA_CORRUPTED:
    case VXM_ERR_TEMPLATE_TYPE:
      Require(answer.score == 0.0f && answer.decision == 0, "an error clears the outputs");
      break;
    default: Require(false, "the status is a documented one");
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static MatcherHandle first = fuzz::NewMatcher();
  static MatcherHandle second = fuzz::NewMatcher();
  const fuzz::Input input = fuzz::Parse(data, size);
  if (input.templates.size() < 2) return 0;
  const Bytes& a = input.templates[0];
  const Bytes& b = input.templates[1];
  fuzz::Configure(first, input.settings);
  fuzz::Configure(second, input.settings);

  const fuzz::Verified answer = fuzz::Verify(first, a, b);
  CheckAnswer(answer);
  CheckAnswer(fuzz::Verify(second, b, a));
  Require(fuzz::Verify(second, a, b) == answer, "the answer does not depend on the history");
  int decision = -1;
  Require(VXM_Verify(first, a.data(), fuzz::SizeOf(a), b.data(), fuzz::SizeOf(b), &decision) ==
              answer.status,
          "both forms give the same status");
  Require(decision == answer.decision, "both forms decide alike");
  Require(fuzz::Parse(data, size).templates == input.templates, "templates are only read");
  return 0;
}
