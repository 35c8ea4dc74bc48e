// Making and deleting matchers.
#include <gtest/gtest.h>

#include "support/matcher_fixture.h"

namespace {

using LifecycleTest = MatcherTest;

int Parameter(MatcherHandle matcher, int id) {
  int value = -1;
  EXPECT_EQ(VXM_GetParameter(matcher, id, &value), VXM_OK);
  return value;
}

void ExpectDefaults(MatcherHandle matcher) {
  int type = 0;
  EXPECT_EQ(VXM_GetTemplateType(matcher, &type), VXM_OK);
  EXPECT_EQ(type, TEMPLATE_NATIVE);
  EXPECT_EQ(Parameter(matcher, VXM_PARAM_FAST_MODE), 1);
  EXPECT_EQ(Parameter(matcher, VXM_PARAM_SECURITY_LEVEL), 4);
  EXPECT_EQ(Parameter(matcher, VXM_PARAM_ISO_MODE), 0);
  EXPECT_EQ(Parameter(matcher, VXM_PARAM_RETRY_TURNED), 0);
}

TEST(LifecycleNullTest, IsRefused) {
  EXPECT_EQ(VXM_Create(nullptr), VXM_ERR_INVALID_PARAMETERS);
  EXPECT_EQ(VXM_CreateEx(nullptr, "text"), VXM_ERR_INVALID_PARAMETERS);
  EXPECT_EQ(VXM_Delete(nullptr), VXM_ERR_INVALID_PARAMETERS);
}

TEST_F(LifecycleTest, EveryWayOfMakingGivesTheDefaultsToItsMatcherAlone) {
  ExpectDefaults(matcher);
  for (const char* extra : {static_cast<const char*>(nullptr), "", "anything"}) {
    MatcherHandle other = nullptr;
    ASSERT_EQ(VXM_CreateEx(&other, extra), VXM_OK);
    ExpectDefaults(other);
    const int level = 7;
    EXPECT_EQ(VXM_SetParameter(other, VXM_PARAM_SECURITY_LEVEL, &level), VXM_OK);
    EXPECT_EQ(VXM_SetTemplateType(other, TEMPLATE_ANSI378), VXM_OK);
    ExpectDefaults(matcher);
    EXPECT_EQ(VXM_Delete(other), VXM_OK);
    ExpectDefaults(matcher);
  }
}

}  // namespace
