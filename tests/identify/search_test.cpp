// Every search decides as the score of the staged comparison says.
#include "identify/search.h"

#include <gtest/gtest.h>

#include <memory>

#include "identify/staged.h"
#include "support/made_templates.h"
#include "support/matcher_calls.h"
#include "support/matcher_fixture.h"
#include "templates/load.h"
#include "templates/turn.h"

namespace {

using made::Bytes;

constexpr int nativeThresholds[] = {40, 85, 150, 240, 350, 480, 640};
constexpr int standardThresholds[] = {75, 120, 185, 290, 380, 470, 560};

std::unique_ptr<vxm::MatchWorkspace> Load(const Bytes& bytes) {
  auto workspace = std::make_unique<vxm::MatchWorkspace>();
  const int size = static_cast<int>(bytes.size());
  uint8_t attribute = 0;
  EXPECT_EQ(vxm::LoadTemplate(vxm::RecogniseFormat(bytes.data(), size), bytes.data(), size,
                              *workspace, attribute),
            vxm::LoadOutcome::loaded);
  return workspace;
}

int Score(decltype(&vxm::StagedCompareNative) compare, const vxm::MatchWorkspace& probe,
          const vxm::MatchWorkspace& candidate, bool fastMode) {
  const auto context = std::make_unique<vxm::StagedContext>();
  return compare(probe, candidate, *context, fastMode, 0);
}

class SearchTest : public MatcherTest {
 protected:
  void ExpectDecisionsBy(int type, bool fastMode, const Bytes& probe, const Bytes& candidate) {
    const bool native = type == TEMPLATE_NATIVE;
    const auto compare = native ? vxm::StagedCompareNative : vxm::StagedCompareStandard;
    const auto upright = Load(probe);
    const auto reference = Load(candidate);
    const auto turned = std::make_unique<vxm::MatchWorkspace>();
    vxm::TurnWorkspace(*turned, *upright);
    const int scores[] = {Score(compare, *upright, *reference, fastMode),
                          Score(compare, *turned, *reference, fastMode)};
    // One candidate at a time every format is compared and decided as native.
    const int nativeScores[] = {Score(vxm::StagedCompareNative, *upright, *reference, fastMode),
                                Score(vxm::StagedCompareNative, *turned, *reference, fastMode)};
    for (int level = 1; level <= 7; level++) {
      for (const bool retry : {false, true}) {
        SCOPED_TRACE(testing::Message() << type << " level " << level << " retry " << retry
                                        << " scores " << scores[0] << ' ' << scores[1]);
        calls::Set(matcher, VXM_PARAM_SECURITY_LEVEL, level);
        calls::Set(matcher, VXM_PARAM_RETRY_TURNED, retry);
        const int threshold = (native ? nativeThresholds : standardThresholds)[level - 1];
        const bool found = scores[0] >= threshold || (retry && scores[1] >= threshold);
        for (const calls::IdentifyForm& form : calls::identifyForms) {
          EXPECT_EQ(calls::Identify(form, matcher, probe, {candidate}).output, found ? 0 : -1)
              << form.name;
        }
        const int nativeThreshold = nativeThresholds[level - 1];
        const bool matched =
            nativeScores[0] >= nativeThreshold || (retry && nativeScores[1] >= nativeThreshold);
        const int size = static_cast<int>(probe.size());
        ASSERT_EQ(VXM_IdentifyInit(matcher, probe.data(), size), VXM_OK);
        EXPECT_EQ(calls::IdentifyNext(matcher, candidate).output, matched ? 1 : 0);
      }
    }
  }
};

TEST_F(SearchTest, ScoreAndLevelDecide) {
  vxmsynth::ImpressionSettings poor;  // scores near the thresholds
  poor.areaPercent = 70;
  poor.lostPercent = 25;
  for (const int type : made::allTypes) {
    ASSERT_EQ(VXM_SetTemplateType(matcher, type), VXM_OK);
    for (uint64_t finger = 0; finger < 5; finger++) {
      const bool fastMode = finger % 2 == 0;
      calls::Set(matcher, VXM_PARAM_FAST_MODE, fastMode);
      const Bytes candidate = made::Touch(type, finger, 2, poor);
      ExpectDecisionsBy(type, fastMode, made::Touch(type, finger, 1, poor), candidate);
      ExpectDecisionsBy(type, fastMode, made::TurnedTouch(type, finger, 1), candidate);
    }
  }
}

}  // namespace
