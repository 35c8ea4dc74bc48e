// Identification one candidate at a time.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "support/made_templates.h"
#include "support/matcher_calls.h"
#include "support/matcher_fixture.h"

namespace {

using calls::Answer;
using calls::IdentifyNext;
using calls::Template;
using made::Bytes;

constexpr Answer match = {VXM_OK, 0, 1};
constexpr Answer noMatch = {VXM_OK, 0, 0};
constexpr Answer refused = {VXM_ERR_TEMPLATE_TYPE, 0, -2};  // the output is not written

class IncrementalTest : public MatcherTest {
 protected:
  int Init(const Bytes& probe) {
    return VXM_IdentifyInit(matcher, probe.data(), static_cast<int>(probe.size()));
  }
};

TEST_F(IncrementalTest, NullAndNoProbe) {
  const Bytes bytes = made::Touch(TEMPLATE_NATIVE, 1, 1);
  const Template none(nullptr, 100);
  int matched = 5;
  EXPECT_EQ(IdentifyNext(matcher, none), noMatch);
  EXPECT_EQ(IdentifyNext(matcher, bytes), noMatch) << "nothing is like no probe";
  EXPECT_EQ(Init(bytes), VXM_OK);
  EXPECT_EQ(IdentifyNext(matcher, none), noMatch);
  EXPECT_EQ(IdentifyNext(matcher, bytes), match);
  EXPECT_EQ(VXM_IdentifyInit(nullptr, bytes.data(), 100), VXM_ERR_INVALID_PARAMETERS);
  EXPECT_EQ(VXM_IdentifyInit(matcher, nullptr, 100), VXM_ERR_INVALID_PARAMETERS);
  EXPECT_EQ(VXM_IdentifyNext(nullptr, nullptr, 0, &matched), VXM_ERR_INVALID_PARAMETERS);
  EXPECT_EQ(matched, 5);
  EXPECT_EQ(VXM_IdentifyNext(matcher, nullptr, 0, nullptr), VXM_ERR_INVALID_PARAMETERS);
  EXPECT_EQ(IdentifyNext(matcher, bytes), match) << "the probe is still there";
}

// What does not fit is refused, and the probe stays.
TEST_F(IncrementalTest, TypesMustFit) {
  for (const int type : made::allTypes) {
    ASSERT_EQ(VXM_SetTemplateType(matcher, type), VXM_OK);
    const Bytes probe = made::Touch(type, 1, 1);
    ASSERT_EQ(Init(probe), VXM_OK);
    for (const int other : made::allTypes) {
      SCOPED_TRACE(testing::Message() << type << ' ' << other);
      const Bytes bytes = made::Touch(other, 2, 1);
      if (other != type) {
        EXPECT_EQ(Init(bytes), VXM_ERR_TEMPLATE_TYPE);
      }
      EXPECT_EQ(IdentifyNext(matcher, bytes), other == type ? noMatch : refused);
      EXPECT_EQ(IdentifyNext(matcher, probe), match);
    }
  }
  ASSERT_EQ(VXM_SetTemplateType(matcher, TEMPLATE_NATIVE), VXM_OK);
  const Bytes broken = made::With(made::Touch(TEMPLATE_NATIVE, 1, 1), 1, 0);
  EXPECT_EQ(Init(broken), VXM_ERR_TEMPLATE_TYPE);
  EXPECT_EQ(IdentifyNext(matcher, broken), refused);
}

// Whatever becomes of the bytes that it was loaded from, by either call.
TEST_F(IncrementalTest, TheProbeOutlivesItsBytes) {
  const Bytes candidate = made::Touch(TEMPLATE_NATIVE, 1, 2);
  auto probe = std::make_unique<Bytes>(made::Touch(TEMPLATE_NATIVE, 1, 1));
  ASSERT_EQ(Init(*probe), VXM_OK);
  probe = std::make_unique<Bytes>(made::Touch(TEMPLATE_NATIVE, 1, 3));
  EXPECT_EQ(IdentifyNext(matcher, candidate), match);
  EXPECT_EQ(calls::Verify(matcher, *probe, candidate).status, VXM_OK);
  std::fill(probe->begin(), probe->end(), uint8_t{127});
  EXPECT_EQ(IdentifyNext(matcher, candidate), match);
  probe.reset();
  EXPECT_EQ(IdentifyNext(matcher, candidate), match);
}

// Candidates in a row, with the fast mode changed between them, are decided as
// each would be alone with a new probe.
TEST_F(IncrementalTest, EachCandidateIsDecidedAsIfAlone) {
  calls::Set(matcher, VXM_PARAM_SECURITY_LEVEL, 1);
  for (const int type : made::allTypes) {
    ASSERT_EQ(VXM_SetTemplateType(matcher, type), VXM_OK);
    for (const int retry : {0, 1}) {
      calls::Set(matcher, VXM_PARAM_RETRY_TURNED, retry);
      const Bytes probe = retry != 0 ? made::TurnedTouch(type, 3, 1) : made::Touch(type, 3, 1);
      std::vector<Bytes> candidates = {made::Encode(made::Plain(9, 9, {made::At(9, 9)}), type)};
      for (uint64_t finger = 0; finger < 12; finger++) {
        candidates.push_back(made::Touch(type, finger % 6, finger));
      }
      const auto inFastMode = [](size_t i) { return i % 5 < 2 ? 1 : 0; };
      std::vector<Answer> alone;
      for (size_t i = 0; i < candidates.size(); i++) {
        calls::Set(matcher, VXM_PARAM_FAST_MODE, inFastMode(i));
        ASSERT_EQ(Init(probe), VXM_OK);
        alone.push_back(IdentifyNext(matcher, candidates[i]));
      }
      std::vector<Answer> inARow;
      ASSERT_EQ(Init(probe), VXM_OK);
      for (size_t i = 0; i < candidates.size(); i++) {
        calls::Set(matcher, VXM_PARAM_FAST_MODE, inFastMode(i));
        inARow.push_back(IdentifyNext(matcher, candidates[i]));
      }
      EXPECT_EQ(inARow, alone) << type << ' ' << retry;
      EXPECT_EQ(alone[4], match);
    }
  }
}

}  // namespace
