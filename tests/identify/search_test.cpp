// Every search decides as the score of the staged comparison says.
#include "identify/search.h"

#include <gtest/gtest.h>

#include <memory>

#include "identify/staged.h"
#include "support/loaded_template.h"
#include "support/made_templates.h"
#include "support/matcher_calls.h"
#include "support/matcher_fixture.h"
#include "templates/turn.h"

namespace {

using made::Bytes;

constexpr int nativeThresholds[] = {40, 85, 150, 240, 350, 480, 640};
constexpr int standardThresholds[] = {75, 120, 185, 290, 380, 470, 560};

// Of the probe as it is and turned, against the candidate.
struct Scores {
  int upright, turned;

  bool Reach(int threshold, bool retry) const {
    return upright >= threshold || (retry && turned >= threshold);
  }
};

Scores ScoresBy(decltype(&vxm::StagedCompareNative) compare, bool fastMode, const Bytes& probe,
                const Bytes& candidate) {
  const auto upright = Load(probe);
  const auto reference = Load(candidate);
  const auto turned = std::make_unique<LoadedTemplate>();
  vxm::TurnWorkspace(turned->workspace, upright->workspace);
  const auto score = [&](const LoadedTemplate& one) {
    const auto context = std::make_unique<vxm::StagedContext>();
    return compare(one.workspace, reference->workspace, *context, fastMode, 0);
  };
  return {score(*upright), score(*turned)};
}

class SearchTest : public MatcherTest {
 protected:
  void ExpectDecisions(int type, bool fastMode, const Bytes& probe, const Bytes& candidate) {
    const bool native = type == TEMPLATE_NATIVE;
    // One candidate at a time every format is compared and decided as native.
    const Scores oneByOne = ScoresBy(vxm::StagedCompareNative, fastMode, probe, candidate);
    const Scores together =
        native ? oneByOne : ScoresBy(vxm::StagedCompareStandard, fastMode, probe, candidate);
    calls::Set(matcher, VXM_PARAM_FAST_MODE, fastMode);
    for (int level = 1; level <= 7; level++) {
      for (const bool retry : {false, true}) {
        SCOPED_TRACE(testing::Message()
                     << type << " level " << level << " retry " << retry << " scores "
                     << together.upright << ' ' << together.turned);
        calls::Set(matcher, VXM_PARAM_SECURITY_LEVEL, level);
        calls::Set(matcher, VXM_PARAM_RETRY_TURNED, retry);
        const int threshold = (native ? nativeThresholds : standardThresholds)[level - 1];
        for (const calls::IdentifyForm& form : calls::identifyForms) {
          EXPECT_EQ(calls::Identify(form, matcher, probe, {candidate}).output,
                    together.Reach(threshold, retry) ? 0 : -1)
              << form.name;
        }
        const int size = static_cast<int>(probe.size());
        ASSERT_EQ(VXM_IdentifyInit(matcher, probe.data(), size), VXM_OK);
        EXPECT_EQ(calls::IdentifyNext(matcher, candidate).output,
                  oneByOne.Reach(nativeThresholds[level - 1], retry));
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
      const Bytes candidate = made::Touch(type, finger, 2, poor);
      for (const Bytes& probe :
           {made::Touch(type, finger, 1, poor), made::TurnedTouch(type, finger, 1)}) {
        ExpectDecisions(type, finger % 2 == 0, probe, candidate);
      }
    }
  }
}

}  // namespace
