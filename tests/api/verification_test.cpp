// One-to-one comparison.
#include <gtest/gtest.h>

#include <cmath>

#include "support/known_answers.h"
#include "support/matcher_fixture.h"

namespace {

// Fields: type, level, retry, two templates, status, score, decision.
class VerificationKnownAnswerTest : public MatcherTest,
                                    public testing::WithParamInterface<known::KnownAnswer> {};

TEST_P(VerificationKnownAnswerTest, Holds) {
  const known::KnownAnswer& answer = GetParam();
  const int level = answer.Number(1);
  const int retry = answer.Number(2);
  const known::Bytes a = answer.Template(3);
  const known::Bytes b = answer.Template(4);
  const int status = answer.Number(5);
  ASSERT_EQ(VXM_SetTemplateType(matcher, answer.Number(0)), VXM_OK);
  ASSERT_EQ(VXM_SetParameter(matcher, VXM_PARAM_SECURITY_LEVEL, &level), VXM_OK);
  ASSERT_EQ(VXM_SetParameter(matcher, VXM_PARAM_RETRY_TURNED, &retry), VXM_OK);

  // Outputs are written also by a call that fails.
  float score = -1.0f;
  int verified = -1;
  EXPECT_EQ(VXM_VerifyEx(matcher, a.data(), static_cast<int>(a.size()), b.data(),
                         static_cast<int>(b.size()), &score, &verified),
            status);
  EXPECT_EQ(std::lround(score * 10000.0f), answer.Number(6));
  EXPECT_EQ(verified, answer.Number(7));

  verified = -1;
  EXPECT_EQ(VXM_Verify(matcher, a.data(), static_cast<int>(a.size()), b.data(),
                       static_cast<int>(b.size()), &verified),
            status);
  EXPECT_EQ(verified, answer.Number(7));
}

INSTANTIATE_TEST_SUITE_P(File, VerificationKnownAnswerTest,
                         testing::ValuesIn(known::ReadKnownAnswers("verify")),
                         known::KnownAnswerName);

}  // namespace
