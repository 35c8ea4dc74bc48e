// The half turn of a stored template.
#include <gtest/gtest.h>

#include "support/known_answers.h"
#include "support/matcher_fixture.h"

namespace {

// Fields: size of the buffer, template at its begin, status, buffer afterwards.
class RotationKnownAnswerTest : public MatcherTest,
                                public testing::WithParamInterface<known::KnownAnswer> {};

TEST_P(RotationKnownAnswerTest, Holds) {
  const known::KnownAnswer& answer = GetParam();
  known::Bytes buffer = answer.Template(1);
  ASSERT_EQ(buffer.size(), static_cast<size_t>(answer.Number(0)));
  EXPECT_EQ(VXM_RotateTemplate(matcher, buffer.data(), answer.Number(0)), answer.Number(2));
  EXPECT_EQ(buffer, answer.Template(3));
}

INSTANTIATE_TEST_SUITE_P(File, RotationKnownAnswerTest,
                         testing::ValuesIn(known::ReadKnownAnswers("rotate")),
                         known::KnownAnswerName);

}  // namespace
