// What stands for vectors.cpp where the portable form alone is built.
#include "engine/kernels/kernels.h"

const vxm::Kernels* const vxm::vectorKernels[] = {nullptr};
