// The half turn of a stored template.
#include <gtest/gtest.h>

#include <algorithm>

#include "support/known_answers.h"
#include "support/made_templates.h"
#include "support/matcher_fixture.h"

namespace {

using made::At;
using made::Bytes;

using RotationTest = MatcherTest;

// Of a record only what it fills is written; nothing where not even one without
// minutiae fits. The resolution is the source's or, of ANSI records, the usual one.
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
      source[iso ? 19 : 21] = 100;
      source.resize(size, 0xEE);
      Bytes turned = source;
      EXPECT_EQ(VXM_RotateTemplate(matcher, turned.data(), static_cast<int>(size)), VXM_OK);
      const size_t kept = size < empty ? 0 : std::min<size_t>(2, (size - empty) / 6);
      const size_t length = size < empty ? 0 : empty + 6 * kept;
      if (length != 0) {
        EXPECT_EQ(turned[iso ? 27 : 29], kept);
        EXPECT_EQ(turned[iso ? 11 : 9], length);
        EXPECT_EQ(turned[iso ? 19 : 21], iso ? 100 : 197);
      }
      EXPECT_TRUE(std::equal(turned.begin() + static_cast<int>(length), turned.end(),
                             source.begin() + static_cast<int>(length)));
    }
  }
}

// Fields: size of the buffer, template at its begin, status, buffer afterwards.
class RotationKnownAnswerTest : public MatcherTest,
                                public testing::WithParamInterface<known::KnownAnswer> {};

TEST_P(RotationKnownAnswerTest, Holds) {
  const known::KnownAnswer& answer = GetParam();
  const Bytes source = answer.Template(1);
  ASSERT_EQ(source.size(), static_cast<size_t>(answer.Number(0)));
  for (const int type : made::allTypes) {  // plays no part
    ASSERT_EQ(VXM_SetTemplateType(matcher, type), VXM_OK);
    Bytes buffer = source;
    EXPECT_EQ(VXM_RotateTemplate(matcher, buffer.data(), answer.Number(0)), answer.Number(2));
    EXPECT_EQ(buffer, answer.Template(3));
  }
}

INSTANTIATE_TEST_SUITE_P(File, RotationKnownAnswerTest,
                         testing::ValuesIn(known::ReadKnownAnswers("rotate")),
                         known::KnownAnswerName);

}  // namespace
