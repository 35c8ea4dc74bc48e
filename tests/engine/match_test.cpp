// The engine's comparison: its score and the alignment that it rests on.
#include "engine/match.h"

#include <gtest/gtest.h>

#include "support/known_answers.h"
#include "support/loaded_template.h"
#include "vxmkit.h"

namespace {

// Fields: type, two templates, score, rotation, dx, dy, the seeds' probe
// minutiae, overlap; those after the score hold only when it is above 0.
class MatchKnownAnswerTest : public testing::TestWithParam<known::KnownAnswer> {};

TEST_P(MatchKnownAnswerTest, Holds) {
  const known::KnownAnswer& answer = GetParam();
  const auto probe = Load(answer.Template(1));
  const auto reference = Load(answer.Template(2));
  const bool native = answer.Number(0) == TEMPLATE_NATIVE;
  const auto match = native ? vxm::MatchNative : vxm::MatchStandard;
  const auto context = std::make_unique<vxm::OwnContext>();
  vxm::MatchResult result = {};

  ASSERT_EQ(match(probe->workspace, reference->workspace, context->context, result, true),
            answer.Number(3));
  if (answer.Number(3) == 0) return;
  EXPECT_EQ(result.rotation, answer.Number(4));
  EXPECT_EQ(result.dx, answer.Number(5));
  EXPECT_EQ(result.dy, answer.Number(6));
  EXPECT_EQ(result.seedProbeA, answer.Number(7));
  EXPECT_EQ(result.seedProbeB, answer.Number(8));
  EXPECT_EQ(result.overlap, answer.Number(9));
}

INSTANTIATE_TEST_SUITE_P(File, MatchKnownAnswerTest,
                         testing::ValuesIn(known::ReadKnownAnswers("compare")),
                         known::KnownAnswerName);

}  // namespace
