// The staged comparison of identification.
#include "identify/staged.h"

#include <gtest/gtest.h>

#include "support/known_answers.h"
#include "support/loaded_template.h"
#include "templates/turn.h"
#include "vxmkit.h"

namespace {

// Fields: type, fast mode, whether the loaded probe is turned, two templates, score.
class StagedKnownAnswerTest : public testing::TestWithParam<known::KnownAnswer> {};

TEST_P(StagedKnownAnswerTest, Holds) {
  const known::KnownAnswer& answer = GetParam();
  auto probe = Load(answer.Template(3));
  const auto candidate = Load(answer.Template(4));
  if (answer.Number(2) != 0) {
    auto turned = std::make_unique<LoadedTemplate>();
    vxm::TurnWorkspace(turned->workspace, probe->workspace);
    probe = std::move(turned);
  }
  const bool native = answer.Number(0) == TEMPLATE_NATIVE;
  const auto staged = native ? vxm::StagedCompareNative : vxm::StagedCompareStandard;
  const auto context = std::make_unique<vxm::StagedContext>();
  const auto compare = [&](int needed) {
    return staged(probe->workspace, candidate->workspace, *context, answer.Number(1) != 0, needed);
  };

  // A candidate of hardly any minutiae leaves the probe to be prepared.
  LoadedTemplate tiny;
  tiny.workspace.minutiaCount = 3;
  EXPECT_EQ(staged(probe->workspace, tiny.workspace, *context, answer.Number(1) != 0, 0), 0);
  // The second time with what the first one left: the same probe, so the same score.
  const int score = answer.Number(5);
  for (const char* time : {"fresh", "again"}) {
    SCOPED_TRACE(time);
    EXPECT_EQ(compare(0), score);
  }
  // What a search needs to know.
  for (const int needed : {30, 50, 60, 75, 120, 640, score, score + 1}) {
    EXPECT_EQ(compare(needed) >= needed, score >= needed) << needed;
  }
}

INSTANTIATE_TEST_SUITE_P(File, StagedKnownAnswerTest,
                         testing::ValuesIn(known::ReadKnownAnswers("staged")),
                         known::KnownAnswerName);

}  // namespace
