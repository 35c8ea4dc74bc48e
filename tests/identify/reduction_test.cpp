// Reducing a template to its most telling minutiae.
#include <gtest/gtest.h>

#include <memory>

#include "identify/staged.h"

namespace {

struct Place {
  int x, y;
};

// All ridges, blocks numbered; every minutia tells its own place.
vxm::MatchWorkspace Workspace(const std::vector<Place>& places) {
  vxm::MatchWorkspace workspace = {};
  workspace.minutiaCount = static_cast<int>(places.size());
  workspace.gridWidth = workspace.gridHeight = 10;
  for (size_t i = 0; i < places.size(); i++) {
    workspace.x[i] = static_cast<int16_t>(places[i].x);
    workspace.y[i] = static_cast<int16_t>(places[i].y);
    workspace.angle[i] = static_cast<uint16_t>(i);
    workspace.quality[i] = static_cast<uint8_t>(100 - i);
    workspace.type[i] = static_cast<uint8_t>(i % 2);
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
      {"lonely before central", {{80, 80}, {80, 82}, {5, 5}, {150, 150}}, 2, {2, 3}},
      {"10 pixels apart is crowded", {{80, 80}, {86, 88}, {5, 5}}, 1, {2}},
      {"more than 10 is not", {{80, 80}, {90, 81}, {5, 5}}, 2, {0, 1}},
      {"crowded ones by the same rule", {{0, 0}, {0, 1}, {81, 80}, {80, 80}}, 3, {1, 2, 3}},
  };
  for (const auto& c : cases) {
    const vxm::MatchWorkspace source = Workspace(c.places);
    const auto target = std::make_unique<vxm::MatchWorkspace>();
    vxm::ReduceWorkspace(source, *target, c.maxCount, vxm::Scale::native);
    std::vector<int> kept(target->angle, target->angle + target->minutiaCount);
    EXPECT_EQ(kept, c.kept) << c.what;
    for (size_t k = 0; k < kept.size(); k++) {
      const int i = kept[k];
      EXPECT_EQ(target->x[k], source.x[i]) << c.what;
      EXPECT_EQ(target->y[k], source.y[i]) << c.what;
      EXPECT_EQ(target->quality[k], source.quality[i]) << c.what;
      EXPECT_EQ(target->type[k], source.type[i]) << c.what;
    }
  }
}

TEST(ReductionTest, KeepsTheGridAroundWhatIsKept) {
  const struct {
    Place first, second;  // kept; one in a far corner is not
    int left, top, right, bottom;
  } cases[] = {
      {{72, 72}, {88, 88}, 4, 4, 6, 6},  // 64..96
      {{71, 72}, {89, 88}, 3, 4, 7, 6},  // 63..97
      {{40, 3}, {80, 80}, 2, 0, 6, 6},    {{80, 80}, {157, 80}, 4, 4, 10, 6},
      {{80, 80}, {80, 160}, 4, 4, 6, 10},  // a turned minutia beyond the grid
  };
  for (const auto& c : cases) {
    const vxm::MatchWorkspace source = Workspace({c.first, {1, 159}, c.second, {1, 158}});
    const auto target = std::make_unique<vxm::MatchWorkspace>();
    vxm::ReduceWorkspace(source, *target, 2, vxm::Scale::native);
    ASSERT_EQ(target->gridWidth, 10);
    ASSERT_EQ(target->gridHeight, 10);
    for (int row = 0; row < 10; row++) {
      for (int column = 0; column < 10; column++) {
        const bool inside = row >= c.top && row < c.bottom && column >= c.left && column < c.right;
        EXPECT_EQ(target->orientation[row][column], inside ? 10 * row + column : 255)
            << c.first.x << ": " << row << ' ' << column;
      }
    }
  }
}

}  // namespace
