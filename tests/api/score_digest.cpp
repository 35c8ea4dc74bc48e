// Scores and decisions over more than a hundred thousand comparisons of made
// templates, as digests that are the same on every system.
//
// Each round makes fingers of its own and compares, for each format, every
// impression with every other one: by verification, candidate by candidate and
// in one search. The rounds differ in the forms and settings used.
#include <gtest/gtest.h>

#include "support/made_templates.h"
#include "support/matcher_calls.h"
#include "support/matcher_fixture.h"

namespace {

using made::Bytes;

// A round is some 14,000 comparisons.
constexpr uint64_t knownDigests[] = {
    0xb159d7be02250028, 0x7c7c552c89d6291d, 0xff54bd454d907f31, 0x316443a2578eae2a,
    0x59bb0764f8a3dfca, 0xedb234b5e01a62ab, 0xc2646bc961034f9b, 0xa738e93426531417,
};

// FNV-1a over the numbers' bytes.
struct Digest {
  uint64_t value = 0xcbf29ce484222325;

  void Add(int number) {
    for (int shift = 0; shift < 32; shift += 8) {
      value = (value ^ (static_cast<uint32_t>(number) >> shift & 0xFF)) * 0x100000001b3;
    }
  }

  void Add(const calls::Answer& answer) {
    Add(answer.status);
    Add(answer.score);
    Add(answer.output);
  }
};

Bytes Encode(const vxmsynth::Impression& impression, int type, int variant) {
  const auto place = static_cast<vxmsynth::AttributePlace>(variant % 3);
  switch (type) {
    case TEMPLATE_ISO19794_2: return EncodeIso(impression, place);
    case TEMPLATE_ANSI378: return EncodeAnsi(impression, place);
    default: return EncodeNative(impression, static_cast<vxmsynth::NativeForm>(variant % 4));
  }
}

std::vector<Bytes> MakeTemplates(int round, int type) {
  constexpr int fingers = 12;
  constexpr int impressions = 4;
  std::vector<Bytes> templates;
  for (int f = 0; f < fingers; f++) {
    const auto seed = static_cast<uint64_t>(round * fingers + f);
    const vxmsynth::Finger finger = vxmsynth::MakeFinger(seed, f % 4 == 0 ? 25 + f : 0);
    for (int i = 0; i < impressions; i++) {
      vxmsynth::ImpressionSettings settings;
      settings.areaPercent = 100 - 10 * (f % 5);
      settings.rotation = i * 15 * round;
      vxmsynth::Impression impression = MakeImpression(finger, static_cast<uint64_t>(i), settings);
      if (i == 3 && f % 6 == 5) impression = TurnImpression(impression);
      templates.push_back(Encode(impression, type, round + f));
    }
  }
  return templates;
}

class ScoreDigestTest : public MatcherTest, public testing::WithParamInterface<int> {};

TEST_P(ScoreDigestTest, IsTheSameOnEverySystem) {
  const int round = GetParam();
  Digest digest;
  for (const int type : made::allTypes) {
    ASSERT_EQ(VXM_SetTemplateType(matcher, type), VXM_OK);
    calls::Set(matcher, VXM_PARAM_SECURITY_LEVEL, 1 + round % 7);
    calls::Set(matcher, VXM_PARAM_RETRY_TURNED, round % 4 == 3);
    const std::vector<Bytes> templates = MakeTemplates(round, type);
    for (size_t p = 0; p < templates.size(); p++) {
      const Bytes& probe = templates[p];
      calls::Set(matcher, VXM_PARAM_FAST_MODE, p % 4 != 0);
      std::vector<calls::Template> others;
      for (size_t c = 0; c < templates.size(); c++) {
        if (c == p) continue;
        others.emplace_back(templates[c]);
        digest.Add(calls::Verify(matcher, probe, templates[c]));
      }
      digest.Add(VXM_IdentifyInit(matcher, probe.data(), static_cast<int>(probe.size())));
      for (const calls::Template& other : others) {
        digest.Add(calls::IdentifyNext(matcher, other));
      }
      digest.Add(calls::Identify(calls::identifyForms[0], matcher, probe, others));
    }
  }
  EXPECT_EQ(digest.value, knownDigests[round]) << std::hex << digest.value;
}

INSTANTIATE_TEST_SUITE_P(Rounds, ScoreDigestTest, testing::Range(0, VXM_DIGEST_ROUNDS));

}  // namespace
