// The half turn of a loaded template.
#include "templates/turn.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

TEST(TurnTest, EverythingGoesToTheOtherEnd) {
  vxm::MatchWorkspace source = {};
  source.minutiaCount = 5;
  source.gridWidth = source.gridHeight = 2;
  constexpr uint16_t angles[5] = {0, 90, 180, 181, 360};
  for (int i = 0; i < 5; i++) {
    source.x[i] = static_cast<int16_t>(i);
    source.y[i] = static_cast<int16_t>(10 * i);
    source.angle[i] = angles[i];
    source.quality[i] = static_cast<uint8_t>(100 + i);
    source.type[i] = static_cast<uint8_t>(i);
  }
  for (int block = 0; block < 4; block++) {
    source.orientation[block / 2][block % 2] = static_cast<uint8_t>(block + 1);
  }
  const auto turned = std::make_unique<vxm::MatchWorkspace>();
  vxm::TurnWorkspace(*turned, source);
  EXPECT_EQ(turned->minutiaCount, 5);
  EXPECT_EQ(turned->gridWidth, 2);
  EXPECT_EQ(turned->gridHeight, 2);
  constexpr int turnedAngles[5] = {180, 270, 360, 1, 180};
  for (int i = 0; i < 5; i++) {
    SCOPED_TRACE(i);
    EXPECT_EQ(turned->x[4 - i], 32 - i);
    EXPECT_EQ(turned->y[4 - i], 32 - 10 * i);
    EXPECT_EQ(turned->angle[4 - i], turnedAngles[i]);
    EXPECT_EQ(turned->quality[4 - i], 100 + i);
    EXPECT_EQ(turned->type[4 - i], i);
  }
  for (int block = 0; block < 4; block++) {
    EXPECT_EQ(turned->orientation[block / 2][block % 2], 4 - block);
  }
}

}  // namespace
