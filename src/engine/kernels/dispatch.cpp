// Choosing the form of the inner loops, once, at the first comparison.
#include <cstring>

#include "engine/kernels/kernels.h"
#include "platform/cpu.h"

namespace vxm {
namespace {

struct Form {
  const Kernels* kernels;
  bool (*runs)();
};

// Best first.
const Form forms[] = {
#if defined(VXM_HAVE_AVX)
    {&avx512Kernels, platform::HasAvx512},
    {&avx2Kernels, platform::HasAvx2},
#endif
    {&scalarKernels, [] { return true; }},
};

const Kernels* BestKernels() {
  for (const Form& form : forms) {
    if (form.runs()) return form.kernels;
  }
  return &scalarKernels;
}

const Kernels*& Active() {
  static const Kernels* active = BestKernels();
  return active;
}

}  // namespace

const Kernels& ActiveKernels() { return *Active(); }

ForceOutcome ForceKernels(const char* name) {
  for (const Form& form : forms) {
    if (std::strcmp(form.kernels->name, name) != 0) continue;
    if (!form.runs()) return ForceOutcome::notRunHere;
    Active() = form.kernels;
    return ForceOutcome::forced;
  }
  return ForceOutcome::unknown;
}

}  // namespace vxm
