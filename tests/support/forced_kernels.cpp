// Runs a whole test program with one form of the inner loops, the one that the
// environment names; ends it as skipped where the processor does not run that
// form, as failed where there is none of that name.
#include <cstdio>
#include <cstdlib>

#include "engine/kernels/kernels.h"

namespace {

const bool forced = [] {
  constexpr int skipped = 77;
  const char* name = std::getenv("VXM_TEST_KERNELS");
  if (name == nullptr) return false;
  switch (vxm::ForceKernels(name)) {
    case vxm::ForceOutcome::forced: return true;
    case vxm::ForceOutcome::notRunHere:
      std::printf("no %s on this processor\n", name);
      std::exit(skipped);
    case vxm::ForceOutcome::unknown:
      std::printf("no form of the inner loops is called %s\n", name);
      std::exit(EXIT_FAILURE);
  }
  return false;
}();

}  // namespace
