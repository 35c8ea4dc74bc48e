// The half turn of a stored template.
#include <gtest/gtest.h>

#include <climits>

#include "support/known_answers.h"
#include "support/made_templates.h"
#include "support/matcher_fixture.h"

namespace {

using made::At;
using made::Bytes;

class RotationTest : public MatcherTest {
 protected:
  // Turned in a buffer of `size` bytes with 50 more behind it that must not change.
  Bytes Turned(Bytes bytes, size_t size) {
    bytes.resize(size, 0xEE);
    bytes.resize(size + 50, 0xEE);
    EXPECT_EQ(VXM_RotateTemplate(matcher, bytes.data(), static_cast<int>(size)), VXM_OK);
    EXPECT_EQ(Bytes(bytes.end() - 50, bytes.end()), Bytes(50, 0xEE));
    bytes.resize(size);
    return bytes;
  }
};

TEST_F(RotationTest, WhatIsNoTemplateStaysAsItWas) {
  const Bytes good = made::Touch(TEMPLATE_NATIVE, 1, 1);
  const struct {
    Bytes bytes;
    int size;
  } cases[] = {
      {made::With(good, 1, 0), static_cast<int>(good.size())},
      {good, static_cast<int>(good.size()) - 1},
      {good, 0},
      {good, INT_MIN},
  };
  for (const auto& c : cases) {
    Bytes buffer = c.bytes;
    EXPECT_EQ(VXM_RotateTemplate(matcher, buffer.data(), c.size), VXM_ERR_TEMPLATE_TYPE) << c.size;
    EXPECT_EQ(buffer, c.bytes) << c.size;
  }
  Bytes buffer = good;
  EXPECT_EQ(VXM_RotateTemplate(nullptr, buffer.data(), 100), VXM_ERR_INVALID_PARAMETERS);
  EXPECT_EQ(VXM_RotateTemplate(matcher, nullptr, 100), VXM_ERR_INVALID_PARAMETERS);
  EXPECT_EQ(buffer, good);
}

// A minutia on the left or top edge comes to lie beyond the grid and is pulled
// back by a pixel.
TEST_F(RotationTest, TwiceGivesNativeMinutiaeBackButForTheEdge) {
  const Bytes source = vxmsynth::EncodeNative(
      made::Plain(4, 4, {At(0, 5, 359), At(6, 0, 1), At(63, 63, 180), At(1, 1, 90)}));
  const Bytes expected = vxmsynth::EncodeNative(
      made::Plain(4, 4, {At(1, 5, 359), At(6, 1, 1), At(63, 63, 180), At(1, 1, 90)}));
  EXPECT_EQ(Turned(Turned(source, source.size()), source.size()), expected);
}

// Of a record only what it fills is written; nothing where not even one without
// minutiae fits.
TEST_F(RotationTest, RecordsKeepTheMinutiaeThatFit) {
  const Bytes records[] = {vxmsynth::EncodeIso(made::Plain(9, 9, {At(30, 30), At(60, 60)}),
                                               vxmsynth::AttributePlace::none),
                           vxmsynth::EncodeAnsi(made::Plain(9, 9, {At(30, 30), At(60, 60)}),
                                                vxmsynth::AttributePlace::none)};
  for (const Bytes& record : records) {
    const bool iso = &record == &records[0];
    const size_t empty = iso ? 35 : 37;
    for (size_t size = 10; size < empty + 20; size++) {
      SCOPED_TRACE(testing::Message() << (iso ? "ISO " : "ANSI ") << size);
      Bytes source = record;
      source.resize(size, 0xEE);
      const Bytes turned = Turned(source, size);
      const size_t kept = size < empty ? 0 : std::min<size_t>(2, (size - empty) / 6);
      const size_t length = size < empty ? 0 : empty + 6 * kept;
      if (length != 0) {
        EXPECT_EQ(turned[iso ? 27 : 29], kept);
        EXPECT_EQ(turned[iso ? 11 : 9], length);
      }
      EXPECT_TRUE(std::equal(turned.begin() + static_cast<int>(length), turned.end(),
                             source.begin() + static_cast<int>(length)));
    }
  }
}

TEST_F(RotationTest, TheTypeOfTheMatcherPlaysNoPart) {
  for (const int matcherType : made::allTypes) {
    ASSERT_EQ(VXM_SetTemplateType(matcher, matcherType), VXM_OK);
    for (const int type : made::allTypes) {
      const Bytes source = made::Touch(type, 1, 1);
      EXPECT_NE(Turned(source, source.size()), source) << matcherType << ' ' << type;
    }
  }
}

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
