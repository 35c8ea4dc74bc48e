// Votes where crowds of pairs agree: the scalar form's, which is the definition.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <random>
#include <vector>

#include "engine/stages.h"

namespace {

// Minutiae at random on so many pixels, of so many directions and qualities.
struct Crowd {
  const char* name;
  int width;
  int height;
  int step;  // pixels; of a lattice
  int leastAngle;
  int angles;
  int qualities;
  int most;  // minutiae
};
constexpr Crowd crowds[] = {
    {"a line, turned alike", 60, 1, 1, 30, 1, 1, 110},
    {"a short line, other qualities", 30, 2, 1, 350, 11, 128, 110},
    {"a heap", 40, 40, 1, 0, 361, 60, 110},
    {"a lattice", 300, 300, 60, 0, 60, 1, 110},
    {"a finger", 300, 400, 1, 0, 361, 100, 200},
    {"beyond the largest distance", 1024, 1024, 255, 90, 50, 1, 110},
    {"a heap beyond 360 degrees", 40, 40, 1, 340, 60, 40, 110},
    {"a heap of all angles", 25, 50, 1, 0, 512, 1, 110},
    {"a heap of all angles and qualities", 50, 25, 1, 0, 512, 60, 110},
    {"a point and few beside it", 19, 1, 18, 30, 1, 1, 200},  // more than 128 others agree
};

void FillWorkspace(vxm::MatchWorkspace& workspace, const Crowd& crowd, int count,
                   std::mt19937& random) {
  const auto below = [&](int limit) {
    return static_cast<int>(random() % static_cast<unsigned>(limit));
  };
  workspace.minutiaCount = count;
  workspace.gridWidth = workspace.gridHeight = vxm::maxGridBlocks;
  for (int i = 0; i < count; i++) {
    workspace.x[i] = static_cast<int16_t>(below(crowd.width) / crowd.step * crowd.step);
    workspace.y[i] = static_cast<int16_t>(below(crowd.height) / crowd.step * crowd.step);
    // Ones at both ends of the range, too.
    const int angle = below(4) == 0 ? below(2) * (crowd.angles - 1) : below(crowd.angles);
    workspace.angle[i] = static_cast<uint16_t>(crowd.leastAngle + angle);
    workspace.quality[i] = static_cast<uint8_t>(below(crowd.qualities));
  }
}

std::vector<uint16_t> VotesOf(const vxm::EngineContext& context) {
  return {context.votes,
          context.votes + context.probeGeometry.count * context.referenceGeometry.count};
}

TEST(CrowdedVotingTest, VotesAsTheScalarFormDoes) {
  std::mt19937 random(20261124);
  const auto probe = std::make_unique<vxm::MatchWorkspace>();
  const auto reference = std::make_unique<vxm::MatchWorkspace>();
  const auto own = std::make_unique<vxm::OwnContext>();
  vxm::EngineContext& context = own->context;
  vxm::MatchLimits limits[] = {vxm::secondStage, vxm::normalFirstStage, {0, 0, 0, 0, 0}};
  int gaveUp = 0;
  int heldOut = 0;
  for (const Crowd& crowd : crowds) {
    for (const int count : {20, 60, crowd.most}) {
      for (vxm::MatchLimits& limit : limits) {
        SCOPED_TRACE(testing::Message() << crowd.name << ", " << count << " minutiae, "
                                        << limit.angleTolerance << " degrees");
        limit.pruneEnabled = 0;
        FillWorkspace(*probe, crowd, count, random);
        FillWorkspace(*reference, crowd, count - count / 10, random);
        context.scale = crowd.qualities > 1 ? vxm::Scale::native : vxm::Scale::standard;
        vxm::PrepareProbe(context, *probe);
        vxm::PrepareGeometry(context.referenceGeometry, *reference, context.scale);
        std::vector<uint16_t> votes;
        for (const int length : {20, context.probePairs.longest}) {
          context.votingBudget = INT_MAX;
          ASSERT_TRUE(vxm::scalarKernels.castVotes(context, length, limit));
          votes = VotesOf(context);
          vxm::CastCrowdedVotes(context, length, limit);
          ASSERT_EQ(VotesOf(context), votes);
        }
        vxm::PrepareGeometry(context.referenceGeometry, *reference, context.scale);
        vxm::VotePairs(context, limit);
        ASSERT_EQ(VotesOf(context), votes);
        (context.votingBudget < 0 ? gaveUp : heldOut)++;
      }
    }
  }
  EXPECT_GT(std::min(gaveUp, heldOut), 10);
}

}  // namespace
