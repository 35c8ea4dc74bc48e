// One-to-one comparison.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <future>

#include "support/known_answers.h"
#include "support/made_templates.h"
#include "support/matcher_calls.h"
#include "support/matcher_fixture.h"

namespace {

using calls::Answer;
using calls::Verify;
using made::At;
using made::Bytes;

class VerificationTest : public MatcherTest {
 protected:
  // Ends the program when another matcher on another thread cannot verify.
  static void ExpectLockFree() {
    auto done = std::async(std::launch::async, [] {
      MatcherHandle other = nullptr;
      EXPECT_EQ(VXM_Create(&other), VXM_OK);
      EXPECT_EQ(calls::Verify(other, Bytes(1), Bytes(1)).status, VXM_ERR_INVALID_PARAMETERS);
      EXPECT_EQ(VXM_Delete(other), VXM_OK);
    });
    if (done.wait_for(std::chrono::seconds(60)) != std::future_status::ready) std::abort();
  }
};

// For each type of matcher every pair of these: what decides first is told by
// the worst of the two.
TEST_F(VerificationTest, TypeAndStateOfBothTemplatesDecideTheStatus) {
  const Bytes native = made::Touch(TEMPLATE_NATIVE, 1, 1);
  const Bytes iso = made::Touch(TEMPLATE_ISO19794_2, 1, 1);
  const Bytes ansi = made::Touch(TEMPLATE_ANSI378, 1, 1);
  const struct {
    int type;
    int status;  // on a matcher of that type
    Bytes bytes;
  } templates[] = {
      {TEMPLATE_NATIVE, VXM_OK, native},
      {TEMPLATE_NATIVE, VXM_ERR_INVALID_PARAMETERS, made::With(native, 1, 0)},
      {TEMPLATE_ISO19794_2, VXM_OK, iso},
      {TEMPLATE_ISO19794_2, VXM_ERR_DATA_CORRUPTED, made::With(iso, 27, 201)},
      {TEMPLATE_ANSI378, VXM_OK, ansi},
      {TEMPLATE_ANSI378, VXM_ERR_DATA_CORRUPTED, made::With(ansi, 29, 201)},
  };
  for (const int type : {2001, 2002, 2003, 0, 1234}) {
    ASSERT_EQ(VXM_SetTemplateType(matcher, type), VXM_OK);
    for (const auto& a : templates) {
      for (const auto& b : templates) {
        SCOPED_TRACE(testing::Message() << type << ": " << a.type << ' ' << a.status << ", "
                                        << b.type << ' ' << b.status);
        const bool fits = a.type == type && b.type == type;
        const int worst = a.status != VXM_OK ? a.status : b.status;
        const Answer answer = Verify(matcher, a.bytes, b.bytes);
        EXPECT_EQ(answer.status, fits ? worst : VXM_ERR_TEMPLATE_TYPE);
        EXPECT_EQ(answer.output, answer.status == VXM_OK ? 1 : 0);
        EXPECT_EQ(answer.score > 0, answer.status == VXM_OK);
      }
    }
    ExpectLockFree();
  }
}

// What is left of a cut template is one of its format still, but no good one.
TEST_F(VerificationTest, EveryCutIsRefusedAsABadTemplateOfItsType) {
  const made::Minutiae minutiae = {At(20, 20), At(90, 30), At(40, 90), At(100, 110)};
  for (const int type : made::allTypes) {
    ASSERT_EQ(VXM_SetTemplateType(matcher, type), VXM_OK);
    const Bytes whole = made::Encode(made::Plain(8, 8, minutiae), type);
    const Answer refused = {
        type == TEMPLATE_NATIVE ? VXM_ERR_INVALID_PARAMETERS : VXM_ERR_DATA_CORRUPTED, 0, 0};
    for (int size = -2; size < static_cast<int>(whole.size()); size++) {
      SCOPED_TRACE(testing::Message() << type << " size " << size);
      EXPECT_EQ(Verify(matcher, {whole.data(), size}, whole), refused);
      EXPECT_EQ(Verify(matcher, whole, {whole.data(), size}), refused);
    }
  }
}

TEST_F(VerificationTest, NullIsRefusedAndClearsTheOutputs) {
  const Bytes bytes = made::Touch(TEMPLATE_NATIVE, 1, 1);
  const int size = static_cast<int>(bytes.size());
  for (int missing = 0; missing < 5; missing++) {
    SCOPED_TRACE(missing);
    float score = 0.5f;
    int verified = 7;
    MatcherHandle handle = missing == 0 ? nullptr : matcher;
    const uint8_t* a = missing == 1 ? nullptr : bytes.data();
    const uint8_t* b = missing == 2 ? nullptr : bytes.data();
    float* scoreOut = missing == 3 ? nullptr : &score;
    int* verifiedOut = missing == 4 ? nullptr : &verified;
    EXPECT_EQ(VXM_VerifyEx(handle, a, size, b, size, scoreOut, verifiedOut),
              VXM_ERR_INVALID_PARAMETERS);
    EXPECT_EQ(score, missing == 3 ? 0.5f : 0.0f);
    EXPECT_EQ(verified, missing == 4 ? 7 : 0);
    verified = 7;
    EXPECT_EQ(VXM_Verify(handle, a, size, b, size, verifiedOut),
              missing == 3 ? VXM_OK : VXM_ERR_INVALID_PARAMETERS);
    EXPECT_EQ(verified, missing == 4 ? 7 : missing == 3 ? 1 : 0);
  }
  ExpectLockFree();
}

TEST_F(VerificationTest, FewerThanFourMinutiaeScoreNothing) {
  calls::Set(matcher, VXM_PARAM_SECURITY_LEVEL, 1);
  const made::Minutiae minutiae = {At(20, 20), At(90, 30), At(40, 90), At(100, 110)};
  for (const int type : made::allTypes) {
    ASSERT_EQ(VXM_SetTemplateType(matcher, type), VXM_OK);
    const Bytes four = made::Encode(made::Plain(8, 8, minutiae), type);
    const Bytes three =
        made::Encode(made::Plain(8, 8, {minutiae.begin(), minutiae.begin() + 3}), type);
    EXPECT_GT(Verify(matcher, four, four).score, 0) << type;
    EXPECT_EQ(calls::Identify(calls::identifyForms[0], matcher, four, {three, four}).output, 1);
    for (const auto& [a, b] : {std::pair(three, three), {three, four}, {four, three}}) {
      EXPECT_EQ(Verify(matcher, a, b), (Answer{VXM_OK, 0, 0})) << type;
    }
  }
}

// The retry compares the turned first template too and takes the better score.
TEST_F(VerificationTest, RetryTakesTheBetterOfTwo) {
  for (uint64_t finger = 0; finger < 6; finger++) {
    SCOPED_TRACE(finger);
    const Bytes upright = made::Touch(TEMPLATE_NATIVE, finger, 1);
    const Bytes other = made::Touch(TEMPLATE_NATIVE, finger, 2);
    Bytes turned = upright;
    ASSERT_EQ(VXM_RotateTemplate(matcher, turned.data(), static_cast<int>(turned.size())), VXM_OK);
    calls::Set(matcher, VXM_PARAM_RETRY_TURNED, 0);
    const Answer good = Verify(matcher, upright, other);
    const Answer bad = Verify(matcher, turned, other);
    EXPECT_EQ(good.output, 1);
    EXPECT_EQ(bad.output, 0);
    calls::Set(matcher, VXM_PARAM_RETRY_TURNED, 1);
    EXPECT_EQ(Verify(matcher, turned, other), good);
    EXPECT_EQ(Verify(matcher, upright, other), good);
  }
}

// A finger overlaid with part of itself the other way up: it matches as it is, so
// that the better score of the turned comparison is never asked for.
TEST_F(VerificationTest, RetryFollowsOnlyAFailure) {
  ASSERT_EQ(VXM_SetTemplateType(matcher, TEMPLATE_ANSI378), VXM_OK);
  calls::Set(matcher, VXM_PARAM_SECURITY_LEVEL, 1);
  const auto whole = vxmsynth::MakeImpression(vxmsynth::MakeFinger(1), 1);
  const auto overlaid = [&](bool turn) {
    auto upright = whole.minutiae;
    auto turned = vxmsynth::TurnImpression(whole).minutiae;
    if (turn) std::swap(upright, turned);
    upright.resize(20);
    turned.insert(turned.end(), upright.begin(), upright.end());
    return made::Encode(made::Plain(whole.gridWidth, whole.gridHeight, turned), TEMPLATE_ANSI378);
  };
  const Bytes finger = made::Encode(whole, TEMPLATE_ANSI378);
  const Answer partly = Verify(matcher, overlaid(false), finger);
  EXPECT_EQ(partly.output, 1);
  EXPECT_GT(Verify(matcher, overlaid(true), finger).score, partly.score);
  calls::Set(matcher, VXM_PARAM_RETRY_TURNED, 1);
  EXPECT_EQ(Verify(matcher, overlaid(false), finger), partly);
}

// Fields: type, level, retry, two templates, status, score, decision.
class VerificationKnownAnswerTest : public MatcherTest,
                                    public testing::WithParamInterface<known::KnownAnswer> {};

TEST_P(VerificationKnownAnswerTest, Holds) {
  const known::KnownAnswer& answer = GetParam();
  const Bytes a = answer.Template(3);
  const Bytes b = answer.Template(4);
  const Answer expected = {answer.Number(5), answer.Number(6), answer.Number(7)};
  ASSERT_EQ(VXM_SetTemplateType(matcher, answer.Number(0)), VXM_OK);
  calls::Set(matcher, VXM_PARAM_SECURITY_LEVEL, answer.Number(1));
  calls::Set(matcher, VXM_PARAM_RETRY_TURNED, answer.Number(2));
  EXPECT_EQ(Verify(matcher, a, b), expected);

  int verified = -1;
  EXPECT_EQ(VXM_Verify(matcher, a.data(), static_cast<int>(a.size()), b.data(),
                       static_cast<int>(b.size()), &verified),
            expected.status);
  EXPECT_EQ(verified, expected.output);
}

INSTANTIATE_TEST_SUITE_P(File, VerificationKnownAnswerTest,
                         testing::ValuesIn(known::ReadKnownAnswers("verify")),
                         known::KnownAnswerName);

}  // namespace
