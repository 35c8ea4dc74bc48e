// Every form of the inner loops that this processor runs against the scalar one:
// verification both ways, and the decision of the staged comparison.
#include "engine/kernels/kernels.h"
#include "fuzz_input.h"

namespace {

using fuzz::Bytes;
using fuzz::Require;

struct Answers {
  fuzz::Verified forth, back;
  int matched;
};

Answers Ask(MatcherHandle matcher, const Bytes& a, const Bytes& b) {
  Answers answers = {fuzz::Verify(matcher, a, b), fuzz::Verify(matcher, b, a), -2};
  if (VXM_IdentifyInit(matcher, a.data(), fuzz::SizeOf(a)) == VXM_OK) {
    VXM_IdentifyNext(matcher, b.data(), fuzz::SizeOf(b), &answers.matched);
  }
  return answers;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static MatcherHandle matcher = fuzz::NewMatcher();
  const fuzz::Input input = fuzz::Parse(data, size);
  if (input.templates.size() < 2) return 0;
  const Bytes& a = input.templates[0];
  const Bytes& b = input.templates[1];
  fuzz::Configure(matcher, input.settings);
  vxm::ForceKernels(vxm::scalarKernels.name);
  const Answers scalar = Ask(matcher, a, b);
  for (const char* form : {VXM_KERNEL_FORMS}) {
    const vxm::ForceOutcome outcome = vxm::ForceKernels(form);
    Require(outcome != vxm::ForceOutcome::unknown, "the form is there");
    if (outcome != vxm::ForceOutcome::forced) continue;
    const Answers answers = Ask(matcher, a, b);
    Require(answers.forth == scalar.forth && answers.back == scalar.back &&
                answers.matched == scalar.matched,
            form);
  }
  return 0;
}
