// The staged comparison of identification.
#include "identify/staged.h"

#include <gtest/gtest.h>

#include "support/loaded_template.h"
#include "templates/turn.h"

namespace {

// Fields: type, fast mode, whether the loaded probe is turned, two templates, score.
class StagedKnownAnswerTest : public testing::TestWithParam<known::KnownAnswer> {};

TEST_P(StagedKnownAnswerTest, Holds) {
  const known::KnownAnswer& answer = GetParam();
  const int type = answer.Number(0);
  auto probe = known::LoadedTemplate(answer, type, 3);
  const auto candidate = known::LoadedTemplate(answer, type, 4);
  if (answer.Number(2) != 0) {
    auto turned = std::make_unique<vxm::MatchWorkspace>();
    vxm::TurnWorkspace(*turned, *probe);
    probe = std::move(turned);
  }
  const auto compare =
      type == known::nativeType ? vxm::StagedCompareNative : vxm::StagedCompareStandard;
  const auto context = std::make_unique<vxm::StagedContext>();
  const bool fastMode = answer.Number(1) != 0;

  // The second time with what the first one left: the same probe, so the same score.
  for (const char* time : {"fresh", "again"}) {
    SCOPED_TRACE(time);
    EXPECT_EQ(compare(*probe, *candidate, *context, fastMode, 0), answer.Number(5));
  }
  // What a search needs to know.
  for (const int needed : {30, 50, 60, 75, 120, 640}) {
    EXPECT_EQ(compare(*probe, *candidate, *context, fastMode, needed) >= needed,
              answer.Number(5) >= needed)
        << needed;
  }
}

INSTANTIATE_TEST_SUITE_P(File, StagedKnownAnswerTest,
                         testing::ValuesIn(known::ReadKnownAnswers("staged")),
                         known::KnownAnswerName);

}  // namespace
