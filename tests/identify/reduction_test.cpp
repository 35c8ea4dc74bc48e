// Reducing a template to its most telling minutiae.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "identify/staged.h"

namespace {

struct Place {
  int x, y;
};

// Every minutia tells its own place by its angle.
vxm::MatchWorkspace Workspace(const std::vector<Place>& places) {
  vxm::MatchWorkspace workspace = {};
  workspace.minutiaCount = static_cast<int>(places.size());
  workspace.gridWidth = workspace.gridHeight = 10;
  for (size_t i = 0; i < places.size(); i++) {
    workspace.x[i] = static_cast<int16_t>(places[i].x);
    workspace.y[i] = static_cast<int16_t>(places[i].y);
    workspace.angle[i] = static_cast<uint16_t>(i);
  }
  for (int block = 0; block < 100; block++) {
    workspace.orientation[block / 10][block % 10] = static_cast<uint8_t>(block);
  }
  return workspace;
}

// The centre of the grid is (80, 80).
TEST(ReductionTest, KeepsTheLonelyThenTheCentralThenTheEarlier) {
  const struct {
    const char* what;
    std::vector<Place> places;
    int maxCount;
    std::vector<int> kept;
  } cases[] = {
      {"all", {{1, 1}, {2, 2}, {80, 80}}, 3, {0, 1, 2}},
      {"central", {{10, 80}, {80, 100}, {150, 80}, {80, 62}}, 2, {1, 3}},
      {"in the order of the source", {{80, 100}, {10, 80}, {80, 62}}, 2, {0, 2}},
      {"the earlier of equals", {{80, 20}, {20, 80}, {140, 80}, {80, 140}}, 2, {0, 1}},
      {"one of two equals", {{80, 20}, {20, 80}, {140, 80}, {80, 140}}, 3, {0, 1, 2}},
      {"lonely before central", {{80, 80}, {80, 82}, {5, 5}, {150, 150}}, 2, {2, 3}},
      {"10 pixels apart is crowded", {{80, 80}, {86, 88}, {5, 5}}, 1, {2}},
      {"more than 10 is not", {{80, 80}, {90, 81}, {5, 5}}, 2, {0, 1}},
      {"crowded ones by the same rule", {{0, 0}, {0, 1}, {81, 80}, {80, 80}}, 3, {1, 2, 3}},
  };
  for (const auto& c : cases) {
    const auto target = std::make_unique<vxm::MatchWorkspace>();
    const vxm::MatchWorkspace source = Workspace(c.places);
    vxm::ReduceWorkspace(source, *target, c.maxCount);
    EXPECT_EQ(std::vector<int>(target->angle, target->angle + target->minutiaCount), c.kept)
        << c.what;
    if (c.kept.size() < c.places.size()) continue;
    for (int row = 0; row < source.gridHeight; row++) {
      EXPECT_TRUE(std::equal(source.orientation[row], source.orientation[row] + source.gridWidth,
                             target->orientation[row]))
          << c.what << ", row " << row;
    }
  }
}

}  // namespace
