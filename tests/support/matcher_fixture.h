// A matcher for the length of a test.
#pragma once

#include <gtest/gtest.h>

#include "vxmkit.h"

class MatcherTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(VXM_Create(&matcher), VXM_OK); }
  void TearDown() override { EXPECT_EQ(VXM_Delete(matcher), VXM_OK); }

  MatcherHandle matcher = nullptr;
};
