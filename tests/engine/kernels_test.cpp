// The forms of the inner loops agree: every form on the same input, the scalar one
// being the definition.
#include "engine/kernels/kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>

#include "engine/match.h"

namespace {

// Fingers of no kind: minutiae at random, on a lattice, or in a heap, so that
// equal distances and crowds abound; native ones also with angles beyond the
// circle.
void FillWorkspace(vxm::MatchWorkspace& workspace, bool native, std::mt19937& random) {
  const auto below = [&](int limit) {
    return static_cast<int>(random() % static_cast<unsigned>(limit));
  };
  workspace.minutiaCount = below(6) == 0 ? below(vxm::maxMinutiae + 1) : 4 + below(60);
  workspace.gridWidth = static_cast<uint8_t>(1 + below(below(4) == 0 ? 63 : 24));
  workspace.gridHeight = static_cast<uint8_t>(1 + below(below(4) == 0 ? 63 : 24));
  const int step = below(3) == 0 ? 8 * (1 + below(4)) : 1;
  const int largestAngle = native && below(8) == 0 ? 511 : 360;
  const int angleStep = below(3) == 0 ? 45 : 1;
  for (int i = 0; i < workspace.minutiaCount; i++) {
    workspace.x[i] = static_cast<int16_t>(below(workspace.gridWidth * 16) / step * step);
    workspace.y[i] = static_cast<int16_t>(below(workspace.gridHeight * 16) / step * step);
    workspace.angle[i] = static_cast<uint16_t>(below(largestAngle + 1) / angleStep * angleStep);
    workspace.quality[i] = static_cast<uint8_t>(below(40));
    workspace.type[i] = static_cast<uint8_t>(below(2));
  }
  const int orientation = below(120);
  for (int row = 0; row < workspace.gridHeight; row++) {
    for (int column = 0; column < workspace.gridWidth; column++) {
      workspace.orientation[row][column] =
          static_cast<uint8_t>(below(5) == 0 ? below(256) : orientation);
    }
  }
}

// A second impression: most minutiae again, moved a little.
void Disturb(vxm::MatchWorkspace& workspace, std::mt19937& random) {
  for (int i = 0; i < workspace.minutiaCount; i++) {
    const auto by = [&](int spread) {
      return static_cast<int>(random() % static_cast<unsigned>(2 * spread + 1)) - spread;
    };
    workspace.x[i] =
        static_cast<int16_t>(std::clamp(workspace.x[i] + by(3), 0, workspace.gridWidth * 16 - 1));
    workspace.y[i] =
        static_cast<int16_t>(std::clamp(workspace.y[i] + by(3), 0, workspace.gridHeight * 16 - 1));
    workspace.angle[i] = static_cast<uint16_t>((workspace.angle[i] + 360 + by(8)) % 361);
  }
}

struct Outcome {
  int score;
  vxm::MatchResult result;
};

Outcome Compare(const vxm::MatchWorkspace& probe, const vxm::MatchWorkspace& reference, bool native,
                vxm::EngineContext& context) {
  Outcome outcome = {};
  outcome.score = (native ? vxm::MatchNative : vxm::MatchStandard)(probe, reference, context,
                                                                   outcome.result, true);
  return outcome;
}

TEST(KernelsTest, AllFormsAgree) {
  constexpr int comparisons = 3000;
  std::mt19937 random(20261122);
  const auto probe = std::make_unique<vxm::MatchWorkspace>();
  const auto reference = std::make_unique<vxm::MatchWorkspace>();
  const auto context = std::make_unique<vxm::OwnContext>();
  const vxm::Kernels& before = vxm::ActiveKernels();
  int positive = 0;
  for (int k = 0; k < comparisons; k++) {
    SCOPED_TRACE(k);
    const bool native = k % 3 != 0;
    FillWorkspace(*probe, native, random);
    if (k % 2 == 0) {
      FillWorkspace(*reference, native, random);
    } else {
      vxm::CopyWorkspace(*reference, *probe);
      Disturb(*reference, random);
    }
    vxm::ForceKernels(vxm::scalarKernels.name);
    const Outcome scalar = Compare(*probe, *reference, native, context->context);
    positive += scalar.score > 0 ? 1 : 0;
    for (const char* form : {VXM_KERNEL_FORMS}) {
      if (std::strcmp(form, vxm::scalarKernels.name) == 0) continue;
      SCOPED_TRACE(form);
      if (vxm::ForceKernels(form) != vxm::ForceOutcome::forced) continue;
      const Outcome fast = Compare(*probe, *reference, native, context->context);
      ASSERT_EQ(fast.score, scalar.score);
      ASSERT_EQ(std::memcmp(&fast.result, &scalar.result, sizeof(vxm::MatchResult)), 0);
    }
    vxm::ForceKernels(before.name);
  }
  EXPECT_GT(positive, comparisons / 4);
}

TEST(KernelsTest, AnUnknownNameIsAnError) {
  const vxm::Kernels& before = vxm::ActiveKernels();
  EXPECT_EQ(vxm::ForceKernels("sse9"), vxm::ForceOutcome::unknown);
  EXPECT_EQ(&vxm::ActiveKernels(), &before);
}

}  // namespace
