// From score to decision: a score equal to the threshold is a match.
#pragma once

#include <algorithm>

namespace vxm {

// By security level 1..7.
constexpr int nativeThresholds[7] = {40, 85, 150, 240, 350, 480, 640};
constexpr int standardThresholds[7] = {75, 120, 185, 290, 380, 470, 560};

constexpr int ThresholdAt(const int (&thresholds)[7], int securityLevel) {
  return thresholds[std::clamp(securityLevel, 1, 7) - 1];
}

}  // namespace vxm
