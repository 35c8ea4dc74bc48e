// Reading and changing a matcher's settings.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "support/matcher_fixture.h"

namespace {

using ParametersTest = MatcherTest;

TEST_F(ParametersTest, ValuesAreNormalizedWhenSet) {
  const struct {
    int id, set, stored;
  } cases[] = {
      {VXM_PARAM_FAST_MODE, 0, 0},
      {VXM_PARAM_FAST_MODE, 5, 1},
      {VXM_PARAM_FAST_MODE, INT_MIN, 1},
      {VXM_PARAM_RETRY_TURNED, -1, 1},
      {VXM_PARAM_RETRY_TURNED, 0, 0},
      {VXM_PARAM_RETRY_TURNED, 256, 1},
      {VXM_PARAM_ISO_MODE, -7, 1},
      {VXM_PARAM_ISO_MODE, 0, 0},
      {VXM_PARAM_SECURITY_LEVEL, INT_MIN, 1},
      {VXM_PARAM_SECURITY_LEVEL, 0, 1},
      {VXM_PARAM_SECURITY_LEVEL, 1, 1},
      {VXM_PARAM_SECURITY_LEVEL, 3, 3},
      {VXM_PARAM_SECURITY_LEVEL, 7, 7},
      {VXM_PARAM_SECURITY_LEVEL, 8, 7},
      {VXM_PARAM_SECURITY_LEVEL, INT_MAX, 7},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "parameter " << c.id << " set to " << c.set);
    int value = -1;
    EXPECT_EQ(VXM_SetParameter(matcher, c.id, &c.set), VXM_OK);
    EXPECT_EQ(VXM_GetParameter(matcher, c.id, &value), VXM_OK);
    EXPECT_EQ(value, c.stored);
  }
}

TEST_F(ParametersTest, TextsAreWrittenWithinTheirSize) {
  for (const auto& [id, expected] : {std::pair(VXM_PARAM_VERSION, "VXMKIT_v3.7.0_r1777(m)"),
                                     {VXM_PARAM_COPYRIGHT, "Copyright 2026 The VXMKIT team."}}) {
    std::string text(VXM_PARAMETER_TEXT_SIZE + 1, '#');
    EXPECT_EQ(VXM_GetParameter(matcher, id, text.data()), VXM_OK);
    EXPECT_EQ(text.back(), '#');
    EXPECT_STREQ(text.c_str(), expected);
  }
}

TEST_F(ParametersTest, OtherIdsAreUnknownAndTextsCannotBeSet) {
  const int value = 1;
  for (const int id : {0, -1, 1, 209, 212, 300, 303, 310, 312, 320, 322, INT_MIN, INT_MAX}) {
    SCOPED_TRACE(id);
    std::string buffer(VXM_PARAMETER_TEXT_SIZE, '#');
    EXPECT_EQ(VXM_GetParameter(matcher, id, buffer.data()), VXM_ERROR);
    EXPECT_EQ(buffer, std::string(VXM_PARAMETER_TEXT_SIZE, '#'));
    EXPECT_EQ(VXM_GetParameter(matcher, id, nullptr), VXM_ERROR);
    EXPECT_EQ(VXM_SetParameter(matcher, id, &value), VXM_ERROR);
    EXPECT_EQ(VXM_SetParameter(matcher, id, nullptr), VXM_ERROR);
  }
  for (const int id : {VXM_PARAM_VERSION, VXM_PARAM_COPYRIGHT}) {
    EXPECT_EQ(VXM_SetParameter(matcher, id, &value), VXM_ERROR);
    EXPECT_EQ(VXM_SetParameter(matcher, id, nullptr), VXM_ERROR);
  }
}

// The ISO mode and the template type are two views of one choice.
TEST_F(ParametersTest, IsoModeAndTemplateTypeStayInStep) {
  constexpr int keep = -1;
  const struct {
    int setType, setIso, type, iso;
  } steps[] = {
      {keep, 1, TEMPLATE_ISO19794_2, 1},
      {TEMPLATE_ANSI378, keep, TEMPLATE_ANSI378, 0},
      {keep, 0, TEMPLATE_NATIVE, 0},  // never back to ANSI
      {TEMPLATE_ISO19794_2, keep, TEMPLATE_ISO19794_2, 1},
      {1234, keep, 1234, 0},
      {keep, 0, TEMPLATE_NATIVE, 0},
  };
  for (const auto& step : steps) {
    SCOPED_TRACE(testing::Message() << "type " << step.setType << ", ISO mode " << step.setIso);
    if (step.setType != keep) {
      EXPECT_EQ(VXM_SetTemplateType(matcher, step.setType), VXM_OK);
    }
    if (step.setIso != keep) {
      EXPECT_EQ(VXM_SetParameter(matcher, VXM_PARAM_ISO_MODE, &step.setIso), VXM_OK);
    }
    int type = 0;
    int iso = -1;
    EXPECT_EQ(VXM_GetTemplateType(matcher, &type), VXM_OK);
    EXPECT_EQ(VXM_GetParameter(matcher, VXM_PARAM_ISO_MODE, &iso), VXM_OK);
    EXPECT_EQ(type, step.type);
    EXPECT_EQ(iso, step.iso);
  }
}

TEST_F(ParametersTest, NullIsRefused) {
  int value = 1;
  const int statuses[] = {VXM_GetParameter(nullptr, VXM_PARAM_FAST_MODE, &value),
                          VXM_GetParameter(nullptr, 0, nullptr),
                          VXM_GetParameter(matcher, VXM_PARAM_FAST_MODE, nullptr),
                          VXM_GetParameter(matcher, VXM_PARAM_COPYRIGHT, nullptr),
                          VXM_SetParameter(nullptr, VXM_PARAM_FAST_MODE, &value),
                          VXM_SetParameter(matcher, VXM_PARAM_FAST_MODE, nullptr),
                          VXM_GetTemplateType(nullptr, &value),
                          VXM_GetTemplateType(matcher, nullptr),
                          VXM_SetTemplateType(nullptr, TEMPLATE_NATIVE)};
  for (const int status : statuses) EXPECT_EQ(status, VXM_ERR_INVALID_PARAMETERS);
  EXPECT_EQ(value, 1);
}

}  // namespace
