// Choosing the form of the inner loops, once, at the first comparison.
#include <cstring>

#include "engine/kernels/kernels.h"

namespace vxm {
namespace {

const Kernels* BestKernels() {
  for (const Kernels* const* form = vectorKernels; *form != nullptr; form++) {
    if ((*form)->runsHere()) return *form;
  }
  return &scalarKernels;
}

// The form of that name, or null.
const Kernels* KernelsNamed(const char* name) {
  for (const Kernels* const* form = vectorKernels; *form != nullptr; form++) {
    if (std::strcmp((*form)->name, name) == 0) return *form;
  }
  return std::strcmp(scalarKernels.name, name) == 0 ? &scalarKernels : nullptr;
}

const Kernels*& Active() {
  static const Kernels* active = BestKernels();
  return active;
}

}  // namespace

const Kernels& ActiveKernels() { return *Active(); }

ForceOutcome ForceKernels(const char* name) {
  const Kernels* kernels = KernelsNamed(name);
  if (kernels == nullptr) return ForceOutcome::unknown;
  if (!kernels->runsHere()) return ForceOutcome::notRunHere;
  Active() = kernels;
  return ForceOutcome::forced;
}

}  // namespace vxm
