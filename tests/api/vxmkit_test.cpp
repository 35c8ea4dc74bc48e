// What holds for every function of the interface.
//
// Any bytes of any size may be handed in: every call sees every length of good
// and of lying templates twice, at the end of memory that may be touched, and
// with other bytes behind, which must make no difference.
#include <gtest/gtest.h>

#include <climits>
#include <random>

#include "support/guarded_buffer.h"
#include "support/made_templates.h"
#include "support/matcher_calls.h"
#include "support/matcher_fixture.h"

namespace {

using calls::Answer;
using calls::Template;
using made::At;
using made::Bytes;
using made::FieldAt;
using made::With;
using made::With16;

using HostileBytesTest = MatcherTest;

// Some on the edges, which a turn puts beyond the grid.
vxmsynth::Impression Small() {
  const made::Minutiae minutiae = {At(20, 20, 30),  At(50, 30, 80),  At(70, 25, 140),
                                   At(60, 60, 200), At(30, 70, 250), At(15, 50, 320),
                                   At(0, 45, 100),  At(45, 0, 300)};
  return made::Plain(6, 6, minutiae);
}

Bytes SmallTemplate(int type) { return made::Encode(Small(), type); }

// Counts and lengths that promise more, or less, than there is.
std::vector<Bytes> Variants(int type) {
  const Bytes good = SmallTemplate(type);
  if (type == TEMPLATE_NATIVE) {
    return {good, With(good, 1, 200), With(good, 2, 63), With(good, 0, 0x44)};
  }
  const size_t extended = good.size() - 7;
  const size_t count = FieldAt(type, 27);
  return {good,
          With(good, count, 255),
          With(good, count, 3),  // the next minutia becomes the extended data
          With16(good, 8, 0xFFFF),
          With16(good, extended, 0xFFFF),
          With16(good, extended + 4, 0xFFFF),
          With16(good, FieldAt(type, 14), 0)};
}

Answer Incremental(MatcherHandle matcher, Template probe, Template candidate) {
  const int status = VXM_IdentifyInit(matcher, probe.data, probe.size);
  return status != VXM_OK ? Answer{status, 0, 0} : calls::IdentifyNext(matcher, candidate);
}

// What all calls that compare answer to one template in the place of another.
std::vector<Answer> AnswersTo(MatcherHandle matcher, Template bytes, Template other) {
  std::vector<Answer> answers = {
      calls::Verify(matcher, bytes, other), calls::Verify(matcher, other, bytes),
      Incremental(matcher, bytes, other), Incremental(matcher, other, bytes)};
  for (const calls::IdentifyForm& form : calls::identifyForms) {
    if (!form.inBuffer) answers.push_back(calls::Identify(form, matcher, bytes, {other}));
    if (!form.twoThreads) answers.push_back(calls::Identify(form, matcher, other, {bytes}));
  }
  return answers;
}

TEST_F(HostileBytesTest, NothingBeyondTheSizeIsReadOrCounts) {
  calls::Set(matcher, VXM_PARAM_RETRY_TURNED, 1);
  GuardedBuffer guarded(4096);
  for (const int type : made::allTypes) {
    ASSERT_EQ(VXM_SetTemplateType(matcher, type), VXM_OK);
    const Bytes other = made::Encode(vxmsynth::TurnImpression(Small()), type);
    const std::vector<Bytes> variants = Variants(type);
    for (const Bytes& bytes : variants) {
      SCOPED_TRACE(testing::Message() << type << " variant " << &bytes - &variants[0]);
      for (size_t size = 0; size <= bytes.size(); size++) {
        const int length = static_cast<int>(size);
        Bytes followed(bytes.begin(), bytes.begin() + length);
        followed.resize(size + 3000, 0xB7);
        ASSERT_EQ(AnswersTo(matcher, {guarded.Put(bytes, size), length}, other),
                  AnswersTo(matcher, {followed.data(), length}, other))
            << "size " << size;
      }
      for (const int size : {-1, INT_MIN}) {
        ASSERT_EQ(AnswersTo(matcher, {guarded.Put(bytes, 0), size}, other),
                  AnswersTo(matcher, {bytes.data(), 0}, other))
            << "size " << size;
      }
    }
  }
}

TEST_F(HostileBytesTest, RotationStaysInItsBuffer) {
  GuardedBuffer guarded(4096);
  for (const int type : made::allTypes) {
    for (const Bytes& bytes : Variants(type)) {
      for (size_t size = 0; size <= bytes.size(); size++) {
        SCOPED_TRACE(testing::Message() << type << " size " << size);
        const int length = static_cast<int>(size);
        const Bytes before(bytes.begin(), bytes.begin() + length);
        Bytes followed = before;
        followed.resize(size + 3000, 0xB7);
        uint8_t* turned = guarded.Put(bytes, size);
        const int status = VXM_RotateTemplate(matcher, turned, length);
        const Bytes after(turned, turned + size);
        ASSERT_EQ(VXM_RotateTemplate(matcher, followed.data(), length), status);
        ASSERT_EQ(Bytes(followed.begin(), followed.begin() + length), after);
        ASSERT_EQ(Bytes(followed.begin() + length, followed.end()), Bytes(3000, 0xB7));
        ASSERT_TRUE(status == VXM_OK || (status == VXM_ERR_TEMPLATE_TYPE && after == before));
      }
      for (const int size : {-1, INT_MIN}) {
        ASSERT_EQ(VXM_RotateTemplate(matcher, guarded.Put(bytes, 0), size), VXM_ERR_TEMPLATE_TYPE);
      }
    }
  }
  EXPECT_EQ(VXM_RotateTemplate(matcher, nullptr, 100), VXM_ERR_INVALID_PARAMETERS);
  uint8_t* nothing = guarded.Put({}, 0);
  EXPECT_EQ(VXM_RotateTemplate(nullptr, nothing, 100), VXM_ERR_INVALID_PARAMETERS);
}

// What a matcher was used for before changes no answer: everything that is asked
// of a much-used matcher is asked of a new one too.
TEST(HistoryTest, AnswersDoNotDependOnIt) {
  MatcherHandle used = nullptr;
  ASSERT_EQ(VXM_Create(&used), VXM_OK);
  std::minstd_rand random(7);
  const auto draw = [&random](size_t below) { return random() / 16 % below; };
  for (int step = 0; step < 60; step++) {
    SCOPED_TRACE(step);
    MatcherHandle fresh = nullptr;
    ASSERT_EQ(VXM_Create(&fresh), VXM_OK);
    const int type = made::allTypes[draw(3)];
    const int values[] = {static_cast<int>(1 + draw(7)), draw(2) != 0, draw(2) != 0};
    for (const MatcherHandle matcher : {used, fresh}) {
      EXPECT_EQ(VXM_SetTemplateType(matcher, type), VXM_OK);
      calls::Set(matcher, VXM_PARAM_SECURITY_LEVEL, values[0]);
      calls::Set(matcher, VXM_PARAM_FAST_MODE, values[1]);
      calls::Set(matcher, VXM_PARAM_RETRY_TURNED, values[2]);
    }
    // Templates of very different sizes; now and then one that hardly is one.
    vxmsynth::ImpressionSettings settings;
    settings.gridWidth = static_cast<int>(3 + draw(30));
    const uint64_t finger = draw(20);
    const Bytes a = made::Touch(type, finger, draw(3));
    const Bytes b = draw(6) == 0 ? SmallTemplate(made::allTypes[draw(3)])
                                 : made::Touch(type, finger, 5, settings);
    EXPECT_EQ(AnswersTo(used, a, b), AnswersTo(fresh, a, b));
    EXPECT_EQ(VXM_Delete(fresh), VXM_OK);
  }
  EXPECT_EQ(VXM_Delete(used), VXM_OK);
}

}  // namespace
