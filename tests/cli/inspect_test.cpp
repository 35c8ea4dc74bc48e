// The program's own reading of templates against the library's: whatever
// happens to the bytes, both must find them valid or both not.
#include "inspect.h"

#include <gtest/gtest.h>

#include "random.h"
#include "synth.h"
#include "vxmkit.h"

namespace {

// What the library makes of a template compared with itself.
struct Answer {
  bool taken;
  float score;
};

Answer AskLibrary(MatcherHandle matcher, const Bytes& bytes, Format format) {
  VXM_SetTemplateType(matcher, TypeOf(format));
  int verified = 0;
  float score = 0;
  const int size = static_cast<int>(bytes.size());
  const int status =
      VXM_VerifyEx(matcher, bytes.data(), size, bytes.data(), size, &score, &verified);
  return {status == VXM_OK, score};
}

TEST(Inspect, AgreesWithTheLibraryOnDamagedTemplates) {
  MatcherHandle matcher = nullptr;
  ASSERT_EQ(VXM_Create(&matcher), VXM_OK);
  const auto impression = MakeImpression(vxmsynth::MakeFinger(1), 1);
  const Bytes originals[] = {EncodeNative(impression, vxmsynth::NativeForm::fullBytes),
                             EncodeNative(impression, vxmsynth::NativeForm::shortCodes),
                             EncodeIso(impression), EncodeAnsi(impression)};
  vxmsynth::Random random(1);
  int valid = 0;
  int total = 0;
  for (const Bytes& original : originals) {
    for (int i = 0; i < 1500; ++i) {
      Bytes bytes = original;
      // Header bytes, minutiae, and the end of the file.
      const int last = random.Chance(70) ? 31 : 100;
      bytes[static_cast<size_t>(random.Between(0, last))] =
          static_cast<uint8_t>(random.Between(0, 255));
      if (random.Chance(40)) {
        bytes.resize(bytes.size() + static_cast<size_t>(random.Between(0, 20)) - 10);
      }
      const Inspection found = Inspect(bytes);
      const Answer answer = AskLibrary(matcher, bytes, found.format);
      EXPECT_EQ(found.fault.empty(), answer.taken) << found.fault;
      EXPECT_TRUE(Unmatchable(found).empty() || answer.score == 0);
      valid += found.fault.empty();
      ++total;
    }
  }
  // Enough of both kinds to mean something.
  EXPECT_GT(valid, total / 5);
  EXPECT_LT(valid, total * 4 / 5);
  VXM_Delete(matcher);
}

}  // namespace
