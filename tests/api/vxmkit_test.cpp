// What holds for every function of the interface.
//
// Any bytes of any size may be handed in: every call sees every length of good
// and of lying templates twice, at the end of memory that may be touched, and
// with other bytes behind, which must make no difference.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <functional>
#include <thread>

#include "support/guarded_buffer.h"
#include "support/made_templates.h"
#include "support/matcher_fixture.h"

namespace {

using made::At;
using made::Bytes;
using made::FieldAt;
using made::With;
using made::With16;
using Answer = std::vector<int>;

using HostileBytesTest = MatcherTest;

Bytes SmallTemplate(int type) {
  const made::Minutiae minutiae = {At(20, 20, 30),  At(50, 30, 80),  At(70, 25, 140),
                                   At(60, 60, 200), At(30, 70, 250), At(15, 50, 320)};
  return made::Encode(made::Plain(6, 6, minutiae), type);
}

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

struct Input {
  MatcherHandle matcher;
  const uint8_t* bytes;
  int size;
  const uint8_t* other;  // a good template
  int otherSize;
};

using Identify = decltype(&VXM_Identify);

Answer Verify(MatcherHandle matcher, const uint8_t* a, int sizeA, const uint8_t* b, int sizeB) {
  float score = -1.0f;
  int verified = -1;
  const int status = VXM_VerifyEx(matcher, a, sizeA, b, sizeB, &score, &verified);
  return {status, static_cast<int>(std::lround(score * 10000.0f)), verified};
}

Answer Search(Identify identify, MatcherHandle matcher, const uint8_t* probe, int probeSize,
              const uint8_t* candidate, int candidateSize) {
  int index = -2;
  const int status = identify(matcher, probe, probeSize, &candidate, &candidateSize, 1, 0, &index);
  return {status, index};
}

Answer Incremental(MatcherHandle matcher, const uint8_t* probe, int probeSize,
                   const uint8_t* candidate, int candidateSize) {
  int matched = -1;
  const int init = VXM_IdentifyInit(matcher, probe, probeSize);
  if (init != VXM_OK) return {init};
  return {init, VXM_IdentifyNext(matcher, candidate, candidateSize, &matched), matched};
}

const struct {
  const char* what;
  std::function<Answer(const Input&)> run;
} calls[] = {
    {"verify, first",
     [](const Input& in) { return Verify(in.matcher, in.bytes, in.size, in.other, in.otherSize); }},
    {"verify, second",
     [](const Input& in) { return Verify(in.matcher, in.other, in.otherSize, in.bytes, in.size); }},
    {"identify, probe",
     [](const Input& in) {
       return Search(VXM_Identify, in.matcher, in.bytes, in.size, in.other, in.otherSize);
     }},
    {"identify, candidate",
     [](const Input& in) {
       return Search(VXM_Identify, in.matcher, in.other, in.otherSize, in.bytes, in.size);
     }},
    {"identify, candidate in a buffer",
     [](const Input& in) {
       return Search(VXM_Identify_J, in.matcher, in.other, in.otherSize, in.bytes, in.size);
     }},
    {"identify with two threads, probe",
     [](const Input& in) {
       return Search(VXM_IdentifyMT, in.matcher, in.bytes, in.size, in.other, in.otherSize);
     }},
    {"incremental, probe",
     [](const Input& in) {
       return Incremental(in.matcher, in.bytes, in.size, in.other, in.otherSize);
     }},
    {"incremental, candidate",
     [](const Input& in) {
       return Incremental(in.matcher, in.other, in.otherSize, in.bytes, in.size);
     }},
};

TEST_F(HostileBytesTest, NothingBeyondTheSizeIsReadOrCounts) {
  const int on = 1;
  ASSERT_EQ(VXM_SetParameter(matcher, VXM_PARAM_RETRY_TURNED, &on), VXM_OK);
  GuardedBuffer guarded(4096);
  for (const int type : made::allTypes) {
    ASSERT_EQ(VXM_SetTemplateType(matcher, type), VXM_OK);
    const Bytes other = SmallTemplate(type);
    const auto run = [&](const auto& call, const uint8_t* bytes, int size) {
      return call.run({matcher, bytes, size, other.data(), static_cast<int>(other.size())});
    };
    size_t variant = 0;
    for (const Bytes& bytes : Variants(type)) {
      SCOPED_TRACE(testing::Message() << type << " variant " << variant++);
      for (size_t size = 0; size <= bytes.size(); size++) {
        Bytes followed(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
        followed.resize(size + 3000, 0xB7);
        for (const auto& call : calls) {
          const Answer answer = run(call, guarded.Put(bytes, size), static_cast<int>(size));
          ASSERT_EQ(answer, run(call, followed.data(), static_cast<int>(size)))
              << call.what << ", size " << size;
        }
      }
      for (const int size : {-1, INT_MIN}) {
        for (const auto& call : calls) {
          ASSERT_EQ(run(call, guarded.Put(bytes, 0), size), run(call, bytes.data(), 0))
              << call.what << ", size " << size;
        }
      }
    }
  }
}

TEST_F(HostileBytesTest, RotationStaysInItsBuffer) {
  GuardedBuffer guarded(4096);
  for (const int type : made::allTypes) {
    for (const Bytes& bytes : Variants(type)) {
      for (size_t size = 0; size <= bytes.size(); size++) {
        Bytes followed(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
        followed.resize(size + 3000, 0xB7);
        uint8_t* turned = guarded.Put(bytes, size);
        const int status = VXM_RotateTemplate(matcher, turned, static_cast<int>(size));
        ASSERT_EQ(status, VXM_RotateTemplate(matcher, followed.data(), static_cast<int>(size)));
        ASSERT_TRUE(std::equal(turned, turned + size, followed.begin())) << type << ' ' << size;
        ASSERT_EQ(Bytes(followed.begin() + static_cast<std::ptrdiff_t>(size), followed.end()),
                  Bytes(3000, 0xB7));
      }
      for (const int size : {-1, INT_MIN}) {
        ASSERT_EQ(VXM_RotateTemplate(matcher, guarded.Put(bytes, 0), size), VXM_ERR_TEMPLATE_TYPE);
      }
    }
  }
}

// Three matchers at work at once, one of each format.
TEST(ThreadsTest, MatchersDoNotDisturbEachOther) {
  const auto verifyAll = [](int type) {
    MatcherHandle matcher = nullptr;
    EXPECT_EQ(VXM_Create(&matcher), VXM_OK);
    EXPECT_EQ(VXM_SetTemplateType(matcher, type), VXM_OK);
    std::vector<Answer> answers;
    for (uint64_t finger = 0; finger < 10; finger++) {
      const Bytes a = made::Touch(type, finger, 1);
      const Bytes b = made::Touch(type, finger / 2 * 2, 2);
      const int sizeA = static_cast<int>(a.size());
      const int sizeB = static_cast<int>(b.size());
      answers.push_back(Verify(matcher, a.data(), sizeA, b.data(), sizeB));
      answers.push_back(Search(VXM_IdentifyMT, matcher, a.data(), sizeA, b.data(), sizeB));
      answers.push_back(Incremental(matcher, a.data(), sizeA, b.data(), sizeB));
    }
    EXPECT_EQ(VXM_Delete(matcher), VXM_OK);
    return answers;
  };
  std::vector<Answer> together[3];
  std::vector<std::thread> threads;
  for (size_t i = 0; i < 3; i++) {
    threads.emplace_back([&, i] { together[i] = verifyAll(made::allTypes[i]); });
  }
  for (std::thread& thread : threads) thread.join();
  for (size_t i = 0; i < 3; i++) EXPECT_EQ(together[i], verifyAll(made::allTypes[i]));
}

}  // namespace
